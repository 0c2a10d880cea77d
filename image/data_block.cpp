#include "image/data_block.h"

#include <atomic>
#include <cstring>

namespace {

// No allocation can be that large; asking would only trouble the user with a message.
constexpr u64 MAX_BLOCK = u64{1} << 46;
constexpr u64 MIN_SLACK = 128;
// Below this a reduction isn't worth a call.
constexpr u64 MIN_TRIM = 4096;

// The count stands in memory that is moved by reallocation, which an atomic object can't be.
std::atomic_ref<u32> NumOwners(u8* pBlock) {
  return std::atomic_ref<u32>(*reinterpret_cast<u32*>(pBlock));
}

}  // namespace

void DataBlock::LEAVE::operator()(u8* pBlock) const {
  if (NumOwners(pBlock).fetch_sub(1, std::memory_order_acq_rel) == 1) {
    SYS_MEM_Free(pBlock);
  }
}

// Once this owner is seen to be alone it stays so: only an owner can add one.
bool DataBlock::IsShared() const {
  return m_pBlock != nullptr && NumOwners(m_pBlock.get()).load(std::memory_order_acquire) > 1;
}

bool DataBlock::Allocate(u64 NumBytes) {
  if (NumBytes > MAX_BLOCK) {
    return false;
  }
  auto* block = static_cast<u8*>(SYS_MEM_Alloc(kHeadSize + NumBytes, "MEMAREA: Range data"));
  if (block != nullptr) {
    *reinterpret_cast<u32*>(block) = 1;
  }
  m_pBlock.reset(block);
  m_Capacity = m_pBlock ? NumBytes : 0;
  m_Head = 0;
  return m_pBlock != nullptr;
}

DataBlock DataBlock::Share() const {
  DataBlock other;
  if (m_pBlock != nullptr) {
    NumOwners(m_pBlock.get()).fetch_add(1, std::memory_order_relaxed);
    other.m_pBlock.reset(m_pBlock.get());
    other.m_Capacity = m_Capacity;
    other.m_Head = m_Head;
  }
  return other;
}

bool DataBlock::CopyOut(u64 Used, u64 Head, u64 Tail) {
  DataBlock copy;
  if (!copy.Allocate(Head + Used + Tail)) {
    return false;
  }
  copy.m_Head = Head;
  std::memcpy(copy.GetWritable(), GetData(), Used);
  *this = std::move(copy);
  return true;
}

bool DataBlock::Resize(u64 Capacity) {
  void* p = SYS_MEM_Realloc(m_pBlock.get(), kHeadSize + Capacity);
  if (p == nullptr) {
    return false;
  }
  static_cast<void>(m_pBlock.release());  // the old block is part of the new one
  m_pBlock.reset(static_cast<u8*>(p));
  m_Capacity = Capacity;
  return true;
}

bool DataBlock::MakeWritable(u64 Used) {
  return !IsShared() || CopyOut(Used, 0, 0);
}

bool DataBlock::MakeRoom(u64 Used, u64 Front, u64 Back) {
  if (Front > MAX_BLOCK || Back > MAX_BLOCK) {
    return false;
  }
  const u64 slack = Used / 8 + MIN_SLACK;
  if (IsShared()) {
    return CopyOut(Used, Front != 0 ? Front + slack : 0, Back != 0 ? Back + slack : 0);
  }
  const u64 tail = m_Capacity - m_Head - Used;
  if (Front <= m_Head && Back <= tail) {
    return true;
  }
  const u64 newHead = Front > m_Head ? Front + slack : m_Head;
  const u64 newTail = Back > tail ? Back + slack : tail;
  if (!Resize(newHead + Used + newTail)) {
    return false;
  }
  if (newHead != m_Head) {
    u8* block = m_pBlock.get() + kHeadSize;
    std::memmove(block + newHead, block + m_Head, Used);
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
  if (!HasData() || m_Capacity == Used || IsShared()) {
    return;
  }
  if (m_Head != 0) {
    std::memmove(m_pBlock.get() + kHeadSize, GetData(), Used);
    m_Head = 0;
  }
  // A failure to give memory back leaves a larger block, nothing else.
  static_cast<void>(Resize(Used));
}
