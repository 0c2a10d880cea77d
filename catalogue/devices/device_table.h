#pragma once

#include <iterator>

#include "catalogue/devices/flash_info.h"

// The constant tables of devices that the program knows: those found by their ID bytes, and the SPI
// EEPROMs, which have no ID and are chosen by name. Row order is binding: it decides between
// devices that share an ID. Used by the program and by the simulated chips of the driver library
// alike.

// Values of FLASH_CMD_FIELDS.
struct FLASH_CMD_SET {
  u8 abCmd[17];
};
static_assert(std::size(FLASH_CMD_FIELDS) == sizeof(FLASH_CMD_SET));

// Bytes compared under a mask, for devices that three ID bytes don't tell apart.
struct FLASH_ID_MATCH {
  const u8* pBytes;
  const u8* pMask;
  u32 NumBytes;
};

struct FLASH_QUAD_CONFIG {
  const u8* pCmds;  // CmdReadDataQuad, CmdWritePageQuad, NumDummyCyclesQuad
  const CUSTOM_STEP* pSteps;
  u32 NumSteps;
  u8 RdCmdTransferMode, WrCmdTransferMode, RdAddrTransferMode, WrAddrTransferMode;
};

struct FLASH_DEVICE {
  u32 IdWord;      // bits 0-23 ID, first byte lowest; 24 Ignore2ndIdByte; 25-29 PageSizeShift
  u32 LayoutWord;  // bits 0-4 SectorSizeShift; 5-9 log2 of the size in bytes; 10-13
                   // StatusRegFormat; 14-16 AddrMode4B
  const FLASH_CMD_SET* pCmdSet;  // never null in a used row
  const char* sVendor;           // null only in an empty row
  const char* sDevice;
  const FLASH_QUAD_CONFIG* pQuadConfig;  // or null
  const FLASH_ID_MATCH* pIdMatch;        // or null, then IdWord decides
  u64 FlashType;

  constexpr u8 IdByte(u32 i) const { return static_cast<u8>(IdWord >> (8 * i)); }
  constexpr bool Ignore2ndIdByte() const { return (IdWord >> 24 & 1) != 0; }
  constexpr u32 PageSizeShift() const { return IdWord >> 25 & 0x1F; }
  constexpr u32 SectorSizeShift() const { return LayoutWord & 0x1F; }
  constexpr u32 TotalSizeShift() const { return LayoutWord >> 5 & 0x1F; }
  constexpr u32 StatusRegFormat() const { return LayoutWord >> 10 & 0xF; }
  constexpr u32 AddrMode4B() const { return LayoutWord >> 14 & 0x7; }
};

constexpr u32 FLASH_NUM_DEVICES = 342;
constexpr u32 FLASH_NUM_EEPROMS = 11;

// AddrMode4B: how addresses above 16 MiB are reached.
constexpr u32 FLASH_ADDR_3BYTE = 0;
constexpr u32 FLASH_ADDR_4BYTE_CMDS = 1;
constexpr u32 FLASH_ADDR_4BYTE_MODE = 2;
constexpr u32 FLASH_ADDR_4BYTE_FAST_READ = 3;

// Copies a row. 0, or -1 for a null pRow or an index past the end.
int FLASH_GetDeviceRow(u32 Index, FLASH_DEVICE* pRow);
int FLASH_GetEEPROMRow(u32 Index, FLASH_DEVICE* pRow);
// Null past the end.
const char* FLASH_GetEEPROMName(u32 Index);
// First row of that name, without regard to case; -1 when there is none.
i32 FLASH_FindEEPROMByName(const char* sName);
// Command set and geometry of a used row.
void FLASH_ApplyRow(SPI_FLASH_INFO* pInfo, const FLASH_DEVICE& Row);
// The same from the EEPROM row at EEPROMIndex, for FlashType 3; an unknown row changes nothing.
// 0 or -1.
int FLASH_ApplyEEPROM(SPI_FLASH_INFO* pInfo);
// The first row that matches the read ID, or -1. Id holds the first four bytes, low byte first;
// pIdBytes NumIdBytes bytes as read.
i32 FLASH_IdentifyDevice(u32 Id, const u8* pIdBytes, u32 NumIdBytes);
// The first such row behind After, which is -1 for the very first, or -1.
i32 FLASH_IdentifyNextDevice(i32 After, u32 Id, const u8* pIdBytes, u32 NumIdBytes);
// Clears pDest and copies pSrc without the bytes 0x7F (continuation codes of the ID), as far as
// they fit.
void SPI_StripIdBytes(const u8* pSrc, u32 NumSrc, u8* pDest, u32 NumDest);
