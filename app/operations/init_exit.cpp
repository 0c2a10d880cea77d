#include "app/operations/init_exit.h"

#include "app/engine/app_state.h"
#include "app/engine/frontend.h"
#include "app/engine/locks.h"
#include "app/engine/log.h"
#include "app/operations/cmdline.h"
#include "app/operations/data_ops.h"
#include "app/operations/data_windows.h"
#include "app/operations/status.h"
#include "flash/connect.h"
#include "flash/driver.h"
#include "project/project.h"
#include "project/recent.h"
#include "project/settings.h"
#include "sys/file.h"
#include "sys/library.h"
#include "sys/path.h"
#include "sys/util_format.h"
#include "sys/util_string.h"

namespace {

void LoadRecentLists() {
  char acRoot[128];
  UTIL_snprintf(acRoot, sizeof acRoot, "%s\\", APP_GetRegistryRoot());
  RECENT_Load(RECENT_DATA_FILES, acRoot, RECENT_MAX_ENTRIES);
  RECENT_Load(RECENT_PROJECTS, acRoot, RECENT_MAX_ENTRIES);
  APP_UpdateMenuBar();
}

void StartLog(const APP_START_INFO& start) {
  if (SETUP_GetEnableKorvaneLog(true) != 0) {
    APP_EnableLogFile(true);
  }
  APP_LogBegin("Application log started");
  APP_LogVersions();
  APP_LogEnd();
  if (start.argc <= 1) {
    return;
  }
  APP_LogBegin("Optional command line parameters found");
  for (u32 i = 1; i < start.argc; ++i) {
    char acLine[1024];
    UTIL_snprintf(acLine, sizeof acLine, "[%d]: %s", i, start.argv[i]);
    APP_LogInfo(acLine);
  }
  APP_LogEnd();
}

// Decides what is open when the program has started; the path of the project to open, if any, goes
// to pPath.
void ChooseStartAction(APP_START_INFO* pStart, char* pPath, u32 pathSize) {
  pPath[0] = '\0';
  pStart->StartAction = APP_START_OPEN_PROJECT;
  pStart->ShowNewProjectDlg = 0;
  pStart->ShowWelcomeDlg = 0;
  if (pStart->argc > 1) {
    if (APP_State().OpenPrjGiven != 0) {
      pStart->StartAction = APP_START_NOTHING;
    }
    return;
  }
  switch (SETUP_GetAppStartAction()) {
    case 1:
      SETUP_GetCurrent(pPath, pathSize);
      break;
    case 2:
      pStart->ShowNewProjectDlg = 1;
      break;
    default:
      pStart->ShowWelcomeDlg = 1;
      break;
  }
}

void OpenStartProject(APP_START_INFO* pStart) {
  char acPath[SYS_MAX_PATH];
  ChooseStartAction(pStart, acPath, sizeof acPath);
  if (pStart->ShowNewProjectDlg == 0 && pStart->ShowWelcomeDlg == 0 &&
      pStart->StartAction == APP_START_OPEN_PROJECT) {
    APP_OpenProjectOrDefault(acPath);
  }
}

void RunCommandLine(APP_START_INFO* pStart) {
  const int result = CMDLINE_Parse(pStart->argc, pStart->argv, CMDLINE_PASS_EXECUTE);
  if (APP_State().ExitRequested == 0) {
    return;
  }
  if (result < 0) {
    pStart->CloseAfterInit = 1;
  }
  APP_GetFrontEnd()->PostClose();
}

// Everything behind a good pre-parse.
void StartUp(APP_START_INFO* pStart, bool settingsLoaded) {
  StartLog(*pStart);
  if (APP_State().VisibilityForced == 0) {
    APP_GetFrontEnd()->SetVisibility(pStart->ShowCmd);
  }
  VORTIC_SetErrorOutHandler(DRIVER_GetErrorHandler());
  if (!APP_CreateLock()) {
    APP_LogError(APP_CAUSE::Internal, "Failed to create semaphore!");
  }
  OpenStartProject(pStart);
  if (!settingsLoaded) {
    APP_LogErrorf(APP_CAUSE::Settings, "Failed to initialize %s", APP_GetName());
    return;
  }
  RunCommandLine(pStart);
}

// The one place that writes the exit status. A run that nobody watches fails with its first error,
// in whatever part of the program it was recorded.
void JudgeRun() {
  if (APP_GetNumRunErrors() != 0 || APP_State().IsEndAsked) {
    APP_State().ExitCode = 1;
  }
}

// The default project's file: beside the program when that can be written, else with the settings.
void GetDefaultProject(char* pBuf, u32 bufSize) {
  char acDir[SYS_MAX_PATH] = "";
  if (SYS_GetWritableDir(acDir, sizeof acDir) != 0) {
    acDir[0] = '\0';
  }
  SYS_PATH_Make(pBuf, bufSize, nullptr, acDir, "Default", "korvane");
}

}  // namespace

