#pragma once

#include <vector>

#include "ui/hex/hex_types.h"

// The window on memory: the bytes of the screen, each with its state. Bytes behind NumBytes are 0
// and unread. Two blocks of the greatest size, so that resizing never allocates.
class MEM_CACHE {
 public:
  static constexpr u64 MAX_BYTES = 0x100000;

  MEM_CACHE();

  u64 GetBaseAddr() const { return m_BaseAddr; }
  u64 GetNumBytes() const { return m_NumBytes; }
  u64 GetEnd() const { return m_BaseAddr + m_NumBytes; }
  const u8* GetData() const { return m_aData.data(); }
  const u8* GetState() const { return m_aState.data(); }

  // All bytes 0 and unread, BaseAddr 0. NumBytes stays.
  void Clear();
  void SetBaseAddr(u64 Addr) { m_BaseAddr = Addr; }
  // At most MAX_BYTES.
  void Resize(u64 NumBytes);
  // Moves the window by some bytes, positive toward lower addresses; bytes that come in are unread.
  void Scroll(i64 NumBytes);

  bool Contains(u64 Addr, u64 NumBytes) const;
  // True if all bytes are held and valid.
  bool IsValid(u64 Addr, u64 NumBytes) const;
  // Offset of an address that the cache holds.
  u64 GetOffset(u64 Addr) const { return Addr - m_BaseAddr; }
  // Writes within the window.
  void Store(u64 Addr, u64 NumBytes, const u8* pData, const u8* pState);

 private:
  void Blank(u64 Offset, u64 NumBytes);

  u64 m_BaseAddr = 0;
  u64 m_NumBytes = 0;
  std::vector<u8> m_aData;
  std::vector<u8> m_aState;
};
