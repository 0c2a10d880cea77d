#pragma once

#include <span>
#include <string>

#include "flash/chip.h"
#include "image/memarea.h"
#include "sys/types.h"

// Sector geometry and erase. Application thread only. Operations return nothing: their outcome is
// in the log and the error count.
//
// All sectors have one size. A chip that can't be erased (EEPROM, FRAM) is skipped with a line in
// the log and without an error; a chip that could be, but whose instruction or geometry isn't
// known, is an error, since nothing would have been erased.
//
// Sector erases are queued in the library's fast mode when that is on; chip erase never is. A
// failed or cancelled erase leaves the chip partly erased.

// ---- Geometry, from the project each time ----
u32 FLASH_GetNumSectors();
void FLASH_GetSectorInfo(u32 Index, u64* pAddr, u64* pNumBytes);
u64 FLASH_GetTotalSize();
// A new address-only area of all sectors, or of those that overlap pFilter. Null on failure, with
// *pNumSectors 0. The caller owns it.
MEMAREA* FLASH_CreateSectorArea(MEMAREA* pFilter, u32* pNumSectors);
u32 FLASH_GetNumRanges();
void FLASH_GetRangeInfo(u32 Index, u64* pAddr, u64* pNumBytes);
bool FLASH_IsSectorAffected(u32 Index, MEMAREA* pArea);
// -1 when all of pArea, moved by Offset, lies in the chip, else the index of the first range
// outside.
i64 FLASH_IsSpanInChip(MEMAREA* pArea, u64 Offset);
// ", 0x%llX - 0x%llX" for each range of the area; null stands for the chip.
std::string FLASH_FormatRanges(MEMAREA* pArea);

// ---- Operations ----
// What one of them reports as done has been read back as blank, unless the setting VerifyErase is
// off: a chip ignores an erase without a word when it is protected, or too large for the
// instruction.
//
// One instruction for the whole chip. The chip goes on with it when it is cancelled.
void FLASH_EraseChip();
void FLASH_EraseAllSectors();
// pProved, may be null: bytes that the same run programs and verifies, which shows as much.
void FLASH_EraseAffected(MEMAREA* pArea, MEMAREA* pProved = nullptr);
// All sectors or the affected ones, as the setting AutoMode says.
void FLASH_EraseForProgram(MEMAREA* pArea, MEMAREA* pProved = nullptr);

// ---- Inner steps ----
// Clears the chip's block protection bits, once per connection, and looks whether they are. 0, or
// -1 reported.
[[nodiscard]] int FLASH_RemoveBlockProtection(FLASH_CHIP* pChip);
// Whether the status register shows protection.
bool FLASH_IsProtected(const FLASH_CHIP& Chip);
struct PROGRESS_INFO;
// One byte a sector in pMap, non-zero to erase. The outcome is in the log.
void FLASH_EraseSectorMap(FLASH_CHIP* pChip, std::span<const u8> Map, u32 NumSelected,
                          PROGRESS_INFO* pProgress);
// Reads the ranges but for what pProved, may be null, has. 0 all blank, or -1 reported.
[[nodiscard]] int FLASH_VerifyBlank(const FLASH_CHIP& Chip, MEMAREA* pRanges, MEMAREA* pProved,
                                    PROGRESS_INFO* pProgress);
