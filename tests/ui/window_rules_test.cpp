// What the main window works out without a window: its menus, the mail ring, texts and places.
#include <gtest/gtest.h>

#include <set>
#include <thread>

#include "app/engine/frontend.h"
#include "ui/window/action_table.h"
#include "ui/window/mail_ring.h"
#include "ui/window/window_rules.h"

namespace {

TEST(MenuTable, EveryActionStandsOnceAndKeysAreUnique) {
  std::set<std::string> names, keys;
  for (const UI_PLACE& place : UI_GetPlaces()) {
    if (place.Action == UI_ACT_SEPARATOR) {
      continue;
    }
    const APP_MENU_TEXT text = UI_GetActionRow(place.Action).Text;
    ASSERT_NE(text.sName, nullptr) << place.Action;
    EXPECT_TRUE(names.insert(text.sName).second) << text.sName;
    EXPECT_TRUE(text.sShortcut == nullptr || keys.insert(text.sShortcut).second) << text.sShortcut;
    // A row without a tip opens a menu.
    EXPECT_EQ(text.sTip == nullptr, UI_FindMenu(place.Action) < UI_NUM_MENUS) << text.sText;
  }
  for (const APP_OPERATION& operation : APP_GetOperations()) {
    EXPECT_TRUE(operation.Menu.sName == nullptr || names.contains(operation.Menu.sName));
  }
}

// The flags of a state as letters: R recent projects, F recent files, D data window, d it is
// modified, P project, p it is modified, C connected, M modules, N flash is NOR.
MENU_STATE ToState(std::string_view letters) {
  const auto has = [letters](char c) { return letters.find(c) != std::string_view::npos ? 1 : 0; };
  const auto flag = [&](char c) { return static_cast<u8>(has(c)); };
  return {flag('R'), flag('F'), flag('D'), flag('d'), flag('P'),
          flag('p'), flag('C'), flag('M'), flag('N')};
}

// One action of each rule.
TEST(MenuTable, RulesEnableWhatTheStateOffers) {
  constexpr u32 kActions[] = {APP_OP_OPEN_DATA,     APP_OP_MERGE_DATA, APP_OP_SAVE_DATA,
                              APP_OP_CLOSE_PROJECT, APP_OP_READ_CHIP,  APP_OP_CONNECT,
                              APP_OP_ERASE_CHIP,    APP_OP_PROGRAM,    UI_ACT_RECENT_FILES};
  constexpr struct {
    const char *sState, *sEnabled;
  } kRows[] = {{"", "+        "},     {"F", "+       +"},    {"D", "++       "},
               {"Dd", "+++      "},   {"d", "+        "},    {"P", "+  +++   "},
               {"PN", "+  ++++  "},   {"PD", "++ +++ + "},   {"PDN", "++ +++++ "},
               {"PDNM", "++ +     "}, {"PDNMC", "++ + +   "}};
  for (const auto& row : kRows) {
    const u64 enabled = UI_GetEnabledActions(ToState(row.sState));
    std::string found;
    for (const u32 action : kActions) {
      found += (enabled >> action & 1) != 0 ? '+' : ' ';
    }
    EXPECT_EQ(found, row.sEnabled) << row.sState;
    EXPECT_EQ(enabled >> UI_ACT_ABOUT & 1, 0u);  // there is none yet
  }
}

TEST(MailRing, TakesOneLessThanItsSlotsAndKeepsTheOrder) {
  GUI_MAIL_RING ring;
  GUI_MAIL mail{};
  EXPECT_FALSE(ring.Get(&mail));
  // Three rounds: the indices wrap at different places.
  for (u64 round = 0; round < 3; ++round) {
    u64 count = 0;
    while (ring.Put({nullptr, round, count})) {
      ++count;
    }
    EXPECT_EQ(count, GUI_MAIL_RING::NumItems - 1);
    for (u64 i = 0; i < count; ++i) {
      ASSERT_TRUE(ring.Get(&mail));
      EXPECT_EQ(mail.FreeData, round);
      EXPECT_EQ(mail.Type, i);
    }
    EXPECT_FALSE(ring.Get(&mail));
  }
}

TEST(MailRing, HandsItemsOverBetweenTwoThreads) {
  constexpr u64 kNumMails = 20000;
  GUI_MAIL_RING ring;
  std::vector<u64> data(kNumMails);
  std::thread producer([&] {
    for (u64 i = 0; i < kNumMails;) {
      data[i] = i * 3;  // written before the mail that hands it over, as a progress record is
      if (ring.Put({&data[i], 0, i})) {
        ++i;
      } else {
        std::this_thread::yield();
      }
    }
  });
  u64 wrong = 0;
  for (u64 i = 0; i < kNumMails;) {
    GUI_MAIL mail{};
    if (!ring.Get(&mail)) {
      std::this_thread::yield();
      continue;
    }
    wrong += mail.Type != i || *static_cast<u64*>(mail.pData) != i * 3 ? 1 : 0;
    ++i;
  }
  producer.join();
  EXPECT_EQ(wrong, 0u);
}

TEST(WindowRules, TextsOfRecentFilesAndOfRefusedOnes) {
  EXPECT_EQ(UI_GetRecentText("/a/R&D.hex", false).Text, "/a/R&&D.hex");
  EXPECT_EQ(UI_GetRecentText("/a/R&D.hex", false).Tip, "Open data file at /a/R&D.hex");
  EXPECT_EQ(UI_GetRecentText("/p", true).Tip, "Open project file at /p");
  for (const char* sFile : {"/a/b.hex", "/a/B.S19", "/a/b.korvane", "/a.b/noextension"}) {
    EXPECT_EQ(UI_CheckDroppedFile(sFile, sFile), "") << sFile;
  }
  const std::string tooLong = "/" + std::string(511, 'a') + ".hex";
  for (const auto& [file, shown, reason] : std::vector<std::array<std::string, 3>>{
           {"/a/b.png", "/a/b.png", "Unsupported file format."},
           {"", "http://a/b.hex", "It is not on this computer."},
           {tooLong, tooLong, "Its name is too long."}}) {
    EXPECT_EQ(UI_CheckDroppedFile(file, shown), "Cannot open file " + shown + "\n" + reason);
  }
  EXPECT_EQ(UI_GetManualFailure(false, "/x"), "Could not locate Korvane User Manual :\n(/x)");
  EXPECT_EQ(UI_FindHelpRow(APP_OP_EXIT), nullptr);
  const UI_HELP_ROW* pRow = UI_FindHelpRow(UI_ACT_WIKI_ZELMONT_HUB);
  ASSERT_NE(pRow, nullptr);
  EXPECT_EQ(UI_GetHelpFailure(*pRow),
            std::string("Failed to open ZELMONT Wiki User Guide at:\n\"") + pRow->sAddress + "\"");
}

TEST(WindowRules, WindowSizeAndPlace) {
  using enum UI_DOCK_SIDE;
  const UI_DOCK_EXTENT docks[] = {{{200, 700}, LeftOrRight, true},
                                  {{900, 150}, TopOrBottom, true},
                                  {{77, 99}, LeftOrRight, false}};
  const UI_SIZE size = UI_GetWindowSize({640, 480}, docks);
  EXPECT_EQ(size.Width, 840);
  EXPECT_EQ(size.Height, 630);
  struct ROW {
    UI_SIZE Frame, Screen;
    i32 X, Y;
  };
  for (const ROW& row :
       {ROW{{800, 600}, {1920, 1080}, 560, 240}, ROW{{801, 601}, {1920, 1080}, 559, 239},
        ROW{{800, 600}, {1921, 1081}, 561, 241}, ROW{{900, 100}, {800, 100}, -50, 0}}) {
    const UI_POINT at = UI_CenterFrame(row.Frame, row.Screen);
    EXPECT_EQ(at.X, row.X) << row.Frame.Width;
    EXPECT_EQ(at.Y, row.Y) << row.Screen.Height;
  }
}

}  // namespace
