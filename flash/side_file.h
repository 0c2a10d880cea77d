#pragma once

#include <array>

#include "sys/file.h"

// The text files beside the project that serial numbers come from. Internal to this folder.

// One of them, opened for reading and closed at the end of the scope. Whatever is wrong with a file
// that is there was told when it was opened or read; whether a missing one matters, the caller
// knows.
class SideFile {
 public:
  enum class State { Open, NoName, Missing, Failed };

  explicit SideFile(const char* sSuffix);
  ~SideFile();
  SideFile(const SideFile&) = delete;
  SideFile& operator=(const SideFile&) = delete;

  State GetState() const { return m_State; }
  const char* GetName() const { return m_acName.data(); }
  // Bytes read, 0 at the end, or -1 reported.
  i64 Read(void* pBuf, u64 NumBytes);
  // 0, or -1 reported.
  int Seek(i64 Offset);

 private:
  void Open();

  std::array<char, SYS_MAX_PATH> m_acName{};
  SYS_HANDLE m_hFile = SYS_INVALID_FILE;
  State m_State = State::NoName;
};

// Data of a number from the list: pairs of hexadecimal digits in line Value, counted from 0. What
// the line doesn't have is left as it is in pDest.
enum class ListResult { Fetched, NoList, Failed };
ListResult SERIAL_FetchFromList(u32 Value, u8* pDest, u32 NumBytes);
