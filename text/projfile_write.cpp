#include <array>

#include "sys/util_format.h"
#include "sys/util_number.h"
#include "text/projfile.h"
#include "text/projfile_store.h"

namespace {

void WriteLine(const char* pSection, const char* pKey, const std::string& Value,
               const std::string& Count = {}) {
  ProjAccess access;
  ProjStore* const pStore = access.GetOpen();
  if (pStore == nullptr || pKey == nullptr) {
    return;
  }
  if (!pStore->Content) {
    pStore->Content.emplace();
  }
  const bool isAdded =
      pStore->Content->WriteKey(pSection, pKey, std::string("  ") + pKey + Count + " = " + Value);
  pStore->NumChanges += isAdded ? 2 : 1;
}

std::string FormatHex(u32 Value, int NumDigits) {
  std::array<char, 16> acText{};
  UTIL_snprintf(acText.data(), acText.size(), "0x%0*X", NumDigits, Value);
  return acText.data();
}

std::string FormatDec(u32 Value) {
  return std::to_string(static_cast<i32>(Value));
}

std::string FormatHexByte(u32 Value) {
  return {'0', 'x', UTIL_HexChar(Value >> 4, 0), UTIL_HexChar(Value, 0)};
}

template <class FORMAT>
void WriteArray(const char* pSection, const char* pKey, const u8* pData, u32 NumBytes,
                const FORMAT& Format) {
  if (pData == nullptr || NumBytes == 0) {
    return;
  }
  std::string value;
  value.reserve(std::size_t{NumBytes} * 5);
  for (u32 i = 0; i < NumBytes; ++i) {
    value += i != 0 ? "," : "";
    value += Format(pData[i]);
  }
  WriteLine(pSection, pKey, value, "[" + FormatDec(NumBytes) + "]");
}

}  // namespace

void PROJFILE_WriteDec(const char* pSection, const char* pKey, u32 Value) {
  WriteLine(pSection, pKey, FormatDec(Value));
}

void PROJFILE_WriteString(const char* pSection, const char* pKey, const char* pValue) {
  if (pValue != nullptr) {
    WriteLine(pSection, pKey, std::string("\"") + pValue + "\"");
  }
}

void PROJFILE_WriteHex32(const char* pSection, const char* pKey, u32 Value) {
  WriteLine(pSection, pKey, FormatHex(Value, 8));
}

void PROJFILE_WriteHex8(const char* pSection, const char* pKey, u32 Value) {
  WriteLine(pSection, pKey, FormatHex(Value, 2));
}

void PROJFILE_WriteDecBytes(const char* pSection, const char* pKey, const u8* pData, u32 NumBytes) {
  WriteArray(pSection, pKey, pData, NumBytes, FormatDec);
}

void PROJFILE_WriteHexBytes(const char* pSection, const char* pKey, const u8* pData, u32 NumBytes) {
  WriteArray(pSection, pKey, pData, NumBytes, FormatHexByte);
}
