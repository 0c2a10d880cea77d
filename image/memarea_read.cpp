#include <algorithm>
#include <cstring>

#include "image/memarea_impl.h"

namespace {

// The outputs of a block reader; either pointer may be null.
struct BLOCK_DEST {
  u64 Addr;
  u8* pData;
  u8* pValid;

  void Fill(u64 FirstAddr, u64 NumBytes, u8 FillValue) const {
    if (pData != nullptr) {
      std::memset(pData + (FirstAddr - Addr), FillValue, NumBytes);
    }
    if (pValid != nullptr) {
      std::memset(pValid + (FirstAddr - Addr), 0, NumBytes);
    }
  }
  void Copy(u64 FirstAddr, u64 NumBytes, const u8* pSrc) const {
    if (pData != nullptr) {
      std::memcpy(pData + (FirstAddr - Addr), pSrc, NumBytes);
    }
    if (pValid != nullptr) {
      std::memset(pValid + (FirstAddr - Addr), 1, NumBytes);
    }
  }
  void Patch(u64 PatchAddr, u8 Value) const {
    if (pData != nullptr) {
      pData[PatchAddr - Addr] = Value;
    }
    if (pValid != nullptr) {
      pValid[PatchAddr - Addr] = 1;
    }
  }
};

// Delivers the span from dest.Addr to LastAddr: range bytes, FillValue where there are none (an
// address-only range has none either), and the newest patch of each address above all that.
void ReadSpan(const MEMAREA& area, const BLOCK_DEST& dest, u64 LastAddr, u8 FillValue) {
  u64 addr = dest.Addr;
  auto pos = area.Ranges.Find(addr);
  bool isDone = false;
  while (!isDone) {
    const MEMAREA_RANGE* range = area.Ranges.Get(pos);
    if (range == nullptr || range->Addr > LastAddr) {
      dest.Fill(addr, LastAddr - addr + 1, FillValue);
      break;
    }
    if (range->Addr > addr) {
      dest.Fill(addr, range->Addr - addr, FillValue);
      addr = range->Addr;
    }
    const u64 last = std::min(range->GetLast(), LastAddr);
    if (const u8* data = range->GetData()) {
      dest.Copy(addr, last - addr + 1, data + (addr - range->Addr));
    } else {
      dest.Fill(addr, last - addr + 1, FillValue);
    }
    isDone = last == LastAddr;
    addr = last + 1;
    pos = area.Ranges.Next(pos);
  }
  area.Patches.ForEachIn(dest.Addr, LastAddr,
                         [&dest](u64 patchAddr, u8 value) { dest.Patch(patchAddr, value); });
}

// Mask of the address bits below a unit of 1 << Shift; 0 without an alignment.
u64 GetUnitMask(u32 Shift) {
  return (u64{1} << std::min(Shift, 63U)) - 1;
}

// A stretch from Addr to Last, both inclusive: a length could be 2^64.
struct STRETCH {
  u64 Addr;
  u64 Last;

  bool IsShorterThan(u64 NumBytes) const { return NumBytes != 0 && Last - Addr < NumBytes - 1; }
  bool IsLongerThan(u64 NumBytes) const { return NumBytes == 0 || Last - Addr > NumBytes - 1; }
};

// The next range at or after FirstAddr, with those behind it that are no further than MaxGap.
bool FindStretch(const RangeList& ranges, const MEMAREA_WALK& walk, STRETCH* pStretch) {
  auto pos = ranges.Find(walk.FirstAddr);
  const MEMAREA_RANGE* range = ranges.Get(pos);
  if (range == nullptr || walk.FirstAddr > walk.LastAddr || range->Addr > walk.LastAddr) {
    return false;
  }
  *pStretch = {std::max(range->Addr, walk.FirstAddr), std::min(range->GetLast(), walk.LastAddr)};
  while (walk.MaxGap != 0 && pStretch->IsShorterThan(walk.MaxBytes)) {
    pos = ranges.Next(pos);
    range = ranges.Get(pos);
    if (range == nullptr || range->Addr > walk.LastAddr ||
        range->Addr - pStretch->Last - 1 > walk.MaxGap) {
      break;
    }
    pStretch->Last = std::min(range->GetLast(), walk.LastAddr);
  }
  return true;
}

}  // namespace

int MEMAREA_Read(MEMAREA* pArea, u64 Addr, u64 NumBytes, u8* pDest, u8 FillValue) {
  const MEMAREA_LOCK_GUARD lock(pArea);
  if (!lock.Locked() || NumBytes == 0) {
    return 0;
  }
  // Bytes behind the last address of all don't exist.
  const u64 numExisting = NumBytes - 1 > ~Addr ? ~Addr + 1 : NumBytes;
  const BLOCK_DEST dest{Addr, pDest, nullptr};
  ReadSpan(*pArea, dest, Addr + (numExisting - 1), FillValue);
  std::memset(pDest + numExisting, FillValue, NumBytes - numExisting);
  return 0;
}

bool MEMAREA_FindBlock(const MEMAREA& area, const MEMAREA_WALK& Walk, u64 MinAddr,
                       MEMAREA_BLOCK* pBlock) {
  STRETCH stretch;
  if (!FindStretch(area.Ranges, Walk, &stretch)) {
    return false;
  }
  const u64 endMask = GetUnitMask(Walk.AlignEndShift);
  stretch.Addr = std::max(stretch.Addr & ~GetUnitMask(Walk.AlignStartShift), MinAddr);
  stretch.Last |= endMask;
  if (stretch.IsLongerThan(Walk.MaxBytes)) {
    // A block cut short still ends on a boundary. When no boundary is within reach, there is no
    // such block.
    const u64 beyond = (stretch.Addr + Walk.MaxBytes) & endMask;
    if (beyond >= Walk.MaxBytes) {
      return false;
    }
    stretch.Last = stretch.Addr + (Walk.MaxBytes - beyond - 1);
  }
  *pBlock = {stretch.Addr, stretch.Last - stretch.Addr + 1};
  return true;
}

void MEMAREA_ReadBlock(const MEMAREA& area, const MEMAREA_BLOCK& Block, u8 FillValue, u8* pData,
                       u8* pValid) {
  if (pData != nullptr || pValid != nullptr) {
    ReadSpan(area, {Block.Addr, pData, pValid}, Block.GetLast(), FillValue);
  }
}

u64 MEMAREA_GetData(MEMAREA* pArea, u64 FirstAddr, u64 LastAddr, u64 MaxGap, u8 FillValue,
                    u8* pData, u8* pValid, u64* pOutAddr, u64 MaxBytes, u32 AlignStartShift,
                    u32 AlignEndShift) {
  const MEMAREA_LOCK_GUARD lock(pArea);
  const MEMAREA_WALK walk = {FirstAddr, LastAddr,        MaxGap,       FillValue,
                             MaxBytes,  AlignStartShift, AlignEndShift};
  MEMAREA_BLOCK block;
  if (!lock.Locked() || !MEMAREA_FindBlock(*pArea, walk, 0, &block)) {
    return 0;
  }
  MEMAREA_ReadBlock(*pArea, block, FillValue, pData, pValid);
  if (pOutAddr != nullptr) {
    *pOutAddr = block.Addr;
  }
  return block.NumBytes;
}
