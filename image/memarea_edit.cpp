#include <memory>
#include <new>

#include "image/memarea_impl.h"

int MEMAREA_Write(MEMAREA* pArea, u64 Addr, u64 NumBytes, const u8* pSrc) {
  const MEMAREA_LOCK_GUARD lock(pArea);
  if (!lock.Locked() || pArea->Ranges.Write(Addr, NumBytes, pSrc) != RANGE_RESULT::Done) {
    return -1;
  }
  pArea->NumChanges += NumBytes != 0 ? 1 : 0;
  return 0;
}

int MEMAREA_Relocate(MEMAREA* pArea, i64 Offset) {
  const MEMAREA_LOCK_GUARD lock(pArea);
  if (!lock.Locked()) {
    return -1;
  }
  const u64 offset = static_cast<u64>(Offset);
  if (!pArea->Patches.PrepareRelocate(offset) ||
      pArea->Ranges.Relocate(offset) != RANGE_RESULT::Done) {
    return -1;
  }
  pArea->Patches.Relocate(offset);
  ++pArea->NumChanges;
  return 0;
}

namespace {

// Gathers patches at consecutive addresses and writes them in one go.
class PatchWriter {
 public:
  explicit PatchWriter(RangeList& ranges) : m_Ranges(ranges) {}

  void Add(u64 Addr, u8 Value) {
    if (m_NumBytes == sizeof(m_abData) || Addr - m_Addr != m_NumBytes) {
      Flush();
      m_Addr = Addr;
    }
    m_abData[m_NumBytes++] = Value;
  }
  RANGE_RESULT Flush() {
    if (m_NumBytes != 0) {
      const RANGE_RESULT result = m_Ranges.Write(m_Addr, m_NumBytes, m_abData);
      if (m_Result == RANGE_RESULT::Done) {
        m_Result = result;
      }
      m_NumBytes = 0;
    }
    return m_Result;
  }

 private:
  RangeList& m_Ranges;
  RANGE_RESULT m_Result = RANGE_RESULT::Done;
  u64 m_Addr = 0;
  u64 m_NumBytes = 0;
  u8 m_abData[4096];
};

}  // namespace

int MEMAREA_CommitPatches(MEMAREA* pArea) {
  const MEMAREA_LOCK_GUARD lock(pArea);
  if (!lock.Locked()) {
    return -1;
  }
  PatchWriter writer(pArea->Ranges);
  pArea->Patches.ForEachIn(0, ~u64{0}, [&writer](u64 addr, u8 value) { writer.Add(addr, value); });
  const RANGE_RESULT result = writer.Flush();
  // Patches are worth keeping when memory ran out: they still read as before, and the next commit
  // may succeed.
  if (result == RANGE_RESULT::NoMemory) {
    return -1;
  }
  pArea->Patches.Clear();
  pArea->NumChanges = 0;
  return result == RANGE_RESULT::Done ? 0 : -1;
}
