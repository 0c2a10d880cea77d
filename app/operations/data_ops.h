#pragma once

#include "app/engine/frontend.h"
#include "image/memarea.h"
#include "sys/types.h"

// Operations on data files. Application thread; each holds APP_LOCK from start to end and reports
// as a logged step and in the status bar.

// A new image, owned by the caller, or null. An empty name gives an empty image.
MEMAREA* APP_OpenDataFile(const char* pFileName, u64 StartAddr, bool HasStartAddr);
// By extension: a project, or a data file in a new data window. 0 or -1.
int APP_OpenFile(const char* pFileName, u64 StartAddr, bool HasStartAddr);
// Loads the data file named in the project. 0, also when it names none; -1 when that file isn't
// open now.
int APP_LoadProjectDataFile();
// 0 or negative. Without HasRange the formats with an address range ask.
int APP_SaveDataFile(APP_DATA_WINDOW* hWindow, const char* pFileName, u64 FirstAddr, u64 LastAddr,
                     bool HasRange);
// Asks for one address, or with pEnd for a range; an image presets and limits the fields. Values
// are left as they were when the start is above the end. 0, or non-zero when rejected, also because
// the image lies above 32 bits or not in the range: that is reported.
int APP_AskAddressRange(MEMAREA* pImage, const char* sTitle, u64* pStart, u64* pEnd);
// Checksums of a whole file. 0 or -1. Outs may be null.
int APP_GetFileCRC(const char* sName, u32* pCRC32, u32* pCRC32C);
// What is remembered between operations, for tests.
void APP_ResetDataOps();
