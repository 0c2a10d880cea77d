#include "project/project_keys.h"

#include <algorithm>
#include <cstddef>
#include <cstring>

#include "project/project.h"

namespace {

using enum KeyForm;
using enum KeyRule;

constexpr u32 kAny = 0xFFFFFFFF;

// Name, place and width of a field that is called like its key.
#define FIELD(Block, Name) #Name, offsetof(Block, Name), sizeof(Block::Name)

// Columns behind the field: form, limits, missing, new.
constexpr PROJECT_KEY kGeneral[] = {
    {FIELD(PROJ_GENERAL, DataFileSAddr), Hex32, 0, kAny, 0, 0},
    {FIELD(PROJ_GENERAL, USBPort), Dec, 0, 3, 0, 0},
    {FIELD(PROJ_GENERAL, USBSerialNo), Hex32, 0, kAny, 0, 0},
    {FIELD(PROJ_GENERAL, GUIMode), Dec, 0, 1, 0, 0},
    {FIELD(PROJ_GENERAL, ConnectMode), Dec, 0, 2, 0, 0, NotRead},
    {FIELD(PROJ_GENERAL, UseATEModuleSelection), Dec, 0, 1, 0, 0},
};

constexpr PROJECT_KEY kJtag[] = {
    {FIELD(PROJ_CPU, Speed0), Dec, 1, 100000, 50000, 50000},
};

constexpr PROJECT_KEY kFlash[] = {
    {FIELD(SPI_FLASH_INFO, AutoDetect), Hex32, 0, 1, 1, 1},
    {FIELD(SPI_FLASH_INFO, FlashType), Hex32, 1, 3, 1, 1},
    {FIELD(SPI_FLASH_INFO, Ignore2ndIdByte), Hex8, 0, 1, 0, 0},
    {FIELD(SPI_FLASH_INFO, NumPages), Hex32, 0, kAny, 0x10000, 0},
    {FIELD(SPI_FLASH_INFO, PageSizeShift), Hex32, 0, 32, 8, 0},
    {FIELD(SPI_FLASH_INFO, SectorSizeShift), Hex32, 0, 32, 16, 0},
    {FIELD(SPI_FLASH_INFO, DataTransferMode), Hex32, 1, 2, 1, 1},
};

constexpr PROJECT_KEY kSpi[] = {
    {FIELD(SPI_FLASH_INFO, CmdWriteEnable), Hex8, 0, 255, 0x06, 0x06},
    {FIELD(SPI_FLASH_INFO, CmdWriteDisable), Hex8, 0, 255, 0x04, 0x04},
    {FIELD(SPI_FLASH_INFO, CmdReadID), Hex8, 0, 255, 0x9F, 0x9F},
    {FIELD(SPI_FLASH_INFO, CmdReadStatus), Hex8, 0, 255, 0x05, 0x05},
    {FIELD(SPI_FLASH_INFO, CmdWriteStatus), Hex8, 0, 255, 0x01, 0x01},
    {FIELD(SPI_FLASH_INFO, CmdReadData), Hex8, 0, 255, 0x03, 0x03},
    {FIELD(SPI_FLASH_INFO, CmdInitPageProg), Hex8, 0, 255, 0, 0x41, InitOnly},
    {FIELD(SPI_FLASH_INFO, CmdWritePage), Hex8, 0, 255, 0x02, 0x02},
    {FIELD(SPI_FLASH_INFO, CmdInitErase), Hex8, 0, 255, 0, 0x41, InitOnly},
    {FIELD(SPI_FLASH_INFO, CmdEraseSector), Hex8, 0, 255, 0xD8, 0xD8},
    {FIELD(SPI_FLASH_INFO, CmdEraseBulk), Hex8, 0, 255, 0xC7, 0xC7},
    {FIELD(SPI_FLASH_INFO, StatusRegFormat), Hex8, 0, 255, 3, 3},
    {FIELD(SPI_FLASH_INFO, UseQuadMode), Hex8, 0, 1, 0, 0},
    {FIELD(SPI_FLASH_INFO, SendInitCommands), Hex8, 0, 1, 0, 0},
};

constexpr PROJECT_KEY kSpiAddr[] = {
    {FIELD(SPI_FLASH_INFO, NumAddrBytes), Hex8, 0, 32, 3, 3, NotRead},
    {FIELD(SPI_FLASH_INFO, CmdEnter4ByteMode), Hex8, 0, 255, 0xB7, 0xB7},
    {FIELD(SPI_FLASH_INFO, CmdExit4ByteMode), Hex8, 0, 255, 0xE9, 0xE9},
    {FIELD(SPI_FLASH_INFO, Dedicated4BAddrMode), Hex8, 0, 255, 0, 0},
    {FIELD(SPI_FLASH_INFO, StatusIsReadyBit), Hex8, 0, 1, 0, 0},
    {FIELD(SPI_FLASH_INFO, StatusBitPos), Hex8, 0, 7, 0, 0},
};

constexpr PROJECT_KEY kQspi[] = {
    {FIELD(SPI_FLASH_INFO, CmdReadDataQuad), Hex8, 0, 255, 0, 0},
    {FIELD(SPI_FLASH_INFO, CmdWritePageQuad), Hex8, 0, 255, 0, 0},
    {FIELD(SPI_FLASH_INFO, NumDummyCyclesQuad), Hex8, 0, 255, 0, 0},
    {FIELD(SPI_FLASH_INFO, RdCmdTransferMode), Hex32, 1, 2, 1, 1},
    {FIELD(SPI_FLASH_INFO, WrCmdTransferMode), Hex32, 1, 2, 1, 1},
    {FIELD(SPI_FLASH_INFO, RdAddrTransferMode), Hex32, 1, 2, 1, 1},
    {FIELD(SPI_FLASH_INFO, WrAddrTransferMode), Hex32, 1, 2, 1, 1},
};

constexpr PROJECT_KEY kProduction[] = {
    {FIELD(PROJ_PRODUCTION, EraseType), Dec, 0, 4, 1, 2},
    {FIELD(PROJ_PRODUCTION, PerformCompare), Dec, 0, 4, 1, 0},
    {FIELD(PROJ_PRODUCTION, AutoPerformsErase), Dec, 0, 1, 1, 1},
    {FIELD(PROJ_PRODUCTION, AutoPerformsProgram), Dec, 0, 1, 1, 1},
    {FIELD(PROJ_PRODUCTION, AutoPerformsVerify), Dec, 0, 1, 1, 1},
    {FIELD(PROJ_PRODUCTION, EnableTargetPower), Dec, 0, 1, 0, 0},
    {FIELD(PROJ_PRODUCTION, TargetPowerDelay), Hex32, 0, 10000, 0, 200},
    {FIELD(PROJ_PRODUCTION, ProgramSN), Dec, 0, 1, 0, 0},
    {FIELD(PROJ_PRODUCTION, SNAddr), Hex32, 0, kAny, 0, 0},
    {FIELD(PROJ_PRODUCTION, SNLen), Hex32, 0, 32, 8, 0},
    {FIELD(PROJ_PRODUCTION, SNValue), Hex32, 0, kAny, 1, 0},
    {FIELD(PROJ_PRODUCTION, SNInc), Hex32, 0, kAny, 1, 0},
    {FIELD(PROJ_PRODUCTION, OverrideTimeouts), Dec, 0, 1, 0, 0},
    {FIELD(PROJ_PRODUCTION, TimeoutEraseSect), Hex32, 0, kAny, 5000, 5000},
    {FIELD(PROJ_PRODUCTION, TimeoutEraseChip), Hex32, 0, kAny, 400000, 400000},
    {FIELD(PROJ_PRODUCTION, TimeoutProgPage), Hex32, 0, kAny, 1000, 1000},
    {FIELD(PROJ_PRODUCTION, TimeoutVerify), Hex32, 0, kAny, 10000, 10000},
    {FIELD(PROJ_PRODUCTION, MonitorVTref), Dec, 0, 1, 0, 0},
    {FIELD(PROJ_PRODUCTION, MonitorVTrefMin), Hex32, 0, kAny, 1000, 0},
    {FIELD(PROJ_PRODUCTION, MonitorVTrefMax), Hex32, 0, kAny, 5500, 0},
    {FIELD(PROJ_PRODUCTION, EnableFixedVTref), Dec, 0, 1, 0, 0},
    {FIELD(PROJ_PRODUCTION, FixedVTref), Hex32, 0, kAny, 3300, 0},
};

constexpr PROJECT_KEY kPerformance[] = {
    {FIELD(PROJ_PERFORMANCE, DisableSkipBlankDataOnProgram), Hex32, 0, 1, 0, 0},
};

#undef FIELD

}  // namespace

