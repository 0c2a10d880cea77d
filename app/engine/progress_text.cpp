#include "app/engine/progress_text.h"

#include "sys/util_format.h"

namespace {

constexpr u32 kShowRateFromMs = 1000;

std::string FormatSpeed(u64 perSecond, bool isBytes) {
  char acText[32];
  if (!isBytes) {
    UTIL_snprintf64(acText, sizeof acText, "%lu/s", perSecond);
  } else if (perSecond >= 1000000) {
    UTIL_snprintf64(acText, sizeof acText, "%lu.%lu MB/s", perSecond / 1000000,
                    perSecond / 100000 % 10);
  } else {
    UTIL_snprintf64(acText, sizeof acText, "%lu.%lu kB/s", perSecond / 1000, perSecond / 100 % 10);
  }
  return acText;
}

}  // namespace

std::string PROGRESS_FormatRate(u64 NumDone, u64 NumLeft, u32 ElapsedMs, bool IsBytes) {
  if (ElapsedMs < kShowRateFromMs || NumDone == 0) {
    return {};
  }
  const u64 secondsLeft = NumLeft * ElapsedMs / NumDone / 1000;
  char acLeft[48];
  UTIL_snprintf(acLeft, sizeof acLeft, "%d:%02d left", static_cast<u32>(secondsLeft / 60),
                static_cast<u32>(secondsLeft % 60));
  return FormatSpeed(NumDone * 1000 / ElapsedMs, IsBytes) + "  " + acLeft;
}
