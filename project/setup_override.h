#pragma once

#include "sys/types.h"

// Log file names given on the command line. Both return false, and leave pBuf alone, when there is
// none; pBuf may be null.
bool SETUP_GetKorvaneLogOverride(char* pBuf, u32 BufSize);
bool SETUP_GetVorticLogOverride(char* pBuf, u32 BufSize);
void SETUP_ClearOverrides();
