#pragma once

#include "flash/chip.h"
#include "image/memarea.h"
#include "sys/types.h"

// Programming an image. Application thread only. The image is only read; patches count as its
// bytes.
//
// A block on its way to the chip is a whole number of pages, at most 64 KiB: holes of up to 3 bytes
// and the rest of a page are filled with 0xFF. Progress and cancel are looked at once per block.
// There is no retry: a failed block ends the operation and leaves the chip partly programmed.
//
// SkipPrepare: the caller has erased already; neither blank check nor question.
void FLASH_Program(MEMAREA* pArea, bool SkipPrepare);
void FLASH_ProgramVerify(MEMAREA* pArea);

// 0, or -1 after logging the error.
int FLASH_CheckFit(MEMAREA* pArea);
// 0 no erase needed; 1 erase wanted; negative refused or failed, reported.
int FLASH_AskErase(MEMAREA* pArea);
// 1 all 0xFF, 0 otherwise.
int FLASH_IsBlank(MEMAREA* pArea);
// One block of whole pages. Bytes programmed, or negative.
i64 SPI_ProgramPages(const FLASH_CHIP& Chip, u32 Addr, u32 NumBytes, const u8* pData);
// Hands a block to the library's queue. 0, or -1 not reported.
int FLASH_ProgramFast(const FLASH_CHIP& Chip, u32 Addr, u32 NumBytes, const u8* pData);
// Calls the library until its queue is worked off. 0; -1 with *pFailAddr set (0 when the library
// has no such function); FLASH_WAIT_STOPPED when an error was logged, also about a queue that
// doesn't end, or the user cancelled.
constexpr int FLASH_WAIT_STOPPED = -2;
[[nodiscard]] int FLASH_WaitFast(u32* pFailAddr, u32 TimeoutMs);
// For a queue of so many bytes to program or compare, in ms.
u32 FLASH_GetFastTimeout(const FLASH_CHIP& Chip, u64 NumBytes);
