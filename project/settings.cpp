#include "project/settings.h"

#include <cstring>
#include <mutex>
#include <string>
#include <vector>

#include "project/settings_text.h"
#include "sys/file.h"
#include "sys/util_format.h"
#include "sys/util_string.h"
#include "text/parse.h"

namespace {

constexpr u32 kMaxNumber = 0x7FFFFFFF;
constexpr u32 kNumRetries = 5;
constexpr u32 kNumTurnRetries = 200;
constexpr u32 kRetryDelayMs = 10;
constexpr u32 kErrorSize = SYS_MAX_PATH + 128;

struct SETTINGS_CHANGE {
  std::string Section, Key, Line;
};

struct SETTINGS_STORE {
  std::mutex Lock;  // guards all that follows
  SettingsText Text;
  std::vector<SETTINGS_CHANGE> Unsaved;
  char acFileName[SYS_MAX_PATH] = {};
  SETTINGS_REPORT* pfReport = nullptr;
  bool IsReady = false;
  // Why the file could not be read, else empty. Such a file isn't written: it would lose what it
  // holds.
  char acLoadError[kErrorSize] = {};
};

SETTINGS_STORE Store;

// Reports are made behind the lock's back: what shows them may ask for a setting.
int Report(SETTINGS_REPORT* pfReport, const char* sText) {
  if (pfReport != nullptr) {
    pfReport(sText);
  }
  return -1;
}

// What is wrong, and in a second line where.
int ReportKey(SETTINGS_REPORT* pfReport, const char* sText, const char* pSection,
              const char* pKey) {
  std::string text = std::string(sText) + "\nFile [";
  {
    const std::lock_guard lock(Store.Lock);
    text += Store.acFileName;
  }
  text = text + "], section '" + pSection + "', key '" + pKey + "'";
  return Report(pfReport, text.c_str());
}

// Both directions share the words but for the verb, the missing retry and the read-only case.
void FormatFileError(u32 Error, const char* sVerb, char* pBuf, u32 BufSize) {
  const bool isSaving = std::strcmp(sVerb, "save") == 0;
  const char* sCause = "Invalid file handle!";
  switch (Error) {
    case SYS_ERROR_FILE_NOT_FOUND:
      sCause = "File not found!";
      break;
    case SYS_ERROR_PATH_NOT_FOUND:
      sCause = "Path not found!";
      break;
    case SYS_ERROR_ACCESS_DENIED: {
      const u32 attributes = SYS_FILE_GetAttributes(Store.acFileName);
      const bool isReadOnly =
          attributes != SYS_ATTR_INVALID && (attributes & SYS_ATTR_READONLY) != 0;
      sCause = isSaving && isReadOnly ? "File has read only attribute!" : "Access is denied!";
      break;
    }
    case SYS_ERROR_INVALID_DRIVE:
      sCause = "Invalid drive!";
      break;
    case SYS_ERROR_SHARING_VIOLATION:
      if (isSaving) {
        sVerb = "open";
        sCause = "Sharing violation!";
      }
      break;
    case SYS_ERROR_BAD_NAME:
      sCause = "Filename syntax is incorrect!";
      break;
    default:
      break;
  }
  UTIL_snprintf(pBuf, BufSize, "Could not %s file [%s]\n%s", sVerb, Store.acFileName, sCause);
}

// Another process that writes the same file has it for a moment only.
SYS_HANDLE BeginReplaceRetried() {
  for (u32 i = 0;; ++i) {
    const SYS_HANDLE h = SYS_FILE_BeginReplace(Store.acFileName, false);
    if (h != SYS_INVALID_FILE || SYS_GetLastError() != SYS_ERROR_SHARING_VIOLATION ||
        i == kNumRetries) {
      return h;
    }
    SYS_Sleep(kRetryDelayMs);
  }
}

// Called with the lock held, as are the next two. An empty error on success.
void SaveText(char* pError, u32 ErrorSize) {
  if (Store.acLoadError[0] != '\0') {
    UTIL_strcpy(pError, Store.acLoadError, ErrorSize);
    return;
  }
  const SYS_HANDLE h = BeginReplaceRetried();
  if (h == SYS_INVALID_FILE) {
    FormatFileError(SYS_GetLastError(), "save", pError, ErrorSize);
    return;
  }
  const std::string& text = Store.Text.Text();
  const bool isWhole = SYS_FILE_Write(h, text.data(), text.size()) == static_cast<i64>(text.size());
  if (SYS_FILE_EndReplace(h, isWhole) != 0 || !isWhole) {
    UTIL_snprintf(pError, ErrorSize, "Could not save file [%s]\nFailed to write data! %s",
                  Store.acFileName, SYS_GetErrorText(SYS_GetLastError()).c_str());
  }
}

// A missing file is an empty one; it appears with the first write.
void LoadText() {
  if (SYS_FILE_Exists(Store.acFileName) == 0) {
    return;
  }
  const SYS_HANDLE h = SYS_FILE_Open(Store.acFileName, SYS_FILE_READ | SYS_FILE_SHARE_READ);
  if (h == SYS_INVALID_FILE) {
    FormatFileError(SYS_GetLastError(), "open", Store.acLoadError, kErrorSize);
    return;
  }
  const i64 size = SYS_FILE_GetSize(h);
  std::string text(size > 0 ? static_cast<std::size_t>(size) : 0, '\0');
  if (size < 0 || SYS_FILE_Read(h, text.data(), text.size()) != size) {
    UTIL_snprintf(Store.acLoadError, kErrorSize, "Could not open file [%s]\nFailed to read data!",
                  Store.acFileName);
  } else {
    Store.Text.Assign(std::move(text));
  }
  SYS_FILE_Close(h);
}

// Two programs that change settings at one time take turns. Without the lock, as on a disk that is
// read-only, the write goes ahead and tells what stands against it.
class FileTurn {
 public:
  FileTurn() {
    const std::string name = std::string(Store.acFileName) + ".lock";
    for (u32 i = 0; i < kNumTurnRetries; ++i) {
      m_hFile = SYS_FILE_Open(name.c_str(), SYS_FILE_WRITE | SYS_FILE_CREATE);
      if (m_hFile != SYS_INVALID_FILE || SYS_GetLastError() != SYS_ERROR_SHARING_VIOLATION) {
        return;
      }
      SYS_Sleep(kRetryDelayMs);
    }
  }
  ~FileTurn() {
    if (m_hFile != SYS_INVALID_FILE) {
      SYS_FILE_Close(m_hFile);
    }
  }
  FileTurn(const FileTurn&) = delete;
  FileTurn& operator=(const FileTurn&) = delete;

