#include "app/operations/data_watch.h"

#include <vector>

#include "app/engine/app_state.h"
#include "app/engine/locks.h"
#include "app/engine/log.h"
#include "app/operations/data_ops.h"
#include "app/operations/data_windows.h"
#include "image/datafile.h"
#include "project/settings.h"
#include "sys/file.h"
#include "sys/util_format.h"
#include "sys/util_string.h"

namespace {

constexpr char kSaveFilters[] =
    "Motorola S file (*.mot);;Motorola S file (*.srec);;Motorola S file (*.s19);;"
    "Motorola S file (*.s28);;Motorola S file (*.s37);;Motorola S file (*.s);;"
    "Intel Hex file (*.hex);;Intel MCS-86 Hex file (*.mcs);;Binary file (*.bin);;"
    "Binary file (*.raw);;ANSI \"C\" file (*.c);;TI-TXT file (*.txt)";
constexpr u32 kTextSize = SYS_MAX_PATH + 256;
constexpr u32 kClosed = 2;  // a box closed without a button

enum class FileState { Same, Changed, Gone, Unknown };

FileState LookAt(const DATA_WINDOW_INFO& row, SYS_TIME* pTime) {
  const SYS_HANDLE hFile =
      SYS_FILE_Open(row.acFileName, SYS_FILE_READ | SYS_FILE_SHARE_READ | SYS_FILE_SHARE_WRITE);
  if (hFile == SYS_INVALID_FILE) {
    return SYS_GetLastError() == SYS_ERROR_FILE_NOT_FOUND ? FileState::Gone : FileState::Unknown;
  }
  const int result = SYS_FILE_GetTimes(hFile, nullptr, pTime);
  SYS_FILE_Close(hFile);
  if (result != 0) {
    return FileState::Unknown;
  }
  return *pTime == row.FileTime ? FileState::Same : FileState::Changed;
}

bool MayReload(const char* sFile) {
  char acText[kTextSize];
  UTIL_snprintf(acText, sizeof acText,
                "The data file at\n\n%s\n\nwas modified outside of %s.\n"
                "Should the data window be reloaded?",
                sFile, APP_GetName());
  return APP_MsgBox(acText, "Reload", "Do not reload", 0, APP_ICON_QUESTION, 1) == 0;
}

void Reload(APP_DATA_WINDOW* hWindow, const SYS_TIME& fileTime) {
  DATA_WINDOW_INFO* pRow = APP_FindDataWindow(hWindow);
  MEMAREA* pNew = APP_OpenDataFile(pRow->acFileName, 0, false);
  if (pNew == nullptr) {
    APP_GetFrontEnd()->CloseDataWindow(hWindow);
    return;
  }
  APP_GetFrontEnd()->UpdateDataWindow(hWindow, pNew);
  MEMAREA_Delete(pRow->pArea);
  pRow->pArea = pNew;
  pRow->FileTime = fileTime;
}

void AskAboutLostFile(DATA_WINDOW_INFO* pRow) {
  char acText[kTextSize];
  UTIL_snprintf(acText, sizeof acText,
                "The data file at\n\n%s\n\nwas deleted or moved to a different location.\n"
                "Should the data window be closed?",
                pRow->acFileName);
  pRow->acFileName[0] = '\0';  // asked once only
  APP_DATA_WINDOW* hWindow = pRow->hWindow;
  if (APP_MsgBox(acText, "Keep data window open", "Close data window", 0, APP_ICON_QUESTION, 0) ==
      1) {
    APP_GetFrontEnd()->CloseDataWindow(hWindow);
  }
}

void CheckRow(APP_DATA_WINDOW* hWindow) {
  DATA_WINDOW_INFO* pRow = APP_FindDataWindow(hWindow);
  if (pRow == nullptr || pRow->acFileName[0] == '\0' || pRow->IgnoreFileChange != 0) {
    return;
  }
  SYS_TIME fileTime = {};
  const FileState state = LookAt(*pRow, &fileTime);
  if (state == FileState::Gone) {
    AskAboutLostFile(pRow);
  } else if (state == FileState::Changed) {
    if (MayReload(pRow->acFileName)) {
      Reload(hWindow, fileTime);
    } else {
      pRow->IgnoreFileChange = 1;
    }
  }
}

// 0 overwrite, 1 save as a different file, kClosed give up.
u32 AskOverwrite(const char* sFile) {
  char acText[kTextSize];
  UTIL_snprintf(acText, sizeof acText,
                "The data file at\n\n%s\n\nwas modified outside of %s.\n"
                "Should the file be overwritten?",
                sFile, APP_GetName());
  APP_MSGBOX_ARGS args;
  args.sTitle = "Save modified data file";
  args.sText = acText;
  args.sBtn0 = "Overwrite";
  args.sBtn1 = "Save as different file";
  args.DefaultBtn = 1;
  args.Icon = APP_ICON_QUESTION;
  args.RejectResult = kClosed;
  return APP_MsgBoxAlways(args);
}

// The name to save under, in pFile: in the present one, which may be empty. False when the user
// gave none.
bool AskSaveName(char* pFile, u32 fileSize) {
  const char* sFilter = APP_GetSaveFilter(pFile);
  if (*pFile == '\0') {
    SETUP_GetDataFiles(pFile, fileSize);
  }
  if (APP_GetFrontEnd()->ShowFileDialogSave("Save data file as", kSaveFilters,
                                            sFilter != nullptr ? sFilter : "", pFile,
                                            fileSize) != 0) {
    return false;
  }
  SETUP_SetDataFiles(pFile);
  return true;
}

}  // namespace

void APP_CheckFileModifications(APP_DATA_WINDOW* hWindow) {
  SYS_LOCK_GUARD lock(APP_GetLock());
  if (hWindow != nullptr) {
    CheckRow(hWindow);
    return;
  }
  // Rows move when a window closes, so the windows are listed first.
  for (APP_DATA_WINDOW* pWindow : APP_ListDataWindows()) {
    CheckRow(pWindow);
  }
}

void APP_SaveDataWindow(APP_DATA_WINDOW* hWindow, const char* sFile, bool saveAs) {
  SYS_LOCK_GUARD lock(APP_GetLock());
  const DATA_WINDOW_INFO* pRow = APP_FindDataWindow(hWindow);
  if (pRow == nullptr) {
    return;
  }
  char acFile[SYS_MAX_PATH];
  UTIL_strcpy(acFile, sFile[0] != '\0' ? sFile : pRow->acFileName, sizeof acFile);
  bool asksName = saveAs || acFile[0] == '\0';
  if (acFile[0] != '\0' && pRow->IgnoreFileChange != 0) {
    const u32 answer = AskOverwrite(acFile);
    if (answer == kClosed) {
      return;
    }
    asksName = asksName || answer == 1;
  }
  if (asksName && !AskSaveName(acFile, sizeof acFile)) {
    return;
  }
  APP_SaveDataFile(hWindow, acFile, 0, 0, false);
}
