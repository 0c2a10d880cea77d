#include "image/access_table.h"

#include "image/memarea_impl.h"

namespace {

MEMAREA* ToArea(void* p) {
  return static_cast<MEMAREA*>(p);
}

u64 GetMinAddr(void* pArea) {
  return MEMAREA_GetMinAddr(ToArea(pArea));
}

u64 GetMaxAddr(void* pArea) {
  return MEMAREA_GetMaxAddr(ToArea(pArea));
}

// The lock is held by the caller.
int ReadByte(const MEMAREA& area, u64 Addr, u8* pValue) {
  if (area.Patches.Find(Addr, pValue)) {
    return 1;
  }
  const MEMAREA_RANGE* range = area.Ranges.Get(area.Ranges.Find(Addr));
  if (range == nullptr || range->Addr > Addr) {
    return -1;
  }
  if (range->GetData() == nullptr) {
    return -2;
  }
  *pValue = range->GetData()[Addr - range->Addr];
  return 0;
}

int ReadU8(void* pArea, u64 Addr, u8* pValue) {
  const MEMAREA_LOCK_GUARD lock(ToArea(pArea));
  return lock.Locked() ? ReadByte(*ToArea(pArea), Addr, pValue) : -1;
}

template <class T>
int ReadValue(void* pArea, u64 Addr, T* pValue) {
  const MEMAREA_LOCK_GUARD lock(ToArea(pArea));
  // A value that runs past the last address of all has bytes that don't exist.
  if (!lock.Locked() || Addr > ~u64{0} - (sizeof(T) - 1)) {
    return -1;
  }
  int result = 0;
  u32 value = 0;
  for (u32 i = 0; i < sizeof(T); ++i) {
    u8 byte = 0;
    const int source = ReadByte(*ToArea(pArea), Addr + i, &byte);
    if (source < 0) {
      return -1;
    }
    result |= source;
    value |= static_cast<u32>(byte) << (8 * i);
  }
  *pValue = static_cast<T>(value);
  return result;
}

int ReadU16(void* pArea, u64 Addr, u16* pValue) {
  return ReadValue(pArea, Addr, pValue);
}

int ReadU32(void* pArea, u64 Addr, u32* pValue) {
  return ReadValue(pArea, Addr, pValue);
}

void WriteValue(void* pArea, u64 Addr, u32 Value, u32 NumBytes) {
  const MEMAREA_LOCK_GUARD lock(ToArea(pArea));
  for (u32 i = 0; lock.Locked() && i < NumBytes && Addr + i >= Addr; ++i) {
    MEMAREA_AddPatch(ToArea(pArea), Addr + i, static_cast<u8>(Value >> (8 * i)));
  }
}

void WriteU8(void* pArea, u64 Addr, u8 Value) {
  WriteValue(pArea, Addr, Value, 1);
}

void WriteU16(void* pArea, u64 Addr, u16 Value) {
  WriteValue(pArea, Addr, Value, 2);
}

void WriteU32(void* pArea, u64 Addr, u32 Value) {
  WriteValue(pArea, Addr, Value, 4);
}

void UndoLast(void* pArea) {
  const MEMAREA_LOCK_GUARD lock(ToArea(pArea));
  if (lock.Locked()) {
    ToArea(pArea)->Patches.UndoLast();
  }
}

void RevertAddr(void* pArea, u64 Addr) {
  const MEMAREA_LOCK_GUARD lock(ToArea(pArea));
  if (lock.Locked()) {
    ToArea(pArea)->Patches.RevertAddr(Addr);
  }
}

void Delete(void* pArea) {
  MEMAREA_Delete(ToArea(pArea));
}

void GetState(void* pArea, MEMAREA_STATE* pState) {
  pState->Reserved = 0;
  pState->IsModified = MEMAREA_GetNumChanges(ToArea(pArea)) > 0 ? 1 : 0;
}

constexpr MEMAREA_ACCESS_TABLE ACCESS_TABLE = {
    GetMinAddr, GetMaxAddr, ReadU8, ReadU16, ReadU32, WriteU8,  WriteU16, WriteU32,
    UndoLast,   RevertAddr, {},     Delete,  nullptr, GetState, {},
};

}  // namespace

const MEMAREA_ACCESS_TABLE* MEMAREA_GetAccessTable() {
  return &ACCESS_TABLE;
}
