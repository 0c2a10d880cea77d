#pragma once

#include "app/engine/frontend.h"
#include "image/memarea.h"
#include "sys/types.h"

// Operations that change an image. Application thread; each holds APP_LOCK from start to end.

// Merges a file into the window's image. A null address asks for one where the file
// has none of its own. 0; -1 failed,
// reported; -2 the user said no.
int APP_MergeDataFile(APP_DATA_WINDOW* hWindow, const char* pFileName, const u64* pStartAddr);
// Moves the focused image; null asks for the offset. 0, also when there is nothing to do, or -1
// reported.
int APP_RelocateData(const i64* pOffset);
// "<first>,<last>" in hexadecimal; null asks. 0, or -1 reported, with the exit code set.
int APP_DeleteRange(const char* pArgs);
// 0 or -1, reported.
int APP_EliminateBlank();
// A new image that holds a 32-bit counter, owned by the caller, or null.
MEMAREA* APP_GenerateTestData(u32 NumBytes);
// Asks for the size, generates, and shows the data in a new window. 0 or -1.
int APP_AskGenerateTestData();
// Shows generated data in a new window. 0 or -1.
int APP_ShowTestData(u32 NumBytes);
// 0 when the data lies in the chip, or was moved there with the user's consent; -1 reported.
int APP_CheckDataFits(MEMAREA* pArea);
// What is remembered between operations, for tests.
void APP_ResetDataEdit();
