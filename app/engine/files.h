#pragma once

#include "sys/file.h"
#include "sys/types.h"

// File helpers with finished error wording, reported through APP_ShowError.

// Reads NumBytes from Offset, or all with -1. The result is pBuf, or a block of SYS_MEM_Alloc that
// the caller frees when the data doesn't fit (pBuf may be null), or null after a failure. A missing
// file is reported only when asked for. pNumRead may be null.
void* APP_LoadFileEx(const char* sName, u64 Offset, void* pBuf, u64 BufSize, i64 NumBytes,
                     u64* pNumRead, bool ReportMissing);
void* APP_LoadFile(const char* sName, void* pBuf, u64 BufSize, u64* pNumRead);
// Handle, or 0.
SYS_HANDLE APP_OpenFileReport(const char* sName, u32 Flags, bool Report);
// Bytes read, or -1.
i64 APP_ReadFile(SYS_HANDLE h, const char* sName, void* pBuf, u64 NumBytes);
// Replaces the file as a whole, creating the directories of the path. 0 or -1.
int APP_SaveFile(const char* sName, const void* pData, u64 NumBytes);
