#include "ui/hex/hex_geometry.h"

#include <algorithm>
#include <bit>

namespace {

constexpr u32 MIN_WIDTH = 25;

}  // namespace

u32 HEX_CheckItemSize(u32 ItemSize) {
  return ItemSize == 2 || ItemSize == 4 ? ItemSize : 1;
}

// (4 W - 44) / (12.5 + 4 / ItemSize), doubled above and below to stay with integers.
u32 HEX_GetBytesPerRow(u32 WidthCells, u32 ItemSize) {
  if (WidthCells < MIN_WIDTH) {
    return 0;
  }
  const u64 numBytes = (u64{WidthCells} * 8 - 88) / (25 + 2 * (4 / ItemSize));
  HexGeometry geometry;
  geometry.ItemSize = ItemSize;
  // No screen is so wide, but a row has to fit its buffer.
  geometry.BytesPerRow =
      static_cast<u32>(std::bit_floor(std::clamp<u64>(numBytes, 1, HEX_MAX_ROW_TEXT / 4)));
  while (geometry.GetTextCol() + geometry.BytesPerRow > HEX_MAX_ROW_TEXT) {
    geometry.BytesPerRow /= 2;
  }
  return std::max(geometry.BytesPerRow, ItemSize);
}

// Blanks between items and groups, but none behind the last.
u32 HexGeometry::GetHexWidth() const {
  if (BytesPerRow == 0) {
    return 0;
  }
  const u32 numGroups = std::max(BytesPerRow / GroupSize, 1U);
  return BytesPerRow / ItemSize + 2 * BytesPerRow + (numGroups - 1) - 1;
}

u32 HexGeometry::GetPlaceInItem(u64 Addr) const {
  const u32 index = static_cast<u32>(Addr % ItemSize);
  return IsBigEndian ? index : ItemSize - 1 - index;
}

// Places behind the item count as its last: the blank belongs to the digit in front of it.
u64 HexGeometry::GetAddrInItem(u64 ItemAddr, u32 Place) const {
  const u32 place = std::min(Place, ItemSize - 1);
  return ItemAddr + (IsBigEndian ? place : ItemSize - 1 - place);
}

// Cells count from the first item, with the wider gaps taken out. The second blank of a gap then
// falls on the item behind it. A column of the text, or between the areas, is found by the text.
u32 HexGeometry::ColumnToOffset(i32 Column) const {
  if (BytesPerRow == 0) {
    return 0;
  }
  const u32 itemCells = 2 * ItemSize + 1;
  const u32 groupCells = GroupSize / ItemSize * itemCells + 1;
  u32 cell =
      Column < static_cast<i32>(HEX_FIRST_COL) ? 0 : static_cast<u32>(Column) - HEX_FIRST_COL;
  cell -= cell / groupCells;
  const u32 item = cell / itemCells;
  if (item * ItemSize < BytesPerRow && !IsTextColumn(Column)) {
    return static_cast<u32>(GetAddrInItem(u64{item} * ItemSize, cell % itemCells / 2));
  }
  const u32 textCol = GetTextCol();
  const u32 column = static_cast<u32>(Column);
  return column < textCol ? 0 : std::min(column - textCol, BytesPerRow - 1);
}

// The same way as above, but for the byte: only the place in the item counts.
u8 HexGeometry::ColumnToNibble(i32 Column) const {
  if (Column < static_cast<i32>(HEX_FIRST_COL) ||
      Column >= static_cast<i32>(HEX_FIRST_COL + GetHexWidth())) {
    return 1;
  }
  const u32 itemCells = 2 * ItemSize + 1;
  const u32 groupCells = GroupSize / ItemSize * itemCells + 1;
  u32 cell = static_cast<u32>(Column) - HEX_FIRST_COL;
  cell -= cell / groupCells;
  const u32 place = cell % itemCells;
  return place == 2 * ItemSize ? 1 : static_cast<u8>(place % 2);
}

// Each group that lies in front adds one blank to those of the items.
u32 HexGeometry::OffsetToColumn(u32 Offset, u8 Nibble) const {
  return HEX_FIRST_COL + Offset / GroupSize + Offset / ItemSize * (2 * ItemSize + 1) +
         2 * GetPlaceInItem(Offset) + Nibble;
}
