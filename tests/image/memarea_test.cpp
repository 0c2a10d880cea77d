#include "tests/image/image_test.h"

namespace {

constexpr u64 LAST = ~u64{0};

struct ADD_ROW {
  u64 Addr;
  std::size_t NumBytes;
  int Result;
  const char* sDump;
};

TEST(MemArea, AddRange) {
  // Into ranges at 0x10..0x13 and 0x18..0x1B; new bytes count from A0.
  const ADD_ROW rows[] = {
      {0x14, 4, 0, "10:10111213A0A1A2A318191A1B"},
      {0x14, 2, 0, "10:10111213A0A1 18:18191A1B"},
      {0x16, 2, 0, "10:10111213 16:A0A118191A1B"},
      {0x15, 2, 0, "10:10111213 15:A0A1 18:18191A1B"},
      {0x14, 5, -1, "10:10111213 18:18191A1B"},
      {0x0E, 3, -1, "10:10111213 18:18191A1B"},
      {0x13, 1, -1, "10:10111213 18:18191A1B"},
      {0x1B, 2, -1, "10:10111213 18:18191A1B"},
      {0x00, 0x40, -1, "10:10111213 18:18191A1B"},
      {0x0E, 2, 0, "E:A0A110111213 18:18191A1B"},
      {0x02, 1, 0, "2:A0 10:10111213 18:18191A1B"},
      {0x1C, 1, 0, "10:10111213 18:18191A1BA0"},
      {0x11, 0, 0, "10:10111213 18:18191A1B"},
      {LAST, 1, 0, "10:10111213 18:18191A1B FFFFFFFFFFFFFFFF:A0"},
      {LAST, 2, -1, "10:10111213 18:18191A1B"},
  };
  for (const ADD_ROW& row : rows) {
    const MEMAREA_PTR area = MakeArea({{0x10, Counting(4, 0x10)}, {0x18, Counting(4, 0x18)}});
    MEMAREA_SetNumChanges(area.get(), 0);
    const std::vector<u8> data = Counting(row.NumBytes + 1, 0xA0);
    EXPECT_EQ(MEMAREA_AddRange(area.get(), row.Addr, row.NumBytes, data.data()), row.Result);
    EXPECT_EQ(Dump(area.get()), row.sDump);
    EXPECT_EQ(MEMAREA_GetNumChanges(area.get()), row.Result == 0 && row.NumBytes != 0 ? 1U : 0U);
  }
}

TEST(MemArea, AddressesBesideTheEndsOfTheSpace) {
  const MEMAREA_PTR area = MakeArea({{LAST - 1, {1, 2}}, {0, {3}}});
  EXPECT_EQ(Dump(area.get()), "0:03 FFFFFFFFFFFFFFFE:0102");
  EXPECT_EQ(MEMAREA_GetMaxAddr(area.get()), LAST);
  EXPECT_EQ(MEMAREA_AddRange(area.get(), LAST - 1, 1, Counting(1).data()), -1);
}

TEST(MemArea, AddressOnlyRangesCostNothingAndNeverMix) {
  const MEMAREA_PTR area(MEMAREA_Create());
  EXPECT_EQ(MEMAREA_AddRange(area.get(), 0x100000000, 0x100000000, nullptr), 0);
  EXPECT_EQ(MEMAREA_AddRange(area.get(), 0, 0x100000000, nullptr), 0);
  EXPECT_EQ(Dump(area.get()), "0+200000000");
  EXPECT_EQ(MEMAREA_AddRange(area.get(), LAST, 1, Counting(1).data()), -1);
  EXPECT_EQ(MEMAREA_Write(area.get(), LAST, 1, Counting(1).data()), -1);
  MEMAREA_RemoveRange(area.get(), 0x1000, 0x1FFF);
  EXPECT_EQ(Dump(area.get()), "0+1000 2000+1FFFFE000");
  // A length of 2^64 can't be told.
  EXPECT_EQ(MEMAREA_AddRange(area.get(), 0x1000, 0x1000, nullptr), 0);
  EXPECT_EQ(MEMAREA_AddRange(area.get(), 0x200000000, LAST - 0x200000000 + 1, nullptr), -1);

  const MEMAREA_PTR data = MakeArea({{0, {1}}});
  EXPECT_EQ(MEMAREA_AddRange(data.get(), 5, 1, nullptr), -1);
}

struct REMOVE_ROW {
  u64 First;
  u64 Last;
  const char* sDump;
};

TEST(MemArea, RemoveRange) {
  const REMOVE_ROW rows[] = {
      {0x10, 0x13, "20:20212223"},
      {0x11, 0x12, "10:10 13:13 20:20212223"},
      {0x0F, 0x11, "12:1213 20:20212223"},
      {0x12, 0x1F, "10:1011 20:20212223"},
      {0x12, 0x21, "10:1011 22:2223"},
      {0x14, 0x1F, "10:10111213 20:20212223"},
      {0x13, 0x12, "10:10111213 20:20212223"},
      {0, LAST, ""},
  };
  for (const REMOVE_ROW& row : rows) {
    const MEMAREA_PTR area = MakeArea({{0x10, Counting(4, 0x10)}, {0x20, Counting(4, 0x20)}});
    MEMAREA_AddPatch(area.get(), 0x11, 0xEE);
    MEMAREA_RemoveRange(area.get(), row.First, row.Last);
    EXPECT_EQ(Dump(area.get()), row.sDump);
    EXPECT_EQ(MEMAREA_GetNumPatches(area.get()), 1U);
    if (*row.sDump == '\0') {
      EXPECT_EQ(MEMAREA_GetMinAddr(area.get()), 0U);
      EXPECT_EQ(MEMAREA_GetMaxAddr(area.get()), 0U);
    }
  }
}

struct RELOCATE_ROW {
  i64 Offset;
  const char* sDump;
};

TEST(MemArea, RelocateWrapsAroundTheEndOfTheSpace) {
  // 0..1, 0x10..0x13, and the last four addresses.
  const RELOCATE_ROW rows[] = {
      {0, "0:0001 10:10111213 FFFFFFFFFFFFFFFC:A0A1A2A3"},
      {4, "0:A0A1A2A30001 14:10111213"},
      {2, "0:A2A30001 12:10111213 FFFFFFFFFFFFFFFE:A0A1"},
      {-2, "E:10111213 FFFFFFFFFFFFFFFA:A0A1A2A30001"},
      {-0x12, "0:1213 FFFFFFFFFFFFFFEA:A0A1A2A30001 FFFFFFFFFFFFFFFE:1011"},
  };
  for (const RELOCATE_ROW& row : rows) {
    const MEMAREA_PTR area =
        MakeArea({{0, {0, 1}}, {0x10, Counting(4, 0x10)}, {LAST - 3, Counting(4, 0xA0)}});
    MEMAREA_AddPatch(area.get(), LAST, 0x77);
    EXPECT_EQ(MEMAREA_Relocate(area.get(), row.Offset), 0);
    EXPECT_EQ(Dump(area.get()), row.sDump);
    u8 value = 0;
    MEMAREA_Read(area.get(), LAST + static_cast<u64>(row.Offset), 1, &value, 0);
    EXPECT_EQ(value, 0x77);
  }
}

TEST(MemArea, MergeAndOverlap) {
  const MEMAREA_PTR area = MakeArea({{0x10, {1, 2}}});
  const MEMAREA_PTR source = MakeArea({{0x12, {3}}, {0x20, {4}}});
  MEMAREA_AddPatch(source.get(), 0x30, 5);
  EXPECT_FALSE(MEMAREA_Overlaps(area.get(), source.get()));
  EXPECT_EQ(MEMAREA_Merge(area.get(), source.get()), 0);
  EXPECT_EQ(Dump(area.get()), "10:010203 20:04");
  EXPECT_EQ(MEMAREA_GetNumPatches(area.get()), 1U);
  EXPECT_TRUE(MEMAREA_Overlaps(area.get(), source.get()));
  EXPECT_EQ(MEMAREA_Merge(area.get(), source.get()), 1);
  EXPECT_EQ(Dump(area.get()), "10:010203 20:04");
  EXPECT_EQ(MEMAREA_GetNumPatches(area.get()), 1U);

  const MEMAREA_PTR addresses(MEMAREA_Create());
  MEMAREA_AddRange(addresses.get(), 0x40, 2, nullptr);
  EXPECT_EQ(MEMAREA_Merge(area.get(), addresses.get()), 0);
  EXPECT_EQ(Dump(area.get()), "10:010203 20:04 40:FFFF");
}

TEST(MemArea, Containment) {
  const MEMAREA_PTR area = MakeArea({{0x10, Counting(16)}, {LAST - 1, {1, 2}}});
  const struct {
    u64 Addr, NumBytes;
    bool Result;
  } rows[] = {{0x10, 16, true}, {0x1F, 1, true},     {0x1F, 2, false},
              {0x0F, 2, false}, {LAST - 1, 2, true}, {LAST, 2, false}};
  for (const auto& row : rows) {
    EXPECT_EQ(MEMAREA_ContainsRange(area.get(), row.Addr, row.NumBytes), row.Result);
  }
  const MEMAREA_PTR inner = MakeArea({{0x0, {1}}, {0x8, {1, 2}}});
  EXPECT_EQ(MEMAREA_FindNotContained(area.get(), inner.get(), 0), 0);
  EXPECT_EQ(MEMAREA_FindNotContained(area.get(), inner.get(), 0x10), -1);
  EXPECT_EQ(MEMAREA_FindNotContained(area.get(), inner.get(), 0x17), 1);
  EXPECT_EQ(MEMAREA_FindNotContained(area.get(), MakeArea({}).get(), 0), -1);
}

struct BLANK_ROW {
  std::vector<u8> Data;
  bool Result;
  const char* sDump;
};

TEST(MemArea, AddNonBlank) {
  const BLANK_ROW rows[] = {
      {{0xFF, 0xFF, 0xFF}, false, ""},
      {{0xFF, 1, 2}, true, "101:0102"},
      {{1, 0xFF, 2, 0xFF}, true, "100:01FF02FF"},
      {{1, 0xFF, 0xFF, 0xFF, 2}, true, "100:01 104:02"},
      {{1, 0xFF, 0xFF, 0xFF}, true, "100:01"},
      {{1, 0xFF, 0xFF, 0xFF, 0xFF}, false, "100:01"},
      {{}, false, ""},
  };
  for (const BLANK_ROW& row : rows) {
    const MEMAREA_PTR area(MEMAREA_Create());
    bool failed = true;
    EXPECT_EQ(
        MEMAREA_AddNonBlank(area.get(), 0x100, row.Data.size(), row.Data.data(), 3, 0xFF, &failed),
        row.Result);
    EXPECT_FALSE(failed);
    EXPECT_EQ(Dump(area.get()), row.sDump);
    EXPECT_EQ(MEMAREA_AddNonBlank(area.get(), 0x100, 2, Counting(2).data(), 3, 0xFF, &failed),
              *row.sDump == '\0');
    EXPECT_EQ(failed, *row.sDump != '\0');
  }
}

TEST(MemArea, EliminateBlankRemovesRunsAcrossBlocks) {
  std::vector<u8> data(0x30000, 0xFF);
  data[0x0000] = 1;
  data[0xFFF0] = 2;   // a run of 15 follows to the end of the block, and goes on in the next
  data[0x10030] = 3;  // 63 blank bytes: stay
  data[0x10071] = 4;  // 64 blank bytes: go
  const MEMAREA_PTR area = MakeArea({{0, data}, {0x200000000, std::vector<u8>(64, 0xFF)}});
  MEMAREA_EliminateBlank(area.get(), 64, 2, 2);
  ASSERT_EQ(MEMAREA_GetNumRanges(area.get()), 4U);
  u64 addr = 0;
  u64 numBytes = 0;
  MEMAREA_GetRange(area.get(), 1, &addr, &numBytes);
  EXPECT_EQ(addr, 0xFFF0U);
  EXPECT_EQ(numBytes, 0x41U);
  EXPECT_EQ(MEMAREA_GetNumBytes(area.get()), 1U + 0x41 + 1 + 64);
}

TEST(MemArea, CommitFoldsPatchesAndChecksumIgnoresThem) {
  const MEMAREA_PTR area = MakeArea({{0x10, {'a', 'b', 'c'}}});
  MEMAREA_AddPatch(area.get(), 0x11, 1);
  MEMAREA_AddPatch(area.get(), 0x11, 2);
  MEMAREA_AddPatch(area.get(), 0x13, 3);
  MEMAREA_AddPatch(area.get(), LAST, 4);
  u32 crc32c = 0;
  EXPECT_EQ(MEMAREA_CalcCRC(area.get(), &crc32c), 0xCA6598D0U);
  EXPECT_EQ(crc32c, 0x562F9CCDU);
  EXPECT_EQ(MEMAREA_CommitPatches(area.get()), 0);
  EXPECT_EQ(Dump(area.get()), "10:61026303 FFFFFFFFFFFFFFFF:04");
  EXPECT_EQ(MEMAREA_GetNumChanges(area.get()), 0U);
  EXPECT_EQ(MEMAREA_GetNumPatches(area.get()), 0U);

  const MEMAREA_PTR addresses(MEMAREA_Create());
  MEMAREA_AddRange(addresses.get(), 0, 4, nullptr);
  MEMAREA_AddPatch(addresses.get(), 1, 1);
  EXPECT_NE(MEMAREA_CommitPatches(addresses.get()), 0);
}

TEST(MemArea, NullArea) {
  u64 addr = 1;
  EXPECT_EQ(MEMAREA_AddRange(nullptr, 0, 1, nullptr), -1);
  EXPECT_EQ(MEMAREA_GetRange(nullptr, 0, &addr, nullptr), nullptr);
  EXPECT_EQ(addr, 0U);
  EXPECT_EQ(MEMAREA_GetData(nullptr, 0, LAST, 0, 0, nullptr, nullptr, nullptr, 1, 0, 0), 0U);
  MEMAREA_RemoveRange(nullptr, 0, 1);
  MEMAREA_Delete(nullptr);
}

}  // namespace
