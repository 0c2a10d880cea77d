#include "ui/log/escape_seq.h"

#include <algorithm>

#include "sys/util_string.h"

namespace {

bool EqualsNoCase(std::string_view a, const char* sB, u32 len) {
  return a.size() == len && UTIL_strnicmp(a.data(), sB, len) == 0;
}

}  // namespace

ESCAPE_SEQ LOG_ParseEscape(std::string_view Text) {
  ESCAPE_SEQ seq;
  std::size_t pos = 1;
  if (Text[0] == LOG_CHAR_ESC) {
    // The byte behind ESC is not looked at, unless it is the end.
    if (Text.size() < 2 || Text[1] == '\0') {
      return seq;
    }
    pos = 2;
  }
  for (; pos < Text.size() && Text[pos] >= 32 && Text[pos] <= 63; ++pos) {
    if (seq.Len < seq.acText.size() - 1) {
      seq.acText[seq.Len++] = Text[pos];
    }
  }
  if (pos < Text.size() && Text[pos] >= 64 && Text[pos] <= 126) {
    seq.acText[seq.Len++] = Text[pos];
    seq.NumBytes = static_cast<u32>(pos + 1);
  }
  return seq;
}

ESCAPE_ACTION LOG_GetEscapeAction(std::string_view Seq) {
  if (EqualsNoCase(Seq, "0m", 2)) {
    return ESCAPE_ACTION::Reset;
  }
  return EqualsNoCase(Seq, "2J", 2) ? ESCAPE_ACTION::ClearView : ESCAPE_ACTION::Attributes;
}

int LOG_ReadEscapeParam(std::string_view Seq, std::size_t* pPos) {
  int value = -1;
  for (; *pPos < Seq.size() && Seq[*pPos] >= '0' && Seq[*pPos] <= '9'; ++*pPos) {
    value = std::min(std::max(value, 0) * 10 + (Seq[*pPos] - '0'), ESCAPE_MAX_PARAM + 1);
  }
  *pPos += value < 0 ? 1 : 0;
  return value;
}

bool LOG_ApplyEscapeParam(LINE_ATTR* pAttr, int Param, const LOG_DEFAULT_COLORS& Defaults) {
  if (Param >= 30 && Param <= 37) {
    pAttr->FgColor = static_cast<u32>(Param - 30);
    return true;
  }
  if (Param >= 40 && Param <= 47) {
    pAttr->BgColor = static_cast<u32>(Param - 40);
    return true;
  }
  switch (Param) {
    case 0:
      *pAttr = {pAttr->Pos, Defaults.FgColor, Defaults.BgColor, 0, 0};
      return true;
    case 1:
      pAttr->FgIntensity = 8;
      return true;
    case 2:
      pAttr->FgIntensity = 0;
      return true;
    case 4:
      pAttr->BgIntensity = 8;
      return true;
    case 24:
      pAttr->BgIntensity = 0;
      return true;
    default:
      return false;
  }
}
