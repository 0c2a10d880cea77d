#pragma once

#include "image/memarea.h"
#include "project/project.h"
#include "sys/types.h"

// Serial numbers of production. Application thread only.
//
// Two text files beside the project, for a project p.korvane:
//
//   p_Serial.txt   the next number: decimal, or hexadecimal behind "0x"; what stands behind it
//   after
//                  a blank or a line end is a remark. Without the file it is the project's SNValue.
//                  The first run creates it; written anew after each good one, replaced as a whole.
//   p_SNList.txt   optional: line number SNValue, counted from 0, holds the data of that number as
//                  pairs of hexadecimal digits. Lines end with LF or CR LF.
//
// Without a list the data is SNValue in 4 bytes and its complement in 4 more, little-endian. SNLen
// bytes of the data, at most 32, are stamped at SNAddr; what the data doesn't have is 0. A number
// that needs more than SNLen bytes is refused: cut, it would be that of another unit.
//
// A number is given away once its successor is on disk, and only then a run reports success. What
// can't be read for sure (a file that is there but can't be opened, or that begins with anything
// but a number of at most 32 bits) ends the run before the chip is touched, and so does a file that
// another run has in use: going on could give a number away twice.

// Loads the number, holds its file against other runs, and stamps it. 0, also when ProgramSN is
// off; negative on failure, reported.
int SN_Prepare(MEMAREA* pArea);
// Stamps the number of SN_Prepare into a copy that nobody else has: the image itself can be edited
// at any time. 0, also without a number, or -1 reported.
int SN_StampCopy(MEMAREA* pWork);
// Writes the next number to the file, then stores it in the project. 0, also when ProgramSN is off,
// or -1; the project then keeps the old one.
int SN_Advance();
// The end of a run, good or bad: other runs may have the file. Does nothing if it isn't held.
void SN_Release();
// Refreshes SNValue of the block from the file, with 0 when that holds no number; null takes and
// stores the project's block.
void SN_LoadValue(PROJ_PRODUCTION* pProduction);
