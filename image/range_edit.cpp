#include <cstring>

#include "image/range_list.h"

// Removing and moving of ranges.

void RangeList::CutTail(MEMAREA_RANGE& range, u64 FirstAddr) {
  m_NumBytes -= range.GetLast() - FirstAddr + 1;
  range.NumBytes = FirstAddr - range.Addr;
  range.Block.Trim(range.NumBytes);
}

void RangeList::CutHead(MEMAREA_RANGE& range, u64 LastAddr) {
  const u64 numBytes = LastAddr - range.Addr + 1;
  m_NumBytes -= numBytes;
  range.NumBytes -= numBytes;
  range.Addr += numBytes;
  if (range.Block.HasData()) {
    range.Block.DropFront(numBytes);
    range.Block.Trim(range.NumBytes);
  }
}

// Takes a span out of the inside of a range. Only the smaller of the two parts is copied, so that
// cutting a large image into many pieces, from either end, doesn't copy the rest each time.
RANGE_RESULT RangeList::Split(Pos pos, u64 FirstAddr, u64 LastAddr) {
  const MEMAREA_RANGE& range = m_Ranges.At(pos);
  const u64 lowerBytes = FirstAddr - range.Addr;
  const u64 upperBytes = range.GetLast() - LastAddr;
  const u64 upperOffset = LastAddr - range.Addr + 1;
  const bool copyUpper = upperBytes <= lowerBytes;
  const bool hasData = range.Block.HasData();
  DataBlock copy;
  if (hasData) {
    const u64 numBytes = copyUpper ? upperBytes : lowerBytes;
    if (!copy.Allocate(numBytes)) {
      return RANGE_RESULT::NoMemory;
    }
    std::memcpy(copy.GetWritable(), range.GetData() + (copyUpper ? upperOffset : 0), numBytes);
  }
  Pos upperPos = m_Ranges.Next(pos);
  if (!m_Ranges.Insert(&upperPos, MEMAREA_RANGE{LastAddr + 1, upperBytes, {}})) {
    return RANGE_RESULT::NoMemory;
  }
  MEMAREA_RANGE& upper = m_Ranges.At(upperPos);
  MEMAREA_RANGE& lower = m_Ranges.At(m_Ranges.Prev(upperPos));
  m_NumBytes -= LastAddr - FirstAddr + 1;
  lower.NumBytes = lowerBytes;
  if (hasData) {
    if (copyUpper) {
      upper.Block = std::move(copy);
      lower.Block.Trim(lowerBytes);
    } else {
      upper.Block = std::exchange(lower.Block, std::move(copy));
      upper.Block.DropFront(upperOffset);
      upper.Block.Trim(upperBytes);
    }
  }
  return RANGE_RESULT::Done;
}

RANGE_RESULT RangeList::Remove(u64 FirstAddr, u64 LastAddr) {
  Pos first = Find(FirstAddr);
  if (FirstAddr > LastAddr || m_Ranges.IsEnd(first) || m_Ranges.At(first).Addr > LastAddr) {
    return RANGE_RESULT::Done;
  }
  MEMAREA_RANGE& lower = m_Ranges.At(first);
  if (lower.Addr < FirstAddr) {
    if (lower.GetLast() > LastAddr) {
      return Split(first, FirstAddr, LastAddr);
    }
    CutTail(lower, FirstAddr);
    first = m_Ranges.Next(first);
  }
  Pos end = m_Ranges.UpperBound(LastAddr);
  if (first != end) {
    const Pos upper = m_Ranges.Prev(end);
    if (m_Ranges.At(upper).GetLast() > LastAddr) {
      CutHead(m_Ranges.At(upper), LastAddr);
      end = upper;
    }
  }
  for (Pos pos = first; pos != end; pos = m_Ranges.Next(pos)) {
    m_NumBytes -= m_Ranges.At(pos).NumBytes;
  }
  m_Ranges.Erase(first, end);
  return RANGE_RESULT::Done;
}

