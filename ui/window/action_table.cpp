#include "ui/window/action_table.h"

#include <iterator>

#include "app/engine/frontend.h"

namespace {

// Needs of the window's own rows, behind those of operations.
constexpr u32 kRecentFiles = 1U << 16;
constexpr u32 kRecentProjects = 1U << 17;
constexpr u32 kMissing = 1U << 18;  // there is no such thing yet
constexpr u32 kOnTarget = APP_NEED_PROJECT | APP_NEED_NO_MODULES;
// What the state has no part in.
constexpr u32 kAlways = APP_NEED_DATA | APP_NEED_FILE | APP_NEED_THIS_WINDOW;

// The window's own, from the first of UI_ACTION on.
constexpr UI_ACTION_ROW kOwnRows[] = {
    {{"Show files on Zelmont...", nullptr, "Browse files and folders on Zelmont",
      "ActShowFilesOnZelmont"},
     kMissing,
     false},
    {{"&New project", nullptr, "Create a new project", "ActNewProj"}, kMissing, false},
    {{"Recent &Files", nullptr, nullptr, "MenuRecentFiles"}, kRecentFiles, false},
    {{"Recent &Projects", nullptr, nullptr, "MenuRecentProjects"}, kRecentProjects, false},
    {{"&Test", nullptr, nullptr, "MenuTest"}, kOnTarget, false},
    {{"&Read back", nullptr, nullptr, "MenuReadBack"}, kOnTarget, false},
    {{"&Project settings...", "Alt+F7", "Show project settings", "ActProjSettings"},
     APP_NEED_PROJECT | kMissing,
     false},
    {{"&Global settings...", nullptr, "Show general settings dialog", "ActGlobalSettings"},
     kMissing,
     false},
    {{"Project &information", nullptr, "Show project information window", "ActShowProjInfo"},
     0,
     true},
    {{"&Log", nullptr, "Show log", "ActShowLog"}, 0, true},
    {{"&Korvane SPI Wiki", "F1", "Open Korvane SPI wiki", "ActWikiKorvaneSPI"}, 0, false},
    {{"&Vortic Wiki", nullptr, "Open Vortic wiki", "ActWikiVortic"}, 0, false},
    {{"&Zelmont Wiki", nullptr, "Open Zelmont wiki", "ActWikiZelmont"}, 0, false},
    {{"&Zelmont Hub Wiki", nullptr, "Open Zelmont Hub wiki", "ActWikiZelmontHub"}, 0, false},
    {{"&Korvane User Guide", nullptr, "Open Korvane User manual", "ActManualKorvane"}, 0, false},
    {{"&About...", nullptr, "Display program information and copyright", "ActAbout"},
     kMissing,
     false},
};
static_assert(std::size(kOwnRows) == u32{UI_NUM_ACTIONS} - u32{APP_NUM_OPERATIONS});

constexpr UI_PLACE kPlaces[] = {
    {UI_MENU_FILE, APP_OP_OPEN_DATA},
    {UI_MENU_FILE, APP_OP_MERGE_DATA},
    {UI_MENU_FILE, APP_OP_SAVE_DATA},
    {UI_MENU_FILE, APP_OP_SAVE_DATA_AS},
    {UI_MENU_FILE, UI_ACT_SHOW_FILES_ON_ZELMONT},
    {UI_MENU_FILE, UI_ACT_SEPARATOR},
    {UI_MENU_FILE, UI_ACT_NEW_PROJ},
    {UI_MENU_FILE, APP_OP_OPEN_PROJECT},
    {UI_MENU_FILE, APP_OP_SAVE_PROJECT},
    {UI_MENU_FILE, APP_OP_SAVE_PROJECT_AS},
    {UI_MENU_FILE, APP_OP_CLOSE_PROJECT},
    {UI_MENU_FILE, UI_ACT_SEPARATOR},
    {UI_MENU_FILE, APP_OP_SAVE_CONFIG},
    {UI_MENU_FILE, APP_OP_SAVE_IMAGE},
    {UI_MENU_FILE, APP_OP_DOWNLOAD},
    {UI_MENU_FILE, APP_OP_DOWNLOAD_SN},
    {UI_MENU_FILE, UI_ACT_SEPARATOR},
    {UI_MENU_FILE, UI_ACT_RECENT_FILES},
    {UI_MENU_FILE, UI_ACT_RECENT_PROJECTS},
    {UI_MENU_FILE, UI_ACT_SEPARATOR},
    {UI_MENU_FILE, APP_OP_EXIT},
    {UI_MENU_EDIT, APP_OP_RELOCATE},
    {UI_MENU_EDIT, APP_OP_DELETE_RANGE},
    {UI_MENU_EDIT, APP_OP_ELIMINATE_BLANK},
    {UI_MENU_TARGET, APP_OP_CONNECT},
    {UI_MENU_TARGET, UI_ACT_SEPARATOR},
    {UI_MENU_TARGET, UI_ACT_TEST},
    {UI_MENU_TARGET, APP_OP_ERASE_SECTORS},
    {UI_MENU_TARGET, APP_OP_ERASE_CHIP},
    {UI_MENU_TARGET, UI_ACT_SEPARATOR},
    {UI_MENU_TARGET, APP_OP_PROGRAM},
    {UI_MENU_TARGET, APP_OP_PROGRAM_VERIFY},
    {UI_MENU_TARGET, APP_OP_AUTO},
    {UI_MENU_TARGET, UI_ACT_SEPARATOR},
    {UI_MENU_TARGET, APP_OP_VERIFY},
    {UI_MENU_TARGET, UI_ACT_READ_BACK},
    {UI_MENU_TEST, APP_OP_GENERATE_TEST_DATA},
    {UI_MENU_READ_BACK, APP_OP_READ_CHIP},
    {UI_MENU_READ_BACK, APP_OP_READ_RANGE},
    {UI_MENU_OPTIONS, UI_ACT_PROJ_SETTINGS},
    {UI_MENU_OPTIONS, UI_ACT_GLOBAL_SETTINGS},
    {UI_MENU_VIEW, UI_ACT_SHOW_PROJ_INFO},
    {UI_MENU_VIEW, UI_ACT_SHOW_LOG},
    {UI_MENU_HELP, UI_ACT_WIKI_KORVANE_SPI},
    {UI_MENU_HELP, UI_ACT_WIKI_VORTIC},
    {UI_MENU_HELP, UI_ACT_WIKI_ZELMONT},
    {UI_MENU_HELP, UI_ACT_WIKI_ZELMONT_HUB},
    {UI_MENU_HELP, UI_ACT_SEPARATOR},
    {UI_MENU_HELP, UI_ACT_MANUAL_KORVANE},
    {UI_MENU_HELP, UI_ACT_SEPARATOR},
    {UI_MENU_HELP, UI_ACT_ABOUT},
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
  u32 offer = kAlways;
  const auto add = [&offer](u32 flag, u32 bits) { offer |= flag != 0 ? bits : 0; };
  add(state.ProjectOpen, APP_NEED_PROJECT);
  add(state.HasDataWindow, APP_NEED_WINDOW);
  add(state.FlashIsNOR, APP_NEED_NOR);
  add(state.ModuleSelection == 0, APP_NEED_NO_MODULES);
  add(state.ProjectModified, APP_NEED_PROJECT_MODIFIED);
  add(state.DataWindowModified, APP_NEED_WINDOW_MODIFIED);
  add(state.HasRecentDataFiles, kRecentFiles);
  add(state.HasRecentProjects, kRecentProjects);
  return offer;
}

}  // namespace

UI_ACTION_ROW UI_GetActionRow(u32 action) {
  if (action >= APP_NUM_OPERATIONS) {
    return kOwnRows[action - APP_NUM_OPERATIONS];
  }
  const APP_OPERATION& operation = APP_GetOperation(static_cast<APP_OPERATION_ID>(action));
  return {operation.Menu, operation.Needs, false};
}

std::span<const UI_PLACE> UI_GetPlaces() {
  return kPlaces;
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
  for (u32 action = 0; action < UI_NUM_ACTIONS; ++action) {
    // A connection can always be ended.
    const bool ends = action == APP_OP_CONNECT && state.Connected != 0;
    if ((UI_GetActionRow(action).Needs & ~offer) == 0 || ends) {
      enabled |= u64{1} << action;
    }
  }
  return enabled;
}

const char* UI_GetConnectionText(const MENU_STATE& state) {
  return state.Connected != 0 ? "&Disconnect" : "&Connect";
}

bool UI_IsActionMissing(u32 action) {
  return (UI_GetActionRow(action).Needs & kMissing) != 0;
}
