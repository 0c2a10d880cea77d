#include "console/progress_line.h"

#include <algorithm>

#include "app/engine/progress_text.h"
#include "sys/util_format.h"
#include "sys/util_string.h"

namespace {

constexpr char kEscape = '\x1b';

// Texts may have several lines; the terminal has one.
std::string OneLine(std::string text) {
  for (char& c : text) {
    if (static_cast<unsigned char>(c) < ' ') {
      c = ' ';
    }
  }
  return text;
}

}  // namespace

CONSOLE_PROGRESS CONSOLE_TakeProgress(PROGRESS_INFO* pInfo) {
  SYS_LOCK_GUARD lock(pInfo->Lock);
  return {pInfo->sText, pInfo->sSubText, pInfo->Value, pInfo->Min, pInfo->Max, pInfo->Flags};
}

std::string CONSOLE_FormatProgress(const CONSOLE_PROGRESS& progress, u32 elapsedMs, u32 columns) {
  CONSOLE_PROGRESS clamped = progress;
  clamped.Max = std::max(clamped.Max, clamped.Min);
  clamped.Value = std::clamp(clamped.Value, clamped.Min, clamped.Max);
  const u64 range = clamped.Max - clamped.Min;
  const u64 percent = range == 0 ? 0 : (clamped.Value - clamped.Min) * u64{100} / range;
  char acPercent[16];
  UTIL_snprintf(acPercent, sizeof acPercent, "  %3d %%", static_cast<u32>(percent));
  std::string line = OneLine(clamped.Text) + acPercent;
  const std::string rate =
      PROGRESS_FormatRate(clamped.Value - clamped.Min, clamped.Max - clamped.Value, elapsedMs,
                          (clamped.Flags & PROGRESS_BYTES) != 0);
  if (!rate.empty()) {
    line += "  " + rate;
  }
  if (!clamped.SubText.empty()) {
    line += "  " + OneLine(clamped.SubText);
  }
  if (line.size() > columns) {
    line.resize(UTIL_CutUtf8(line.c_str(), columns));
  }
  return line;
}

std::string CONSOLE_StripColours(const char* sText) {
  std::string text;
  for (const char* p = sText; *p != '\0'; ++p) {
    if (p[0] != kEscape || p[1] != '[') {
      text += *p;
      continue;
    }
    p += 2;
    while (*p != '\0' && (*p < '@' || *p > '~')) {
      ++p;
    }
    if (*p == '\0') {
      break;
    }
  }
  return text;
}
