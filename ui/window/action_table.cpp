#include "ui/window/action_table.h"

#include <algorithm>
#include <array>

#include "app/engine/frontend.h"

namespace {

// What an action needs. All bits of a row have to hold.
constexpr u32 kProject = 1;
constexpr u32 kWindow = 2;
constexpr u32 kNor = 4;
constexpr u32 kNoModules = 8;  // with modules selected, a gang programmer does the work
constexpr u32 kProjectModified = 16;
constexpr u32 kWindowModified = 32;
constexpr u32 kRecentFiles = 64;
constexpr u32 kRecentProjects = 128;
constexpr u32 kMissing = 256;  // there is no such thing yet
constexpr u32 kOnTarget = kProject | kNoModules;
constexpr u32 kWithImage = kOnTarget | kWindow;

constexpr UI_ACTION_ROW Separator(UI_MENU menu) {
  return {menu, UI_ACT_SEPARATOR, nullptr, nullptr, nullptr, nullptr, 0, false};
}

constexpr UI_ACTION_ROW Submenu(UI_MENU menu, UI_ACTION action, const char* sText,
                                const char* sName, u32 needs) {
  return {menu, action, sText, nullptr, nullptr, sName, needs, false};
}

constexpr UI_ACTION_ROW kRows[] = {
    {UI_MENU_FILE, UI_ACT_OPEN_DATA_FILE, "&Open data file...", "Ctrl+O",
     "Open an existing data file", "ActOpenDataFile", 0, false},
    {UI_MENU_FILE, UI_ACT_MERGE_DATA_FILE, "&Merge data file...", nullptr, "Merge two data files",
     "ActMergeDataFile", kWindow, false},
    {UI_MENU_FILE, UI_ACT_SAVE_DATA_FILE, "&Save data file", "Ctrl+S", "Save current data file",
     "ActSaveDataFile", kWindow | kWindowModified, false},
    {UI_MENU_FILE, UI_ACT_SAVE_DATA_FILE_AS, "Save data file &as...", nullptr,
     "Save current data file in a different file", "ActSaveDataFileAs", kWindow, false},
    {UI_MENU_FILE, UI_ACT_SHOW_FILES_ON_ZELMONT, "Show files on Zelmont...", nullptr,
     "Browse files and folders on Zelmont", "ActShowFilesOnZelmont", kMissing, false},
    Separator(UI_MENU_FILE),
    {UI_MENU_FILE, UI_ACT_NEW_PROJ, "&New project", nullptr, "Create a new project", "ActNewProj",
     kMissing, false},
    {UI_MENU_FILE, UI_ACT_OPEN_PROJ, "Op&en project", nullptr, "Open an existing project",
     "ActOpenProj", 0, false},
    {UI_MENU_FILE, UI_ACT_SAVE_PROJ_FILE, "Sa&ve project", nullptr, "Save current project",
     "ActSaveProjFile", kProject | kProjectModified, false},
    {UI_MENU_FILE, UI_ACT_SAVE_PROJ_FILE_AS, "Save p&roject as...", nullptr,
     "Save current project in a different file", "ActSaveProjFileAs", kProject, false},
    {UI_MENU_FILE, UI_ACT_CLOSE_PROJECT, "&Close project", nullptr, "Close current project",
     "ActCloseProject", kProject, false},
    Separator(UI_MENU_FILE),
    {UI_MENU_FILE, UI_ACT_SAVE_FLASH_CONF_FILE, "Save Zelmont config file...", nullptr,
     "Save programmer configuration file", "ActSaveFlashConfFile", kProject, false},
    {UI_MENU_FILE, UI_ACT_SAVE_FLASH_DATA_FILE, "Save Zelmont data file...", nullptr,
     "Save programmer data file", "ActSaveFlashDataFile", kWindow, false},
    {UI_MENU_FILE, UI_ACT_DOWNLOAD_CONFIG_FILES, "Download config && data file to Zelmont", nullptr,
     "Download current configuration to programmer", "ActDownloadConfigFiles", kProject, false},
    {UI_MENU_FILE, UI_ACT_DOWNLOAD_SN_FILES, "Download serial number file to Zelmont", nullptr,
     "Download current serial number file to programmer", "ActDownloadSNFiles", kProject, false},
    Separator(UI_MENU_FILE),
    Submenu(UI_MENU_FILE, UI_ACT_RECENT_FILES, "Recent &Files", "MenuRecentFiles", kRecentFiles),
    Submenu(UI_MENU_FILE, UI_ACT_RECENT_PROJECTS, "Recent &Projects", "MenuRecentProjects",
            kRecentProjects),
    Separator(UI_MENU_FILE),
    {UI_MENU_FILE, UI_ACT_EXIT, "E&xit", "Alt+F4", "Exit the application", "ActExit", 0, false},

    {UI_MENU_EDIT, UI_ACT_RELOCATE, "&Relocate...", nullptr, "Relocate data by given offset",
     "ActRelocate", kWindow, false},
    {UI_MENU_EDIT, UI_ACT_DEL_RANGE, "&Delete range...", nullptr, "Delete specified data range",
     "ActDelRange", kWindow, false},
    {UI_MENU_EDIT, UI_ACT_ELIM_BLANK, "&Eliminate blank areas...", nullptr,
     "Eliminate blank areas in data window", "ActElimBlank", kWindow, false},

    {UI_MENU_TARGET, UI_ACT_CONNECTION, "&Connect", nullptr, "Connection to target",
     "ActConnection", kOnTarget, false},
    Separator(UI_MENU_TARGET),
    Submenu(UI_MENU_TARGET, UI_ACT_TEST, "&Test", "MenuTest", kOnTarget),
    {UI_MENU_TARGET, UI_ACT_ERASE_SECTORS, "&Erase sectors", "F3", "Erase selected sectors",
     "ActEraseSectors", kOnTarget | kNor, false},
    {UI_MENU_TARGET, UI_ACT_ERASE_CHIP, "Erase c&hip", "F4", "Erase entire chip", "ActEraseChip",
     kOnTarget | kNor, false},
    Separator(UI_MENU_TARGET),
    {UI_MENU_TARGET, UI_ACT_PROGRAM, "&Program", "F5", "Program target", "ActProgram", kWithImage,
     false},
    {UI_MENU_TARGET, UI_ACT_PROGRAM_N_VERIFY, "Pro&gram && Verify", "F6",
     "Program and verify target", "ActProgramNVerify", kWithImage, false},
    {UI_MENU_TARGET, UI_ACT_PROD_PROG, "&Auto", "F7", "Erase, program and verify target",
     "ActProdProg", kWithImage, false},
    Separator(UI_MENU_TARGET),
    {UI_MENU_TARGET, UI_ACT_VERIFY, "&Verify", "F8", "Verify target", "ActVerify", kWithImage,
     false},
    Submenu(UI_MENU_TARGET, UI_ACT_READ_BACK, "&Read back", "MenuReadBack", kOnTarget),

    {UI_MENU_TEST, UI_ACT_GENERATE_TEST_DATA, "&Generate test data...", nullptr,
     "Generate test data", "ActGenerateTestData", kOnTarget, false},

    {UI_MENU_READ_BACK, UI_ACT_READ_CHIP, "&Entire chip", "F10", "Read the entire flash chip",
     "ActReadChip", kOnTarget, false},
    {UI_MENU_READ_BACK, UI_ACT_READ_RANGE, "&Range...", nullptr,
     "Read specified range of target memory", "ActReadRange", kOnTarget, false},

    {UI_MENU_OPTIONS, UI_ACT_PROJ_SETTINGS, "&Project settings...", "Alt+F7",
     "Show project settings", "ActProjSettings", kProject | kMissing, false},
    {UI_MENU_OPTIONS, UI_ACT_GLOBAL_SETTINGS, "&Global settings...", nullptr,
     "Show general settings dialog", "ActGlobalSettings", kMissing, false},

    {UI_MENU_VIEW, UI_ACT_SHOW_PROJ_INFO, "Project &information", nullptr,
     "Show project information window", "ActShowProjInfo", 0, true},
    {UI_MENU_VIEW, UI_ACT_SHOW_LOG, "&Log", nullptr, "Show log", "ActShowLog", 0, true},

    {UI_MENU_HELP, UI_ACT_WIKI_KORVANE_SPI, "&Korvane SPI Wiki", "F1", "Open Korvane SPI wiki",
     "ActWikiKorvaneSPI", 0, false},
    {UI_MENU_HELP, UI_ACT_WIKI_VORTIC, "&Vortic Wiki", nullptr, "Open Vortic wiki", "ActWikiVortic",
     0, false},
    {UI_MENU_HELP, UI_ACT_WIKI_ZELMONT, "&Zelmont Wiki", nullptr, "Open Zelmont wiki",
     "ActWikiZelmont", 0, false},
    {UI_MENU_HELP, UI_ACT_WIKI_ZELMONT_HUB, "&Zelmont Hub Wiki", nullptr, "Open Zelmont Hub wiki",
     "ActWikiZelmontHub", 0, false},
    Separator(UI_MENU_HELP),
    {UI_MENU_HELP, UI_ACT_MANUAL_KORVANE, "&Korvane User Guide", nullptr,
     "Open Korvane User manual", "ActManualKorvane", 0, false},
    Separator(UI_MENU_HELP),
    {UI_MENU_HELP, UI_ACT_ABOUT, "&About...", nullptr, "Display program information and copyright",
     "ActAbout", kMissing, false},
};

constexpr UI_MENU_ROW kMenus[UI_NUM_MENUS] = {
    {"&File", "MenuFile", UI_ACT_SEPARATOR},
    {"&Edit", "MenuEdit", UI_ACT_SEPARATOR},
    {"&Target", "MenuTarget", UI_ACT_SEPARATOR},
    {"&Options", "MenuOptions", UI_ACT_SEPARATOR},
    {"&View", "MenuView", UI_ACT_SEPARATOR},
    {"&Help", "MenuHelp", UI_ACT_SEPARATOR},
    {"Recent &Files", "MenuRecentFiles", UI_ACT_RECENT_FILES},
    {"Recent &Projects", "MenuRecentProjects", UI_ACT_RECENT_PROJECTS},
    {"&Test", "MenuTest", UI_ACT_TEST},
    {"&Read back", "MenuReadBack", UI_ACT_READ_BACK},
};

static_assert(UI_NUM_ACTIONS <= 64, "one bit an action");

// What the state offers, in the bits of the rows.
u32 GetOffer(const MENU_STATE& state) {
  u32 offer = 0;
  const auto add = [&offer](u32 flag, u32 bits) { offer |= flag != 0 ? bits : 0; };
  add(state.ProjectOpen, kProject);
  add(state.HasDataWindow, kWindow);
  add(state.FlashIsNOR, kNor);
  add(state.ModuleSelection == 0, kNoModules);
  add(state.ProjectModified, kProjectModified);
  add(state.DataWindowModified, kWindowModified);
  add(state.HasRecentDataFiles, kRecentFiles);
  add(state.HasRecentProjects, kRecentProjects);
  return offer;
}

}  // namespace

