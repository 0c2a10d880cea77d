#include "sys/path.h"

#include <filesystem>
#include <string>
#include <string_view>

#include "sys/file.h"
#include "sys/util_string.h"

namespace {

constexpr char kSeparator = '/';

bool IsSeparator(char c) {
  return c == '/' || c == '\\';
}

bool HasDrive(std::string_view Path) {
  const char letter = Path.empty() ? '\0' : static_cast<char>(Path[0] | 0x20);
  return Path.size() >= 2 && letter >= 'a' && letter <= 'z' && Path[1] == ':';
}

std::string_view View(const char* s) {
  return s != nullptr ? std::string_view(s) : "";
}

struct PathParts {
  std::string_view Drive, Dir, Name, Ext;
};

PathParts SplitPath(std::string_view Path) {
  PathParts parts;
  if (HasDrive(Path)) {
    parts.Drive = Path.substr(0, 2);
    Path.remove_prefix(2);
  }
  const std::size_t separator = Path.find_last_of("/\\");
  const std::size_t dirSize = separator == std::string_view::npos ? 0 : separator + 1;
  parts.Dir = Path.substr(0, dirSize);
  Path.remove_prefix(dirSize);
  const std::size_t dot = Path.rfind('.');
  parts.Name = Path.substr(0, dot);
  parts.Ext = dot == std::string_view::npos ? std::string_view{} : Path.substr(dot);
  return parts;
}

void Store(std::string_view Text, char* pBuf, u32 BufSize) {
  UTIL_strcpy(pBuf, std::string(Text).c_str(), BufSize);
}

void StoreIfFits(std::string_view Text, char* pBuf, u32 BufSize) {
  Store(Text.size() < BufSize ? Text : std::string_view{}, pBuf, BufSize);
}

}  // namespace

void SYS_PATH_Split(const char* sPath, char* sDrive, u32 DriveSize, char* sDir, u32 DirSize,
                    char* sName, u32 NameSize, char* sExt, u32 ExtSize) {
  const PathParts parts = SplitPath(View(sPath));
  Store(parts.Drive, sDrive, DriveSize);
  Store(parts.Dir, sDir, DirSize);
  Store(parts.Name, sName, NameSize);
  Store(parts.Ext, sExt, ExtSize);
}

void SYS_PATH_Make(char* pBuf, u32 BufSize, const char* sDrive, const char* sDir, const char* sName,
                   const char* sExt) {
  std::string path;
  if (!View(sDrive).empty()) {
    path = {sDrive[0], ':'};
  }
  const std::string_view dir = View(sDir);
  if (!dir.empty() && dir != "\\") {
    path += dir;
    if (!IsSeparator(dir.back())) {
      path += kSeparator;
    }
  }
  path += View(sName);
  const std::string_view ext = View(sExt);
  if (!ext.empty() && ext.front() != '.') {
    path += '.';
  }
  path += ext;
  Store(path, pBuf, BufSize);
}

void SYS_PATH_GetExt(const char* sPath, char* pBuf, u32 BufSize) {
  StoreIfFits(SplitPath(View(sPath)).Ext, pBuf, BufSize);
}

void SYS_PATH_GetName(const char* sPath, char* pBuf, u32 BufSize) {
  StoreIfFits(SplitPath(View(sPath)).Name, pBuf, BufSize);
}

bool SYS_PATH_IsAbs(const char* sPath) {
  const std::string_view path = View(sPath);
  return path.starts_with(kSeparator) || path.starts_with("\\\\") || HasDrive(path);
}

void SYS_PATH_MakeAbs(const char* sBase, const char* sRel, char* pBuf, u32 BufSize) {
  if (SYS_PATH_IsAbs(sRel)) {
    UTIL_strcpy(pBuf, sRel, BufSize);
    return;
  }
  std::string base(View(sBase));
  std::string rel(View(sRel));
  SYS_PATH_ToNative(base.data());
  SYS_PATH_ToNative(rel.data());
  if (SYS_FILE_Exists(base.c_str()) != 0) {
    base.resize(base.rfind(kSeparator) + 1);  // npos + 1 is 0
  }
  // Behind an empty base the name stays relative to the working directory.
  if (!base.empty() && !base.ends_with(kSeparator) && !rel.starts_with(kSeparator)) {
    base += kSeparator;
  }
  Store(base + rel, pBuf, BufSize);
}

void SYS_PATH_MakeFull(const char* sName, char* pBuf, u32 BufSize) {
  std::string name(View(sName));
  SYS_PATH_ToNative(name.data());
  if (!name.empty() && !SYS_PATH_IsAbs(name.c_str())) {
    while (name.starts_with("./")) {
      name.erase(0, 2);
    }
    std::error_code error;
    const std::filesystem::path dir = std::filesystem::current_path(error);
    name = error ? name : (dir / name).string();
  }
  StoreIfFits(name, pBuf, BufSize);
}

void SYS_PATH_ToBackslash(char* sPath) {
  if (sPath == nullptr) {
    return;
  }
  const bool isNetwork = View(sPath).starts_with("//");
  UTIL_ReplaceChar(isNetwork ? sPath + 2 : sPath, '/', '\\');
}

bool SYS_PATH_ToNative(char* sPath) {
  if (sPath == nullptr || UTIL_strchr(sPath, '\\') < 0) {
    return false;
  }
  UTIL_ReplaceChar(sPath, '\\', kSeparator);
  return true;
}
