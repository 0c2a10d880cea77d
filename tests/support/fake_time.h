#pragma once

#include "sys/types.h"

// Replaces the clock of the system layer while it lives: no test waits, and times in logs are
// exact. Sleeps return at once and move the clock. Any thread; one object at a time.
class FakeTime {
 public:
  // The clock moves by StepNs each time that it is read.
  explicit FakeTime(u64 StepNs = 0);
  ~FakeTime();
  FakeTime(const FakeTime&) = delete;
  FakeTime& operator=(const FakeTime&) = delete;

  static void SetStepNs(u64 StepNs);
  static void AdvanceMs(u64 Ms);
  // Milliseconds slept by all threads since construction.
  static u64 GetSleptMs();
};
