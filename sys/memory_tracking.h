#pragma once

#include "sys/types.h"

// Checked blocks: header, data, guard bytes. Internal to this layer.

void* SysTrackedAlloc(std::size_t Size, const char* sTag);
// Shows what is wrong with a damaged block and then leaks it: nothing about its memory can be
// relied on any more. Returns whether the block was taken off the list.
bool SysTrackedFree(void* p);
void* SysTrackedRealloc(void* p, std::size_t Size);
void SysTrackedStats(u32* pNumBlocks, u64* pNumBytes);
