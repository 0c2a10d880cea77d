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
bool FindStretch(const RangeList& ranges, u64 FirstAddr, u64 LastAddr, u64 MaxGap, u64 MaxBytes,
                 STRETCH* pStretch) {
  auto pos = ranges.Find(FirstAddr);
  const MEMAREA_RANGE* range = ranges.Get(pos);
  if (range == nullptr || FirstAddr > LastAddr || range->Addr > LastAddr) {
    return false;
  }
  *pStretch = {std::max(range->Addr, FirstAddr), std::min(range->GetLast(), LastAddr)};
  while (MaxGap != 0 && pStretch->IsShorterThan(MaxBytes)) {
    pos = ranges.Next(pos);
    range = ranges.Get(pos);
    if (range == nullptr || range->Addr > LastAddr || range->Addr - pStretch->Last - 1 > MaxGap) {
      break;
    }
    pStretch->Last = std::min(range->GetLast(), LastAddr);
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

u64 MEMAREA_GetData(MEMAREA* pArea, u64 FirstAddr, u64 LastAddr, u64 MaxGap, u8 FillValue,
                    u8* pData, u8* pValid, u64* pOutAddr, u64 MaxBytes, u32 AlignStartShift,
                    u32 AlignEndShift) {
  const MEMAREA_LOCK_GUARD lock(pArea);
  STRETCH stretch;
  if (!lock.Locked() ||
      !FindStretch(pArea->Ranges, FirstAddr, LastAddr, MaxGap, MaxBytes, &stretch)) {
    return 0;
  }
  const u64 endMask = GetUnitMask(AlignEndShift);
  stretch.Addr &= ~GetUnitMask(AlignStartShift);
  stretch.Last |= endMask;
  if (stretch.IsLongerThan(MaxBytes)) {
    // A block cut short still ends on a boundary. When no boundary is within reach, there is no
    // such block.
    const u64 beyond = (stretch.Addr + MaxBytes) & endMask;
    if (beyond >= MaxBytes) {
      return 0;
    }
    stretch.Last = stretch.Addr + (MaxBytes - beyond - 1);
  }
  if (pData != nullptr || pValid != nullptr) {
    const BLOCK_DEST dest{stretch.Addr, pData, pValid};
    ReadSpan(*pArea, dest, stretch.Last, FillValue);
  }
  if (pOutAddr != nullptr) {
    *pOutAddr = stretch.Addr;
  }
  return stretch.Last - stretch.Addr + 1;
}
