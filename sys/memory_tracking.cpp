#include "sys/memory_tracking.h"

#include <algorithm>
#include <array>
#include <atomic>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <new>

#include "sys/memory.h"
#include "sys/util_format.h"

namespace {

constexpr u32 kSignature = 0xDEADBEEF;
constexpr u8 kGuardByte = 0xCE;
constexpr std::size_t kNumGuardBytes = 32;
constexpr char kCheckTitle[] = " Debug Error";

// Stands ahead of the caller's data, which keeps the alignment of the allocator by it.
struct alignas(16) BlockHeader {
  std::size_t Size;
  u32 Signature;
  const char* sTag;
  BlockHeader* pNext;
  BlockHeader* pPrev;

  u8* Data() { return reinterpret_cast<u8*>(this + 1); }
};

// Guards the list and its sums. Held for a few instructions only, and free of the layer's other
// locks, so that blocks can be had at any time.
class SpinLock {
 public:
  void lock() {
    while (m_IsTaken.exchange(true, std::memory_order_acquire)) {
    }
  }
  void unlock() { m_IsTaken.store(false, std::memory_order_release); }

 private:
  std::atomic<bool> m_IsTaken{false};
};

struct BlockList {
  SpinLock Lock;
  BlockHeader* pFirst = nullptr;
  u32 NumBlocks = 0;
  u64 NumBytes = 0;
};

BlockList g_List;

class ListGuard {
 public:
  ListGuard() { g_List.Lock.lock(); }
  ~ListGuard() { g_List.Lock.unlock(); }
  ListGuard(const ListGuard&) = delete;
  ListGuard& operator=(const ListGuard&) = delete;
};

void Link(BlockHeader* pBlock) {
  const ListGuard guard;
  pBlock->pNext = g_List.pFirst;
  pBlock->pPrev = nullptr;
  if (g_List.pFirst != nullptr) {
    g_List.pFirst->pPrev = pBlock;
  }
  g_List.pFirst = pBlock;
  ++g_List.NumBlocks;
  g_List.NumBytes += pBlock->Size;
}

void Unlink(BlockHeader* pBlock) {
  const ListGuard guard;
  (pBlock->pPrev != nullptr ? pBlock->pPrev->pNext : g_List.pFirst) = pBlock->pNext;
  if (pBlock->pNext != nullptr) {
    pBlock->pNext->pPrev = pBlock->pPrev;
  }
  --g_List.NumBlocks;
  g_List.NumBytes -= pBlock->Size;
}

BlockHeader* HeaderOf(void* p) {
  return static_cast<BlockHeader*>(p) - 1;
}

// Position, counted from 1, of the first guard byte that was written over; 0 when all stand.
u32 FindOverflow(BlockHeader* pBlock) {
  const u8* const pGuard = pBlock->Data() + pBlock->Size;
  const u8* const pBad =
      std::find_if(pGuard, pGuard + kNumGuardBytes, [](u8 b) { return b != kGuardByte; });
  return pBad == pGuard + kNumGuardBytes ? 0 : static_cast<u32>(pBad - pGuard) + 1;
}

}  // namespace

void* SysTrackedAlloc(std::size_t Size, const char* sTag) {
  constexpr std::size_t extra = sizeof(BlockHeader) + kNumGuardBytes;
  if (Size > PTRDIFF_MAX - extra) {
    return nullptr;
  }
  void* const pMemory = std::malloc(Size + extra);
  if (pMemory == nullptr) {
    return nullptr;
  }
  auto* const pBlock = new (pMemory) BlockHeader{Size, kSignature, sTag, nullptr, nullptr};
  std::memset(pBlock->Data() + Size, kGuardByte, kNumGuardBytes);
  Link(pBlock);
  return pBlock->Data();
}

bool SysTrackedFree(void* p) {
  BlockHeader* const pBlock = HeaderOf(p);
  if (pBlock->Signature != kSignature) {
    SYS_ShowMessage(kCheckTitle, "Wrong alloc signature in memory block !");
    return false;
  }
  if (const u32 position = FindOverflow(pBlock); position != 0) {
    std::array<char, 96> acText{};
    UTIL_snprintf(acText.data(), acText.size(),
                  "Buffer overflow in memory block. %d bytes overflowed.", position);
    SYS_ShowMessage(kCheckTitle, acText.data());
    Unlink(pBlock);
    return true;
  }
  Unlink(pBlock);
  std::memset(pBlock->Data(), kGuardByte, pBlock->Size);
  pBlock->Signature = 0;
  std::free(pBlock);
  return true;
}

void* SysTrackedRealloc(void* p, std::size_t Size) {
  BlockHeader* const pOld = HeaderOf(p);
  if (pOld->Signature != kSignature) {
    SYS_ShowMessage(kCheckTitle, "Wrong alloc signature in memory block !");
    return nullptr;
  }
  void* const pNew = SysTrackedAlloc(Size, pOld->sTag);
  if (pNew == nullptr) {
    std::array<char, 96> acText{};
    UTIL_snprintf64(acText.data(), acText.size(), "Failed to reallocate 0x%.8llX bytes of memory!",
                    static_cast<unsigned long long>(Size));
    SYS_ShowMessage(kCheckTitle, acText.data());
    return nullptr;
  }
  std::memcpy(pNew, p, std::min(Size, pOld->Size));
  SysTrackedFree(p);
  return pNew;
}

void SysTrackedStats(u32* pNumBlocks, u64* pNumBytes) {
  const ListGuard guard;
  if (pNumBlocks != nullptr) {
    *pNumBlocks = g_List.NumBlocks;
  }
  if (pNumBytes != nullptr) {
    *pNumBytes = g_List.NumBytes;
  }
}
