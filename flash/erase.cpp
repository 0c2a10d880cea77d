#include "flash/erase.h"

#include <algorithm>
#include <array>
#include <vector>

#include "flash/link.h"
#include "flash/operation.h"
#include "flash/spi.h"
#include "project/project.h"
#include "project/settings.h"

namespace {

// A map of more sectors than any chip has would only fill the memory.
constexpr u32 kMaxSectors = 16 * 1024 * 1024;

// FRAM and EEPROM have no erase, which is no error. The project says so without a connection; a
// chip that identification finds to be one says it behind it.
bool CanErase(u32 FlashType) {
  if (FlashType == FLASH_TYPE_NOR) {
    return true;
  }
  APP_LogInfo("Selected memory does not support erase. Skipped.");
  return false;
}

bool CanEraseProject() {
  SPI_FLASH_INFO info{};
  PROJECT_GetFlash(&info);
  return info.AutoDetect != 0 && info.FlashType != FLASH_TYPE_EEPROM ? true
                                                                     : CanErase(info.FlashType);
}

// A command set without the instruction has 0 there; sending that would pass for an erase, since
// the chip is ready at once.
bool HasInstruction(u8 Cmd) {
  if (Cmd != 0) {
    return true;
  }
  APP_LogError(APP_CAUSE::UnknownChip, "Selected memory has no instruction for this erase.");
  return false;
}

// A chip of no sectors is one whose geometry isn't known.
bool HasSectors(const FLASH_CHIP& Chip) {
  if (Chip.Sectors.NumSectors != 0) {
    return true;
  }
  APP_LogErrorf(APP_CAUSE::Project,
                "The sectors of the chip are not known (%u pages, page size shift %u, sector size "
                "shift %u).",
                Chip.Info.NumPages, Chip.Info.PageSizeShift, Chip.Info.SectorSizeShift);
  return false;
}

// Empty when memory is out.
std::vector<u8> MakeMap(const FLASH_CHIP& Chip, u8 Value, const char* sOutOfMemory) {
  if (Chip.Sectors.NumSectors > kMaxSectors) {
    APP_LogError(APP_CAUSE::OutOfMemory, sOutOfMemory);
    return {};
  }
  return std::vector<u8>(Chip.Sectors.NumSectors, Value);
}

// An error hides a cancel: what went wrong matters more.
void ReportEnd(const char* sFailed, const char* sCanceled, const char* sCompleted) {
  if (Operation::HasFailed()) {
    APP_LogError(Operation::IsCanceled() ? APP_CAUSE::Canceled : APP_CAUSE::EraseFailed, sFailed);
  } else if (Operation::IsCanceled()) {
    APP_LogError(APP_CAUSE::Canceled, sCanceled);
  } else {
    APP_LogCompleted(sCompleted);
  }
}

void LogRun(const Geometry& geometry, u32 First, u32 Last) {
  const u64 firstAddr = geometry.GetAddr(First);
  const u64 lastAddr = geometry.GetAddr(Last) + geometry.GetSectorSize() - 1;
  if (First == Last) {
    APP_LogInfof("Affected sector %u (0x%lX - 0x%lX)", First, firstAddr, lastAddr);
  } else {
    APP_LogInfof("Affected sectors %u to %u (0x%lX - 0x%lX)", First, Last, firstAddr, lastAddr);
  }
}

// Fills the map, logs what is in it; the number of selected sectors.
u32 SelectAffected(const Geometry& geometry, MEMAREA* pArea, std::vector<u8>* pMap) {
  u32 numSelected = 0;
  u32 numRuns = 0;
  GEOMETRY_ForEachRun(geometry, pArea, [&](u32 First, u32 Last) {
    std::fill(pMap->begin() + First, pMap->begin() + Last + 1, u8{1});
    numSelected += Last - First + 1;
    ++numRuns;
  });
  APP_LogInfof("%u of %u sectors affected, %u range%s", numSelected, geometry.NumSectors, numRuns,
               Plural(numRuns));
  GEOMETRY_ForEachRun(geometry, pArea, [&](u32 First, u32 Last) { LogRun(geometry, First, Last); });
  return numSelected;
}

// What the walk has erased is looked at, and the chip asked whether it is as it was. pFilter: null
// stands for all sectors.
void ProveErased(const FLASH_CHIP& Chip, MEMAREA* pFilter, MEMAREA* pProved,
                 PROGRESS_INFO* pProgress) {
  if (!Operation::IsAlive()) {
    return;
  }
  if (SETUP_GetVerifyErase() != 0) {
    const MEMAREA_PTR pRanges(GEOMETRY_CreateArea(Chip.Sectors, pFilter, nullptr));
    if (pRanges == nullptr) {
      APP_LogError(APP_CAUSE::OutOfMemory, "Could not look at the erased sectors, out of memory.");
    } else if (FLASH_VerifyBlank(Chip, pRanges.get(), pProved, pProgress) != 0) {
      return;
    }
  }
  static_cast<void>(LINK_CheckStatus(Chip, false) == 0 && LINK_CheckId(Chip) == 0 &&
                    LINK_CheckProbe() == 0);
}

// Parts with page erase guard the chip erase by a longer sequence.
void SendChipErase(const SPI_FLASH_INFO& info) {
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

// The wait takes minutes on a large chip. When it is cancelled the chip goes on erasing.
void EraseChipAndWait(FLASH_CHIP* pChip) {
  const SPI_FLASH_INFO& info = pChip->Info;
  if (info.StatusRegFormat != 10 && !HasInstruction(info.CmdEraseBulk)) {
    return;
  }
  if (LINK_PrepareWrite(pChip) != 0) {
    return;
  }
  SendChipErase(info);
  bool wasBusy = false;
  const WaitResult result = LINK_WaitReady(*pChip, pChip->TimeoutEraseChipMs, &wasBusy);
  if (result == WaitResult::TimedOut || Operation::HasFailed()) {
    APP_LogErrorf(APP_CAUSE::Timeout, "Erasing chip failed (%s)",
                  result == WaitResult::TimedOut ? "timeout occurred" : "unspecified error");
    return;
  }
  const char* sFault =
      result == WaitResult::Ready ? LINK_FindStatusFault(*pChip, SPI_ReadStatus(info)) : nullptr;
  if (sFault != nullptr) {
    const bool isProtected = FLASH_IsProtected(*pChip);
    APP_LogErrorf(isProtected ? APP_CAUSE::Protected : APP_CAUSE::EraseFailed,
                  "Erasing chip failed (%s%s)", sFault, isProtected ? ", protected" : "");
    return;
  }
  // One that is ready at once may never have begun.
  if (result == WaitResult::Ready && !wasBusy && SETUP_GetVerifyErase() == 0) {
    const MEMAREA_PTR pAll(GEOMETRY_CreateArea(pChip->Sectors, nullptr, nullptr));
    static_cast<void>(pAll != nullptr &&
                      FLASH_VerifyBlank(*pChip, pAll.get(), nullptr, nullptr) == 0);
  }
}

}  // namespace

void FLASH_EraseAffected(MEMAREA* pArea, MEMAREA* pProved) {
  Operation op("Erasing affected sectors ...");
  if (!CanEraseProject()) {
    return;
  }
  if (pArea == nullptr) {
    APP_LogError(APP_CAUSE::NoData, "Could not erase affected sectors, no data file opened.");
    return;
  }
  FLASH_CHIP* pChip = op.Connect("Could not erase affected sectors, not connected.");
  if (pChip == nullptr || !CanErase(pChip->Info.FlashType)) {
    return;
  }
  // Only now the geometry is certain: the connect may have identified another chip.
  std::vector<u8> map = MakeMap(*pChip, 0, "Could not erase affected sectors, not enough memory.");
  if (Operation::HasFailed() || !HasSectors(*pChip) ||
      !HasInstruction(pChip->Info.CmdEraseSector)) {
    APP_LogError(APP_CAUSE::EraseFailed, "Failed to erase affected sectors.");
    return;
  }
  const u32 numSelected = SelectAffected(pChip->Sectors, pArea, &map);
  PROGRESS_INFO* pProgress = op.StartProgress("Erasing sectors ...");
  FLASH_EraseSectorMap(pChip, map, numSelected, pProgress);
  if (numSelected != 0) {
    ProveErased(*pChip, pArea, pProved, pProgress);
  }
  ReportEnd("Failed to erase affected sectors.", "Erase sectors canceled by user",
            "Erase operation completed successfully");
}

void FLASH_EraseAllSectors() {
  Operation op("Erasing selected sectors ...");
  if (!CanEraseProject()) {
    return;
  }
  FLASH_CHIP* pChip = op.Connect("Could not erase sectors, not connected.");
  if (pChip == nullptr || !CanErase(pChip->Info.FlashType)) {
    return;
  }
  const std::vector<u8> map = MakeMap(*pChip, 1, "Could not erase sectors, out of memory.");
  if (Operation::HasFailed() || !HasSectors(*pChip) ||
      !HasInstruction(pChip->Info.CmdEraseSector)) {
    APP_LogError(APP_CAUSE::EraseFailed, "Failed to erase sectors.");
    return;
  }
  const u32 numSectors = pChip->Sectors.NumSectors;
  const MEMAREA_PTR pAll(GEOMETRY_CreateArea(pChip->Sectors, nullptr, nullptr));
  const u32 numRanges = MEMAREA_GetNumRanges(pAll.get());
  APP_LogInfof("%u of %u sectors selected, %u range%s%s", numSectors, numSectors, numRanges,
               Plural(numRanges), FLASH_FormatRanges(pAll.get()).c_str());
  PROGRESS_INFO* pProgress = op.StartProgress("Erasing sectors ...");
  FLASH_EraseSectorMap(pChip, map, numSectors, pProgress);
  ProveErased(*pChip, nullptr, nullptr, pProgress);
  ReportEnd("Failed to erase sectors.", "Erase sectors canceled by user",
            "Erase operation completed successfully");
}

void FLASH_EraseForProgram(MEMAREA* pArea, MEMAREA* pProved) {
  if (SETUP_GetAutoMode() != 0) {
    FLASH_EraseAllSectors();
  } else {
    FLASH_EraseAffected(pArea, pProved);
  }
}

void FLASH_EraseChip() {
  Operation op("Erasing chip ...");
  if (!CanEraseProject()) {
    return;
  }
  FLASH_CHIP* pChip = op.Connect("Could not erase chip, not connected.");
  if (pChip == nullptr || !CanErase(pChip->Info.FlashType)) {
    return;
  }
  if (Operation::HasFailed() || !HasSectors(*pChip)) {
    APP_LogError(APP_CAUSE::EraseFailed, "Failed to erase chip.");
    return;
  }
  const u32 numSectors = pChip->Sectors.NumSectors;
  const MEMAREA_PTR pAll(GEOMETRY_CreateArea(pChip->Sectors, nullptr, nullptr));
  const u32 numRanges = MEMAREA_GetNumRanges(pAll.get());
  APP_LogInfof("Erasing %u sector%s, %u range%s%s", numSectors, Plural(numSectors), numRanges,
               Plural(numRanges), FLASH_FormatRanges(pAll.get()).c_str());
  PROGRESS_SetRange(op.StartProgress("Erasing chip ..."), 0, 1);
  EraseChipAndWait(pChip);
  PROGRESS_SetValue(op.Progress(), 1);
  if (Operation::IsAlive()) {
    APP_Touched().NumErased += pChip->Sectors.GetTotalSize();
    ProveErased(*pChip, nullptr, nullptr, op.Progress());
  }
  ReportEnd("Failed to erase chip.", "Erase chip canceled by user",
            "Erase operation completed successfully.");
}
