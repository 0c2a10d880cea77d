#include <algorithm>
#include <array>
#include <cstring>

#include "app/engine/log.h"
#include "flash/erase.h"
#include "flash/link.h"
#include "flash/operation.h"
#include "flash/program.h"
#include "flash/spi.h"
#include "sys/util_format.h"
#include "sys/util_number.h"

// The walk over the sectors, and the look whether they are blank.

namespace {

constexpr u8 kBlank = 0xFF;

// For a probe that works off one sector: the chip's own time, and some for the way.
constexpr u32 kFastExtraMs = 2000;

// Application thread; a look at a chip is many blocks.
std::array<u8, SPI_MAX_READ> BlankBuffer;

int ReportEraseFailed(const FLASH_CHIP& Chip, u64 Addr, const char* sReason) {
  const bool isProtected = APP_GetErrorCount() == 0 && FLASH_IsProtected(Chip);
  APP_LogErrorf(APP_ERROR(isProtected ? APP_CAUSE::Protected : APP_CAUSE::EraseFailed).At(Addr),
                "Erasing failed @ address 0x%.8X (%s%s)", static_cast<u32>(Addr), sReason,
                isProtected ? ", protected" : "");
  return -1;
}

// 0, or -1 reported.
int CheckBlank(const FLASH_CHIP& Chip, u64 Addr, u32 NumBytes) {
  // A read that delivers nothing must not look like a blank chip.
  std::memset(BlankBuffer.data(), 0, NumBytes);
  if (SPI_ReadData(Chip.Info, static_cast<u32>(Addr), NumBytes, BlankBuffer.data()) != 0) {
    APP_LogErrorf(APP_ERROR(APP_CAUSE::ReadFailed).At(Addr),
                  "Failed to read memory (0x%.2X bytes @ address 0x%.8lX)", NumBytes, Addr);
    return -1;
  }
  if (UTIL_IsFilled(BlankBuffer.data(), kBlank, NumBytes)) {
    return 0;
  }
  const auto it = std::find_if(BlankBuffer.begin(), BlankBuffer.begin() + NumBytes,
                               [](u8 b) { return b != kBlank; });
  const u64 addr = Addr + static_cast<u64>(it - BlankBuffer.begin());
  const bool isProtected = FLASH_IsProtected(Chip);
  APP_LogErrorf(APP_ERROR(isProtected ? APP_CAUSE::Protected : APP_CAUSE::NotBlank)
                    .At(addr)
                    .Differs(kBlank, *it),
                "Erasing failed @ address 0x%.8lX (Read: 0x%.2X, Expected: 0xFF%s)", addr, *it,
                isProtected ? ", protected" : "");
  return -1;
}

// 0, or -1 reported. A cancel ends it without a word.
int CheckBlankRange(const FLASH_CHIP& Chip, u64 Addr, u64 NumBytes, ByteProgress* pDone) {
  while (NumBytes != 0 && Operation::IsAlive()) {
    const u32 numBlock = static_cast<u32>(std::min<u64>(NumBytes, SPI_MAX_READ));
    if (!IsSendable(Addr, numBlock)) {
      return SPI_CheckSpan(Chip.Info, Addr, numBlock);
    }
    if (CheckBlank(Chip, Addr, numBlock) != 0) {
      return -1;
    }
    Addr += numBlock;
    NumBytes -= numBlock;
    if (pDone != nullptr) {
      pDone->Add(numBlock);
      pDone->Show();
    }
  }
  return Operation::HasFailed() ? -1 : 0;
}

// What pRanges has and pProved has not. Null when memory is out.
MEMAREA_PTR Subtract(MEMAREA* pRanges, MEMAREA* pProved) {
  MEMAREA_PTR pRest(MEMAREA_Create());
  if (pRest == nullptr) {
    return nullptr;
  }
  const u32 numRanges = MEMAREA_GetNumRanges(pRanges);
  for (u32 i = 0; i < numRanges; ++i) {
    u64 addr = 0;
    u64 numBytes = 0;
    MEMAREA_GetRange(pRanges, i, &addr, &numBytes);
    if (MEMAREA_AddRange(pRest.get(), addr, numBytes, nullptr) != 0) {
      return nullptr;
    }
  }
  const u32 numProved = pProved != nullptr ? MEMAREA_GetNumRanges(pProved) : 0;
  for (u32 i = 0; i < numProved; ++i) {
    u64 addr = 0;
    u64 numBytes = 0;
    MEMAREA_GetRange(pProved, i, &addr, &numBytes);
    if (numBytes != 0) {
      MEMAREA_RemoveRange(pRest.get(), addr, addr + numBytes - 1);
    }
  }
  return pRest;
}

// The walk over the sectors of one map. Where the latch guards the work it is set on entry and on
// leaving, and each sector shows that the chip was there.
class SectorWalk {
 public:
  SectorWalk(const FLASH_CHIP& Chip, std::span<const u8> Map, u32 NumSelected,
             PROGRESS_INFO* pProgress)
      : m_Chip(Chip),
        m_Map(Map.first(std::min<std::size_t>(Map.size(), Chip.Sectors.NumSectors))),
        m_NumSelected(NumSelected),
        m_pProgress(pProgress) {}

