#pragma once

#include <memory>
#include <new>

#include "app/engine/frontend.h"
#include "app/engine/log.h"
#include "flash/chip.h"
#include "flash/connect.h"
#include "sys/util_format.h"

// What the operations on the chip share. Internal to this folder.

// The runner of one operation: it opens what the operation needs and closes it in the one right
// order on every path. Operations run within each other (program and verify, automatic run); the
// outermost one owns the connection: it disconnects behind a failure, having left the chip as well
// as that can be done, and behind a success when the setting AutoDisconnect says so. What goes
// wrong then is an error of the operation.
class Operation {
 public:
  // Opens the log section. Cut at 255 characters.
  [[gnu::format(printf, 2, 3)]] explicit Operation(const char* sFormat, ...);
  ~Operation();
  Operation(const Operation&) = delete;
  Operation& operator=(const Operation&) = delete;

  // The chip of the connection, which comes up if need be; null, reported with the text as last.
  FLASH_CHIP* Connect(const char* sFailed);
  PROGRESS_INFO* StartProgress(const char* sText);
  PROGRESS_INFO* Progress() const { return m_pProgress; }
  static bool IsCanceled() { return APP_IsOperationCanceled(); }
  // Errors of the outermost operation, this one's included.
  static bool HasFailed() { return APP_GetErrorCount() != 0; }
  // Neither failed nor cancelled: what every long loop asks.
  static bool IsAlive() { return APP_IsOperationAlive() != 0; }

 private:
  static void End();

  PROGRESS_INFO* m_pProgress = nullptr;
};

// Sleeps in slices, and no longer than the operation is alive.
void FLASH_SleepAlive(u32 Ms);

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
