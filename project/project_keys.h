#pragma once

#include <span>

#include "sys/types.h"

// The scalar keys of the project file, a table a section. Reader, writer and the values of a new
// project all walk these tables.
//
// The file begins with the version that wrote it, which nobody reads, and goes on in sections:
//
//   "  AppVersion = 93800"
//   "[GENERAL]"      how to reach the target, the data file
//   "[JTAG]"         interface speed
//   "[FLASH]"        kind and geometry of the chip, its ID when that is to be checked
//   "[CPU]"          init and exit steps, in the order in which they were written
//   "[SPI]"          instructions, status register, addressing
//   "[QSPI]"         quad instructions and the steps that switch quad mode on
//   "[PRODUCTION]"   erase type, target power, serial numbers, timeouts
//   "[PERFORMANCE]"
//
// Strings, arrays and steps are no scalars and stand in reader and writer. A value above its limit
// is cut silently, before it is narrowed to its field: 300 in a byte is 255.

enum class KeyForm : u8 { Dec, Hex32, Hex8 };

// Who treats the key apart.
enum class KeyRule : u8 {
  Plain,
  NotRead,   // the reader has a rule of its own for a missing key
  InitOnly,  // written only when SendInitCommands is set
};

struct PROJECT_KEY {
  const char* sName;
  u32 Offset;  // of the field in its block
  u32 Width;   // bytes of the field, 1 or 4
  KeyForm Form;
  u32 Min, Max;
  u32 Missing;  // value when the key is missing or unreadable
  u32 New;      // value in a new project
  KeyRule Rule = KeyRule::Plain;
};

using PROJECT_KEYS = std::span<const PROJECT_KEY>;

// Blocks: PROJ_GENERAL; PROJ_CPU; SPI_FLASH_INFO four times; PROJ_PRODUCTION; PROJ_PERFORMANCE.
PROJECT_KEYS PROJECT_GeneralKeys();
PROJECT_KEYS PROJECT_JtagKeys();
PROJECT_KEYS PROJECT_FlashKeys();
PROJECT_KEYS PROJECT_SpiKeys();      // up to SendInitCommands
PROJECT_KEYS PROJECT_SpiAddrKeys();  // the rest of the section
PROJECT_KEYS PROJECT_QspiKeys();
PROJECT_KEYS PROJECT_ProductionKeys();
PROJECT_KEYS PROJECT_PerformanceKeys();

u32 PROJECT_GetField(const PROJECT_KEY& key, const void* pBlock);
// Cuts Value into the key's limits.
void PROJECT_SetField(const PROJECT_KEY& key, void* pBlock, u32 Value);

// Name that stands for an EEPROM without a row of the table.
constexpr char PROJECT_CUSTOM_DEVICE[] = "Custom";
