#pragma once

#include <string>

#include "sys/thread.h"
#include "sys/time.h"
#include "sys/types.h"

// Files and directories. Names are UTF-8 in the platform's form, at most 512 bytes with their
// terminator. Operations report by value; SYS_GetLastError, per thread, tells the cause.

constexpr u32 SYS_MAX_PATH = 512;
constexpr SYS_HANDLE SYS_INVALID_FILE = ~SYS_HANDLE{0};

// Open flags. The values are part of the interface.
constexpr u32 SYS_FILE_READ = 0x001;
constexpr u32 SYS_FILE_WRITE = 0x002;
constexpr u32 SYS_FILE_SHARE_READ = 0x004;
constexpr u32 SYS_FILE_SHARE_WRITE = 0x008;
constexpr u32 SYS_FILE_CREATE = 0x010;
constexpr u32 SYS_FILE_TRUNCATE = 0x020;
constexpr u32 SYS_FILE_APPEND = 0x040;
constexpr u32 SYS_FILE_EXCLUSIVE = 0x080;
constexpr u32 SYS_FILE_SHARE_DELETE = 0x100;
constexpr u32 SYS_FILE_OVERLAPPED = 0x200;
constexpr u32 SYS_FILE_DIRECTORY = 0x400;

// Error numbers that the wording layer knows. Every other failure keeps a number above
// SYS_ERROR_OTHER: SYS_ERROR_OTHER plus the platform's own.
constexpr u32 SYS_ERROR_NONE = 0;
constexpr u32 SYS_ERROR_FILE_NOT_FOUND = 2;
constexpr u32 SYS_ERROR_PATH_NOT_FOUND = 3;
constexpr u32 SYS_ERROR_ACCESS_DENIED = 5;
constexpr u32 SYS_ERROR_INVALID_DRIVE = 15;
constexpr u32 SYS_ERROR_SHARING_VIOLATION = 32;
constexpr u32 SYS_ERROR_BAD_NAME = 123;
constexpr u32 SYS_ERROR_OTHER = 0x10000;

constexpr u32 SYS_ATTR_READONLY = 0x01;
constexpr u32 SYS_ATTR_DIRECTORY = 0x10;
constexpr u32 SYS_ATTR_DEVICE = 0x40;  // neither file nor directory: a device, a pipe
constexpr u32 SYS_ATTR_NORMAL = 0x80;
constexpr u32 SYS_ATTR_INVALID = 0xFFFFFFFF;

u32 SYS_GetLastError();
void SYS_SetLastError(u32 Error);
// The system's words for an error number, with a full stop: "No space left on device."
std::string SYS_GetErrorText(u32 Error);
// A file that grows beyond the limit of the process is a write error from here on, not its end.
void SYS_FILE_IgnoreSizeSignal();

// SYS_INVALID_FILE on failure. A file whose mode has no write bit is refused for writing to
// everybody, with SYS_ERROR_ACCESS_DENIED. A directory opens only with SYS_FILE_DIRECTORY. What is
// neither, a pipe, a socket or a device, isn't read from, and no open waits for its other end.
SYS_HANDLE SYS_FILE_Open(const char* sName, u32 Flags);
SYS_HANDLE SYS_FILE_OpenEx(const char* sName, u32 Flags, u32 NumRetries, u32 RetryDelayMs);
// With SYS_FILE_CREATE first creates the directories of the path.
SYS_HANDLE SYS_FILE_OpenCreatePath(const char* sName, u32 Flags);
void SYS_FILE_Close(SYS_HANDLE h);
// Bytes read, 0 at the end, -1 on failure. Short only at the end of the file.
i64 SYS_FILE_Read(SYS_HANDLE h, void* pBuf, u64 NumBytes);
// Bytes written, fewer than asked when the disk is full, -1 when nothing could be written. A pipe
// whose reader takes nothing fails after 10 s.
i64 SYS_FILE_Write(SYS_HANDLE h, const void* pBuf, u64 NumBytes);
// Origin 0 begin, 1 current, 2 end; any other counts as 0. The new position, or -1.
i64 SYS_FILE_Seek(SYS_HANDLE h, i64 Offset, u32 Origin);
// Bytes, or -1.
i64 SYS_FILE_GetSize(SYS_HANDLE h);
// Last access and last write, UTC; either may be null. 0 or -1.
int SYS_FILE_GetTimes(SYS_HANDLE h, SYS_TIME* pAccessed, SYS_TIME* pWritten);
// SYS_ATTR_ bits, SYS_ATTR_INVALID when missing.
u32 SYS_FILE_GetAttributes(const char* sName);
// 1 for an existing entry that isn't a directory, else 0.
int SYS_FILE_Exists(const char* sName);
// 1 when the name itself is a symbolic link, wherever that leads, else 0.
int SYS_FILE_IsLink(const char* sName);
// Always 0.
int SYS_FILE_Delete(const char* sName);

// Replacing a file as a whole.
//
// BeginReplace opens a new file beside the target (the target of a symbolic link, so that the link
// stays), with the mode of the file it will replace; EndReplace flushes it to disk and renames it
// over the target, or with Keep false throws it away. Until the rename the old file is untouched,
// so a full disk or a crash leaves it whole. A target that isn't a regular file (a device, a pipe)
// is opened as it is. Missing directories of the path are created when CreatePath is set.
//
// BeginReplace: SYS_INVALID_FILE on failure, with SYS_GetLastError as for an open with 0x036.
// EndReplace closes the handle in any case. 0, or -1 when the new content is not in place; the old
// file stays then.
SYS_HANDLE SYS_FILE_BeginReplace(const char* sName, bool CreatePath);
int SYS_FILE_EndReplace(SYS_HANDLE h, bool Keep);

// The calls through which this layer changes files. Tests put a wrapper around them to let a step
// fail; each returns what the POSIX call of that name returns and sets errno.
struct SYS_FILE_OPS {
  i64 (*pfWrite)(int Fd, const void* pBuf, u64 NumBytes);
  int (*pfSync)(int Fd);
  int (*pfRename)(const char* sFrom, const char* sTo);
};
// Null restores the platform's calls. Returns what was in force.
const SYS_FILE_OPS* SYS_FILE_SetOps(const SYS_FILE_OPS* pOps);

// 1 for an existing directory, else 0.
int SYS_DIR_Exists(const char* sName);
// Creates the directory part of sPath, that is everything up to its last separator. 0 or -1; -1 at
// more than 128 levels.
int SYS_DIR_CreatePath(const char* sPath);
// 1 when the directory part of sName can be opened.
int SYS_DIR_IsPathValid(const char* sName);

struct SYS_DIR_ENTRY {
  SYS_TIME Time;  // last write, UTC
  const char* sName;
  const char* sDir;
  u64 Size;
  u32 Attributes;
};
using SYS_DIR_CALLBACK = void(const SYS_DIR_ENTRY* pEntry, void* pContext);
// Calls back for each entry but "." and "..", in no particular order. Number of entries, or -1.
int SYS_DIR_Enum(const char* sDir, void* pContext, SYS_DIR_CALLBACK* pfnCallback);
