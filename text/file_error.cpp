#include "text/file_error.h"

#include "sys/file.h"
#include "sys/util_format.h"

namespace {

// The words for the causes that every form tells the same way; null for any other.
const char* CauseText(u32 Error) {
  switch (Error) {
    case SYS_ERROR_FILE_NOT_FOUND:
      return "File not found!";
    case SYS_ERROR_PATH_NOT_FOUND:
      return "Path not found!";
    case SYS_ERROR_ACCESS_DENIED:
      return "Access is denied!";
    case SYS_ERROR_INVALID_DRIVE:
      return "Invalid drive!";
    case SYS_ERROR_BAD_NAME:
      return "The filename syntax is incorrect!";
    default:
      return nullptr;
  }
}

bool IsReadOnlyFile(const char* sName) {
  const u32 attributes = SYS_FILE_GetAttributes(sName);
  return attributes != SYS_ATTR_INVALID && (attributes & SYS_ATTR_READONLY) != 0;
}

}  // namespace

int APP_FormatFileError(const char* sName, const char* sVerb, char* pBuf, u32 BufSize) {
  const u32 error = SYS_GetLastError();
  const char* const sCause = CauseText(error);
  if (sCause == nullptr) {
    UTIL_snprintf(pBuf, BufSize, "Could not %s file [%s]!", sVerb, sName);
    return 0;
  }
  const bool isReadOnly = error == SYS_ERROR_ACCESS_DENIED && IsReadOnlyFile(sName);
  SYS_SetLastError(error);  // looking at the attributes may have changed it
  UTIL_snprintf(pBuf, BufSize, "Could not %s file [%s]\n%s", sVerb, sName,
                isReadOnly ? "File has read only attribute!" : sCause);
  return isReadOnly ? 1 : 0;
}

void APP_FormatOpenError(const char* sName, char* pBuf, u32 BufSize) {
  const char* const sCause = CauseText(SYS_GetLastError());
  UTIL_snprintf(pBuf, BufSize, "Could not open file [%s]\n%s", sName,
                sCause != nullptr ? sCause : "Invalid file handle!");
}
