#include "sys/time.h"

#include <atomic>
#include <cerrno>
#include <ctime>

#include "sys/thread.h"
#include "sys/time_parts.h"

namespace {

constexpr u64 kNsPerSecond = 1000000000;
constexpr u64 kNsPerMs = 1000000;
constexpr u64 kNsPerUs = 1000;

u64 ReadMonotonic() {
  timespec now{};
  clock_gettime(CLOCK_MONOTONIC, &now);
  return static_cast<u64>(now.tv_sec) * kNsPerSecond + static_cast<u64>(now.tv_nsec);
}

u64 PlatformNow() {
  static const u64 Start = ReadMonotonic();
  return ReadMonotonic() - Start;
}

void PlatformSleep(u32 Ms) {
  timespec left{static_cast<time_t>(Ms / 1000), static_cast<long>((Ms % 1000) * kNsPerMs)};
  while (clock_nanosleep(CLOCK_MONOTONIC, 0, &left, &left) == EINTR) {
  }
}

constexpr SYS_TIME_SOURCE kPlatformSource = {&PlatformNow, &PlatformSleep};

std::atomic<const SYS_TIME_SOURCE*> g_pSource = &kPlatformSource;

}  // namespace

void SYS_SetTimeSource(const SYS_TIME_SOURCE* pSource) {
  g_pSource = pSource != nullptr ? pSource : &kPlatformSource;
}

u32 SYS_GetTickMs() {
  return static_cast<u32>(SYS_GetPerfTicks() / kNsPerMs);
}

u64 SYS_GetPerfTicks() {
  return g_pSource.load()->pfNowNs();
}

u64 SYS_GetElapsedUs(u64 StartTicks) {
  return (SYS_GetPerfTicks() - StartTicks) / kNsPerUs;
}

void SYS_Sleep(u32 Ms) {
  g_pSource.load()->pfSleepMs(Ms);
}

void SYS_GetLocalTime(SYS_TIME* pTime) {
  if (pTime == nullptr) {
    return;
  }
  timespec now{};
  tm parts{};
  clock_gettime(CLOCK_REALTIME, &now);
  localtime_r(&now.tv_sec, &parts);
  *pTime = SysMakeTime(parts, now.tv_nsec);
}

SYS_TIME SysMakeTime(const tm& Parts, long Nanoseconds) {
  return {static_cast<u16>(Parts.tm_year + 1900), static_cast<u16>(Parts.tm_mon + 1),
          static_cast<u16>(Parts.tm_mday),        static_cast<u16>(Parts.tm_hour),
          static_cast<u16>(Parts.tm_min),         static_cast<u16>(Parts.tm_sec),
          static_cast<u16>(Nanoseconds / 1000000)};
}

SYS_TIME SysToUtc(const timespec& Time) {
  tm parts{};
  gmtime_r(&Time.tv_sec, &parts);
  return SysMakeTime(parts, Time.tv_nsec);
}
