#pragma once

#include <memory>

#include "image/range_list.h"

// Gathers the records of a text format that follow one another in memory, and adds them to the
// ranges in large pieces. A record that collides is refused at once, as if each had been added by
// itself, so that the reader can name its line.
class RecordGather {
 public:
  explicit RecordGather(RangeList& ranges) : m_Ranges(ranges) {}

  // False when memory is out.
  bool Allocate();
  // At most 4096 bytes.
  RANGE_RESULT Add(u64 Addr, const u8* pData, u32 NumBytes) {
    if (Addr == m_Addr + m_NumBytes && NumBytes <= m_NumFree) {
      Append(pData, NumBytes);
      return RANGE_RESULT::Done;
    }
    return Begin(Addr, pData, NumBytes);
  }
  RANGE_RESULT Flush();

 private:
  RANGE_RESULT Begin(u64 Addr, const u8* pData, u32 NumBytes);
  void Append(const u8* pData, u32 NumBytes);

  RangeList& m_Ranges;
  std::unique_ptr<u8[]> m_pBuffer;
  u64 m_Addr = 0;
  u64 m_NumBytes = 0;
  // How much may be appended: limited by the buffer and by the next range of the area.
  u64 m_NumFree = 0;
};
