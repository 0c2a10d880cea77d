// Typing, pending writes and copies of the hex editor, without a window.
#include <gtest/gtest.h>

#include <cstring>

#include "ui/hex/hex_copy.h"
#include "ui/hex/mem_write.h"
#include "ui/hex/overlay_state.h"

namespace {

// The box as the toolkit runs it: digits overwrite, the cursor moves on, text is told first.
struct Box {
  OverlayState State;
  std::string Text;
  u32 Cursor = 0;
  bool IsOpen = true;

  void Open(u32 numDigits, const std::string& item, u32 place, char typed) {
    const OverlayState::BOX box = State.Open(0x100, numDigits, item, place, typed);
    Text = box.Text;
    Cursor = box.Cursor;
    State.OnShown();
  }
  void Type(char c) {
    const u32 old = Cursor;
    Text.resize(std::max<size_t>(Text.size(), Cursor + 1), ' ');
    Text[Cursor++] = c;
    if (State.OnTextEdited(Cursor, Text)) {
      Text = State.GetSavedText();
      IsOpen = !State.BeginClose();
    } else if (State.OnCursorMoved(old, Cursor, Text)) {
      --Cursor;
    }
  }
};

TEST(OverlayState, DigitsRunThroughAnItem) {
  const struct {
    u32 NumDigits;
    const char* sItem;
    u32 Place;
    const char* sTyped;
    bool IsOpen, IsToBeWritten;
    const char* sText;
    char Next;
  } rows[] = {
      {2, "12", 0, "A", true, false, "A2", '\0'},
      {2, "12", 0, "ABC", false, true, "AB", 'C'},
      {2, "12", 0, "ABB", false, true, "AB", 'B'},  // the same digit again
      {2, "12", 1, "A", true, true, "1A", '\0'},
      {2, "12", 1, "AB", false, true, "1A", 'B'},
      {2, "12", 1, " ", true, false, "1 ", '\0'},
      {2, "", 0, "A", true, false, "A", '\0'},
      {8, "12345678", 2, "ABCDE", true, false, "12ABCDE8", '\0'},
      {8, "12345678", 2, "ABCDEF0", false, true, "12ABCDEF", '0'},
  };
  for (const auto& row : rows) {
    Box box;
    box.Open(row.NumDigits, row.sItem, row.Place, row.sTyped[0]);
    for (const char* pTyped = row.sTyped + 1; *pTyped != '\0'; ++pTyped) {
      box.Type(*pTyped);
    }
    EXPECT_EQ(box.IsOpen, row.IsOpen) << row.sTyped;
    EXPECT_EQ(box.State.IsToBeWritten(), row.IsToBeWritten) << row.sTyped;
    EXPECT_EQ(box.Text, row.sText) << row.sTyped;
    EXPECT_EQ(box.State.GetNextDigit(), row.Next) << row.sTyped;
    box.State.Discard();
    EXPECT_FALSE(box.State.IsToBeWritten());
  }
}

TEST(OverlayState, BytesOfTheText) {
  const struct {
    const char* sText;
    u32 ItemSize;
    std::string Bytes;
  } rows[] = {
      {"A2", 1, "\xA2"},
      {"12345678", 4, "\x78\x56\x34\x12"},
      {"7", 2, std::string("\x07\x00", 2)},
      {"", 2, "\xFF\xFF"},
      {"1 2", 1, "\xFF"},
  };
  for (const auto& row : rows) {
    EXPECT_EQ(HEX_ItemBytes(row.sText, row.ItemSize), row.Bytes) << row.sText;
  }
}

TEST(MemWrite, AdjacentAndOverlappingWritesJoin) {
  const auto merged =
      HEX_MergeWrites({{0x12, {3}}, {0x10, {1, 2}}, {0x20, {9}}, {0x11, {7, 8, 9}}, {0x11, {5}}});
  ASSERT_EQ(merged.size(), 2U);
  EXPECT_EQ(merged[0].Addr, 0x10U);
  // Sorted: 10 {1,2}, 11 {7,8,9}, 11 {5}, 12 {3}.
  EXPECT_EQ(merged[0].Data, (std::vector<u8>{1, 5, 3, 9}));
  EXPECT_EQ(merged[1].Addr, 0x20U);
}

struct Image {
  MEMAREA_PTR pArea{MEMAREA_Create()};
  MemSource Source;
  std::string Errors;

