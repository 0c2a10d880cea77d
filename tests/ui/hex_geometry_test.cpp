// Cells, columns, rows as text.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "ui/hex/hex_row.h"

namespace {

HexGeometry MakeGeometry(u32 bytesPerRow, u32 itemSize, bool isBigEndian) {
  HexGeometry geometry;
  geometry.NumRows = 4;
  geometry.BytesPerRow = bytesPerRow;
  geometry.ItemSize = itemSize;
  geometry.IsBigEndian = isBigEndian;
  return geometry;
}

TEST(HexGeometry, BytesPerRowOfAWidth) {
  const struct {
    u32 Width, ItemSize, Expected;
  } rows[] = {
      {0, 1, 0},         {24, 1, 0},           {25, 1, 2},  {25, 4, 4},   {43, 1, 4},
      {44, 1, 8},        {76, 1, 8},           {77, 1, 16}, {142, 1, 16}, {143, 1, 32},
      {69, 2, 16},       {68, 2, 8},           {65, 4, 16}, {64, 4, 8},   {1000000, 1, 256},
      {1000000, 4, 256}, {0xFFFFFFFF, 1, 256},
  };
  for (const auto& row : rows) {
    EXPECT_EQ(HEX_GetBytesPerRow(row.Width, row.ItemSize), row.Expected)
        << row.Width << " cells, items of " << row.ItemSize;
  }
}

// Every byte's columns lead back to it; nothing outside them leaves the row.
TEST(HexGeometry, ColumnsAndOffsetsAreInverse) {
  for (const u32 bytesPerRow : {4U, 8U, 16U, 64U, 256U}) {
    for (const u32 itemSize : {1U, 2U, 4U}) {
      for (const bool isBigEndian : {false, true}) {
        const HexGeometry geometry = MakeGeometry(bytesPerRow, itemSize, isBigEndian);
        for (u32 offset = 0; offset < bytesPerRow; ++offset) {
          for (const u8 nibble : {u8{0}, u8{1}}) {
            const i32 column = static_cast<i32>(geometry.OffsetToColumn(offset, nibble));
            ASSERT_EQ(geometry.ColumnToOffset(column), offset) << column;
            ASSERT_EQ(geometry.ColumnToNibble(column), nibble) << column;
          }
          const i32 textColumn = static_cast<i32>(geometry.GetTextCol() + offset);
          ASSERT_EQ(geometry.ColumnToOffset(textColumn), offset);
        }
        for (i32 column = -1; column < 2000; ++column) {
          ASSERT_LT(geometry.ColumnToOffset(column), bytesPerRow) << column;
        }
      }
    }
  }
}

TEST(HexGeometry, ColumnsBesideTheDigits) {
  const struct {
    u32 ItemSize;
    bool IsBigEndian;
    i32 Column;
    u32 Offset;
    u8 Nibble;
  } rows[] = {
      {1, false, -1, 0, 1},   {1, false, 5, 0, 1},  {1, false, 11, 0, 0}, {1, false, 13, 0, 1},
      {1, false, 34, 7, 1},   {1, false, 35, 8, 0}, {1, false, 36, 8, 0}, {1, false, 57, 15, 0},
      {1, false, 59, 15, 1},  {1, false, 60, 0, 1}, {1, false, 61, 0, 1}, {1, false, 76, 15, 1},
      {1, false, 500, 15, 1}, {4, false, 5, 3, 1},  {4, false, 11, 3, 0}, {4, false, 18, 0, 1},
      {4, false, 19, 0, 1},   {4, true, 11, 0, 0},  {4, true, 5, 0, 1},   {4, true, 19, 3, 1},
      {4, false, 20, 7, 0},
  };
  for (const auto& row : rows) {
    const HexGeometry geometry = MakeGeometry(16, row.ItemSize, row.IsBigEndian);
    EXPECT_EQ(geometry.ColumnToOffset(row.Column), row.Offset)
        << row.Column << ", items of " << row.ItemSize;
    EXPECT_EQ(geometry.ColumnToNibble(row.Column), row.Nibble)
        << row.Column << ", items of " << row.ItemSize;
  }
}

TEST(HexRow, ShowsEachStateInItsWay) {
  const struct {
    u32 ItemSize;
    bool IsBigEndian;
    std::vector<u8> State;
    const char* sExpected;
  } rows[] = {
      {1, false, {0, 0, 0, 0, 0, 0, 0, 0}, "0800_0010  41 20 7F FF AD 42 00 7E  A..\xFF.B.~"},
      {2, false, {0, 0, 0, 0, 0, 0, 0, 0}, "0800_0010  2041 FF7F 42AD 7E00  A..\xFF.B.~"},
      {4, false, {0, 0, 0, 0, 0, 0, 0, 0}, "0800_0010  FF7F2041 7E0042AD  A..\xFF.B.~"},
      {4, true, {0, 0, 0, 0, 0, 0, 0, 0}, "0800_0010  41207FFF AD42007E  A..\xFF.B.~"},
      {1, false, {1, 3, 4, 9, 0, 0, 0, 0}, "0800_0010  -- ..       AD 42 00 7E  .....B.~"},
      // Half of an item: byte by byte. Outside beside valid bytes shows as missing.
      {4, false, {0, 0, 1, 1, 4, 4, 4, 4}, "0800_0010  ----2041           A......."},
      {4, false, {4, 4, 0, 0, 3, 3, 0, 0}, "0800_0010  FF7F---- 7E00....  ...\xFF...~"},
      {4, true, {4, 4, 0, 0, 3, 3, 0, 0}, "0800_0010  ----7FFF ....007E  ...\xFF...~"},
  };
  const u8 data[8] = {0x41, 0x20, 0x7F, 0xFF, 0xAD, 0x42, 0x00, 0x7E};
  for (const auto& row : rows) {
    HexRow text;
    text.Format(MakeGeometry(8, row.ItemSize, row.IsBigEndian), 0x08000010, data, row.State.data());
    EXPECT_EQ(std::string(text.GetText()), row.sExpected) << "items of " << row.ItemSize;
  }
}

TEST(HexRow, FreshestByteColoursItsItem) {
  const u8 data[8] = {};
  const u8 state[8] = {};
  const u8 ages[8] = {0, 3, 0, 2, 5, 4, 1, 1};
  HexRow text;
  text.Format(MakeGeometry(8, 4, false), 0, data, state);
  text.NoteAges(MakeGeometry(8, 4, false), ages);
  std::string runs;
  for (const HexRow::RUN& run : text.GetRuns()) {
    runs += std::to_string(run.Column) + "+" + std::to_string(run.Length) + ":" +
            std::to_string(run.Age) + " ";
  }
  // Items at 11 and 20, text from 30 on; ages of 4 and more look like none.
  EXPECT_EQ(runs, "11+8:2 20+8:1 31+1:3 33+1:2 36+2:1 ");
}

}  // namespace
