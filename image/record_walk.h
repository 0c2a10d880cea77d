#pragma once

#include <algorithm>
#include <array>

#include "image/range_list.h"

// How the record formats cut an image: each range from its start into records of 32 bytes.
constexpr u32 RECORD_MAX_DATA = 32;

// Calls fn(Addr, pData, NumBytes) for each record, in address order.
template <class Fn>
void RECORD_ForEach(const RangeList& ranges, Fn&& fn) {
  // What an address-only range reads as.
  std::array<u8, RECORD_MAX_DATA> blank;
  blank.fill(0xFF);
  auto pos = ranges.Begin();
  while (const MEMAREA_RANGE* range = ranges.Get(pos)) {
    const u8* data = range->GetData();
    for (u64 offset = 0; offset < range->NumBytes; offset += RECORD_MAX_DATA) {
      const u64 numBytes = std::min<u64>(RECORD_MAX_DATA, range->NumBytes - offset);
      fn(range->Addr + offset, data != nullptr ? data + offset : blank.data(),
         static_cast<u32>(numBytes));
    }
    pos = ranges.Next(pos);
  }
}
