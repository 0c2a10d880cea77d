#include "driver/sim/sim_clock.h"

#include <thread>

namespace vortic {

namespace {

// Sleeping has a grain: bits are paid for in lumps, a wait to its end.
constexpr u64 kLumpNs = 1000000;

}  // namespace

u64 SimClock::HostNs() const {
  return static_cast<u64>(
      std::chrono::nanoseconds(std::chrono::steady_clock::now() - m_Start).count());
}

u64 SimClock::Now() {
  if (m_IsReal) {
    const u64 hostNs = HostNs();
    m_Ns = hostNs > m_Ns ? hostNs : m_Ns;
  }
  return m_Ns;
}

void SimClock::MoveBits(u64 ns) {
  m_Ns = Now() + ns;
  m_BitNs += ns;
  CatchUp(kLumpNs);
}

void SimClock::Wait(u64 ns) {
  m_Ns = Now() + ns;
  CatchUp(0);
}

void SimClock::CatchUp(u64 slackNs) {
  if (!m_IsReal) {
    return;
  }
  const u64 hostNs = HostNs();
  if (m_Ns > hostNs + slackNs) {
    std::this_thread::sleep_for(std::chrono::nanoseconds(m_Ns - hostNs));
  }
}

}  // namespace vortic
