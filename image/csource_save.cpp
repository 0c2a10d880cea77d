#include <algorithm>
#include <memory>
#include <new>
#include <string>

#include "image/datafile.h"
#include "image/file_save.h"
#include "image/hex_digits.h"
#include "image/memarea_impl.h"
#include "image/text_sink.h"
#include "sys/path.h"
#include "sys/util_format.h"

// Writer of C source: one array with every byte of a span, holes as FF.

namespace {

constexpr u64 CHUNK_SIZE = 0x10000;  // a multiple of a line
constexpr u32 LINE_SIZE = 16;
constexpr u32 CHARS_PER_BYTE = 6;  // " 0xFF,"
constexpr u32 MAX_NAME = 256;

constexpr char BLANK_LINE[] =
    "*                                                                       *\r\n";
constexpr char TITLE_LINE[] =
    "*               Generated C-File                                        *\r\n";
constexpr char OWNER_LINE[] =
    "*               Korvane SPI, a product of TARVEX                        *\r\n";
constexpr char NOTE[] =
    "\r\n"
    "Please note:\r\n"
    "\r\n"
    "TARVEX has provided the feature of being able to save a file\r\n"
    "in ANSI \"C\" format as convenience feature.\r\n"
    "You may use this feature at your own risc, TARVEX assumes no liability\r\n"
    "in any form.\r\n"
    "\r\n";
constexpr u32 BOX_WIDTH = 73;
static_assert(sizeof(BLANK_LINE) == BOX_WIDTH + 3 && sizeof(TITLE_LINE) == BOX_WIDTH + 3 &&
              sizeof(OWNER_LINE) == BOX_WIDTH + 3);

// The file's base name. What can't stand in an identifier becomes an underscore, so that the
// array compiles whatever the file is called.
std::string MakeArrayName(const char* sFileName) {
  char name[MAX_NAME + 1];
  SYS_PATH_GetName(sFileName, name, sizeof(name));
  std::string result = name;
  std::replace_if(
      result.begin(), result.end(),
      [](char c) {
        const bool isLetter = (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z');
        return !isLetter && !(c >= '0' && c <= '9') && c != '_';
      },
      '_');
  return result;
}

void WriteHead(TextSink& sink, const std::string& name, u64 FirstAddr, u64 LastAddr) {
  const std::string stars(BOX_WIDTH, '*');
  sink.Write("/" + stars.substr(1) + "\r\n");
  for (const char* line : {BLANK_LINE, TITLE_LINE, BLANK_LINE, OWNER_LINE, BLANK_LINE}) {
    sink.Write(line);
  }
  sink.Write(stars + "\r\n");
  sink.Write(NOTE);
  char text[MAX_NAME + 128];
  UTIL_snprintf64(text, sizeof(text), "Memory image: 0x%.4llX - 0x%.4llX\r\n*/\r\n\r\n",
                  static_cast<unsigned long long>(FirstAddr),
                  static_cast<unsigned long long>(LastAddr));
  sink.Write(text);
  const unsigned long long numBytes = LastAddr - FirstAddr + 1;
  UTIL_snprintf64(text, sizeof(text), "static const unsigned char _ac%s[0x%llX] = {\r\n",
                  name.c_str(), numBytes);
  sink.Write(text);
}

void WriteLine(TextSink& sink, const u8* pData, u32 NumBytes, bool IsLast) {
  u8 digits[2 * LINE_SIZE];
  HEX_Encode(digits, pData, NumBytes);
  u8* p = sink.GetCursor();
  *p++ = ' ';
  for (u32 i = 0; i < NumBytes; ++i, p += CHARS_PER_BYTE) {
    p[0] = ' ';
    p[1] = '0';
    p[2] = 'x';
    p[3] = digits[2 * i];
    p[4] = digits[2 * i + 1];
    p[5] = ',';
  }
  p -= IsLast ? 1 : 0;
  p[0] = '\r';
  p[1] = '\n';
  sink.SetCursor(p + 2);
}

void WriteData(TextSink& sink, MEMAREA* pArea, u8* pBuffer, u64 FirstAddr, u64 LastAddr) {
  u64 numLeft = LastAddr - FirstAddr + 1;
  for (u64 addr = FirstAddr; numLeft != 0;) {
    const u64 numBytes = std::min(CHUNK_SIZE, numLeft);
    MEMAREA_Read(pArea, addr, numBytes, pBuffer, 0xFF);
    addr += numBytes;
    numLeft -= numBytes;
    for (u64 i = 0; i < numBytes; i += LINE_SIZE) {
      const u64 lineSize = std::min<u64>(LINE_SIZE, numBytes - i);
      WriteLine(sink, pBuffer + i, static_cast<u32>(lineSize),
                numLeft == 0 && i + lineSize == numBytes);
    }
  }
}

}  // namespace

int MEMAREA_SaveC(MEMAREA* pArea, const char* pFileName, u64 FirstAddr, u64 LastAddr,
                  FILE_REPORT* pfReport, void* pContext) {
  FileSave save(pArea, pFileName, FileReport(pfReport, pContext));
  if (!save.Begin()) {
    return -1;
  }
  const bool hasData = FirstAddr <= LastAddr;
  if (hasData && !save.CheckFileSize(FirstAddr, LastAddr, CHARS_PER_BYTE, "C")) {
    return -1;
  }
  FILEWR* file = save.Open();
  if (file == nullptr) {
    return -1;
  }
  TextSink sink(file);
  const std::unique_ptr<u8[]> buffer(new (std::nothrow) u8[CHUNK_SIZE]);
  if (!sink.Allocate() || !buffer) {
    return save.Fail("Could not write file. Out of memory.");
  }
  WriteHead(sink, MakeArrayName(pFileName), FirstAddr, LastAddr);
  if (hasData) {
    WriteData(sink, pArea, buffer.get(), FirstAddr, LastAddr);
  }
  sink.Write("};\r\n\r\n/*** end of file ***/\r\n");
  sink.Flush();
  return save.Finish();
}
