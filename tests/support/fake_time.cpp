#include "tests/support/fake_time.h"

#include <atomic>
#include <chrono>

#include "sys/time.h"

namespace {

constexpr u64 NS_PER_MS = 1'000'000;

std::atomic<u64> NowNs{0};
std::atomic<u64> StepNs{0};
std::atomic<u64> SleptMs{0};

u64 ReadClock() {
  return NowNs.fetch_add(StepNs) + StepNs;
}

void Sleep(u32 Ms) {
  NowNs += u64{Ms} * NS_PER_MS;
  SleptMs += Ms;
}

constexpr SYS_TIME_SOURCE SOURCE = {ReadClock, Sleep};

}  // namespace

FakeTime::FakeTime(u64 Step) {
  // Starts at the real time: whoever noted a start before must not see the clock run backwards.
  const auto now = std::chrono::steady_clock::now().time_since_epoch();
  NowNs = static_cast<u64>(std::chrono::nanoseconds(now).count());
  StepNs = Step;
  SleptMs = 0;
  SYS_SetTimeSource(&SOURCE);
}

FakeTime::~FakeTime() {
  SYS_SetTimeSource(nullptr);
}

void FakeTime::SetStepNs(u64 Step) {
  StepNs = Step;
}

void FakeTime::AdvanceMs(u64 Ms) {
  NowNs += Ms * NS_PER_MS;
}

u64 FakeTime::GetSleptMs() {
  return SleptMs;
}
