#include <algorithm>

#include "image/datafile.h"
#include "image/file_save.h"
#include "image/hex_digits.h"
#include "image/memarea_impl.h"
#include "image/text_sink.h"
#include "sys/util_format.h"

// Writer of TI-TXT: an address line where data doesn't follow on, lines of 16 bytes, and "q". The
// targets of this format write words, so a piece that starts at an odd address gets the byte in
// front of it, as FF.

namespace {

constexpr u32 BLOCK_SIZE = 512;
constexpr u32 LINE_SIZE = 16;

void WriteAddr(TextSink& sink, u64 Addr) {
  u8* p = sink.GetCursor();
  *p++ = '@';
  u32 shift = 60;
  while (shift != 0 && Addr >> shift == 0) {
    shift -= 4;
  }
  for (; shift <= 60; shift -= 4) {
    *p++ = static_cast<u8>("0123456789abcdef"[Addr >> shift & 15]);
  }
  *p++ = '\r';
  *p++ = '\n';
  sink.SetCursor(p);
}

void WriteLine(TextSink& sink, const u8* pData, u32 NumBytes) {
  u8 digits[2 * LINE_SIZE];
  HEX_Encode(digits, pData, NumBytes);
  u8* p = sink.GetCursor();
  for (u32 i = 0; i < NumBytes; ++i) {
    p[3 * i] = digits[2 * i];
    p[3 * i + 1] = digits[2 * i + 1];
    p[3 * i + 2] = ' ';
  }
  // The line end takes the place of the last blank.
  p += 3 * NumBytes - 1;
  p[0] = '\r';
  p[1] = '\n';
  sink.SetCursor(p + 2);
}

void WriteBlocks(TextSink& sink, MEMAREA* pArea) {
  u8 block[BLOCK_SIZE];
  u64 next = 0;
  do {
    u64 addr = 0;
    const u64 numBytes =
        MEMAREA_GetData(pArea, next, ~u64{0}, 0, 0xFF, block, nullptr, &addr, BLOCK_SIZE, 1, 0);
    if (numBytes == 0) {
      break;
    }
    if (addr != next || addr == 0) {
      WriteAddr(sink, addr);
    }
    for (u32 i = 0; i < numBytes; i += LINE_SIZE) {
      WriteLine(sink, block + i, std::min(LINE_SIZE, static_cast<u32>(numBytes) - i));
    }
    next = addr + numBytes;
  } while (next != 0);
}

}  // namespace

int MEMAREA_SaveTiTxt(MEMAREA* pArea, const char* pFileName, FILE_REPORT* pfReport,
                      void* pContext) {
  FileSave save(pArea, pFileName, FileReport(pfReport, pContext));
  if (!save.Begin()) {
    return -1;
  }
  FILEWR* file = save.Open();
  if (file == nullptr) {
    return -1;
  }
  TextSink sink(file);
  if (!sink.Allocate()) {
    return save.Fail("Could not write file. Out of memory.");
  }
  WriteBlocks(sink, pArea);
  sink.Write("q\r\n");
  sink.Flush();
  return save.Finish();
}
