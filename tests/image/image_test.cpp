#include "tests/image/image_test.h"

#include <cstdio>
#include <cstdlib>
#include <numeric>
#include <random>

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

MEMAREA_PTR MakeScattered(u64 Addr, u64 NumBytes, u64 Align) {
  MEMAREA_PTR area(MEMAREA_Create());
  std::mt19937 random(11);
  for (u64 offset = 0; offset < NumBytes;) {
    std::vector<u8> data(1 + random() % 3000);
    for (u8& byte : data) {
      byte = static_cast<u8>(random());
    }
    EXPECT_EQ(MEMAREA_AddRange(area.get(), Addr + offset, data.size(), data.data()), 0);
    offset += data.size() + 1 + random() % 70;
    offset += (Align - offset % Align) % Align;
  }
  return area;
}

std::string MakeBinary(MEMAREA* pArea) {
  const u64 addr = MEMAREA_GetMinAddr(pArea);
  std::vector<u8> data(MEMAREA_GetMaxAddr(pArea) - addr + 1);
  MEMAREA_Read(pArea, addr, data.size(), data.data(), 0xFF);
  return {data.begin(), data.end()};
}

bool RunShell(const std::string& Command) {
  return std::system(Command.c_str()) == 0;
}
