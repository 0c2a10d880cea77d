#include "image/range_list.h"

#include <cstring>

namespace {

bool FitsAddressSpace(u64 Addr, u64 NumBytes) {
  return NumBytes - 1 <= ~u64{0} - Addr;
}

void StoreBytes(u8* pDest, u64 NumBytes, const u8* pData, int FillValue) {
  if (pData != nullptr) {
    std::memcpy(pDest, pData, NumBytes);
  } else {
    std::memset(pDest, FillValue, NumBytes);
  }
}

}  // namespace

RangeList::Pos RangeList::Find(u64 Addr) const {
  Pos pos = m_Ranges.UpperBound(Addr);
  if (pos != m_Ranges.Begin()) {
    const Pos prev = m_Ranges.Prev(pos);
    if (m_Ranges.At(prev).GetLast() >= Addr) {
      pos = prev;
    }
  }
  return pos;
}

bool RangeList::Overlaps(u64 FirstAddr, u64 LastAddr) const {
  const MEMAREA_RANGE* range = Get(Find(FirstAddr));
  return range != nullptr && range->Addr <= LastAddr;
}

RANGE_RESULT RangeList::InsertNew(Pos pos, u64 Addr, u64 NumBytes, const u8* pData, int FillValue) {
  MEMAREA_RANGE range{Addr, NumBytes, {}};
  if (pData != nullptr || FillValue >= 0) {
    if (!range.Block.Allocate(NumBytes)) {
      return RANGE_RESULT::NoMemory;
    }
    StoreBytes(range.Block.GetWritable(), NumBytes, pData, FillValue);
  }
  if (!m_Ranges.Insert(&pos, std::move(range))) {
    return RANGE_RESULT::NoMemory;
  }
  m_NumBytes += NumBytes;
  return RANGE_RESULT::Done;
}

// Makes one range of those from first up to end, reaching over all of them and the span. Bytes that
// no range held before are undefined. The largest range keeps its block, so that filling the gaps
// of an image in any order copies little. Null when memory is out.
MEMAREA_RANGE* RangeList::Join(Pos first, Pos end, u64 FirstAddr, u64 LastAddr) {
  Pos host = first;
  u64 oldBytes = 0;
  for (Pos pos = first; pos != end; pos = m_Ranges.Next(pos)) {
    oldBytes += m_Ranges.At(pos).NumBytes;
    if (m_Ranges.At(pos).NumBytes > m_Ranges.At(host).NumBytes) {
      host = pos;
    }
  }
  const u64 newFirst = std::min(FirstAddr, m_Ranges.At(first).Addr);
  const u64 newLast = std::max(LastAddr, m_Ranges.At(m_Ranges.Prev(end)).GetLast());
  MEMAREA_RANGE& range = m_Ranges.At(host);
  const u64 front = range.Addr - newFirst;
  if (range.Block.HasData()) {
    if (!range.Block.MakeRoom(range.NumBytes, front, newLast - range.GetLast())) {
      return nullptr;
    }
    range.Block.ExtendFront(front);
    for (Pos pos = first; pos != end; pos = m_Ranges.Next(pos)) {
      const MEMAREA_RANGE& other = m_Ranges.At(pos);
      if (pos != host) {
        std::memcpy(range.Block.GetWritable() + (other.Addr - newFirst), other.GetData(),
                    other.NumBytes);
      }
    }
  }
  range.Addr = newFirst;
  range.NumBytes = newLast - newFirst + 1;
  m_NumBytes += range.NumBytes - oldBytes;
  // The upper part first: the lower one would move it.
  m_Ranges.Erase(m_Ranges.Next(host), end);
  return &m_Ranges.At(m_Ranges.Erase(first, host));
}

