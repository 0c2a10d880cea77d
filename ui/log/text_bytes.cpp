#include "ui/log/text_bytes.h"

#include "sys/util_number.h"
#include "ui/log/text_buffer.h"

namespace {

constexpr size_t kMaxStored = 31;
constexpr char32_t kReplacement = 0xFFFD;
constexpr u32 kMaxCharBytes = 4;

struct UTF8_LENGTH {
  u8 FirstLead, LastLead;
  u32 NumBytes;
  char32_t MinCode;  // anything below has a shorter form
};
constexpr UTF8_LENGTH kLengths[] = {
    {0x00, 0x7F, 1, 0}, {0xC2, 0xDF, 2, 0x80}, {0xE0, 0xEF, 3, 0x800}, {0xF0, 0xF4, 4, 0x10000}};

bool IsCharacter(char32_t Code) {
  return Code <= 0x10FFFF && (Code < 0xD800 || Code > 0xDFFF);
}

}  // namespace

TEXT_CHAR TEXT_DecodeChar(std::string_view Text) {
  const auto lead = static_cast<u8>(Text[0]);
  for (const UTF8_LENGTH& row : kLengths) {
    if (lead < row.FirstLead || lead > row.LastLead || Text.size() < row.NumBytes) {
      continue;
    }
    char32_t code = row.NumBytes == 1 ? lead : lead & (0x7FU >> row.NumBytes);
    u32 i = 1;
    for (; i < row.NumBytes && (static_cast<u8>(Text[i]) & 0xC0) == 0x80; ++i) {
      code = code << 6 | (static_cast<u8>(Text[i]) & 0x3FU);
    }
    if (i == row.NumBytes && code >= row.MinCode && IsCharacter(code)) {
      return {code, i};
    }
  }
  return {kReplacement, 1};
}

bool TEXT_IsSequenceStart(std::string_view Text, size_t i) {
  const auto byte = static_cast<u8>(Text[i]);
  if (byte != TEXT_CSI) {
    return byte == TEXT_ESC;
  }
  for (size_t back = 1; back < kMaxCharBytes && back <= i; ++back) {
    if (TEXT_DecodeChar(Text.substr(i - back)).NumBytes > back) {
      return false;
    }
  }
  return true;
}

size_t TEXT_ParseSequence(std::string_view Text, std::string* pSequence) {
  pSequence->clear();
  size_t i = 1;
  if (static_cast<u8>(Text[0]) == TEXT_ESC) {
    if (i >= Text.size() || Text[i] == '\0') {
      return 0;
    }
    ++i;  // the byte behind ESC is not looked at
  }
  for (; i < Text.size() && Text[i] >= 32 && Text[i] <= 63; ++i) {
    if (pSequence->size() < kMaxStored - 1) {
      *pSequence += Text[i];
    }
  }
  if (i >= Text.size() || Text[i] < 64 || Text[i] > 126) {
    return 0;
  }
  *pSequence += Text[i];
  return i + 1;
}

std::string TEXT_ExpandTabs(std::string_view Text) {
  std::string result;
  result.reserve(Text.size() + 16);
  for (const char c : Text) {
    if (c == '\t') {
      result += "  ";
    } else {
      result += c;
    }
  }
  return result;
}

size_t TEXT_ParseTerminalChange(std::string_view Text, u32* pTerminal) {
  size_t i = 0;
  while (i + 1 < Text.size() && static_cast<u8>(Text[i]) == TEXT_IAC &&
         UTIL_HexDigit(Text[i + 1]) >= 0) {
    *pTerminal = static_cast<u32>(UTIL_HexDigit(Text[i + 1]));
    i += 2;
  }
  return i;
}
