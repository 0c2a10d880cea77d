#pragma once

#include <string>

// A directory of its own for one test, removed with its contents at the end.
class TempDir {
 public:
  TempDir();
  ~TempDir();
  TempDir(const TempDir&) = delete;
  TempDir& operator=(const TempDir&) = delete;

  // Without a separator behind it.
  const std::string& path() const { return m_Path; }
  // Full name of an entry; the entry need not exist.
  std::string file(const std::string& Name) const { return m_Path + "/" + Name; }

 private:
  std::string m_Path;
};

// The whole file, byte for byte; empty when it can't be read.
std::string ReadFile(const std::string& Name);
// Creates or replaces the file; missing directories are created.
void WriteFile(const std::string& Name, const std::string& Data);
