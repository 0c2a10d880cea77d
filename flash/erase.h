#pragma once

#include <string>

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
// One instruction for the whole chip; can't be cancelled once it is sent.
void FLASH_EraseChip();
void FLASH_EraseAllSectors();
void FLASH_EraseAffected(MEMAREA* pArea);
// All sectors or the affected ones, as the setting AutoMode says.
void FLASH_EraseForProgram(MEMAREA* pArea);

// ---- Inner steps ----
// Clears the chip's block protection bits, once per connection. Its failure is in the log.
void FLASH_RemoveBlockProtection();
struct PROGRESS_INFO;
// One byte a sector in pMap, non-zero to erase.
void FLASH_EraseSectorMap(const u8* pMap, u32 NumSectors, u32 NumSelected,
                          PROGRESS_INFO* pProgress);
// Waits until the chip is ready. 0; -1 when the time ran out; -2 when an error was logged
// meanwhile.
int FLASH_WaitReady(u32 TimeoutMs);
