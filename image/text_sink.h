#pragma once

#include <memory>
#include <string_view>

#include "sys/types.h"
#include "text/filewr.h"

// Buffer in which the writers of the text formats build their lines. It hands them on in pieces
// that the file writer passes to the system as they are: large writes are what the speed of a save
// comes down to.
class TextSink {
 public:
  static constexpr u32 MAX_LINE = 256;

  explicit TextSink(FILEWR* pWriter) : m_pWriter(pWriter) {}

  // False when memory is out.
  bool Allocate();
  // Where the next line is built; it has room for MAX_LINE characters.
  u8* GetCursor() { return m_pBuffer.get() + m_NumChars; }
  // Takes what was built up to pEnd.
  void SetCursor(const u8* pEnd) {
    m_NumChars = static_cast<u64>(pEnd - m_pBuffer.get());
    if (m_NumChars >= BUFFER_SIZE) {
      WriteFullPiece();
    }
  }
  // Text of any length.
  void Write(std::string_view Text);
  // Hands on the rest; the last call of all.
  void Flush();

 private:
  static constexpr u64 BUFFER_SIZE = 0x100000;  // a multiple of the file writer's block

  void WriteFullPiece();

  FILEWR* m_pWriter;
  std::unique_ptr<u8[]> m_pBuffer;
  u64 m_NumChars = 0;
};
