#include "app/operations/cmdline_numbers.h"

#include <string>

#include "app/engine/log.h"
#include "sys/util_number.h"
#include "sys/util_string.h"

namespace {

constexpr u32 kMaxDigits = 16;

// Digits that count, of a number that was read up to pEnd.
u32 CountDigits(const char* sNumber, const char* pEnd) {
  UTIL_SkipSpaces(&sNumber);
  if (pEnd - sNumber > 2 && sNumber[0] == '0' && (sNumber[1] | 0x20) == 'x') {
    sNumber += 2;
  }
  while (sNumber < pEnd && *sNumber == '0') {
    ++sNumber;
  }
  return static_cast<u32>(pEnd - sNumber);
}

}  // namespace

int CMDLINE_Fail(const char* sText) {
  return CMDLINE_Fail(APP_CAUSE::Usage, sText);
}

int CMDLINE_Fail(APP_CAUSE cause, const char* sText) {
  APP_LogError(cause, sText);
  return -1;
}

int CMDLINE_ParseHex(const char** ppText, const char* sWhat, u64* pValue) {
  UTIL_SkipSpaces(ppText);
  const char* const sNumber = *ppText;
  if (*sNumber == '-' || UTIL_ParseHex64(ppText, pValue) != 0) {
    return CMDLINE_Fail((std::string(sWhat) + " is missing or not a hexadecimal number").c_str());
  }
  if (CountDigits(sNumber, *ppText) > kMaxDigits) {
    return CMDLINE_Fail((std::string(sWhat) + " has more than 64 bits").c_str());
  }
  return 0;
}

int CMDLINE_ParseOffset(const char* sText, i64* pOffset) {
  const bool isNegative = *sText == '-';
  sText += isNegative ? 1 : 0;
  u64 magnitude = 0;
  if (CMDLINE_ParseHex(&sText, "The offset", &magnitude) != 0 || CMDLINE_ExpectEnd(sText) != 0) {
    return -1;
  }
  constexpr u64 kLowest = u64{1} << 63;  // without its sign
  if (magnitude > (isNegative ? kLowest : kLowest - 1)) {
    return CMDLINE_Fail("The offset has more than 64 bits");
  }
  *pOffset = static_cast<i64>(isNegative ? 0 - magnitude : magnitude);
  return 0;
}

int CMDLINE_ParseRange(const char* sText, u64* pFirst, u64* pLast) {
  if (CMDLINE_ParseHex(&sText, "Start address", pFirst) != 0) {
    return -1;
  }
  if (!CMDLINE_SkipComma(&sText)) {
    return CMDLINE_Fail("Separator has to be ','");
  }
  return CMDLINE_ParseHex(&sText, "End address", pLast) == 0 ? CMDLINE_ExpectEnd(sText) : -1;
}

int CMDLINE_ExpectEnd(const char* sText, const char* sBehind) {
  UTIL_SkipSpaces(&sText);
  if (*sText == '\0') {
    return 0;
  }
  return CMDLINE_Fail(
      (std::string("Unexpected text behind the ") + sBehind + ": " + sText).c_str());
}

bool CMDLINE_SkipComma(const char** ppText) {
  UTIL_SkipSpaces(ppText);
  if (**ppText != ',') {
    return false;
  }
  ++*ppText;
  return true;
}
