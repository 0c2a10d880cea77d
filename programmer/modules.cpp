#include "programmer/modules.h"

#include <array>

#include "app/engine/frontend.h"
#include "app/engine/log.h"
#include "flash/connect.h"
#include "flash/driver.h"
#include "programmer/hooks.h"
#include "project/project.h"
#include "project/settings.h"
#include "sys/util_format.h"

// A gang programmer shows itself as a hub. The library reaches one of its modules instead when it
// was told so while closed; to go from one to the next it is closed, told and opened again.

namespace {

// What the library was last told. It keeps that beyond closing, so that after a failure on a module
// the next opening would reach that module again.
u32 SelectedModule;

// The user must not start anything else while files are on their way.
class GuiPause {
 public:
  GuiPause() { ZELMONT_Hooks.pfEnableGui(false); }
  ~GuiPause() { ZELMONT_Hooks.pfEnableGui(true); }
  GuiPause(const GuiPause&) = delete;
  GuiPause& operator=(const GuiPause&) = delete;
};

// The project's record is no guest for the stack of a caller that holds more.
PROBE_CONNECTION GetConnection() {
  PROJ_GENERAL general{};
  general = {};
  if (PROJECT_IsOpen() != 0) {
    PROJECT_GetGeneral(&general);
  }
  PROBE_CONNECTION connection{};
  SETUP_GetConnectInfo(&connection, &general);
  return connection;
}

// The library says why it refuses, but not which module was meant: the caller does.
bool TellModule(u32 Module) {
  std::array<char, 32> acCommand{};
  std::array<char, 128> acError{};
  UTIL_snprintf(acCommand.data(), acCommand.size(), "SelectModule = %u", Module);
  if (VORTIC_ExecCommand(acCommand.data(), acError.data(), acError.size()) < 0) {
    APP_LogError(APP_CAUSE::DriverLibrary, acError.data());
    return false;
  }
  SelectedModule = Module;
  return true;
}

// The target's power isn't looked at: a programmer is filled at a desk, without a board.
bool OpenProbe() {
  APP_LOG_SECTION section("Connecting to probe/ programmer...");
  const bool isOpen = PROBE_Open(false, true);
  section.SetEnd(isOpen ? "Connected successfully" : "Failed to connect");
  return isOpen;
}

// Those of the selection from First to Last: "2, 5", or "none".
std::string PrintModules(const PROBE_CONNECTION& connection, u32 First, u32 Last) {
  std::string text;
  for (u32 module = First; module <= Last; ++module) {
    if (connection.aATEModuleSel[module - 1] != 0) {
      text += (text.empty() ? "" : ", ") + std::to_string(module);
    }
  }
  return text.empty() ? "none" : text;
}

int DownloadToModule(u32 Module, const ZELMONT_FILE_INFO* paFiles, u32 NumFiles,
                     PROGRESS_INFO* pProgress) {
  std::array<char, 48> acText{};
  UTIL_snprintf(acText.data(), acText.size(), "Connecting to module %d...", Module);
  APP_LogInfo(acText.data());
  PROGRESS_SetText(pProgress, acText.data());
  if (APP_SelectModule(Module) != 0) {
    return -1;
  }
  UTIL_snprintf(acText.data(), acText.size(), "Module %d", Module);
  return APP_DownloadFileList(acText.data(), "", paFiles, NumFiles, pProgress);
}

// Ends back at the hub; a failure ends where it happened, since what is connected then may help to
// find out why. Whoever has to clean up needs to know which modules differ from the others now.
int DownloadToModules(const PROBE_CONNECTION& connection, const ZELMONT_FILE_INFO* paFiles,
                      u32 NumFiles, PROGRESS_INFO* pProgress) {
  bool isAnySelected = false;
  for (u32 module = 1; module <= ZELMONT_NUM_MODULES; ++module) {
    if (connection.aATEModuleSel[module - 1] == 0) {
      continue;
    }
    isAnySelected = true;
    if (DownloadToModule(module, paFiles, NumFiles, pProgress) != 0) {
      APP_LogErrorf(APP_CAUSE::Programmer,
                    "Modules that have their files: %s. Failed: %u. Not tried: %s.",
                    PrintModules(connection, 1, module - 1).c_str(), module,
                    PrintModules(connection, module + 1, ZELMONT_NUM_MODULES).c_str());
      return -1;
    }
  }
  if (!isAnySelected) {
    APP_LogError(APP_CAUSE::Project,
                 "No gang programmer modules selected at\nProject Settings -> General");
    return -1;
  }
  if (APP_SelectModule(0) != 0) {
    APP_LogErrorf(APP_CAUSE::Programmer, "Modules that have their files: %s.",
                  PrintModules(connection, 1, ZELMONT_NUM_MODULES).c_str());
    return -1;
  }
  return 0;
}

}  // namespace

int ZELMONT_Connect() {
  ZELMONT_Disconnect();
  return (SelectedModule == 0 || TellModule(0)) && OpenProbe() ? 0 : -1;
}

void ZELMONT_Disconnect() {
  FLASH_Disconnect();
  PROBE_Close();
}

int ZELMONT_Leave() {
  ZELMONT_Disconnect();
  return SelectedModule == 0 || TellModule(0) ? 0 : -1;
}

int APP_SelectModule(u32 Module) {
  ZELMONT_Disconnect();
  if (!TellModule(Module)) {
    APP_LogErrorf(APP_CAUSE::Programmer, "Failed to select gang programmer module #%d.", Module);
    return -1;
  }
  if (!OpenProbe()) {
    APP_LogErrorf(APP_CAUSE::NoProbe, "Failed to connect to gang programmer module #%d.", Module);
    return -1;
  }
  return 0;
}

int APP_DownloadFiles(const ZELMONT_FILE_INFO* paFiles, u32 NumFiles) {
  const GuiPause pause;
  if (ZELMONT_Connect() != 0) {
    return -1;
  }
  const APP_PROGRESS progress("");
  // A selection that doesn't fit the programmer means that the project or the programmer is not the
  // one that the user has in mind: nothing is sent then.
  const PROBE_CONNECTION connection = GetConnection();
  const bool isSelecting = connection.UseATEModuleSelection != 0;
  if (!PROBE_IsGang()) {
    if (!isSelecting) {
      return APP_DownloadFileList(ZELMONT_LABEL, "", paFiles, NumFiles, progress.Get());
    }
    APP_LogError(
        APP_CAUSE::Project,
        "The connected probe/ programmer is not a gang programmer,\nbut the gang programmer module "
        "selection is checked at\nProject Settings -> General");
    return -1;
  }
  if (!isSelecting) {
    APP_LogError(APP_CAUSE::Project,
                 "Gang programmer module selection inactive.\nSet gang programmer module selection "
                 "at\nProject Settings -> General");
    return -1;
  }
  return DownloadToModules(connection, paFiles, NumFiles, progress.Get());
}
