#pragma once

#include <string>
#include <vector>

#include "catalogue/devices/custom_step.h"

constexpr u32 FLASH_TYPE_NOR = 1;
constexpr u32 FLASH_TYPE_FRAM = 2;
constexpr u32 FLASH_TYPE_EEPROM = 3;

constexpr u8 SPI_LANES_SINGLE = 1;
constexpr u8 SPI_LANES_QUAD = 2;

// Everything that the program has to know of one SPI memory: instructions, geometry, identity, quad
// settings.
struct SPI_FLASH_INFO {
  bool operator==(const SPI_FLASH_INFO&) const = default;

  // The instructions: a command set of the device tables.
  u8 CmdWriteEnable;
  u8 CmdWriteDisable;
  u8 CmdReadID;
  u8 CmdReadStatus;
  u8 CmdWriteStatus;
  u8 CmdReadData;  // 0x0B adds one dummy byte
  u8 CmdWritePage;
  u8 CmdEraseSector;
  u8 CmdEraseBulk;
  u8 CmdEnter4ByteMode;
  u8 CmdExit4ByteMode;
  u8 NumAddrBytes;         // 2, 3 or 4
  u8 Dedicated4BAddrMode;  // non-zero: the chip is switched to 4-byte mode by instruction
  u8 StatusIsReadyBit;     // value of the status bit when ready
  u8 StatusBitPos;         // 0 to 7
  u8 CmdInitPageProg;
  u8 CmdInitErase;

  u8 CmdReadDataQuad;
  u8 CmdWritePageQuad;
  u8 NumDummyCyclesQuad;
  std::vector<CUSTOM_STEP> aQuadEnableInitSteps;
  u8 WrCmdTransferMode;  // SPI_LANES_ of the program instruction
  u8 RdCmdTransferMode;
  u8 WrAddrTransferMode;
  u8 RdAddrTransferMode;  // and of the dummy cycles
  u8 StatusRegFormat;     // layout of the block protection bits
  u8 SendInitCommands;
  u32 DataTransferMode;  // SPI_LANES_ that identification should set up
  u32 AutoDetect;
  u32 FlashType;
  u32 NumPages;
  u32 PageSizeShift;
  u32 SectorSizeShift;
  u32 EEPROMIndex;
  u8 IsCustomDevice;
  u8 abID[3];  // expected ID, in the order of reading
  u8 Ignore2ndIdByte;
  u8 UseQuadMode;
  // Name of an EEPROM that the table doesn't have, so that saving keeps it; EEPROMIndex is beyond
  // the table then.
  std::string sUnknownDevice;
};

// The fields of a command set, in the order in which the tables and a programmer's files have them.
inline constexpr u8 SPI_FLASH_INFO::*FLASH_CMD_FIELDS[] = {
    &SPI_FLASH_INFO::CmdWriteEnable,      &SPI_FLASH_INFO::CmdWriteDisable,
    &SPI_FLASH_INFO::CmdReadID,           &SPI_FLASH_INFO::CmdReadStatus,
    &SPI_FLASH_INFO::CmdWriteStatus,      &SPI_FLASH_INFO::CmdReadData,
    &SPI_FLASH_INFO::CmdWritePage,        &SPI_FLASH_INFO::CmdEraseSector,
    &SPI_FLASH_INFO::CmdEraseBulk,        &SPI_FLASH_INFO::CmdEnter4ByteMode,
    &SPI_FLASH_INFO::CmdExit4ByteMode,    &SPI_FLASH_INFO::NumAddrBytes,
    &SPI_FLASH_INFO::Dedicated4BAddrMode, &SPI_FLASH_INFO::StatusIsReadyBit,
    &SPI_FLASH_INFO::StatusBitPos,        &SPI_FLASH_INFO::CmdInitPageProg,
    &SPI_FLASH_INFO::CmdInitErase,
};

// Bytes of the chip; 0 when the geometry makes no sense (a shift of 64 or more, or an overflow).
constexpr u64 FLASH_InfoTotalSize(const SPI_FLASH_INFO& info) {
  if (info.PageSizeShift > 32) {
    return 0;
  }
  return static_cast<u64>(info.NumPages) << info.PageSizeShift;
}
