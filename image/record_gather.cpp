#include "image/record_gather.h"

#include <algorithm>
#include <cstring>
#include <new>

namespace {

constexpr u64 BUFFER_SIZE = 0x10000;

}  // namespace

bool RecordGather::Allocate() {
  m_pBuffer.reset(new (std::nothrow) u8[BUFFER_SIZE]);
  return m_pBuffer != nullptr;
}

void RecordGather::Append(const u8* pData, u32 NumBytes) {
  std::memcpy(m_pBuffer.get() + m_NumBytes, pData, NumBytes);
  m_NumBytes += NumBytes;
  m_NumFree -= NumBytes;
}

RANGE_RESULT RecordGather::Flush() {
  const RANGE_RESULT result = m_Ranges.Add(m_Addr, m_NumBytes, m_pBuffer.get(), -1);
  m_NumBytes = 0;
  m_NumFree = 0;
  return result;
}

RANGE_RESULT RecordGather::Begin(u64 Addr, const u8* pData, u32 NumBytes) {
  const RANGE_RESULT result = Flush();
  if (result != RANGE_RESULT::Done || NumBytes == 0) {
    return result;
  }
  // The buffer, but not past the last address.
  u64 numFree = std::min(BUFFER_SIZE - 1, ~Addr) + 1;
  if (const MEMAREA_RANGE* next = m_Ranges.Get(m_Ranges.Find(Addr))) {
    numFree = next->Addr <= Addr ? 0 : std::min(numFree, next->Addr - Addr);
  }
  if (NumBytes > numFree) {
    return RANGE_RESULT::Refused;
  }
  m_Addr = Addr;
  m_NumFree = numFree;
  Append(pData, NumBytes);
  return RANGE_RESULT::Done;
}
