#include "ui/hex/clipboard_text.h"

#include <algorithm>

namespace {

constexpr u32 kGapBytes = 8;

// Characters that so many bytes at the end of a row take.
size_t GetItemsLength(u32 NumBytes, u32 ItemSize) {
  return size_t{2} * NumBytes + NumBytes / std::max(ItemSize, 1U) + NumBytes / kGapBytes;
}

// What a row keeps when characters are dropped at both ends.
std::string_view Cut(std::string_view row, size_t numBefore, size_t numBehind) {
  row.remove_prefix(std::min(numBefore, row.size()));
  row.remove_suffix(std::min(numBehind, row.size()));
  return row;
}

}  // namespace

std::string HEX_MakeItemsText(std::vector<std::string> Rows, u32 ItemSize, const HEX_CUT& Cut_) {
  std::string text;
  for (size_t i = 0; i < Rows.size(); ++i) {
    const bool isFirst = i == 0;
    const bool isLast = i + 1 == Rows.size();
    text += Cut(Rows[i], isFirst ? GetItemsLength(Cut_.NumBefore, ItemSize) : 0,
                isLast ? GetItemsLength(Cut_.NumBehind, ItemSize) : 0);
    if (!isLast) {
      text += '\n';
    }
  }
  return text;
}

std::string HEX_MakeCharsText(const std::vector<std::string>& Rows, const HEX_CUT& Cut_) {
  std::string text;
  for (size_t i = 0; i < Rows.size(); ++i) {
    text += Cut(Rows[i], i == 0 ? Cut_.NumBefore : 0, i + 1 == Rows.size() ? Cut_.NumBehind : 0);
  }
  return text;
}

std::string HEX_MakeInitializer(std::span<const u8> Data, u32 ItemSize, u32 BytesPerRow) {
  static const char kDigits[] = "0123456789ABCDEF";
  const size_t itemSize = std::max(ItemSize, 1U);
  const size_t perRow = std::max<size_t>(BytesPerRow / itemSize, 1);
  const size_t numItems = Data.size() / itemSize;
  std::string text;
  text.reserve(numItems * (2 * itemSize + 4));
  for (size_t i = 0; i < numItems; ++i) {
    text += "0x";
    for (size_t byte = itemSize; byte-- > 0;) {
      const u8 value = Data[i * itemSize + byte];
      text += kDigits[value >> 4];
      text += kDigits[value & 15];
    }
    if ((i + 1) % perRow == 0) {
      text += '\n';
    } else if (i + 1 < numItems) {
      text += ", ";
    }
  }
  return text;
}
