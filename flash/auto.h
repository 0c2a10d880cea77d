#pragma once

#include "flash/chip.h"
#include "image/memarea.h"

// The one button of a production line: connect, stamp the next serial number, erase as the project
// says, program, verify, exit sequence, count the serial number on. Application thread only.
//
// What the run does stands in the project's PROJ_PRODUCTION, read once at its start. The first
// error skips all later steps but the closing ones; the serial number then stays, so that the next
// unit gets it. The image keeps the stamped number in any case.
void FLASH_Auto(MEMAREA* pArea);

// ---- Inner steps: sets of whole sectors ----
//
// Where nothing is erased a sector may be smaller than a page, which is written as a whole: there
// the page takes the sector's place.
//
// Results are new areas that the caller owns. A sector counts as its whole image, bytes that an
// area doesn't have as 0xFF: a read back may have left out what was blank. Null, or what was
// gathered so far, after a failure, reported. The areas are the run's own: nobody else has them
// locked.

// Sectors of pNew that differ from pCurrent, with the bytes of pNew. In a page that takes a
// sector's place, bytes that pNew doesn't have are those of pCurrent.
MEMAREA* FLASH_DiffSectors(const FLASH_CHIP& Chip, MEMAREA* pNew, MEMAREA* pCurrent);
// What pCurrent holds in the sectors of pDiff.
MEMAREA* FLASH_CurrentOfSectors(const FLASH_CHIP& Chip, MEMAREA* pCurrent, MEMAREA* pDiff);
// Sectors of pCurrent from the first to the last one that pSpan touches that hold anything but
// 0xFF.
MEMAREA* FLASH_NotBlankSectors(const FLASH_CHIP& Chip, MEMAREA* pSpan, MEMAREA* pCurrent);
