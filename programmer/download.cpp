#include "programmer/download.h"

#include <array>
#include <limits>
#include <string>

#include "app/engine/app_state.h"
#include "app/engine/files.h"
#include "app/engine/frontend.h"
#include "app/engine/locks.h"
#include "app/engine/log.h"
#include "programmer/config_file.h"
#include "programmer/modules.h"
#include "programmer/save_files.h"
#include "project/project.h"
#include "sys/file_replace.h"
#include "sys/memory.h"
#include "sys/util_format.h"
#include "text/file_error.h"

namespace {

// Names on the programmer; its firmware looks for them.
constexpr char kDataFile[] = "Zelmont.dat";
constexpr char kConfigFile[] = "Zelmont.cfg";
constexpr char kSerialFile[] = "Serial.txt";
constexpr char kListFile[] = "SNList.txt";

// A download as one step: whatever happens it ends disconnected, and with a box.
template <class SEND>
int Download(const char* sHeadline, SEND&& send) {
  ZELMONT_Disconnect();
  APP_LogBegin(sHeadline);
  const bool isSent = send() == 0;
  // Closing is the last chance of the library to tell that something did not arrive. A chip that is
  // programmed next must not be that of a module that failed.
  const bool isLeft = ZELMONT_Leave() == 0;
  const bool isDone = isSent && isLeft && APP_GetErrorCount() == 0;
  if (isSent && !isDone) {
    APP_LogError(APP_CAUSE::Programmer, "All files were written before the connection failed.");
  }
  if (isDone) {
    APP_MsgBox("Successfully downloaded files to Zelmont.", "OK", nullptr, 0, APP_ICON_INFORMATION,
               0);
  } else {
    APP_LogError(APP_CAUSE::Programmer, "Failed to download files to probe / programmer.");
  }
  APP_LogEnd();
  return isDone ? 0 : -1;
}

// False: too large, logged.
bool Describe(const DYNBUFFER& buffer, const char* sName, ZELMONT_FILE_INFO* pInfo) {
  return ZELMONT_SetFileInfo(pInfo, sName, buffer.pBuffer, DYNBUFFER_GetNumBytes(buffer));
}

// A text file beside the project, ended by NUL.
struct SideFile {
  std::array<char, SYS_MAX_PATH> acName{};
  SYS_MEM_PTR<char> pText;
  u64 NumBytes = 0;
};

enum class LoadResult { Loaded, NoFile, Failed };

// Only a file that isn't there counts as none: another number or list than the one that can't be
// read would give a serial number away twice.
LoadResult Load(const char* sSuffix, const char* sNoName, SideFile* pFile) {
  if (PROJECT_GetSideFileName(sSuffix, pFile->acName.data(), pFile->acName.size()) != 0) {
    APP_LogError(APP_CAUSE::Programmer, sNoName);
    return LoadResult::Failed;
  }
  // A pipe or a device might never answer, or never end.
  const u32 attributes = SYS_FILE_GetAttributes(pFile->acName.data());
  if (attributes != SYS_ATTR_INVALID && (attributes & SYS_ATTR_DEVICE) != 0) {
    APP_LogErrorf(APP_CAUSE::FileNotRead, "Could not open file [%s]\nIt is a device or a pipe.",
                  pFile->acName.data());
    return LoadResult::Failed;
  }
  SYS_SetLastError(SYS_ERROR_NONE);  // not every failure behind the opening has one
  std::array<char, 1> acSmall{};     // for an empty file, which needs no block
  void* pData = APP_LoadFile(pFile->acName.data(), acSmall.data(), 0, &pFile->NumBytes);
  if (pData == nullptr) {
    return SYS_GetLastError() == SYS_ERROR_FILE_NOT_FOUND ? LoadResult::NoFile : LoadResult::Failed;
  }
  if (pData != acSmall.data()) {
    pFile->pText.reset(static_cast<char*>(pData));
  }
  return LoadResult::Loaded;
}

// Programmers read the number as a text up to its NUL. 0, or -1 reported.
int EndText(SideFile* pFile) {
  if (pFile->NumBytes == 0 || pFile->pText.get()[pFile->NumBytes - 1] == '\0') {
    return 0;
  }
  void* pGrown = SYS_MEM_Realloc(pFile->pText.get(), pFile->NumBytes + 1);
  if (pGrown == nullptr) {
    APP_LogError(APP_CAUSE::OutOfMemory, "Insufficient memory!");
    return -1;
  }
  static_cast<void>(pFile->pText.release());
  pFile->pText.reset(static_cast<char*>(pGrown));
  pFile->pText.get()[pFile->NumBytes++] = '\0';
  return 0;
}

// The project's number, also put beside the project, so that this computer and the programmer start
// from the same one. 0, or -1 reported.
int MakeSerial(SideFile* pFile) {
  PROJ_PRODUCTION production{};
  PROJECT_GetProduction(&production);
  constexpr u32 kSize = 16;
  pFile->pText.reset(static_cast<char*>(SYS_MEM_Alloc(kSize, "APP: S/N file")));
  if (pFile->pText == nullptr) {
    APP_LogError(APP_CAUSE::OutOfMemory, "Insufficient memory!");
    return -1;
  }
  const int length = UTIL_snprintf(pFile->pText.get(), kSize, "%u", production.SNValue);
  pFile->NumBytes = static_cast<u64>(length) + 1;
  // A run that has begun meanwhile has made its own, and counts on in it: that stays.
  const SYS_HANDLE h = SYS_FILE_BeginReplace(pFile->acName.data(), true);
  const bool isWritten =
      h != SYS_INVALID_FILE &&
      SYS_FILE_Write(h, pFile->pText.get(), pFile->NumBytes) == static_cast<i64>(pFile->NumBytes);
  if (h != SYS_INVALID_FILE && !isWritten) {
    const u32 error = SYS_GetLastError();
    SYS_FILE_EndReplace(h, false);
    SYS_SetLastError(error);
  }
  if (isWritten && SYS_FILE_EndReplaceEx(h, SYS_REPLACE_NEW | SYS_REPLACE_LASTING) == 0) {
    return 0;
  }
  char acError[1024];
  APP_FormatFileError(pFile->acName.data(), "write", acError, sizeof(acError));
  APP_LogError(APP_CAUSE::FileNotRead, acError);
  return -1;
}

int LoadSerial(SideFile* pFile) {
  switch (Load("_Serial", "Failed to get S/N file name.", pFile)) {
    case LoadResult::Loaded:
      return EndText(pFile);
    case LoadResult::NoFile:
      return MakeSerial(pFile);
    case LoadResult::Failed:
      break;
  }
  return -1;
}

}  // namespace

