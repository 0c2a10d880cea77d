#include "image/datafile.h"
#include "image/hex_digits.h"
#include "image/record_gather.h"
#include "image/text_load.h"
#include "image/text_source.h"
#include "sys/util_format.h"

// Reader of TI-TXT.
//
//   @F000            address of the section that follows, in hexadecimal
//   31 40 00 03      its bytes, with blanks and line ends anywhere between them, or none
//   q                the end
//
// The bytes of a section are stored in pieces of 512, so a collision is told at the line where a
// piece is full or the section ends.

namespace {

constexpr int RESULT_NO_MEMORY = -2;
constexpr int RESULT_UNEXPECTED = -4;
constexpr int RESULT_BAD_TEXT = -5;

constexpr u32 PIECE_SIZE = 512;

bool IsHex(u8 Char) {
  return HEX_VALUES[Char] <= 15;
}

bool IsEndMark(u8 Char) {
  return Char == 'q' || Char == 'Q';
}

class TiTxtReader {
 public:
  TiTxtReader(FileInput& input, RangeList& ranges, TEXT_ERROR& error)
      : m_Input(input), m_Source(input), m_Gather(ranges), m_Error(error) {}

  int Read();

 private:
  int Fail(int Result, const char* sText) { return m_Error.Set(Result, sText); }
  int FailWhole(int Result, const char* sText) {
    m_Error.Line = 0;
    return Fail(Result, sText);
  }
  int FailAtEnd();
  void WarnOfMore();
  int ReadSections();
  int ReadAddr();
  int ReadData();
  int DecodeRun();
  int StorePiece();

  FileInput& m_Input;
  TextSource m_Source;
  RecordGather m_Gather;
  TEXT_ERROR& m_Error;
  u64 m_Addr = 0;
  // The section went on to the last address of all.
  bool m_HasWrapped = false;
  u32 m_NumBytes = 0;
  u8 m_abPiece[PIECE_SIZE];
};

int TiTxtReader::Read() {
  if (!m_Source.Allocate() || !m_Gather.Allocate()) {
    return FailWhole(RESULT_NO_MEMORY, "Could not allocate memory");
  }
  int result = ReadSections();
  if (m_Input.HasFailed()) {
    result = FailWhole(RESULT_BAD_TEXT, "Error reading from file");
  }
  // What came ahead of an error is stored as well.
  if (m_Gather.Flush() != RANGE_RESULT::Done && result == 0) {
    result = FailWhole(RESULT_NO_MEMORY, "Could not allocate memory");
  }
  return result;
}

int TiTxtReader::ReadSections() {
  int result = 0;
  while (result == 0) {
    m_Error.Line += m_Source.SkipBlanks();
    const u8 next = *m_Source.GetCursor();
    if (IsEndMark(next)) {
      WarnOfMore();
      break;
    }
    if (next == 0) {
      return FailAtEnd();
    }
    if (next != '@') {
      UTIL_snprintf(m_Error.acText, sizeof(m_Error.acText),
                    "Unexpected character (Expected: %c, Found: %c)", '@', next);
      return RESULT_UNEXPECTED;
    }
    m_Source.SetCursor(m_Source.GetCursor() + 1);
    result = ReadAddr();
    if (result == 0) {
      result = ReadData();
    }
  }
  return result;
}

// The cursor is at the end mark.
void TiTxtReader::WarnOfMore() {
  m_Source.SetCursor(m_Source.GetCursor() + 1);
  m_Source.SkipBlanks();
  if (!m_Source.IsAtEnd() && *m_Source.GetCursor() != 0x1A) {
    m_Error.Warn("The TI-TXT file has text behind its end mark, which was not read.");
  }
}

// At a NUL: that behind the text, or one within it, which ends the reading without words.
int TiTxtReader::FailAtEnd() {
  return Fail(RESULT_BAD_TEXT, m_Source.IsAtEnd() ? "EOF while parsing" : "");
}

// Any number of digits: leading zeros may go on past the end of the buffer.
int TiTxtReader::ReadAddr() {
  u64 addr = 0;
  while (true) {
    m_Source.Require(1);
    const u8* p = m_Source.GetCursor();
    for (; IsHex(*p); ++p) {
      if (addr >> 60 != 0) {
        return Fail(RESULT_BAD_TEXT, "The address has more than 64 bits");
      }
      addr = addr << 4 | HEX_VALUES[*p];
    }
    if (p == m_Source.GetCursor()) {
      break;
    }
    m_Source.SetCursor(p);
  }
  m_Addr = addr;
  m_HasWrapped = false;
  return 0;
}

// Up to the next section or the end mark, which stays in front of the cursor.
int TiTxtReader::ReadData() {
  int result = 0;
  while (result == 0) {
    m_Source.Require(2);
    result = DecodeRun();
    const u8* p = m_Source.GetCursor();
    if (result != 0 || *p == '@' || IsEndMark(*p)) {
      break;
    }
    const u64 numLeft = m_Source.GetNumAvailable(p);
    if (numLeft < 2 && !m_Source.IsFileDone()) {
      continue;
    }
    const u8* end = p + (IsHex(*p) ? 1 : 0);
    if (*end != 0) {
      return Fail(RESULT_BAD_TEXT, "Expected Hex character : 0..9, A..F");
    }
    m_Source.SetCursor(end);
    result = StorePiece();
    return result != 0 ? result : FailAtEnd();
  }
  return result != 0 ? result : StorePiece();
}

// Takes bytes and blanks as far as they go. The NUL behind the text is neither, and stops this.
int TiTxtReader::DecodeRun() {
  const u8* p = m_Source.GetCursor();
  int result = 0;
  while (result == 0) {
    const u32 high = HEX_VALUES[*p];
    if (high <= 15) {
      const u32 low = HEX_VALUES[p[1]];
      if (low > 15) {
        break;
      }
      m_abPiece[m_NumBytes++] = static_cast<u8>(high << 4 | low);
      p += p[2] == ' ' ? 3 : 2;
      if (m_NumBytes == PIECE_SIZE) {
        result = StorePiece();
      }
    } else if (TEXT_IsBlank(*p)) {
      m_Error.Line += TEXT_EndsLine(p) ? 1 : 0;
      ++p;
    } else {
      break;
    }
  }
  m_Source.SetCursor(p);
  return result;
}

int TiTxtReader::StorePiece() {
  const u32 numBytes = m_NumBytes;
  m_NumBytes = 0;
  if (numBytes == 0) {
    return 0;
  }
  if (m_HasWrapped || numBytes - 1 > ~m_Addr) {
    return Fail(RESULT_BAD_TEXT, "The address has more than 64 bits");
  }
  const RANGE_RESULT result = m_Gather.Add(m_Addr, m_abPiece, numBytes);
  m_Addr += numBytes;
  m_HasWrapped = m_Addr == 0;
  switch (result) {
    case RANGE_RESULT::Done:
      return 0;
    case RANGE_RESULT::Refused:
      return Fail(RESULT_BAD_TEXT, "Areas overlap");
    case RANGE_RESULT::NoMemory:
      break;
  }
  return FailWhole(RESULT_NO_MEMORY, "Could not allocate memory");
}

}  // namespace

int TITXT_Read(FileInput& Input, RangeList& Ranges, TEXT_ERROR* pError) {
  return TiTxtReader(Input, Ranges, *pError).Read();
}

int MEMAREA_LoadTiTxt(MEMAREA* pArea, const char* pFileName, FILE_REPORT* pfReport,
                      void* pContext) {
  return LOAD_Text(pArea, pFileName, FileReport(pfReport, pContext), TITXT_Read);
}
