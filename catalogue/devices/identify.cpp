#include <cstring>

#include "catalogue/devices/device_table.h"

namespace {

constexpr u8 kContinuationCode = 0x7F;

bool MatchesBytes(const FLASH_ID_MATCH& match, const u8* pIdBytes, u32 numIdBytes) {
  const u32 n = match.NumBytes < numIdBytes ? match.NumBytes : numIdBytes;
  for (u32 i = 0; i < n; ++i) {
    if (((pIdBytes[i] ^ match.pBytes[i]) & match.pMask[i]) != 0) {
      return false;
    }
  }
  return true;
}

bool Matches(const FLASH_DEVICE& row, u32 id, const u8* pIdBytes, u32 numIdBytes) {
  if (row.sVendor == nullptr) {
    return false;
  }
  if (row.pIdMatch != nullptr) {
    return MatchesBytes(*row.pIdMatch, pIdBytes, numIdBytes);
  }
  const u32 mask = row.Ignore2ndIdByte() ? 0xFF00FF : 0xFFFFFF;
  return ((id ^ row.IdWord) & mask) == 0;
}

}  // namespace

i32 FLASH_IdentifyDevice(u32 Id, const u8* pIdBytes, u32 NumIdBytes) {
  return FLASH_IdentifyNextDevice(-1, Id, pIdBytes, NumIdBytes);
}

i32 FLASH_IdentifyNextDevice(i32 After, u32 Id, const u8* pIdBytes, u32 NumIdBytes) {
  const u32 numIdBytes = pIdBytes != nullptr ? NumIdBytes : 0;
  FLASH_DEVICE row;
  for (u32 i = static_cast<u32>(After + 1); FLASH_GetDeviceRow(i, &row) == 0; ++i) {
    if (Matches(row, Id, pIdBytes, numIdBytes)) {
      return static_cast<i32>(i);
    }
  }
  return -1;
}

void SPI_StripIdBytes(const u8* pSrc, u32 NumSrc, u8* pDest, u32 NumDest) {
  if (pDest == nullptr) {
    return;
  }
  std::memset(pDest, 0, NumDest);
  u32 pos = 0;
  for (u32 i = 0; pSrc != nullptr && i < NumSrc && pos < NumDest; ++i) {
    if (pSrc[i] != kContinuationCode) {
      pDest[pos++] = pSrc[i];
    }
  }
}
