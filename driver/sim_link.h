#pragma once

#include "driver/fault_plan.h"
#include "driver/reporter.h"
#include "driver/sim_clock.h"

namespace vortic {

// The cable between the host and a simulated probe: counts the calls that go over it, lets each
// take its time, and fails where it was asked to.
class SimLink {
 public:
  SimLink(const FaultPlan& plan, u64 latencyNs, SimClock& clock, SimStats& stats,
          Reporter& reporter)
      : m_Plan(plan),
        m_LatencyNs(latencyNs),
        m_Clock(clock),
        m_Stats(stats),
        m_Reporter(reporter) {}

  // False: the call did not get through; the reporter was told.
  bool BeginCall();
  // Number of the current call, from 1.
  u64 CallNumber() const { return m_Stats.RoundTrips; }
  bool IsLost() const { return m_IsLost; }

 private:
  const FaultPlan& m_Plan;
  const u64 m_LatencyNs;
  SimClock& m_Clock;
  SimStats& m_Stats;
  Reporter& m_Reporter;
  bool m_IsLost = false;
};

}  // namespace vortic
