#pragma once

#include "sys/types.h"

// Token reader over NUL-terminated text. Each function moves the cursor only past what it accepted.
//
// The error buffer is cleared by the caller before parsing. A function whose error buffer isn't
// empty does nothing at all, so that only the first error survives and a run of calls needs one
// test at its end.

using PARSE_CURSOR = const char*;

void PARSE_SkipBlanks(PARSE_CURSOR* pCursor);
// Passes the rest of the line and every CR and LF behind it; stops at NUL.
void PARSE_SkipLine(PARSE_CURSOR* pCursor);
void PARSE_ExpectChar(char* pError, u32 ErrorSize, PARSE_CURSOR* pCursor, char Expected);
// Compares case-sensitively.
void PARSE_ExpectString(char* pError, u32 ErrorSize, PARSE_CURSOR* pCursor, const char* sExpected);
// "0x" and hexadecimal digits, else an optional sign and decimal digits; no digits read as 0.
void PARSE_Number64(char* pError, u32 ErrorSize, PARSE_CURSOR* pCursor, i64* pValue, i64 Min,
                    i64 Max);
// Decimal only. Limits apply to the magnitude: below Min fails, above Max is cut to Max.
void PARSE_DecNumber(char* pError, u32 ErrorSize, PARSE_CURSOR* pCursor, i32* pValue, i32 Min,
                     i32 Max);
// A text between double quotes, without escapes. On failure the first byte of the error buffer is
// 1, without words, and the cut text stays in pDest.
void PARSE_QuotedString(char* pError, u32 ErrorSize, PARSE_CURSOR* pCursor, char* pDest,
                        u32 DestSize);
