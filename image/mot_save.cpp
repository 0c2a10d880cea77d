#include "image/datafile.h"
#include "image/file_save.h"
#include "image/hex_digits.h"
#include "image/memarea_impl.h"
#include "image/record_walk.h"
#include "image/text_sink.h"

// Writer of Motorola S records. Each data record takes the shortest address form that holds its
// last address; the end record is S9 whatever came before, and there is no header record.

namespace {

void WriteRecord(TextSink& sink, u32 Addr, const u8* pData, u32 NumBytes) {
  const u64 last = u64{Addr} + (NumBytes - 1);
  const u32 numAddrBytes = last > 0xFFFFFF ? 4 : last > 0xFFFF ? 3 : 2;
  u8 fields[5] = {static_cast<u8>(numAddrBytes + NumBytes + 1)};
  for (u32 i = 0; i < numAddrBytes; ++i) {
    fields[1 + i] = static_cast<u8>(Addr >> 8 * (numAddrBytes - 1 - i));
  }
  u8* p = sink.GetCursor();
  *p++ = 'S';
  *p++ = static_cast<u8>('0' + numAddrBytes - 1);
  u32 sum = HEX_Encode(p, fields, 1 + numAddrBytes);
  p += 2 * (1 + numAddrBytes);
  sum += HEX_Encode(p, pData, NumBytes);
  p += 2 * NumBytes;
  const u8 checksum = static_cast<u8>(~sum);
  HEX_Encode(p, &checksum, 1);
  p[2] = '\r';
  p[3] = '\n';
  sink.SetCursor(p + 4);
}

}  // namespace

int MEMAREA_SaveMot(MEMAREA* pArea, const char* pFileName, FILE_REPORT* pfReport, void* pContext) {
  FileSave save(pArea, pFileName, FileReport(pfReport, pContext));
  if (!save.Begin() || !save.CheckAddresses("Motorola S")) {
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
  RECORD_ForEach(pArea->Ranges, [&sink](u64 addr, const u8* pData, u32 numBytes) {
    WriteRecord(sink, static_cast<u32>(addr), pData, numBytes);
  });
  sink.Write("S9030000FC\r\n");
  sink.Flush();
  return save.Finish();
}
