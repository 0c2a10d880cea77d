#pragma once

#include <optional>

#include "project/project.h"
#include "sys/types.h"

// What settings dialogs fetch and store, by value, through jobs.

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
  u8 VerifyErase;
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
PROJ_DIALOG_INFO APP_GetProjDialogInfo();
void APP_SaveProjSettings(const PROJ_DIALOG_INFO& info);
GLOBAL_SETTINGS APP_GetGlobalSettings();
void APP_SetGlobalSettings(const GLOBAL_SETTINGS& settings);
// What the chip on the bus is, for a project that names it. None when there is none, reported.
std::optional<SPI_FLASH_INFO> APP_DetectFlash();
