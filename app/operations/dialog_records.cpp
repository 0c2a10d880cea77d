#include "app/operations/dialog_records.h"

#include "app/operations/data_windows.h"
#include "app/operations/status.h"
#include "flash/connect.h"
#include "project/settings.h"

PROJ_DIALOG_INFO APP_GetProjDialogInfo() {
  PROJ_DIALOG_INFO info{};
  info.ProjectOpen = PROJECT_IsOpen() > 0;
  if (info.ProjectOpen != 0) {
    PROJECT_GetGeneral(&info.General);
    PROJECT_GetCpu(&info.Cpu);
    PROJECT_GetFlash(&info.Flash);
    PROJECT_GetPerformance(&info.Performance);
    PROJECT_GetProduction(&info.Production);
  }
  return info;
}

// The connection was made with the old settings, so it goes down.
void APP_SaveProjSettings(const PROJ_DIALOG_INFO& info) {
  PROJECT_SetGeneral(&info.General);
  PROJECT_SetCpu(&info.Cpu);
  PROJECT_SetFlash(&info.Flash);
  PROJECT_SetPerformance(&info.Performance);
  PROJECT_SetProduction(&info.Production);
  FLASH_Disconnect();
  APP_UpdateMenuBar();
  APP_ApplyGUIMode();
}

GLOBAL_SETTINGS APP_GetGlobalSettings() {
  GLOBAL_SETTINGS settings{};
  settings.AutoMode = SETUP_GetAutoMode();
  settings.AutoDisconnect = SETUP_GetAutoDisconnect() != 0;
  settings.AutoBlankCheck = SETUP_GetAutoBlankCheck() != 0;
  settings.VerifyErase = SETUP_GetVerifyErase() != 0;
  settings.SkipBlankAreas = SETUP_GetSkipBlankAreas() != 0;
  SETUP_GetVorticLogFile(settings.sVorticLogFile, sizeof settings.sVorticLogFile, false);
  SETUP_GetKorvaneLogFile(settings.sKorvaneLogFile, sizeof settings.sKorvaneLogFile, false);
  settings.LogLevel = SETUP_GetLogLevel();
  settings.EnableVorticLog = SETUP_GetEnableVorticLog(false) != 0;
  settings.EnableKorvaneLog = SETUP_GetEnableKorvaneLog(false) != 0;
  settings.AutoSaveProject = SETUP_GetAutoSaveProject();
  settings.AppStartAction = SETUP_GetAppStartAction();
  return settings;
}

void APP_SetGlobalSettings(const GLOBAL_SETTINGS& settings) {
  SETUP_SetLogLevel(settings.LogLevel);
  SETUP_SetEnableVorticLog(settings.EnableVorticLog);
  SETUP_SetEnableKorvaneLog(settings.EnableKorvaneLog);
  SETUP_SetVorticLogFile(settings.sVorticLogFile);
  SETUP_SetKorvaneLogFile(settings.sKorvaneLogFile);
  SETUP_SetAutoMode(settings.AutoMode);
  SETUP_SetAutoDisconnect(settings.AutoDisconnect);
  SETUP_SetVerifyErase(settings.VerifyErase);
  SETUP_SetAutoBlankCheck(settings.AutoBlankCheck);
  SETUP_SetSkipBlankAreas(settings.SkipBlankAreas);
  SETUP_SetAutoSaveProject(settings.AutoSaveProject);
  SETUP_SetAppStartAction(settings.AppStartAction);
}

std::optional<SPI_FLASH_INFO> APP_DetectFlash() {
  if (FLASH_Detect() != 0) {
    return std::nullopt;
  }
  SPI_FLASH_INFO info;
  PROJECT_GetFlash(&info);
  info.AutoDetect = 0;
  return info;
}
