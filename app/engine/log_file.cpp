#include <atomic>
#include <mutex>
#include <string>

#include "app/engine/log.h"
#include "app/engine/log_internal.h"
#include "sys/file.h"
#include "text/file_error.h"

// The log file: every finished line as plain text, ended by CR LF, each run replacing the file. It
// is written in place, line by line, so that after a crash it tells how far the program came.

namespace {

constexpr char ESC = 27;
constexpr u32 LOG_FILE_FLAGS =
    SYS_FILE_WRITE | SYS_FILE_SHARE_READ | SYS_FILE_CREATE | SYS_FILE_TRUNCATE;

struct LogFile {
  std::mutex Lock;       // guards the next two, keeps lines of several threads whole
  SYS_HANDLE hFile = 0;  // valid while IsOpen
  std::string Name;
  std::atomic<bool> IsOpen = false;  // written under Lock; read without it to skip the work
};

// Never destroyed: lines may come while the process ends.
LogFile& File() {
  static LogFile* pFile = new LogFile;
  return *pFile;
}

// Length of the colour sequence "ESC [ parameters letter" at s, or 0.
u32 GetSequenceLength(const char* s) {
  if (s[0] != ESC || s[1] != '[') {
    return 0;
  }
  u32 n = 2;
  while (s[n] >= 32 && s[n] <= 63) {
    ++n;
  }
  return s[n] >= 64 && s[n] <= 126 ? n + 1 : 0;
}

// Turns a line without colours into the file's form: tabs become two blanks, each line ends in CR
// LF. At most doubles the length.
u32 MakeFileText(const char* sText, u32 NumBytes, char* pDest) {
  u32 n = 0;
  for (u32 i = 0; i < NumBytes; ++i) {
    if (sText[i] == '\t') {
      pDest[n++] = ' ';
      pDest[n++] = ' ';
    } else if (sText[i] == '\r' || sText[i] == '\n') {
      i += sText[i] == '\r' && sText[i + 1] == '\n' ? 1 : 0;
      pDest[n++] = '\r';
      pDest[n++] = '\n';
    } else {
      pDest[n++] = sText[i];
    }
  }
  return n;
}

// Called with the lock held.
void Close(LogFile& file) {
  if (file.IsOpen) {
    SYS_FILE_Close(file.hFile);
    file.hFile = 0;
    file.IsOpen = false;
  }
}

// False when the file can't be opened; SYS_GetLastError tells why.
bool OpenLogFile(const char* sName) {
  LogFile& file = File();
  std::lock_guard guard(file.Lock);
  const SYS_HANDLE hFile = SYS_FILE_Open(sName, LOG_FILE_FLAGS);
  if (hFile == SYS_INVALID_FILE) {
    return false;
  }
  file.hFile = hFile;
  file.Name = sName;
  file.IsOpen = true;
  return true;
}

}  // namespace

u32 LOG_StripColours(const char* sText, char* pDest) {
  u32 n = 0;
  while (*sText != 0) {
    if (*sText != ESC) {
      pDest[n++] = *sText++;
    } else {
      const u32 numBytes = GetSequenceLength(sText);
      sText += numBytes != 0 ? numBytes : 1;
    }
  }
  pDest[n] = 0;
  return n;
}

void LOG_WriteToFile(const char* sLine) {
  LogFile& file = File();
  if (!file.IsOpen.load(std::memory_order_relaxed)) {
    return;
  }
  char acPlain[LOG_LINE_SIZE];
  char acText[2 * LOG_LINE_SIZE];
  const u32 numBytes = MakeFileText(acPlain, LOG_StripColours(sLine, acPlain), acText);
  std::string lostName;
  {
    std::lock_guard guard(file.Lock);
    if (file.IsOpen && SYS_FILE_Write(file.hFile, acText, numBytes) != numBytes) {
      // A full disk must not stop the operation that is being logged; that it ends here is told.
      lostName = file.Name;
      Close(file);
    }
  }
  if (!lostName.empty()) {
    AddLogLine(("WARNING: Log file [" + lostName + "] cannot be written, it ends here.").c_str());
  }
}

void APP_EnableLogFile(bool OnOff) {
  if (OnOff == File().IsOpen) {
    return;
  }
  if (!OnOff) {
    std::lock_guard guard(File().Lock);
    Close(File());
    return;
  }
  char acName[SYS_MAX_PATH] = {};
  APP_EngineHooks.pfGetLogFileName(acName, sizeof(acName));
  if (!OpenLogFile(acName)) {
    char acError[LOG_LINE_SIZE];
    APP_FormatFileError(acName, "open", acError, sizeof(acError));
    APP_ShowWarning(acError);
  }
}
