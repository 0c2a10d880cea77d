#include "tests/operations/core_scope.h"

#include <cstdlib>

#include "app/engine/app_state.h"
#include "app/engine/locks.h"
#include "app/operations/data_edit.h"
#include "app/operations/data_ops.h"
#include "app/operations/data_windows.h"
#include "app/operations/jobs.h"
#include "app/operations/wiring.h"
#include "flash/connect.h"
#include "flash/driver.h"
#include "project/project.h"
#include "project/recent.h"
#include "project/settings.h"

CORE_SCOPE::CORE_SCOPE() {
  setenv("XDG_CONFIG_HOME", m_Dir.path().c_str(), 1);
  setenv("VORTIC_CONFIG", Path("Vortic.ini").c_str(), 1);
  APP_ConnectLayers();
  DRIVER_SetLibraryPath(KORVANE_DRIVER);
  SETUP_Init();
  APP_CreateLock();
  VORTIC_SetErrorOutHandler(DRIVER_GetErrorHandler());
  SetProbe({});
}

CORE_SCOPE::~CORE_SCOPE() {
  FLASH_Disconnect();
  FLASH_ResetConnection();
  PROJECT_Reset();
  APP_FreeDataWindows();
  APP_ResetDataEdit();
  APP_ResetDataOps();
  APP_DestroyLock();
  SETTINGS_Exit();
  SETUP_Reset();
  RECENT_Reset();
}

void CORE_SCOPE::SetProbe(const std::map<std::string, std::string>& keys) {
  std::map<std::string, std::string> all = {{"Backend", "sim"},
                                            {"Chip", "W25Q128FV"},
                                            {"ImageFile", "chip.bin"},
                                            {"Time", "virtual"},
                                            {"SerialNumber", "20260001"}};
  for (const auto& [key, value] : keys) {
    all[key] = value;
  }
  std::string text = "[Probe0]\n";
  for (const auto& [key, value] : all) {
    text += key + " = " + value + "\n";
  }
  WriteFile(Path("Vortic.ini"), text);
}
