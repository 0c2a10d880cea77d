#include "flash/link.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <string>

#include "app/engine/frontend.h"
#include "app/engine/log.h"
#include "flash/connect_internal.h"
#include "flash/erase.h"
#include "flash/spi.h"
#include "sys/time.h"
#include "sys/util_format.h"

namespace {

constexpr u32 kMinTargetMv = 1000;
constexpr u32 kMaxTimeoutMs = 0x7FFFFFFF;  // deadlines are compared as signed differences

constexpr u8 kStatusBusy = 0x01;
constexpr u8 kStatusLatch = 0x02;
constexpr u8 kNoAnswer = 0xFF;

// Error bits of the flag status register, with what they mean.
constexpr u8 kFlagProtected = 0x02;
constexpr u8 kFlagProgramFailed = 0x10;
constexpr u8 kFlagEraseFailed = 0x20;

// A chip that answers nothing for so long is none: no instruction keeps a status byte of all ones
// that long on a chip that works.
constexpr u32 kMaxSilenceMs = 1000;
// Looks without an answer before the probe is asked, and looks between two questions after that.
constexpr u32 kNumSilentLooks = 8;
constexpr u32 kAskProbeEveryMs = 250;

std::string FormatId(const std::array<u8, 3>& id) {
  std::array<char, 16> acText{};
  UTIL_snprintf(acText.data(), acText.size(), "%02X %02X %02X", id[0], id[1], id[2]);
  return acText.data();
}

bool IsNothing(const std::array<u8, 3>& id) {
  return std::all_of(id.begin(), id.end(), [](u8 b) { return b == 0xFF; }) ||
         std::all_of(id.begin(), id.end(), [](u8 b) { return b == 0x00; });
}

// Whether the byte can come from the status register at all. All ones says busy on most parts and
// ready on those with a ready bit of 1, which have bits that are never set together; all zeros is
// impossible only where the density of the part stands in the byte.
bool IsAnswer(const FLASH_CHIP& Chip, u8 Status) {
  const bool hasDensity = Chip.Info.CmdReadStatus == 0xD7;
  return Status != kNoAnswer && !(hasDensity && Status == 0);
}

int ReportNoAnswer(u8 Status) {
  APP_LogErrorf(APP_CAUSE::NoChip, "The chip does not answer (status 0x%.2X).", Status);
  return -1;
}

// Watches the answers of a chip that is waited for.
class SilenceWatch {
 public:
  explicit SilenceWatch(const FLASH_CHIP& Chip) : m_Chip(Chip) {}

  // False: the chip is gone, reported.
  bool Look(u8 Status) {
    const u32 now = SYS_GetTickMs();
    const bool isSilent = !IsAnswer(m_Chip, Status);
    if (!isSilent) {
      m_NumSilent = 0;
    } else if (m_NumSilent++ == 0) {
      m_SilentSinceMs = now;
    }
    // The first question comes soon, so that a board without power doesn't cost a second.
    const bool isDue = m_NumSilent == kNumSilentLooks || now - m_AskedMs >= kAskProbeEveryMs;
    if (isDue) {
      m_AskedMs = now;
      if (LINK_CheckProbe() != 0) {
        return false;
      }
    }
    if (isSilent && now - m_SilentSinceMs >= kMaxSilenceMs) {
      ReportNoAnswer(Status);
      return false;
    }
    return true;
  }

 private:
  const FLASH_CHIP& m_Chip;
  u32 m_NumSilent = 0;
  u32 m_SilentSinceMs = 0;
  u32 m_AskedMs = SYS_GetTickMs();
};

// 0, or -1 reported.
int CheckErrorFlags(const FLASH_CHIP& Chip) {
  if (!Chip.HasFlagStatus()) {
    return 0;
  }
  const u8 flags = SPI_ReadStatus(Chip.Info);
  const char* sFault = LINK_FindStatusFault(Chip, flags);
  if (sFault == nullptr) {
    return 0;
  }
  APP_LogErrorf((flags & kFlagProtected) != 0 ? APP_CAUSE::Protected : APP_CAUSE::ProgramFailed,
                "The chip tells of a failure: %s (flag status 0x%.2X).", sFault, flags);
  return -1;
}

}  // namespace

