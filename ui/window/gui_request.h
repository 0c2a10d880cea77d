#pragma once

#include <array>
#include <string>

#include "app/engine/frontend.h"
#include "sys/thread.h"

class DataWindowHandle;

// What jobs ask and tell the GUI thread, guarded by the lock of the main window.
//
// A blocking request has its own fields and an event made for that one call. There is no queue:
// only the application thread asks, and it waits for each answer. An event of 0 means that nobody
// waits (any more). Pointers are the caller's and valid while it waits; results are preset to what
// a request gives that can't be shown.
struct GUI_REQUEST_BLOCK {
  struct {
    SYS_HANDLE hDone;
    MSGBOX_INFO* pInfo;
  } MsgBox{};

  struct {
    SYS_HANDLE hDone;
    const char* sTitle;
    EDIT_VALUE_ITEM* pItems;
    u32 NumItems;
    int Result;
  } EditVal{};

  struct {
    SYS_HANDLE hDone;
    const char* sTitle;
    const char* sFilters;
    const char* sSelected;
    char* pBuf;
    u32 BufSize;
    int Result;
  } FileDialog{};

  struct {
    SYS_HANDLE hDone;
    MEMAREA* pArea;
    const char* sTitle;
    bool ReadOnly;
    bool BigEndian;
    APP_DATA_WINDOW* pResult;
  } CreateWindow{};

  struct {
    SYS_HANDLE hDone;
    APP_DATA_WINDOW* pWindow;
    MEMAREA* pArea;
  } UpdateWindow{};

  // ---- Told, not asked ----
  u32 Visibility = 0;
  MENU_STATE MenuState{};
  DataWindowHandle* pFocusedDataWindow = nullptr;
  bool EnableGUI = true;
  bool EnableDataWindowCheck = true;
  std::string sTitle;
  std::array<std::string, APP_NUM_STATUS_TEXTS> asStatus;
  std::array<std::string, APP_NUM_RECENT> apRecentData;
  std::array<std::string, APP_NUM_RECENT> apRecentProj;
};
