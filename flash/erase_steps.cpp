#include <algorithm>
#include <array>
#include <cstring>

#include "app/engine/log.h"
#include "catalogue/catalogue.h"
#include "flash/erase.h"
#include "flash/geometry.h"
#include "flash/operation.h"
#include "flash/program.h"
#include "flash/spi.h"
#include "sys/time.h"
#include "sys/util_format.h"

// Block protection, the wait for the chip, the walk over the sectors.

namespace {

constexpr u32 kMaxTimeoutMs = 0x7FFFFFFF;  // deadlines are compared as signed differences

constexpr u8 kFormatGlobalUnlock = 9;
constexpr u8 kFormatUnlockSequence = 10;
constexpr u8 kCmdGlobalUnlock = 0x98;
constexpr u8 kCmdReadStatus = 0x05;
constexpr u8 kCmdReadFlagStatus = 0x70;

// Status bits that show protection, by StatusRegFormat.
constexpr std::array<u8, 16> kProtectionBits = {0x5C, 0x5C, 0x1C, 0x1C, 0x3C, 0x1C, 0x7C, 0x1C,
                                                0x0C, 0x00, 0x02, 0x1C, 0x1C, 0x1C, 0x1C, 0x1C};

// The format in force: of the table row, else the project's. Negative when the chip was to be
// identified and isn't known.
int GetProtectionFormat() {
  FLASH_DEVICE row{};
  const i32 device = FLASH_GetSelectedDevice();
  if (device >= 0 && FLASH_GetDeviceRow(static_cast<u32>(device), &row) == 0) {
    return static_cast<int>(row.StatusRegFormat());
  }
  return SPI_Info().AutoDetect != 0 ? -1 : SPI_Info().StatusRegFormat;
}

// A chip whose "busy" is read from the flag status register keeps its protection bits in the plain
// one.
bool IsProtected(u8 Bits) {
  const SPI_FLASH_INFO& info = SPI_Info();
  if ((SPI_ReadStatus(info) & Bits) != 0) {
    return true;
  }
  if (info.CmdReadStatus != kCmdReadFlagStatus) {
    return false;
  }
  u8 status = 0xFF;
  VORTIC_Transfer(&kCmdReadStatus, nullptr, 8, SPI_FLAGS_BEGIN);
  VORTIC_Transfer(nullptr, &status, 8, SPI_FLAGS_END);
  return (status & Bits) != 0;
}

void SendUnprotect(int Format) {
  const SPI_FLASH_INFO& info = SPI_Info();
  if (Format == kFormatUnlockSequence) {
    constexpr std::array<u8, 4> aSequence = {0x3D, 0x2A, 0x7F, 0x9A};
    SPI_SendFrame(aSequence.data(), aSequence.size());
    return;
  }
  SPI_SendCmd(info.CmdWriteEnable);
  const std::array<u8, 2> aFrame = {info.CmdWriteStatus, 0};
  SPI_SendFrame(aFrame.data(), aFrame.size());
}

// Write enable, instruction and address, then the wait. The error is the result.
void EraseSector(const SPI_FLASH_INFO& info, u32 Addr) {
  SPI_SendCmd(info.CmdWriteEnable);
  if (info.SendInitCommands != 0) {
    SPI_SendCmd(info.CmdInitErase);
  }
  std::array<u8, 5> aFrame{info.CmdEraseSector};
  const u32 numAddrBytes = SPI_GetNumAddrBytes(info);
  SPI_StoreAddr(&aFrame[1], Addr, numAddrBytes);
  SPI_SendFrame(aFrame.data(), 1 + numAddrBytes);
  const int result = FLASH_WaitReady(FLASH_State().TimeoutEraseSectorMs);
  if (result != 0) {
    APP_LogErrorf("Erasing failed @ address 0x%.8X (%s)", Addr,
                  result == -1 ? "timeout occurred" : "unspecified error");
  }
}

// The walk over the sectors of one map.
class SectorWalk {
 public:
  SectorWalk(const u8* pMap, u32 NumSectors, u32 NumSelected, PROGRESS_INFO* pProgress)
      : m_pMap(pMap),
        m_Geometry(GEOMETRY_Get()),
        m_NumSectors(std::min(NumSectors, m_Geometry.NumSectors)),
        m_NumSelected(NumSelected),
        m_pProgress(pProgress) {}

  void Run() {
    for (u32 i = 0; i < m_NumSectors && !m_HasFailed && !HasErrors(); ++i) {
      if (PROGRESS_IsCanceled(m_pProgress) == 1) {
        APP_LogErrorf("Sector erase canceled on sector %d", i);
        break;
      }
      if (m_pMap[i] == 0) {
        i = SkipUnselected(i) - 1;
        continue;
      }
      EraseOne(i);
    }
    Finish();
  }

