#pragma once

#include "flash/chip.h"
#include "image/memarea.h"
#include "sys/types.h"

// Verify and read back. Application thread only. A read result is a new area that the caller owns;
// null after a failure or a cancel, reported. Only a whole result is handed out.
//
// Verify compares the bytes that the image has and stops at the first that differs. An image that
// lies beyond the chip is refused, since chips repeat their contents there.
void FLASH_Verify(MEMAREA* pArea);
MEMAREA* FLASH_ReadChip();
MEMAREA* FLASH_ReadSpan(u64 FirstAddr, u64 LastAddr);
// All sectors that pArea touches.
MEMAREA* FLASH_ReadAffected(MEMAREA* pArea);

struct PROGRESS_INFO;
// The outcome is in the log. Null ranges stand for the chip. The chip is asked before and behind it
// whether it is there all the time.
void FLASH_ReadInto(const FLASH_CHIP& Chip, MEMAREA* pDest, u64 FirstAddr, u64 LastAddr,
                    PROGRESS_INFO* pProgress);
void FLASH_ReadRanges(const FLASH_CHIP& Chip, MEMAREA* pRanges, MEMAREA* pDest,
                      PROGRESS_INFO* pProgress);
// pValid: 0 for a byte that isn't compared. 0, or -1 reported.
[[nodiscard]] int FLASH_CompareBlock(const FLASH_CHIP& Chip, u32 Addr, u32 NumBytes,
                                     const u8* pExpected, const u8* pValid);
// Hands a block to the library's queue. 0, or -1 not reported.
[[nodiscard]] int FLASH_VerifyFast(const FLASH_CHIP& Chip, u32 Addr, u32 NumBytes, const u8* pData);