PROJECT_KEYS PROJECT_GeneralKeys() {
  return kGeneral;
}
PROJECT_KEYS PROJECT_JtagKeys() {
  return kJtag;
}
PROJECT_KEYS PROJECT_FlashKeys() {
  return kFlash;
}
PROJECT_KEYS PROJECT_SpiKeys() {
  return kSpi;
}
PROJECT_KEYS PROJECT_SpiAddrKeys() {
  return kSpiAddr;
}
PROJECT_KEYS PROJECT_QspiKeys() {
  return kQspi;
}
PROJECT_KEYS PROJECT_ProductionKeys() {
  return kProduction;
}
PROJECT_KEYS PROJECT_PerformanceKeys() {
  return kPerformance;
}

u32 PROJECT_GetField(const PROJECT_KEY& key, const void* pBlock) {
  const u8* pField = static_cast<const u8*>(pBlock) + key.Offset;
  u32 value = *pField;
  if (key.Width == sizeof(u32)) {
    std::memcpy(&value, pField, sizeof(value));
  }
  return value;
}

void PROJECT_SetField(const PROJECT_KEY& key, void* pBlock, u32 Value) {
  u8* pField = static_cast<u8*>(pBlock) + key.Offset;
  const u32 value = std::clamp(Value, key.Min, key.Max);
  if (key.Width == sizeof(u32)) {
    std::memcpy(pField, &value, sizeof(value));
  } else {
    *pField = static_cast<u8>(value);
  }
}
