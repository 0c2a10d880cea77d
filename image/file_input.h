#pragma once

#include "sys/file.h"
#include "sys/types.h"

// Owner of an open file.
class FileHandle {
 public:
  explicit FileHandle(SYS_HANDLE h) : m_h(h) {}
  ~FileHandle() {
    if (IsOpen()) {
      SYS_FILE_Close(m_h);
    }
  }
  FileHandle(const FileHandle&) = delete;
  FileHandle& operator=(const FileHandle&) = delete;
  bool IsOpen() const { return m_h != SYS_INVALID_FILE; }
  SYS_HANDLE Get() const { return m_h; }

 private:
  SYS_HANDLE m_h;
};

// The bytes that a reader of data files works on: an open file, or a block of memory, which stays
// the caller's like the handle.
//
// The size is taken at the start. A file that has less when it comes to reading was cut meanwhile;
// that is remembered, because a text cut between two lines looks whole.
class FileInput {
 public:
  explicit FileInput(SYS_HANDLE hFile) : m_hFile(hFile), m_Size(SYS_FILE_GetSize(hFile)) {}
  FileInput(const u8* pData, u64 NumBytes) : m_pData(pData), m_Size(static_cast<i64>(NumBytes)) {}

  // Negative when the system doesn't tell; 0 for devices and pipes.
  i64 GetSize() const { return m_Size; }
  // Takes the next bytes. Short only at the end, -1 on failure.
  i64 Read(void* pBuf, u64 NumBytes);
  // False unless all the bytes are there.
  bool ReadAt(u64 Offset, void* pBuf, u64 NumBytes);
  bool HasFailed() const { return m_HasFailed; }
  bool HasShrunk() const { return m_HasShrunk; }

 private:
  const u8* m_pData = nullptr;
  SYS_HANDLE m_hFile = SYS_INVALID_FILE;
  i64 m_Size;
  i64 m_Position = 0;
  bool m_HasFailed = false;
  bool m_HasShrunk = false;
};