RANGE_RESULT RangeList::Add(u64 Addr, u64 NumBytes, const u8* pData, int FillValue) {
  if (NumBytes == 0) {
    return RANGE_RESULT::Done;
  }
  const bool hasData = pData != nullptr || FillValue >= 0;
  // A set of all 2^64 addresses has a length that nothing here can express.
  if (!FitsAddressSpace(Addr, NumBytes) || (hasData ? IsAddrOnly() : HoldsData()) ||
      m_NumBytes > ~NumBytes) {
    return RANGE_RESULT::Refused;
  }
  const u64 lastAddr = Addr + (NumBytes - 1);
  // Files mostly come in ascending order, for which no search is needed.
  const bool isBehindLast = IsEmpty() || m_Ranges.Last().GetLast() < Addr;
  const Pos pos = isBehindLast ? m_Ranges.End() : Find(Addr);
  if (!m_Ranges.IsEnd(pos) && m_Ranges.At(pos).Addr <= lastAddr) {
    return RANGE_RESULT::Refused;
  }
  Pos first = pos;
  Pos end = pos;
  if (pos != m_Ranges.Begin() && m_Ranges.At(m_Ranges.Prev(pos)).GetLast() + 1 == Addr) {
    first = m_Ranges.Prev(pos);
  }
  // An address behind the last one of all would be 0, which no range at or behind pos starts at.
  if (!m_Ranges.IsEnd(pos) && m_Ranges.At(pos).Addr == lastAddr + 1) {
    end = m_Ranges.Next(pos);
  }
  if (first == end) {
    return InsertNew(pos, Addr, NumBytes, pData, FillValue);
  }
  MEMAREA_RANGE* range = Join(first, end, Addr, lastAddr);
  if (range == nullptr) {
    return RANGE_RESULT::NoMemory;
  }
  if (hasData) {
    StoreBytes(range->Block.GetWritable() + (Addr - range->Addr), NumBytes, pData, FillValue);
  }
  return RANGE_RESULT::Done;
}

RANGE_RESULT RangeList::Write(u64 Addr, u64 NumBytes, const u8* pData) {
  if (NumBytes == 0) {
    return RANGE_RESULT::Done;
  }
  if (!FitsAddressSpace(Addr, NumBytes) || IsAddrOnly()) {
    return RANGE_RESULT::Refused;
  }
  const u64 lastAddr = Addr + (NumBytes - 1);
  Pos first = Find(Addr);
  MEMAREA_RANGE* range = m_Ranges.IsEnd(first) ? nullptr : &m_Ranges.At(first);
  if (range != nullptr && range->Addr <= Addr && range->GetLast() >= lastAddr) {
    if (!range->Block.MakeWritable(range->NumBytes)) {
      return RANGE_RESULT::NoMemory;
    }
  } else {
    if (first != m_Ranges.Begin() && m_Ranges.At(m_Ranges.Prev(first)).GetLast() + 1 == Addr) {
      first = m_Ranges.Prev(first);
    }
    Pos end = m_Ranges.UpperBound(lastAddr);
    if (!m_Ranges.IsEnd(end) && m_Ranges.At(end).Addr == lastAddr + 1) {
      end = m_Ranges.Next(end);
    }
    if (first == end) {
      return InsertNew(first, Addr, NumBytes, pData, -1);
    }
    range = Join(first, end, Addr, lastAddr);
    if (range == nullptr) {
      return RANGE_RESULT::NoMemory;
    }
  }
  std::memcpy(range->Block.GetWritable() + (Addr - range->Addr), pData, NumBytes);
  return RANGE_RESULT::Done;
}

bool RangeList::ShareTo(RangeList* pCopy) const {
  pCopy->Clear();
  for (Pos pos = Begin(); !m_Ranges.IsEnd(pos); pos = Next(pos)) {
    const MEMAREA_RANGE& range = m_Ranges.At(pos);
    Pos end = pCopy->m_Ranges.End();
    if (!pCopy->m_Ranges.Insert(&end, {range.Addr, range.NumBytes, range.Block.Share()})) {
      return false;
    }
  }
  pCopy->m_NumBytes = m_NumBytes;
  return true;
}
