#include "app/operations/dialog_records.h"

#include "app/operations/data_windows.h"
#include "app/operations/status.h"
#include "flash/connect.h"
#include "project/settings.h"

void APP_GetProjDialogInfo(PROJ_DIALOG_INFO* pInfo) {
  pInfo->ProjectOpen = PROJECT_IsOpen() > 0;
  if (pInfo->ProjectOpen == 0) {
    return;
  }
  PROJECT_GetGeneral(&pInfo->General);
  PROJECT_GetCpu(&pInfo->Cpu);
  PROJECT_GetFlash(&pInfo->Flash);
  PROJECT_GetPerformance(&pInfo->Performance);
  PROJECT_GetProduction(&pInfo->Production);
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

void APP_GetGlobalSettings(GLOBAL_SETTINGS* pSettings) {
  *pSettings = {};
  pSettings->AutoMode = SETUP_GetAutoMode();
  pSettings->AutoDisconnect = SETUP_GetAutoDisconnect() != 0;
  pSettings->AutoBlankCheck = SETUP_GetAutoBlankCheck() != 0;
  pSettings->SkipBlankAreas = SETUP_GetSkipBlankAreas() != 0;
  SETUP_GetVorticLogFile(pSettings->sVorticLogFile, sizeof pSettings->sVorticLogFile, false);
  SETUP_GetKorvaneLogFile(pSettings->sKorvaneLogFile, sizeof pSettings->sKorvaneLogFile, false);
  pSettings->LogLevel = SETUP_GetLogLevel();
  pSettings->EnableVorticLog = SETUP_GetEnableVorticLog(false) != 0;
  pSettings->EnableKorvaneLog = SETUP_GetEnableKorvaneLog(false) != 0;
  pSettings->AutoSaveProject = SETUP_GetAutoSaveProject();
  pSettings->AppStartAction = SETUP_GetAppStartAction();
}

void APP_SetGlobalSettings(const GLOBAL_SETTINGS& settings) {
  SETUP_SetLogLevel(settings.LogLevel);
  SETUP_SetEnableVorticLog(settings.EnableVorticLog);
  SETUP_SetEnableKorvaneLog(settings.EnableKorvaneLog);
  SETUP_SetVorticLogFile(settings.sVorticLogFile);
  SETUP_SetKorvaneLogFile(settings.sKorvaneLogFile);
  SETUP_SetAutoMode(settings.AutoMode);
  SETUP_SetAutoDisconnect(settings.AutoDisconnect);
  SETUP_SetAutoBlankCheck(settings.AutoBlankCheck);
  SETUP_SetSkipBlankAreas(settings.SkipBlankAreas);
  SETUP_SetAutoSaveProject(settings.AutoSaveProject);
  SETUP_SetAppStartAction(settings.AppStartAction);
}
