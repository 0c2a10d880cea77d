#include "image/text_source.h"

#include <cstring>
#include <new>

namespace {

constexpr u64 BUFFER_SIZE = 0x100000;

}  // namespace

bool TextSource::Allocate() {
  m_pBuffer.reset(new (std::nothrow) u8[BUFFER_SIZE + 2]);
  if (!m_pBuffer) {
    return false;
  }
  m_pBuffer[0] = 0;
  m_pEnd = m_pBuffer.get() + 1;
  *m_pEnd = 0;
  m_pCursor = m_pEnd;
  return true;
}

void TextSource::Refill() {
  // In front of the text stays the character before it: a CR may have been the last one.
  m_pBuffer[0] = m_pCursor[-1];
  u8* start = m_pBuffer.get() + 1;
  const u64 numLeft = static_cast<u64>(m_pEnd - m_pCursor);
  std::memmove(start, m_pCursor, numLeft);
  const u64 wanted = BUFFER_SIZE - numLeft;
  const i64 numRead = m_Input.Read(start + numLeft, wanted);
  // A read is short only at the end of the file.
  m_IsFileDone = numRead < static_cast<i64>(wanted);
  m_pCursor = start;
  m_pEnd = start + numLeft + (numRead > 0 ? static_cast<u64>(numRead) : 0);
  *m_pEnd = 0;
}

int TextSource::SkipBlanks() {
  int numLines = 0;
  while (true) {
    Require(1);
    const u8* p = m_pCursor;
    for (; TEXT_IsBlank(*p); ++p) {
      numLines += TEXT_EndsLine(p) ? 1 : 0;
    }
    const bool hasMoved = p != m_pCursor;
    m_pCursor = p;
    if (!hasMoved) {
      return numLines;
    }
  }
}
