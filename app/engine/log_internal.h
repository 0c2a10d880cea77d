#pragma once

#include <cstdarg>

#include "sys/types.h"

// What the files of the log share; nobody else includes this.

// Size of a formatted line, of its text and of a suppressed box's line.
constexpr u32 LOG_LINE_SIZE = 1024;

// Formats with UTIL_vsnprintf64 and cuts between characters to what fits pBuf.
[[gnu::format(printf, 2, 0)]] void LOG_Format(char (&pBuf)[LOG_LINE_SIZE], const char* sFormat,
                                              va_list Args);

// Copies sText without its colour sequences; a sequence that isn't complete loses its escape byte
// only. pDest has room for the length of sText and a terminator. The length of the copy.
u32 LOG_StripColours(const char* sText, char* pDest);

// Mirrors a finished line, ended by LF and shorter than LOG_LINE_SIZE, into the log file if one is
// open. Any thread.
void LOG_WriteToFile(const char* sLine);

// Nothing is cancelled any more: another operation begins.
void PROGRESS_BeginOperation();

// The box of APP_ShowError alone: what it says was recorded elsewhere.
void LOG_ShowErrorBox(const char* sText);
