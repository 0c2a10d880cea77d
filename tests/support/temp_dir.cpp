#include "tests/support/temp_dir.h"

#include <stdlib.h>

#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>

namespace fs = std::filesystem;

namespace {

[[noreturn]] void Fail(const char* sWhat, const std::string& Name) {
  std::fprintf(stderr, "test support: %s failed on %s\n", sWhat, Name.c_str());
  std::abort();
}

}  // namespace

TempDir::TempDir() {
  m_Path = (fs::temp_directory_path() / "korvane-XXXXXX").string();
  if (mkdtemp(m_Path.data()) == nullptr) {
    Fail("mkdtemp", m_Path);
  }
}

TempDir::~TempDir() {
  std::error_code error;
  // A test may have taken the write permission from a directory.
  fs::permissions(m_Path, fs::perms::owner_all, fs::perm_options::add, error);
  fs::remove_all(m_Path, error);
}

std::string ReadFile(const std::string& Name) {
  std::ifstream file(Name, std::ios::binary);
  return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
}

void WriteFile(const std::string& Name, const std::string& Data) {
  std::error_code error;
  fs::create_directories(fs::path(Name).parent_path(), error);
  std::ofstream file(Name, std::ios::binary | std::ios::trunc);
  file.write(Data.data(), static_cast<std::streamsize>(Data.size()));
  file.close();
  if (!file) {
    Fail("writing", Name);
  }
}
