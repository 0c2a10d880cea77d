#pragma once

#include <memory>

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

// A text file seen through a buffer. Behind the text in the buffer stands a NUL, so that a reader
// that looks at one character after the other stops at the end by itself; only IsAtEnd tells that
// NUL from one in the file.
class TextSource {
 public:
  explicit TextSource(SYS_HANDLE hFile) : m_hFile(hFile) {}

  // False when memory is out.
  bool Allocate();
  // Makes NumChars (at most 4096) available behind the cursor, or all that the file still has.
  void Require(u32 NumChars) {
    if (static_cast<u64>(m_pEnd - m_pCursor) < NumChars && !m_IsFileDone) {
      Refill();
    }
  }
  const u8* GetCursor() const { return m_pCursor; }
  void SetCursor(const u8* p) { m_pCursor = p; }
  // Characters of the text from p on.
  u64 GetNumAvailable(const u8* p) const { return static_cast<u64>(m_pEnd - p); }
  // True when the file is used up to its end.
  bool IsAtEnd() const { return m_pCursor == m_pEnd && m_IsFileDone; }
  bool HasFailed() const { return m_HasFailed; }

 private:
  void Refill();

  SYS_HANDLE m_hFile;
  std::unique_ptr<u8[]> m_pBuffer;
  const u8* m_pCursor = nullptr;
  u8* m_pEnd = nullptr;
  bool m_IsFileDone = false;
  bool m_HasFailed = false;
};
