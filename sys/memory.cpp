#include "sys/memory.h"

#include <array>
#include <atomic>
#include <cstdint>
#include <cstdlib>

#include "sys/memory_tracking.h"
#include "sys/util_format.h"

namespace {

std::atomic<bool> g_IsTracking{false};
// Blocks given out in either mode: the mode changes only when there is none.
std::atomic<u64> g_NumBlocks{0};

// The platform may answer a request for 0 bytes with null, which means failure here.
std::size_t AtLeastOne(std::size_t Size) {
  return Size != 0 ? Size : 1;
}

void* AllocPlain(std::size_t Size) {
  return Size > PTRDIFF_MAX ? nullptr : std::malloc(AtLeastOne(Size));
}

void ShowAllocFailure(std::size_t Size) {
  std::array<char, 96> acText{};
  UTIL_snprintf64(acText.data(), acText.size(), "Failed to allocate 0x%.8llX bytes of memory!",
                  static_cast<unsigned long long>(Size));
  SYS_ShowMessage("Error", acText.data());
}

}  // namespace

void* SYS_MEM_Alloc(std::size_t Size, const char* sTag) {
  void* const p = g_IsTracking ? SysTrackedAlloc(Size, sTag) : AllocPlain(Size);
  if (p == nullptr) {
    ShowAllocFailure(Size);
    return nullptr;
  }
  ++g_NumBlocks;
  return p;
}

void* SYS_MEM_AllocNoTag(std::size_t Size) {
  return SYS_MEM_Alloc(Size, nullptr);
}

void SYS_MEM_Free(void* p) {
  if (p == nullptr) {
    return;
  }
  if (!g_IsTracking) {
    std::free(p);
  } else if (!SysTrackedFree(p)) {
    return;  // not a block of ours
  }
  --g_NumBlocks;
}

void* SYS_MEM_Realloc(void* p, std::size_t Size) {
  if (p == nullptr) {
    return SYS_MEM_AllocNoTag(Size);
  }
  if (g_IsTracking) {
    return SysTrackedRealloc(p, Size);
  }
  return Size > PTRDIFF_MAX ? nullptr : std::realloc(p, AtLeastOne(Size));
}

bool SYS_MEM_SetTracking(bool OnOff) {
  if (g_NumBlocks != 0) {
    return false;
  }
  g_IsTracking = OnOff;
  return true;
}

void SYS_MEM_GetStats(u32* pNumBlocks, u64* pNumBytes) {
  SysTrackedStats(pNumBlocks, pNumBytes);
}
