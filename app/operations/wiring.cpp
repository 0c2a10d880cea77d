#include "app/operations/wiring.h"

#include "app/engine/frontend.h"
#include "app/engine/log.h"
#include "app/operations/data_edit.h"
#include "app/operations/data_windows.h"
#include "app/operations/status.h"
#include "flash/connect.h"
#include "flash/driver.h"
#include "flash/serial_number.h"
#include "programmer/hooks.h"
#include "project/project.h"
#include "project/settings.h"
#include "text/projfile.h"

namespace {

void ShowProjectError(const char* sText) {
  APP_ShowError(APP_CAUSE::FileDamaged, sText);
}

bool GetLogFileEnabled() {
  return SETUP_GetEnableKorvaneLog(true) != 0;
}

void GetLogFileName(char* pBuf, u32 bufSize) {
  SETUP_GetKorvaneLogFile(pBuf, bufSize, true);
}

void OnProjectChanged() {
  APP_UpdateWindowTitle();
  APP_UpdateProjectInfo();
  APP_UpdateMenuBar();
}

void OnConnectionChanged() {
  APP_UpdateProjectInfo();
  APP_UpdateMenuBar();
}

void EnableGui(bool onOff) {
  if (APP_FRONTEND* pFrontEnd = APP_GetFrontEnd(); pFrontEnd != nullptr) {
    pFrontEnd->EnableGUI(onOff);
  }
}

void PauseWindowCheck(bool isOpening) {
  if (APP_FRONTEND* pFrontEnd = APP_GetFrontEnd(); pFrontEnd != nullptr) {
    pFrontEnd->EnableDataWindowCheck(!isOpening);
  }
}

// There is nothing to go on with: the front end ends the process.
void OnDriverMissing(int exitCode) {
  if (APP_FRONTEND* pFrontEnd = APP_GetFrontEnd(); pFrontEnd != nullptr) {
    pFrontEnd->Terminate(exitCode);
  }
}

}  // namespace

void APP_ConnectLayers() {
  // The text store tells the user what it cannot read.
  PROJFILE_Hooks.pfShowError = ShowProjectError;

  // The engine asks for settings.
  APP_EngineHooks.pfGetLogLevel = SETUP_GetLogLevel;
  APP_EngineHooks.pfGetLogFileEnabled = GetLogFileEnabled;
  APP_EngineHooks.pfGetLogFileName = GetLogFileName;

  // A changed project is shown; its power settings go to the connection; a closing one disconnects;
  // an opened one takes its next serial number from the file beside it.
  PROJECT_Hooks.pfOnChanged = OnProjectChanged;
  PROJECT_Hooks.pfSetTargetPower = FLASH_SetTargetPower;
  PROJECT_Hooks.pfSetFixedVTref = FLASH_SetFixedVTref;
  PROJECT_Hooks.pfDisconnect = FLASH_Disconnect;
  PROJECT_Hooks.pfLoadSerial = SN_LoadValue;

  // The files of a stand-alone programmer hold what fits the chip, moved there if the user likes.
  ZELMONT_Hooks.pfCheckDataFits = APP_CheckDataFits;
  ZELMONT_Hooks.pfEnableGui = EnableGui;

  // A changed connection is shown, and an image with its new serial number; without a driver
  // library the program ends.
  FLASH_Hooks.pfOnConnectionChanged = OnConnectionChanged;
  FLASH_Hooks.pfOnProbeOpening = PauseWindowCheck;
  FLASH_Hooks.pfSetStatusText = APP_SetStatusText;
  FLASH_Hooks.pfOnImageChanged = APP_UpdateImageWindow;
  FLASH_DriverHooks.pfOnFatal = OnDriverMissing;
}
