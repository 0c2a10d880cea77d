#pragma once

#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "sys/types.h"

// What the hex editor puts on the clipboard, without a window.

// How much of the first and the last of the copied rows lies outside the selection, in bytes.
struct HEX_CUT {
  u32 NumBefore;  // of the first row, in front of the selection
  u32 NumBehind;  // of the last row, behind it
};

// Cuts rows of items, none with a blank at its end, and joins them with line feeds. The cut counts
// a wider gap after every 8 bytes, whatever the rows were grouped by.
std::string HEX_MakeItemsText(std::vector<std::string> Rows, u32 ItemSize, const HEX_CUT& Cut);
// The same for rows of characters, which follow each other without a line end.
std::string HEX_MakeCharsText(const std::vector<std::string>& Rows, const HEX_CUT& Cut);
// "0x12, 0x34" by items of 1, 2 or 4 bytes, low byte first, with a line end instead of the comma
// behind every row of BytesPerRow. A rest shorter than an item is dropped.
std::string HEX_MakeInitializer(std::span<const u8> Data, u32 ItemSize, u32 BytesPerRow);
