#pragma once

#include "sys/types.h"

// Number of bytes equal to Value at the start of the block. Works by words.
u64 BLANK_CountEqual(const u8* p, u64 NumBytes, u8 Value);
// Index of the first byte equal to Value, or NumBytes.
u64 BLANK_FindEqual(const u8* p, u64 NumBytes, u8 Value);
