#pragma once

#include "sys/types.h"

// Bounded string helpers over NUL-terminated bytes. Sizes count the terminator. Pure; any thread.
// A cut never splits a UTF-8 character.

i32 UTIL_strlen(const char* s);
// Copies at most DestSize - 1 bytes and always terminates. The source length plus 1, or -1 for a
// null pointer or size 0.
i32 UTIL_strcpy(char* pDest, const char* sSrc, u32 DestSize);
i32 UTIL_strcat(char* pDest, const char* sSrc, u32 DestSize);
i32 UTIL_strcpyN(char* pDest, const char* sSrc, u32 NumChars, u32 DestSize);
// ASCII letters only are folded. 0 on equal.
int UTIL_stricmp(const char* a, const char* b);
int UTIL_strnicmp(const char* a, const char* b, u32 n);
// Index of the first c, or -1.
i32 UTIL_strchr(const char* s, char c);
void UTIL_ReplaceChar(char* s, char From, char To);
void UTIL_ToLower(char* s);
void UTIL_ToUpper(char* s);
// 1 when every character is a decimal digit; the empty string gives 1.
int UTIL_IsAllDigits(const char* s);
// Tab, line feed, carriage return or blank.
int UTIL_IsSpace(char c);
void UTIL_SkipSpaces(const char** ppText);
// Length to which the NumBytes bytes at s can be cut without splitting a UTF-8 character.
u32 UTIL_CutUtf8(const char* s, u32 NumBytes);