void APP_OpenProjectOrDefault(const char* sPath) {
  char acPath[SYS_MAX_PATH];
  UTIL_strcpy(acPath, sPath, sizeof acPath);
  SYS_PATH_ToNative(acPath);
  if (SYS_FILE_Exists(acPath) != 0) {
    APP_OpenProject(acPath);
    return;
  }
  GetDefaultProject(acPath, sizeof acPath);
  if (SYS_FILE_Exists(acPath) != 0) {
    APP_OpenProject(acPath);
  } else if (PROJECT_New(acPath) != 0) {
    PROJECT_New(nullptr);
  }
}

int APP_OpenProject(const char* sFile, bool* pDataFileMissing) {
  char acFile[SYS_MAX_PATH];
  UTIL_strcpy(acFile, sFile, sizeof acFile);
  SYS_PATH_ToNative(acFile);
  const int result = PROJECT_Open(acFile);
  const bool isMissing =
      result == 0 && APP_State().OpenDataGiven == 0 && APP_LoadProjectDataFile() != 0;
  if (pDataFileMissing != nullptr) {
    *pDataFileMissing = isMissing;
  }
  APP_ApplyGUIMode();
  return result;
}

void APP_Init(APP_START_INFO* pStart) {
  APP_ForgetErrors();
  pStart->CloseAfterInit = 0;
  // A run that was asked for isn't stopped by a box about its settings; it fails.
  APP_State().SuppressGUI = pStart->argc > 1 ? 1 : 0;
  const bool settingsLoaded = SETUP_Init() == 0;
  static_cast<void>(SETUP_GetLogLevel());  // the first line of the log would ask for it
  APP_UpdateWindowTitle();
  LoadRecentLists();
  APP_State().SuppressGUI = 0;
  if (CMDLINE_Parse(pStart->argc, pStart->argv, CMDLINE_PASS_PREPARSE) < 0) {
    pStart->CloseAfterInit = 1;
  } else {
    StartUp(pStart, settingsLoaded);
  }
  if (pStart->argc > 1 || !settingsLoaded) {
    JudgeRun();
  }
}

// The project closes, and with it the connection, while the driver library is still there. When
// that is refused the program goes on, so nothing else may be gone by then.
bool APP_Exit() {
  if (APP_State().IsEndAsked) {  // there is no time for questions
    APP_State().ExitRequested = 1;
    APP_State().SuppressGUI = 1;
  }
  const bool isRefused = PROJECT_Shutdown() != 0 && PROJECT_IsOpen() != 0;
  if (isRefused && APP_State().ExitRequested == 0) {
    return false;
  }
  APP_DestroyLock();
  FLASH_Disconnect();
  // What failed just now, such as closing the probe, counts for a run that nobody watches, but not
  // for a person who closes the window.
  if (APP_State().SuppressGUI != 0) {
    JudgeRun();
  }
  SYS_UnloadLibraries();
  APP_EnableLogFile(false);
  SETTINGS_Exit();
  return true;
}
