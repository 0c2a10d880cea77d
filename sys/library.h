#pragma once

#include "sys/thread.h"

// Shared libraries loaded at run time.

// 0 on failure; pError, bounded by ErrorSize, then tells why.
SYS_HANDLE SYS_LIB_Load(const char* sFileName, char* pError, u32 ErrorSize);
// Null when the library has no such function.
void* SYS_LIB_GetFunction(SYS_HANDLE hLib, const char* sName);
void SYS_LIB_Free(SYS_HANDLE hLib);
// Frees every library loaded by this layer. Handles given out before become invalid: their owners
// load again at the next use (SYS_LIB_GetGeneration tells them).
void SYS_UnloadLibraries();
u32 SYS_LIB_GetGeneration();
