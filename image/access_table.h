#pragma once

#include "image/memarea.h"

// The functions through which a hex editor reaches an area without knowing its type. Each takes the
// area first and takes its lock. Slots 10 to 12, 14 and 16 to 19 are empty. A read gives 0 for a
// plain value, 1 if a byte of it comes from a patch, negative if a byte is absent: -1 no range, -2
// (ReadU8 only) an address-only range.
struct MEMAREA_STATE {
  u8 Reserved;
  u8 IsModified;
};

struct MEMAREA_ACCESS_TABLE {
  u64 (*GetMinAddr)(void* pArea);
  u64 (*GetMaxAddr)(void* pArea);
  int (*ReadU8)(void* pArea, u64 Addr, u8* pValue);
  int (*ReadU16)(void* pArea, u64 Addr, u16* pValue);
  int (*ReadU32)(void* pArea, u64 Addr, u32* pValue);
  void (*WriteU8)(void* pArea, u64 Addr, u8 Value);
  void (*WriteU16)(void* pArea, u64 Addr, u16 Value);
  void (*WriteU32)(void* pArea, u64 Addr, u32 Value);
  void (*UndoLast)(void* pArea);
  void (*RevertAddr)(void* pArea, u64 Addr);
  void (*aReserved10[3])();
  void (*Delete)(void* pArea);
  void (*pReserved14)();
  void (*GetState)(void* pArea, MEMAREA_STATE* pState);
  void (*aReserved16[4])();
};

const MEMAREA_ACCESS_TABLE* MEMAREA_GetAccessTable();
