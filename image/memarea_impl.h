#pragma once

#include "image/memarea.h"
#include "image/memarea_reader.h"
#include "image/patch_list.h"
#include "image/range_list.h"
#include "sys/thread.h"

// The area behind the public interface, for the files of this folder. Lock guards all members.
struct MEMAREA {
  SYS_MUTEX Lock = nullptr;
  RangeList Ranges;
  PatchList Patches;
  u32 NumChanges = 1;
};

// The steps of the block reader; the caller holds the lock. The next block of a walk that isn't to
// start below MinAddr; false at the end, or when the walk allows none.
bool MEMAREA_FindBlock(const MEMAREA& area, const MEMAREA_WALK& Walk, u64 MinAddr,
                       MEMAREA_BLOCK* pBlock);
// Its bytes, and 1 for each that exists; either pointer may be null.
void MEMAREA_ReadBlock(const MEMAREA& area, const MEMAREA_BLOCK& Block, u8 FillValue, u8* pData,
                       u8* pValid);
