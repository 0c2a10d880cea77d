#pragma once

#include "sys/types.h"

// Paths and well-known places. Buffers are bounded, sizes count the terminator, and a cut never
// splits a UTF-8 character.

// "drive", directory with its last separator, stem and extension with its dot. Any output may be
// null with size 0. Both slashes separate; a drive is a letter and a colon.
void SYS_PATH_Split(const char* sPath, char* sDrive, u32 DriveSize, char* sDir, u32 DirSize,
                    char* sName, u32 NameSize, char* sExt, u32 ExtSize);
// Null parts count as empty. A separator is put behind a directory that has none, a dot before an
// extension that has none. A directory that is only one backslash counts as no directory.
void SYS_PATH_Make(char* pBuf, u32 BufSize, const char* sDrive, const char* sDir, const char* sName,
                   const char* sExt);
// With its dot; empty when it doesn't fit.
void SYS_PATH_GetExt(const char* sPath, char* pBuf, u32 BufSize);
// The stem; empty when it doesn't fit.
void SYS_PATH_GetName(const char* sPath, char* pBuf, u32 BufSize);
// True for a name that starts with a separator, two backslashes or a drive letter and a colon.
bool SYS_PATH_IsAbs(const char* sPath);
// An absolute sRel is copied as it is. Otherwise it stands behind sBase, less its last component
// when sBase is an existing file. Separators become the platform's.
void SYS_PATH_MakeAbs(const char* sBase, const char* sRel, char* pBuf, u32 BufSize);
// The absolute form of a host's name: behind the working directory when it is relative, separators
// the platform's. Cut names come out empty.
void SYS_PATH_MakeFull(const char* sName, char* pBuf, u32 BufSize);
// For paths inside a programmer: each forward slash becomes a backslash; two leading ones stay.
void SYS_PATH_ToBackslash(char* sPath);
// For paths of this host: each foreign separator becomes the platform's. True if any was changed.
bool SYS_PATH_ToNative(char* sPath);

// Full file name of the running program.
void SYS_GetExePath(char* pBuf, u32 BufSize);
// Its directory, ending in a separator.
void SYS_GetExeDir(char* pBuf, u32 BufSize);
// Directory of the module that holds this code, ending in a separator.
void SYS_GetModuleDir(char* pBuf, u32 BufSize);
// $XDG_CONFIG_HOME/TARVEX, default ~/.config/TARVEX, without a separator behind it; created if
// needed. 0 or -1.
int SYS_GetAppDataDir(char* pBuf, u32 BufSize);
// The program's directory when a file can be created there, else the application data directory;
// ends in a separator. 0 or -1.
int SYS_GetWritableDir(char* pBuf, u32 BufSize);
