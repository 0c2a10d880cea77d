#pragma once

#include <gtest/gtest.h>

#include "programmer/dynbuffer.h"
#include "programmer/hooks.h"
#include "tests/project/project_scope.h"

// Readers of the programmer's files, written from their layouts alone, as a programmer reads them.
// Each checks every offset, length, filling and checksum, and fails the test at a wrong one.

using Bytes = std::vector<u8>;

struct ConfigFile {
  std::string Text;
  std::vector<std::pair<u32, Bytes>> Items;  // tag and data, the end item included
  u32 End;                                   // behind the last item
  // "TAG:HEX TAG:HEX ..." of the items with a tag within the limits.
  std::string Print(u32 first = 0, u32 last = ~0u) const;
};
ConfigFile ReadConfig(const Bytes& file);

struct DataFile {
  std::string Text;
  u32 DataOffset;
  std::vector<std::pair<u64, Bytes>> Blocks;  // address and data
};
DataFile ReadData(const Bytes& file);

// Bit by bit, for a reflected polynomial.
u32 SlowCrc(const Bytes& data, u32 crc = 0, u32 poly = 0xEDB88320);
Bytes Content(const DYNBUFFER& buffer);

// Copies of the project's blocks.
struct Blocks {
  std::unique_ptr<PROJ_CPU> Cpu = GetBlock(PROJECT_GetCpu);
  std::unique_ptr<SPI_FLASH_INFO> Flash = GetBlock(PROJECT_GetFlash);
  std::unique_ptr<PROJ_PRODUCTION> Production = GetBlock(PROJECT_GetProduction);
  std::unique_ptr<PROJ_PERFORMANCE> Performance = GetBlock(PROJECT_GetPerformance);
  void Store() const;
};

// A project in memory for a described device of 64 pages of 256 bytes, at 03:04 of a fixed day.
struct ProgrammerScope : ProjectScope {
  ProgrammerScope();
  ~ProgrammerScope() { ZELMONT_Hooks = SavedHooks; }
  const ZELMONT_HOOKS SavedHooks = ZELMONT_Hooks;
};
