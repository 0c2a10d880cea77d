#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <memory>
#include <string>
#include <vector>

#include "sys/file.h"
#include "sys/os_error.h"
#include "sys/time_parts.h"

namespace {

// A path with more missing levels is taken for a runaway.
constexpr std::size_t kMaxLevels = 128;

struct DirCloser {
  void operator()(DIR* pDir) const { closedir(pDir); }
};

void StripSeparators(std::string* pPath) {
  while (pPath->size() > 1 && pPath->back() == '/') {
    pPath->pop_back();
  }
}

// The directory part without the separator behind it; the root keeps its own.
std::string DirOf(const char* sPath) {
  std::string dir(SysDirPart(sPath));
  StripSeparators(&dir);
  return dir;
}

// 1 for a directory, 0 for nothing, -1 for anything else.
int LookAt(const std::string& Path) {
  struct stat info {};
  if (stat(Path.c_str(), &info) == 0) {
    errno = ENOTDIR;
    return S_ISDIR(info.st_mode) ? 1 : -1;
  }
  return errno == ENOENT ? 0 : -1;
}

}  // namespace

int SYS_DIR_Exists(const char* sName) {
  const u32 attributes = SYS_FILE_GetAttributes(sName);
  return attributes != SYS_ATTR_INVALID && (attributes & SYS_ATTR_DIRECTORY) != 0 ? 1 : 0;
}

int SYS_DIR_CreatePath(const char* sPath) {
  if (!SysCheckName(sPath)) {
    return -1;
  }
  std::vector<std::string> missing;
  std::string dir = DirOf(sPath);
  int found = 1;
  while (!dir.empty() && (found = LookAt(dir)) == 0) {
    if (missing.size() == kMaxLevels) {
      SysNoteError(ENAMETOOLONG, sPath);
      return -1;
    }
    missing.push_back(dir);
    dir = DirOf(dir.c_str());
  }
  if (found < 0) {
    SysNoteError(errno, dir.c_str());
    return -1;
  }
  for (; !missing.empty(); missing.pop_back()) {
    const std::string& name = missing.back();
    // Somebody else may have made it since.
    if (mkdir(name.c_str(), 0777) != 0 && (errno != EEXIST || LookAt(name) != 1)) {
      SysNoteError(errno, name.c_str());
      return -1;
    }
  }
  return 0;
}

int SYS_DIR_IsPathValid(const char* sName) {
  if (!SysCheckName(sName)) {
    return 0;
  }
  const std::string dir = DirOf(sName);
  const int fd = open(dir.empty() ? "." : dir.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
  if (fd < 0) {
    return 0;
  }
  close(fd);
  return 1;
}

int SYS_DIR_Enum(const char* sDir, void* pContext, SYS_DIR_CALLBACK* pfnCallback) {
  if (!SysCheckName(sDir)) {
    return -1;
  }
  const std::unique_ptr<DIR, DirCloser> pDir(opendir(sDir));
  if (pDir == nullptr) {
    SysNoteError(errno, sDir);
    return -1;
  }
  int numEntries = 0;
  errno = 0;
  while (const dirent* const pItem = readdir(pDir.get())) {
    const char* const sName = pItem->d_name;
    if (std::strcmp(sName, ".") != 0 && std::strcmp(sName, "..") != 0) {
      struct stat info {};
      // A link that leads nowhere is listed as itself; an entry removed meanwhile isn't.
      if (fstatat(dirfd(pDir.get()), sName, &info, 0) == 0 ||
          fstatat(dirfd(pDir.get()), sName, &info, AT_SYMLINK_NOFOLLOW) == 0) {
        ++numEntries;
        if (pfnCallback != nullptr) {
          const SYS_DIR_ENTRY entry = {SysToUtc(info.st_mtim), sName, sDir,
                                       static_cast<u64>(info.st_size), SysAttributesOf(info)};
          pfnCallback(&entry, pContext);
        }
      }
    }
    errno = 0;
  }
  if (errno != 0) {
    SysNoteError(errno, sDir);
    return -1;
  }
  return numEntries;
}
