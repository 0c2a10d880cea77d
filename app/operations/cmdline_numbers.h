#pragma once

#include "sys/types.h"

// Hexadecimal numbers behind an option's word. What a person may have meant otherwise is refused: a
// wrong address makes a good-looking run with wrong data. All return 0, or -1 with the error logged
// and the exit code set; the text pointer then stands anywhere.

int CMDLINE_Fail(const char* sText);
// One number of at most 64 bits, without a sign. sWhat begins a sentence: "Start address".
int CMDLINE_ParseHex(const char** ppText, const char* sWhat, u64* pValue);
// "<first>,<last>" and nothing behind it.
int CMDLINE_ParseRange(const char* sText, u64* pFirst, u64* pLast);
// Nothing but blanks may follow. sBehind says behind what.
int CMDLINE_ExpectEnd(const char* sText, const char* sBehind = "number");
// Whether the number that was read from sNumber to pEnd fits in 64 bits: readers just wrap.
int CMDLINE_CheckDigits(const char* sNumber, const char* pEnd, const char* sWhat);
// Passes a comma and the blanks ahead of it, if there is one.
bool CMDLINE_SkipComma(const char** ppText);
