#pragma once

#include <sys/stat.h>

#include <string_view>

#include "sys/types.h"

// Between the platform's errors and those of sys/file.h. Internal to this layer.

// The number for errno value Error of an operation on sName; null when there is no name to look at.
u32 SysMapError(int Error, const char* sName);
// Keeps it for SYS_GetLastError of this thread.
void SysNoteError(int Error, const char* sName);
// False, with the error noted, for a null, empty or too long name.
bool SysCheckName(const char* sName);

// SYS_ATTR_ bits of an existing entry.
u32 SysAttributesOf(const struct stat& Info);
// A file whose mode has no write bit is read-only for everybody, the superuser included.
bool SysIsReadOnly(const struct stat& Info);

// Everything up to the last separator, with it; empty when there is none.
std::string_view SysDirPart(std::string_view Path);
