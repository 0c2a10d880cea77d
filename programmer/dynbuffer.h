#pragma once

#include "sys/types.h"

// DYNBUFFER: a byte buffer that grows up to a limit; the programmer's files are built in one.
//
// LastIndex is an index, not a count: with HasData set the buffer holds LastIndex + 1 bytes, else
// none. Bytes that no write has reached, below LastIndex too, have FillValue. One thread at a time.
struct DYNBUFFER {
  DYNBUFFER() = default;
  ~DYNBUFFER();
  DYNBUFFER(const DYNBUFFER&) = delete;
  DYNBUFFER& operator=(const DYNBUFFER&) = delete;

  u8* pBuffer = nullptr;
  u32 MaxSize = 0;                               // largest allowed size of the block
  u32 AllocSize = 0;                             // size of the block now
  u32 LastIndex = 0;                             // last byte in use
  u32 HasData = 0;                               // 0 until the first write
  i32 LastError = 0;                             // result of the last write that failed
  i32 FillValue = 0;                             // of new bytes; negative leaves them as they come
  void (*pfError)(const char* sText) = nullptr;  // may be null
};

constexpr int DYNBUFFER_NO_MEMORY = -2;
constexpr int DYNBUFFER_OUT_OF_BOUNDS = -3;

// Results are 0 or one of the above, reported through pfError. A buffer without a block, never
// initialised or freed, takes nothing.

// Frees what the buffer held before.
int DYNBUFFER_Init(DYNBUFFER* pBuf, void (*pfError)(const char* sText), u32 MaxSize,
                   u32 InitialSize, i32 FillValue);
// Makes the byte at Index addressable. The block at least doubles, so that appending is cheap.
int DYNBUFFER_Ensure(DYNBUFFER* pBuf, u64 Index);
// The data must not lie in the buffer itself. Writing no bytes changes nothing.
int DYNBUFFER_WriteAt(DYNBUFFER* pBuf, u64 Offset, const void* pData, u64 NumBytes);
int DYNBUFFER_FillAt(DYNBUFFER* pBuf, u64 Offset, u8 Value, u64 NumBytes);
// Behind the last byte in use.
int DYNBUFFER_Append(DYNBUFFER* pBuf, const void* pData, u64 NumBytes);
void DYNBUFFER_Free(DYNBUFFER* pBuf);

// Bytes in use.
inline u64 DYNBUFFER_GetNumBytes(const DYNBUFFER& buf) {
  return buf.HasData != 0 ? u64{buf.LastIndex} + 1 : 0;
}
