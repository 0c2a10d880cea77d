#pragma once

#include "sys/memory.h"
#include "sys/types.h"

// The bytes of one range, with room in front of and behind them.
//
// Room on both sides keeps both directions cheap: a range that grows downwards record by record,
// and a large range that loses its lower end again and again. Growing adds an eighth, so that
// copying stays bounded; a block that is less than half used after a cut is reduced.
//
// A block may have several owners, which costs a snapshot of an area nothing but its list of
// ranges. Who wants to write makes the block its own first (MakeWritable, MakeRoom): a copy, if
// there is another owner. Owners may live on several threads; each is guarded by its area's lock.
//
// The owner knows how many bytes are used and passes that. Operations that fail change nothing.
class DataBlock {
 public:
  // False for an address-only range.
  bool HasData() const { return m_pBlock != nullptr; }
  const u8* GetData() const { return m_pBlock.get() + kHeadSize + m_Head; }
  // Only behind Allocate, MakeWritable or MakeRoom.
  u8* GetWritable() { return m_pBlock.get() + kHeadSize + m_Head; }

  bool Allocate(u64 NumBytes);
  // One more owner of the same bytes.
  DataBlock Share() const;
  bool MakeWritable(u64 Used);
  // Room for Front bytes in front of the Used ones and for Back behind them; writable then.
  bool MakeRoom(u64 Used, u64 Front, u64 Back);
  // Moves the start of the data: negative takes room in front into use.
  void ExtendFront(u64 NumBytes) { m_Head -= NumBytes; }
  void DropFront(u64 NumBytes) { m_Head += NumBytes; }
  // Gives memory back when more than half of the block is unused.
  void Trim(u64 Used);
  // Gives all unused memory back. A block of several owners keeps its size.
  void Shrink(u64 Used);

 private:
  // In front of the bytes stands the number of owners; the rest keeps them aligned.
  static constexpr u64 kHeadSize = 16;

  // Leaves the block to its other owners, or frees it.
  struct LEAVE {
    void operator()(u8* pBlock) const;
  };

  bool IsShared() const;
  bool CopyOut(u64 Used, u64 Head, u64 Tail);
  bool Resize(u64 Capacity);

  std::unique_ptr<u8, LEAVE> m_pBlock;
  u64 m_Capacity = 0;
  u64 m_Head = 0;
};
