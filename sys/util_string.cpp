#include "sys/util_string.h"

#include <algorithm>
#include <cstring>

namespace {

constexpr char kCaseBit = 0x20;

char FoldLower(char c) {
  return c >= 'A' && c <= 'Z' ? static_cast<char>(c | kCaseBit) : c;
}

char FoldUpper(char c) {
  return c >= 'a' && c <= 'z' ? static_cast<char>(c & ~kCaseBit) : c;
}

// Copies SrcLen bytes or as many as fit, and terminates. DestSize is not 0.
void CopyCut(char* pDest, const char* sSrc, std::size_t SrcLen, u32 DestSize) {
  const std::size_t n = SrcLen < DestSize ? SrcLen : UTIL_CutUtf8(sSrc, DestSize - 1);
  std::memmove(pDest, sSrc, n);
  pDest[n] = '\0';
}

// Bytes that a UTF-8 character has by its first; 1 for anything that is none.
u32 Utf8Length(u8 First) {
  if (First >= 0xF0 && First < 0xF8) {
    return 4;
  }
  if (First >= 0xE0 && First < 0xF0) {
    return 3;
  }
  return First >= 0xC0 && First < 0xE0 ? 2 : 1;
}

}  // namespace

i32 UTIL_strlen(const char* s) {
  return static_cast<i32>(std::strlen(s));
}

i32 UTIL_strcpy(char* pDest, const char* sSrc, u32 DestSize) {
  if (pDest == nullptr || sSrc == nullptr || DestSize == 0) {
    return -1;
  }
  const std::size_t len = std::strlen(sSrc);
  CopyCut(pDest, sSrc, len, DestSize);
  return static_cast<i32>(len) + 1;
}

i32 UTIL_strcat(char* pDest, const char* sSrc, u32 DestSize) {
  if (pDest == nullptr || sSrc == nullptr || DestSize == 0) {
    return -1;
  }
  const u32 used = static_cast<u32>(strnlen(pDest, DestSize));
  const std::size_t len = std::strlen(sSrc);
  if (used < DestSize) {
    CopyCut(pDest + used, sSrc, len, DestSize - used);
  }
  return static_cast<i32>(used + len) + 1;
}

i32 UTIL_strcpyN(char* pDest, const char* sSrc, u32 NumChars, u32 DestSize) {
  if (pDest == nullptr || sSrc == nullptr || DestSize == 0) {
    return -1;
  }
  const std::size_t len = strnlen(sSrc, NumChars);
  CopyCut(pDest, sSrc, len, DestSize);
  return static_cast<i32>(len) + 1;
}

int UTIL_stricmp(const char* a, const char* b) {
  return UTIL_strnicmp(a, b, ~u32{0});
}

int UTIL_strnicmp(const char* a, const char* b, u32 n) {
  for (u32 i = 0; i < n; ++i) {
    const u8 x = static_cast<u8>(FoldLower(a[i]));
    const u8 y = static_cast<u8>(FoldLower(b[i]));
    if (x != y) {
      return x < y ? -1 : 1;
    }
    if (x == 0) {
      break;
    }
  }
  return 0;
}

i32 UTIL_strchr(const char* s, char c) {
  const char* const pFound = c != '\0' ? std::strchr(s, c) : nullptr;
  return pFound != nullptr ? static_cast<i32>(pFound - s) : -1;
}

void UTIL_ReplaceChar(char* s, char From, char To) {
  std::replace(s, s + std::strlen(s), From, To);
}

void UTIL_ToLower(char* s) {
  std::transform(s, s + std::strlen(s), s, FoldLower);
}

void UTIL_ToUpper(char* s) {
  std::transform(s, s + std::strlen(s), s, FoldUpper);
}

int UTIL_IsAllDigits(const char* s) {
  return s[std::strspn(s, "0123456789")] == '\0' ? 1 : 0;
}

int UTIL_IsSpace(char c) {
  return c == ' ' || c == '\t' || c == '\n' || c == '\r' ? 1 : 0;
}

void UTIL_SkipSpaces(const char** ppText) {
  while (UTIL_IsSpace(**ppText) != 0) {
    ++*ppText;
  }
}

u32 UTIL_CutUtf8(const char* s, u32 NumBytes) {
  // The last character begins at most three bytes ahead of its end.
  for (u32 back = 1; back <= 4 && back <= NumBytes; ++back) {
    const u8 byte = static_cast<u8>(s[NumBytes - back]);
    if ((byte & 0xC0) != 0x80) {
      return Utf8Length(byte) > back ? NumBytes - back : NumBytes;
    }
  }
  return NumBytes;
}
