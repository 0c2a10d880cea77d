#pragma once

#include <stdlib.h>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <stdexcept>
#include <string>

// A directory of its own for one test, removed with its contents at the end.
class TempDir {
 public:
  TempDir() : m_Path((std::filesystem::temp_directory_path() / "korvane-XXXXXX").string()) {
    if (mkdtemp(m_Path.data()) == nullptr) {
      throw std::runtime_error("no directory " + m_Path);
    }
  }
  ~TempDir() {
    std::error_code error;
    // A test may have taken the write permission from a directory.
    std::filesystem::permissions(m_Path, std::filesystem::perms::owner_all,
                                 std::filesystem::perm_options::add, error);
    std::filesystem::remove_all(m_Path, error);
  }
  TempDir(const TempDir&) = delete;
  TempDir& operator=(const TempDir&) = delete;

  // Without a separator behind it.
  const std::string& path() const { return m_Path; }
  // Full name of an entry; the entry need not exist.
  std::string file(const std::string& Name) const { return m_Path + "/" + Name; }
  std::string operator/(const std::string& Name) const { return file(Name); }
  unsigned NumEntries() const {
    return static_cast<unsigned>(std::distance(std::filesystem::directory_iterator(m_Path), {}));
  }

 private:
  std::string m_Path;
};

// The whole file, byte for byte; empty when it can't be read.
inline std::string ReadFile(const std::string& Name) {
  std::ifstream file(Name, std::ios::binary);
  return {std::istreambuf_iterator<char>(file), {}};
}

// Creates or replaces the file; missing directories are created.
inline void WriteFile(const std::string& Name, const std::string& Data) {
  std::filesystem::create_directories(std::filesystem::path(Name).parent_path());
  std::ofstream file(Name, std::ios::binary);
  file.exceptions(std::ios::failbit | std::ios::badbit);
  file << Data << std::flush;
}
