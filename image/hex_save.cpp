#include <algorithm>
#include <cstring>

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

class HexWriter {
 public:
  explicit HexWriter(FILEWR* pWriter) : m_pWriter(pWriter) {}

  void WriteRange(const MEMAREA_RANGE& range) {
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
  void WriteEnd() {
    static constexpr char END_RECORD[] = ":00000001FF\r\n";
    FILEWR_Write(m_pWriter, END_RECORD, sizeof(END_RECORD) - 1);
  }

 private:
  // Built in place in the writer's buffer.
  void WriteRecord(u32 Addr, u8 Type, const u8* pData, u32 NumBytes) {
    u8* const line = FILEWR_Reserve(m_pWriter, MAX_LINE);
    if (line == nullptr) {
      return;
    }
    u8* p = line;
    *p++ = ':';
    u32 sum = 0;
    const auto put = [&p, &sum](u8 value) {
      std::memcpy(p, hex_digits::PAIRS[value].data(), 2);
      p += 2;
      sum += value;
    };
    put(static_cast<u8>(NumBytes));
    put(static_cast<u8>(Addr >> 8));
    put(static_cast<u8>(Addr));
    put(Type);
    for (u32 i = 0; i < NumBytes; ++i) {
      put(pData[i]);
    }
    put(static_cast<u8>(0 - sum));
    *p++ = '\r';
    *p++ = '\n';
    FILEWR_Commit(m_pWriter, static_cast<u32>(p - line));
  }

  FILEWR* m_pWriter;
  u64 m_Base = 0;
};

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
  auto pos = ranges.Begin();
  while (const MEMAREA_RANGE* range = ranges.Get(pos)) {
    writer.WriteRange(*range);
    pos = ranges.Next(pos);
  }
  writer.WriteEnd();
  return save.Finish();
}
