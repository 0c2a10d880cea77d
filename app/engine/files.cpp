#include "app/engine/files.h"

#include <string>

#include "app/engine/log.h"
#include "sys/memory.h"
#include "sys/util_format.h"
#include "text/file_error.h"

namespace {

constexpr u32 MESSAGE_SIZE = 1024;
constexpr i64 MAX_OFFSET = 0x7FFFFFFFFFFFFFFF;

// Closes a file at the end of a scope.
class FileCloser {
 public:
  explicit FileCloser(SYS_HANDLE h) : m_hFile(h) {}
  ~FileCloser() { SYS_FILE_Close(m_hFile); }
  FileCloser(const FileCloser&) = delete;
  FileCloser& operator=(const FileCloser&) = delete;

 private:
  SYS_HANDLE m_hFile;
};

bool IsOpen(SYS_HANDLE h) {
  return h != 0 && h != SYS_INVALID_FILE;
}

// Reason stands behind the first line "Could not <verb> file [<name>]".
void ShowFileError(APP_CAUSE Cause, const char* sVerb, const char* sName, const char* sReason) {
  char acText[MESSAGE_SIZE];
  UTIL_snprintf(acText, sizeof(acText), "Could not %s file [%s]\n%s", sVerb, sName, sReason);
  APP_ShowError(APP_ERROR(Cause).In(sName), acText);
}

// What a load is about to read. With All set the file must hold NumBytes, which is its rest as told
// by its size; without it NumBytes is what the caller has room or use for, and less is no failure.
struct ReadPlan {
  u64 Offset;
  u64 NumBytes;
  bool All;
};

bool MakePlan(SYS_HANDLE h, u64 Offset, i64 NumBytes, ReadPlan* pPlan) {
  *pPlan = {Offset, static_cast<u64>(NumBytes), NumBytes < 0};
  if (!pPlan->All) {
    return true;
  }
  const i64 fileSize = SYS_FILE_GetSize(h);
  if (fileSize < 0) {
    return false;
  }
  const u64 size = static_cast<u64>(fileSize);
  pPlan->NumBytes = size > Offset ? size - Offset : 0;
  return true;
}

// Bytes read, or -1.
i64 ReadPlanned(SYS_HANDLE h, const ReadPlan& plan, void* pBuf) {
  if (plan.Offset > static_cast<u64>(MAX_OFFSET) ||
      SYS_FILE_Seek(h, static_cast<i64>(plan.Offset), 0) < 0) {
    return -1;
  }
  const i64 numRead = SYS_FILE_Read(h, pBuf, plan.NumBytes);
  // A file that became shorter since its size was taken would be a torn image.
  const bool isShort = numRead < 0 || static_cast<u64>(numRead) < plan.NumBytes;
  return plan.All && isShort ? -1 : numRead;
}

void ReportLoadOpenError(const char* sName, bool ReportMissing) {
  const bool isMissing = SYS_GetLastError() == SYS_ERROR_FILE_NOT_FOUND;
  if (isMissing && !ReportMissing) {
    return;
  }
  const APP_CAUSE cause = isMissing ? APP_CAUSE::FileNotFound : APP_CAUSE::FileNotRead;
  char acText[MESSAGE_SIZE];
  APP_FormatOpenError(sName, acText, sizeof(acText));
  APP_ShowError(APP_ERROR(cause).In(sName), acText);
}

}  // namespace

