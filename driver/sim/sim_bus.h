#pragma once

#include <functional>
#include <span>

#include "driver/core/bus.h"
#include "driver/core/clock.h"
#include "driver/sim/chip.h"

namespace vortic {

// The bus of a simulated probe with one chip on it. Moves the clock with the bits.
class SimBus : public Bus {
 public:
  SimBus(Chip& chip, Clock& clock, Stats& stats) : m_Chip(chip), m_Clock(clock), m_Stats(stats) {}

  // Brought into the range that a probe has.
  void SetSpeed(u32 kHz);
  u32 Speed() const { return m_SpeedkHz; }
  void SetQuadLines(bool hasQuad) { m_HasQuadLines = hasQuad; }

  // Flips one bit in every so many bytes that are read; 0: none.
  void SetNoise(u64 every) { m_NoiseEvery = every; }
  // Brings what the board does by itself up to now; gives the clock of its next change.
  void SetOnTime(std::function<u64()> onTime) { m_OnTime = std::move(onTime); }

  void SetChipSelect(bool isActive) override;
  bool Shift(const Phase& phase) override;
  PollOutcome Poll(const VORTIC_POLL_PARA& para, u32 flags, u8* pStatus) override;
  u64 NowNs() override { return m_Clock.Now(); }

 private:
  void MoveBits(u32 numBits, u32 numLanes);
  void PassTimeOfPolls();
  void WaitForChip(u64 deadlineNs, u64 periodNs);

  void AddNoise(std::span<u8> data);
  u64 NextChangeNs() { return m_OnTime ? m_OnTime() : ~u64{0}; }

  Chip& m_Chip;
  Clock& m_Clock;
  Stats& m_Stats;
  // What a probe starts with.
  u32 m_SpeedkHz = 4000;
  bool m_HasQuadLines = false;
  u64 m_NoiseEvery = 0;
  u64 m_NumRead = 0;
  std::function<u64()> m_OnTime;
  u64 m_PolledOperation = 0;  // the operation that a status read has seen running
};

}  // namespace vortic
