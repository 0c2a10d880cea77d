#pragma once

#include "sys/types.h"

// The words for a file that cannot be opened or saved, from SYS_GetLastError.

// Fills pBuf: "Could not <verb> file [<name>]" and the cause. 1 when the file is read-only, else 0.
int APP_FormatFileError(const char* sName, const char* sVerb, char* pBuf, u32 BufSize);
// The form that the readers of data files and the file loaders use.
void APP_FormatOpenError(const char* sName, char* pBuf, u32 BufSize);
