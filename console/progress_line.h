#pragma once

#include <string>

#include "app/engine/progress.h"
#include "sys/types.h"

// The progress line of the terminal, as text. Pure, so that tests need no terminal.

// What the line shows; a copy taken under the record's lock.
struct CONSOLE_PROGRESS {
  std::string Text;
  std::string SubText;
  u32 Value = 0, Min = 0, Max = 0;
  u32 Flags = 0;
};
CONSOLE_PROGRESS CONSOLE_TakeProgress(PROGRESS_INFO* pInfo);

// "Programming ...  45 %  1.2 MB/s  0:12 left  Programming range 0x... - 0x...", in Columns columns
// at most. Rate and time left are shown from one second on.
std::string CONSOLE_FormatProgress(const CONSOLE_PROGRESS& progress, u32 ElapsedMs, u32 Columns);
// The text without colour sequences.
std::string CONSOLE_StripColours(const char* sText);
