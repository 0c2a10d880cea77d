#include <algorithm>
#include <array>
#include <cstring>
#include <new>
#include <stdexcept>

#include "sys/util_string.h"
#include "text/file_error.h"
#include "text/projfile.h"
#include "text/projfile_store.h"

namespace {

constexpr char kNameTooLong[] = "Insufficient memory for filename.";

// Room for both names' share of a worded file error.
using MessageBuffer = std::array<char, SYS_MAX_PATH + 128>;

bool IsEmpty(const char* s) {
  return s == nullptr || *s == '\0';
}

bool IsTooLong(const char* s) {
  return s != nullptr && std::strlen(s) >= SYS_MAX_PATH;
}

void StoreName(ProjStore* pStore, const char* pFileName) {
  UTIL_strcpy(pStore->acFileName, pFileName != nullptr ? pFileName : "", SYS_MAX_PATH);
}

std::string OpenFailure(const char* pFileName, const char* sReason) {
  return std::string("Could not open project file [") + pFileName + "]\n" + sReason;
}

std::string SaveFailure(const char* pFileName, const char* sReason) {
  return std::string("Could not save project file [") + pFileName + "]\n" + sReason;
}

bool Resize(std::string* pText, i64 Size) {
  try {
    pText->resize(static_cast<std::size_t>(Size));
    return true;
  } catch (const std::bad_alloc&) {
    return false;
  } catch (const std::length_error&) {
    return false;
  }
}

// The whole file. A message on failure, else nothing.
std::string ReadWhole(const char* pFileName, std::string* pText) {
  const u32 attributes = SYS_FILE_GetAttributes(pFileName);
  if (attributes != SYS_ATTR_INVALID && (attributes & SYS_ATTR_DEVICE) != 0) {
    return OpenFailure(pFileName, "It is a device or a pipe.");
  }
  const SYS_HANDLE h = SYS_FILE_Open(pFileName, SYS_FILE_READ | SYS_FILE_SHARE_READ);
  if (h == SYS_INVALID_FILE) {
    MessageBuffer acMessage{};
    APP_FormatFileError(pFileName, "open", acMessage.data(), acMessage.size());
    return acMessage.data();
  }
  std::string message;
  const i64 size = SYS_FILE_GetSize(h);
  if (size < 0 || !Resize(pText, size)) {
    message = OpenFailure(pFileName, "Unable to create file buffer!");
  } else if (SYS_FILE_Read(h, pText->data(), pText->size()) != size) {
    message = OpenFailure(pFileName, "Failed to read data!");
  }
  SYS_FILE_Close(h);
  return message;
}

// Takes a byte order mark off. A message when this is no text that could be read, else nothing.
std::string TakeText(const char* pFileName, std::string* pText) {
  if (pText->starts_with("\xFF\xFE") || pText->starts_with("\xFE\xFF")) {
    return OpenFailure(pFileName, "It is in UTF-16. Save it as UTF-8.");
  }
  if (pText->starts_with("\xEF\xBB\xBF")) {
    pText->erase(0, 3);
  }
  if (const std::size_t nul = pText->find('\0'); nul != std::string::npos) {
    const auto line = 1 + std::count(pText->begin(), pText->begin() + static_cast<i64>(nul), '\n');
    return OpenFailure(pFileName,
                       ("It is no text: line " + std::to_string(line) + " holds a NUL.").c_str());
  }
  return {};
}

}  // namespace

int PROJFILE_Create(const char* pFileName) {
  ProjAccess access;
  ProjStore* const pStore = access.Get();
  if (pStore == nullptr) {
    return -1;
  }
  if (IsTooLong(pFileName)) {
    return access.Fail(kNameTooLong);
  }
  if (!IsEmpty(pFileName) && SYS_FILE_Exists(pFileName) != 0) {
    return access.Fail(std::string("File already exist:\n") + pFileName);
  }
  *pStore = ProjStore();
  StoreName(pStore, pFileName);
  pStore->IsOpen = true;
  pStore->NumChanges = 1;
  return 0;
}

int PROJFILE_Open(const char* pFileName) {
  ProjAccess access;
  ProjStore* const pStore = access.Get();
  if (pStore == nullptr) {
    return -1;
  }
  // The name may be the one that is about to be dropped.
  const std::string name = pFileName != nullptr ? pFileName : "";
  *pStore = ProjStore();
  if (name.empty()) {
    return access.Fail("Unable to open project file. No filename specified.");
  }
  if (IsTooLong(name.c_str())) {
    return access.Fail(kNameTooLong);
  }
  std::string text;
  std::string message = ReadWhole(name.c_str(), &text);
  if (!message.empty()) {
    return access.Fail(std::move(message));
  }
  message = TakeText(name.c_str(), &text);
  if (!message.empty()) {
    return access.Fail(std::move(message));
  }
  StoreName(pStore, name.c_str());
  pStore->Content.emplace().Parse(std::move(text));
  pStore->IsOpen = true;
  return 0;
}

int PROJFILE_Save(const char* pFileName) {
  ProjAccess access;
  ProjStore* const pStore = access.Get();
  if (pStore == nullptr) {
    return -1;
  }
  if (IsTooLong(pFileName)) {
    return access.Fail(kNameTooLong);
  }
  // Under another name there is no file yet that an unchanged text could be spared for.
  if (pFileName != nullptr && std::strcmp(pFileName, pStore->acFileName) != 0) {
    StoreName(pStore, pFileName);
    ++pStore->NumChanges;
  }
  if (pStore->NumChanges == 0) {
    return 0;
  }
  const char* const sName = pStore->acFileName;
  if (*sName == '\0') {
    return access.Fail("Unable to save project file. No filename specified.");
  }
  if (!pStore->Content) {
    return access.Fail(SaveFailure(sName, "Invalid file content buffer!"));
  }
  const SYS_HANDLE h = SYS_FILE_BeginReplace(sName, false);
  if (h == SYS_INVALID_FILE) {
    MessageBuffer acMessage{};
    const bool isReadOnly =
        APP_FormatFileError(sName, "save", acMessage.data(), acMessage.size()) == 1;
    access.Fail(acMessage.data());
    return isReadOnly ? -2 : -1;
  }
  const std::string text = pStore->Content->Format();
  const bool isWhole = SYS_FILE_Write(h, text.data(), text.size()) == static_cast<i64>(text.size());
  if (SYS_FILE_EndReplace(h, isWhole) != 0 || !isWhole) {
    return access.Fail(SaveFailure(
        sName, ("Failed to write data! " + SYS_GetErrorText(SYS_GetLastError())).c_str()));
  }
  pStore->NumChanges = 0;
  return 0;
}
