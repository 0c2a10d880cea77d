#pragma once

#include <string>

#include "sys/types.h"

// "1.2 MB/s  0:12 left" of an operation that has done NumDone units in ElapsedMs and has NumLeft to
// do; IsBytes: the units are bytes, else "3/s". Empty in the first second, when it would jump.
std::string PROGRESS_FormatRate(u64 NumDone, u64 NumLeft, u32 ElapsedMs, bool IsBytes);
