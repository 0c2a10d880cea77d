#include "image/datafile.h"
#include "image/hex_digits.h"
#include "image/record_gather.h"
#include "image/text_load.h"
#include "image/text_source.h"
#include "sys/util_format.h"

// Reader of Intel HEX.
//
//   :CCAAAATTDD...SS   count, address, type, data, checksum; all bytes together sum up to 0
//
// Types: 00 data at base plus address, 02 base from a paragraph number, 04 and FF base from the
// upper half of an address. All others are checked and skipped, the end record too: reading ends
// with the file.

namespace {

constexpr int RESULT_NO_MEMORY = -3;
constexpr int RESULT_NOT_HEX = -4;
constexpr int RESULT_BAD_RECORD = -5;

constexpr u32 TYPE_DATA = 0x00;
constexpr u32 TYPE_END = 0x01;
constexpr u32 TYPE_SEGMENT = 0x02;
constexpr u32 TYPE_LINEAR = 0x04;
constexpr u32 TYPE_LINEAR_OTHER = 0xFF;

// Fields of a record, as indices of its bytes.
constexpr u32 INDEX_ADDR = 1;
constexpr u32 INDEX_TYPE = 3;
constexpr u32 INDEX_DATA = 4;
// All but the data.
constexpr u32 NUM_FIELD_BYTES = 5;
constexpr u32 MAX_RECORD_BYTES = NUM_FIELD_BYTES + 255;
// More characters than a record and its line end have: 1 + 2 * 260 + 2.
constexpr u32 MAX_RECORD_CHARS = 1000;

constexpr u8 CHAR_CTRL_Z = 0x1A;

class HexReader {
 public:
  HexReader(FileInput& input, RangeList& ranges, TEXT_ERROR& error)
      : m_Source(input), m_Gather(ranges), m_Error(error) {}

  int Read();

 private:
  int Fail(int Result, const char* sText) { return m_Error.Set(Result, sText); }
  int ReadRecords();
  int ReadRecord();
  int DecodeRecord(const u8** ppText);
  int ApplyRecord();
  int ReadLineEnd(const u8* p);

