#pragma once

#include "programmer/dynbuffer.h"

// The config file of a stand-alone programmer: the current project as a list of tagged items.
//
//     0  248  header text (programmer/file_header.h)
//   248    4  Size: offset of the file's last byte, so the file is Size + 1 bytes long
//   252    4  CRC over the text and over bytes 256 to Size - 1
//   256       items, packed: length of the data (u32), tag (u32), data
//             zeros until Size is a multiple of 2048
//
// The last byte stands behind the checksum's end, and a file's length is one above a multiple of
// 2048; programmers expect it so. Nothing in this program reads the file back.

// Builds the file in the buffer, which is initialised here. Application thread. 0, or -1 with the
// reason logged and the buffer freed.
int ZELMONT_CFG_Build(DYNBUFFER* pBuffer);
