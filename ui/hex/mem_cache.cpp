#include "ui/hex/mem_cache.h"

#include <algorithm>
#include <cstring>

// Both blocks live as long as the editor; only pages that are used cost memory.
MEM_CACHE::MEM_CACHE() : m_aData(MAX_BYTES, 0), m_aState(MAX_BYTES, MEM_STATE_UNREAD) {}

void MEM_CACHE::Blank(u64 Offset, u64 NumBytes) {
  std::memset(m_aData.data() + Offset, 0, NumBytes);
  std::memset(m_aState.data() + Offset, MEM_STATE_UNREAD, NumBytes);
}

// Touches what is in use only: behind it everything is blank already.
void MEM_CACHE::Clear() {
  Blank(0, m_NumBytes);
  m_BaseAddr = 0;
}

void MEM_CACHE::Resize(u64 NumBytes) {
  const u64 newBytes = std::min(NumBytes, MAX_BYTES);
  if (newBytes < m_NumBytes) {
    Blank(newBytes, m_NumBytes - newBytes);
  }
  m_NumBytes = newBytes;
}

// A move by more than the window leaves nothing of it, and no overlap to care for.
void MEM_CACHE::Scroll(i64 NumBytes) {
  const bool isUp = NumBytes > 0;
  const u64 distance = static_cast<u64>(isUp ? NumBytes : -NumBytes);
  m_BaseAddr = isUp ? m_BaseAddr - distance : m_BaseAddr + distance;
  if (distance >= m_NumBytes) {
    Blank(0, m_NumBytes);
    return;
  }
  const u64 kept = m_NumBytes - distance;
  const u64 from = isUp ? 0 : distance;
  const u64 to = isUp ? distance : 0;
  std::memmove(m_aData.data() + to, m_aData.data() + from, kept);
  std::memmove(m_aState.data() + to, m_aState.data() + from, kept);
  Blank(isUp ? 0 : kept, distance);
}

// The subtractions are safe in this order, whatever the arguments are.
bool MEM_CACHE::Contains(u64 Addr, u64 NumBytes) const {
  return Addr >= m_BaseAddr && NumBytes <= m_NumBytes && Addr - m_BaseAddr <= m_NumBytes - NumBytes;
}

bool MEM_CACHE::IsValid(u64 Addr, u64 NumBytes) const {
  if (!Contains(Addr, NumBytes)) {
    return false;
  }
  const u8* first = m_aState.data() + GetOffset(Addr);
  return std::all_of(first, first + NumBytes, [](u8 state) { return state == MEM_STATE_VALID; });
}

// What doesn't fit as a whole is refused: half of a block would be worse than none.
void MEM_CACHE::Store(u64 Addr, u64 NumBytes, const u8* pData, const u8* pState) {
  if (Contains(Addr, NumBytes)) {
    std::memcpy(m_aData.data() + GetOffset(Addr), pData, NumBytes);
    std::memcpy(m_aState.data() + GetOffset(Addr), pState, NumBytes);
  }
}
