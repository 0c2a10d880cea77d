#include "ui/log/char_cells.h"

#include <algorithm>
#include <array>

namespace {

struct CODE_RANGE {
  u32 First;
  u32 Last;
};

constexpr std::array<CODE_RANGE, 9> kWide = {{{0x1100, 0x115F},
                                              {0x2E80, 0x303E},
                                              {0x3041, 0xA4CF},
                                              {0xAC00, 0xD7A3},
                                              {0xF900, 0xFAFF},
                                              {0xFE30, 0xFE6F},
                                              {0xFF00, 0xFF60},
                                              {0x1F300, 0x1FAFF},
                                              {0x20000, 0x3FFFD}}};
constexpr std::array<CODE_RANGE, 3> kZero = {{{0x300, 0x36F}, {0x200B, 0x200F}, {0xFE00, 0xFE0F}}};

bool IsIn(u32 code, const CODE_RANGE* pBegin, const CODE_RANGE* pEnd) {
  return std::any_of(pBegin, pEnd,
                     [code](const CODE_RANGE& r) { return code >= r.First && code <= r.Last; });
}

u32 ByteAt(std::string_view Text, u32 pos) {
  return static_cast<u8>(Text[pos]);
}

// By the lead byte alone; 1 for what leads nothing.
u32 LenByLead(u32 lead) {
  if (lead < 0xC2 || lead > 0xF4) {
    return 1;
  }
  return lead < 0xE0 ? 2 : lead < 0xF0 ? 3 : 4;
}

u32 Decode(std::string_view Text, u32 numBytes) {
  u32 code = numBytes == 1 ? ByteAt(Text, 0) : ByteAt(Text, 0) & (0xFFU >> (numBytes + 1));
  for (u32 i = 1; i < numBytes; ++i) {
    code = code << 6 | (ByteAt(Text, i) & 0x3F);
  }
  return code;
}

}  // namespace

u32 LOG_GetCharLen(std::string_view Text) {
  const u32 len = LenByLead(ByteAt(Text, 0));
  if (len == 1 || len > Text.size()) {
    return 1;
  }
  for (u32 i = 1; i < len; ++i) {
    if ((ByteAt(Text, i) & 0xC0) != 0x80) {
      return 1;
    }
  }
  // Too long a form of a shorter one, half a pair, or above the last code point.
  const u32 code = Decode(Text, len);
  const bool isBad = (len == 3 && code < 0x800) || (len == 4 && code < 0x10000) ||
                     code > 0x10FFFF || (code >= 0xD800 && code <= 0xDFFF);
  return isBad ? 1 : len;
}

u32 LOG_GetCharCells(std::string_view Text, u32 NumBytes) {
  if (NumBytes == 1) {
    return 1;
  }
  const u32 code = Decode(Text, NumBytes);
  if (IsIn(code, kZero.data(), kZero.data() + kZero.size())) {
    return 0;
  }
  return IsIn(code, kWide.data(), kWide.data() + kWide.size()) ? 2 : 1;
}

bool LOG_IsAscii(std::string_view Text) {
  u32 all = 0;
  for (const char c : Text) {
    all |= static_cast<u8>(c);
  }
  return all < 0x80;
}

u32 LOG_GetCells(std::string_view Text) {
  u32 cells = 0;
  while (!Text.empty()) {
    const u32 len = LOG_GetCharLen(Text);
    cells += LOG_GetCharCells(Text, len);
    Text.remove_prefix(len);
  }
  return cells;
}

u32 LOG_GetColumnOfCell(std::string_view Text, u32 Cell) {
  u32 col = 0;
  for (u32 cells = 0; col < Text.size();) {
    const std::string_view rest = Text.substr(col);
    const u32 len = LOG_GetCharLen(rest);
    cells += LOG_GetCharCells(rest, len);
    if (cells > Cell) {
      break;
    }
    col += len;
  }
  return col;
}
