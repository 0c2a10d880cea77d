#include "flash/erase.h"

#include <algorithm>
#include <array>
#include <cstring>

#include "flash/geometry.h"
#include "flash/operation.h"
#include "flash/spi.h"
#include "project/settings.h"

namespace {

// A map of more sectors than any chip has would only fill the memory.
constexpr u32 kMaxSectors = 16 * 1024 * 1024;

std::unique_ptr<u8[]> AllocMap(u32 NumSectors) {
  if (NumSectors > kMaxSectors) {
    return nullptr;
  }
  std::unique_ptr<u8[]> pMap = AllocBuffer(NumSectors);
  if (pMap != nullptr) {
    std::fill_n(pMap.get(), NumSectors, u8{0});
  }
  return pMap;
}

// FRAM and EEPROM have no erase, which is no error.
bool CanErase() {
  SPI_RefreshInfo();
  if (SPI_Info().FlashType == FLASH_TYPE_NOR) {
    return true;
  }
  APP_LogInfo("Selected memory does not support erase. Skipped.");
  return false;
}

// A command set without the instruction has 0 there; sending that would pass for an erase, since
// the chip is ready at once.
bool HasInstruction(u8 Cmd) {
  if (Cmd != 0) {
    return true;
  }
  APP_LogError("Selected memory has no instruction for this erase.");
  return false;
}

// An error hides a cancel: what went wrong matters more.
void ReportEnd(const Operation& op, const char* sFailed, const char* sCanceled,
               const char* sCompleted) {
  if (HasErrors()) {
    APP_LogError(sFailed);
  } else if (op.IsCanceled()) {
    APP_LogError(sCanceled);
  } else {
    APP_LogCompleted(sCompleted);
  }
}

void LogRun(const Geometry& geometry, u32 First, u32 Last) {
  const u64 firstAddr = geometry.GetAddr(First);
  const u64 lastAddr = geometry.GetAddr(Last) + geometry.GetSectorSize() - 1;
  if (First == Last) {
    APP_LogInfof("Affected sector %d (0x%lX - 0x%lX)", First, firstAddr, lastAddr);
  } else {
    APP_LogInfof("Affected sectors %d to %d (0x%lX - 0x%lX)", First, Last, firstAddr, lastAddr);
  }
}

// Fills the map, logs what is in it; the number of selected sectors.
u32 SelectAffected(const Geometry& geometry, MEMAREA* pArea, u8* pMap) {
  u32 numSelected = 0;
  u32 numRuns = 0;
  GEOMETRY_ForEachRun(geometry, pArea, [&](u32 First, u32 Last) {
    std::fill(pMap + First, pMap + Last + 1, u8{1});
    numSelected += Last - First + 1;
    ++numRuns;
  });
  APP_LogInfof("%d of %d sectors affected, %d range%s", numSelected, geometry.NumSectors, numRuns,
               Plural(numRuns));
  GEOMETRY_ForEachRun(geometry, pArea, [&](u32 First, u32 Last) { LogRun(geometry, First, Last); });
  return numSelected;
}

// Parts with page erase guard the chip erase by a longer sequence.
void SendChipErase() {
  const SPI_FLASH_INFO& info = SPI_Info();
  SPI_SendCmd(info.CmdWriteEnable);
  if (info.SendInitCommands != 0) {
    SPI_SendCmd(info.CmdInitErase);
  }
  if (info.StatusRegFormat == 10) {
    constexpr std::array<u8, 4> aSequence = {0xC7, 0x94, 0x80, 0x9A};
    SPI_SendFrame(aSequence.data(), aSequence.size());
  } else {
    SPI_SendCmd(info.CmdEraseBulk);
  }
}

// The wait takes minutes on a large chip and can't be cancelled: the chip would go on erasing.
void EraseChipAndWait() {
  FLASH_RemoveBlockProtection();
  if (HasErrors()) {
    return;
  }
  SPI_RefreshInfo();
  if (SPI_Info().StatusRegFormat != 10 && !HasInstruction(SPI_Info().CmdEraseBulk)) {
    return;
  }
  SendChipErase();
  const int result = FLASH_WaitReady(FLASH_State().TimeoutEraseChipMs);
  if (result != 0) {
    APP_LogErrorf("Erasing chip failed (%s)",
                  result == -1 ? "timeout occurred" : "unspecified error");
  }
}

}  // namespace

