#pragma once

#include "programmer/dynbuffer.h"
#include "sys/types.h"

// The 256 bytes in front of both programmer files:
//
//     0  248  text, padded with zeros: kind of file, local time to the minute, program
//   248    4  a number of the file's own
//   252    4  CRC-32 over bytes 0 to 247, continued over bytes 256 up to an end of the file's own
//
// All numbers are little-endian; checksums are those of image/crc.h.
constexpr u32 ZELMONT_HEADER_SIZE = 256;

// sKind: "Config" or "Data". 0, or the buffer's error.
int ZELMONT_WriteHeader(DYNBUFFER* pBuffer, const char* sKind, const char* sProductName);
// Fills the two fields once all that the checksum covers is written. End: first byte behind that,
// at least ZELMONT_HEADER_SIZE and within the buffer.
int ZELMONT_FinishHeader(DYNBUFFER* pBuffer, u32 Number, u32 End);
