#include "image/datafile.h"
#include "image/file_save.h"
#include "image/hex_digits.h"
#include "image/memarea_impl.h"
#include "image/record_walk.h"
#include "image/text_sink.h"

// Writer of Intel HEX: data records of up to 32 bytes, a linear address record at each step over a
// 64 KiB boundary that a record starts behind, and the end record.

namespace {

constexpr u8 TYPE_DATA = 0x00;
constexpr u8 TYPE_LINEAR = 0x04;

class HexWriter {
 public:
  explicit HexWriter(TextSink& sink) : m_Sink(sink) {}

  void WriteData(u64 Addr, const u8* pData, u32 NumBytes);

 private:
  void WriteRecord(u32 Addr, u8 Type, const u8* pData, u32 NumBytes);

  TextSink& m_Sink;
  u64 m_Base = 0;
};

void HexWriter::WriteData(u64 Addr, const u8* pData, u32 NumBytes) {
  if (Addr > m_Base + 0xFFFF) {
    m_Base = Addr & ~u64{0xFFFF};
    const u8 upper[] = {static_cast<u8>(Addr >> 24), static_cast<u8>(Addr >> 16)};
    WriteRecord(0, TYPE_LINEAR, upper, sizeof(upper));
  }
  WriteRecord(static_cast<u32>(Addr - m_Base), TYPE_DATA, pData, NumBytes);
}

void HexWriter::WriteRecord(u32 Addr, u8 Type, const u8* pData, u32 NumBytes) {
  const u8 fields[] = {static_cast<u8>(NumBytes), static_cast<u8>(Addr >> 8), static_cast<u8>(Addr),
                       Type};
  u8* p = m_Sink.GetCursor();
  *p++ = ':';
  u32 sum = HEX_Encode(p, fields, sizeof(fields));
  p += 2 * sizeof(fields);
  sum += HEX_Encode(p, pData, NumBytes);
  p += 2 * NumBytes;
  const u8 checksum = static_cast<u8>(0 - sum);
  HEX_Encode(p, &checksum, 1);
  p[2] = '\r';
  p[3] = '\n';
  m_Sink.SetCursor(p + 4);
}

}  // namespace

int MEMAREA_SaveHex(MEMAREA* pArea, const char* pFileName, FILE_REPORT* pfReport, void* pContext) {
  FileSave save(pArea, pFileName, FileReport(pfReport, pContext));
  if (!save.Begin()) {
    return -1;
  }
  if (!save.CheckAddresses("Intel HEX")) {
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
  HexWriter writer(sink);
  RECORD_ForEach(pArea->Ranges, [&writer](u64 addr, const u8* pData, u32 numBytes) {
    writer.WriteData(addr, pData, numBytes);
  });
  sink.Write(":00000001FF\r\n");
  sink.Flush();
  return save.Finish();
}
