#include <algorithm>
#include <cstring>

#include "flash/auto.h"
#include "flash/operation.h"
#include "sys/util_number.h"

// Sets of sectors for a run that touches no more than it has to. Sectors are taken one at a time,
// smaller ones in groups. Parts without an erase have sectors of one byte but are written in pages:
// there the page counts.

namespace {

constexpr u64 kMinBlock = 4096;
constexpr u8 kBlank = 0xFF;

// Block of one area and what the other area has there, both of whole sectors.
struct SectorBlock {
  u64 Addr;
  u64 NumBytes;
  const u8* pData;
  const u8* pOther;
};

// Adds runs of sectors for which IsKept(Addr, pData, pOther) holds. 0 or -1.
template <class IS_KEPT>
int AddKept(MEMAREA* pDest, const SectorBlock& block, u64 SectorSize, IS_KEPT IsKept) {
  u64 numRun = 0;
  for (u64 pos = 0; pos <= block.NumBytes; pos += SectorSize) {
    if (pos < block.NumBytes && IsKept(block.Addr + pos, block.pData + pos, block.pOther + pos)) {
      numRun += SectorSize;
      continue;
    }
    const u64 start = pos - numRun;
    if (numRun != 0 &&
        MEMAREA_AddRange(pDest, block.Addr + start, numRun, block.pData + start) != 0) {
      return -1;
    }
    numRun = 0;
  }
  return 0;
}

void ReportNoMemory(u64 NumBytes) {
  APP_LogErrorf(APP_CAUSE::OutOfMemory, "Failed to allocate %lu bytes of memory", NumBytes);
}

// Holes within a sector come with its alignment; those between sectors stay out.
constexpr u64 kMaxGap = 0;

// Bytes of the block that its area doesn't have become the other's.
void FillHoles(u8* pData, const u8* pValid, const u8* pOther, u64 NumBytes) {
  for (u64 i = 0; i < NumBytes; ++i) {
    pData[i] = pValid[i] != 0 ? pData[i] : pOther[i];
  }
}

// IsFilling: holes are filled from pOther, else they are blank.
template <class IS_KEPT>
MEMAREA* GatherSectors(const FLASH_CHIP& chip, MEMAREA* pArea, u64 FirstAddr, u64 LastAddr,
                       MEMAREA* pOther, bool IsFilling, IS_KEPT IsKept) {
  const Geometry& geometry = chip.Units;
  const u64 sectorSize = geometry.GetSectorSize();
  if (sectorSize == 0) {
    APP_LogError(APP_CAUSE::Project, "The sectors of the chip are not known.");
    return nullptr;
  }
  const u64 blockSize = std::max(sectorSize, kMinBlock);
  MEMAREA_PTR pResult(MEMAREA_Create());
  const std::unique_ptr<u8[]> pData = AllocBuffer(blockSize);
  const std::unique_ptr<u8[]> pOtherData = AllocBuffer(blockSize);
  const std::unique_ptr<u8[]> pValid = AllocBuffer(blockSize);
  if (pResult == nullptr || pData == nullptr || pOtherData == nullptr || pValid == nullptr) {
    ReportNoMemory(blockSize);
    return nullptr;
  }
  for (u64 next = FirstAddr; next <= LastAddr && !Operation::HasFailed();) {
    u64 addr = 0;
    const u64 numBytes =
        MEMAREA_GetData(pArea, next, LastAddr, kMaxGap, kBlank, pData.get(), pValid.get(), &addr,
                        blockSize, geometry.SectorShift, geometry.SectorShift);
    if (numBytes == 0) {
      break;
    }
    std::memset(pOtherData.get(), kBlank, numBytes);
    MEMAREA_Read(pOther, addr, numBytes, pOtherData.get(), kBlank);
    if (IsFilling) {
      FillHoles(pData.get(), pValid.get(), pOtherData.get(), numBytes);
    }
    if (AddKept(pResult.get(), {addr, numBytes, pData.get(), pOtherData.get()}, sectorSize,
                IsKept) != 0) {
      ReportNoMemory(numBytes);
    }
    if (addr + numBytes < addr) {
      break;  // past the last address there is
    }
    next = addr + numBytes;
  }
  return pResult.release();
}

}  // namespace

// A page that differs is written as a whole, so the bytes beside the data in it have to be what
// they were.
MEMAREA* FLASH_DiffSectors(const FLASH_CHIP& Chip, MEMAREA* pNew, MEMAREA* pCurrent) {
  const u64 size = Chip.Units.GetSectorSize();
  return GatherSectors(Chip, pNew, MEMAREA_GetMinAddr(pNew), MEMAREA_GetMaxAddr(pNew), pCurrent,
                       !Chip.IsNor(), [size](u64 /*Addr*/, const u8* pData, const u8* pOther) {
                         return std::memcmp(pData, pOther, size) != 0;
                       });
}

// A matching sector of the chip stands in no set: the next step would erase it for nothing, or for
// good.
MEMAREA* FLASH_CurrentOfSectors(const FLASH_CHIP& Chip, MEMAREA* pCurrent, MEMAREA* pDiff) {
  const u64 size = Chip.Units.GetSectorSize();
  return GatherSectors(Chip, pCurrent, MEMAREA_GetMinAddr(pCurrent), MEMAREA_GetMaxAddr(pCurrent),
                       pDiff, false, [size, pDiff](u64 Addr, const u8* pData, const u8* pOther) {
                         return std::memcmp(pData, pOther, size) != 0 &&
                                MEMAREA_ContainsRange(pDiff, Addr, size);
                       });
}

// Where pSpan begins or ends within a sector, the bytes beside it are erased as well, and a read
// back may consist of them alone.
MEMAREA* FLASH_NotBlankSectors(const FLASH_CHIP& Chip, MEMAREA* pSpan, MEMAREA* pCurrent) {
  // An empty span has the same addresses as one of the first byte.
  if (MEMAREA_GetNumRanges(pSpan) == 0) {
    return MEMAREA_Create();
  }
  const u64 size = Chip.Units.GetSectorSize();
  return GatherSectors(Chip, pCurrent, MEMAREA_GetMinAddr(pSpan) & ~(size - 1),
                       MEMAREA_GetMaxAddr(pSpan) | (size - 1), nullptr, false,
                       [size](u64 /*Addr*/, const u8* pData, const u8* /*pOther*/) {
                         return !UTIL_IsFilled(pData, kBlank, size);
                       });
}
