#pragma once

#include <vector>

#include "image/sorted_chunks.h"
#include "sys/types.h"

// The single-byte patches of an area, oldest first, with an index by address beside them.
//
// Each patch knows the next older one at its address; the index knows the newest. A patch taken out
// of the middle leaves a dead entry behind, and dead entries are swept when they are the majority,
// so that no removal moves the list. The newest entry is never dead. No lock of its own.
class PatchList {
 public:
  u64 GetNumPatches() const { return m_NumAlive; }
  bool IsEmpty() const { return m_NumAlive == 0; }

  // False when memory is out; nothing has changed then.
  bool Add(u64 Addr, u8 Value);
  void UndoLast();
  // Removes all patches at the address.
  void RevertAddr(u64 Addr);
  // True, with the newest value, if there is a patch at the address.
  bool Find(u64 Addr, u8* pValue) const;
  void Clear();

  // Calls fn(Addr, Value) for each patched address of the span, ascending, with its newest value.
  template <class Fn>
  void ForEachIn(u64 FirstAddr, u64 LastAddr, Fn&& fn) const {
    for (auto pos = m_ByAddr.LowerBound(FirstAddr); !m_ByAddr.IsEnd(pos);
         pos = m_ByAddr.Next(pos)) {
      const NEWEST& newest = m_ByAddr.At(pos);
      if (newest.Addr > LastAddr) {
        return;
      }
      fn(newest.Addr, newest.Value);
    }
  }
  // Calls fn(Addr, Value) for each patch, oldest first, as long as that returns true.
  template <class Fn>
  bool ForEachOldestFirst(Fn&& fn) const {
    for (const ENTRY& entry : m_Entries) {
      if (entry.IsAlive && !fn(entry.Addr, entry.Value)) {
        return false;
      }
    }
    return true;
  }

  // Relocating by an offset, modulo 2^64: the first step may fail and changes nothing that shows,
  // the second can't.
  bool PrepareRelocate(u64 Offset);
  void Relocate(u64 Offset);

 private:
  static constexpr u32 NONE = ~u32{0};

  struct ENTRY {
    u64 Addr;
    u32 Older;  // index of the next older patch at this address, or NONE
    u8 Value;
    bool IsAlive;
  };
  struct NEWEST {
    u64 Addr;
    u32 Index;
    u8 Value;
  };
  using Pos = SortedChunks<NEWEST>::Pos;

  bool FindPos(u64 Addr, Pos* pPos) const;
  void DropDeadTail();
  void Sweep();

  std::vector<ENTRY> m_Entries;
  SortedChunks<NEWEST> m_ByAddr;
  u64 m_NumAlive = 0;
};
