// What the main window works out without a window: its menus, the mail ring, texts and places.
#include <gtest/gtest.h>

#include <set>
#include <thread>

#include "app/engine/frontend.h"
#include "ui/window/action_table.h"
#include "ui/window/mail_ring.h"
#include "ui/window/window_rules.h"

namespace {

using ACTIONS = std::set<u32>;

ACTIONS ToSet(u64 bits) {
  ACTIONS set;
  for (u32 i = 0; i < UI_NUM_ACTIONS; ++i) {
    if ((bits >> i & 1) != 0) {
      set.insert(i);
    }
  }
  return set;
}

TEST(MenuTable, EveryActionStandsOnceWithTextTipAndNameAndKeysAreUnique) {
  ACTIONS actions;
  std::set<std::string> names, keys;
  for (const UI_ACTION_ROW& row : UI_GetActionRows()) {
    if (row.Action == UI_ACT_SEPARATOR) {
      continue;
    }
    EXPECT_TRUE(actions.insert(row.Action).second) << row.sText;
    EXPECT_TRUE(names.insert(row.sName).second) << row.sName;
    EXPECT_TRUE(row.sShortcut == nullptr || keys.insert(row.sShortcut).second) << row.sShortcut;
    EXPECT_EQ(UI_FindActionRow(row.Action), &row);
    // A row without a tip opens a menu.
    const u32 menu = UI_FindMenu(row.Action);
    EXPECT_EQ(row.sTip == nullptr, menu < UI_NUM_MENUS) << row.sText;
    EXPECT_TRUE(menu == UI_NUM_MENUS || std::string(UI_GetMenuRow(menu).sText) == row.sText);
  }
  EXPECT_EQ(actions.size(), std::size_t{UI_NUM_ACTIONS});
  EXPECT_EQ(UI_FindActionRow(UI_ACT_SEPARATOR), nullptr);
}

// The flags of a state as letters: R recent projects, F recent files, D data window, d it is
// modified, P project, p it is modified, C connected, M modules, N flash is NOR.
MENU_STATE ToState(std::string_view letters) {
  const auto has = [letters](char c) { return letters.find(c) != std::string_view::npos ? 1 : 0; };
  const auto flag = [&](char c) { return static_cast<u8>(has(c)); };
  return {flag('R'), flag('F'), flag('D'), flag('d'), flag('P'),
          flag('p'), flag('C'), flag('M'), flag('N')};
}

TEST(MenuTable, RulesEnableWhatTheStateOffers) {
  const ACTIONS always = {
      UI_ACT_OPEN_DATA_FILE,        UI_ACT_OPEN_PROJ,    UI_ACT_EXIT,
      UI_ACT_SHOW_PROJ_INFO,        UI_ACT_SHOW_LOG,     UI_ACT_WIKI_KORVANE_SPI,
      UI_ACT_WIKI_VORTIC,           UI_ACT_WIKI_ZELMONT, UI_ACT_WIKI_ZELMONT_HUB,
      UI_ACT_SHOW_FILES_ON_ZELMONT, UI_ACT_NEW_PROJ,     UI_ACT_GLOBAL_SETTINGS,
      UI_ACT_MANUAL_KORVANE,        UI_ACT_ABOUT};
  const ACTIONS window = {
      UI_ACT_MERGE_DATA_FILE, UI_ACT_SAVE_DATA_FILE_AS, UI_ACT_SAVE_FLASH_DATA_FILE,
      UI_ACT_RELOCATE,        UI_ACT_DEL_RANGE,         UI_ACT_ELIM_BLANK};
  const ACTIONS project = {UI_ACT_SAVE_PROJ_FILE_AS,    UI_ACT_CLOSE_PROJECT,
                           UI_ACT_SAVE_FLASH_CONF_FILE, UI_ACT_DOWNLOAD_CONFIG_FILES,
                           UI_ACT_DOWNLOAD_SN_FILES,    UI_ACT_PROJ_SETTINGS};
  const ACTIONS target = {UI_ACT_TEST,      UI_ACT_GENERATE_TEST_DATA, UI_ACT_READ_BACK,
                          UI_ACT_READ_CHIP, UI_ACT_READ_RANGE,         UI_ACT_CONNECTION};
  const ACTIONS erase = {UI_ACT_ERASE_SECTORS, UI_ACT_ERASE_CHIP};
  const ACTIONS image = {UI_ACT_PROGRAM, UI_ACT_PROGRAM_N_VERIFY, UI_ACT_PROD_PROG, UI_ACT_VERIFY};
  struct ROW {
    const char* sState;
    std::vector<ACTIONS> Enabled;
  };
  const ROW rows[] = {
      {"", {}},
      {"F", {{UI_ACT_RECENT_FILES}}},
      {"R", {{UI_ACT_RECENT_PROJECTS}}},
      {"D", {window}},
      {"Dd", {window, {UI_ACT_SAVE_DATA_FILE}}},
      {"d", {}},
      {"N", {}},
      {"p", {}},
      {"P", {project, target}},
      {"Pp", {project, target, {UI_ACT_SAVE_PROJ_FILE}}},
      {"PN", {project, target, erase}},
      {"PD", {project, target, window, image}},
      {"PDN", {project, target, window, image, erase}},
      {"PDNM", {project, window}},
      {"PDNMC", {project, window, {UI_ACT_CONNECTION}}},
      {"PC", {project, target}},
  };
  for (const ROW& row : rows) {
    ACTIONS expected = always;
    for (const ACTIONS& more : row.Enabled) {
      expected.insert(more.begin(), more.end());
    }
    std::erase_if(expected, UI_IsActionMissing);
    EXPECT_EQ(ToSet(UI_GetEnabledActions(ToState(row.sState))), expected) << row.sState;
  }
  EXPECT_STREQ(UI_GetConnectionText(ToState("P")), "&Connect");
  EXPECT_STREQ(UI_GetConnectionText(ToState("PC")), "&Disconnect");
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
  EXPECT_EQ(UI_FindHelpRow(UI_ACT_EXIT), nullptr);
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
