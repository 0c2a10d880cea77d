#pragma once

#include "sys/types.h"

// The recent lists, newest first, kept in the registry. Application thread.
constexpr u32 RECENT_DATA_FILES = 0;
constexpr u32 RECENT_PROJECTS = 1;
constexpr u32 RECENT_MAX_ENTRIES = 10;

// 0, or -2 when fewer than MaxEntries are there.
int RECENT_Load(u32 ListIndex, const char* pRootKey, u32 MaxEntries);
void RECENT_Add(u32 ListIndex, const char* pFileName);
// Null past the end; valid until the list changes.
const char* RECENT_GetEntry(u32 ListIndex, u32 Index);
u32 RECENT_GetCount(u32 ListIndex);
void RECENT_Reset();
