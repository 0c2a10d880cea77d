#pragma once

#include "driver/core/fault_plan.h"
#include "driver/core/reporter.h"
#include "driver/sim/sim_clock.h"

namespace vortic {

// The cable between the host and a simulated probe: counts the calls that go over it, lets each
// take its time, and fails where it was asked to.
// Every call that reaches a real probe passes here, and nothing else: so call numbers in the fault
// list are the same in every run of the same client.
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
  // The plan lives in the configuration of the same probe.
  const FaultPlan& m_Plan;
  const u64 m_LatencyNs;
  SimClock& m_Clock;
  SimStats& m_Stats;
  Reporter& m_Reporter;
  bool m_IsLost = false;
};

}  // namespace vortic
