#include <algorithm>
#include <array>
#include <cstring>
#include <string>
#include <utility>

#include "sys/util_number.h"
#include "sys/util_string.h"
#include "text/parse.h"
#include "text/projfile.h"
#include "text/projfile_store.h"

namespace {

constexpr i32 kMaxCount = 32767;

// Room for the longest message with a key in it.
using ErrorBuffer = std::array<char, 256>;

// A key's line being read. The cursor looks into Text, which ends behind the line or later.
struct KeyLine {
  std::string Text;
  PARSE_CURSOR Cursor = nullptr;
  i32 Count = 0;  // in the brackets of the head; 0 without
  ErrorBuffer acError{};

  char* Error() { return acError.data(); }
  u32 ErrorSize() const { return acError.size(); }
  bool HasError() const { return acError[0] != '\0'; }
};

// Passes "Key =" or "Key[3] =".
void ParseHead(KeyLine* pLine, const char* pKey) {
  char* const pError = pLine->Error();
  const u32 size = pLine->ErrorSize();
  PARSE_CURSOR* const pCursor = &pLine->Cursor;
  PARSE_SkipBlanks(pCursor);
  PARSE_ExpectString(pError, size, pCursor, pKey);
  PARSE_SkipBlanks(pCursor);
  if (!pLine->HasError() && **pCursor == '[') {
    PARSE_ExpectChar(pError, size, pCursor, '[');
    PARSE_DecNumber(pError, size, pCursor, &pLine->Count, 0, kMaxCount);
    PARSE_SkipBlanks(pCursor);
    PARSE_ExpectChar(pError, size, pCursor, ']');
    PARSE_SkipBlanks(pCursor);
  }
  PARSE_ExpectChar(pError, size, pCursor, '=');
  PARSE_SkipBlanks(pCursor);
  pLine->Count = std::max(pLine->Count, 0);
}

// False when there is no such key or no project to look into. A head that cannot be read is found,
// with its error in the line.
bool FindLine(ProjAccess& Access, const char* pSection, const char* pKey, std::size_t NumBytes,
              KeyLine* pLine) {
  ProjStore* const pStore = Access.GetOpen();
  if (pStore == nullptr || !pStore->Content || pKey == nullptr) {
    return false;
  }
  pLine->Text = pStore->Content->FindKey(pSection, pKey, NumBytes);
  pLine->Cursor = pLine->Text.c_str();
  if (pLine->Text.empty()) {
    return false;
  }
  ParseHead(pLine, pKey);
  return true;
}

// The words of the parser say what is wrong, the second line where.
int Finish(ProjAccess& Access, const KeyLine& Line, const char* pSection, const char* pKey) {
  if (!Line.HasError()) {
    return 0;
  }
  return Access.Fail(std::string(Line.acError.data()) + "\nFile [" + Access.Get()->acFileName +
                     "], section '" + (pSection != nullptr ? pSection : "") + "', key '" + pKey +
                     "'");
}

bool IsDigit(char c) {
  return c >= '0' && c <= '9';
}

// A digit, behind a sign or "0x".
bool IsNumber(PARSE_CURSOR p) {
  if (p[0] == '0' && (p[1] == 'x' || p[1] == 'X')) {
    return UTIL_HexDigit(p[2]) >= 0;
  }
  return IsDigit(p[*p == '-' || *p == '+' ? 1 : 0]);
}

// A comment may follow.
bool IsAtEnd(PARSE_CURSOR p) {
  p += std::strspn(p, " \t");
  return std::strchr("\r\n;#", *p) != nullptr || (p[0] == '/' && p[1] == '/');
}

// Passes a word that stands for a flag: 1 or 0, -1 when there is none.
i32 TakeFlag(PARSE_CURSOR* pCursor) {
  constexpr std::pair<const char*, i32> kWords[] = {{"yes", 1}, {"on", 1},  {"true", 1},
                                                    {"no", 0},  {"off", 0}, {"false", 0}};
  const std::size_t len = std::strspn(*pCursor, "YESONTRUFALyesontrufal");
  const std::string word(*pCursor, len);
  for (const auto& [sWord, value] : kWords) {
    if (UTIL_stricmp(word.c_str(), sWord) == 0) {
      *pCursor += len;
      return value;
    }
  }
  return -1;
}

void Clear(u8* pDest, u32 NumBytes) {
  if (pDest != nullptr) {
    std::memset(pDest, 0, NumBytes);
  }
}

}  // namespace

