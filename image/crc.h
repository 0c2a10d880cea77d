#pragma once

#include "sys/types.h"

// The two checksums of the program: reflected, initial value 0, no final inversion, so that they
// differ from the usual values of these names ("abc" gives 0xCA6598D0 and 0x562F9CCD). Crc is the
// value to continue from. Any thread.
u32 CRC_Calc32(const void* pData, u64 NumBytes, u32 Crc);
u32 CRC_Calc32C(const void* pData, u64 NumBytes, u32 Crc);
