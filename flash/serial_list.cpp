// The list of serial number data: finding the line of a number, and its bytes.
#include <algorithm>
#include <array>
#include <cstring>
#include <string_view>

#include "flash/operation.h"
#include "flash/side_file.h"
#include "sys/util_format.h"
#include "sys/util_number.h"

namespace {

constexpr u64 kLineText = 256;   // bytes of a line that are looked at
constexpr u64 kPiece = 0x10000;  // in which the list is searched

// Offset of the line with this index, the file's size when it has too few, or -1 reported.
i64 FindLine(SideFile& file, u32 Index) {
  const std::unique_ptr<u8[]> pPiece = AllocBuffer(kPiece);
  if (pPiece == nullptr) {
    APP_LogErrorf(APP_CAUSE::SerialNumber, "Failed to allocate %lu bytes of memory", kPiece);
    return -1;
  }
  i64 offset = 0;
  while (Index != 0) {
    const i64 numRead = file.Read(pPiece.get(), kPiece);
    if (numRead <= 0) {
      return numRead < 0 ? -1 : offset;
    }
    const u8* const pEnd = pPiece.get() + numRead;
    const u8* p = pPiece.get();
    while (Index != 0 && p != nullptr) {
      p = static_cast<const u8*>(std::memchr(p, '\n', static_cast<std::size_t>(pEnd - p)));
      if (p != nullptr) {
        ++p;
        --Index;
      }
    }
    offset += p == nullptr ? numRead : p - pPiece.get();
  }
  return offset;
}

// Null, or what is wrong with the line, and in which column, counted from 1, where that matters.
// The line may end early; an empty one isn't the data of any number. At the end of the file half a
// byte is left out, elsewhere it is an error.
const char* ParseLine(std::string_view Text, u8* pDest, u32 NumBytes, std::size_t* pColumn) {
  *pColumn = 0;
  if (Text.empty()) {
    return "the list ends before this line";
  }
  const std::size_t end = std::min(Text.find_first_of("\r\n"), Text.size());
  if (end == 0) {
    return "the line is empty";
  }
  for (std::size_t i = 0; i < NumBytes && 2 * i < end && Text.size() - 2 * i >= 2; ++i) {
    const int high = UTIL_HexDigit(Text[2 * i]);
    const int low = UTIL_HexDigit(Text[2 * i + 1]);
    if (high < 0 || low < 0) {
      *pColumn = 2 * i + (high < 0 ? 1 : 2);
      return *pColumn > end ? "half a byte at the end of the line" : "not a hexadecimal digit";
    }
    pDest[i] = static_cast<u8>(high << 4 | low);
  }
  return nullptr;
}

void ReportLine(const SideFile& file, u32 Value, const char* sReason, std::size_t Column) {
  char acColumn[32] = "";
  if (Column != 0) {
    UTIL_snprintf(acColumn, sizeof(acColumn), ", column %u", static_cast<u32>(Column));
  }
  APP_LogErrorf(APP_CAUSE::SerialNumber, "File [%s], line %lu%s: %s.", file.GetName(),
                u64{Value} + 1, acColumn, sReason);
  APP_LogErrorf(APP_CAUSE::SerialNumber, "Could not read data for SN=%u from file [%s]", Value,
                file.GetName());
}

}  // namespace

ListResult SERIAL_FetchFromList(u32 Value, u8* pDest, u32 NumBytes) {
  SideFile file("_SNList");
  if (file.GetState() == SideFile::State::NoName) {
    APP_LogError(APP_CAUSE::FileNotRead, "Failed to get S/N list file name.");
  }
  if (file.GetState() == SideFile::State::Missing) {
    APP_LogInfo("No SN list file detected.");
    return ListResult::NoList;
  }
  if (file.GetState() != SideFile::State::Open) {
    return ListResult::Failed;  // a list that can't be read must not pass for none
  }
  std::array<char, kLineText> acText{};
  const i64 offset = FindLine(file, Value);
  if (offset < 0 || file.Seek(offset) != 0) {
    return ListResult::Failed;
  }
  const i64 numRead = file.Read(acText.data(), acText.size());
  if (numRead < 0) {
    return ListResult::Failed;
  }
  std::size_t column = 0;
  const char* sReason =
      ParseLine({acText.data(), static_cast<std::size_t>(numRead)}, pDest, NumBytes, &column);
  if (sReason != nullptr) {
    ReportLine(file, Value, sReason, column);
    return ListResult::Failed;
  }
  return ListResult::Fetched;
}
