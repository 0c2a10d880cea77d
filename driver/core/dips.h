#pragma once

#include <vector>

#include "driver/core/fault_plan.h"

namespace vortic {

// Those dips of a plan that concern one thing: whether it is off at a call and a time of the
// probe's clock. A call is looked at before a time is, and neither ever goes back.
class Dips {
 public:
  Dips(const std::vector<FaultPlan::Dip>& all, bool isLink);

  // Starts the dips whose call this is.
  void BeginCall(u64 call, u64 nowNs);
  bool IsOff(u64 nowNs) const;
  // The next time at which that changes by itself; the largest number when it doesn't.
  u64 NextChangeNs(u64 nowNs) const;

 private:
  static constexpr u64 kNever = ~u64{0};
  struct State {
    FaultPlan::Dip Dip;
    u64 FromNs = kNever;
    u64 UntilNs = kNever;
  };

  std::vector<State> m_States;
};

}  // namespace vortic
