#include "app/engine/worker_timers.h"

#include <algorithm>

#include "sys/memory.h"
#include "sys/thread.h"
#include "sys/time.h"

namespace {

WORKER_TIMER* FirstTimer = nullptr;

void FreeTimer(WORKER_TIMER* pTimer) {
  (pTimer->pPrev != nullptr ? pTimer->pPrev->pNext : FirstTimer) = pTimer->pNext;
  if (pTimer->pNext != nullptr) {
    pTimer->pNext->pPrev = pTimer->pPrev;
  }
  SYS_MEM_Free(pTimer->pData);
  SYS_MEM_Free(pTimer);
}

// The tick wraps, so times are compared by their signed distance.
i32 GetDistanceMs(const WORKER_TIMER* pTimer, u32 NowMs) {
  return static_cast<i32>(pTimer->NextDueMs - NowMs);
}

}  // namespace

u32 TIMERS_Run() {
  for (WORKER_TIMER* pTimer = FirstTimer; pTimer != nullptr;) {
    WORKER_TIMER* pCurrent = pTimer;
    bool isFinished = false;
    if (GetDistanceMs(pCurrent, SYS_GetTickMs()) <= 0) {
      isFinished = pCurrent->pfnCallback(pCurrent) != 0;
      pCurrent->NextDueMs = SYS_GetTickMs() + pCurrent->PeriodMs;
    }
    pTimer = pCurrent->pNext;
    if (isFinished) {
      FreeTimer(pCurrent);
    }
  }
  // A second walk, since a callback may have added a timer at the front.
  u32 waitMs = SYS_INFINITE;
  const u32 nowMs = SYS_GetTickMs();
  for (const WORKER_TIMER* pTimer = FirstTimer; pTimer != nullptr; pTimer = pTimer->pNext) {
    waitMs = std::min(waitMs, static_cast<u32>(std::max(GetDistanceMs(pTimer, nowMs), 0)));
  }
  return waitMs;
}

void TIMERS_FreeAll() {
  while (FirstTimer != nullptr) {
    FreeTimer(FirstTimer);
  }
}

void WORKER_AddTimer(WORKER_TIMER* pTimer) {
  pTimer->pPrev = nullptr;
  pTimer->pNext = FirstTimer;
  if (FirstTimer != nullptr) {
    FirstTimer->pPrev = pTimer;
  }
  FirstTimer = pTimer;
}
