#pragma once

#include "project/project.h"
#include "sys/types.h"

// What settings dialogs fetch and store through jobs. A dialog owns its record and must not read it
// before the job has called back.

// One copy each of the project's blocks.
struct PROJ_DIALOG_INFO {
  PROJ_GENERAL General;
  PROJ_CPU Cpu;
  SPI_FLASH_INFO Flash;
  PROJ_PERFORMANCE Performance;
  PROJ_PRODUCTION Production;
  u8 ProjectOpen;
};

// The settings of the user, and what happens at start.
struct GLOBAL_SETTINGS {
  u32 AutoMode;  // 0 affected sectors, 1 selected sectors, 2 all sectors
  u8 AutoDisconnect;
  u8 AutoBlankCheck;
  u8 SkipBlankAreas;
  char sVorticLogFile[512];
  char sKorvaneLogFile[512];
  u32 LogLevel;
  u8 EnableVorticLog;
  u8 EnableKorvaneLog;
  u32 AutoSaveProject;
  u32 AppStartAction;  // 0 welcome dialog, 1 last project, 2 new project dialog
};

// Application thread.
void APP_GetProjDialogInfo(PROJ_DIALOG_INFO* pInfo);
void APP_SaveProjSettings(const PROJ_DIALOG_INFO& info);
void APP_GetGlobalSettings(GLOBAL_SETTINGS* pSettings);
void APP_SetGlobalSettings(const GLOBAL_SETTINGS& settings);