 private:
  SYS_HANDLE m_hFile = SYS_INVALID_FILE;
};

// What another program stored since the file was read stays: only what this one changed and has not
// stored yet goes over it.
void MergeAndSave(char* pError, u32 ErrorSize) {
  const FileTurn turn;
  if (Store.acLoadError[0] == '\0') {
    LoadText();
    if (Store.acLoadError[0] != '\0') {
      UTIL_strcpy(pError, Store.acLoadError, ErrorSize);
      Store.acLoadError[0] = '\0';  // it was read before: the next write tries again
    }
  }
  for (const SETTINGS_CHANGE& change : Store.Unsaved) {
    Store.Text.WriteLine(change.Section, change.Key, change.Line);
  }
  if (pError[0] == '\0') {
    SaveText(pError, ErrorSize);
  }
  if (pError[0] == '\0') {
    Store.Unsaved.clear();
  }
}

void NoteChange(SETTINGS_CHANGE Change) {
  std::erase_if(Store.Unsaved, [&Change](const SETTINGS_CHANGE& old) {
    return old.Section == Change.Section && old.Key == Change.Key;
  });
  Store.Unsaved.push_back(std::move(Change));
}

// The text in memory changes even when the file cannot be written: the setting holds for this run.
int WriteKey(const char* pSection, const char* pKey, const std::string& line) {
  char acError[kErrorSize] = {};
  SETTINGS_REPORT* pfReport = nullptr;
  {
    const std::lock_guard lock(Store.Lock);
    if (!Store.IsReady) {
      return -1;
    }
    pfReport = Store.pfReport;
    NoteChange({pSection, pKey, line});
    MergeAndSave(acError, kErrorSize);
  }
  return acError[0] == '\0' ? 0 : Report(pfReport, acError);
}

}  // namespace