int LINK_CheckProbe() {
  const u32 numErrors = DRIVER_GetNumErrors();
  u32 millivolts = 0;
  if (VORTIC_GetTargetVoltage(&millivolts) != 0) {
    if (DRIVER_GetNumErrors() == numErrors) {
      APP_LogError(APP_CAUSE::LinkLost, "The probe does not answer.");
    }
    return -1;
  }
  if (millivolts < kMinTargetMv) {
    APP_LogErrorf(APP_CAUSE::NoTargetVoltage, "Target system has no power (%u mV)", millivolts);
    return -1;
  }
  return 0;
}

int LINK_CheckId(const FLASH_CHIP& Chip) {
  if (!Chip.HasId) {
    return 0;
  }
  std::array<u8, SPI_ID_BYTES_VERIFY> aRaw{};
  std::array<u8, SPI_ID_BYTES_VERIFY> aStripped{};
  if (SPI_ReadId(Chip.Info.CmdReadID, aRaw) != 0) {
    return -1;
  }
  SPI_StripIdBytes(aRaw.data(), SPI_ID_BYTES_VERIFY, aStripped.data(), SPI_ID_BYTES_VERIFY);
  std::array<u8, 3> id{};
  std::copy_n(aStripped.begin(), id.size(), id.begin());
  if (id == Chip.abId) {
    return 0;
  }
  if (IsNothing(id)) {
    APP_LogErrorf(APP_CAUSE::NoChip, "The chip does not answer any more (Id: %s, before: %s).",
                  FormatId(id).c_str(), FormatId(Chip.abId).c_str());
  } else {
    APP_LogErrorf(APP_CAUSE::WrongChip,
                  "Another chip answers than the one that was connected (Id: %s, before: %s).",
                  FormatId(id).c_str(), FormatId(Chip.abId).c_str());
  }
  return -1;
}

int LINK_CheckStatus(const FLASH_CHIP& Chip, bool IsLatchSet) {
  const u8 ready = SPI_ReadStatus(Chip.Info);
  if (APP_GetErrorCount() != 0) {
    return -1;
  }
  if (!IsAnswer(Chip, ready)) {
    return ReportNoAnswer(ready);
  }
  if (!SPI_IsReadyStatus(Chip.Info, ready)) {
    APP_LogErrorf(APP_CAUSE::Timeout, "The chip is busy (status 0x%.2X).", ready);
    return -1;
  }
  if (CheckErrorFlags(Chip) != 0) {
    return -1;
  }
  if (!Chip.HasWriteLatch) {
    return 0;
  }
  const u8 plain = Chip.HasFlagStatus() ? SPI_ReadPlainStatus() : ready;
  if ((plain & kStatusBusy) != 0 || plain == kNoAnswer) {
    return ReportNoAnswer(plain);
  }
  if (((plain & kStatusLatch) != 0) != IsLatchSet) {
    APP_LogErrorf(IsLatchSet ? APP_CAUSE::NoTargetVoltage : APP_CAUSE::Protected,
                  IsLatchSet ? "The chip was reset or lost its power in the middle of the work "
                               "(status 0x%.2X)."
                             : "The chip has not carried out the last instruction (status 0x%.2X).",
                  plain);
    return -1;
  }
  return 0;
}

const char* LINK_FindStatusFault(const FLASH_CHIP& Chip, u8 Status) {
  if (!IsAnswer(Chip, Status)) {
    return "the chip does not answer";
  }
  if (Chip.HasFlagStatus()) {
    if ((Status & kFlagProtected) != 0) {
      return "protected";
    }
    if ((Status & kFlagEraseFailed) != 0) {
      return "erase error";
    }
    return (Status & kFlagProgramFailed) != 0 ? "program error" : nullptr;
  }
  // A latch that is still set: the instruction was not carried out.
  return Chip.HasWriteLatch && (Status & kStatusLatch) != 0 ? "not carried out" : nullptr;
}

