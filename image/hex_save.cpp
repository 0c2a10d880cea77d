#include <algorithm>
#include <array>
#include <cstring>
#include <memory>
#include <new>

#include "image/datafile.h"
#include "image/file_save.h"
#include "image/hex_digits.h"
#include "image/memarea_impl.h"
#include "sys/util_format.h"

// Writer of Intel HEX: data records of up to 32 bytes, a linear address record at each step over a
// 64 KiB boundary that a record starts behind, and the end record.

namespace {

constexpr u32 MAX_DATA = 32;
constexpr u32 MAX_LINE = 1 + 2 * (MAX_DATA + 5) + 2;
constexpr u64 BUFFER_SIZE = 0x100000;  // a multiple of the file writer's block
constexpr u64 LAST_HEX_ADDR = 0xFFFFFFFF;
constexpr u8 TYPE_DATA = 0x00;
constexpr u8 TYPE_LINEAR = 0x04;

constexpr std::array<u8, MAX_DATA> MakeBlankLine() {
  std::array<u8, MAX_DATA> blank{};
  blank.fill(0xFF);
  return blank;
}

// What an address-only range reads as.
constexpr std::array<u8, MAX_DATA> BLANK_LINE = MakeBlankLine();

// Builds the records in a buffer of its own and hands it on in pieces that the file writer passes
// to the system as they are: large writes are what the speed of a save comes down to.
class HexWriter {
 public:
  explicit HexWriter(FILEWR* pWriter) : m_pWriter(pWriter) {}

  bool Allocate() {
    m_pBuffer.reset(new (std::nothrow) u8[BUFFER_SIZE + MAX_LINE]);
    return m_pBuffer != nullptr;
  }
  void WriteRange(const MEMAREA_RANGE& range);
  void WriteEnd() {
    static constexpr char END_RECORD[] = ":00000001FF\r\n";
    FILEWR_Write(m_pWriter, m_pBuffer.get(), m_NumChars);
    FILEWR_Write(m_pWriter, END_RECORD, sizeof(END_RECORD) - 1);
  }

 private:
  void WriteRecord(u32 Addr, u8 Type, const u8* pData, u32 NumBytes);

  FILEWR* m_pWriter;
  std::unique_ptr<u8[]> m_pBuffer;
  u64 m_NumChars = 0;
  u64 m_Base = 0;
};

void HexWriter::WriteRange(const MEMAREA_RANGE& range) {
  for (u64 offset = 0; offset < range.NumBytes; offset += MAX_DATA) {
    const u32 numBytes = static_cast<u32>(std::min<u64>(MAX_DATA, range.NumBytes - offset));
    const u64 addr = range.Addr + offset;
    if (addr > m_Base + 0xFFFF) {
      m_Base = addr & ~u64{0xFFFF};
      const u8 upper[] = {static_cast<u8>(addr >> 24), static_cast<u8>(addr >> 16)};
      WriteRecord(0, TYPE_LINEAR, upper, sizeof(upper));
    }
    const u8* data = range.GetData() != nullptr ? range.GetData() + offset : BLANK_LINE.data();
    WriteRecord(static_cast<u32>(addr - m_Base), TYPE_DATA, data, numBytes);
  }
}

void HexWriter::WriteRecord(u32 Addr, u8 Type, const u8* pData, u32 NumBytes) {
  const u8 fields[] = {static_cast<u8>(NumBytes), static_cast<u8>(Addr >> 8), static_cast<u8>(Addr),
                       Type};
  u8* p = m_pBuffer.get() + m_NumChars;
  *p++ = ':';
  u32 sum = HEX_Encode(p, fields, sizeof(fields));
  p += 2 * sizeof(fields);
  sum += HEX_Encode(p, pData, NumBytes);
  p += 2 * NumBytes;
  const u8 checksum = static_cast<u8>(0 - sum);
  HEX_Encode(p, &checksum, 1);
  p[2] = '\r';
  p[3] = '\n';
  m_NumChars = static_cast<u64>(p + 4 - m_pBuffer.get());
  if (m_NumChars >= BUFFER_SIZE) {
    FILEWR_Write(m_pWriter, m_pBuffer.get(), BUFFER_SIZE);
    m_NumChars -= BUFFER_SIZE;
    std::memcpy(m_pBuffer.get(), m_pBuffer.get() + BUFFER_SIZE, m_NumChars);
  }
}

}  // namespace

int MEMAREA_SaveHex(MEMAREA* pArea, const char* pFileName, FILE_REPORT* pfReport, void* pContext) {
  FileSave save(pArea, pFileName, FileReport(pfReport, pContext));
  if (!save.Begin()) {
    return -1;
  }
  const RangeList& ranges = pArea->Ranges;
  if (const MEMAREA_RANGE* range = ranges.Get(ranges.Find(LAST_HEX_ADDR + 1))) {
    char text[128];
    UTIL_snprintf64(text, sizeof(text),
                    "Address 0x%llX is beyond the 32-bit range of the Intel HEX format.",
                    static_cast<unsigned long long>(std::max(range->Addr, LAST_HEX_ADDR + 1)));
    return save.Fail(text);
  }
  FILEWR* file = save.Open();
  if (file == nullptr) {
    return -1;
  }
  HexWriter writer(file);
  if (!writer.Allocate()) {
    return save.Fail("Could not write file. Out of memory.");
  }
  auto pos = ranges.Begin();
  while (const MEMAREA_RANGE* range = ranges.Get(pos)) {
    writer.WriteRange(*range);
    pos = ranges.Next(pos);
  }
  writer.WriteEnd();
  return save.Finish();
}
