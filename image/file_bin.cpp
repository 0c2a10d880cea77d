#include <memory>
#include <new>

#include "image/datafile.h"
#include "image/file_input.h"
#include "image/file_save.h"
#include "image/memarea_impl.h"

// Binary files: the bytes of an image and nothing else.

namespace {

constexpr u64 READ_SIZE = 0x100000;
constexpr u64 WRITE_SIZE = 0x10000;
constexpr u64 MAX_GAP = 0xFFFFFF;

const char* DescribeFailure(RANGE_RESULT Result) {
  return Result == RANGE_RESULT::NoMemory ? "Could not read file. Out of memory." : "Areas overlap";
}

int ReadPieces(MEMAREA* pArea, FileInput& input, const char* sFileName, u64 StartAddr,
               const FileReport& report) {
  const std::unique_ptr<u8[]> buffer(new (std::nothrow) u8[READ_SIZE]);
  if (!buffer) {
    report.Error(DescribeFailure(RANGE_RESULT::NoMemory));
    return -1;
  }
  if (input.GetSize() > 0 && static_cast<u64>(input.GetSize()) - 1 > ~u64{0} - StartAddr) {
    report.Error("The file does not fit behind the start address.");
    return -1;
  }
  u64 addr = StartAddr;
  while (true) {
    const i64 numRead = input.Read(buffer.get(), READ_SIZE);
    if (numRead < 0) {
      report.ReadError(sFileName);
      return -1;
    }
    if (input.HasShrunk()) {
      report.ShrunkError(sFileName);
      return -1;
    }
    if (numRead == 0) {
      return 0;
    }
    const u64 numBytes = static_cast<u64>(numRead);
    const RANGE_RESULT result = pArea->Ranges.Add(addr, numBytes, buffer.get(), -1);
    if (result != RANGE_RESULT::Done) {
      report.Error(DescribeFailure(result));
      return -1;
    }
    addr += numBytes;
  }
}

// Address of the last byte that belongs into the file; false when there is none.
bool FindLast(const RangeList& ranges, u64 FirstAddr, u64 LastAddr, u64* pLast) {
  if (FirstAddr > LastAddr || !ranges.Overlaps(FirstAddr, LastAddr)) {
    return false;
  }
  u64 last = ranges.Last().GetLast();
  if (last > LastAddr) {
    // The range that holds LastAddr, or else the one in front of it.
    auto pos = ranges.Find(LastAddr);
    last = ranges.Get(pos)->Addr <= LastAddr ? LastAddr : ranges.Get(ranges.Prev(pos))->GetLast();
  }
  *pLast = last;
  return true;
}

void WriteBlocks(MEMAREA* pArea, FILEWR* pWriter, u8* pBuffer, u64 FirstAddr, u64 LastAddr) {
  u64 addr = FirstAddr;
  do {
    u64 blockAddr = 0;
    const u64 numBytes = MEMAREA_GetData(pArea, addr, LastAddr, MAX_GAP, 0xFF, pBuffer, nullptr,
                                         &blockAddr, WRITE_SIZE, 0, 0);
    if (numBytes == 0) {
      return;
    }
    FILEWR_Write(pWriter, nullptr, blockAddr - addr);
    FILEWR_Write(pWriter, pBuffer, numBytes);
    addr = blockAddr + numBytes;
  } while (addr != 0 && addr <= LastAddr);
}

}  // namespace

int MEMAREA_LoadBin(MEMAREA* pArea, const char* pFileName, u64 StartAddr, FILE_REPORT* pfReport,
                    void* pContext) {
  const FileReport report(pfReport, pContext);
  const MEMAREA_LOCK_GUARD lock(pArea);
  if (!lock.Locked()) {
    report.Error(FILE_IN_USE_TEXT);
    return -1;
  }
  const FileHandle file(SYS_FILE_Open(pFileName, SYS_FILE_READ | SYS_FILE_SHARE_READ));
  if (!file.IsOpen()) {
    report.OpenError(pFileName);
    return -1;
  }
  FileInput input(file.Get());
  const int result = ReadPieces(pArea, input, pFileName, StartAddr, report);
  pArea->Ranges.Shrink();
  pArea->NumChanges = 0;
  return result;
}

int MEMAREA_SaveBin(MEMAREA* pArea, const char* pFileName, u64 FirstAddr, u64 LastAddr,
                    FILE_REPORT* pfReport, void* pContext) {
  FileSave save(pArea, pFileName, FileReport(pfReport, pContext));
  if (!save.Begin()) {
    return -1;
  }
  const std::unique_ptr<u8[]> buffer(new (std::nothrow) u8[WRITE_SIZE]);
  if (!buffer) {
    return save.Fail("Could not write file. Out of memory.");
  }
  u64 last = 0;
  const bool hasData = FindLast(pArea->Ranges, FirstAddr, LastAddr, &last);
  if (hasData && !save.CheckFileSize(FirstAddr, last, 1, "binary")) {
    return -1;
  }
  FILEWR* writer = save.Open();
  if (writer == nullptr) {
    return -1;
  }
  if (hasData) {
    WriteBlocks(pArea, writer, buffer.get(), FirstAddr, last);
  }
  return save.Finish();
}
