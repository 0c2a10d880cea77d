#include "driver/core/file_path.h"

#include <algorithm>

namespace vortic {

namespace {

constexpr std::size_t kMaxPathBytes = 1024;
// Separators of the host, drives, and what shells and FAT file systems keep for themselves.
constexpr std::string_view kRefused = "<>:\"/\\|?*";

}  // namespace

bool FilePath::Holds(const FilePath& other) const {
  return Parts.size() <= other.Parts.size() &&
         std::equal(Parts.begin(), Parts.end(), other.Parts.begin());
}

bool IsFileName(std::string_view name) {
  if (name.empty() || name.size() > kMaxNameBytes || name == "." || name == "..") {
    return false;
  }
  return std::none_of(name.begin(), name.end(), [](char c) {
    return static_cast<u8>(c) < 0x20 || c == 0x7F || kRefused.find(c) != std::string_view::npos;
  });
}

bool ParseFilePath(std::string_view text, FilePath* pPath) {
  pPath->Parts.clear();
  pPath->IsFolder = text.empty() || text.back() == '\\';
  if (text.size() > kMaxPathBytes) {
    return false;
  }
  while (!text.empty()) {
    const std::size_t end = std::min(text.find('\\'), text.size());
    const std::string_view part = text.substr(0, end);
    if (!part.empty()) {
      if (!IsFileName(part)) {
        return false;
      }
      pPath->Parts.emplace_back(part);
    }
    text.remove_prefix(std::min(end + 1, text.size()));
  }
  return true;
}

}  // namespace vortic
