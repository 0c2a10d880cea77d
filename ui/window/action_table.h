#pragma once

#include <span>

#include "sys/types.h"

struct MENU_STATE;

// The menus of the main window as a table: what stands where, and what it needs to be of use. No
// window.

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

enum UI_ACTION : u32 {
  UI_ACT_OPEN_DATA_FILE,
  UI_ACT_MERGE_DATA_FILE,
  UI_ACT_SAVE_DATA_FILE,
  UI_ACT_SAVE_DATA_FILE_AS,
  UI_ACT_SHOW_FILES_ON_ZELMONT,
  UI_ACT_NEW_PROJ,
  UI_ACT_OPEN_PROJ,
  UI_ACT_SAVE_PROJ_FILE,
  UI_ACT_SAVE_PROJ_FILE_AS,
  UI_ACT_CLOSE_PROJECT,
  UI_ACT_SAVE_FLASH_CONF_FILE,
  UI_ACT_SAVE_FLASH_DATA_FILE,
  UI_ACT_DOWNLOAD_CONFIG_FILES,
  UI_ACT_DOWNLOAD_SN_FILES,
  UI_ACT_RECENT_FILES,  // submenu
  UI_ACT_RECENT_PROJECTS,
  UI_ACT_EXIT,
  UI_ACT_RELOCATE,
  UI_ACT_DEL_RANGE,
  UI_ACT_ELIM_BLANK,
  UI_ACT_CONNECTION,
  UI_ACT_TEST,  // submenu
  UI_ACT_ERASE_SECTORS,
  UI_ACT_ERASE_CHIP,
  UI_ACT_PROGRAM,
  UI_ACT_PROGRAM_N_VERIFY,
  UI_ACT_PROD_PROG,
  UI_ACT_VERIFY,
  UI_ACT_READ_BACK,  // submenu
  UI_ACT_GENERATE_TEST_DATA,
  UI_ACT_READ_CHIP,
  UI_ACT_READ_RANGE,
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
  UI_MENU Menu;  // the menu that it stands in
  UI_ACTION Action;
  const char* sText;
  const char* sShortcut;  // may be null
  const char* sTip;       // null: a submenu
  const char* sName;      // object name
  u32 Needs;              // bits of the rules
  bool IsCheckable;
};
// Menu by menu, each in its order of display.
std::span<const UI_ACTION_ROW> UI_GetActionRows();
// The row of an action, or null.
const UI_ACTION_ROW* UI_FindActionRow(u32 Action);

struct UI_MENU_ROW {
  const char* sText;
  const char* sName;
  UI_ACTION Action;  // the row that opens it; UI_ACT_SEPARATOR for those of the menu bar
};
const UI_MENU_ROW& UI_GetMenuRow(u32 Menu);
// The menu that an action opens, or UI_NUM_MENUS.
u32 UI_FindMenu(u32 Action);

// Bit n stands for action n.
u64 UI_GetEnabledActions(const MENU_STATE& state);
const char* UI_GetConnectionText(const MENU_STATE& state);
// True for a row whose dialog this version doesn't have yet.
bool UI_IsActionMissing(u32 Action);
