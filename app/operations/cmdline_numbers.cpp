#include "app/operations/cmdline_numbers.h"

#include <string>

#include "app/engine/app_state.h"
#include "app/engine/log.h"
#include "sys/util_number.h"
#include "sys/util_string.h"

namespace {

constexpr u32 kMaxDigits = 16;

// Digits that count, of a number that was read up to pEnd.
u32 CountDigits(const char* sNumber, const char* pEnd) {
  UTIL_SkipSpaces(&sNumber);
  if (*sNumber == '-') {
    ++sNumber;
  }
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
  APP_State().ExitCode = 1;
  APP_LogError(sText);
  return -1;
}

int CMDLINE_ParseHex(const char** ppText, const char* sWhat, u64* pValue) {
  UTIL_SkipSpaces(ppText);
  const char* const sNumber = *ppText;
  if (*sNumber == '-' || UTIL_ParseHex64(ppText, pValue) != 0) {
    return CMDLINE_Fail((std::string(sWhat) + " is missing or not a hexadecimal number").c_str());
  }
  return CMDLINE_CheckDigits(sNumber, *ppText, sWhat);
}

int CMDLINE_CheckDigits(const char* sNumber, const char* pEnd, const char* sWhat) {
  if (CountDigits(sNumber, pEnd) > kMaxDigits) {
    return CMDLINE_Fail((std::string(sWhat) + " has more than 64 bits").c_str());
  }
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
