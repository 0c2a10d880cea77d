#include "sys/util_number.h"

#include <algorithm>
#include <bit>
#include <cstring>

#include "sys/util_string.h"

namespace {

bool HasHexPrefix(const char* s) {
  return s[0] == '0' && (s[1] == 'x' || s[1] == 'X');
}

// Reads digits of the base up to the first other character. False without any.
bool ReadDigits(const char** ppText, u32 Base, u64* pValue) {
  const char* const pStart = *ppText;
  u64 value = 0;
  for (;; ++*ppText) {
    const int digit = UTIL_HexDigit(**ppText);
    if (digit < 0 || static_cast<u32>(digit) >= Base) {
      break;
    }
    value = value * Base + static_cast<u32>(digit);
  }
  *pValue = value;
  return *ppText != pStart;
}

int ParseSigned(const char** ppText, bool IsHex, u64* pValue) {
  const char* s = *ppText;
  UTIL_SkipSpaces(&s);
  const bool isNegative = *s == '-';
  if (isNegative) {
    ++s;
  }
  if (HasHexPrefix(s)) {
    s += 2;
    IsHex = true;
  }
  u64 value = 0;
  if (!ReadDigits(&s, IsHex ? 16 : 10, &value)) {
    return -1;
  }
  *pValue = isNegative ? u64{0} - value : value;
  *ppText = s;
  return 0;
}

int ParseSigned32(const char** ppText, bool IsHex, u32* pValue) {
  u64 value = 0;
  if (ParseSigned(ppText, IsHex, &value) != 0) {
    return -1;
  }
  *pValue = static_cast<u32>(value);
  return 0;
}

u64 LoadWord(const u8* p) {
  u64 word = 0;
  std::memcpy(&word, p, sizeof(word));
  return word;
}

}  // namespace

int UTIL_ParseHex32(const char** ppText, u32* pValue) {
  return ParseSigned32(ppText, true, pValue);
}

int UTIL_ParseHex64(const char** ppText, u64* pValue) {
  return ParseSigned(ppText, true, pValue);
}

int UTIL_ParseNumber32(const char** ppText, u32* pValue) {
  return ParseSigned32(ppText, false, pValue);
}

int UTIL_ParseU32(const char* sText, u32* pValue) {
  const bool isHex = HasHexPrefix(sText);
  const char* s = isHex ? sText + 2 : sText;
  u64 value = 0;
  if (!ReadDigits(&s, isHex ? 16 : 10, &value)) {
    return -1;
  }
  *pValue = static_cast<u32>(value);
  return 0;
}

int UTIL_HexDigit(char c) {
  if (c >= '0' && c <= '9') {
    return c - '0';
  }
  const char lower = static_cast<char>(c | 0x20);
  return lower >= 'a' && lower <= 'f' ? lower - 'a' + 10 : -1;
}

char UTIL_HexChar(u32 Value, u32 Lower) {
  return ((Lower & 1) != 0 ? "0123456789abcdef" : "0123456789ABCDEF")[Value & 15];
}

u16 UTIL_LoadU16(const u8* p, bool IsBigEndian) {
  return static_cast<u16>(IsBigEndian ? (p[0] << 8) | p[1] : (p[1] << 8) | p[0]);
}

u32 UTIL_LoadU32(const u8* p, bool IsBigEndian) {
  const u32 first = UTIL_LoadU16(p, IsBigEndian);
  const u32 second = UTIL_LoadU16(p + 2, IsBigEndian);
  return IsBigEndian ? (first << 16) | second : (second << 16) | first;
}

void UTIL_StoreU32(u8* p, u32 Value, bool IsBigEndian) {
  for (u32 i = 0; i < 4; ++i) {
    p[IsBigEndian ? 3 - i : i] = static_cast<u8>(Value >> (8 * i));
  }
}

void UTIL_StoreU32LE(u8* p, u32 Value) {
  UTIL_StoreU32(p, Value, false);
}

u32 UTIL_ReadBits32(const u8* p, u32 BitOffset) {
  p += BitOffset / 8;
  const u32 shift = BitOffset % 8;
  const u32 low = UTIL_LoadU32(p, false) >> shift;
  // The fifth byte is looked at only when bits of it are wanted.
  return shift == 0 ? low : low | (u32{p[4]} << (32 - shift));
}

u32 UTIL_CountBits(u32 Value) {
  return static_cast<u32>(std::popcount(Value));
}

i32 UTIL_Log2(u32 Value) {
  return static_cast<i32>(std::bit_width(Value)) - 1;
}

bool UTIL_IsFilled(const void* p, u8 Byte, u64 n) {
  // Each byte equal to the one ahead of it, and the first as wanted: the library compares by
  // blocks.
  const u8* const pBytes = static_cast<const u8*>(p);
  return n == 0 || (pBytes[0] == Byte && std::memcmp(pBytes, pBytes + 1, n - 1) == 0);
}

i64 UTIL_FindDiff(const void* a, const void* b, u64 n) {
  // Whole blocks go by the library; the word loop looks only into the block that differs.
  constexpr u64 kBlockSize = 4096;
  const u8* const pA = static_cast<const u8*>(a);
  const u8* const pB = static_cast<const u8*>(b);
  u64 i = 0;
  while (i < n) {
    const u64 size = std::min(kBlockSize, n - i);
    if (std::memcmp(pA + i, pB + i, size) != 0) {
      break;
    }
    i += size;
  }
  while (n - i >= sizeof(u64) && LoadWord(pA + i) == LoadWord(pB + i)) {
    i += sizeof(u64);
  }
  while (i < n && pA[i] == pB[i]) {
    ++i;
  }
  return i < n ? static_cast<i64>(i) : -1;
}

u64 UTIL_AbsDiff(u64 a, u64 b) {
  return a > b ? a - b : b - a;
}
