#pragma once

#include "image/data_block.h"
#include "image/sorted_chunks.h"
#include "sys/types.h"

// One range of an area. The last address is kept reachable as a sum that never wraps: NumBytes is
// at least 1 and Addr + NumBytes at most 2^64.
struct MEMAREA_RANGE {
  u64 Addr = 0;
  u64 NumBytes = 0;
  DataBlock Block;

  u64 GetLast() const { return Addr + (NumBytes - 1); }
  const u8* GetData() const { return Block.HasData() ? Block.GetData() : nullptr; }
};

enum class RANGE_RESULT {
  Done,
  // Overlap, the other kind of range, or past the last address.
  Refused,
  NoMemory,
};

// The ranges of an area: sorted, never overlapping, never touching, all of one kind (with data or
// address-only). Every operation does all of its work or none. No lock of its own.
class RangeList {
 public:
  using Pos = SortedChunks<MEMAREA_RANGE>::Pos;

  bool IsEmpty() const { return m_Ranges.IsEmpty(); }
  u64 GetNumRanges() const { return m_Ranges.GetSize(); }
  u64 GetNumBytes() const { return m_NumBytes; }
  bool HoldsData() const { return !IsEmpty() && m_Ranges.First().Block.HasData(); }
  bool IsAddrOnly() const { return !IsEmpty() && !m_Ranges.First().Block.HasData(); }
  const MEMAREA_RANGE& First() const { return m_Ranges.First(); }
  const MEMAREA_RANGE& Last() const { return m_Ranges.Last(); }

  Pos Begin() const { return m_Ranges.Begin(); }
  Pos Next(Pos pos) const { return m_Ranges.Next(pos); }
  // Not of the first position.
  Pos Prev(Pos pos) const { return m_Ranges.Prev(pos); }
  Pos FromIndex(u64 Index) const { return m_Ranges.FromIndex(Index); }
  // The range at a position; null at the end.
  const MEMAREA_RANGE* Get(Pos pos) const {
    return m_Ranges.IsEnd(pos) ? nullptr : &m_Ranges.At(pos);
  }
  // First range that ends at or behind Addr: the one that holds it or else the next one.
  Pos Find(u64 Addr) const;
  bool Overlaps(u64 FirstAddr, u64 LastAddr) const;

  // Null pData stores NumBytes copies of FillValue, or with -1 makes an address-only range.
  RANGE_RESULT Add(u64 Addr, u64 NumBytes, const u8* pData, int FillValue);
  // Replaces the bytes of the span, and adds those that no range holds.
  RANGE_RESULT Write(u64 Addr, u64 NumBytes, const u8* pData);
  RANGE_RESULT Remove(u64 FirstAddr, u64 LastAddr);
  // Adds Offset to all addresses, modulo 2^64.
  RANGE_RESULT Relocate(u64 Offset);
  // Makes pCopy hold the same ranges, whose bytes both own until one of them writes. False when
  // memory is out.
  bool ShareTo(RangeList* pCopy) const;
  // Gives back the room that the blocks keep for growing.
  void Shrink();
  void Clear();

 private:
  RANGE_RESULT InsertNew(Pos pos, u64 Addr, u64 NumBytes, const u8* pData, int FillValue);
  MEMAREA_RANGE* Join(Pos first, Pos end, u64 FirstAddr, u64 LastAddr);
  RANGE_RESULT Split(Pos pos, u64 FirstAddr, u64 LastAddr);
  void CutTail(MEMAREA_RANGE& range, u64 FirstAddr);
  void CutHead(MEMAREA_RANGE& range, u64 LastAddr);
  bool PrepareWrap(u64 FirstWrapped);
  void MergeSeam(u64 SeamLast);

  SortedChunks<MEMAREA_RANGE> m_Ranges;
  u64 m_NumBytes = 0;
};