// Everything of a relocation that can fail: a range that crosses FirstWrapped, the lowest address
// that leaves the address space at its end, is split there; the last range gets room for the first
// if the two meet where the end of the address space comes to lie; a chunk starts at FirstWrapped.
bool RangeList::PrepareWrap(u64 FirstWrapped) {
  Pos pos = Find(FirstWrapped);
  if (m_Ranges.IsEnd(pos)) {
    return true;
  }
  const bool crosses = m_Ranges.At(pos).Addr < FirstWrapped;
  if (crosses) {
    MEMAREA_RANGE& lower = m_Ranges.At(pos);
    MEMAREA_RANGE upper{FirstWrapped, lower.GetLast() - FirstWrapped + 1, {}};
    const u64 lowerBytes = FirstWrapped - lower.Addr;
    if (lower.Block.HasData()) {
      if (!upper.Block.Allocate(upper.NumBytes)) {
        return false;
      }
      std::memcpy(upper.Block.GetWritable(), lower.GetData() + lowerBytes, upper.NumBytes);
    }
    Pos upperPos = m_Ranges.Next(pos);
    if (!m_Ranges.Insert(&upperPos, std::move(upper))) {
      return false;
    }
    pos = m_Ranges.Prev(upperPos);
    m_Ranges.At(pos).NumBytes = lowerBytes;
  }
  const Pos wrapped = crosses ? m_Ranges.Next(pos) : pos;
  MEMAREA_RANGE& last = m_Ranges.At(m_Ranges.Prev(m_Ranges.End()));
  const MEMAREA_RANGE& first = m_Ranges.First();
  const bool meets = last.GetLast() == ~u64{0} && first.Addr == 0 && last.Block.HasData();
  if ((!meets || last.Block.MakeRoom(last.NumBytes, 0, first.NumBytes)) &&
      m_Ranges.SplitAt(wrapped)) {
    return true;
  }
  if (crosses) {
    m_Ranges.At(pos).NumBytes += m_Ranges.At(wrapped).NumBytes;
    m_Ranges.Erase(wrapped, m_Ranges.Next(wrapped));
  }
  return false;
}

// Joins the two ranges that met where the end of the address space was.
void RangeList::MergeSeam(u64 SeamLast) {
  const Pos lower = Find(SeamLast);
  if (m_Ranges.IsEnd(lower) || m_Ranges.At(lower).GetLast() != SeamLast) {
    return;
  }
  const Pos upper = m_Ranges.Next(lower);
  if (m_Ranges.IsEnd(upper) || m_Ranges.At(upper).Addr != SeamLast + 1) {
    return;
  }
  MEMAREA_RANGE& range = m_Ranges.At(lower);
  const MEMAREA_RANGE& other = m_Ranges.At(upper);
  if (range.Block.HasData()) {
    std::memcpy(range.Block.GetWritable() + range.NumBytes, other.GetData(), other.NumBytes);
  }
  range.NumBytes += other.NumBytes;
  m_Ranges.Erase(upper, m_Ranges.Next(upper));
}

RANGE_RESULT RangeList::Relocate(u64 Offset) {
  if (Offset == 0 || IsEmpty()) {
    return RANGE_RESULT::Done;
  }
  const u64 firstWrapped = 0 - Offset;
  if (!PrepareWrap(firstWrapped)) {
    return RANGE_RESULT::NoMemory;
  }
  const Pos wrapped = m_Ranges.LowerBound(firstWrapped);
  const bool anyWraps = !m_Ranges.IsEnd(wrapped);
  if (anyWraps) {
    m_Ranges.Rotate(wrapped);
  }
  m_Ranges.ForEach([Offset](MEMAREA_RANGE& range) { range.Addr += Offset; });
  if (anyWraps) {
    MergeSeam(Offset - 1);
  }
  return RANGE_RESULT::Done;
}

void RangeList::Shrink() {
  m_Ranges.ForEach([](MEMAREA_RANGE& range) { range.Block.Shrink(range.NumBytes); });
}

void RangeList::Clear() {
  m_Ranges.Clear();
  m_NumBytes = 0;
}
