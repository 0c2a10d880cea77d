#include <dlfcn.h>
#include <fcntl.h>
#include <link.h>
#include <pwd.h>
#include <unistd.h>

#include <array>
#include <climits>
#include <cstdlib>
#include <string>
#include <vector>

#include "sys/file.h"
#include "sys/os_error.h"
#include "sys/path.h"
#include "sys/util_string.h"

namespace {

constexpr char kCompanyDir[] = "/TARVEX";

std::string ExePath() {
  std::array<char, PATH_MAX> acPath{};
  const ssize_t n = readlink("/proc/self/exe", acPath.data(), acPath.size());
  return n > 0 ? std::string(acPath.data(), static_cast<std::size_t>(n)) : std::string();
}

// This code is part of the program or of a library; only the library's name comes from the linker.
std::string ModulePath() {
  Dl_info info{};
  void* pExtra = nullptr;
  if (dladdr1(reinterpret_cast<const void*>(&ExePath), &info, &pExtra, RTLD_DL_LINKMAP) == 0) {
    return ExePath();
  }
  const auto* const pMap = static_cast<const link_map*>(pExtra);
  if (pMap == nullptr || pMap->l_name == nullptr || *pMap->l_name == '\0') {
    return ExePath();
  }
  std::array<char, PATH_MAX> acPath{};
  return realpath(pMap->l_name, acPath.data()) != nullptr ? acPath.data() : pMap->l_name;
}

std::string HomeDir() {
  const char* const sHome = std::getenv("HOME");
  if (sHome != nullptr && *sHome == '/') {
    return sHome;
  }
  std::vector<char> buffer(16384);
  passwd entry{};
  passwd* pFound = nullptr;
  const int error = getpwuid_r(geteuid(), &entry, buffer.data(), buffer.size(), &pFound);
  return error == 0 && pFound != nullptr ? pFound->pw_dir : std::string();
}

// Empty when there is none. Relative names in the variable are to be ignored.
std::string AppDataDir() {
  const char* const sConfig = std::getenv("XDG_CONFIG_HOME");
  if (sConfig != nullptr && *sConfig == '/') {
    return std::string(sConfig) + kCompanyDir;
  }
  const std::string home = HomeDir();
  return home.empty() ? home : home + "/.config" + kCompanyDir;
}

// Permissions alone don't tell: the file system may be mounted read-only or be full.
bool CanCreateIn(const std::string& Dir) {
  std::string name = Dir + "TARVEXXXXXXX";
  const int fd = mkostemp(name.data(), O_CLOEXEC);
  if (fd < 0) {
    return false;
  }
  close(fd);
  unlink(name.c_str());
  return true;
}

int StoreDir(const std::string& Dir, char* pBuf, u32 BufSize) {
  if (pBuf == nullptr || Dir.size() >= BufSize) {
    return -1;
  }
  UTIL_strcpy(pBuf, Dir.c_str(), BufSize);
  return 0;
}

// The directory itself, without and with a separator behind it, created if needed.
int MakeAppDataDir(const char* sTail, char* pBuf, u32 BufSize) {
  const std::string dir = AppDataDir();
  if (dir.empty() || SYS_DIR_CreatePath((dir + "/").c_str()) != 0) {
    return -1;
  }
  return StoreDir(dir + sTail, pBuf, BufSize);
}

}  // namespace

void SYS_GetExePath(char* pBuf, u32 BufSize) {
  UTIL_strcpy(pBuf, ExePath().c_str(), BufSize);
}

void SYS_GetExeDir(char* pBuf, u32 BufSize) {
  UTIL_strcpy(pBuf, std::string(SysDirPart(ExePath())).c_str(), BufSize);
}

void SYS_GetModuleDir(char* pBuf, u32 BufSize) {
  UTIL_strcpy(pBuf, std::string(SysDirPart(ModulePath())).c_str(), BufSize);
}

int SYS_GetAppDataDir(char* pBuf, u32 BufSize) {
  return MakeAppDataDir("", pBuf, BufSize);
}

int SYS_GetWritableDir(char* pBuf, u32 BufSize) {
  const std::string dir(SysDirPart(ExePath()));
  if (!dir.empty() && CanCreateIn(dir)) {
    return StoreDir(dir, pBuf, BufSize);
  }
  return MakeAppDataDir("/", pBuf, BufSize);
}
