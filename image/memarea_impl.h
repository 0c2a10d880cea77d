#pragma once

#include "image/memarea.h"
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
