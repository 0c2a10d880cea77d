#include "image/datafile.h"
#include "image/hex_digits.h"
#include "image/record_gather.h"
#include "image/text_load.h"
#include "image/text_source.h"
#include "sys/util_format.h"

// Reader of Motorola S records.
//
//   StCCAA..DD..SS   type digit, count of the bytes behind it, address (high first), data,
//                    checksum; all bytes together sum up to FF
//
// S1, S2 and S3 hold data behind addresses of 2, 3 and 4 bytes. All others are checked and skipped,
// the end records too: reading ends with the file. Records may share a line.

namespace {

constexpr int RESULT_NO_MEMORY = -3;
constexpr int RESULT_NOT_MOT = -4;
constexpr int RESULT_BAD_RECORD = -5;

constexpr u32 MAX_RECORD_BYTES = 1 + 255;
// At least the characters of a record behind its type: 2 * 256.
constexpr u32 MAX_RECORD_CHARS = 1000;

constexpr u8 CHAR_CTRL_Z = 0x1A;

// Address bytes of a type that holds data, else 0.
constexpr u8 NUM_ADDR_BYTES[10] = {0, 2, 3, 4};

class MotReader {
 public:
  MotReader(FileInput& input, RangeList& ranges, TEXT_ERROR& error)
      : m_Source(input), m_Gather(ranges), m_Error(error) {}

  int Read();

 private:
  int Fail(const char* sText) { return m_Error.Set(RESULT_BAD_RECORD, sText); }
  int ReadRecords();
  int ReadRecord();
  int DecodeRecord(const u8* pText);
  int StoreData(u32 NumAddrBytes);

  TextSource m_Source;
  RecordGather m_Gather;
  TEXT_ERROR& m_Error;
  u8 m_abRecord[MAX_RECORD_BYTES];
};

int MotReader::Read() {
  if (!m_Source.Allocate() || !m_Gather.Allocate()) {
    return m_Error.Set(RESULT_NO_MEMORY, "Malloc problem");
  }
  m_Source.Require(1);
  if (*m_Source.GetCursor() != 'S') {
    return m_Error.Set(RESULT_NOT_MOT, "Not a mot file");
  }
  int result = ReadRecords();
  // What came ahead of an error is stored as well.
  if (m_Gather.Flush() != RANGE_RESULT::Done && result == 0) {
    result = m_Error.Set(RESULT_NO_MEMORY, "Could not allocate memory");
  }
  return result;
}

int MotReader::ReadRecords() {
  int result = 0;
  while (result == 0) {
    m_Error.Line += m_Source.SkipBlanks();
    const u8 next = *m_Source.GetCursor();
    // Both stand for the end of the text, wherever the file itself ends.
    if (next == 0 || next == CHAR_CTRL_Z) {
      break;
    }
    result = ReadRecord();
  }
  return result;
}

int MotReader::ReadRecord() {
  if (*m_Source.GetCursor() != 'S') {
    return Fail("Unexpected character");
  }
  m_Source.SetCursor(m_Source.GetCursor() + 1);
  m_Error.Line += m_Source.SkipBlanks();
  m_Source.Require(MAX_RECORD_CHARS);
  const u8* p = m_Source.GetCursor();
  const u32 type = static_cast<u32>(*p) - '0';
  if (type > 9) {
    return Fail("Unexpected character");
  }
  const int result = DecodeRecord(p + 1);
  const u32 numAddrBytes = NUM_ADDR_BYTES[type];
  return result == 0 && numAddrBytes != 0 ? StoreData(numAddrBytes) : result;
}

// Turns the digits into bytes, checks them, and moves the cursor behind them. The digits are judged
// together: the NUL behind the text is none, so a record that runs over the end of the file fails.
int MotReader::DecodeRecord(const u8* pText) {
  u32 sum = 0;
  // The text may end at any character of the record.
  bool isGood = m_Source.GetNumAvailable(pText) >= 2 && HEX_Decode(m_abRecord, pText, 1, &sum);
  const u32 count = isGood ? m_abRecord[0] : 0;
  isGood = isGood && m_Source.GetNumAvailable(pText) >= 2 * (1 + count) &&
           HEX_Decode(m_abRecord + 1, pText + 2, count, &sum);
  if (!isGood) {
    return Fail("Expected Hex character : 0..9, A..F");
  }
  if (count == 0) {
    return Fail("The record is too short");
  }
  if ((sum & 0xFF) != 0xFF) {
    const u32 found = m_abRecord[count];
    UTIL_snprintf(m_Error.acText, sizeof(m_Error.acText),
                  "Checksum error! Checksum in file: 0x%02X, checksum calculated 0x%02X", found,
                  ~(sum - found) & 0xFF);
    return RESULT_BAD_RECORD;
  }
  m_Source.SetCursor(pText + 2 * (1 + count));
  return 0;
}

int MotReader::StoreData(u32 NumAddrBytes) {
  const u32 count = m_abRecord[0];
  if (count < NumAddrBytes + 1) {
    return Fail("The record is too short");
  }
  u64 addr = 0;
  for (u32 i = 1; i <= NumAddrBytes; ++i) {
    addr = addr << 8 | m_abRecord[i];
  }
  switch (m_Gather.Add(addr, m_abRecord + 1 + NumAddrBytes, count - 1 - NumAddrBytes)) {
    case RANGE_RESULT::Done:
      return 0;
    case RANGE_RESULT::Refused:
      return Fail("Areas overlap");
    case RANGE_RESULT::NoMemory:
      break;
  }
  return m_Error.Set(RESULT_NO_MEMORY, "Could not allocate memory");
}

}  // namespace

int MOT_Read(FileInput& Input, RangeList& Ranges, TEXT_ERROR* pError) {
  return MotReader(Input, Ranges, *pError).Read();
}

int MEMAREA_LoadMot(MEMAREA* pArea, const char* pFileName, FILE_REPORT* pfReport, void* pContext) {
  return LOAD_Text(pArea, pFileName, FileReport(pfReport, pContext), MOT_Read);
}
