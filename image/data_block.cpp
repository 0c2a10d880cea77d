#include "image/data_block.h"

#include <cstring>

namespace {

// No allocation can be that large; asking would only trouble the user with a message.
constexpr u64 MAX_BLOCK = u64{1} << 46;
constexpr u64 MIN_SLACK = 128;
// Below this a reduction isn't worth a call.
constexpr u64 MIN_TRIM = 4096;

}  // namespace

bool DataBlock::Allocate(u64 NumBytes) {
  if (NumBytes > MAX_BLOCK) {
    return false;
  }
  m_pBlock.reset(static_cast<u8*>(SYS_MEM_Alloc(NumBytes, "MEMAREA: Range data")));
  m_Capacity = m_pBlock ? NumBytes : 0;
  m_Head = 0;
  return m_pBlock != nullptr;
}

bool DataBlock::Resize(u64 Capacity) {
  void* p = SYS_MEM_Realloc(m_pBlock.get(), Capacity);
  if (p == nullptr) {
    return false;
  }
  static_cast<void>(m_pBlock.release());  // the old block is part of the new one
  m_pBlock.reset(static_cast<u8*>(p));
  m_Capacity = Capacity;
  return true;
}

bool DataBlock::MakeRoom(u64 Used, u64 Front, u64 Back) {
  const u64 tail = m_Capacity - m_Head - Used;
  if (Front <= m_Head && Back <= tail) {
    return true;
  }
  if (Front > MAX_BLOCK || Back > MAX_BLOCK) {
    return false;
  }
  const u64 slack = Used / 8 + MIN_SLACK;
  const u64 newHead = Front > m_Head ? Front + slack : m_Head;
  const u64 newTail = Back > tail ? Back + slack : tail;
  if (!Resize(newHead + Used + newTail)) {
    return false;
  }
  if (newHead != m_Head) {
    std::memmove(m_pBlock.get() + newHead, GetData(), Used);
    m_Head = newHead;
  }
  return true;
}

void DataBlock::Trim(u64 Used) {
  if (m_Capacity > MIN_TRIM && Used < m_Capacity / 2) {
    Shrink(Used);
  }
}

void DataBlock::Shrink(u64 Used) {
  if (!HasData() || m_Capacity == Used) {
    return;
  }
  if (m_Head != 0) {
    std::memmove(m_pBlock.get(), GetData(), Used);
    m_Head = 0;
  }
  // A failure to give memory back leaves a larger block, nothing else.
  static_cast<void>(Resize(Used));
}
