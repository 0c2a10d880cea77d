#include "flash/geometry.h"

#include <algorithm>

#include "flash/erase.h"
#include "project/project.h"
#include "sys/util_format.h"

namespace {

// More than a log line shows.
constexpr std::size_t kMaxRangesText = 2048;

Geometry OfProject() {
  SPI_FLASH_INFO info{};
  PROJECT_GetFlash(&info);
  return GEOMETRY_Of(info);
}

// Page and sector sizes come from a project file, so any shift may stand there. A sector that the
// chip doesn't hold as a whole doesn't count.
Geometry MakeGeometry(const SPI_FLASH_INFO& info, u32 Shift) {
  if (Shift >= 64) {
    return {};
  }
  const u64 numSectors = FLASH_InfoTotalSize(info) >> Shift;
  if (numSectors > 0xFFFFFFFF) {
    return {};
  }
  return {static_cast<u32>(numSectors), Shift};
}

}  // namespace

Geometry GEOMETRY_Of(const SPI_FLASH_INFO& Info) {
  return MakeGeometry(Info, Info.SectorSizeShift);
}

Geometry GEOMETRY_UnitsOf(const SPI_FLASH_INFO& Info) {
  return MakeGeometry(Info,
                      Info.FlashType == FLASH_TYPE_NOR ? Info.SectorSizeShift : Info.PageSizeShift);
}

// Runs of sectors are added as one range each, never sector by sector: an EEPROM has sectors of one
// byte.
MEMAREA* GEOMETRY_CreateArea(const Geometry& Of, MEMAREA* pFilter, u32* pNumPieces) {
  MEMAREA_PTR pArea(MEMAREA_Create());
  u32 numPieces = 0;
  bool isOk = pArea != nullptr;
  const auto addRun = [&](u32 First, u32 Last) {
    const u64 numRun = static_cast<u64>(Last) - First + 1;
    numPieces += static_cast<u32>(numRun);
    isOk = isOk &&
           MEMAREA_AddRange(pArea.get(), Of.GetAddr(First), numRun << Of.SectorShift, nullptr) == 0;
  };
  if (pFilter != nullptr) {
    GEOMETRY_ForEachRun(Of, pFilter, addRun);
  } else if (Of.NumSectors != 0) {
    addRun(0, Of.NumSectors - 1);
  }
  if (pNumPieces != nullptr) {
    *pNumPieces = isOk ? numPieces : 0;
  }
  return isOk ? pArea.release() : nullptr;
}

u32 FLASH_GetNumSectors() {
  return OfProject().NumSectors;
}

void FLASH_GetSectorInfo(u32 Index, u64* pAddr, u64* pNumBytes) {
  const Geometry geometry = OfProject();
  if (pAddr != nullptr) {
    *pAddr = geometry.GetAddr(Index);
  }
  if (pNumBytes != nullptr) {
    *pNumBytes = geometry.GetSectorSize();
  }
}

u64 FLASH_GetTotalSize() {
  return OfProject().GetTotalSize();
}

MEMAREA* FLASH_CreateSectorArea(MEMAREA* pFilter, u32* pNumSectors) {
  return GEOMETRY_CreateArea(OfProject(), pFilter, pNumSectors);
}

u32 FLASH_GetNumRanges() {
  const MEMAREA_PTR pArea(FLASH_CreateSectorArea(nullptr, nullptr));
  return MEMAREA_GetNumRanges(pArea.get());
}

void FLASH_GetRangeInfo(u32 Index, u64* pAddr, u64* pNumBytes) {
  const MEMAREA_PTR pArea(FLASH_CreateSectorArea(nullptr, nullptr));
  u64 addr = 0;
  u64 numBytes = 0;
  MEMAREA_GetRange(pArea.get(), Index, &addr, &numBytes);
  if (pAddr != nullptr) {
    *pAddr = addr;
  }
  if (pNumBytes != nullptr) {
    *pNumBytes = numBytes;
  }
}

// For a single question; a whole chip is asked by GEOMETRY_ForEachRun.
bool FLASH_IsSectorAffected(u32 Index, MEMAREA* pArea) {
  const Geometry geometry = OfProject();
  if (Index >= geometry.NumSectors) {
    return false;
  }
  const u64 first = geometry.GetAddr(Index);
  const u64 last = first + geometry.GetSectorSize() - 1;
  const u32 numRanges = MEMAREA_GetNumRanges(pArea);
  for (u32 i = 0; i < numRanges; ++i) {
    u64 addr = 0;
    u64 numBytes = 0;
    MEMAREA_GetRange(pArea, i, &addr, &numBytes);
    if (addr > last) {
      break;
    }
    if (numBytes != 0 && addr + numBytes - 1 >= first) {
      return true;
    }
  }
  return false;
}

i64 FLASH_IsSpanInChip(MEMAREA* pArea, u64 Offset) {
  const MEMAREA_PTR pChip(FLASH_CreateSectorArea(nullptr, nullptr));
  return pChip != nullptr ? MEMAREA_FindNotContained(pChip.get(), pArea, Offset) : 0;
}

std::string FLASH_FormatRanges(MEMAREA* pArea) {
  const MEMAREA_PTR pChip(pArea == nullptr ? FLASH_CreateSectorArea(nullptr, nullptr) : nullptr);
  MEMAREA* pRanges = pArea != nullptr ? pArea : pChip.get();
  std::string text;
  const u32 numRanges = MEMAREA_GetNumRanges(pRanges);
  for (u32 i = 0; i < numRanges && text.size() < kMaxRangesText; ++i) {
    u64 addr = 0;
    u64 numBytes = 0;
    MEMAREA_GetRange(pRanges, i, &addr, &numBytes);
    char acRange[64];
    UTIL_snprintf64(acRange, sizeof(acRange), ", 0x%lX - 0x%lX", addr, addr + numBytes - 1);
    text += acRange;
  }
  return text;
}
