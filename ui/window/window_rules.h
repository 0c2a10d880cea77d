#pragma once

#include <span>
#include <string>
#include <string_view>

#include "sys/types.h"

// What the main window works out without a window: texts of menus and boxes, what becomes of a
// dropped file, sizes and places.

// ---- Recent lists ----
struct UI_RECENT_TEXT {
  std::string Text;  // of the menu row; "&" doubled, since a single one would mark a key
  std::string Tip;
};
UI_RECENT_TEXT UI_GetRecentText(std::string_view path, bool isProject);

// ---- Drag and drop ----
constexpr std::size_t UI_FILE_SIZE = 512;  // of a name in a job, with its end
// Empty when the file can be opened, else what to tell the user. sFile is empty for what is not on
// this computer; sShown is how the user knows it.
std::string UI_CheckDroppedFile(const std::string& sFile, const std::string& sShown);

// ---- Help ----
struct UI_HELP_ROW {
  u32 Action;
  const char* sName;     // in messages
  const char* sAddress;  // on the web
};
// Null for an action that opens no web address.
const UI_HELP_ROW* UI_FindHelpRow(u32 Action);
constexpr char UI_MANUAL_NAME[] = "Korvane User Manual";
constexpr char UI_MANUAL_PATH[] = "Doc/Manuals/user-guide.html";  // relative to the working folder
std::string UI_GetHelpFailure(const UI_HELP_ROW& row);
std::string UI_GetManualFailure(bool isFound, std::string_view path);

// ---- Geometry, in device independent pixels ----
struct UI_SIZE {
  i32 Width, Height;
};
struct UI_POINT {
  i32 X, Y;
};
enum class UI_DOCK_SIDE { LeftOrRight, TopOrBottom };
struct UI_DOCK_EXTENT {
  UI_SIZE Size;
  UI_DOCK_SIDE Side;
  bool IsShown;  // visible and part of the window
};
// The window that shows an area of this size among its docks.
UI_SIZE UI_GetWindowSize(UI_SIZE area, std::span<const UI_DOCK_EXTENT> docks);
// Where a frame stands in the middle of a screen.
UI_POINT UI_CenterFrame(UI_SIZE frame, UI_SIZE screen);
