#include "fuzz/entries.h"

#include <cstring>
#include <string>

#include "fuzz/promise.h"
#include "image/datafile.h"
#include "image/elf_load.h"
#include "image/text_load.h"

namespace {

void CheckRanges(const RangeList& ranges, u64 MaxBytes) {
  u64 numBytes = 0;
  u64 end = 0;
  auto pos = ranges.Begin();
  for (bool isFirst = true; const MEMAREA_RANGE* range = ranges.Get(pos); isFirst = false) {
    Check(isFirst || (end != 0 && range->Addr > end), "ranges ascend and never touch");
    Check(range->NumBytes != 0 && range->GetData() != nullptr, "a range has bytes");
    numBytes += range->NumBytes;
    end = range->Addr + range->NumBytes;
    pos = ranges.Next(pos);
  }
  Check(numBytes == ranges.GetNumBytes(), "the number of bytes is right");
  Check(numBytes <= MaxBytes, "no more bytes than the file has");
}

int ReadText(READ_TEXT_FUNC* pfRead, const u8* pData, std::size_t NumBytes) {
  FileInput input(pData, NumBytes);
  RangeList ranges;
  TEXT_ERROR error;
  const int result = pfRead(input, ranges, &error);
  const bool hasText = error.acText[0] != '\0';
  // A NUL ends a TI-TXT file without words.
  const bool mayBeSilent = std::memchr(pData, 0, NumBytes) != nullptr;
  Check(result == 0 ? !hasText : result < 0 && (hasText || mayBeSilent), "a failure has a cause");
  Check(error.Line >= 0 && static_cast<std::size_t>(error.Line) <= NumBytes + 1, "the line exists");
  CheckRanges(ranges, NumBytes / 2);
  return 0;
}

// Messages that came; errors alone decide.
struct COUNTS {
  int NumErrors = 0;
  bool IsBinary = false;

  static void AddError(void* pContext, const char*) { ++static_cast<COUNTS*>(pContext)->NumErrors; }
  static void Ignore(void*, const char* sText) { Check(std::strlen(sText) < 1024, "text is cut"); }
  static void Add(void* pContext, int Level, const char* sText) {
    COUNTS* counts = static_cast<COUNTS*>(pContext);
    counts->NumErrors += Level == FILE_REPORT_ERROR ? 1 : 0;
    counts->IsBinary = counts->IsBinary || std::strstr(sText, "assuming .bin") != nullptr;
  }
};

}  // namespace

int FUZZ_Hex(const u8* pData, std::size_t NumBytes) {
  return ReadText(HEX_Read, pData, NumBytes);
}

int FUZZ_Mot(const u8* pData, std::size_t NumBytes) {
  return ReadText(MOT_Read, pData, NumBytes);
}

int FUZZ_TiTxt(const u8* pData, std::size_t NumBytes) {
  return ReadText(TITXT_Read, pData, NumBytes);
}

int FUZZ_Elf(const u8* pData, std::size_t NumBytes) {
  COUNTS counts;
  const ELF_REPORT_FUNCS funcs = {COUNTS::AddError, COUNTS::Ignore, COUNTS::Ignore, &counts};
  const ELF_PTR elf(ELF_OpenMemory(pData, NumBytes, &funcs));
  Check((elf == nullptr) == (counts.NumErrors != 0), "a failure has a cause");
  if (elf == nullptr) {
    return 0;
  }
  RangeList ranges;
  COUNTS loadCounts;
  const int result = ELF_LoadRanges(elf.get(), ranges, FileReport(COUNTS::Add, &loadCounts));
  Check((result != 0) == (loadCounts.NumErrors != 0), "a failure of the load has a cause");
  CheckRanges(ranges, NumBytes);
  return 0;
}

int FUZZ_Detect(const u8* pData, std::size_t NumBytes) {
  static const ScratchFolder scratch;
  const std::string name = scratch.Write("file", AsText(pData, NumBytes));
  const MEMAREA_PTR area(MEMAREA_Create());
  COUNTS counts;
  const int result =
      DATAFILE_Load(area.get(), COUNTS::Add, &counts, name.c_str(), 0x1000, nullptr, nullptr);
  Check((result != 0) == (counts.NumErrors != 0), "a failure has a cause");
  const u64 loaded = MEMAREA_GetNumBytes(area.get());
  Check(counts.IsBinary ? loaded == NumBytes : loaded <= NumBytes,
        "all bytes or those of a format");
  return 0;
}
