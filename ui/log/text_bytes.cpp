#include "ui/log/text_bytes.h"

#include "sys/util_number.h"
#include "ui/log/text_buffer.h"

namespace {

constexpr size_t kMaxStored = 31;

}  // namespace

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