void* APP_LoadFileEx(const char* sName, u64 Offset, void* pBuf, u64 BufSize, i64 NumBytes,
                     u64* pNumRead, bool ReportMissing) {
  if (pNumRead != nullptr) {
    *pNumRead = 0;
  }
  if (sName == nullptr) {
    APP_ShowError(APP_CAUSE::Usage, "Unable to open file. No filename specified.");
    return nullptr;
  }
  const SYS_HANDLE hFile = SYS_FILE_Open(sName, SYS_FILE_READ | SYS_FILE_SHARE_READ);
  if (hFile == SYS_INVALID_FILE) {
    ReportLoadOpenError(sName, ReportMissing);
    return nullptr;
  }
  const FileCloser closer(hFile);
  ReadPlan plan;
  if (!MakePlan(hFile, Offset, NumBytes, &plan)) {
    ShowFileError(APP_CAUSE::FileNotRead, "open", sName, "Failed to read data!");
    return nullptr;
  }
  SYS_MEM_PTR<void> pOwn;
  if (plan.NumBytes > BufSize) {
    pOwn.reset(SYS_MEM_Alloc(plan.NumBytes, "APP_LoadFileEx(): temp. file buffer"));
    pBuf = pOwn.get();
  }
  if (pBuf == nullptr) {
    ShowFileError(APP_CAUSE::OutOfMemory, "open", sName, "Unable to create file buffer!");
    return nullptr;
  }
  const i64 numRead = ReadPlanned(hFile, plan, pBuf);
  if (numRead < 0) {
    ShowFileError(APP_CAUSE::FileNotRead, "open", sName, "Failed to read data!");
    return nullptr;
  }
  if (pNumRead != nullptr) {
    *pNumRead = static_cast<u64>(numRead);
  }
  static_cast<void>(pOwn.release());  // the caller's now
  return pBuf;
}

void* APP_LoadFile(const char* sName, void* pBuf, u64 BufSize, u64* pNumRead) {
  return APP_LoadFileEx(sName, 0, pBuf, BufSize, -1, pNumRead, false);
}

SYS_HANDLE APP_OpenFileReport(const char* sName, u32 Flags, bool Report) {
  if (sName == nullptr) {
    if (Report) {
      APP_ShowError(APP_CAUSE::Usage, "Unable to open file. No filename specified.");
    }
    return 0;
  }
  const SYS_HANDLE hFile = SYS_FILE_Open(sName, Flags);
  if (hFile != SYS_INVALID_FILE) {
    return hFile;
  }
  if (Report) {
    char acText[MESSAGE_SIZE];
    APP_FormatFileError(sName, "open", acText, sizeof(acText));
    APP_ShowError(APP_ERROR(APP_CAUSE::FileNotRead).In(sName), acText);
  }
  return 0;
}

i64 APP_ReadFile(SYS_HANDLE h, const char* sName, void* pBuf, u64 NumBytes) {
  if (!IsOpen(h) || sName == nullptr || pBuf == nullptr) {
    APP_ShowError(APP_CAUSE::FileNotRead, "Failed to read file!");
    return -1;
  }
  const i64 numRead = SYS_FILE_Read(h, pBuf, NumBytes);
  if (numRead < 0) {
    ShowFileError(APP_CAUSE::FileNotRead, "read", sName, "Failed to read data!");
    return -1;
  }
  return numRead;
}

int APP_SaveFile(const char* sName, const void* pData, u64 NumBytes) {
  if (sName == nullptr || pData == nullptr || NumBytes == 0) {
    APP_ShowError(APP_CAUSE::Usage, "Unable to save file. No filename specified.");
    return -1;
  }
  const SYS_HANDLE hFile = SYS_FILE_BeginReplace(sName, true);
  if (hFile == SYS_INVALID_FILE) {
    char acText[MESSAGE_SIZE];
    APP_FormatFileError(sName, "save", acText, sizeof(acText));
    APP_ShowError(APP_ERROR(APP_CAUSE::FileNotWritten).In(sName), acText);
    return -1;
  }
  const i64 numWritten = SYS_FILE_Write(hFile, pData, NumBytes);
  const bool isWhole = numWritten >= 0 && static_cast<u64>(numWritten) == NumBytes;
  const bool isInPlace = SYS_FILE_EndReplace(hFile, isWhole) == 0;
  if (!isWhole || !isInPlace) {
    const std::string reason = "Failed to write data! " + SYS_GetErrorText(SYS_GetLastError());
    ShowFileError(APP_CAUSE::FileNotWritten, "save", sName, reason.c_str());
    return -1;
  }
  return 0;
}
