#include "project/project.h"

#include <algorithm>
#include <array>
#include <string>

#include "app/engine/app_state.h"
#include "app/engine/frontend.h"
#include "app/engine/log.h"
#include "project/project_internal.h"
#include "project/settings.h"
#include "sys/file.h"
#include "sys/path.h"
#include "text/projfile.h"

// Creating, opening and closing.

PROJECT_HOOKS PROJECT_Hooks = {
    .pfOnChanged = [] {},
    .pfSetTargetPower = [](u32, u32) {},
    .pfSetFixedVTref = [](u32, u32) {},
    .pfDisconnect = [] {},
    .pfLoadSerial = [](PROJ_PRODUCTION*) {},
};

namespace {

PROJECT_STATE State;

constexpr u32 kAnswerYes = 0;
constexpr u32 kAnswerNo = 1;
constexpr u32 kAnswerNone = 2;

// The setters count each block as a change; what counts is the state at the end: a new project is
// to be saved, an opened one isn't.
void FillBlocks(bool isNew) {
  State.IsLoading = 1;
  if (isNew) {
    PROJECT_ApplyDefaults();
  } else {
    PROJECT_ReadBlocks();
  }
  State.IsLoading = 0;
  State.NumModifications = isNew ? 1 : 0;
}

// Any other text would read as a project of defaults.
bool HasKnownSection() {
  const auto isThere = [](const char* s) { return PROJFILE_HasSection(s) != 0; };
  return std::ranges::any_of(
      std::array{"GENERAL", "JTAG", "FLASH", "CPU", "SPI", "QSPI", "PRODUCTION", "PERFORMANCE"},
      isThere);
}

// The name is a copy: the caller's may be that of the project which is closed first.
int NewOrOpen(std::string name, bool isNew) {
  if (State.IsShutDown != 0) {
    return -1;
  }
  if (PROJECT_IsOpen() != 0 && PROJECT_Close() != 0) {
    return -1;
  }
  SYS_PATH_ToNative(name.data());
  const char* sVerb = isNew ? "Creating new" : "Opening";
  const char* sName = name.empty() ? nullptr : name.c_str();
  if (sName != nullptr) {
    APP_LogBeginf("%s project file [%s] ...", sVerb, sName);
  } else {
    APP_LogBeginf("%s project ...", sVerb);
  }
  const int result = isNew ? PROJFILE_Create(sName) : PROJFILE_Open(sName);
  if (result != 0) {
    APP_LogEndEx("Failed");
    return -2;
  }
  if (!isNew && !HasKnownSection()) {
    APP_ShowError(
        APP_ERROR(APP_CAUSE::Project).In(sName),
        ("Could not open project file [" + name + "]\nIt has no section of a project.").c_str());
    static_cast<void>(PROJFILE_Close());
    APP_LogEndEx("Failed");
    return -2;
  }
  State.NumModifications = 0;
  State.HasFileName = sName != nullptr ? 1 : 0;
  if (sName != nullptr) {
    SETUP_SetCurrent(sName);
  }
  FillBlocks(isNew);
  PROJECT_Hooks.pfOnChanged();
  APP_LogEndEx(isNew ? "New project created successfully" : "Project opened successfully");
  return 0;
}

// 0 when the changes are saved or may be dropped, -1 when the project has to stay open. A save that
// fails keeps it open: the changes exist nowhere else.
int SettleChanges() {
  if (PROJECT_IsModified() == 0) {
    return 0;
  }
  if (SETUP_GetAutoSaveProject() != 0) {
    return PROJECT_Save();
  }
  const u32 answer =
      APP_MsgBox("The Korvane project has been modified.\nDo you want to save your changes?", "Yes",
                 "No", kAnswerNo, APP_ICON_QUESTION, kAnswerNone);
  if (answer == kAnswerYes) {
    return PROJECT_Save();
  }
  return answer == kAnswerNo ? 0 : -1;
}

}  // namespace

PROJECT_STATE& PROJECT_State() {
  return State;
}

int PROJECT_New(const char* pFileName) {
  return NewOrOpen(pFileName != nullptr ? pFileName : "", true);
}

int PROJECT_Open(const char* pFileName) {
  if (pFileName != nullptr && pFileName[0] != '\0') {
    return NewOrOpen(pFileName, false);
  }
  char acName[SYS_MAX_PATH] = {};
  SETUP_GetProjectFiles(acName, sizeof(acName));
  APP_FRONTEND* pFrontEnd = APP_GetFrontEnd();
  if (State.IsShutDown != 0 || pFrontEnd == nullptr ||
      pFrontEnd->ShowFileDialogOpen(
          "Open project", "All files (*.*);;Korvane project files (*.korvane)",
          "Korvane project files (*.korvane)", acName, sizeof(acName)) != 0 ||
      acName[0] == '\0') {
    return -1;
  }
  SETUP_SetProjectFiles(acName);
  return NewOrOpen(acName, false);
}

int PROJECT_Close() {
  if (PROJECT_IsOpen() == 0) {
    return 0;
  }
  APP_LOG_SECTION section("Close project");
  if (SettleChanges() != 0) {
    return -1;
  }
  PROJECT_Hooks.pfDisconnect();
  const int result = PROJFILE_Close();
  State.HasFileName = 0;
  State.NumModifications = 0;
  PROJECT_Hooks.pfOnChanged();
  if (result == 0) {
    section.SetEnd("Project closed");
  }
  return result;
}

// An unattended run that ends the program drops its changes rather than asking.
int PROJECT_Shutdown() {
  if (State.IsShutDown != 0) {
    return 0;
  }
  if (APP_State().ExitRequested != 0) {
    State.NumModifications = 0;
  }
  if (PROJECT_Close() != 0) {
    return -1;
  }
  PROJFILE_Shutdown();
  State.IsShutDown = 1;
  return 0;
}

int PROJECT_IsOpen() {
  return PROJFILE_IsOpen() > 0 ? 1 : 0;
}

int PROJECT_IsModified() {
  return PROJECT_IsOpen() != 0 && State.NumModifications > 0 ? 1 : 0;
}

const char* PROJECT_GetName() {
  if (PROJECT_IsOpen() == 0) {
    return nullptr;
  }
  const char* sName = PROJFILE_GetName();
  return sName != nullptr && sName[0] != '\0' ? sName : "new project";
}

void PROJECT_Reset() {
  PROJFILE_Reset();
  State = {};
  PROJECT_Current() = {};
}
