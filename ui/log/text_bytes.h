#pragma once

#include <algorithm>
#include <string>
#include <string_view>

#include "sys/types.h"

// What single bytes of a log text mean.

constexpr u8 TEXT_ESC = 27;
constexpr u8 TEXT_CSI = 155;
constexpr u8 TEXT_IAC = 255;

inline bool TEXT_IsBreak(char c) {
  return c == '\r' || c == '\n' || c == '\0';
}

// CR LF is one line end, LF CR two.
inline size_t TEXT_GetBreakLength(std::string_view Text) {
  return Text.size() > 1 && Text[0] == '\r' && Text[1] == '\n' ? 2 : 1;
}

inline bool TEXT_IsDigit(char c) {
  return c >= '0' && c <= '9';
}

inline bool TEXT_IsAscii(std::string_view Text) {
  return std::all_of(Text.begin(), Text.end(), [](char c) { return static_cast<u8>(c) < 0x80; });
}

struct TEXT_CHAR {
  char32_t Code;
  u32 NumBytes;
};
// The character of UTF-8 at the start of a text that isn't empty; a byte that begins none stands
// alone, as U+FFFD.
TEXT_CHAR TEXT_DecodeChar(std::string_view Text);

// ESC, or a CSI byte that isn't a part of a character of UTF-8.
bool TEXT_IsSequenceStart(std::string_view Text, size_t i);

std::string TEXT_ExpandTabs(std::string_view Text);
// Bytes of the pairs of IAC and a hexadecimal digit at the start, and the last one's terminal; 0
// when there is none.
size_t TEXT_ParseTerminalChange(std::string_view Text, u32* pTerminal);
