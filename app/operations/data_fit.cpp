// Whether data fits the chip, and the offer to move it there.
#include "app/engine/log.h"
#include "app/operations/data_edit.h"
#include "app/operations/data_windows.h"
#include "flash/erase.h"
#include "project/project.h"
#include "sys/util_format.h"

namespace {

constexpr u32 kTextSize = 512;

bool MayRelocate(const char* sProblem, bool isNegative, u64 magnitude) {
  char acText[kTextSize];
  UTIL_snprintf64(acText, sizeof acText,
                  "%s\nRelocating it by %s0x%lX bytes would fix this problem.\n"
                  "Do you want to relocate?",
                  sProblem, isNegative ? "-" : "", magnitude);
  return APP_MsgBox(acText, "Yes", "No", 1, APP_ICON_QUESTION, 1) == 0;
}

// Puts the lowest address of the data at the start of the chip.
int OfferRelocation(MEMAREA* pSectors, MEMAREA* pArea, const char* sProblem) {
  u64 chipAddr = 0;
  u64 sectorBytes = 0;
  FLASH_GetSectorInfo(0, &chipAddr, &sectorBytes);
  const u64 offset = chipAddr - (MEMAREA_GetMinAddr(pArea) & ~u64{3});
  if (MEMAREA_FindNotContained(pSectors, pArea, offset) >= 0) {
    APP_LogError(APP_CAUSE::DoesNotFit, sProblem);
    return -1;
  }
  const bool isNegative = static_cast<i64>(offset) < 0;
  const u64 magnitude = isNegative ? u64{0} - offset : offset;
  if (!MayRelocate(sProblem, isNegative, magnitude)) {
    APP_LogError(APP_CAUSE::DoesNotFit,
                 "Programming cannot be done without relocation of selected data.");
    return -1;
  }
  if (MEMAREA_Relocate(pArea, static_cast<i64>(offset)) != 0) {
    APP_LogError(APP_CAUSE::OutOfMemory, "The data could not be relocated.");
    return -1;
  }
  APP_UpdateImageWindow(pArea);
  APP_LogInfof("Program relocated for programming by %s0x%lX bytes", isNegative ? "-" : "",
               magnitude);
  return 0;
}

}  // namespace

int APP_CheckDataFits(MEMAREA* pArea) {
  SPI_FLASH_INFO info{};
  PROJECT_GetFlash(&info);
  // What is to be detected isn't known yet; an EEPROM has no ID, its project knows it.
  if (info.AutoDetect != 0 && info.FlashType != FLASH_TYPE_EEPROM) {
    return 0;
  }
  APP_LOG_SECTION section("Checking if selected data fits into the selected SPI flash.");
  u32 numSectors = 0;
  const MEMAREA_PTR pSectors(FLASH_CreateSectorArea(pArea, &numSectors));
  const i64 outside = pSectors == nullptr ? 0 : MEMAREA_FindNotContained(pSectors.get(), pArea, 0);
  if (outside < 0) {
    return 0;
  }
  u64 addr = 0;
  u64 numBytes = 0;
  MEMAREA_GetRange(pArea, static_cast<u32>(outside), &addr, &numBytes);
  char acProblem[kTextSize / 2];
  UTIL_snprintf64(acProblem, sizeof acProblem,
                  "Selected Data (0x%lX - 0x%lX) does not fit into the selected SPI flash.", addr,
                  addr + numBytes - 1);
  if (pSectors == nullptr) {
    APP_LogError(APP_ERROR(APP_CAUSE::DoesNotFit).At(addr), acProblem);
    return -1;
  }
  return OfferRelocation(pSectors.get(), pArea, acProblem);
}
