#pragma once

#include "sys/types.h"

// Where things stand in a row of the hex editor, in cells of the fixed pitch font:
//
//   0000_0000  00 11 22 33 44 55 66 77  88 99 AA BB CC DD EE FF  wwwwwwwwwwwwwwww
//   0          11 items                                          TextCol
//
// An item is ItemSize bytes, its highest address on the left unless IsBigEndian is set. A wider gap
// follows after every GroupSize bytes.
constexpr u32 HEX_FIRST_COL = 11;
constexpr u32 HEX_MAX_ROW_TEXT = 2000;

struct HexGeometry {
  u32 NumRows = 0;      // rows on screen, the last one may be cut; 0: nothing to show
  u32 BytesPerRow = 0;  // a power of two; 0: too narrow to show anything
  u32 ItemSize = 1;     // 1, 2 or 4
  u32 GroupSize = 8;
  bool IsBigEndian = false;

  u64 GetBytesPerScreen() const { return u64{NumRows} * BytesPerRow; }
  // Cells of the item area.
  u32 GetHexWidth() const;
  u32 GetTextCol() const { return HEX_FIRST_COL + GetHexWidth() + 2; }
  bool IsTextColumn(i32 Column) const { return Column >= static_cast<i32>(GetTextCol()); }

  // Offset in the row of the byte at a column. Left of the items that is the first byte shown; a
  // column between or behind the areas belongs to the nearest byte of the text column.
  u32 ColumnToOffset(i32 Column) const;
  // 0 for the high digit of a byte, 1 for the low one and for everything outside the items.
  u8 ColumnToNibble(i32 Column) const;
  u32 OffsetToColumn(u32 Offset, u8 Nibble) const;

  // Place of a byte among those of its item as they are shown, from the left.
  u32 GetPlaceInItem(u64 Addr) const;
  // The byte of an item that stands at a place.
  u64 GetAddrInItem(u64 ItemAddr, u32 Place) const;
  u64 GetItemStart(u64 Addr) const { return Addr - Addr % ItemSize; }
};

// Bytes that a row of that many cells has room for, by rule of thumb; 0 when it is too narrow.
u32 HEX_GetBytesPerRow(u32 WidthCells, u32 ItemSize);
// Values other than 1, 2 and 4 count as 1.
u32 HEX_CheckItemSize(u32 ItemSize);