  void Run() {
    for (u32 i = 0; i < m_Map.size() && Operation::IsAlive(); ++i) {
      if (m_Map[i] == 0) {
        i = SkipUnselected(i) - 1;
        continue;
      }
      EraseOne(i);
      m_Next = i + 1;
    }
    if (!Operation::HasFailed() && Operation::IsCanceled()) {
      APP_LogErrorf(APP_ERROR(APP_CAUSE::Canceled).At(m_Chip.Sectors.GetAddr(m_Next)),
                    "Sector erase canceled on sector %u", m_Next);
    }
  }

 private:
  // Index of the next selected sector, or the number of sectors.
  u32 SkipUnselected(u32 Index) const {
    while (Index < m_Map.size() && m_Map[Index] == 0) {
      ++Index;
    }
    return Index;
  }

  void EraseOne(u32 Index) {
    const u64 addr = m_Chip.Sectors.GetAddr(Index);
    const u64 size = m_Chip.Sectors.GetSectorSize();
    ++m_NumErased;
    std::array<char, 128> acText{};
    UTIL_snprintf64(acText.data(), acText.size(), "Sector %u of %u selected (0x%lX)", m_NumErased,
                    m_NumSelected, addr);
    PROGRESS_SetSubText(m_pProgress, acText.data());
    if (SPI_CheckSpan(m_Chip.Info, addr, size) != 0) {
      return;
    }
    const u32 addr32 = static_cast<u32>(addr);
    const bool isDone =
        m_Chip.HasFastMode ? EraseFast(addr32, static_cast<u32>(size)) : EraseSector(addr32);
    if (isDone && LINK_CheckId(m_Chip) == 0) {
      APP_Touched().NumErased += size;
      PROGRESS_SetValue(m_pProgress, m_NumErased);
    }
  }

  // Write enable, instruction and address, then the wait. A chip that is ready at the first look
  // may never have begun: then the sector itself is asked. False: failed or cancelled.
  bool EraseSector(u32 Addr) {
    const SPI_FLASH_INFO& info = m_Chip.Info;
    SPI_SendCmd(info.CmdWriteEnable);
    if (info.SendInitCommands != 0) {
      SPI_SendCmd(info.CmdInitErase);
    }
    std::array<u8, 5> aFrame{info.CmdEraseSector};
    const u32 numAddrBytes = SPI_GetNumAddrBytes(info);
    SPI_StoreAddr(&aFrame[1], Addr, numAddrBytes);
    SPI_SendFrame(aFrame.data(), 1 + numAddrBytes);
    bool wasBusy = false;
    const WaitResult result = LINK_WaitReady(m_Chip, m_Chip.TimeoutEraseSectorMs, &wasBusy);
    if (result != WaitResult::Ready) {
      if (result == WaitResult::TimedOut || Operation::HasFailed()) {
        APP_LogErrorf(APP_ERROR(APP_CAUSE::Timeout).At(Addr),
                      "Erasing failed @ address 0x%.8X (%s)", Addr,
                      result == WaitResult::TimedOut ? "timeout occurred" : "unspecified error");
      }
      return false;
    }
    if (const char* sFault = LINK_FindStatusFault(m_Chip, SPI_ReadStatus(info))) {
      return ReportEraseFailed(m_Chip, Addr, sFault) == 0;
    }
    return wasBusy || CheckBlankRange(m_Chip, Addr, m_Chip.Sectors.GetSectorSize(), nullptr) == 0;
  }

