#include <string>

#include "app/engine/frontend.h"
#include "app/engine/log.h"
#include "project/project_internal.h"
#include "project/settings.h"
#include "sys/file.h"
#include "sys/path.h"
#include "sys/util_format.h"
#include "sys/util_string.h"
#include "text/projfile.h"

// Saving.

namespace {

constexpr int kReadOnly = -2;
constexpr char kSaved[] = "Project saved successfully";
constexpr char kFailed[] = "Failed to save project file";

// Opens the log section that the caller closes. Null saves under the name the project has.
int WriteFile(const char* sName) {
  PROJECT_WriteBlocks();
  APP_LogBeginf("Saving project file [%s] ...", sName != nullptr ? sName : PROJECT_GetName());
  return PROJFILE_Save(sName);
}

void NoteSaved() {
  PROJECT_State().NumModifications = 0;
  PROJECT_Hooks.pfOnChanged();
}

// Box closed without a button: no.
bool AskForSaveAs() {
  char acText[SYS_MAX_PATH + 128];
  UTIL_snprintf(acText, sizeof(acText),
                "Could not save project file [%s]\nFile has read only attribute!\n"
                "Save as new project?",
                PROJECT_GetName());
  return APP_MsgBox(acText, "Yes", "No", 1, APP_ICON_QUESTION, 1) == 0;
}

// False when cancelled.
bool ChooseName(char* pBuf, u32 BufSize) {
  const char* sName = PROJFILE_GetName();
  if (sName != nullptr && sName[0] != '\0') {
    UTIL_strcpy(pBuf, sName, BufSize);
  } else {
    SETUP_GetProjectFiles(pBuf, BufSize);
  }
  APP_FRONTEND* pFrontEnd = APP_GetFrontEnd();
  if (pFrontEnd == nullptr ||
      pFrontEnd->ShowFileDialogSave("Save project as", "Korvane project files (*.korvane)",
                                    "Korvane project files (*.korvane)", pBuf, BufSize) != 0 ||
      pBuf[0] == '\0') {
    return false;
  }
  SETUP_SetProjectFiles(pBuf);
  return true;
}

int SaveUnder(std::string name) {
  SYS_PATH_ToNative(name.data());
  // In another folder the same data file has another name.
  PROJ_GENERAL& general = PROJECT_Current().General;
  const std::string dataFile = PROJECT_MakeStoredName(PROJECT_GetDataFileName(), name.c_str());
  if (dataFile.size() < sizeof(general.CurrentFile)) {
    UTIL_strcpy(general.CurrentFile, dataFile.c_str(), sizeof(general.CurrentFile));
  }
  if (WriteFile(name.c_str()) != 0) {
    APP_LogEndEx(kFailed);
    return -1;
  }
  PROJECT_State().HasFileName = 1;
  SETUP_SetCurrent(name.c_str());
  NoteSaved();
  APP_LogEndEx(kSaved);
  return 0;
}

}  // namespace

int PROJECT_Save() {
  if (PROJECT_CheckOpen() != 0) {
    return -1;
  }
  if (PROJECT_IsModified() == 0) {
    return 0;
  }
  if (PROJECT_State().HasFileName == 0) {
    return PROJECT_SaveAs(nullptr);
  }
  const int result = WriteFile(nullptr);
  if (result == 0) {
    NoteSaved();
    APP_LogEndEx(kSaved);
    return 0;
  }
  if (result == kReadOnly && AskForSaveAs()) {
    APP_LogEnd();
    return PROJECT_SaveAs(nullptr);
  }
  APP_LogEndEx(kFailed);
  return -1;
}

int PROJECT_SaveAs(const char* pFileName) {
  if (PROJECT_CheckOpen() != 0) {
    return -1;
  }
  if (pFileName != nullptr) {
    return SaveUnder(pFileName);
  }
  char acName[SYS_MAX_PATH] = {};
  return ChooseName(acName, sizeof(acName)) ? SaveUnder(acName) : -1;
}
