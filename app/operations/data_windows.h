#pragma once

#include <vector>

#include "app/engine/frontend.h"
#include "image/memarea.h"
#include "sys/time.h"
#include "sys/types.h"

// The list of open data windows. Application thread, under APP_LOCK. Rows are dense: removing one
// moves the later rows up, so a row pointer isn't stable across a removal.
constexpr u32 APP_MAX_DATA_WINDOWS = 32;

struct DATA_WINDOW_INFO {
  SYS_TIME FileTime;     // last write time of the file when it was last read or written
  char acFileName[512];  // empty for a window without a file
  APP_DATA_WINDOW* hWindow;
  MEMAREA* pArea;  // owned by the row
  u8 IgnoreFileChange;
};

// Takes the area over when the window exists, else the caller keeps it. Null when the list is full
// or the front end made no window. pFileTime is that of the file before it was read; null takes it
// now.
APP_DATA_WINDOW* APP_AddDataWindow(const char* sFile, MEMAREA* pArea, const char* sTitle,
                                   const SYS_TIME* pFileTime = nullptr);
// Last write time, all zero when it can't be told. Others may write the file meanwhile.
SYS_TIME APP_GetFileTime(const char* sFile);
// The row, or null.
DATA_WINDOW_INFO* APP_FindDataWindow(const APP_DATA_WINDOW* hWindow);
DATA_WINDOW_INFO* APP_GetFocusedDataWindow();
MEMAREA* APP_GetFocusedImage();
// Shows an image that has no file, such as one read from a chip. Takes it over in any case; null is
// what a failed read gives. 0 or -1.
int APP_ShowReadImage(MEMAREA* pArea, const char* sTitle);
// Shows the image anew. One without a window is ignored.
void APP_UpdateImageWindow(MEMAREA* pArea);
// Deletes the row and its image. An unknown window does nothing.
void APP_RemoveDataWindow(const APP_DATA_WINDOW* hWindow);
// Binds the row to the file and takes the file's last write time.
void APP_NoteFileTime(const APP_DATA_WINDOW* hWindow, const char* sFile);
// Read-only or not, as the project says.
void APP_ApplyGUIMode();
u32 APP_GetNumDataWindows();
// A copy, oldest first.
std::vector<APP_DATA_WINDOW*> APP_ListDataWindows();
// Frees every row; only when no front end draws them any more.
void APP_FreeDataWindows();
