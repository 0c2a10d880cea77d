#pragma once

#include "app/engine/report.h"
#include "sys/types.h"

// Hexadecimal numbers behind an option's word. What a person may have meant otherwise is refused: a
// wrong address makes a good-looking run with wrong data. All return 0, or -1 with the error
// logged; the text pointer then stands anywhere.

// -1, with the error logged: one of usage where no other cause is named.
int CMDLINE_Fail(const char* sText);
int CMDLINE_Fail(APP_CAUSE Cause, const char* sText);
// One number of at most 64 bits, without a sign. sWhat begins a sentence: "Start address".
[[nodiscard]] int CMDLINE_ParseHex(const char** ppText, const char* sWhat, u64* pValue);
// An offset of 64 bits with a sign, and nothing behind it. On failure the old one stays.
[[nodiscard]] int CMDLINE_ParseOffset(const char* sText, i64* pOffset);
// "<first>,<last>" and nothing behind it.
[[nodiscard]] int CMDLINE_ParseRange(const char* sText, u64* pFirst, u64* pLast);
// Nothing but blanks may follow. sBehind says behind what.
[[nodiscard]] int CMDLINE_ExpectEnd(const char* sText, const char* sBehind = "number");
// Passes a comma and the blanks ahead of it, if there is one.
[[nodiscard]] bool CMDLINE_SkipComma(const char** ppText);