int APP_DownloadConfigFiles(MEMAREA* pArea) {
  return Download("Downloading file(s) to probe / programmer...", [&] {
    DYNBUFFER data;
    DYNBUFFER config;
    {
      const SYS_LOCK_GUARD lock(APP_GetLock());  // not for the transfer, which takes its time
      if (ZELMONT_BuildDataFile(pArea, &data) != 0) {
        return -1;
      }
    }
    std::array<ZELMONT_FILE_INFO, 2> aFiles;
    if (ZELMONT_CFG_Build(&config) != 0 || !Describe(data, kDataFile, &aFiles[0]) ||
        !Describe(config, kConfigFile, &aFiles[1])) {
      return -1;
    }
    return APP_DownloadFiles(aFiles.data(), aFiles.size());
  });
}

int APP_DownloadSNFiles() {
  return Download("Downloading serial number file to emulator...", [] {
    SideFile serial;
    SideFile list;
    std::array<ZELMONT_FILE_INFO, 2> aFiles;
    if (LoadSerial(&serial) != 0 ||
        !ZELMONT_SetFileInfo(&aFiles[0], kSerialFile, serial.pText.get(), serial.NumBytes)) {
      return -1;
    }
    const LoadResult result = Load("_SNList", "Failed to get S/N list file name.", &list);
    const bool hasList = result == LoadResult::Loaded;
    if (result == LoadResult::Failed ||
        (hasList && !ZELMONT_SetFileInfo(&aFiles[1], kListFile, list.pText.get(), list.NumBytes))) {
      return -1;
    }
    return APP_DownloadFiles(aFiles.data(), hasList ? 2 : 1);
  });
}
