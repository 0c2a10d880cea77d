#include "image/memarea_reader.h"

#include <algorithm>
#include <new>

#include "image/memarea_impl.h"

MEMAREA_PTR MEMAREA_MakeSnapshot(MEMAREA* pArea) {
  const MEMAREA_LOCK_GUARD lock(pArea);
  MEMAREA_PTR copy(lock.Locked() ? MEMAREA_Create() : nullptr);
  if (copy == nullptr || !pArea->Ranges.ShareTo(&copy->Ranges)) {
    return nullptr;
  }
  try {
    copy->Patches = pArea->Patches;
  } catch (const std::bad_alloc&) {
    return nullptr;
  }
  copy->NumChanges = pArea->NumChanges;
  return copy;
}

MEMAREA_READER::MEMAREA_READER(MEMAREA* pArea, Kind kind) {
  if (kind == Kind::Snapshot) {
    m_pSnapshot = MEMAREA_MakeSnapshot(pArea);
    m_pArea = m_pSnapshot.get();
  } else if (m_Lock.emplace(pArea).Locked()) {
    m_pArea = pArea;
  }
}

void MEMAREA_READER::Release() {
  m_pArea = nullptr;
  m_IsDone = true;
  m_Lock.reset();
  m_pSnapshot.reset();
}

bool MEMAREA_READER::Begin(const MEMAREA_WALK& Walk) {
  m_Walk = Walk;
  m_Next = 0;
  m_IsDone = m_pArea == nullptr || Walk.AlignStartShift > 63 || Walk.AlignEndShift > 63 ||
             Walk.MaxBytes < u64{1} << Walk.AlignEndShift;
  return !m_IsDone;
}

bool MEMAREA_READER::Next(MEMAREA_BLOCK* pBlock, u8* pData, u8* pValid) {
  if (m_IsDone || !MEMAREA_FindBlock(*m_pArea, m_Walk, m_Next, pBlock)) {
    m_IsDone = true;
    return false;
  }
  MEMAREA_ReadBlock(*m_pArea, *pBlock, m_Walk.FillValue, pData, pValid);
  const u64 last = pBlock->GetLast();
  m_IsDone = last >= m_Walk.LastAddr;
  m_Next = last + 1;
  m_Walk.FirstAddr = std::max(m_Walk.FirstAddr, m_Next);
  return true;
}
