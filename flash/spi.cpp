#include "flash/spi.h"

#include <algorithm>
#include <array>
#include <bit>

#include "app/engine/log.h"

namespace {

constexpr u32 kMaxAddrBytes = 4;
constexpr u8 kCmdReadStatus = 0x05;

// A position above 7 can't come from a status byte; the project may hold it all the same.
u32 GetStatusMask(const SPI_FLASH_INFO& info) {
  return 1u << (info.StatusBitPos & 7);
}

}  // namespace

// The records go over the interface as they lie in memory.
static_assert(std::endian::native == std::endian::little);

void SPI_BuildDesc(SPI_CMD_DESC* pDesc, u32 Type, const void* pPara, u32 ParaSize, const u8* pWrite,
                   u8* pRead, u32 NumBits, u32 Flags) {
  *pDesc = {.Type = Type,
            .Reserved = 0,
            .pWrite = pWrite,
            .pRead = pRead,
            .NumBits = NumBits,
            .Flags = Flags,
            .pPara = pPara,
            .ParaSize = ParaSize,
            .Result = -1};
}

// The first record opens the frame with the instruction, the second closes it with the last byte.
int SPI_BuildReadCmd(SPI_CMD_DESC** ppDesc, u32 NumFree, const u8* pCmd, u8* pRead, u32 NumBytes) {
  if (NumFree < 2) {
    return -1;
  }
  SPI_CMD_DESC* pDesc = *ppDesc;
  SPI_BuildDesc(pDesc, SPI_TYPE_TRANSFER, nullptr, 0, pCmd, nullptr, 8, SPI_FLAGS_BEGIN);
  SPI_BuildDesc(pDesc + 1, SPI_TYPE_TRANSFER, nullptr, 0, nullptr, pRead, NumBytes * 8,
                SPI_FLAGS_END);
  *ppDesc += 2;
  return 0;
}

// The bus wants the most significant byte first; bytes beyond the fourth stay 0.
void SPI_StoreAddr(u8* pDest, u32 Addr, u32 NumBytes) {
  for (u32 i = NumBytes; i-- > 0; Addr >>= 8) {
    pDest[i] = static_cast<u8>(Addr);
  }
}

// Asked for at each run: another probe may offer other functions.
int SPI_RunList(SPI_CMD_DESC* pList, u32 NumRecords) {
  auto* pf = VORTIC_GetFunctionAs<VORTIC_RUN_LIST>(VORTIC_FUNC_RUN_LIST);
  return pf != nullptr ? pf(pList, NumRecords) : SPI_NO_LIST;
}

u32 SPI_GetNumAddrBytes(const SPI_FLASH_INFO& info) {
  return std::min<u32>(info.NumAddrBytes, kMaxAddrBytes);
}

// With three bytes a chip of 32 MiB would answer the upper half's addresses with its lower half,
// and a verify of both would pass.
int SPI_CheckSpan(const SPI_FLASH_INFO& info, u64 Addr, u64 NumBytes) {
  const u32 numAddrBytes = SPI_GetNumAddrBytes(info);
  const u64 end = u64{1} << (8 * numAddrBytes);
  if (Addr < end && NumBytes <= end - Addr) {
    return 0;
  }
  APP_LogErrorf(APP_ERROR(APP_CAUSE::DoesNotFit).At(Addr),
                "Address range 0x%lX - 0x%lX can't be reached with %d address bytes.", Addr,
                Addr + NumBytes - 1, numAddrBytes);
  return -1;
}

void SPI_SendFrame(const u8* pData, u32 NumBytes) {
  VORTIC_Transfer(pData, nullptr, NumBytes * 8, SPI_FLAGS_FRAME);
}

void SPI_SendCmd(u8 Cmd) {
  SPI_SendFrame(&Cmd, 1);
}

// The second transfer ends the frame, so that a first one that failed, or one that was refused,
// would leave the chip listening to what comes next.
u8 SPI_ReadRegister(u8 Cmd) {
  u8 value = 0xFF;
  if (!VORTIC_Transfer(&Cmd, nullptr, 8, SPI_FLAGS_BEGIN) ||
      !VORTIC_Transfer(nullptr, &value, 8, SPI_FLAGS_END)) {
    const DRIVER_QUIET quiet;
    VORTIC_DeactivateCS();
    value = 0xFF;
  }
  return value;
}

// Without an answer: all ones, but for a ready bit that means ready, which reads as busy.
u8 SPI_ReadStatus(const SPI_FLASH_INFO& info) {
  const u32 numErrors = DRIVER_GetNumErrors();
  const u8 status = SPI_ReadRegister(info.CmdReadStatus);
  const bool isUnread = DRIVER_GetNumErrors() != numErrors;
  return isUnread && info.StatusIsReadyBit != 0 ? static_cast<u8>(~GetStatusMask(info)) : status;
}

u8 SPI_ReadPlainStatus() {
  return SPI_ReadRegister(kCmdReadStatus);
}

bool SPI_IsReadyStatus(const SPI_FLASH_INFO& info, u8 Status) {
  return ((Status & GetStatusMask(info)) != 0) == (info.StatusIsReadyBit != 0);
}

int SPI_ReadId(u8 Cmd, std::span<u8> Id) {
  std::array<SPI_CMD_DESC, 2> aList{};
  SPI_CMD_DESC* pEnd = aList.data();
  SPI_BuildReadCmd(&pEnd, static_cast<u32>(aList.size()), &Cmd, Id.data(),
                   static_cast<u32>(Id.size()));
  const int result = SPI_RunList(aList.data(), static_cast<u32>(aList.size()));
  if (result == SPI_NO_LIST) {
    APP_LogError(APP_CAUSE::DriverLibrary,
                 "Cannot connect to target flash (API function not found).");
  } else if (result < 0) {
    APP_LogError(APP_CAUSE::LinkLost, "Failed to connect to target flash.");
  }
  return result < 0 ? -1 : 0;
}
