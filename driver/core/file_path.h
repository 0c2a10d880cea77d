#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "sys/types.h"

namespace vortic {

// What a programmer's file system can hold. The host's folder may hold more, which is then shown:
// that is how a client meets a programmer with other limits.
constexpr u32 kMaxFolderDepth = 4;  // folders above a file
constexpr u32 kMaxFolderEntries = 64;
constexpr std::size_t kMaxNameBytes = 63;

// A path inside a programmer: "\DIR\A.DAT". A separator at the start changes nothing, several in a
// row count as one, and one at the end tells that a folder is meant.
struct FilePath {
  std::vector<std::string> Parts;  // none: the uppermost folder
  bool IsFolder = false;

  const std::string& Name() const { return Parts.back(); }
  // How many of the parts are folders that lead to the last one.
  std::size_t NumFolders() const { return Parts.empty() ? 0 : Parts.size() - 1; }
  // Whether the other path is this one or lies in it.
  bool Holds(const FilePath& other) const;
};

// Whether a file or folder may have that name, on the programmer and on the host alike.
bool IsFileName(std::string_view name);

// False: a part is no name. Such a path names nothing, neither here nor outside.
bool ParseFilePath(std::string_view text, FilePath* pPath);

}  // namespace vortic