  void Add(u64 addr, const std::vector<u8>& bytes) {
    ASSERT_EQ(MEMAREA_AddRange(pArea.get(), addr, bytes.size(), bytes.data()), 0);
    HEX_HANDLERS handlers;
    handlers.pfOnMessage = [this](const std::string& text, bool) { Errors += text + ";"; };
    Source.SetHandlers(handlers);
    Source.SetArea(pArea.get());
  }
};

// More than a step: it goes out piece by piece, and a range that can't take all takes nothing.
TEST(MemWrite, LongWritesGoOutInSteps) {
  Image image;
  const u64 size = 40 << 20;
  image.Add(0x1000, std::vector<u8>(size, 0));
  WriteQueue queue;
  const auto fetch = [](u64 offset, std::span<u8> buffer) {
    std::memset(buffer.data(), static_cast<int>(offset >> 20) + 1, buffer.size());
    return true;
  };
  queue.Add(0x1001, size, fetch);  // one byte too long
  queue.Add(0x1000, size, fetch);
  queue.Add({0x1000, {0x55}});
  std::vector<WriteQueue::DONE> done;
  int numSteps = 1;
  while (queue.Step(&image.Source, &done) == WriteQueue::STEP::More) {
    ++numSteps;
  }
  EXPECT_EQ(numSteps, 3);
  EXPECT_EQ(done.size(), 3U);
  EXPECT_EQ(image.Errors, "Failed to write target memory;");
  u8 aFirst[2];
  u8 last = 0;
  MEMAREA_Read(image.pArea.get(), 0x1000, 2, aFirst, 0);
  MEMAREA_Read(image.pArea.get(), 0x1000 + size - 1, 1, &last, 0);
  EXPECT_EQ(aFirst[0], 0x55);
  EXPECT_EQ(aFirst[1], 1);
  EXPECT_EQ(last, 40);
}

TEST(MemWrite, RangesThatTakeNothing) {
  Image image;
  image.Add(0x1000, std::vector<u8>(16, 0));
  const u32 numChanges = MEMAREA_GetNumChanges(image.pArea.get());
  for (const auto& [addr, numBytes] : std::vector<std::pair<u64, u64>>{
           {0xFFF, 2}, {0x100F, 2}, {0, 1}, {~u64{0}, 1}, {0x1000, ~u64{0}}, {1, ~u64{0}}}) {
    WriteQueue queue;
    std::vector<WriteQueue::DONE> done;
    queue.Add(addr, numBytes, [](u64, std::span<u8>) { return true; });
    EXPECT_EQ(queue.Step(&image.Source, &done), WriteQueue::STEP::Idle);
    EXPECT_EQ(done.size(), 1U);
  }
  EXPECT_EQ(MEMAREA_GetNumChanges(image.pArea.get()), numChanges);
}

// Copies of an image at 0x1003: 0x40 counting bytes, a hole of 4, then more.
TEST(HexCopy, Formats) {
  std::vector<u8> bytes(0x40);
  for (u8 i = 0; i < 0x40; ++i) {
    bytes[i] = static_cast<u8>(i + 3);
  }
  MEMAREA_PTR pArea(MEMAREA_Create());
  MEMAREA_AddRange(pArea.get(), 0x1003, 0x40, bytes.data());
  MEMAREA_AddRange(pArea.get(), 0x1047, 0x40, bytes.data());
  HexView view;
  view.GetSource().SetArea(pArea.get());
  view.SetSize(6, 77);
  view.Show();
  const struct {
    HEX_COPY Format;
    u64 Anchor, End;
    const char* sExpected;
  } rows[] = {
      {HEX_COPY::Hex, 0x1005, 0x1012, "05 06 07  08 09 0A 0B 0C 0D 0E 0F\n10 11 12"},
      {HEX_COPY::Hex, 0x1012, 0x1005, "05 06 07  08 09 0A 0B 0C 0D 0E 0F\n10 11 12"},
      {HEX_COPY::Hex, 0x1015, 0x1016, "15 16"},
      {HEX_COPY::Hex, 0x1001, 0x1004, "      03 04"},
      {HEX_COPY::Hex, 0x1041, 0x1048, "41 42 -- -- -- -- 03  04"},
      {HEX_COPY::Text, 0x102F, 0x1042, "/0123456789:;<=>?@AB"},
      {HEX_COPY::Binary, 0x1041, 0x1042, "AB"},
      {HEX_COPY::IntList, 0x1010, 0x1020,
       "0x10, 0x11, 0x12, 0x13, 0x14, 0x15, 0x16, 0x17, 0x18, 0x19, 0x1A, 0x1B, 0x1C, 0x1D, 0x1E, "
       "0x1F\n0x20"},
  };
  for (const auto& row : rows) {
    view.Select(row.Anchor, row.End);
    HexCopy copy(&view, row.Format);
    while (copy.Step() == HexCopy::STEP::More) {
    }
    EXPECT_EQ(copy.GetResult(), row.sExpected);
  }
  view.ClearSelection();
  HexCopy copy(&view, HEX_COPY::Hex);
  EXPECT_EQ(copy.Step(), HexCopy::STEP::Done);
  EXPECT_EQ(copy.GetResult(), "");
}

}  // namespace