std::span<const UI_ACTION_ROW> UI_GetActionRows() {
  return kRows;
}

const UI_ACTION_ROW* UI_FindActionRow(u32 action) {
  const auto* pRow = std::find_if(std::begin(kRows), std::end(kRows),
                                  [action](const auto& row) { return row.Action == action; });
  return pRow == std::end(kRows) || action >= UI_NUM_ACTIONS ? nullptr : pRow;
}

const UI_MENU_ROW& UI_GetMenuRow(u32 menu) {
  return kMenus[menu];
}

u32 UI_FindMenu(u32 action) {
  u32 menu = UI_NUM_TOP_MENUS;
  while (menu < UI_NUM_MENUS && kMenus[menu].Action != action) {
    ++menu;
  }
  return menu;
}

u64 UI_GetEnabledActions(const MENU_STATE& state) {
  const u32 offer = GetOffer(state);
  u64 enabled = 0;
  for (const UI_ACTION_ROW& row : kRows) {
    // A connection can always be ended.
    const bool ends = row.Action == UI_ACT_CONNECTION && state.Connected != 0;
    if (row.Action < UI_NUM_ACTIONS && ((row.Needs & ~offer) == 0 || ends)) {
      enabled |= u64{1} << row.Action;
    }
  }
  return enabled;
}

const char* UI_GetConnectionText(const MENU_STATE& state) {
  return state.Connected != 0 ? "&Disconnect" : "&Connect";
}

bool UI_IsActionMissing(u32 action) {
  const UI_ACTION_ROW* pRow = UI_FindActionRow(action);
  return pRow != nullptr && (pRow->Needs & kMissing) != 0;
}
