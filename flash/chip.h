#pragma once

#include <array>

#include "catalogue/devices/device_table.h"
#include "flash/geometry.h"
#include "sys/types.h"

// The chip in front of us. Connecting makes the record, disconnecting ends it, and operations are
// handed it: there is no other place that says what chip is on the bus. A project that changes
// while the connection stands makes a new one at the next operation. Application thread only.

// An unknown layout of the protection bits.
constexpr int FLASH_FORMAT_UNKNOWN = -1;

struct FLASH_CHIP {
  SPI_FLASH_INFO Info{};  // in use; may differ from the project's where the link demands it
  i32 Row = -1;           // of the device table, or -1
  int StatusFormat = FLASH_FORMAT_UNKNOWN;
  Geometry Sectors;
  Geometry Units;
  // As read when the chip was reached, without continuation codes; none for parts without an ID.
  std::array<u8, 3> abId{};
  bool HasId = false;
  // Write enable shows in bit 1 of the plain status register, as a trial has found; page-erase
  // parts have no such latch.
  bool HasWriteLatch = false;
  bool HasFastMode = false;
  bool IsUnprotected = false;  // in this connection
  u32 TimeoutBlockProtMs = 0;
  u32 TimeoutEraseSectorMs = 0;
  u32 TimeoutEraseChipMs = 0;

  bool IsNor() const { return Info.FlashType == FLASH_TYPE_NOR; }
  // "Busy" is read from a register of its own, which also tells of errors.
  bool HasFlagStatus() const { return Info.CmdReadStatus == 0x70; }
};
