#include "tests/image/image_test.h"

#include <cstdio>
#include <numeric>

std::vector<u8> Counting(std::size_t NumBytes, u8 First) {
  std::vector<u8> data(NumBytes);
  std::iota(data.begin(), data.end(), First);
  return data;
}

MEMAREA_PTR MakeArea(std::initializer_list<PIECE> pieces) {
  MEMAREA_PTR area(MEMAREA_Create());
  for (const PIECE& piece : pieces) {
    EXPECT_EQ(MEMAREA_AddRange(area.get(), piece.Addr, piece.Data.size(), piece.Data.data()), 0);
  }
  return area;
}

std::string Dump(MEMAREA* pArea) {
  std::string text;
  char part[32];
  for (u32 i = 0; i < MEMAREA_GetNumRanges(pArea); ++i) {
    u64 addr = 0;
    u64 numBytes = 0;
    const u8* data = MEMAREA_GetRange(pArea, i, &addr, &numBytes);
    std::snprintf(part, sizeof(part), "%s%llX", i == 0 ? "" : " ",
                  static_cast<unsigned long long>(addr));
    text += part;
    if (data == nullptr) {
      std::snprintf(part, sizeof(part), "+%llX", static_cast<unsigned long long>(numBytes));
      text += part;
      continue;
    }
    text += ':';
    for (u64 k = 0; k < numBytes; ++k) {
      std::snprintf(part, sizeof(part), "%02X", data[k]);
      text += part;
    }
  }
  return text;
}
