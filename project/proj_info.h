#pragma once

#include "catalogue/devices/device_table.h"
#include "project/project.h"

// What the project information shows: a copy, filled on the application thread.
struct PROJ_INFO {
  PROJ_GENERAL General;
  PROJ_CPU Cpu;
  SPI_FLASH_INFO FlashInfo;
  FLASH_DEVICE Device;   // selected row, or the EEPROM's; all zero if none is selected
  char acProjName[128];  // without directory and extension
  i32 DeviceIndex;       // selected row of the device table, or negative
  u8 IsConnected;
  u8 IsProjectOpen;  // when 0 the other fields are not filled
};
