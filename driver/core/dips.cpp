#include "driver/core/dips.h"

#include <algorithm>

namespace vortic {

Dips::Dips(const std::vector<FaultPlan::Dip>& all, bool isLink) {
  for (const FaultPlan::Dip& dip : all) {
    if (dip.IsLink == isLink) {
      m_States.push_back({dip});
    }
  }
}

void Dips::BeginCall(u64 call, u64 nowNs) {
  for (State& state : m_States) {
    const FaultPlan::Dip& dip = state.Dip;
    if (state.FromNs == kNever && call >= dip.Call) {
      state.FromNs = nowNs + dip.DelayNs;
      state.UntilNs = dip.IsTimed ? state.FromNs + dip.Length : kNever;
    }
    if (!dip.IsTimed && state.UntilNs == kNever && call >= dip.Call &&
        call - dip.Call >= dip.Length) {
      state.UntilNs = nowNs;
    }
  }
}

bool Dips::IsOff(u64 nowNs) const {
  return std::any_of(m_States.begin(), m_States.end(), [nowNs](const State& state) {
    return nowNs >= state.FromNs && nowNs < state.UntilNs;
  });
}

u64 Dips::NextChangeNs(u64 nowNs) const {
  u64 next = kNever;
  for (const State& state : m_States) {
    for (const u64 at : {state.FromNs, state.UntilNs}) {
      next = at > nowNs ? std::min(next, at) : next;
    }
  }
  return next;
}

}  // namespace vortic
