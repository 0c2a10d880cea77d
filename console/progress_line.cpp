#include "console/progress_line.h"

#include <algorithm>

#include "sys/util_format.h"
#include "sys/util_string.h"

namespace {

constexpr u32 kShowRateFromMs = 1000;
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

std::string FormatRate(u64 perSecond, bool isBytes) {
  char acText[32];
  if (!isBytes) {
    UTIL_snprintf64(acText, sizeof acText, "%llu/s", perSecond);
  } else if (perSecond >= 1000000) {
    UTIL_snprintf64(acText, sizeof acText, "%llu.%llu MB/s", perSecond / 1000000,
                    perSecond / 100000 % 10);
  } else {
    UTIL_snprintf64(acText, sizeof acText, "%llu.%llu kB/s", perSecond / 1000,
                    perSecond / 100 % 10);
  }
  return acText;
}

std::string FormatRateAndRest(const CONSOLE_PROGRESS& progress, u32 elapsedMs) {
  const u64 done = progress.Value - progress.Min;
  const u64 rest = progress.Max - progress.Value;
  if (elapsedMs < kShowRateFromMs || done == 0) {
    return {};
  }
  const u64 secondsLeft = rest * elapsedMs / done / 1000;
  char acLeft[48];
  UTIL_snprintf(acLeft, sizeof acLeft, "%d:%02d left", static_cast<u32>(secondsLeft / 60),
                static_cast<u32>(secondsLeft % 60));
  return "  " + FormatRate(done * 1000 / elapsedMs, (progress.Flags & PROGRESS_BYTES) != 0) + "  " +
         acLeft;
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
  std::string line = OneLine(clamped.Text) + acPercent + FormatRateAndRest(clamped, elapsedMs);
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
