#include "image/access_table.h"

#include "tests/image/image_test.h"

namespace {

const MEMAREA_ACCESS_TABLE* const TABLE = MEMAREA_GetAccessTable();

TEST(AccessTable, SlotsStandAtTheirPlaces) {
  EXPECT_EQ(sizeof(MEMAREA_ACCESS_TABLE), 20 * sizeof(void*));
  EXPECT_EQ(offsetof(MEMAREA_ACCESS_TABLE, RevertAddr), 9 * sizeof(void*));
  EXPECT_EQ(offsetof(MEMAREA_ACCESS_TABLE, Delete), 13 * sizeof(void*));
  EXPECT_EQ(offsetof(MEMAREA_ACCESS_TABLE, GetState), 15 * sizeof(void*));
  for (auto* slot : {TABLE->aReserved10[0], TABLE->pReserved14, TABLE->aReserved16[3]}) {
    EXPECT_EQ(slot, nullptr);
  }
}

TEST(AccessTable, ReadsValuesOfAllWidths) {
  const MEMAREA_PTR area = MakeArea({{0x10, {0x11, 0x22, 0x33, 0x44, 0x55}}, {~u64{0}, {9}}});
  TABLE->WriteU8(area.get(), 0x14, 0xAA);
  TABLE->WriteU8(area.get(), 0x16, 0xBB);
  const struct {
    u64 Addr;
    int R8, R16, R32;
    u32 Value;  // of the widest that can be read
  } rows[] = {
      {0x10, 0, 0, 0, 0x44332211}, {0x11, 0, 0, 1, 0xAA443322}, {0x13, 0, 1, -1, 0xAA44},
      {0x14, 1, -1, -1, 0xAA},     {0x16, 1, -1, -1, 0xBB},     {0x0F, -1, -1, -1, 0},
      {0x15, -1, -1, -1, 0},       {~u64{0}, 0, -1, -1, 9},
  };
  for (const auto& row : rows) {
    u8 v8 = 0;
    u16 v16 = 0;
    u32 v32 = 0;
    EXPECT_EQ(TABLE->ReadU8(area.get(), row.Addr, &v8), row.R8);
    EXPECT_EQ(TABLE->ReadU16(area.get(), row.Addr, &v16), row.R16);
    EXPECT_EQ(TABLE->ReadU32(area.get(), row.Addr, &v32), row.R32);
    EXPECT_EQ(row.R32 >= 0 ? v32 : row.R16 >= 0 ? v16 : v8, row.Value);
  }
  const MEMAREA_PTR addresses(MEMAREA_Create());
  MEMAREA_AddRange(addresses.get(), 0, 8, nullptr);
  u8 v8 = 0;
  u16 v16 = 0;
  EXPECT_EQ(TABLE->ReadU8(addresses.get(), 1, &v8), -2);
  EXPECT_EQ(TABLE->ReadU16(addresses.get(), 1, &v16), -1);
}

TEST(AccessTable, WritesPatchesThatCanBeTakenBack) {
  const MEMAREA_PTR area = MakeArea({{0x10, {1, 2, 3, 4}}});
  MEMAREA_SetNumChanges(area.get(), 0);
  MEMAREA_STATE state{9, 9};
  TABLE->GetState(area.get(), &state);
  EXPECT_EQ(state.Reserved, 0);
  EXPECT_EQ(state.IsModified, 0);
  TABLE->WriteU32(area.get(), 0x10, 0xD4C3B2A1);
  TABLE->WriteU16(area.get(), 0x12, 0xFEED);
  TABLE->GetState(area.get(), &state);
  EXPECT_EQ(state.IsModified, 1);
  EXPECT_EQ(MEMAREA_GetNumPatches(area.get()), 6U);
  u32 value = 0;
  const auto read = [&] {
    TABLE->ReadU32(area.get(), 0x10, &value);
    return value;
  };
  EXPECT_EQ(read(), 0xFEEDB2A1U);
  TABLE->UndoLast(area.get());
  EXPECT_EQ(read(), 0xD4EDB2A1U);
  TABLE->RevertAddr(area.get(), 0x12);
  EXPECT_EQ(read(), 0xD403B2A1U);
  // The two at 0x12 are gone, so that the newest is now the one at 0x13.
  TABLE->UndoLast(area.get());
  EXPECT_EQ(read(), 0x0403B2A1U);
  for (int i = 0; i < 5; ++i) {
    TABLE->UndoLast(area.get());
  }
  EXPECT_EQ(read(), 0x04030201U);
  EXPECT_EQ(Dump(area.get()), "10:01020304");
}

}  // namespace
