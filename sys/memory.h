#pragma once

#include <memory>

#include "sys/types.h"

// Tagged heap blocks.
//
// The tag is a string literal, kept by pointer: "APP: <Erase> Job params". It has no effect in
// ordinary operation. With tracking on every block gets a header and guard bytes, so that an
// overrun or a foreign pointer is reported when the block is freed.
//
// All operations may be called from any thread.

// Returns a block that is not cleared, or null after SYS_ShowMessage told the user.
void* SYS_MEM_Alloc(std::size_t Size, const char* sTag);
void* SYS_MEM_AllocNoTag(std::size_t Size);
// Null is allowed.
void SYS_MEM_Free(void* p);
// Keeps the content up to the smaller size; a null block allocates. On failure the old block stays
// as it was and the result is null.
void* SYS_MEM_Realloc(void* p, std::size_t Size);

// Switches the checked blocks on or off; only while no block is allocated. Returns false otherwise.
bool SYS_MEM_SetTracking(bool OnOff);
// Blocks and bytes allocated while tracking is on; both may be null.
void SYS_MEM_GetStats(u32* pNumBlocks, u64* pNumBytes);

struct SYS_MEM_DELETER {
  void operator()(void* p) const { SYS_MEM_Free(p); }
};

// Owner of a tagged block of trivially destructible records.
template <class T>
using SYS_MEM_PTR = std::unique_ptr<T, SYS_MEM_DELETER>;

// Shows a message that cannot go through the message layer: out of memory, a damaged block. Goes to
// standard error unless a handler is set. Any thread.
void SYS_ShowMessage(const char* sTitle, const char* sText);
using SYS_MESSAGE_HANDLER = void(const char* sTitle, const char* sText);
// Null restores standard error.
void SYS_SetMessageHandler(SYS_MESSAGE_HANDLER* pfHandler);
