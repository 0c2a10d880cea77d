#include <algorithm>

#include "app/engine/log.h"
#include "flash/link.h"
#include "flash/operation.h"
#include "flash/program.h"
#include "flash/spi.h"
#include "flash/verify.h"
#include "sys/time.h"

// Blocks handed to the library, by list or through fast mode, and the wait for its queue.

// Fast mode calls return as soon as the library has taken the data; their outcome comes with the
// wait. Nothing may be reported as done before that.

namespace {

constexpr u32 kMaxFastBytes = 0x10000;
constexpr u32 kAskProbeEveryMs = 250;
constexpr u32 kMinFastMs = 2000;
constexpr u32 kFastPageMs = 20;

// Hands a block to a queueing function of the library in pieces. 0 or -1.
template <class F>
int QueueBlock(const FLASH_CHIP& Chip, i32 Function, u32 Addr, u32 NumBytes, const u8* pData) {
  if (SPI_CheckSpan(Chip.Info, Addr, NumBytes) != 0) {
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

i64 SPI_ProgramPages(const FLASH_CHIP& Chip, u32 Addr, u32 NumBytes, const u8* pData) {
  return Chip.Info.UseQuadMode != 0 ? SPI_ProgramPagesQuad(Chip, Addr, NumBytes, pData)
                                    : SPI_ProgramPagesSingle(Chip, Addr, NumBytes, pData);
}

int FLASH_ProgramFast(const FLASH_CHIP& Chip, u32 Addr, u32 NumBytes, const u8* pData) {
  return QueueBlock<VORTIC_FAST_PROGRAM>(Chip, VORTIC_FUNC_FAST_PROGRAM, Addr, NumBytes, pData);
}

int FLASH_VerifyFast(const FLASH_CHIP& Chip, u32 Addr, u32 NumBytes, const u8* pData) {
  return QueueBlock<VORTIC_FAST_VERIFY>(Chip, VORTIC_FUNC_FAST_VERIFY, Addr, NumBytes, pData);
}

// A library that answers "busy" for ever must not hold the operation, nor one whose board has lost
// its power.
int FLASH_WaitFast(u32* pFailAddr, u32 TimeoutMs) {
  *pFailAddr = 0;
  auto* pf = VORTIC_GetFunctionAs<VORTIC_WAIT>(VORTIC_FUNC_WAIT);
  if (pf == nullptr) {
    return -1;
  }
  const u32 startMs = SYS_GetTickMs();
  u32 askedMs = startMs;
  for (;;) {
    const int result = pf(pFailAddr);
    if (result <= 0) {
      return result < 0 ? -1 : 0;
    }
    const u32 now = SYS_GetTickMs();
    if (now - askedMs >= kAskProbeEveryMs) {
      askedMs = now;
      if (LINK_CheckProbe() != 0) {
        return FLASH_WAIT_STOPPED;
      }
    }
    if (now - startMs > TimeoutMs) {
      APP_LogErrorf(APP_CAUSE::Timeout, "The probe is still busy after %u ms.", now - startMs);
      return FLASH_WAIT_STOPPED;
    }
    if (APP_IsOperationAlive() == 0) {
      return FLASH_WAIT_STOPPED;
    }
  }
}

// The time on the bus, and the chip's own for each page, with room for a chip at its worst.
u32 FLASH_GetFastTimeout(const FLASH_CHIP& Chip, u64 NumBytes) {
  const u64 busMs = NumBytes * 8 / std::max(VORTIC_GetSpeed(), 1u);
  const u64 numPages = (NumBytes >> Chip.Info.PageSizeShift) + 1;
  return static_cast<u32>(std::min<u64>(kMinFastMs + 2 * busMs + numPages * kFastPageMs, ~0u));
}
