#pragma once

#include <cstring>
#include <span>
#include <vector>

#include "driver/core/clock.h"
#include "driver/core/dips.h"
#include "driver/core/fault_plan.h"
#include "driver/core/reporter.h"

namespace vortic {

// The cable between the host and a probe: counts the calls that go over it, lets each take its
// time, and fails or falsifies its answer where it was asked to. Every call that reaches a probe
// passes here, and nothing else: so call numbers in the fault list are the same in every run of the
// same client.
class Link {
 public:
  Link(const FaultPlan& plan, u64 latencyNs, Clock& clock, Stats& stats, Reporter& reporter);

  // False: the call did not get through; the reporter was told, except where a fault wants silence.
  bool BeginCall();
  // False: the call was carried out, but its answer never came; the reporter was told.
  bool EndCall();
  // Passes on bytes of the answer in the order in which they come, or puts those of the call before
  // in their place, as a client that is one answer behind sees them. What that one lacks is filled.
  void Answer(std::span<u8> data, u8 filler);
  template <class T>
  void AnswerValue(T* pValue) {
    u8 bytes[sizeof(T)];
    std::memcpy(bytes, pValue, sizeof(T));
    Answer(bytes, 0xFF);
    std::memcpy(pValue, bytes, sizeof(T));
  }
  // Number of the current call, from 1.
  u64 CallNumber() const { return m_Stats.RoundTrips; }
  bool IsLost() const { return m_IsLost; }

 private:
  bool Fail(const char* sText);

  // The plan lives in the configuration of the same probe.
  const FaultPlan& m_Plan;
  const u64 m_LatencyNs;
  Clock& m_Clock;
  Stats& m_Stats;
  Reporter& m_Reporter;
  Dips m_Dips;
  bool m_IsLost = false;
  bool m_IsInDip = false;
  bool m_IsStale = false;
  // Of this call and of the one before; empty where no answer is ever stale.
  std::vector<u8> m_Answer;
  std::vector<u8> m_LastAnswer;
  std::size_t m_NumAnswered = 0;
};

}  // namespace vortic