  TextSource m_Source;
  RecordGather m_Gather;
  TEXT_ERROR& m_Error;
  u32 m_Base = 0;
  bool m_HasEnd = false;   // an end of file record was seen
  bool m_HasMore = false;  // and data behind it
  u8 m_abRecord[MAX_RECORD_BYTES];
};

int HexReader::Read() {
  if (!m_Source.Allocate() || !m_Gather.Allocate()) {
    return Fail(RESULT_NO_MEMORY, "malloc Problem");
  }
  m_Source.Require(1);
  if (*m_Source.GetCursor() != ':') {
    return Fail(RESULT_NOT_HEX, "Not a hex file");
  }
  int result = ReadRecords();
  // What came ahead of an error is stored as well.
  if (m_Gather.Flush() != RANGE_RESULT::Done && result == 0) {
    result = Fail(RESULT_NO_MEMORY, "Could not allocate memory");
  }
  // Cut between two records a file reads well, and a part of the image would pass for all of it.
  if (m_HasMore) {
    m_Error.Warn("The hex file has data behind its end record, which was read too.");
  }
  if (!m_HasEnd) {
    m_Error.Warn("The hex file has no end record. It may be incomplete.");
  }
  return result;
}

int HexReader::ReadRecords() {
  int result = 0;
  while (result == 0) {
    m_Error.Line += m_Source.SkipBlanks();
    m_Source.Require(MAX_RECORD_CHARS);
    const u8 next = *m_Source.GetCursor();
    // Both stand for the end of the text, wherever the file itself ends.
    if (next == 0 || next == CHAR_CTRL_Z) {
      break;
    }
    result = ReadRecord();
  }
  return result;
}

int HexReader::ReadRecord() {
  const u8* p = m_Source.GetCursor();
  if (*p != ':') {
    UTIL_snprintf(m_Error.acText, sizeof(m_Error.acText),
                  "Unexpected character (Expected: %c, Found: %c)", ':', *p);
    return RESULT_BAD_RECORD;
  }
  ++p;
  int result = DecodeRecord(&p);
  if (result == 0) {
    result = ApplyRecord();
  }
  return result == 0 ? ReadLineEnd(p) : result;
}

// Turns the digits into bytes and checks them. The digits are judged together: the NUL behind the
// text is none, so a record that runs over the end of the file fails here.
int HexReader::DecodeRecord(const u8** ppText) {
  const u8* p = *ppText;
  u32 sum = 0;
  // The text may end at any character of the record.
  bool isGood = m_Source.GetNumAvailable(p) >= 2 && HEX_Decode(m_abRecord, p, 1, &sum);
  const u32 numBytes = isGood ? m_abRecord[0] + NUM_FIELD_BYTES : 0;
  isGood = isGood && m_Source.GetNumAvailable(p) >= 2 * numBytes &&
           HEX_Decode(m_abRecord + 1, p + 2, INDEX_DATA - 1, &sum) &&
           HEX_Decode(m_abRecord + INDEX_DATA, p + 2 * INDEX_DATA, numBytes - INDEX_DATA, &sum);
  if (!isGood) {
    return Fail(RESULT_BAD_RECORD, "Expected Hex character : 0..9, A..F");
  }
  if ((sum & 0xFF) != 0) {
    const u32 found = m_abRecord[numBytes - 1];
    UTIL_snprintf(m_Error.acText, sizeof(m_Error.acText),
                  "Checksum error !\nExpected: 0x%02X, found: 0x%02X", (found - sum) & 0xFF, found);
    return RESULT_BAD_RECORD;
  }
  *ppText = p + 2 * numBytes;
  return 0;
}

int HexReader::ApplyRecord() {
  const u32 count = m_abRecord[0];
  const u8* data = m_abRecord + INDEX_DATA;
  const u32 type = m_abRecord[INDEX_TYPE];
  if (type == TYPE_DATA) {
    m_HasMore = m_HasMore || (m_HasEnd && count != 0);
    const u32 addr =
        m_Base + (static_cast<u32>(m_abRecord[INDEX_ADDR]) << 8) + m_abRecord[INDEX_ADDR + 1];
    switch (m_Gather.Add(addr, data, count)) {
      case RANGE_RESULT::Done:
        return 0;
      case RANGE_RESULT::Refused:
        return Fail(RESULT_BAD_RECORD, "Areas overlap");
      case RANGE_RESULT::NoMemory:
        return Fail(RESULT_NO_MEMORY, "Could not allocate memory");
    }
  }
  m_HasEnd = m_HasEnd || type == TYPE_END;
  if (type != TYPE_SEGMENT && type != TYPE_LINEAR && type != TYPE_LINEAR_OTHER) {
    return 0;
  }
  if (count < 2) {
    return Fail(RESULT_BAD_RECORD, "Extended address record needs 2 data bytes");
  }
  const u32 high = data[0];
  const u32 low = data[1];
  m_Base = type == TYPE_SEGMENT ? (high << 12) + (low << 4) : (high << 24) + (low << 16);
  return 0;
}

int HexReader::ReadLineEnd(const u8* p) {
  if (*p == '\r' || *p == '\n') {
    ++m_Error.Line;
    ++p;
  } else if (*p != 0 && *p != CHAR_CTRL_Z) {
    return Fail(RESULT_BAD_RECORD, "Expected CR or LF");
  }
  m_Source.SetCursor(p);
  return 0;
}

}  // namespace

int HEX_Read(FileInput& Input, RangeList& Ranges, TEXT_ERROR* pError) {
  return HexReader(Input, Ranges, *pError).Read();
}

int MEMAREA_LoadHex(MEMAREA* pArea, const char* pFileName, FILE_REPORT* pfReport, void* pContext) {
  return LOAD_Text(pArea, pFileName, FileReport(pfReport, pContext), HEX_Read);
}
