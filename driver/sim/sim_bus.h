#pragma once

#include "driver/core/bus.h"
#include "driver/sim/chip.h"
#include "driver/sim/sim_clock.h"

namespace vortic {

// The bus of a simulated probe with one chip on it. Moves the clock with the bits.
class SimBus : public Bus {
 public:
  SimBus(Chip& chip, SimClock& clock, SimStats& stats)
      : m_Chip(chip), m_Clock(clock), m_Stats(stats) {}

  // Brought into the range that a probe has.
  void SetSpeed(u32 kHz);
  u32 Speed() const { return m_SpeedkHz; }
  void SetQuadLines(bool hasQuad) { m_HasQuadLines = hasQuad; }

  void SetChipSelect(bool isActive) override;
  bool Shift(const Phase& phase) override;
  PollOutcome Poll(const VORTIC_POLL_PARA& para, u32 flags, u8* pStatus) override;
  u64 NowNs() override { return m_Clock.Now(); }

 private:
  void MoveBits(u32 numBits, u32 numLanes);
  void PassTimeOfPolls();
  void WaitForChip(u64 deadlineNs, u64 periodNs);

  Chip& m_Chip;
  SimClock& m_Clock;
  SimStats& m_Stats;
  // What a probe starts with.
  u32 m_SpeedkHz = 4000;
  bool m_HasQuadLines = false;
  u64 m_PolledOperation = 0;  // the operation that a status read has seen running
};

}  // namespace vortic
