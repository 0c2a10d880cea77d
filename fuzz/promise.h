#pragma once

#include <stdlib.h>

#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <string_view>

#include "sys/types.h"

// What the entries share.

// Ends the program when a promise of the code is broken.
inline void Check(bool IsKept, const char* sPromise) {
  if (!IsKept) {
    std::fprintf(stderr, "Broken: %s\n", sPromise);
    std::abort();
  }
}

inline std::string_view AsText(const u8* pData, std::size_t NumBytes) {
  return {reinterpret_cast<const char*>(pData), NumBytes};
}

// Takes the bytes up to the mark, which goes as well; all of them when there is none.
inline std::string_view TakePart(std::string_view* pRest, char Mark) {
  const std::size_t end = std::min(pRest->find(Mark), pRest->size());
  const std::string_view part = pRest->substr(0, end);
  pRest->remove_prefix(std::min(end + 1, pRest->size()));
  return part;
}

// A folder in memory, where the system has a place for that; removed at the end of the program.
class ScratchFolder {
 public:
  ScratchFolder()
      : m_Folder(std::filesystem::exists("/dev/shm") ? "/dev/shm/korvane-fuzz-XXXXXX"
                                                     : "/tmp/korvane-fuzz-XXXXXX") {
    Check(mkdtemp(m_Folder.data()) != nullptr, "there is a temporary folder");
  }
  ~ScratchFolder() {
    std::error_code ignored;
    std::filesystem::remove_all(m_Folder, ignored);
  }
  ScratchFolder(const ScratchFolder&) = delete;
  ScratchFolder& operator=(const ScratchFolder&) = delete;

  std::string GetName(const std::string& Name) const { return m_Folder + "/" + Name; }
  std::string Write(const std::string& Name, std::string_view Content) const {
    const std::filesystem::path path = GetName(Name);
    std::filesystem::create_directories(path.parent_path());
    std::ofstream(path, std::ios::binary)
        .write(Content.data(), static_cast<std::streamsize>(Content.size()));
    return path;
  }
  std::string Read(const std::string& Name) const {
    std::ifstream file(GetName(Name), std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
  }
  void Remove(const std::string& Name) const { std::filesystem::remove(GetName(Name)); }

 private:
  std::string m_Folder;
};
