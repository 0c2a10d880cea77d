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
// S1, S2 and S3 hold data behind addresses of 2, 3 and 4 bytes; S5 and S6 tell how many of them
// came since the start or the last end record (S7, S8, S9). All others are checked and skipped, the
// end records too: reading ends with the file. Records may share a line; a line between records
// that doesn't begin like one is skipped and told.

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
  void SkipLine();
  void WarnAtEnd();
  int ReadRecord();
  int ApplyRecord(u32 Type);
  int CheckCount(u32 NumCountBytes);
  int DecodeRecord(const u8* pText);
  int StoreData(u32 NumAddrBytes);

  TextSource m_Source;
  RecordGather m_Gather;
  TEXT_ERROR& m_Error;
  u32 m_NumRecords = 0;  // with data, since the last end record
  bool m_HasEnd = false;
  int m_FirstSkipped = 0;  // line, or 0
  u32 m_NumSkipped = 0;
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
  WarnAtEnd();
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
    if (next == 'S') {
      result = ReadRecord();
    } else if (next == 's') {
      result = Fail("Unexpected character");  // a record all the same, whose data would be missed
    } else {
      SkipLine();
    }
  }
  return result;
}

// Up to the line's end, which stays in front of the cursor.
void MotReader::SkipLine() {
  m_FirstSkipped = m_NumSkipped++ == 0 ? m_Error.Line : m_FirstSkipped;
  do {
    m_Source.Require(1);
    const u8* p = m_Source.GetCursor();
    for (; *p != '\r' && *p != '\n' && *p != 0; ++p) {
    }
    const bool hasMoved = p != m_Source.GetCursor();
    m_Source.SetCursor(p);
    if (!hasMoved) {
      return;
    }
  } while (!m_Source.IsAtEnd());
}

void MotReader::WarnAtEnd() {
  if (m_NumSkipped != 0) {
    char text[128];
    UTIL_snprintf(text, sizeof(text), "Line %d is no record. %u such line%s skipped.",
                  m_FirstSkipped, m_NumSkipped, m_NumSkipped == 1 ? " was" : "s were");
    m_Error.Warn(text);
  }
  // Cut between two records a file reads well, and a part of the image would pass for all of it.
  if (!m_HasEnd) {
    m_Error.Warn("The Motorola S file has no end record. It may be incomplete.");
  }
}

int MotReader::ReadRecord() {
  m_Source.SetCursor(m_Source.GetCursor() + 1);
  m_Error.Line += m_Source.SkipBlanks();
  m_Source.Require(MAX_RECORD_CHARS);
  const u8* p = m_Source.GetCursor();
  const u32 type = static_cast<u32>(*p) - '0';
  if (type > 9) {
    return Fail("Unexpected character");
  }
  const int result = DecodeRecord(p + 1);
  return result == 0 ? ApplyRecord(type) : result;
}

int MotReader::ApplyRecord(u32 Type) {
  if (NUM_ADDR_BYTES[Type] != 0) {
    ++m_NumRecords;
    m_HasEnd = false;
    return StoreData(NUM_ADDR_BYTES[Type]);
  }
  if (Type == 5 || Type == 6) {
    return CheckCount(Type == 5 ? 2 : 3);
  }
  if (Type >= 7) {
    m_HasEnd = true;
    m_NumRecords = 0;
  }
  return 0;
}

// A record that was lost is one that nobody would miss else.
int MotReader::CheckCount(u32 NumCountBytes) {
  if (m_abRecord[0] < NumCountBytes + 1) {
    return Fail("The record is too short");
  }
  u32 count = 0;
  for (u32 i = 1; i <= NumCountBytes; ++i) {
    count = count << 8 | m_abRecord[i];
  }
  if (count == m_NumRecords) {
    return 0;
  }
  UTIL_snprintf(m_Error.acText, sizeof(m_Error.acText),
                "Wrong number of records (Expected: %u, Found: %u)", count, m_NumRecords);
  return RESULT_BAD_RECORD;
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
