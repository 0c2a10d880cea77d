#include "programmer/dynbuffer.h"

#include <algorithm>
#include <array>
#include <cstring>

#include "sys/memory.h"
#include "sys/util_format.h"

namespace {

constexpr u32 kTextSize = 128;

int ReportNoMemory(const DYNBUFFER& buf, u32 numBytes) {
  if (buf.pfError != nullptr) {
    // Unsigned, since a size may need all 32 bits.
    std::array<char, kTextSize> acText{};
    UTIL_snprintf(acText.data(), acText.size(),
                  "Cannot allocate %u bytes of memory for dynamic buffer", numBytes);
    buf.pfError(acText.data());
  }
  return DYNBUFFER_NO_MEMORY;
}

int ReportOutOfBounds(const DYNBUFFER& buf, u64 index) {
  if (buf.pfError != nullptr) {
    std::array<char, kTextSize> acText{};
    UTIL_snprintf64(acText.data(), acText.size(),
                    "Debugger accesses memory in dynamic buffer at offset 0x%.8lX which is out of "
                    "array bounds.",
                    index);
    buf.pfError(acText.data());
  }
  return DYNBUFFER_OUT_OF_BOUNDS;
}

void FillNew(const DYNBUFFER& buf, u32 first) {
  if (buf.FillValue >= 0) {
    std::memset(buf.pBuffer + first, buf.FillValue & 0xFF, buf.AllocSize - first);
  }
}

// Room for a write of at least one byte, or null with LastError set.
u8* BeginWrite(DYNBUFFER* pBuf, u64 offset, u64 numBytes) {
  // A span past the end of all numbers is as far out of bounds as can be.
  const u64 last = numBytes - 1 > ~offset ? ~u64{0} : offset + (numBytes - 1);
  const int result = DYNBUFFER_Ensure(pBuf, last);
  if (result != 0) {
    pBuf->LastError = result;
    return nullptr;
  }
  pBuf->LastIndex = std::max(pBuf->LastIndex, static_cast<u32>(last));
  pBuf->HasData = 1;
  return pBuf->pBuffer + offset;
}

}  // namespace

DYNBUFFER::~DYNBUFFER() {
  DYNBUFFER_Free(this);
}

int DYNBUFFER_Init(DYNBUFFER* pBuf, void (*pfError)(const char* sText), u32 MaxSize,
                   u32 InitialSize, i32 FillValue) {
  DYNBUFFER_Free(pBuf);
  pBuf->pfError = pfError;
  pBuf->FillValue = FillValue;
  const u32 size = std::min(InitialSize, MaxSize);
  pBuf->pBuffer = static_cast<u8*>(SYS_MEM_Alloc(size, "DYNBUFFER: Buffer"));
  if (pBuf->pBuffer == nullptr) {
    return ReportNoMemory(*pBuf, size);
  }
  pBuf->MaxSize = MaxSize;
  pBuf->AllocSize = size;
  FillNew(*pBuf, 0);
  return 0;
}

int DYNBUFFER_Ensure(DYNBUFFER* pBuf, u64 Index) {
  if (Index < pBuf->AllocSize) {
    return 0;
  }
  if (Index >= pBuf->MaxSize) {
    return ReportOutOfBounds(*pBuf, Index);
  }
  const u32 oldSize = pBuf->AllocSize;
  const u64 wanted = std::max(Index + 1, u64{oldSize} * 2);
  const u32 newSize = static_cast<u32>(std::min<u64>(pBuf->MaxSize, wanted));
  u8* pNew = static_cast<u8*>(SYS_MEM_Realloc(pBuf->pBuffer, newSize));
  if (pNew == nullptr) {
    return ReportNoMemory(*pBuf, newSize);
  }
  pBuf->pBuffer = pNew;
  pBuf->AllocSize = newSize;
  FillNew(*pBuf, oldSize);
  return 0;
}

int DYNBUFFER_WriteAt(DYNBUFFER* pBuf, u64 Offset, const void* pData, u64 NumBytes) {
  if (NumBytes == 0) {
    return 0;
  }
  u8* pDest = BeginWrite(pBuf, Offset, NumBytes);
  if (pDest == nullptr) {
    return pBuf->LastError;
  }
  std::memcpy(pDest, pData, NumBytes);
  return 0;
}

int DYNBUFFER_FillAt(DYNBUFFER* pBuf, u64 Offset, u8 Value, u64 NumBytes) {
  if (NumBytes == 0) {
    return 0;
  }
  u8* pDest = BeginWrite(pBuf, Offset, NumBytes);
  if (pDest == nullptr) {
    return pBuf->LastError;
  }
  std::memset(pDest, Value, NumBytes);
  return 0;
}

int DYNBUFFER_Append(DYNBUFFER* pBuf, const void* pData, u64 NumBytes) {
  return DYNBUFFER_WriteAt(pBuf, DYNBUFFER_GetNumBytes(*pBuf), pData, NumBytes);
}

void DYNBUFFER_Free(DYNBUFFER* pBuf) {
  SYS_MEM_Free(pBuf->pBuffer);
  pBuf->pBuffer = nullptr;
  pBuf->MaxSize = 0;
  pBuf->AllocSize = 0;
  pBuf->LastIndex = 0;
  pBuf->HasData = 0;
  pBuf->LastError = 0;
  pBuf->FillValue = 0;
  pBuf->pfError = nullptr;
}
