#include "driver/sim/sim_bus.h"

#include <algorithm>

namespace vortic {

namespace {

constexpr u32 kMinSpeedkHz = 1;
constexpr u32 kMaxSpeedkHz = 50000;
constexpr u64 kNsPerUs = 1000;
// How long a chip that never becomes ready is waited for at a time.
constexpr u64 kForeverStepNs = 1000000;

u32 LanesOf(u32 flags) {
  return (flags & VORTIC_SPI_LANES_MASK) == VORTIC_SPI_LANES_QUAD ? 4 : 1;
}

}  // namespace

void SimBus::SetSpeed(u32 kHz) {
  m_SpeedkHz = std::clamp(kHz, kMinSpeedkHz, kMaxSpeedkHz);
}

void SimBus::SetChipSelect(bool isActive) {
  if (isActive) {
    m_Chip.Select();
  } else {
    m_Chip.Deselect();
  }
}

// Bits go on all lanes at once, so four lanes take a quarter of the time.
void SimBus::MoveBits(u32 numBits, u32 numLanes) {
  m_Stats.Bits += numBits;
  m_Clock.MoveBits(u64{numBits} * 1000000 / (u64{m_SpeedkHz} * numLanes));
}

// Time moves before the bits are looked at: a status byte tells of the end of its own transfer, and
// an operation starts when its frame is over.
bool SimBus::Shift(const Phase& phase) {
  if ((phase.Flags & VORTIC_SPI_CS_ACTIVE) != 0) {
    m_Chip.Select();
  }
  const u32 numLanes = LanesOf(phase.Flags);
  if (phase.pRead != nullptr && m_Chip.IsStatusFrame()) {
    PassTimeOfPolls();
  }
  MoveBits(phase.NumBits, numLanes);
  NextChangeNs();
  m_Chip.Shift({phase.pWrite, phase.pRead, phase.NumBits, numLanes,
                (phase.Flags & VORTIC_SPI_DUMMY) != 0, m_HasQuadLines});
  if (phase.pRead != nullptr) {
    AddNoise({phase.pRead, (std::size_t{phase.NumBits} + 7) / 8});
  }
  if ((phase.Flags & VORTIC_SPI_CS_INACTIVE) != 0) {
    m_Chip.Deselect();
  }
  return true;
}

// Which bit follows from the number of the byte, so that every run has the same ones.
void SimBus::AddNoise(std::span<u8> data) {
  const u64 before = m_NumRead;
  m_NumRead += data.size();
  if (m_NoiseEvery == 0) {
    return;
  }
  for (u64 at = before / m_NoiseEvery * m_NoiseEvery + m_NoiseEvery - 1; at < m_NumRead;
       at += m_NoiseEvery) {
    if (at >= before) {
      data[at - before] ^= static_cast<u8>(1U << ((at * 0x9E3779B97F4A7C15U) >> 61));
      ++m_Stats.Struck;
    }
  }
}

// A client that polls by itself would have to ask millions of times before a virtual clock that
// moves with bits alone has gone through an erase. So from the second look on each one takes half
// of the time that is left: some thirty looks reach the end of any operation, and reach it exactly.
void SimBus::PassTimeOfPolls() {
  if (m_Clock.IsReal() || !m_Chip.IsBusy()) {
    return;
  }
  if (m_PolledOperation != m_Chip.OperationCount()) {
    m_PolledOperation = m_Chip.OperationCount();
    return;
  }
  if (m_Chip.IsBusyForever()) {
    m_Clock.Wait(kForeverStepNs);
    return;
  }
  const u64 leftNs = m_Chip.ReadyNs() - m_Clock.Now();
  const u64 lookNs = u64{8} * 1000000 / m_SpeedkHz;
  const u64 waitNs = leftNs <= 2 * lookNs ? leftNs : leftNs / 2;
  m_Clock.Wait(std::min(waitNs, NextChangeNs() - m_Clock.Now()));
}

// Moves the clock to where the next look is worth it, at most to the deadline. Looks come in whole
// periods, so the chip is found ready up to one period late.
void SimBus::WaitForChip(u64 deadlineNs, u64 periodNs) {
  const u64 nowNs = m_Clock.Now();
  u64 untilNs = deadlineNs;
  if (m_Chip.IsBusy() && !m_Chip.IsBusyForever()) {
    const u64 leftNs = m_Chip.ReadyNs() > nowNs ? m_Chip.ReadyNs() - nowNs : 0;
    untilNs = std::min(deadlineNs, nowNs + (leftNs + periodNs - 1) / periodNs * periodNs);
  }
  untilNs = std::min(untilNs, NextChangeNs());
  // The look itself takes a period of it.
  m_Clock.Wait(untilNs > nowNs + periodNs ? untilNs - nowNs - periodNs : 0);
}

// At least one look is taken, also when the timeout is 0.
PollOutcome SimBus::Poll(const VORTIC_POLL_PARA& para, u32 flags, u8* pStatus) {
  if ((flags & VORTIC_SPI_CS_ACTIVE) != 0) {
    m_Chip.Select();
  }
  const u32 numLanes = LanesOf(flags);
  const u64 periodNs = std::max<u64>(1, u64{8} * 1000000 / (u64{m_SpeedkHz} * numLanes));
  const u64 deadlineNs = m_Clock.Now() + u64{para.Timeout} * kNsPerUs;
  PollOutcome outcome = PollOutcome::TimedOut;
  for (;;) {
    MoveBits(8, numLanes);
    NextChangeNs();
    m_Chip.Shift({nullptr, pStatus, 8, numLanes, false, m_HasQuadLines});
    AddNoise({pStatus, 1});
    if ((*pStatus & para.Mask) == para.Expected) {
      outcome = PollOutcome::Ready;
      break;
    }
    if (m_Clock.Now() >= deadlineNs) {
      break;
    }
    WaitForChip(deadlineNs, periodNs);
  }
  if ((flags & VORTIC_SPI_CS_INACTIVE) != 0) {
    m_Chip.Deselect();
  }
  return outcome;
}

}  // namespace vortic
