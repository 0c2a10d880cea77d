#pragma once

#include "sys/memory.h"
#include "sys/types.h"

// The bytes of one range, with room in front of and behind them.
//
// Room on both sides keeps both directions cheap: a range that grows downwards record by record,
// and a large range that loses its lower end again and again. Growing adds an eighth, so that
// copying stays bounded; a block that is less than half used after a cut is reduced.
//
// The owner knows how many bytes are used and passes that. Operations that fail change nothing.
class DataBlock {
 public:
  // False for an address-only range.
  bool HasData() const { return m_pBlock != nullptr; }
  u8* GetData() const { return m_pBlock.get() + m_Head; }

  bool Allocate(u64 NumBytes);
  // Room for Front bytes in front of the Used ones and for Back behind them.
  bool MakeRoom(u64 Used, u64 Front, u64 Back);
  // Moves the start of the data: negative takes room in front into use.
  void ExtendFront(u64 NumBytes) { m_Head -= NumBytes; }
  void DropFront(u64 NumBytes) { m_Head += NumBytes; }
  // Gives memory back when more than half of the block is unused.
  void Trim(u64 Used);
  // Gives all unused memory back.
  void Shrink(u64 Used);

 private:
  bool Resize(u64 Capacity);

  SYS_MEM_PTR<u8> m_pBlock;
  u64 m_Capacity = 0;
  u64 m_Head = 0;
};
