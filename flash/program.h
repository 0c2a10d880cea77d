#pragma once

#include "image/memarea.h"
#include "sys/types.h"

// Programming an image. Application thread only.
void FLASH_Program(MEMAREA* pArea, bool SkipPrepare);
void FLASH_ProgramVerify(MEMAREA* pArea);

// 0, or -1 after logging the error.
int FLASH_CheckFit(MEMAREA* pArea);
// 0 no erase needed; 1 erase wanted; negative refused or failed, reported.
int FLASH_AskErase(MEMAREA* pArea);
// 1 all 0xFF, 0 otherwise.
int FLASH_IsBlank(MEMAREA* pArea);
// One block of whole pages. Bytes programmed, or negative.
i64 SPI_ProgramPages(u32 Addr, u32 NumBytes, const u8* pData);
int FLASH_ProgramFast(u32 Addr, u32 NumBytes, const u8* pData);
// Calls the library until its queue is worked off. 0; -1 with *pFailAddr set (0 when the library
// has no such function); FLASH_WAIT_STOPPED when an error was logged or the user cancelled
// meanwhile.
constexpr int FLASH_WAIT_STOPPED = -2;
int FLASH_WaitFast(u32* pFailAddr);