void FLASH_EraseAffected(MEMAREA* pArea) {
  Operation op("Erasing affected sectors ...");
  if (!CanErase()) {
    return;
  }
  if (pArea == nullptr) {
    APP_LogError("Could not erase affected sectors, no data file opened.");
    return;
  }
  if (FLASH_Connect() != 0) {
    APP_LogError("Could not erase affected sectors, not connected.");
    return;
  }
  // Only now the geometry is certain: the connect may have identified another chip.
  const Geometry geometry = GEOMETRY_Get();
  const std::unique_ptr<u8[]> pMap = AllocMap(geometry.NumSectors);
  if (pMap == nullptr) {
    APP_LogError("Could not erase affected sectors, not enough memory.");
    return;
  }
  SPI_RefreshInfo();
  if (HasErrors() || !HasInstruction(SPI_Info().CmdEraseSector)) {
    APP_LogError("Failed to erase affected sectors.");
    return;
  }
  const u32 numSelected = SelectAffected(geometry, pArea, pMap.get());
  FLASH_EraseSectorMap(pMap.get(), geometry.NumSectors, numSelected,
                       op.StartProgress("Erasing sectors ..."));
  ReportEnd(op, "Failed to erase affected sectors.", "Erase sectors canceled by user",
            "Erase operation completed successfully");
}

void FLASH_EraseAllSectors() {
  Operation op("Erasing selected sectors ...");
  if (!CanErase()) {
    return;
  }
  if (FLASH_Connect() != 0) {
    APP_LogError("Could not erase sectors, not connected.");
    return;
  }
  const Geometry geometry = GEOMETRY_Get();
  const std::unique_ptr<u8[]> pMap = AllocMap(geometry.NumSectors);
  if (pMap == nullptr) {
    APP_LogError("Could not erase sectors, out of memory.");
    return;
  }
  SPI_RefreshInfo();
  // A chip of no sectors is one whose geometry isn't known.
  if (HasErrors() || geometry.NumSectors == 0 || !HasInstruction(SPI_Info().CmdEraseSector)) {
    APP_LogError("Failed to erase sectors.");
    return;
  }
  std::fill_n(pMap.get(), geometry.NumSectors, u8{1});
  const u32 numRanges = FLASH_GetNumRanges();
  APP_LogInfof("%d of %d sectors selected, %d range%s%s", geometry.NumSectors, geometry.NumSectors,
               numRanges, Plural(numRanges), FLASH_FormatRanges(nullptr).c_str());
  FLASH_EraseSectorMap(pMap.get(), geometry.NumSectors, geometry.NumSectors,
                       op.StartProgress("Erasing sectors ..."));
  ReportEnd(op, "Failed to erase sectors.", "Erase sectors canceled by user",
            "Erase operation completed successfully");
}

void FLASH_EraseForProgram(MEMAREA* pArea) {
  if (SETUP_GetAutoMode() != 0) {
    FLASH_EraseAllSectors();
  } else {
    FLASH_EraseAffected(pArea);
  }
}

void FLASH_EraseChip() {
  Operation op("Erasing chip ...");
  if (!CanErase()) {
    return;
  }
  if (FLASH_Connect() != 0) {
    APP_LogError("Could not erase chip, not connected.");
    return;
  }
  if (HasErrors()) {
    APP_LogError("Failed to erase chip.");
    return;
  }
  const u32 numSectors = FLASH_GetNumSectors();
  const u32 numRanges = FLASH_GetNumRanges();
  APP_LogInfof("Erasing %d sector%s, %d range%s%s", numSectors, Plural(numSectors), numRanges,
               Plural(numRanges), FLASH_FormatRanges(nullptr).c_str());
  PROGRESS_SetRange(op.StartProgress("Erasing chip ..."), 0, 1);
  EraseChipAndWait();
  PROGRESS_SetValue(op.Progress(), 1);
  ReportEnd(op, "Failed to erase chip.", "Erase chip canceled by user",
            "Erase operation completed successfully.");
}
