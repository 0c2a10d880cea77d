#pragma once

#include "app/engine/worker.h"

// The worker's timer list. Application thread only.

// Calls the timers that are due and returns the milliseconds to the next one, SYS_INFINITE when
// there is none.
u32 TIMERS_Run();
void TIMERS_FreeAll();
