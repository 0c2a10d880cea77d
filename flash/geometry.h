#pragma once

#include "catalogue/devices/flash_info.h"
#include "image/memarea.h"

// Sectors of the chip, all of one size. Internal to this folder.
struct Geometry {
  u32 NumSectors = 0;
  u32 SectorShift = 0;

  u64 GetAddr(u32 Index) const { return static_cast<u64>(Index) << SectorShift; }
  u64 GetSectorSize() const { return NumSectors != 0 ? u64{1} << SectorShift : 0; }
  u64 GetTotalSize() const { return static_cast<u64>(NumSectors) << SectorShift; }
};

// Of a description. One that makes no sense has no sectors.
Geometry GEOMETRY_Of(const SPI_FLASH_INFO& Info);
// The same chip in the smallest pieces that can be rewritten without the bytes beside them:
// sectors, but where nothing is erased a page, since programming takes a whole one.
Geometry GEOMETRY_UnitsOf(const SPI_FLASH_INFO& Info);
// Addresses of all pieces of the geometry that the area touches, or of the whole chip for null. The
// caller owns it; null when memory is out, with *pNumPieces, may be null, 0.
MEMAREA* GEOMETRY_CreateArea(const Geometry& Of, MEMAREA* pFilter, u32* pNumPieces);

// Calls Run(first, last) for each run of neighbouring sectors that any range of the area touches,
// in ascending order. One pass over the ranges, whatever the number of sectors.
template <class RUN>
void GEOMETRY_ForEachRun(const Geometry& geometry, MEMAREA* pArea, RUN Run) {
  bool isOpen = false;
  u32 first = 0;
  u32 last = 0;
  const u32 numRanges = MEMAREA_GetNumRanges(pArea);
  for (u32 i = 0; i < numRanges; ++i) {
    u64 addr = 0;
    u64 numBytes = 0;
    MEMAREA_GetRange(pArea, i, &addr, &numBytes);
    const u64 firstSector = addr >> geometry.SectorShift;
    if (numBytes == 0 || firstSector >= geometry.NumSectors) {
      continue;
    }
    const u64 end = geometry.NumSectors - 1;
    const u64 lastSector = (addr + numBytes - 1) >> geometry.SectorShift;
    const u32 from = static_cast<u32>(firstSector);
    const u32 to = static_cast<u32>(lastSector < end ? lastSector : end);
    if (isOpen && from > last + 1) {
      Run(first, last);
      isOpen = false;
    }
    first = isOpen ? first : from;
    last = to;
    isOpen = true;
  }
  if (isOpen) {
    Run(first, last);
  }
}
