#include "app/operations/data_windows.h"

#include <algorithm>
#include <cstring>
#include <vector>

#include "app/engine/locks.h"
#include "app/engine/log.h"
#include "app/operations/status.h"
#include "project/project.h"
#include "sys/file.h"
#include "sys/util_format.h"
#include "sys/util_string.h"

namespace {

std::vector<DATA_WINDOW_INFO>& Rows() {
  static std::vector<DATA_WINDOW_INFO> rows;  // guarded by APP_LOCK
  return rows;
}

bool IsReadOnlyMode() {
  if (PROJECT_IsOpen() <= 0) {
    return false;
  }
  PROJ_GENERAL general;
  PROJECT_GetGeneral(&general);
  return general.GUIMode != 0;
}

}  // namespace

SYS_TIME APP_GetFileTime(const char* sFile) {
  SYS_TIME fileTime = {};
  const SYS_HANDLE hFile =
      SYS_FILE_Open(sFile, SYS_FILE_READ | SYS_FILE_SHARE_READ | SYS_FILE_SHARE_WRITE);
  if (hFile == SYS_INVALID_FILE) {
    return fileTime;
  }
  if (SYS_FILE_GetTimes(hFile, nullptr, &fileTime) != 0) {
    fileTime = SYS_TIME{};
  }
  SYS_FILE_Close(hFile);
  return fileTime;
}

APP_DATA_WINDOW* APP_AddDataWindow(const char* sFile, MEMAREA* pArea, const char* sTitle,
                                   const SYS_TIME* pFileTime) {
  APP_FRONTEND* pFrontEnd = APP_GetFrontEnd();
  if (pArea == nullptr || pFrontEnd == nullptr) {
    return nullptr;
  }
  SYS_LOCK_GUARD lock(APP_GetLock());
  if (Rows().size() >= APP_MAX_DATA_WINDOWS) {
    char acText[128];
    UTIL_snprintf(acText, sizeof acText,
                  "Failed to create data window.\nMaximum number of data windows (%d) reached.",
                  APP_MAX_DATA_WINDOWS);
    APP_ShowWarning(acText);
    return nullptr;
  }
  APP_DATA_WINDOW* pWindow = pFrontEnd->CreateDataWindow(pArea, sTitle, IsReadOnlyMode(), false);
  if (pWindow == nullptr) {
    return nullptr;
  }
  DATA_WINDOW_INFO row = {};
  row.hWindow = pWindow;
  row.pArea = pArea;
  if (sFile != nullptr) {
    UTIL_strcpy(row.acFileName, sFile, sizeof row.acFileName);
    row.FileTime = pFileTime != nullptr ? *pFileTime : APP_GetFileTime(sFile);
  }
  Rows().push_back(row);
  APP_UpdateMenuBar();
  return pWindow;
}

DATA_WINDOW_INFO* APP_FindDataWindow(const APP_DATA_WINDOW* hWindow) {
  auto& rows = Rows();
  const auto it = std::find_if(rows.begin(), rows.end(), [hWindow](const DATA_WINDOW_INFO& row) {
    return row.hWindow == hWindow;
  });
  return it == rows.end() ? nullptr : &*it;
}

DATA_WINDOW_INFO* APP_GetFocusedDataWindow() {
  APP_FRONTEND* pFrontEnd = APP_GetFrontEnd();
  const APP_DATA_WINDOW* pWindow =
      pFrontEnd == nullptr ? nullptr : pFrontEnd->GetFocusedDataWindow();
  return pWindow == nullptr ? nullptr : APP_FindDataWindow(pWindow);
}

MEMAREA* APP_GetFocusedImage() {
  const DATA_WINDOW_INFO* pRow = APP_GetFocusedDataWindow();
  return pRow == nullptr ? nullptr : pRow->pArea;
}

int APP_ShowReadImage(MEMAREA* pArea, const char* sTitle) {
  MEMAREA_PTR pOwned(pArea);
  if (pOwned == nullptr || APP_AddDataWindow(nullptr, pOwned.get(), sTitle) == nullptr) {
    return -1;
  }
  static_cast<void>(pOwned.release());  // the row owns it now
  return 0;
}

void APP_UpdateImageWindow(MEMAREA* pArea) {
  SYS_LOCK_GUARD lock(APP_GetLock());
  for (const DATA_WINDOW_INFO& row : Rows()) {
    if (row.pArea == pArea) {
      APP_GetFrontEnd()->UpdateDataWindow(row.hWindow, pArea);
      APP_UpdateMenuBar();
      return;
    }
  }
}

void APP_RemoveDataWindow(const APP_DATA_WINDOW* hWindow) {
  SYS_LOCK_GUARD lock(APP_GetLock());
  const DATA_WINDOW_INFO* pRow = APP_FindDataWindow(hWindow);
  if (pRow == nullptr) {
    return;
  }
  MEMAREA_Delete(pRow->pArea);
  Rows().erase(Rows().begin() + (pRow - Rows().data()));
}

void APP_NoteFileTime(const APP_DATA_WINDOW* hWindow, const char* sFile) {
  SYS_LOCK_GUARD lock(APP_GetLock());
  DATA_WINDOW_INFO* pRow = APP_FindDataWindow(hWindow);
  if (pRow == nullptr) {
    return;
  }
  UTIL_strcpy(pRow->acFileName, sFile, sizeof pRow->acFileName);
  pRow->FileTime = APP_GetFileTime(sFile);
  pRow->IgnoreFileChange = 0;
}

void APP_ApplyGUIMode() {
  SYS_LOCK_GUARD lock(APP_GetLock());
  const bool readOnly = IsReadOnlyMode();
  for (const DATA_WINDOW_INFO& row : Rows()) {
    row.hWindow->RequestBigEndian(false);
    row.hWindow->RequestReadOnly(readOnly);
  }
}

u32 APP_GetNumDataWindows() {
  return static_cast<u32>(Rows().size());
}

std::vector<APP_DATA_WINDOW*> APP_ListDataWindows() {
  std::vector<APP_DATA_WINDOW*> windows;
  for (const DATA_WINDOW_INFO& row : Rows()) {
    windows.push_back(row.hWindow);
  }
  return windows;
}

void APP_FreeDataWindows() {
  for (const DATA_WINDOW_INFO& row : Rows()) {
    MEMAREA_Delete(row.pArea);
  }
  Rows().clear();
}
