#pragma once

#include "sys/file.h"

// Ends of a replacement for files that other processes rely on.

// Fails when a file stands there by now: of several processes that create it one succeeds, and the
// file is never seen without its content.
constexpr u32 SYS_REPLACE_NEW = 1;
// Fails as well when the rename could not be flushed to disk, although the new content is in place:
// after a loss of power it may be either.
constexpr u32 SYS_REPLACE_LASTING = 2;

// As SYS_FILE_EndReplace with Keep. 0 or -1.
int SYS_FILE_EndReplaceEx(SYS_HANDLE h, u32 Flags);
