#pragma once

#include <atomic>
#include <chrono>

#include "sys/time.h"

// Replaces the clock of the system layer while it lives: no test waits, and times in logs are
// exact. Sleeps return at once and move the clock. Any thread; one object at a time.
class FakeTime {
 public:
  // The clock moves by StepNs each time that it is read.
  explicit FakeTime(u64 StepNs = 0) {
    // Starts at the real time: whoever noted a start before must not see the clock run backwards.
    const auto now = std::chrono::steady_clock::now().time_since_epoch();
    s_NowNs = static_cast<u64>(std::chrono::nanoseconds(now).count());
    s_StepNs = StepNs;
    s_SleptMs = 0;
    SYS_SetTimeSource(&kSource);
  }
  ~FakeTime() { SYS_SetTimeSource(nullptr); }
  FakeTime(const FakeTime&) = delete;
  FakeTime& operator=(const FakeTime&) = delete;

  static void AdvanceMs(u64 Ms) { s_NowNs += Ms * 1'000'000; }
  // Milliseconds slept by all threads since construction.
  static u64 GetSleptMs() { return s_SleptMs; }

 private:
  static u64 ReadClock() { return s_NowNs.fetch_add(s_StepNs) + s_StepNs; }
  static void Sleep(u32 Ms) {
    AdvanceMs(Ms);
    s_SleptMs += Ms;
  }

  static constexpr SYS_TIME_SOURCE kSource = {ReadClock, Sleep};
  static inline std::atomic<u64> s_NowNs{0}, s_StepNs{0}, s_SleptMs{0};
};
