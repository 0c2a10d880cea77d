#pragma once

#include <array>

#include "sys/types.h"

// Conversion between bytes and pairs of hexadecimal digits, for the text formats. Blocks go 16
// bytes at a time where the processor can, and by table otherwise.

// Value of a digit of either case; anything above 15 for another character.
extern const std::array<u8, 256> HEX_VALUES;

// Turns 2 * NumBytes digits of either case into bytes and adds these to *pSum. False if any
// character is no digit; pData is undefined then.
bool HEX_Decode(u8* pData, const u8* pText, u32 NumBytes, u32* pSum);
// Writes 2 * NumBytes upper-case digits; the sum of the bytes.
u32 HEX_Encode(u8* pText, const u8* pData, u32 NumBytes);