 private:
  // Cancel is looked at once per selected sector.
  // Index of the next selected sector, or the number of sectors.
  u32 SkipUnselected(u32 Index) const {
    while (Index < m_NumSectors && m_pMap[Index] == 0) {
      ++Index;
    }
    return Index;
  }

  void EraseOne(u32 Index) {
    const u64 addr = m_Geometry.GetAddr(Index);
    const u64 size = m_Geometry.GetSectorSize();
    ++m_NumErased;
    std::array<char, 128> acText{};
    UTIL_snprintf64(acText.data(), acText.size(), "Sector %d of %d selected (0x%lX)", m_NumErased,
                    m_NumSelected, addr);
    PROGRESS_SetSubText(m_pProgress, acText.data());
    if (SPI_CheckSpan(SPI_Info(), addr, size) != 0) {
      return;
    }
    if (FLASH_State().FastMode == 0) {
      EraseSector(SPI_Info(), static_cast<u32>(addr));
    } else if (QueueOne(static_cast<u32>(addr), static_cast<u32>(size)) < 0) {
      m_HasFailed = true;
      m_FailAddr = static_cast<u32>(addr);
    }
    PROGRESS_SetValue(m_pProgress, m_NumErased);
  }

  // The library erases later; what it answers now is only whether it took the order.
  int QueueOne(u32 Addr, u32 Size) {
    auto* pf = VORTIC_GetFunctionAs<VORTIC_FAST_ERASE>(VORTIC_FUNC_FAST_ERASE);
    const int result = pf != nullptr ? pf(Addr, Size) : -1;
    m_IsQueued = m_IsQueued || result >= 0;
    return result;
  }

  // The queue's outcome is known only here, so no erase counts as done before.
  void Finish() {
    if (m_IsQueued) {
      u32 failAddr = 0;
      const int result = FLASH_WaitFast(&failAddr);
      if (result < 0 && result != FLASH_WAIT_STOPPED) {
        m_HasFailed = false;
        APP_LogErrorf("Erase failed @ address 0x%.8X", failAddr);
      }
    }
    // A sector that the library refused to queue, without another word.
    if (m_HasFailed && !HasErrors()) {
      APP_LogErrorf("Erase failed @ address 0x%.8X", m_FailAddr);
    }
  }

  const u8* m_pMap;
  const Geometry m_Geometry;
  const u32 m_NumSectors;
  const u32 m_NumSelected;
  PROGRESS_INFO* m_pProgress;
  u32 m_NumErased = 0;
  u32 m_FailAddr = 0;
  bool m_IsQueued = false;
  bool m_HasFailed = false;
};

}  // namespace

// Each poll is a round trip to the probe, which paces the loop by itself; a sleep would only be
// added to the time of each sector.
int FLASH_WaitReady(u32 TimeoutMs) {
  const u32 deadline = SYS_GetTickMs() + std::min(TimeoutMs, kMaxTimeoutMs);
  for (;;) {
    const bool isReady = SPI_IsReady(SPI_Info());
    // On a dead link the byte says nothing, and waiting on would not change that.
    if (HasErrors()) {
      return -2;
    }
    if (isReady) {
      return 0;
    }
    if (static_cast<i32>(deadline - SYS_GetTickMs()) < 0) {
      return -1;
    }
  }
}

// Once per connection, since the bits stay clear. A global unlock is lost with each power cycle of
// the chip, and repeated before every operation.
void FLASH_RemoveBlockProtection() {
  FLASH_CONNECTION& state = FLASH_State();
  if (state.BlockProtectionRemoved != 0) {
    return;
  }
  SPI_RefreshInfo();
  const int format = GetProtectionFormat();
  if (format < 0) {
    return;
  }
  if (format == kFormatGlobalUnlock) {
    SPI_SendCmd(SPI_Info().CmdWriteEnable);
    SPI_SendCmd(kCmdGlobalUnlock);
    return;
  }
  const u8 bits = kProtectionBits[std::min<std::size_t>(static_cast<std::size_t>(format),
                                                        kProtectionBits.size() - 1)];
  if (IsProtected(bits)) {
    SendUnprotect(format);
    if (FLASH_WaitReady(state.TimeoutBlockProtMs) != 0) {
      APP_LogError("Removing block protection bits failed.");
    }
  }
  if (!HasErrors()) {
    state.BlockProtectionRemoved = 1;
  }
}

void FLASH_EraseSectorMap(const u8* pMap, u32 NumSectors, u32 NumSelected,
                          PROGRESS_INFO* pProgress) {
  PROGRESS_SetRange(pProgress, 0, NumSelected);
  if (HasErrors() || NumSectors == 0 ||
      std::all_of(pMap, pMap + NumSectors, [](u8 IsSelected) { return IsSelected == 0; })) {
    return;
  }
  FLASH_RemoveBlockProtection();
  SectorWalk(pMap, NumSectors, NumSelected, pProgress).Run();
}
