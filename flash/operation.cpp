#include "flash/operation.h"

#include <algorithm>
#include <array>
#include <cstdarg>

#include "flash/connect_internal.h"
#include "flash/driver.h"
#include "flash/link.h"
#include "project/settings.h"
#include "sys/thread.h"

namespace {

constexpr u32 kSleepSliceMs = 20;

// Operations that are open within each other. Application thread only.
u32 Depth;

// Errors that say what happened on the bus, but not why: the board may have lost its power, or the
// cable may be out.
bool IsOfBus(APP_CAUSE Cause) {
  switch (Cause) {
    case APP_CAUSE::DriverLibrary:
    case APP_CAUSE::Timeout:
    case APP_CAUSE::EraseFailed:
    case APP_CAUSE::ProgramFailed:
    case APP_CAUSE::ReadFailed:
    case APP_CAUSE::VerifyDiffers:
    case APP_CAUSE::NotBlank:
      return true;
    default:
      return false;
  }
}

}  // namespace

Operation::Operation(const char* sFormat, ...) {
  std::array<char, 256> acText{};
  va_list args;
  va_start(args, sFormat);
  UTIL_vsnprintf64(acText.data(), acText.size(), sFormat, args);
  va_end(args);
  APP_LogBegin(acText.data());
  ++Depth;
}

// What goes wrong on the way out belongs to the operation, so its section closes last.
Operation::~Operation() {
  APP_CloseProgress(&m_pProgress);
  if (--Depth == 0) {
    End();
  }
  APP_LogEnd();
}

void Operation::End() {
  if (!HasFailed()) {
    if (SETUP_GetAutoDisconnect() != 0) {
      FLASH_Disconnect();
    }
    return;
  }
  if (FLASH_IsConnected()) {
    if (IsOfBus(APP_GetOutcome().Cause())) {
      LINK_TellWhy();
    }
    FLASH_Disconnect();
  }
}

FLASH_CHIP* Operation::Connect(const char* sFailed) {
  if (FLASH_Connect() != 0) {
    APP_LogError(APP_IsOperationCanceled() ? APP_CAUSE::Canceled : APP_CAUSE::NoChip, sFailed);
    return nullptr;
  }
  return CONNECT_GetChip();
}

PROGRESS_INFO* Operation::StartProgress(const char* sText) {
  APP_CloseProgress(&m_pProgress);
  m_pProgress = APP_CreateProgress(sText);
  return m_pProgress;
}

void FLASH_SleepAlive(u32 Ms) {
  while (Ms != 0 && APP_IsOperationAlive() != 0) {
    const u32 slice = std::min(Ms, kSleepSliceMs);
    SYS_Sleep(slice);
    Ms -= slice;
  }
}
