#pragma once

#include "flash/chip.h"
#include "flash/connect.h"
#include "flash/spi.h"

// What the files of the connection share.

// Target interface that a description asks for, and the one selected.
int CONNECT_GetInterface(const SPI_FLASH_INFO& Info);
int CONNECT_GetSelectedInterface();
// Selects it with the project's speed. 0, or -1 reported when the probe has no such interface.
[[nodiscard]] int CONNECT_SelectInterface(const SPI_FLASH_INFO& Info);

// The chip is switched to 4-byte addresses by instruction.
constexpr bool CONNECT_Wants4ByteMode(const SPI_FLASH_INFO& info) {
  return info.Dedicated4BAddrMode != 0 && info.NumAddrBytes == 4;
}
// 0, or -1 reported.
[[nodiscard]] int CONNECT_Enter4ByteMode(const SPI_FLASH_INFO& Info);

// Flash level: reads the ID, identifies the chip or compares it with the project's, switches it to
// 4-byte addresses, fills the record. 0, or -1 reported.
[[nodiscard]] int CONNECT_ReachChip(FLASH_CHIP* pChip);
// Behind the quad enable sequence: what four lanes read is what one lane reads. Where that can't
// be shown the chip is used on a single lane. 0, or -1 reported.
[[nodiscard]] int CONNECT_ProveQuad(FLASH_CHIP* pChip);
// A clock above the limit of the plain read instruction: fast read, or a slower clock.
void CONNECT_ChooseRead(FLASH_CHIP* pChip);

// The chip of the connection, null when there is none.
FLASH_CHIP* CONNECT_GetChip();
// Brings the chip back to what the next user of the board expects, as far as it answers: not busy,
// 3-byte addresses, write disabled. What can't be done is told. Chip may be null.
void CONNECT_LeaveChip(const FLASH_CHIP* pChip);

// For tests: the probe level starts anew, without a call to the library.
void PROBE_Forget();

void CONNECT_SetStatusText(const char* sText, u32 Index);
