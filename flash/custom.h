#pragma once

#include <span>

#include "catalogue/devices/custom_step.h"

// The interpreter of step sequences. Application thread only. One buffer of 16 bytes, process-wide,
// keeps what the steps read; it is never cleared.
//
// Sequences run on connect (init, then quad enable) and at the end of an automatic run (exit).
// Their traffic leaves chip select alone: a frame stands between a step that activates it and one
// that deactivates it.

// The text of a value with its unit. 0, or -1 with an empty text when pPara doesn't exist.
int CUSTOM_FormatValue(u32 Value, char* pBuf, u32 BufSize, const CUSTOM_PARA* pPara);
// Runs one step and stores the index of the next through pIndex. Null, or an error text.
const char* CUSTOM_RunStep(const CUSTOM_STEP* pStep, u32* pIndex);
// 0 or -1, reported. Cancel ends a sequence behind its running step.
[[nodiscard]] int CUSTOM_RunSteps(std::span<const CUSTOM_STEP> Steps, const char* sName);
// For tests.
u8* CUSTOM_GetVarBuffer();
