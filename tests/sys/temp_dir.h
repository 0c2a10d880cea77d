#pragma once

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>

// A directory of its own for one test, removed with all in it.
class TempDir {
 public:
  TempDir() {
    std::string name = (std::filesystem::temp_directory_path() / "korvane.XXXXXX").string();
    m_Path = mkdtemp(name.data());
  }
  ~TempDir() {
    std::error_code ignored;
    std::filesystem::remove_all(m_Path, ignored);
  }
  TempDir(const TempDir&) = delete;
  TempDir& operator=(const TempDir&) = delete;

  std::string operator/(const std::string& Name) const { return (m_Path / Name).string(); }
  std::string Path() const { return m_Path.string(); }

  int NumEntries() const {
    return static_cast<int>(std::distance(std::filesystem::directory_iterator(m_Path), {}));
  }

 private:
  std::filesystem::path m_Path;
};

inline void WriteText(const std::string& Name, const std::string& Text) {
  std::ofstream(Name, std::ios::binary) << Text;
}

inline std::string ReadText(const std::string& Name) {
  std::ifstream file(Name, std::ios::binary);
  return {std::istreambuf_iterator<char>(file), {}};
}
