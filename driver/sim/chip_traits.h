#pragma once

#include <array>
#include <string>
#include <vector>

#include "catalogue/devices/device_table.h"
#include "sys/types.h"

namespace vortic {

// NOR flash: pages, sectors, write latch. Page-erase: flash with small erase units and no latch.
// FRAM: no pages, no waiting. EEPROM: pages, bytes are replaced.
enum class ChipKind : u8 { Nor, PageErase, Fram, Eeprom };

// What an instruction makes the chip do.
enum class Action : u8 {
  None,  // the part has no such instruction
  Nop,
  WriteEnable,
  VolatileEnable,  // the next status write changes the volatile bits only
  WriteDisable,
  ReadId,
  ReadStatus,
  ReadFlags,
  ClearFlags,
  ReadStatus2,
  WriteStatus,
  WriteStatus2,
  Read,
  Program,
  Erase,
  EraseChip,
  Enter4,
  Exit4,
  GlobalUnlock,
  Sequence,  // four fixed bytes, told apart by the first
  ResetEnable,
  Reset,
};

struct Instruction {
  Action What = Action::None;
  u8 NumAddrBytes = 0;
  bool FollowsMode = false;  // one address byte more in 4-byte mode
  u8 NumDummyCycles = 0;
  u8 DataLanes = 1;
  u64 EraseBytes = 0;
};

// The data sheet of a part, as far as the simulation follows it.
struct ChipTraits {
  std::string Name;
  ChipKind Kind = ChipKind::Nor;
  u64 Size = 0;
  // Program data wraps at this; FRAM has no such border.
  u32 PageBytes = 0;
  // The page-erase parts have no latch.
  bool NeedsWriteEnable = true;
  bool HasFlagStatus = false;  // instruction 70, bit 7 is 1 when ready
  bool StartsLocked = false;   // opened by instruction 98 only
  bool HasQuad = false;
  u8 ProtectMask = 0;  // status bits that protect the array
  std::vector<u8> Id;  // empty: the part has none
  u64 ProgramNs = 0;   // for a page
  u64 StatusWriteNs = 0;
  u64 EraseChipNs = 0;
  // By instruction byte: decoding is one look.
  std::array<Instruction, 256> Instructions = {};
};

ChipTraits MakeChipTraits(const FLASH_DEVICE& row);

// Time that an erase of that many bytes takes on a typical part.
u64 EraseTimeNs(u64 numBytes);

}  // namespace vortic
