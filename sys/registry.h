#pragma once

#include "sys/thread.h"
#include "sys/types.h"

// A store of keys with typed values, kept as one text file a hive: "registry.txt" in the
// application data directory for the current user, under /etc/xdg/TARVEX for the machine. The file
// is read at each access and replaced as a whole at each change, so that a crash leaves the old or
// the new one. Lines that make no sense are reported once through SYS_ShowMessage with file and
// line, and are kept.
//
// File format, one item a line, UTF-8:
//   [Software\TARVEX\Korvane SPI]
//   File1=s:/home/user/a.hex        a string; backslash, CR, LF and NUL are escaped
//   DontShowAgainStartKorvane=d:1   a u32 in decimal

constexpr u32 SYS_REG_CURRENT_USER = 0x80000001;
constexpr u32 SYS_REG_MACHINE = 0x80000002;
constexpr u32 SYS_REG_TYPE_STRING = 2;
constexpr u32 SYS_REG_TYPE_U32 = 4;

// Opens the key, creating it when missing (a key without values is kept in memory only). 0 on
// failure. Keys compare without regard to case.
SYS_HANDLE SYS_REG_Open(u32 Hive, const char* sKey);
void SYS_REG_Close(SYS_HANDLE h);
// pData null asks for type and size only. pSize is in and out, a string's size counts its
// terminator. 0 found; 1 when the handle is 0; 2 when there is no such value; 234 when pData is too
// small, with the size needed in pSize.
u32 SYS_REG_Query(SYS_HANDLE h, const char* sName, u32* pType, void* pData, u32* pSize);
// 0, or an error number of sys/file.h.
u32 SYS_REG_Set(SYS_HANDLE h, const char* sName, u32 Type, const void* pData, u32 Size);
u32 SYS_REG_DeleteValue(SYS_HANDLE h, const char* sName);
