#include "driver/core/link.h"

#include <algorithm>

#include "driver/core/text.h"

namespace vortic {

namespace {

// What the host waits for an answer that does not come.
constexpr u64 kNoAnswerNs = 1000000;

bool IsAsked(const std::vector<u64>& calls, u64 call) {
  return std::find(calls.begin(), calls.end(), call) != calls.end();
}

}  // namespace

Link::Link(const FaultPlan& plan, u64 latencyNs, Clock& clock, Stats& stats, Reporter& reporter)
    : m_Plan(plan),
      m_LatencyNs(latencyNs),
      m_Clock(clock),
      m_Stats(stats),
      m_Reporter(reporter),
      m_Dips(plan.Dips, true) {}

bool Link::Fail(const char* sText) {
  ++m_Stats.Struck;
  m_Clock.Wait(kNoAnswerNs);
  m_Reporter.Error(Format("%s (call %llu).", sText, static_cast<unsigned long long>(CallNumber())));
  return false;
}

bool Link::BeginCall() {
  const u64 call = ++m_Stats.RoundTrips;
  m_Clock.Wait(m_LatencyNs);
  m_LastAnswer.swap(m_Answer);
  m_Answer.clear();
  m_NumAnswered = 0;
  m_IsStale = IsAsked(m_Plan.StaleAt, call);
  m_Stats.Struck += m_IsStale ? 1 : 0;
  if (m_IsLost) {
    return false;  // said once; every further call fails by its result
  }
  if (m_Plan.DisconnectAt != 0 && call >= m_Plan.DisconnectAt) {
    m_IsLost = true;
    return Fail("Communication with the probe lost");
  }
  m_Dips.BeginCall(call, m_Clock.Now());
  const bool wasInDip = m_IsInDip;
  m_IsInDip = m_Dips.IsOff(m_Clock.Now());
  if (m_IsInDip && !wasInDip) {
    return Fail("Communication with the probe lost");
  }
  if (m_IsInDip) {
    m_Clock.Wait(kNoAnswerNs);
    return false;
  }
  if (IsAsked(m_Plan.MuteAt, call)) {
    ++m_Stats.Struck;
    return false;
  }
  if (IsAsked(m_Plan.TimeoutAt, call)) {
    return Fail("The probe did not answer in time");
  }
  if (IsAsked(m_Plan.NakAt, call)) {
    return Fail("The probe refused the call");
  }
  return true;
}

bool Link::EndCall() {
  return !IsAsked(m_Plan.LostAt, CallNumber()) || Fail("The answer of the probe was lost");
}

void Link::Answer(std::span<u8> data, u8 filler) {
  if (m_Plan.StaleAt.empty()) {
    return;
  }
  m_Answer.insert(m_Answer.end(), data.begin(), data.end());
  for (std::size_t i = 0; m_IsStale && i < data.size(); ++i, ++m_NumAnswered) {
    data[i] = m_NumAnswered < m_LastAnswer.size() ? m_LastAnswer[m_NumAnswered] : filler;
  }
}

}  // namespace vortic
