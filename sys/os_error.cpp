#include "sys/os_error.h"

#include <signal.h>

#include <cerrno>
#include <cstring>
#include <string>

#include "sys/file.h"

namespace {

// One number a thread, as the platform's own.
thread_local u32 tl_LastError = SYS_ERROR_NONE;

// A name may be missing itself, or the directory that should hold it.
u32 MapMissing(const char* sName) {
  if (sName == nullptr) {
    return SYS_ERROR_FILE_NOT_FOUND;
  }
  const std::string dir(SysDirPart(sName));
  struct stat info {};
  const bool isDirThere = dir.empty() || (stat(dir.c_str(), &info) == 0 && S_ISDIR(info.st_mode));
  return isDirThere ? SYS_ERROR_FILE_NOT_FOUND : SYS_ERROR_PATH_NOT_FOUND;
}

}  // namespace

u32 SysMapError(int Error, const char* sName) {
  switch (Error) {
    case 0:
      return SYS_ERROR_NONE;
    case ENOENT:
      return MapMissing(sName);
    case ENOTDIR:
      return SYS_ERROR_PATH_NOT_FOUND;
    case EACCES:
    case EPERM:
    case EROFS:
    case EISDIR:
      return SYS_ERROR_ACCESS_DENIED;
    case ENAMETOOLONG:
    case EINVAL:
      return SYS_ERROR_BAD_NAME;
    case ETXTBSY:
    case EBUSY:
    case EWOULDBLOCK:
      return SYS_ERROR_SHARING_VIOLATION;
    default:
      return SYS_ERROR_OTHER + static_cast<u32>(Error);
  }
}

void SysNoteError(int Error, const char* sName) {
  tl_LastError = SysMapError(Error, sName);
}

bool SysCheckName(const char* sName) {
  if (sName == nullptr || *sName == '\0' || std::strlen(sName) >= SYS_MAX_PATH) {
    tl_LastError = SYS_ERROR_BAD_NAME;
    return false;
  }
  return true;
}

u32 SysAttributesOf(const struct stat& Info) {
  u32 attributes = SysIsReadOnly(Info) ? SYS_ATTR_READONLY : 0;
  if (S_ISDIR(Info.st_mode)) {
    attributes |= SYS_ATTR_DIRECTORY;
  } else if (!S_ISREG(Info.st_mode)) {
    attributes |= SYS_ATTR_DEVICE;
  }
  return attributes != 0 ? attributes : SYS_ATTR_NORMAL;
}

bool SysIsReadOnly(const struct stat& Info) {
  return (Info.st_mode & (S_IWUSR | S_IWGRP | S_IWOTH)) == 0;
}

std::string_view SysDirPart(std::string_view Path) {
  const std::size_t end = Path.rfind('/');
  return end == std::string_view::npos ? std::string_view{} : Path.substr(0, end + 1);
}

u32 SYS_GetLastError() {
  return tl_LastError;
}

std::string SYS_GetErrorText(u32 Error) {
  switch (Error) {
    case SYS_ERROR_NONE:
      return {};
    case SYS_ERROR_FILE_NOT_FOUND:
    case SYS_ERROR_PATH_NOT_FOUND:
      return "No such file or directory.";
    case SYS_ERROR_ACCESS_DENIED:
      return "Access is denied.";
    case SYS_ERROR_SHARING_VIOLATION:
      return "It is in use.";
    case SYS_ERROR_BAD_NAME:
      return "Invalid name.";
    default:
      break;
  }
  char acText[128] = {};
  return std::string(strerror_r(static_cast<int>(Error - SYS_ERROR_OTHER), acText, sizeof(acText)))
      .append(".");
}

void SYS_FILE_IgnoreSizeSignal() {
  signal(SIGXFSZ, SIG_IGN);
}

void SYS_SetLastError(u32 Error) {
  tl_LastError = Error;
}
