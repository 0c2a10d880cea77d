#pragma once

#include "sys/types.h"

struct SYS_TIME {
  u16 Year, Month, Day, Hour, Minute, Second, Millisecond;
  bool operator==(const SYS_TIME&) const = default;
};

// Milliseconds since the first call in the process; wraps.
u32 SYS_GetTickMs();
// Nanoseconds since the first call in the process.
u64 SYS_GetPerfTicks();
// Microseconds since StartTicks, a value of SYS_GetPerfTicks.
u64 SYS_GetElapsedUs(u64 StartTicks);
// Null is allowed.
void SYS_GetLocalTime(SYS_TIME* pTime);

// Where the clock and the sleeps of this layer come from. Tests replace it, so that no test waits
// and none depends on time. Both functions may be called from any thread.
struct SYS_TIME_SOURCE {
  u64 (*pfNowNs)();
  void (*pfSleepMs)(u32 Ms);
};
// Null restores the platform's clock.
void SYS_SetTimeSource(const SYS_TIME_SOURCE* pSource);
