#include "image/text_sink.h"

#include <algorithm>
#include <cstring>
#include <new>

bool TextSink::Allocate() {
  m_pBuffer.reset(new (std::nothrow) u8[BUFFER_SIZE + MAX_LINE]);
  return m_pBuffer != nullptr;
}

void TextSink::Write(std::string_view Text) {
  while (!Text.empty()) {
    const std::string_view part = Text.substr(0, MAX_LINE);
    std::memcpy(GetCursor(), part.data(), part.size());
    SetCursor(GetCursor() + part.size());
    Text.remove_prefix(part.size());
  }
}

void TextSink::Flush() {
  FILEWR_Write(m_pWriter, m_pBuffer.get(), m_NumChars);
  m_NumChars = 0;
}

void TextSink::WriteFullPiece() {
  FILEWR_Write(m_pWriter, m_pBuffer.get(), BUFFER_SIZE);
  m_NumChars -= BUFFER_SIZE;
  std::memcpy(m_pBuffer.get(), m_pBuffer.get() + BUFFER_SIZE, m_NumChars);
}
