#include "text/parse.h"

#include <algorithm>
#include <cstring>

#include "sys/util_format.h"
#include "sys/util_number.h"
#include "sys/util_string.h"

namespace {

// Magnitudes stop growing here, far above every 32-bit limit.
constexpr i64 kMagnitudeCap = i64{1} << 40;

bool HasError(const char* pError) {
  return pError != nullptr && *pError != '\0';
}

bool IsDigit(char c) {
  return c >= '0' && c <= '9';
}

PARSE_CURSOR BehindBlanks(PARSE_CURSOR p) {
  return p + std::strspn(p, " \t");
}

// Passes a sign. True for a minus.
bool TakeSign(PARSE_CURSOR* pCursor) {
  const char c = **pCursor;
  *pCursor += c == '-' || c == '+' ? 1 : 0;
  return c == '-';
}

// Arithmetic wraps at 64 bits.
u64 TakeHexDigits(PARSE_CURSOR* pCursor) {
  u64 value = 0;
  for (int digit = 0; (digit = UTIL_HexDigit(**pCursor)) >= 0; ++*pCursor) {
    value = (value << 4) | static_cast<u32>(digit);
  }
  return value;
}

u64 TakeDecDigits(PARSE_CURSOR* pCursor) {
  u64 value = 0;
  for (; IsDigit(**pCursor); ++*pCursor) {
    value = value * 10 + static_cast<u32>(**pCursor - '0');
  }
  return value;
}

i64 TakeMagnitude(PARSE_CURSOR* pCursor) {
  i64 value = 0;
  for (; IsDigit(**pCursor); ++*pCursor) {
    value = std::min(value * 10 + (**pCursor - '0'), kMagnitudeCap);
  }
  return value;
}

// The caller of the text reader words the message itself; the byte only marks the failure.
void MarkError(char* pError, u32 ErrorSize) {
  if (pError != nullptr && ErrorSize != 0) {
    pError[0] = 1;
    if (ErrorSize > 1) {
      pError[1] = '\0';
    }
  }
}

}  // namespace

void PARSE_SkipBlanks(PARSE_CURSOR* pCursor) {
  *pCursor = BehindBlanks(*pCursor);
}

void PARSE_SkipLine(PARSE_CURSOR* pCursor) {
  *pCursor += std::strcspn(*pCursor, "\r\n");
  *pCursor += std::strspn(*pCursor, "\r\n");
}

void PARSE_ExpectChar(char* pError, u32 ErrorSize, PARSE_CURSOR* pCursor, char Expected) {
  if (HasError(pError)) {
    return;
  }
  if (**pCursor != Expected) {
    UTIL_snprintf(pError, ErrorSize, "Expected '%c', got '%c'", Expected, **pCursor);
    return;
  }
  *pCursor += Expected != '\0' ? 1 : 0;
}

void PARSE_ExpectString(char* pError, u32 ErrorSize, PARSE_CURSOR* pCursor, const char* sExpected) {
  if (HasError(pError)) {
    return;
  }
  const std::size_t len = std::strlen(sExpected);
  if (std::strncmp(*pCursor, sExpected, len) != 0) {
    UTIL_snprintf(pError, ErrorSize, "Expected \"%s\"", sExpected);
    return;
  }
  *pCursor += len;
}

void PARSE_Number64(char* pError, u32 ErrorSize, PARSE_CURSOR* pCursor, i64* pValue, i64 Min,
                    i64 Max) {
  if (HasError(pError)) {
    return;
  }
  PARSE_CURSOR p = BehindBlanks(*pCursor);
  u64 bits = 0;
  if (p[0] == '0' && (p[1] == 'x' || p[1] == 'X')) {
    p += 2;
    bits = TakeHexDigits(&p);
  } else {
    const bool isNegative = TakeSign(&p);
    bits = TakeDecDigits(&p);
    bits = isNegative ? u64{0} - bits : bits;
  }
  const i64 value = static_cast<i64>(bits);
  if (value < Min) {
    UTIL_snprintf64(pError, ErrorSize, "Expected a value >= %lld", static_cast<long long>(Min));
    return;
  }
  if (value > Max) {
    UTIL_snprintf64(pError, ErrorSize, "Expected a value <= %lld", static_cast<long long>(Max));
    return;
  }
  *pValue = value;
  *pCursor = p;
}

void PARSE_DecNumber(char* pError, u32 ErrorSize, PARSE_CURSOR* pCursor, i32* pValue, i32 Min,
                     i32 Max) {
  if (HasError(pError)) {
    return;
  }
  PARSE_CURSOR p = BehindBlanks(*pCursor);
  if (!IsDigit(*p) && *p != '-' && *p != '+') {
    UTIL_strcpy(pError, "Expecting a number", ErrorSize);
    return;
  }
  const bool isNegative = TakeSign(&p);
  const i64 magnitude = TakeMagnitude(&p);
  if (magnitude < Min) {
    UTIL_snprintf(pError, ErrorSize, "Expected a value >= %d", Min);
    return;
  }
  const i64 value = std::min<i64>(magnitude, Max);
  *pValue = static_cast<i32>(isNegative ? -value : value);
  *pCursor = p;
}

void PARSE_QuotedString(char* pError, u32 ErrorSize, PARSE_CURSOR* pCursor, char* pDest,
                        u32 DestSize) {
  if (HasError(pError) || pDest == nullptr || DestSize == 0) {
    return;
  }
  pDest[0] = '\0';
  PARSE_CURSOR p = BehindBlanks(*pCursor);
  if (*p != '"') {
    MarkError(pError, ErrorSize);
    return;
  }
  ++p;
  const std::size_t room = strnlen(p, DestSize - 1);
  const void* const pQuote = std::memchr(p, '"', room);
  const std::size_t len =
      pQuote != nullptr ? static_cast<std::size_t>(static_cast<const char*>(pQuote) - p) : room;
  std::memcpy(pDest, p, len);
  if (p[len] == '"') {
    pDest[len] = '\0';
    *pCursor = p + len + 1;
    return;
  }
  pDest[UTIL_CutUtf8(p, static_cast<u32>(len))] = '\0';
  MarkError(pError, ErrorSize);
}
