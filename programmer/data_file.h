#pragma once

#include "image/memarea.h"
#include "programmer/dynbuffer.h"

// The data file of a stand-alone programmer: an image as blocks of whole pages, with a table.
//
//            0  248  header text (programmer/file_header.h)
//          248    4  DataOffset: where the data begins, a multiple of 2048
//          252    4  CRC over the text and over bytes 256 to DataOffset - 1
//          256   16  for each block: address, length (at most 2048), offset of its bytes in this
//                    file, CRC over the data of all blocks up to this one; then zeros, for at
//                    least one entry: that ends the table
//   DataOffset       data of the blocks, without gaps, in the order of the table
//
// Nothing in this program reads the file back.

struct ZELMONT_DAT_FILE_INFO {
  u32 MinAlignShift;     // page size as a power of 2
  u8 FillValue;          // of bytes in a page that the image lacks
  int (*pfKeepGoing)();  // 0 stops the operation; may be null
  // Formats of UTIL_snprintf64; may be null.
  [[gnu::format(printf, 2, 3)]] void (*pfInfo)(void* pContext, const char* sFormat, ...);
  [[gnu::format(printf, 2, 3)]] void (*pfError)(void* pContext, const char* sFormat, ...);
  void* pContext;
  DYNBUFFER* pBuffer;  // initialised by the caller, empty
  const char* pProductName;
  MEMAREA* pArea;
};

constexpr u32 ZELMONT_DAT_BUFFER_SIZE = 2048;     // a new buffer's size
constexpr u32 ZELMONT_DAT_MAX_SIZE = 0xFFFFFFFF;  // offsets in the file are 32 bits

// Holds the image's lock meanwhile. 0, or -1 with the reason given to pfError; the buffer's content
// is of no use then.
int ZELMONT_DAT_FILE_Build(ZELMONT_DAT_FILE_INFO* pInfo);
