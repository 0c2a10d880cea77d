#pragma once

#include <memory>
#include <new>

#include "app/engine/frontend.h"
#include "app/engine/log.h"
#include "flash/connect.h"
#include "sys/util_format.h"

// What the operations on the chip share. Internal to this folder.

// Everything that one operation opens, closed in the one right order on every path: progress
// dialog, connection (with AutoDisconnect), log section.
class Operation {
 public:
  [[gnu::format(printf, 2, 3)]] explicit Operation(const char* sFormat, ...) {
    char acText[256];
    va_list args;
    va_start(args, sFormat);
    UTIL_vsnprintf64(acText, sizeof(acText), sFormat, args);
    va_end(args);
    APP_LogBegin(acText);
  }
  ~Operation() {
    APP_CloseProgress(&m_pProgress);
    FLASH_EndOperation();
    APP_LogEnd();
  }
  Operation(const Operation&) = delete;
  Operation& operator=(const Operation&) = delete;

  PROGRESS_INFO* StartProgress(const char* sText) {
    m_pProgress = APP_CreateProgress(sText);
    return m_pProgress;
  }
  PROGRESS_INFO* Progress() const { return m_pProgress; }
  bool IsCanceled() const { return PROGRESS_IsCanceled(m_pProgress) == 1; }

 private:
  PROGRESS_INFO* m_pProgress = nullptr;
};

inline bool HasErrors() {
  return APP_GetErrorCount() != 0;
}

inline const char* Plural(u64 Number) {
  return Number == 1 ? "" : "s";
}

// Null when memory is out.
inline std::unique_ptr<u8[]> AllocBuffer(u64 NumBytes) {
  return std::unique_ptr<u8[]>(new (std::nothrow) u8[NumBytes]);
}

// Progress over a number of bytes that may need more than 32 bits.
class ByteProgress {
 public:
  ByteProgress(PROGRESS_INFO* pProgress, u64 NumBytes)
      : m_pProgress(pProgress), m_Shift(PROGRESS_GetShift(NumBytes)) {
    PROGRESS_SetRange(pProgress, 0, static_cast<u32>(NumBytes >> m_Shift));
    if (m_Shift == 0) {
      PROGRESS_CountBytes(pProgress);
    }
  }
  // The value shows with the next block or Show.
  void Add(u64 NumBytes) { m_NumDone += NumBytes; }
  void Show() { PROGRESS_SetValue(m_pProgress, static_cast<u32>(m_NumDone >> m_Shift)); }
  u64 NumDone() const { return m_NumDone; }

 private:
  PROGRESS_INFO* m_pProgress;
  u32 m_Shift;
  u64 m_NumDone = 0;
};

// The bus takes addresses of 32 bits.
constexpr bool IsSendable(u64 Addr, u64 NumBytes) {
  return Addr <= 0xFFFFFFFF && NumBytes <= 0x100000000 - Addr;
}
