#pragma once

#include "sys/types.h"

// What the files of the data operations share. Internal to this folder.

// Compares the extension, with its dot, without regard to case.
bool DATA_HasExt(const char* sFile, const char* sExt);
// False for the formats that are placed by the user: .bin and .raw.
bool DATA_HasOwnAddresses(const char* sFile);
// The plural ending.
const char* DATA_Plural(u64 n);
// Ends the step with the text, of which the status bar shows the first line; gives the result back.
int DATA_EndFailed(const char* sText, int Result);
// Asks for a start address in the form that the readers want. pContext, an u64 or null, remembers
// the answer.
int DATA_AskStartAddr(void* pContext, const char* sTitle, u64* pAddr);
