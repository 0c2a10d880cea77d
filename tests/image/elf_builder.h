#pragma once

#include <string>
#include <vector>

#include "sys/types.h"

// Makes small ELF files of either class, also such as no linker would make.

struct ELF_TEST_SECTION {
  std::string Name;
  u64 Addr;
  std::string Data;
  u32 Type = 1;   // PROGBITS
  u64 Flags = 2;  // ALLOC
  u64 EntrySize = 0;
  bool IsApart = false;  // a gap in the file in front of it
};

struct ELF_TEST_SEGMENT {
  u64 VAddr;
  u64 PAddr;
  u64 FileSize;
  u64 MemSize;
};

// Replaces a field of the file header; the name is that of the format.
struct ELF_TEST_FIELD {
  std::string Name;
  u64 Value;
};

// Header, program headers, section data, section names, section table. The sections are numbered
// from 1, the last one is that of the names.
std::string MakeElf(bool IsElf64, const std::vector<ELF_TEST_SECTION>& Sections,
                    const std::vector<ELF_TEST_SEGMENT>& Segments,
                    const std::vector<ELF_TEST_FIELD>& Fields = {});
