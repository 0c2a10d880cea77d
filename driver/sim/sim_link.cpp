#include "driver/sim/sim_link.h"

#include <algorithm>

#include "driver/core/text.h"

namespace vortic {

bool SimLink::BeginCall() {
  const u64 call = ++m_Stats.RoundTrips;
  m_Clock.Wait(m_LatencyNs);
  const auto isAsked = [call](const std::vector<u64>& calls) {
    return std::find(calls.begin(), calls.end(), call) != calls.end();
  };
  const unsigned long long shown = call;
  if (m_IsLost) {
    return false;  // said once; every further call fails by its result
  }
  if (m_Plan.DisconnectAt != 0 && call >= m_Plan.DisconnectAt) {
    m_IsLost = true;
    m_Reporter.Error(Format("Communication with the probe lost (call %llu).", shown));
    return false;
  }
  if (isAsked(m_Plan.TimeoutAt)) {
    m_Reporter.Error(Format("The probe did not answer in time (call %llu).", shown));
    return false;
  }
  if (isAsked(m_Plan.NakAt)) {
    m_Reporter.Error(Format("The probe refused the call (call %llu).", shown));
    return false;
  }
  return true;
}

}  // namespace vortic
