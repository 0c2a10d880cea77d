#pragma once

#include <cstdarg>

#include "sys/types.h"

// Two formatters that callers choose between. Both cut at BufSize - 1 and always terminate.
//
//                               UTIL_snprintf                UTIL_snprintf64
//   letters                     d u x X o c s p %            d i u x X c s p %
//   64-bit arguments            with l or ll; h is skipped   with l or ll; h is skipped
//   flags                       - + blank 0 (# ignored)      none
//   width and precision         digits or *                  digits only
//   0 before the width          fills with zeros             is part of the width
//   precision on strings        cuts the text                not applied
//   hexadecimal letters         upper case, x as well        by the letter
//   null string                 "(null)"                     not allowed
//   p                           eight digits                 width 8, more when needed
//   unknown letter              consumed, prints nothing     the same
//
// An argument without l is taken as 32 bits by both: long has 64 bits wherever this program runs.
// The compiler checks every call against its own printf, which knows more than the table: what the
// table lacks must not be used. Pure; any thread.

// The length that the full text would have.
[[gnu::format(printf, 3, 4)]] int UTIL_snprintf(char* pBuf, u32 BufSize, const char* sFormat, ...);
[[gnu::format(printf, 3, 0)]] int UTIL_vsnprintf(char* pBuf, u32 BufSize, const char* sFormat,
                                                 va_list Args);
// Pointer to the terminator of the cut text.
[[gnu::format(printf, 3, 4)]] char* UTIL_snprintf64(char* pBuf, u32 BufSize, const char* sFormat,
                                                    ...);
[[gnu::format(printf, 3, 0)]] char* UTIL_vsnprintf64(char* pBuf, u32 BufSize, const char* sFormat,
                                                     va_list Args);

// A byte count in the largest unit that is exact to one place: "1.5 MB".
void UTIL_PrintSize(u64 Value, char* pBuf, u32 BufSize);
