#include "programmer/file_header.h"

#include <array>

#include "image/crc.h"
#include "programmer/hooks.h"
#include "sys/time.h"
#include "sys/util_format.h"
#include "sys/util_number.h"

namespace {

constexpr u32 kTextSize = 248;

}  // namespace

int ZELMONT_WriteHeader(DYNBUFFER* pBuffer, const char* sKind, const char* sProductName) {
  SYS_TIME now{};
  ZELMONT_Hooks.pfGetLocalTime(&now);
  std::array<char, kTextSize> acText{};
  UTIL_snprintf(acText.data(), acText.size(),
                "Zelmont %s File V1.0 - Generated %.4d-%.2d-%.2d %.2d:%.2d with %s", sKind,
                now.Year, now.Month, now.Day, now.Hour, now.Minute, sProductName);
  const int result = DYNBUFFER_FillAt(pBuffer, 0, 0, ZELMONT_HEADER_SIZE);
  return result != 0 ? result : DYNBUFFER_WriteAt(pBuffer, 0, acText.data(), acText.size());
}

int ZELMONT_FinishHeader(DYNBUFFER* pBuffer, u32 Number, u32 End) {
  u32 crc = CRC_Calc32(pBuffer->pBuffer, kTextSize, 0);
  crc = CRC_Calc32(pBuffer->pBuffer + ZELMONT_HEADER_SIZE, End - ZELMONT_HEADER_SIZE, crc);
  std::array<u8, ZELMONT_HEADER_SIZE - kTextSize> abFields{};
  UTIL_StoreU32LE(abFields.data(), Number);
  UTIL_StoreU32LE(abFields.data() + 4, crc);
  return DYNBUFFER_WriteAt(pBuffer, kTextSize, abFields.data(), abFields.size());
}
