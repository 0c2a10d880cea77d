#include "image/memarea.h"

#include <new>

#include "image/crc.h"
#include "image/memarea_impl.h"

namespace {

constexpr u32 LOCK_TIMEOUT_MS = 10000;

}  // namespace

MEMAREA_LOCK_GUARD::MEMAREA_LOCK_GUARD(MEMAREA* pArea)
    : MEMAREA_LOCK_GUARD(pArea, LOCK_TIMEOUT_MS) {}

MEMAREA_LOCK_GUARD::MEMAREA_LOCK_GUARD(MEMAREA* pArea, u32 TimeoutMs)
    : m_pArea(pArea), m_Locked(pArea != nullptr && SYS_MUTEX_Lock(pArea->Lock, TimeoutMs) == 0) {}

MEMAREA_LOCK_GUARD::~MEMAREA_LOCK_GUARD() {
  if (m_Locked) {
    SYS_MUTEX_Unlock(m_pArea->Lock);
  }
}

MEMAREA* MEMAREA_Create() {
  auto* area = new (std::nothrow) MEMAREA;
  if (area == nullptr) {
    return nullptr;
  }
  area->Lock = SYS_MUTEX_Create(nullptr);
  if (area->Lock == nullptr) {
    delete area;
    return nullptr;
  }
  return area;
}

void MEMAREA_Delete(MEMAREA* pArea) {
  if (pArea != nullptr) {
    SYS_MUTEX_Destroy(&pArea->Lock);
    delete pArea;
  }
}

int MEMAREA_AddRange(MEMAREA* pArea, u64 Addr, u64 NumBytes, const u8* pData) {
  const MEMAREA_LOCK_GUARD lock(pArea);
  if (!lock.Locked() || pArea->Ranges.Add(Addr, NumBytes, pData, -1) != RANGE_RESULT::Done) {
    return -1;
  }
  pArea->NumChanges += NumBytes != 0 ? 1 : 0;
  return 0;
}

void MEMAREA_RemoveRange(MEMAREA* pArea, u64 FirstAddr, u64 LastAddr) {
  const MEMAREA_LOCK_GUARD lock(pArea);
  if (lock.Locked() && pArea->Ranges.Remove(FirstAddr, LastAddr) == RANGE_RESULT::Done) {
    ++pArea->NumChanges;
  }
}

u64 MEMAREA_GetMinAddr(MEMAREA* pArea) {
  const MEMAREA_LOCK_GUARD lock(pArea);
  return lock.Locked() && !pArea->Ranges.IsEmpty() ? pArea->Ranges.First().Addr : 0;
}

u64 MEMAREA_GetMaxAddr(MEMAREA* pArea) {
  const MEMAREA_LOCK_GUARD lock(pArea);
  return lock.Locked() && !pArea->Ranges.IsEmpty() ? pArea->Ranges.Last().GetLast() : 0;
}

u64 MEMAREA_GetNumBytes(MEMAREA* pArea) {
  const MEMAREA_LOCK_GUARD lock(pArea);
  return lock.Locked() ? pArea->Ranges.GetNumBytes() : 0;
}

u32 MEMAREA_GetNumRanges(MEMAREA* pArea) {
  const MEMAREA_LOCK_GUARD lock(pArea);
  return lock.Locked() ? static_cast<u32>(pArea->Ranges.GetNumRanges()) : 0;
}

const u8* MEMAREA_GetRange(MEMAREA* pArea, u32 Index, u64* pAddr, u64* pNumBytes) {
  const MEMAREA_LOCK_GUARD lock(pArea);
  const MEMAREA_RANGE* range =
      lock.Locked() ? pArea->Ranges.Get(pArea->Ranges.FromIndex(Index)) : nullptr;
  if (pAddr != nullptr) {
    *pAddr = range != nullptr ? range->Addr : 0;
  }
  if (pNumBytes != nullptr) {
    *pNumBytes = range != nullptr ? range->NumBytes : 0;
  }
  return range != nullptr ? range->GetData() : nullptr;
}

u64 MEMAREA_AddPatch(MEMAREA* pArea, u64 Addr, u8 Value) {
  const MEMAREA_LOCK_GUARD lock(pArea);
  if (!lock.Locked()) {
    return 0;
  }
  const u64 index = pArea->Patches.GetNumPatches();
  // Counted even when memory is out and the patch is dropped: what is shown may not be what was
  // typed, so the area must not pass for saved.
  ++pArea->NumChanges;
  static_cast<void>(pArea->Patches.Add(Addr, Value));
  return index;
}

u64 MEMAREA_GetNumPatches(MEMAREA* pArea) {
  const MEMAREA_LOCK_GUARD lock(pArea);
  return lock.Locked() ? pArea->Patches.GetNumPatches() : 0;
}

u32 MEMAREA_CalcCRC(MEMAREA* pArea, u32* pCRC32C) {
  const MEMAREA_LOCK_GUARD lock(pArea);
  u32 crc32 = 0;
  u32 crc32c = 0;
  if (lock.Locked() && pArea->Ranges.HoldsData()) {
    const RangeList& ranges = pArea->Ranges;
    auto pos = ranges.Begin();
    while (const MEMAREA_RANGE* range = ranges.Get(pos)) {
      crc32 = CRC_Calc32(range->GetData(), range->NumBytes, crc32);
      if (pCRC32C != nullptr) {
        crc32c = CRC_Calc32C(range->GetData(), range->NumBytes, crc32c);
      }
      pos = ranges.Next(pos);
    }
  }
  if (pCRC32C != nullptr) {
    *pCRC32C = crc32c;
  }
  return crc32;
}

u32 MEMAREA_GetNumChanges(MEMAREA* pArea) {
  const MEMAREA_LOCK_GUARD lock(pArea);
  return lock.Locked() ? pArea->NumChanges : 0;
}

void MEMAREA_SetNumChanges(MEMAREA* pArea, u32 NumChanges) {
  const MEMAREA_LOCK_GUARD lock(pArea);
  if (lock.Locked()) {
    pArea->NumChanges = NumChanges;
  }
}
