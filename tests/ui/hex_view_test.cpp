// What the hex editor shows, its cursor, scrolling and selection, without a window.
#include "ui/hex/hex_view.h"

#include <gtest/gtest.h>

#include <future>
#include <map>
#include <thread>

#include "ui/hex/addr_history.h"
#include "ui/hex/scroll_scale.h"

namespace {

// An image of counting bytes, 16 bytes a row (77 cells) unless said otherwise.
struct Fixture {
  MEMAREA_PTR pArea{MEMAREA_Create()};
  HexView View;

  Fixture(u64 addr, u64 numBytes, u32 numRows, u32 width = 77) {
    Add(addr, numBytes);
    View.GetSource().SetArea(pArea.get());
    View.SetSize(numRows, width);
    View.Show();
  }
  void Add(u64 addr, u64 numBytes) {
    std::vector<u8> bytes(numBytes);
    for (u64 i = 0; i < numBytes; ++i) {
      bytes[i] = static_cast<u8>(addr + i);
    }
    ASSERT_EQ(MEMAREA_AddRange(pArea.get(), addr, numBytes, bytes.data()), 0);
  }
  std::string RowText(i64 row) {
    HexRow text;
    return View.FormatRow(row, &text) ? std::string(text.GetItems()) : "none";
  }
  // The rows to repaint as text, "all" for all.
  std::string TakeDirty() {
    std::set<u32> rows;
    bool isAll = false;
    View.TakeRepaint(&rows, &isAll);
    std::string text = isAll ? "all" : "";
    for (const u32 row : rows) {
      text += std::to_string(row) + " ";
    }
    return text;
  }
  void Press(char key) {
    using DO = void (*)(HexView&);
    static const std::map<char, DO> kKeys = {
        {'L', [](HexView& v) { v.KeyLeft(); }},         {'R', [](HexView& v) { v.KeyRight(); }},
        {'U', [](HexView& v) { v.KeyUp(); }},           {'D', [](HexView& v) { v.KeyDown(); }},
        {'H', [](HexView& v) { v.KeyHome(); }},         {'E', [](HexView& v) { v.KeyEnd(); }},
        {'<', [](HexView& v) { v.GoToStart(); }},       {'>', [](HexView& v) { v.GoToEnd(); }},
        {'^', [](HexView& v) { v.PageUp(); }},          {'v', [](HexView& v) { v.PageDown(); }},
        {'+', [](HexView& v) { v.ScrollRows(1); }},     {'-', [](HexView& v) { v.ScrollRows(-1); }},
        {'t', [](HexView& v) { v.PressMouse(61, 0); }},  // into the text column
    };
    kKeys.at(key)(View);
  }
};

TEST(HexView, ZoneOfAnImage) {
  const struct {
    u64 Addr, NumBytes;
    u32 NumRows;
    u64 Start, End, LastTop;
  } rows[] = {
      {0, 0, 4, 0, 0x10, 0},  // no bytes at all
      {0x1003, 1, 4, 0x1000, 0x1010, 0x1000},
      {0x1000, 0x100, 4, 0x1000, 0x1100, 0x10D0},
      {0x1000, 0xF1, 4, 0x1000, 0x1100, 0x10D0},
      {0x1000, 0x30, 4, 0x1000, 0x1030, 0x1000},
      {0xFFFFFF00, 0x100, 4, 0xFFFFFF00, 0x100000000, 0xFFFFFFD0},
      {0xFFFFFF00, 0x200, 4, 0xFFFFFF00, 0x100000000, 0xFFFFFFD0},
      {0x200000000, 0x100, 4, 0xFFFFFFF0, 0x100000000, 0xFFFFFFF0},  // beyond all that is shown
  };
  for (const auto& row : rows) {
    Fixture f(row.Addr, row.NumBytes, row.NumRows);
    EXPECT_EQ(f.View.GetZoneStart(), row.Start) << std::hex << row.Addr;
    EXPECT_EQ(f.View.GetZoneEnd(), row.End) << std::hex << row.Addr;
    EXPECT_EQ(f.View.GetLastTop(), row.LastTop) << std::hex << row.Addr;
    // No key leads out of the zone, whatever it is.
    for (const char key : std::string("v>DRDRvELt>RRDv<LU^LLHU-+>--++")) {
      f.Press(key);
      ASSERT_GE(f.View.GetCursorAddr(), row.Start) << key << std::hex << row.Addr;
      ASSERT_LT(f.View.GetCursorAddr(), row.End) << key << std::hex << row.Addr;
      ASSERT_GE(f.View.GetBaseAddr(), row.Start) << key << std::hex << row.Addr;
      ASSERT_LE(f.View.GetBaseAddr(), row.LastTop) << key << std::hex << row.Addr;
    }
  }
}

TEST(HexView, HoleAndOutsideInOneRow) {
  Fixture f(0x1004, 2, 3);
  f.Add(0x1008, 0x18);
  f.View.Show();
  EXPECT_EQ(f.RowText(0), "            04 05 -- --  08 09 0A 0B 0C 0D 0E 0F");
  f.View.SetItemSize(4);
  EXPECT_EQ(f.RowText(0), "         ----0504  0B0A0908 0F0E0D0C");
  // The row behind the zone.
  EXPECT_EQ(f.RowText(2), "none");
}

TEST(HexView, TooNarrowShowsNothingAndDoesNothing) {
  Fixture f(0x1000, 0x100, 4, 24);
  for (const char key : std::string("v>DRDR-+t<LU^LLHUE")) {
    f.Press(key);
  }
  f.View.DragMouse(20, 2, 10);
  f.View.ReloadRange(0x1000, 16);
  EXPECT_EQ(f.View.GetSelLen(), 0U);
  EXPECT_EQ(f.RowText(0), "none");
}

// Base and cursor after keys, from an image at 0x1000 of 0x100 bytes, 6 rows on screen.
TEST(HexView, Keys) {
  const struct {
    u32 ItemSize;
    bool IsBigEndian;
    const char* sKeys;
    u64 Base, Cursor;
    u8 Nibble;
  } rows[] = {
      {1, false, "L", 0x1000, 0x1000, 0},
      {1, false, "RR", 0x1000, 0x1001, 0},
      {1, false, "DL", 0x1000, 0x100F, 1},
      {1, false, "ER", 0x1000, 0x1010, 0},
      {1, false, "DDDDD", 0x1010, 0x1050, 0},  // two rows from the bottom the view scrolls
      {1, false, "DDDDDUUUUU", 0x1000, 0x1000, 0},
      {1, false, "DDDDER", 0x1010, 0x1050, 0},
      {1, false, "--L", 0x1010, 0x101F, 1},
      {1, false, ">", 0x10B0, 0x10FF, 1},
      {1, false, ">D", 0x10B0, 0x10FF, 1},
      {1, false, "><", 0x1000, 0x1000, 0},
      {1, false, "vvv", 0x10B0, 0x10B0, 0},
      {1, false, "vvvv", 0x10B0, 0x10F0, 0},  // the view can't move: the cursor does
      {1, false, "DRR^", 0x1000, 0x1001, 0},
      {1, false, "-+", 0x1000, 0x1000, 0},
      {1, false, ">-", 0x10B0, 0x10FF, 1},
      {1, false, "tL", 0x1000, 0x1000, 1},
      {1, false, "tDDDDER", 0x1010, 0x1050, 1},
      // Items low byte first: the highest address stands on the left.
      {4, false, "RR", 0x1000, 0x1002, 0},
      {4, false, "RRRRRRRRL", 0x1000, 0x1000, 1},
      {4, false, "H", 0x1000, 0x1003, 0},
      {4, false, "E", 0x1000, 0x100C, 1},
      {4, false, "ER", 0x1000, 0x1013, 0},
      {4, false, ">R", 0x10B0, 0x10FC, 1},
      {4, true, "HLLLL", 0x1000, 0x1001, 0},
      {4, true, "RR", 0x1000, 0x1004, 0},
      {4, true, "-HLLLLLLLL", 0x1000, 0x100F, 0},
  };
  for (const auto& row : rows) {
    Fixture f(0x1000, 0x100, 6);
    f.View.SetBigEndian(row.IsBigEndian);
    f.View.SetItemSize(row.ItemSize);
    f.View.SetSize(6, row.ItemSize == 4 ? 65 : 77);
    f.View.GoToStart();
    for (const char* pKey = row.sKeys; *pKey != '\0'; ++pKey) {
      f.Press(*pKey);
    }
    EXPECT_EQ(f.View.GetBaseAddr(), row.Base) << row.ItemSize << " " << row.sKeys;
    EXPECT_EQ(f.View.GetCursorAddr(), row.Cursor) << row.ItemSize << " " << row.sKeys;
    EXPECT_EQ(f.View.GetCursorNibble(), row.Nibble) << row.ItemSize << " " << row.sKeys;
  }
}

TEST(HexView, GoToAndHistory) {
  Fixture f(0x1000, 0x1000, 4);
  const struct {
    u64 Addr, Base, Cursor;
  } rows[] = {
      {0x1234, 0x1230, 0x1234}, {0, 0x1000, 0x1000},       {0x1FF8, 0x1FD0, 0x1FF8},
      {0x5000, 0x1FD0, 0x1FFF}, {~u64{0}, 0x1FD0, 0x1FFF},
  };
  for (const auto& row : rows) {
    f.View.GoTo(row.Addr, true, true);
    EXPECT_EQ(f.View.GetBaseAddr(), row.Base) << std::hex << row.Addr;
    EXPECT_EQ(f.View.GetCursorAddr(), row.Cursor) << std::hex << row.Addr;
  }
  // 0x1FD0 was pushed once though it was left twice.
  for (const u64 base : {0x1FD0, 0x1000, 0x1230, 0x1000}) {
    ASSERT_TRUE(f.View.CanGoBack());
    f.View.GoBack();
    EXPECT_EQ(f.View.GetBaseAddr(), base);
  }
  EXPECT_FALSE(f.View.CanGoBack());
}

TEST(HexView, ReadsOnlyWhatIsNew) {
  HexView view;
  std::vector<std::pair<u64, u64>> reads;
  HEX_HANDLERS handlers;
  handlers.pfReadMem = [&reads](u64 addr, u64 n, u8, const char*, u8* pData, u8* pState) {
    reads.emplace_back(addr, n);
    std::fill_n(pData, n, static_cast<u8>(addr >> 4));
    std::fill_n(pState, n, MEM_STATE_VALID);
    return 0;
  };
  view.GetSource().SetHandlers(handlers);
  view.SetSize(6, 77);
  view.Show();
  view.ScrollRows(-2);
  view.ScrollRows(1);
  view.ScrollRows(-100);
  view.ReloadRange(0x9000, 16);  // elsewhere
  view.ReloadRange(0x663, 2);    // a row of the screen
  view.Drag(0x4000);             // nothing is read while the slider moves
  using Read = std::pair<u64, u64>;
  const std::vector<Read> expected = {
      {0, 0x60}, {0x60, 0x20}, {0x10, 0x10}, {0x650, 0x60}, {0x660, 0x10}};
  EXPECT_EQ(reads, expected);
}

TEST(HexView, UnreadablePiecesOfHandlers) {
  HexView view;
  u32 numErrors = 0;
  HEX_HANDLERS handlers;
  bool isDead = false;
  // A block that touches 0x15 or 0x16 fails.
  handlers.pfReadMem = [&isDead](u64 addr, u64 n, u8, const char*, u8* pData, u8* pState) {
    if (isDead || (addr <= 0x16 && addr + n > 0x15)) {
      return -1;
    }
    std::fill_n(pData, n, u8{0xAB});
    std::fill_n(pState, n, MEM_STATE_VALID);
    return 0;
  };
  handlers.pfOnMessage = [&numErrors](const std::string& text, bool isError) {
    numErrors += isError && text == "Failed to read target memory" ? 1 : 0;
  };
  view.GetSource().SetHandlers(handlers);
  view.SetSize(2, 77);
  view.Show();
  HexRow row;
  ASSERT_TRUE(view.FormatRow(1, &row));
  EXPECT_EQ(std::string(row.GetItems()), "AB AB AB AB AB -- -- AB  AB AB AB AB AB AB AB AB");
  EXPECT_EQ(numErrors, 0U);
  isDead = true;
  view.Refresh();
  EXPECT_EQ(numErrors, 1U);
}

TEST(HexView, ChangesFadeByTicks) {
  Fixture f(0x1000, 0x100, 6);
  f.TakeDirty();
  const u8 value = 0x77;
  f.View.Refresh();
  EXPECT_EQ(f.TakeDirty(), "");
  MEMAREA_Write(f.pArea.get(), 0x1025, 1, &value);
  f.View.Refresh();
  EXPECT_EQ(f.View.GetChangeAge(0x1025), 1);
  EXPECT_EQ(f.TakeDirty(), "2 ");
  MEMAREA_Write(f.pArea.get(), 0x1025, 1, &value);  // the same value is no change
  for (const u8 age : {2, 3, 4, 5, 5}) {
    f.View.Age();
    EXPECT_EQ(f.View.GetChangeAge(0x1025), age);
    EXPECT_EQ(f.TakeDirty(), age < 5 ? "2 " : "");
  }
  f.View.MoveCursor(0x1041, 1);
  EXPECT_EQ(f.TakeDirty(), "0 4 ");
}

TEST(HexView, SelectionByMouseAndKeys) {
  Fixture f(0x1000, 0x100, 6);
  const auto selected = [&] { return std::pair(f.View.GetSelFirst(), f.View.GetSelLast()); };
  using RANGE = std::pair<u64, u64>;
  f.View.PressMouse(11 + 3 * 5, 1);
  f.View.DragMouse(11 + 3 * 6, 1, 5);  // not far enough
  EXPECT_FALSE(f.View.IsSelecting());
  EXPECT_EQ(f.View.GetSelLen(), 0U);
  f.View.DragMouse(11 + 3 * 3, 2, 6);
  EXPECT_EQ(selected(), RANGE(0x1015, 0x1023));
  f.View.DragMouse(11, 0, 60);  // backward past the start
  EXPECT_EQ(selected(), RANGE(0x1000, 0x1015));
  for (int i = 0; i < 3; ++i) {
    f.View.ScrollSelection(-1, 11);
  }
  EXPECT_EQ(f.View.GetBaseAddr(), 0x1030U);
  EXPECT_EQ(selected(), RANGE(0x1015, 0x1080));
  f.View.ReleaseMouse();
  f.View.KeyRight();
  EXPECT_EQ(f.View.GetSelLen(), 0x6CU) << "a move without Shift leaves it alone";
  f.View.SetItemSize(4);
  EXPECT_EQ(selected(), RANGE(0x1014, 0x1083)) << "aligned to items";
  f.View.ClearSelection();
  f.View.MoveCursor(0x1046, 0);
  f.View.ExtendToCursor();  // Shift without a selection starts one
  EXPECT_EQ(selected(), RANGE(0x1044, 0x1047));
}

// Another thread holds the area: nothing waits, nothing shown is lost, and all is made up for.
TEST(HexView, BusyAreaIsReadLater) {
  Fixture f(0x1000, 0x1000, 6);
  std::promise<void> isHeld, isEnough;
  std::thread holder([&] {
    const MEMAREA_LOCK_GUARD lock(f.pArea.get());
    isHeld.set_value();
    isEnough.get_future().wait();
  });
  isHeld.get_future().wait();
  f.View.ScrollRows(-1);
  EXPECT_TRUE(f.View.IsReloadPending());
  EXPECT_EQ(f.RowText(0).substr(0, 5), "10 11");
  EXPECT_EQ(f.RowText(5).substr(0, 5), ".. ..");
  f.View.Refresh();
  f.View.Retry();
  EXPECT_TRUE(f.View.IsReloadPending());
  EXPECT_EQ(f.RowText(0).substr(0, 5), "10 11");
  f.View.ReloadAll();
  EXPECT_EQ(f.RowText(0).substr(0, 5), "10 11") << "stays until there is something else";
  const u8 value = 1;
  EXPECT_EQ(f.View.GetSource().Write(0x1000, 1, &value), MEM_RESULT::Busy);
  isEnough.set_value();
  holder.join();
  f.View.Retry();
  EXPECT_FALSE(f.View.IsReloadPending());
  EXPECT_EQ(f.RowText(5).substr(0, 5), "60 61");
}

TEST(HexView, ImageThatChangesWhileShown) {
  Fixture f(0x1000, 0x1000, 6);
  f.View.GoTo(0x1F00, true, false);
  MEMAREA_RemoveRange(f.pArea.get(), 0x1100, 0x1FFF);
  f.View.Show();
  f.View.Show();
  EXPECT_EQ(f.View.GetBaseAddr(), 0x10B0U);
  EXPECT_LT(f.View.GetCursorAddr(), 0x1100U);
  MEMAREA_Relocate(f.pArea.get(), 0x10000);
  f.View.Forget();
  f.View.Show();
  f.View.Show();
  EXPECT_EQ(f.View.GetBaseAddr(), 0x11000U);
  EXPECT_EQ(f.View.GetCursorAddr(), 0x11000U);
  EXPECT_EQ(f.RowText(0).substr(0, 5), "00 01");
}

TEST(AddrHistory, TidiesAndKeepsTen) {
  AddrHistory history;
  for (const char* sText : {"", "1f", "0xab", "2", "1F", "zz", "3", "4", "5", "6", "7", "8", "9"}) {
    history.Enter(sText);
  }
  const std::vector<std::string> expected = {"9", "8", "7", "6", "5", "4", "3", "zz", "1F", "2"};
  EXPECT_EQ(history.GetEntries(), expected);
}

TEST(AddrHistory, Addresses) {
  const struct {
    const char* sText;
    bool IsAddr;
    u64 Addr;
  } rows[] = {
      {"1F", true, 0x1F}, {"0x1f", true, 0x1F}, {"ffffffffffffffff", true, ~u64{0}},
      {"", false, 0},     {"0x", false, 0},     {"10000000000000000", false, 0},
      {"-1", false, 0},   {"12 ", false, 0},    {"0x-1", false, 0},
  };
  for (const auto& row : rows) {
    u64 addr = 0;
    ASSERT_EQ(HEX_ParseAddr(row.sText, &addr), row.IsAddr) << row.sText;
    EXPECT_TRUE(!row.IsAddr || addr == row.Addr) << row.sText;
  }
}

TEST(ScrollScale, StepsAndBounds) {
  ScrollScale scale;
  EXPECT_EQ(scale.GetSliderMin(), -0x7FFFFFFF);
  EXPECT_TRUE(scale.SetRange(HEX_AddrToScroll(0), HEX_AddrToScroll(0xFFFFFFF0)));
  EXPECT_FALSE(scale.SetRange(HEX_AddrToScroll(0), HEX_AddrToScroll(0xFFFFFFF0)));
  const struct {
    int Action;
    u64 Addr;
  } rows[] = {{ScrollScale::StepSub, 0},
              {ScrollScale::StepAdd, 0x10},
              {ScrollScale::PageAdd, 0x110},
              {ScrollScale::StepSub, 0x100},
              {ScrollScale::ToMaximum, 0xFFFFFFF0},
              {ScrollScale::PageAdd, 0xFFFFFFF0},
              {ScrollScale::PageSub, 0xFFFFFEF0},
              {ScrollScale::Move, 0xFFFFFEF0},
              {ScrollScale::ToMinimum, 0}};
  for (const auto& row : rows) {
    scale.SetValue(scale.GetStepped(row.Action, 0x10, 0x100));
    EXPECT_EQ(HEX_ScrollToAddr(scale.GetValue()), row.Addr) << row.Action;
  }
  // The whole of 32 bits is one more than a slider takes.
  EXPECT_TRUE(scale.SetRange(-0x7FFFFFFF - 1, 0x7FFFFFFF));
  for (const i32 value : {-0x7FFFFFFF - 1, 0, 0x7FFFFFFF}) {
    scale.SetValue(value);
    const i32 slider = scale.GetSliderValue();
    scale.SetFromSlider(slider);
    EXPECT_NEAR(scale.GetValue(), value, 1.0);
  }
}

}  // namespace
