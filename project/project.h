#pragma once

#include <string>
#include <vector>

#include "catalogue/devices/flash_info.h"
#include "sys/types.h"

// The project: everything that must be known to reach one target and to run production on it.
//
// It is five blocks, handed around by value: callers hold copies, change them and hand them back.
// A block that differs from the one in force is a modification. Exactly one project exists at a
// time. Application thread only, but for the getters in dialogs that compare their copies.

struct PROJ_GENERAL {
  bool operator==(const PROJ_GENERAL&) const = default;

  char CurrentFile[512];  // data file belonging to the project, as stored: see PROJECT_SetDataFile
  char HostName[128];
  u32 DataFileSAddr;  // start address for data files that have none of their own
  u32 USBSerialNo;
  u8 ConnectMode;  // 0 USB by device index, 1 USB by serial number, 2 TCP/IP
  u8 USBPort;      // 0 to 3
  u8 GUIMode;      // non-zero: all data windows are read-only
  u8 UseATEModuleSelection;
  u8 aATEModuleSel[24];  // one entry per gang module
};

struct PROJ_CPU {
  bool operator==(const PROJ_CPU&) const = default;

  std::vector<CUSTOM_STEP> aInitSteps;
  std::vector<CUSTOM_STEP> aExitSteps;
  u32 Speed0;  // kHz, 1 to 100000
};

struct PROJ_PRODUCTION {
  bool operator==(const PROJ_PRODUCTION&) const = default;

  char SerialFile[512];
  char SNListFile[512];
  u32 TargetPowerDelay;                                                    // ms, 0 to 10000
  u32 TimeoutEraseSect, TimeoutEraseChip, TimeoutProgPage, TimeoutVerify;  // ms
  u32 MonitorVTrefMin, MonitorVTrefMax, FixedVTref;                        // mV
  u32 SNAddr;   // address at which the serial number is stamped
  u32 SNLen;    // bytes stamped, at most 32
  u32 SNValue;  // next serial number
  u32 SNInc;
  u8 EnableFixedVTref;
  u8 EraseType;  // 1 sectors, 2 sectors if not blank, 3 chip
  u8 AutoPerformsErase, AutoPerformsProgram, AutoPerformsVerify;
  u8 EnableTargetPower;
  u8 PerformCompare;
  u8 ProgramSN;
  u8 MonitorVTref;
  u8 OverrideTimeouts;
};

struct PROJ_PERFORMANCE {
  bool operator==(const PROJ_PERFORMANCE&) const = default;

  u8 DisableSkipBlankDataOnProgram;
};

// What the project module needs of the layers above it; filled once at start-up.
struct PROJECT_HOOKS {
  // The project was modified, opened or closed: title, project information, menu state.
  void (*pfOnChanged)();
  // The production block changed: values for the connection layer.
  void (*pfSetTargetPower)(u32 Enable, u32 DelayMs);
  void (*pfSetFixedVTref)(u32 Enable, u32 Millivolts);
  void (*pfDisconnect)();
  // Refreshes SNValue of the block from the serial number file beside the project; null takes and
  // stores the project's block.
  void (*pfLoadSerial)(PROJ_PRODUCTION* pProduction);
};
extern PROJECT_HOOKS PROJECT_Hooks;

// 0, -1 when the project that was open could not be closed or the dialog was cancelled, -2 when the
// new one could not be created or opened; no project is open then. pFileName may be null.
int PROJECT_New(const char* pFileName);
int PROJECT_Open(const char* pFileName);
// 0, or -1 when nothing was saved because something failed or was cancelled.
int PROJECT_Save();
int PROJECT_SaveAs(const char* pFileName);
// Asks about unsaved changes (saves without asking with AutoSaveProject), disconnects, closes.
int PROJECT_Close();
int PROJECT_Shutdown();
int PROJECT_IsOpen();
int PROJECT_IsModified();
// File name, "new project", or null when none is open.
const char* PROJECT_GetName();

void PROJECT_GetGeneral(PROJ_GENERAL* pBlock);
void PROJECT_GetCpu(PROJ_CPU* pBlock);
void PROJECT_GetFlash(SPI_FLASH_INFO* pBlock);
void PROJECT_GetProduction(PROJ_PRODUCTION* pBlock);
void PROJECT_GetPerformance(PROJ_PERFORMANCE* pBlock);
void PROJECT_SetGeneral(const PROJ_GENERAL* pBlock);
void PROJECT_SetCpu(const PROJ_CPU* pBlock);
void PROJECT_SetFlash(const SPI_FLASH_INFO* pBlock);
void PROJECT_SetProduction(const PROJ_PRODUCTION* pBlock);
void PROJECT_SetPerformance(const PROJ_PERFORMANCE* pBlock);

// The data file is kept relative to the project's folder where it lies below it, so that both can
// move together, and absolute else. The name given here may be relative to the working directory.
void PROJECT_SetDataFile(const char* pFileName, u32 StartAddr);
// The data file by its absolute name, empty when the project has none.
std::string PROJECT_GetDataFileName();
// Name of the "_Serial" or "_SNList" text file beside the project. 0 or -1.
int PROJECT_GetSideFileName(const char* sSuffix, char* pBuf, u32 BufSize);

// Back to the state before the first use. For tests.
void PROJECT_Reset();
