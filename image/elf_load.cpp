#include "image/elf_load.h"

#include <algorithm>
#include <memory>
#include <new>

#include "image/datafile.h"
#include "image/memarea_impl.h"
#include "sys/util_format.h"
#include "sys/util_string.h"

namespace {

constexpr u64 PIECE_SIZE = 0x100000;
// Files rarely have more ranges.
constexpr u32 NUM_EXPECTED = 5;

constexpr char NO_MEMORY_TEXT[] = "Failed to read ELF file. Not enough memory!";

int Fail(const FileReport& report, const char* sText) {
  report.Error(sText);
  return -1;
}

// Adds a range piece by piece: the area takes over its bytes without a second copy of all of them.
int LoadRange(ELF_FILE* pElf, const ELF_RANGE& record, RangeList& ranges, u8* pBuffer,
              const FileReport& report) {
  const u32 first = static_cast<u32>(record.PAddr);
  char text[128];
  UTIL_snprintf(text, sizeof(text), "Reading data range 0x%X - 0x%X...", first,
                static_cast<u32>(record.PAddr + record.NumBytes));
  report.Info(text);
  if (record.PAddr != first) {
    UTIL_snprintf64(text, sizeof(text),
                    "Address 0x%llX is beyond the 32-bit range, its data is stored at 0x%X.",
                    static_cast<unsigned long long>(record.PAddr), first);
    report.Warning(text);
  }
  for (u64 offset = 0; offset < record.NumBytes; offset += PIECE_SIZE) {
    const u64 numBytes = std::min(PIECE_SIZE, record.NumBytes - offset);
    if (ELF_GetRangePart(pElf, &record, offset, pBuffer, numBytes) != 0) {
      return Fail(report, "Failed to get ELF file application image data!");
    }
    switch (ranges.Add(first + offset, numBytes, pBuffer, -1)) {
      case RANGE_RESULT::Done:
        break;
      case RANGE_RESULT::Refused:
        return Fail(report, "Failed to create memory area for ELF file!");
      case RANGE_RESULT::NoMemory:
        return Fail(report, NO_MEMORY_TEXT);
    }
  }
  return 0;
}

// What the parser tells. Its error is kept: it becomes the reason behind the loader's own words.
struct PARSER_REPORT {
  const FileReport& Report;
  char acError[FILE_TEXT_SIZE] = "";
};

void SendWarning(void* pContext, const char* sText) {
  static_cast<PARSER_REPORT*>(pContext)->Report.Warning(sText);
}

void KeepError(void* pContext, const char* sText) {
  auto* parser = static_cast<PARSER_REPORT*>(pContext);
  UTIL_strcpy(parser->acError, sText, sizeof(parser->acError));
}

}  // namespace

int ELF_LoadRanges(ELF_FILE* pElf, RangeList& Ranges, const FileReport& Report) {
  ELF_RANGE expected[NUM_EXPECTED];
  std::unique_ptr<ELF_RANGE[]> all;
  ELF_RANGE* records = expected;
  const u32 numRanges = static_cast<u32>(std::max(ELF_GetRanges(pElf, records, NUM_EXPECTED), 0));
  if (numRanges > NUM_EXPECTED) {
    all.reset(new (std::nothrow) ELF_RANGE[numRanges]);
    if (!all) {
      return Fail(Report, NO_MEMORY_TEXT);
    }
    records = all.get();
    ELF_GetRanges(pElf, records, numRanges);
  }
  u64 bufferSize = 0;
  for (u32 i = 0; i < numRanges; ++i) {
    bufferSize = std::max(bufferSize, std::min(PIECE_SIZE, records[i].NumBytes));
  }
  const std::unique_ptr<u8[]> buffer(new (std::nothrow) u8[bufferSize]);
  if (!buffer) {
    return Fail(Report, NO_MEMORY_TEXT);
  }
  int result = 0;
  for (u32 i = 0; i < numRanges && result == 0; ++i) {
    result = LoadRange(pElf, records[i], Ranges, buffer.get(), Report);
  }
  return result;
}

int MEMAREA_LoadElf(MEMAREA* pArea, const char* pFileName, FILE_REPORT* pfReport, void* pContext) {
  FileReport report(pfReport, pContext);
  const MEMAREA_LOCK_GUARD lock(pArea);
  if (!lock.Locked()) {
    return Fail(report, FILE_IN_USE_TEXT);
  }
  pArea->NumChanges = 0;
  report.Info("Parsing ELF file...");
  PARSER_REPORT parser{report};
  const ELF_REPORT_FUNCS funcs = {KeepError, SendWarning, nullptr, &parser};
  const ELF_PTR elf(ELF_Open(pFileName, &funcs));
  if (!elf) {
    char text[2 * FILE_TEXT_SIZE];
    UTIL_snprintf(text, sizeof(text), "Failed to read ELF file [%s].%s%s", pFileName,
                  parser.acError[0] != '\0' ? "\n" : "", parser.acError);
    return Fail(report, text);
  }
  const int result = ELF_LoadRanges(elf.get(), pArea->Ranges, report);
  pArea->Ranges.Shrink();
  return result;
}
