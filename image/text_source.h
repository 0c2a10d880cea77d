#pragma once

#include <memory>

#include "image/file_input.h"
#include "sys/types.h"

// A text file seen through a buffer. Behind the text in the buffer stands a NUL, so that a reader
// that looks at one character after the other stops at the end by itself; only IsAtEnd tells that
// NUL from one in the file.
class TextSource {
 public:
  // The input has to live as long.
  explicit TextSource(FileInput& input) : m_Input(input) {}

  // False when memory is out.
  bool Allocate();
  // Makes NumChars (at most 4096) available behind the cursor, or all that the file still has.
  void Require(u32 NumChars) {
    if (static_cast<u64>(m_pEnd - m_pCursor) < NumChars && !m_IsFileDone) {
      Refill();
    }
  }
  // Moves the cursor over space, tab, CR and LF, however many there are. Returns the number of
  // lines that ended.
  int SkipBlanks();
  const u8* GetCursor() const { return m_pCursor; }
  void SetCursor(const u8* p) { m_pCursor = p; }
  // Characters of the text from p on.
  u64 GetNumAvailable(const u8* p) const { return static_cast<u64>(m_pEnd - p); }
  // True when the file is used up to its end.
  bool IsAtEnd() const { return m_pCursor == m_pEnd && m_IsFileDone; }
  // True when Require can't make more available than there is.
  bool IsFileDone() const { return m_IsFileDone; }

 private:
  void Refill();

  FileInput& m_Input;
  std::unique_ptr<u8[]> m_pBuffer;
  const u8* m_pCursor = nullptr;
  u8* m_pEnd = nullptr;
  bool m_IsFileDone = false;
};

// A line ends with CR, LF or both. The character in front of the cursor can always be read.
inline bool TEXT_EndsLine(const u8* p) {
  return *p == '\r' || (*p == '\n' && p[-1] != '\r');
}

inline bool TEXT_IsBlank(u8 Char) {
  return Char == ' ' || Char == '\t' || Char == '\r' || Char == '\n';
}