int LINK_Arm(const FLASH_CHIP& Chip) {
  if (!Chip.HasWriteLatch) {
    return 0;
  }
  SPI_SendCmd(Chip.Info.CmdWriteEnable);
  return LINK_CheckStatus(Chip, true);
}

int LinkGuard::Begin() {
  return LINK_CheckProbe() == 0 && LINK_CheckId(m_Chip) == 0 && LINK_Arm(m_Chip) == 0 ? 0 : -1;
}

int LinkGuard::End() {
  if (LINK_CheckStatus(m_Chip, true) != 0) {
    return -1;
  }
  if (m_Chip.HasWriteLatch) {
    SPI_SendCmd(m_Chip.Info.CmdWriteDisable);
    if (LINK_CheckStatus(m_Chip, false) != 0) {
      return -1;
    }
  }
  return LINK_CheckId(m_Chip) == 0 && LINK_CheckProbe() == 0 ? 0 : -1;
}

// The board may have been reset, or the clip moved, since the chip was reached: what that loses is
// set again.
int LINK_PrepareWrite(FLASH_CHIP* pChip) {
  if (LINK_CheckProbe() != 0 || LINK_CheckId(*pChip) != 0) {
    return -1;
  }
  if (CONNECT_Enter4ByteMode(pChip->Info) != 0) {
    return -1;
  }
  return FLASH_RemoveBlockProtection(pChip);
}

// Each poll is a round trip to the probe, which paces the loop by itself; a sleep would only be
// added to the time of each sector.
WaitResult LINK_WaitReady(const FLASH_CHIP& Chip, u32 TimeoutMs, bool* pWasBusy) {
  const u32 deadline = SYS_GetTickMs() + std::min(TimeoutMs, kMaxTimeoutMs);
  SilenceWatch silence(Chip);
  for (bool isFirst = true;; isFirst = false) {
    const u8 status = SPI_ReadStatus(Chip.Info);
    // On a dead link the byte says nothing, and waiting on would not change that.
    if (APP_IsOperationAlive() == 0) {
      return WaitResult::Stopped;
    }
    const bool isReady = SPI_IsReadyStatus(Chip.Info, status) && IsAnswer(Chip, status);
    if (isFirst && pWasBusy != nullptr) {
      *pWasBusy = !isReady;
    }
    if (isReady) {
      return WaitResult::Ready;
    }
    if (!silence.Look(status)) {
      return WaitResult::Stopped;
    }
    if (static_cast<i32>(deadline - SYS_GetTickMs()) < 0) {
      return WaitResult::TimedOut;
    }
  }
}

bool LINK_IsReadyWithin(const FLASH_CHIP& Chip, u32 TimeoutMs) {
  const u32 deadline = SYS_GetTickMs() + std::min(TimeoutMs, kMaxTimeoutMs);
  u32 numSilent = 0;
  for (;;) {
    const u8 status = SPI_ReadStatus(Chip.Info);
    if (!IsAnswer(Chip, status) && ++numSilent >= kNumSilentLooks) {
      return false;
    }
    if (IsAnswer(Chip, status) && SPI_IsReadyStatus(Chip.Info, status)) {
      return true;
    }
    if (static_cast<i32>(deadline - SYS_GetTickMs()) < 0) {
      return false;
    }
  }
}

void LINK_TellWhy() {
  const DRIVER_QUIET quiet;
  u32 millivolts = 0;
  if (VORTIC_GetTargetVoltage(&millivolts) != 0) {
    APP_LogError(APP_CAUSE::LinkLost, "The probe does not answer any more.");
  } else if (millivolts < kMinTargetMv) {
    APP_LogErrorf(APP_CAUSE::NoTargetVoltage, "Target system has no power (%u mV)", millivolts);
  }
}
