#include <algorithm>

#include "app/engine/log.h"
#include "flash/operation.h"
#include "flash/program.h"
#include "flash/spi.h"
#include "flash/verify.h"

// Blocks handed to the library, by list or through fast mode, and the wait for its queue.

// Fast mode calls return as soon as the library has taken the data; their outcome comes with the
// wait. Nothing may be reported as done before that.

namespace {

constexpr u32 kMaxFastBytes = 0x10000;

// Hands a block to a queueing function of the library in pieces. 0 or -1.
template <class F>
int QueueBlock(i32 Function, u32 Addr, u32 NumBytes, const u8* pData) {
  if (SPI_CheckSpan(SPI_Info(), Addr, NumBytes) != 0) {
    return -1;
  }
  auto* pf = VORTIC_GetFunctionAs<F>(Function);
  if (pf == nullptr) {
    return -1;
  }
  for (u32 pos = 0; pos < NumBytes;) {
    const u32 numPiece = std::min(NumBytes - pos, kMaxFastBytes);
    if (pf(Addr + pos, numPiece, pData + pos) < 0) {
      return -1;
    }
    pos += numPiece;
  }
  return 0;
}

}  // namespace

i64 SPI_ProgramPages(u32 Addr, u32 NumBytes, const u8* pData) {
  SPI_RefreshInfo();
  const SPI_FLASH_INFO& info = SPI_Info();
  return info.UseQuadMode != 0 ? SPI_ProgramPagesQuad(&info, Addr, NumBytes, pData)
                               : SPI_ProgramPagesSingle(&info, Addr, NumBytes, pData);
}

int FLASH_ProgramFast(u32 Addr, u32 NumBytes, const u8* pData) {
  return QueueBlock<VORTIC_FAST_PROGRAM>(VORTIC_FUNC_FAST_PROGRAM, Addr, NumBytes, pData);
}

int FLASH_VerifyFast(u32 Addr, u32 NumBytes, const u8* pData) {
  return QueueBlock<VORTIC_FAST_VERIFY>(VORTIC_FUNC_FAST_VERIFY, Addr, NumBytes, pData);
}

int FLASH_WaitFast(u32* pFailAddr) {
  *pFailAddr = 0;
  auto* pf = VORTIC_GetFunctionAs<VORTIC_WAIT>(VORTIC_FUNC_WAIT);
  if (pf == nullptr) {
    return -1;
  }
  for (;;) {
    const int result = pf(pFailAddr);
    if (result <= 0) {
      return result < 0 ? -1 : 0;
    }
    // A library that answers "busy" for ever must not hold the operation.
    if (APP_IsOperationAlive() == 0) {
      return FLASH_WAIT_STOPPED;
    }
  }
}