void SETTINGS_Init(const char* pFileName, SETTINGS_REPORT* pfReport) {
  char acError[kErrorSize] = {};
  {
    const std::lock_guard lock(Store.Lock);
    Store.Text.Assign({});
    Store.Unsaved.clear();
    UTIL_strcpy(Store.acFileName, pFileName != nullptr ? pFileName : "", SYS_MAX_PATH);
    Store.pfReport = pfReport;
    Store.acLoadError[0] = '\0';
    LoadText();
    Store.IsReady = true;
    UTIL_strcpy(acError, Store.acLoadError, kErrorSize);
  }
  if (acError[0] != '\0') {
    Report(pfReport, acError);
  }
}

int SETTINGS_ReadNumber(const char* pSection, const char* pKey, u32* pValue) {
  char acError[kErrorSize] = {};
  SETTINGS_REPORT* pfReport = nullptr;
  i32 value = 0;
  if (pSection == nullptr || pKey == nullptr || pValue == nullptr) {
    return -1;
  }
  {
    const std::lock_guard lock(Store.Lock);
    PARSE_CURSOR cursor = Store.IsReady ? Store.Text.FindValue(pSection, pKey) : nullptr;
    if (cursor == nullptr) {
      return -1;
    }
    pfReport = Store.pfReport;
    PARSE_ExpectChar(acError, kErrorSize, &cursor, '=');
    PARSE_DecNumber(acError, kErrorSize, &cursor, &value, 0, kMaxNumber);
  }
  if (acError[0] != '\0') {
    return ReportKey(pfReport, acError, pSection, pKey);
  }
  // The parser limits the magnitude and keeps the sign; a setting has none.
  *pValue = static_cast<u32>(value < 0 ? -value : value);
  return 0;
}

int SETTINGS_ReadString(const char* pSection, const char* pKey, char* pDest, u32 DestSize) {
  char acError[kErrorSize] = {};
  SETTINGS_REPORT* pfReport = nullptr;
  if (pSection == nullptr || pKey == nullptr || pDest == nullptr || DestSize == 0) {
    return -1;
  }
  pDest[0] = '\0';
  {
    const std::lock_guard lock(Store.Lock);
    PARSE_CURSOR cursor = Store.IsReady ? Store.Text.FindValue(pSection, pKey) : nullptr;
    if (cursor == nullptr) {
      return -1;
    }
    pfReport = Store.pfReport;
    PARSE_ExpectChar(acError, kErrorSize, &cursor, '=');
    PARSE_QuotedString(acError, kErrorSize, &cursor, pDest, DestSize);
  }
  if (acError[0] == '\0') {
    return 0;
  }
  pDest[0] = '\0';  // a cut path would name another file
  UTIL_snprintf(acError, kErrorSize,
                "Error while parsing subkey \"%s\" in settings file. Syntax error.", pKey);
  return ReportKey(pfReport, acError, pSection, pKey);
}

int SETTINGS_WriteNumber(const char* pSection, const char* pKey, u32 Value) {
  if (pSection == nullptr || pKey == nullptr) {
    return -1;
  }
  // What the reader would refuse isn't written.
  const u32 value = Value < kMaxNumber ? Value : kMaxNumber;
  return WriteKey(pSection, pKey, std::string(pKey) + " = " + std::to_string(value));
}

int SETTINGS_WriteString(const char* pSection, const char* pKey, const char* pValue) {
  if (pSection == nullptr || pKey == nullptr || pValue == nullptr) {
    return -1;
  }
  // The format has no escapes: such a text would read back as another one, or as further lines.
  if (std::strpbrk(pValue, "\"\r\n") != nullptr) {
    SETTINGS_REPORT* pfReport = nullptr;
    {
      const std::lock_guard lock(Store.Lock);
      pfReport = Store.pfReport;
    }
    const std::string text = std::string("Could not store subkey \"") + pKey +
                             "\" in settings file. The text holds a quote or a line break.";
    return Report(pfReport, text.c_str());
  }
  return WriteKey(pSection, pKey, std::string(pKey) + "=\"" + pValue + "\"");
}

void SETTINGS_Exit() {
  const std::lock_guard lock(Store.Lock);
  Store.Text.Assign({});
  Store.Unsaved.clear();
  Store.acFileName[0] = '\0';
  Store.acLoadError[0] = '\0';
  Store.pfReport = nullptr;
  Store.IsReady = false;
}
