#pragma once

#include <chrono>

#include "sys/types.h"

namespace vortic {

// What a job cost, for comparing two ways of doing it.
struct Stats {
  u64 Calls = 0;       // calls of the library while the probe was open
  u64 RoundTrips = 0;  // those that a probe would answer over its cable
  u64 Bits = 0;        // moved on the bus
  u64 Struck = 0;      // injected faults that had their effect
};

// The clock of a probe, in nanoseconds since opening. Virtual: it moves only with what
// happens on the bus. Real: it never runs behind the host's clock, and whoever moves it ahead of
// that sleeps until the host has caught up.
class Clock {
 public:
  explicit Clock(bool isReal) : m_IsReal(isReal), m_Start(std::chrono::steady_clock::now()) {}

  bool IsReal() const { return m_IsReal; }
  u64 Now();
  // Time in which bits move on the bus.
  void MoveBits(u64 ns);
  // Time in which nothing moves.
  void Wait(u64 ns);
  // Everything that was not bits: latency, waits, and in real time whatever the host did meanwhile.
  u64 IdleNs() { return Now() - m_BitNs; }

 private:
  u64 HostNs() const;
  // Sleeps until the host's clock is at most slackNs behind this one.
  void CatchUp(u64 slackNs);

  const bool m_IsReal;
  const std::chrono::steady_clock::time_point m_Start;
  u64 m_Ns = 0;
  // Part of m_Ns in which bits moved.
  u64 m_BitNs = 0;
};

}  // namespace vortic
