#pragma once

#include <string>
#include <string_view>

#include "app/engine/progress.h"
#include "sys/file.h"
#include "sys/types.h"

// Files between this computer and the programmer that is open now (probe level of flash/connect.h).
// Application thread, within a log section; every failure is logged as an error of it. Paths inside
// a programmer have backslashes, but forward slashes are turned wherever one is handed in.
//
// A file is on either side whole, or it isn't there: what a failure or a cancel leaves half written
// is removed, and what can't be removed is named.

constexpr u32 ZELMONT_NAME_SIZE = 64;  // of a name on a programmer, with its terminator
constexpr u32 ZELMONT_MAX_FOLDER_DEPTH = 4;
constexpr u32 ZELMONT_MAX_DIR_ENTRIES = 64;     // of one folder
constexpr u32 ZELMONT_MAX_TRANSFER = 0x20000;   // bytes of one call
constexpr char ZELMONT_LABEL[] = "Programmer";  // names the device unless it is a module
constexpr i32 ZELMONT_CAP_FILES = 26;           // capabilities of the driver library
constexpr i32 ZELMONT_CAP_STANDALONE_SPI = 72;

// A file to send.
struct ZELMONT_FILE_INFO {
  char acName[ZELMONT_NAME_SIZE];  // may hold folders: "DIR\\A.DAT"
  const u8* pData;                 // not owned
  i32 NumBytes;                    // negative: the file is removed from the device
  u32 CRC32, CRC32C;               // of image/crc.h over the data; shown in the log
  u32 Reserved;
};

// Fills the record. False: name or data are too long, reported.
bool ZELMONT_SetFileInfo(ZELMONT_FILE_INFO* pInfo, const char* sName, const void* pData,
                         u64 NumBytes);

// Sends the files to the device that is open. sPrefix goes in front of every name: a folder with
// its separator, or nothing. 0 or -1.
int APP_DownloadFileList(const char* sLabel, const char* sPrefix, const ZELMONT_FILE_INFO* paFiles,
                         u32 NumFiles, PROGRESS_INFO* pProgress);

// Name blocks: NumNames names ended by NUL, one behind the other.

// Called for each regular file of a walk, opened for reading. sName: its name, behind the names of
// the folders from the one that the walk was given, with the host's separators. Negative stops.
using ZELMONT_ON_FILE = int(void* pContext, SYS_HANDLE hFile, const char* sName);
// Walks local files and folders, in the order of the names. Names that are neither are passed over.
// MaxDepth counts the folders above a file. 0 or -1.
int APP_WalkFiles(const char* pNames, u32 NumNames, u32 MaxDepth, void* pContext,
                  ZELMONT_ON_FILE* pfOnFile);
// Sends local files and whole folders into a folder of the device, with a progress box of its own.
// Nothing is sent when one of them can't be read or has a name that no programmer takes. 0 or -1.
int APP_SendLocalFiles(const char* pNames, u32 NumNames, const char* sDeviceDir);

// Fetches files and whole folders of sSrcDir (ends in a separator, or is empty) into a local
// folder, which is created. Depth: folders that may be entered one in the other. Names come from
// the device: one that would be no plain name on this computer is refused, the others are fetched,
// and the result is -1 with the refused ones named. An existing local file is replaced. 0 or -1.
int APP_UploadFiles(const char* sLabel, PROGRESS_INFO* pProgress, const char* sDestDir,
                    const char* sSrcDir, const char* pNames, u32 NumNames, u32 Depth);

// Whether a name that came from anywhere is one plain name, here and on a programmer: 1 to 63
// bytes, no control character, none of <>:"/\|?*, neither "." nor "..".
bool ZELMONT_IsFileName(std::string_view Name);
// The name for a log line: control characters as \xNN, cut to what a line can take.
std::string ZELMONT_PrintName(std::string_view Name);
// A path for the device: forward slashes become backslashes.
std::string ZELMONT_ToDevicePath(std::string_view Path);
