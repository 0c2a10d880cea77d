#pragma once

#include "driver/abi/vortic.h"
#include "sys/types.h"

namespace vortic {

// One phase of a frame, as single transfers and records of lists give it.
// Chip select moves by flags only: active before the phase, inactive behind it. Between, the frame
// stays open over any number of phases and calls.
struct Phase {
  const u8* pWrite;
  u8* pRead;
  u32 NumBits;
  u32 Flags;  // VORTIC_SPI_
};

// No client moves more in one piece; what is longer is a broken record, and its buffer is not
// there.
constexpr u32 kMaxPhaseBits = 1U << 28;

constexpr bool AreFlagsKnown(u32 flags) {
  constexpr u32 known = VORTIC_SPI_CS_ACTIVE | VORTIC_SPI_CS_INACTIVE | VORTIC_SPI_LANES_MASK |
                        VORTIC_SPI_DATA_QUAD | VORTIC_SPI_DUMMY;
  const u32 end = flags & VORTIC_SPI_CS_INACTIVE;
  return (flags & ~known) == 0 && (end == 0 || end == VORTIC_SPI_CS_INACTIVE) &&
         (flags & VORTIC_SPI_LANES_MASK) != VORTIC_SPI_LANES_MASK;
}

enum class PollOutcome { Ready, TimedOut, Failed };

// The SPI bus of a probe, as lists and the fast mode use it. Every backend that has one gets both.
class Bus {
 public:
  virtual ~Bus() = default;

  virtual void SetChipSelect(bool isActive) = 0;
  // False: the phase did not reach the bus.
  virtual bool Shift(const Phase& phase) = 0;
  // Reads the byte of the open frame until it is as expected; the last one goes to pStatus.
  virtual PollOutcome Poll(const VORTIC_POLL_PARA& para, u32 flags, u8* pStatus) = 0;
  // The probe's clock.
  virtual u64 NowNs() = 0;
};

}  // namespace vortic
