#include "image/memarea_impl.h"

// Operations on two areas. Both locks are held, the first area's taken first.

namespace {

// One pass over both lists.
bool DoListsOverlap(const RangeList& a, const RangeList& b) {
  auto posA = a.Begin();
  auto posB = b.Begin();
  while (true) {
    const MEMAREA_RANGE* rangeA = a.Get(posA);
    const MEMAREA_RANGE* rangeB = b.Get(posB);
    if (rangeA == nullptr || rangeB == nullptr) {
      return false;
    }
    if (rangeA->GetLast() < rangeB->Addr) {
      posA = a.Next(posA);
    } else if (rangeB->GetLast() < rangeA->Addr) {
      posB = b.Next(posB);
    } else {
      return true;
    }
  }
}

bool DoesListContain(const RangeList& ranges, u64 Addr, u64 NumBytes) {
  const MEMAREA_RANGE* range = ranges.Get(ranges.Find(Addr));
  return range != nullptr && range->Addr <= Addr &&
         (NumBytes == 0 || NumBytes - 1 <= range->GetLast() - Addr);
}

}  // namespace

bool MEMAREA_Overlaps(MEMAREA* pArea, MEMAREA* pOther) {
  if (pArea == nullptr || pOther == nullptr) {
    return false;
  }
  const MEMAREA_LOCK_GUARD lock(pArea);
  const MEMAREA_LOCK_GUARD otherLock(pOther);
  // Without the locks nothing is known; an overlap is the answer that destroys nothing.
  return !lock.Locked() || !otherLock.Locked() || DoListsOverlap(pArea->Ranges, pOther->Ranges);
}

int MEMAREA_Merge(MEMAREA* pArea, MEMAREA* pSource) {
  const MEMAREA_LOCK_GUARD lock(pArea);
  const MEMAREA_LOCK_GUARD sourceLock(pSource);
  if (!lock.Locked() || !sourceLock.Locked() || DoListsOverlap(pArea->Ranges, pSource->Ranges)) {
    return 1;
  }
  if (pArea == pSource) {
    return 0;
  }
  // Addresses stay addresses only where they meet a set of addresses.
  const int fillValue = pArea->Ranges.IsAddrOnly() ? -1 : 0xFF;
  auto pos = pSource->Ranges.Begin();
  while (const MEMAREA_RANGE* range = pSource->Ranges.Get(pos)) {
    if (pArea->Ranges.Add(range->Addr, range->NumBytes, range->GetData(), fillValue) !=
        RANGE_RESULT::Done) {
      return 1;
    }
    ++pArea->NumChanges;
    pos = pSource->Ranges.Next(pos);
  }
  const bool allAdded = pSource->Patches.ForEachOldestFirst([pArea](u64 addr, u8 value) {
    ++pArea->NumChanges;
    return pArea->Patches.Add(addr, value);
  });
  return allAdded ? 0 : 1;
}

bool MEMAREA_ContainsRange(MEMAREA* pArea, u64 Addr, u64 NumBytes) {
  const MEMAREA_LOCK_GUARD lock(pArea);
  return lock.Locked() && DoesListContain(pArea->Ranges, Addr, NumBytes);
}

i64 MEMAREA_FindNotContained(MEMAREA* pArea, MEMAREA* pInner, u64 Offset) {
  const MEMAREA_LOCK_GUARD lock(pArea);
  const MEMAREA_LOCK_GUARD innerLock(pInner);
  if (!lock.Locked() || !innerLock.Locked()) {
    return 0;
  }
  i64 index = 0;
  auto pos = pInner->Ranges.Begin();
  while (const MEMAREA_RANGE* range = pInner->Ranges.Get(pos)) {
    if (!DoesListContain(pArea->Ranges, range->Addr + Offset, range->NumBytes)) {
      return index;
    }
    ++index;
    pos = pInner->Ranges.Next(pos);
  }
  return -1;
}
