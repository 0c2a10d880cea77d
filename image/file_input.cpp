#include "image/file_input.h"

#include <algorithm>
#include <cstring>

i64 FileInput::Read(void* pBuf, u64 NumBytes) {
  if (NumBytes == 0) {
    return 0;  // the buffer may be null then
  }
  i64 numRead = 0;
  if (m_pData != nullptr) {
    numRead = static_cast<i64>(std::min(NumBytes, static_cast<u64>(m_Size - m_Position)));
    std::memcpy(pBuf, m_pData + m_Position, static_cast<u64>(numRead));
  } else if (m_hFile != SYS_INVALID_FILE) {
    numRead = SYS_FILE_Read(m_hFile, pBuf, NumBytes);
  }
  if (numRead < 0) {
    m_HasFailed = true;
    return numRead;
  }
  m_Position += numRead;
  m_HasShrunk = m_HasShrunk || (static_cast<u64>(numRead) < NumBytes && m_Position < m_Size);
  return numRead;
}

bool FileInput::ReadAt(u64 Offset, void* pBuf, u64 NumBytes) {
  const u64 size = m_Size > 0 ? static_cast<u64>(m_Size) : 0;
  if (NumBytes > size || Offset > size - NumBytes) {
    return false;
  }
  m_Position = static_cast<i64>(Offset);
  if (m_pData == nullptr && SYS_FILE_Seek(m_hFile, m_Position, 0) != m_Position) {
    m_HasFailed = true;
    return false;
  }
  return Read(pBuf, NumBytes) == static_cast<i64>(NumBytes);
}
