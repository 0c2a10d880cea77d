#include "driver/core/clock.h"

#include <thread>

namespace vortic {

namespace {

// Sleeping has a grain: bits are paid for in lumps, a wait to its end.
constexpr u64 kLumpNs = 1000000;

}  // namespace

u64 Clock::HostNs() const {
  return static_cast<u64>(
      std::chrono::nanoseconds(std::chrono::steady_clock::now() - m_Start).count());
}

u64 Clock::Now() {
  if (m_IsReal) {
    const u64 hostNs = HostNs();
    m_Ns = hostNs > m_Ns ? hostNs : m_Ns;
  }
  return m_Ns;
}

void Clock::MoveBits(u64 ns) {
  m_Ns = Now() + ns;
  m_BitNs += ns;
  CatchUp(kLumpNs);
}

void Clock::Wait(u64 ns) {
  m_Ns = Now() + ns;
  CatchUp(0);
}

void Clock::CatchUp(u64 slackNs) {
  if (!m_IsReal) {
    return;
  }
  const u64 hostNs = HostNs();
  if (m_Ns > hostNs + slackNs) {
    std::this_thread::sleep_for(std::chrono::nanoseconds(m_Ns - hostNs));
  }
}

}  // namespace vortic
