#pragma once

#include "flash/connect.h"
#include "flash/spi.h"

// What the files of the connection share.

// Target interface that the working copy of the flash description asks for, and the one selected.
int CONNECT_GetInterface();
int& CONNECT_SelectedInterface();
// Selects it with the project's speed. 0, or -1 reported when the probe has no such interface.
int CONNECT_SelectInterface();

// The chip is switched to 4-byte addresses by instruction.
constexpr bool CONNECT_Wants4ByteMode(const SPI_FLASH_INFO& info) {
  return info.Dedicated4BAddrMode != 0 && info.NumAddrBytes == 4;
}

void CONNECT_SetStatusText(const char* sText, u32 Index);
