#include "image/memarea_reader.h"
#include "tests/image/image_test.h"

namespace {

constexpr u64 LAST = ~u64{0};

struct ROW {
  const char* sName;
  u64 First, Last, MaxGap, MaxBytes;
  u32 AlignStart, AlignEnd;
  u64 Addr, NumBytes;  // expected
};

// Ranges 0x101..0x104, 0x108..0x10B and the last three addresses of all.
const ROW ROWS[] = {
    {"stops at a range's end", 0, LAST, 0, 100, 0, 0, 0x101, 4},
    {"starts inside", 0x103, LAST, 0, 100, 0, 0, 0x103, 2},
    {"cut at the last address", 0, 0x102, 0, 100, 0, 0, 0x101, 2},
    {"nothing up to the last address", 0, 0x100, 0, 100, 0, 0, 0, 0},
    {"a first above the last", 0x102, 0x101, 0, 100, 0, 0, 0, 0},
    {"gap too large", 0, LAST, 2, 100, 0, 0, 0x101, 4},
    {"gap covered", 0, LAST, 3, 100, 0, 0, 0x101, 11},
    {"gap covered up to the last address", 0, 0x109, 3, 100, 0, 0, 0x101, 9},
    {"gap cut by the size", 0, LAST, 3, 6, 0, 0, 0x101, 6},
    {"all gaps, cut by the size", 0, LAST, LAST, 100, 0, 0, 0x101, 100},
    {"start aligned", 0, LAST, 0, 100, 1, 0, 0x100, 5},
    {"end aligned over the next range", 0, LAST, 0, 100, 0, 4, 0x101, 15},
    {"both aligned", 0, LAST, 0, 100, 4, 3, 0x100, 8},
    {"cut block ends on a boundary", 0, LAST, 3, 10, 0, 2, 0x101, 7},
    {"no boundary in reach", 0, LAST, 3, 2, 0, 2, 0, 0},
    {"no room", 0, LAST, 0, 0, 0, 0, 0, 0},
    {"last addresses", 0x200, LAST, 9, 100, 0, 0, LAST - 2, 3},
    {"last addresses aligned", 0x200, LAST, 9, 100, 3, 3, LAST - 7, 8},
    {"largest units", 0x200, LAST, 9, 100, 63, 63, 0, 0},
};

TEST(MemAreaGetData, FindsAndCutsTheBlock) {
  for (const ROW& row : ROWS) {
    const MEMAREA_PTR area =
        MakeArea({{0x101, Counting(4, 1)}, {0x108, Counting(4, 8)}, {LAST - 2, {21, 22, 23}}});
    // Without patches, then with some that change nothing but the way of reading.
    for (const bool patched : {false, true}) {
      if (patched) {
        MEMAREA_AddPatch(area.get(), 0x102, 2);
        MEMAREA_AddPatch(area.get(), 0x5000, 1);
      }
      std::vector<u8> data(100, 0x55);
      std::vector<u8> valid(100, 0x55);
      u64 addr = 0;
      const u64 numBytes =
          MEMAREA_GetData(area.get(), row.First, row.Last, row.MaxGap, 0xEE, data.data(),
                          valid.data(), &addr, row.MaxBytes, row.AlignStart, row.AlignEnd);
      ASSERT_EQ(numBytes, row.NumBytes) << row.sName;
      if (numBytes != 0) {
        EXPECT_EQ(addr, row.Addr) << row.sName;
      }
      for (u64 i = 0; i < data.size(); ++i) {
        u8 expected = 0xEE;
        const u64 a = row.Addr + i;
        const bool exists = MEMAREA_ContainsRange(area.get(), a, 1);
        MEMAREA_Read(area.get(), a, 1, &expected, 0xEE);
        EXPECT_EQ(data[i], i < numBytes ? expected : 0x55) << row.sName << " " << i;
        EXPECT_EQ(valid[i], i < numBytes ? exists : 0x55) << row.sName << " " << i;
      }
    }
  }
}

TEST(MemAreaGetData, AddressAloneAndPatchesInHoles) {
  const MEMAREA_PTR area = MakeArea({{0x10, {1}}, {0x14, {2}}});
  u64 addr = 0;
  EXPECT_EQ(MEMAREA_GetData(area.get(), 0x11, LAST, 0, 0, nullptr, nullptr, &addr, 9, 0, 0), 1U);
  EXPECT_EQ(addr, 0x14U);
  MEMAREA_AddPatch(area.get(), 0x12, 0xAA);
  MEMAREA_AddPatch(area.get(), 0x30, 0xBB);
  u8 valid[5];
  u8 data[5];
  EXPECT_EQ(MEMAREA_GetData(area.get(), 0, LAST, 9, 0xFF, data, valid, nullptr, 5, 0, 0), 5U);
  EXPECT_EQ(std::vector<u8>(data, data + 5), (std::vector<u8>{1, 0xFF, 0xAA, 0xFF, 2}));
  EXPECT_EQ(std::vector<u8>(valid, valid + 5), (std::vector<u8>{1, 0, 1, 0, 1}));
  EXPECT_EQ(MEMAREA_GetData(area.get(), 0x15, LAST, 9, 0xFF, data, valid, nullptr, 5, 0, 0), 0U);
}

TEST(MemAreaReader, WalksThatCannotBeAreRefused) {
  const MEMAREA_PTR area = MakeArea({{0x10, {1, 2, 3}}});
  MEMAREA_READER none(nullptr);
  EXPECT_FALSE(none.IsOpen() || none.Begin({.MaxBytes = 16}));
  EXPECT_FALSE(MEMAREA_READER(nullptr, MEMAREA_READER::Kind::Snapshot).IsOpen());
  MEMAREA_READER reader(area.get());
  MEMAREA_BLOCK block;
  // Such a walk would look like one over an image without data.
  EXPECT_FALSE(reader.Begin({.MaxBytes = 15, .AlignEndShift = 4}) || reader.Next(&block, nullptr));
  EXPECT_FALSE(reader.Begin({.MaxBytes = 0}));
  EXPECT_TRUE(reader.Begin({.MaxBytes = 2}) && reader.Next(&block, nullptr));
  EXPECT_EQ(block.GetLast(), 0x11U);
  reader.Release();
  EXPECT_FALSE(reader.IsOpen() || reader.Next(&block, nullptr));
}

TEST(MemAreaRead, PastTheLastAddressAndAddressOnly) {
  const MEMAREA_PTR area = MakeArea({{LAST, {7}}, {0, {9}}});
  u8 data[3];
  EXPECT_EQ(MEMAREA_Read(area.get(), LAST, 3, data, 0xEE), 0);
  EXPECT_EQ(std::vector<u8>(data, data + 3), (std::vector<u8>{7, 0xEE, 0xEE}));
  const MEMAREA_PTR addresses(MEMAREA_Create());
  MEMAREA_AddRange(addresses.get(), 0, 8, nullptr);
  EXPECT_EQ(MEMAREA_Read(addresses.get(), 1, 3, data, 0x33), 0);
  EXPECT_EQ(std::vector<u8>(data, data + 3), (std::vector<u8>{0x33, 0x33, 0x33}));
}

}  // namespace
