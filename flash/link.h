#pragma once

#include "flash/chip.h"

// What can be asked at any time to know that the chip is still there: a dead line, a board without
// power and a board that was changed all read as something, often as a blank chip that is ready.
// Application thread only.

// The probe answers and the target has power. 0, or -1 reported.
[[nodiscard]] int LINK_CheckProbe();
// The same chip as when it was reached answers with its ID. 0, also for parts without one, or -1
// reported.
[[nodiscard]] int LINK_CheckId(const FLASH_CHIP& Chip);
// The chip is ready, its error flags are clear, and its write enable latch is as expected. 0, or -1
// reported.
[[nodiscard]] int LINK_CheckStatus(const FLASH_CHIP& Chip, bool IsLatchSet);
// What a status byte tells beyond ready or busy, behind an erase or program at Addr: null, or why
// it has failed. The byte is that of CmdReadStatus.
const char* LINK_FindStatusFault(const FLASH_CHIP& Chip, u8 Status);

// Guards a stretch of work whose result decides something. The write enable latch, which every
// chip loses with its power, is set at the start and has to be set still at the end, when the
// probe, the voltage and the ID are asked as well. So a power dip in the middle shows, though the
// chip answers again. Work in between that uses up the latch sets it again (LINK_Arm).
class LinkGuard {
 public:
  explicit LinkGuard(const FLASH_CHIP& Chip) : m_Chip(Chip) {}
  // An open guard that isn't ended, behind a failure, leaves the chip as it is.
  // 0, or -1 reported.
  [[nodiscard]] int Begin();
  [[nodiscard]] int End();

 private:
  const FLASH_CHIP& m_Chip;
};
// Behind a failure on the bus: says so if the probe or the target's power is gone.
void LINK_TellWhy();

// Sets the latch that a guard looks at. 0, or -1 reported.
[[nodiscard]] int LINK_Arm(const FLASH_CHIP& Chip);

// Before the first change of an operation: probe, voltage and chip as when it was reached, 4-byte
// addresses, protection bits cleared. 0, or -1 reported.
[[nodiscard]] int LINK_PrepareWrite(FLASH_CHIP* pChip);

// Waits until the chip is ready. Cancel is looked at in every round; a chip that stops answering
// ends the wait within a second or two, whatever the timeout.
// LINK_IsReadyWithin: the same for a chip that is left, when nothing is told any more and nobody
// can cancel.
enum class WaitResult { Ready, TimedOut, Stopped };  // Stopped: an error was logged, or cancelled
// *pWasBusy, may be null: the first look said busy.
[[nodiscard]] WaitResult LINK_WaitReady(const FLASH_CHIP& Chip, u32 TimeoutMs,
                                        bool* pWasBusy = nullptr);
bool LINK_IsReadyWithin(const FLASH_CHIP& Chip, u32 TimeoutMs);