  // The library erases on its own; its outcome is waited for sector by sector, so that progress and
  // Cancel are true.
  bool EraseFast(u32 Addr, u32 Size) {
    auto* pf = VORTIC_GetFunctionAs<VORTIC_FAST_ERASE>(VORTIC_FUNC_FAST_ERASE);
    u32 failAddr = Addr;
    int result = pf != nullptr ? pf(Addr, Size) : -1;
    if (result >= 0) {
      result = FLASH_WaitFast(&failAddr, m_Chip.TimeoutEraseSectorMs + kFastExtraMs);
    }
    if (result < 0 && result != FLASH_WAIT_STOPPED && !Operation::HasFailed()) {
      const bool isProtected = FLASH_IsProtected(m_Chip);
      APP_LogErrorf(
          APP_ERROR(isProtected ? APP_CAUSE::Protected : APP_CAUSE::EraseFailed).At(failAddr),
          "Erase failed @ address 0x%.8X%s", failAddr, isProtected ? " (protected)" : "");
    }
    return result >= 0;
  }

  const FLASH_CHIP& m_Chip;
  const std::span<const u8> m_Map;
  const u32 m_NumSelected;
  PROGRESS_INFO* m_pProgress;
  u32 m_NumErased = 0;
  u32 m_Next = 0;
};

}  // namespace

int FLASH_VerifyBlank(const FLASH_CHIP& Chip, MEMAREA* pRanges, MEMAREA* pProved,
                      PROGRESS_INFO* pProgress) {
  const MEMAREA_PTR pRest = Subtract(pRanges, pProved);
  if (pRest == nullptr) {
    APP_LogError(APP_CAUSE::OutOfMemory, "Could not look at the erased sectors, out of memory.");
    return -1;
  }
  const u32 numRanges = MEMAREA_GetNumRanges(pRest.get());
  if (numRanges == 0) {
    return 0;
  }
  LinkGuard guard(Chip);
  if (guard.Begin() != 0) {
    return -1;
  }
  PROGRESS_SetText(pProgress, "Reading erased sectors ...");
  ByteProgress done(pProgress, MEMAREA_GetNumBytes(pRest.get()));
  for (u32 i = 0; i < numRanges && Operation::IsAlive(); ++i) {
    u64 addr = 0;
    u64 numBytes = 0;
    MEMAREA_GetRange(pRest.get(), i, &addr, &numBytes);
    if (CheckBlankRange(Chip, addr, numBytes, &done) != 0) {
      return -1;
    }
  }
  return guard.End();
}

void FLASH_EraseSectorMap(FLASH_CHIP* pChip, std::span<const u8> Map, u32 NumSelected,
                          PROGRESS_INFO* pProgress) {
  PROGRESS_SetRange(pProgress, 0, NumSelected);
  if (Operation::HasFailed() ||
      std::all_of(Map.begin(), Map.end(), [](u8 IsSelected) { return IsSelected == 0; })) {
    return;
  }
  if (LINK_PrepareWrite(pChip) == 0) {
    SectorWalk(*pChip, Map, NumSelected, pProgress).Run();
  }
}
