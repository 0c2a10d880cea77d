#pragma once

#include <span>

#include "app/operations/operation_table.h"
#include "sys/types.h"

struct MENU_STATE;

// The menus of the main window: what stands where, and what it needs to be of use. What operations
// are called stands in their table. No window.

enum UI_MENU : u32 {
  UI_MENU_FILE,
  UI_MENU_EDIT,
  UI_MENU_TARGET,
  UI_MENU_OPTIONS,
  UI_MENU_VIEW,
  UI_MENU_HELP,
  UI_NUM_TOP_MENUS,  // those above stand in the menu bar, those below in another menu
  UI_MENU_RECENT_FILES = UI_NUM_TOP_MENUS,
  UI_MENU_RECENT_PROJECTS,
  UI_MENU_TEST,
  UI_MENU_READ_BACK,
  UI_NUM_MENUS
};

// Rows of the menus: an APP_OPERATION_ID, or one of these, which are the window's own.
enum UI_ACTION : u32 {
  UI_ACT_SHOW_FILES_ON_ZELMONT = APP_NUM_OPERATIONS,
  UI_ACT_NEW_PROJ,
  UI_ACT_RECENT_FILES,  // submenu
  UI_ACT_RECENT_PROJECTS,
  UI_ACT_TEST,       // submenu
  UI_ACT_READ_BACK,  // submenu
  UI_ACT_PROJ_SETTINGS,
  UI_ACT_GLOBAL_SETTINGS,
  UI_ACT_SHOW_PROJ_INFO,
  UI_ACT_SHOW_LOG,
  UI_ACT_WIKI_KORVANE_SPI,
  UI_ACT_WIKI_VORTIC,
  UI_ACT_WIKI_ZELMONT,
  UI_ACT_WIKI_ZELMONT_HUB,
  UI_ACT_MANUAL_KORVANE,
  UI_ACT_ABOUT,
  UI_NUM_ACTIONS,
  UI_ACT_SEPARATOR = UI_NUM_ACTIONS
};

struct UI_ACTION_ROW {
  APP_MENU_TEXT Text;  // without a tip: a submenu
  u32 Needs;           // bits of the rules
  bool IsCheckable;
};
// For every action but the separator and operations that stand in no menu.
UI_ACTION_ROW UI_GetActionRow(u32 Action);

// Where the actions stand: menu by menu, each in its order of display.
struct UI_PLACE {
  UI_MENU Menu;
  u32 Action;
};
std::span<const UI_PLACE> UI_GetPlaces();

struct UI_MENU_ROW {
  const char* sText;
  const char* sName;
  u32 Action;  // the row that opens it; UI_ACT_SEPARATOR for those of the menu bar
};
const UI_MENU_ROW& UI_GetMenuRow(u32 Menu);
// The menu that an action opens, or UI_NUM_MENUS.
u32 UI_FindMenu(u32 Action);

// Bit n stands for action n.
u64 UI_GetEnabledActions(const MENU_STATE& state);
const char* UI_GetConnectionText(const MENU_STATE& state);
// True for a row whose dialog this version doesn't have yet.
bool UI_IsActionMissing(u32 Action);