int PROJFILE_ReadString(const char* pSection, const char* pKey, char* pDest, u32 DestSize) {
  if (pDest == nullptr || DestSize == 0) {
    return -1;
  }
  pDest[0] = '\0';
  ProjAccess access;
  KeyLine line;
  // The text of a string may go on over the line's end.
  const std::size_t headSize = pKey != nullptr ? std::strlen(pKey) + 64 : 0;
  if (!FindLine(access, pSection, pKey, headSize + DestSize, &line)) {
    return -1;
  }
  if (line.HasError()) {
    return Finish(access, line, pSection, pKey);
  }
  PARSE_QuotedString(line.Error(), line.ErrorSize(), &line.Cursor, pDest, DestSize);
  if (line.HasError()) {
    return access.Fail(std::string("Failed to read '") + pKey + "' in section '" +
                       (pSection != nullptr ? pSection : "") + "'.");
  }
  return 0;
}

int PROJFILE_ReadU32(const char* pSection, const char* pKey, u32* pValue) {
  constexpr i64 kMin = -0x100000000;
  constexpr i64 kMax = 0xFFFFFFFF;
  *pValue = 0;
  ProjAccess access;
  KeyLine line;
  if (!FindLine(access, pSection, pKey, 0, &line)) {
    return -1;
  }
  if (line.HasError()) {
    return Finish(access, line, pSection, pKey);
  }
  if (const i32 flag = TakeFlag(&line.Cursor); flag >= 0) {
    *pValue = static_cast<u32>(flag);
  } else if (!IsNumber(line.Cursor)) {
    return PROJFILE_NO_NUMBER;
  } else {
    i64 value = 0;
    PARSE_Number64(line.Error(), line.ErrorSize(), &line.Cursor, &value, kMin, kMax);
    *pValue = static_cast<u32>(value);
  }
  if (line.HasError()) {
    return Finish(access, line, pSection, pKey);
  }
  return IsAtEnd(line.Cursor) ? 0 : PROJFILE_PARTLY;
}

int PROJFILE_ReadDecBytes(const char* pSection, const char* pKey, u8* pDest, u32 MaxBytes) {
  Clear(pDest, MaxBytes);
  ProjAccess access;
  KeyLine line;
  if (pDest == nullptr || !FindLine(access, pSection, pKey, 0, &line)) {
    return -1;
  }
  const u32 numBytes = std::min(static_cast<u32>(line.Count), MaxBytes);
  for (u32 i = 0; i < numBytes && !line.HasError(); ++i) {
    if (i != 0) {
      PARSE_SkipBlanks(&line.Cursor);
      PARSE_ExpectChar(line.Error(), line.ErrorSize(), &line.Cursor, ',');
    }
    i32 value = 0;
    PARSE_DecNumber(line.Error(), line.ErrorSize(), &line.Cursor, &value, 0, 255);
    pDest[i] = static_cast<u8>(value);
  }
  return Finish(access, line, pSection, pKey);
}

int PROJFILE_ReadHexBytes(const char* pSection, const char* pKey, u8* pDest, u32 MaxBytes,
                          u32* pNumInFile) {
  Clear(pDest, MaxBytes);
  if (pNumInFile != nullptr) {
    *pNumInFile = 0;
  }
  ProjAccess access;
  KeyLine line;
  if (pDest == nullptr || !FindLine(access, pSection, pKey, 0, &line)) {
    return -1;
  }
  if (pNumInFile != nullptr) {
    *pNumInFile = static_cast<u32>(line.Count);
  }
  const u32 numBytes = std::min(static_cast<u32>(line.Count), MaxBytes);
  for (u32 i = 0; i < numBytes && !line.HasError(); ++i) {
    PARSE_SkipBlanks(&line.Cursor);
    line.Cursor += i != 0 && *line.Cursor == ',' ? 1 : 0;
    i64 value = 0;
    PARSE_Number64(line.Error(), line.ErrorSize(), &line.Cursor, &value, 0, 255);
    pDest[i] = static_cast<u8>(value);
  }
  return Finish(access, line, pSection, pKey);
}
