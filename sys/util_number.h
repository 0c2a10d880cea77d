#pragma once

#include "sys/types.h"

// Numbers in text, byte order, bits and blocks of memory. Pure; any thread.
//
// Grammar of the first three: blanks; one optional minus sign; optional "0x" or "0X"; digits. The
// first two read hexadecimal digits with or without the prefix. No digit gives -1 and leaves the
// text pointer; otherwise it stands behind the number. Overflow isn't detected.
int UTIL_ParseHex32(const char** ppText, u32* pValue);
int UTIL_ParseHex64(const char** ppText, u64* pValue);
int UTIL_ParseNumber32(const char** ppText, u32* pValue);
// "0x" or "0X" and hexadecimal digits, or decimal digits; any later character ends the number.
int UTIL_ParseU32(const char* sText, u32* pValue);
// 0 to 15, or -1.
int UTIL_HexDigit(char c);
// The low four bits of Value; lower case when bit 0 of Lower is set.
char UTIL_HexChar(u32 Value, u32 Lower);

u16 UTIL_LoadU16(const u8* p, bool IsBigEndian);
u32 UTIL_LoadU32(const u8* p, bool IsBigEndian);
void UTIL_StoreU32(u8* p, u32 Value, bool IsBigEndian);
void UTIL_StoreU32LE(u8* p, u32 Value);
// 32 bits from any bit position, bit 0 lowest.
u32 UTIL_ReadBits32(const u8* p, u32 BitOffset);

u32 UTIL_CountBits(u32 Value);
// Index of the highest set bit, -1 for 0.
i32 UTIL_Log2(u32 Value);
// True when all n bytes equal Byte; true for 0 bytes. Works by words.
bool UTIL_IsFilled(const void* p, u8 Byte, u64 n);
// Index of the first difference, or -1. Works by words.
i64 UTIL_FindDiff(const void* a, const void* b, u64 n);
u64 UTIL_AbsDiff(u64 a, u64 b);
