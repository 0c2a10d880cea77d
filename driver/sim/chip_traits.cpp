#include "driver/sim/chip_traits.h"

#include <algorithm>

namespace vortic {

namespace {

constexpr u64 kMs = 1000000;

// Typical times of data sheets.
struct EraseTime {
  u64 NumBytes;
  u64 Ns;
};
// Rising sizes; what lies between two counts as the larger one.
constexpr EraseTime kEraseTimes[] = {
    {0x800, 18 * kMs},    {0x1000, 45 * kMs},   {0x8000, 120 * kMs},
    {0x10000, 150 * kMs}, {0x20000, 250 * kMs}, {0x40000, 500 * kMs},
};
constexpr u64 kEraseMiBNs = 2500 * kMs;
constexpr u64 kEraseChipMinNs = 100 * kMs;
constexpr u64 kProgramNs = 700000;  // 256 bytes
constexpr u64 kProgramPageEraseNs = 3 * kMs;
constexpr u64 kWriteEepromNs = 5 * kMs;
constexpr u64 kStatusWriteNs = 10 * kMs;

// Status bits of block protection, by StatusRegFormat.
constexpr u8 kProtectMasks[16] = {0x5C, 0x5C, 0x1C, 0x1C, 0x3C, 0x1C, 0x7C, 0x1C,
                                  0x0C, 0x00, 0x02, 0x1C, 0x1C, 0x1C, 0x1C, 0x1C};
constexpr u8 kProtectMaskEeprom = 0x0C;
// Parts of this format come up with all blocks locked.
constexpr u32 kFormatLocked = 9;

// Indexes of a command set's bytes, in the order of SPI_FLASH_INFO.
constexpr std::size_t kCmdWriteEnable = 0;
constexpr std::size_t kCmdReadStatus = 3;
constexpr std::size_t kCmdEraseSector = 7;
constexpr std::size_t kNumAddrBytes = 11;

constexpr u8 kNumIdBytes = 6;

// Where the table leaves the second byte open, the one that most parts of the maker have.
u8 SecondIdByte(const FLASH_DEVICE& row) {
  if (!row.Ignore2ndIdByte() || row.IdByte(1) != 0) {
    return row.IdByte(1);
  }
  constexpr u8 micron = 0x20;
  return row.IdByte(0) == micron ? 0xBA : 0x40;
}

std::vector<u8> MakeId(const FLASH_DEVICE& row) {
  if (row.FlashType == FLASH_TYPE_EEPROM) {
    return {};
  }
  std::vector<u8> id = {row.IdByte(0), SecondIdByte(row), row.IdByte(2)};
  if (row.pIdMatch != nullptr) {
    const u8* pBytes = row.pIdMatch->pBytes;
    id.assign(pBytes, pBytes + row.pIdMatch->NumBytes);
  }
  id.resize(std::max<std::size_t>(id.size(), kNumIdBytes), 0);
  // Two parts share these three bytes; the fifth tells them apart.
  if (id[0] == 0x34 && id[1] == 0x2B && id[2] == 0x19) {
    id[3] = 0x0F;
    id[4] = std::string_view(row.sDevice).starts_with("S25FS") ? 0x08 : 0x03;
    id[5] = 0x90;
  }
  return id;
}

// Turns a row of the table into a data sheet. What the row leaves open, such as the instructions
// that all parts of a kind have, comes from the sheets of that kind.
class TraitsBuilder {
 public:
  explicit TraitsBuilder(const FLASH_DEVICE& row) : m_Row(row) {}

  ChipTraits Build();

 private:
  Instruction& At(u8 code) { return m_Traits.Instructions[code]; }
  void Add(u8 code, Action what) { At(code) = {.What = what}; }
  // An instruction with an address of the part's own length.
  Instruction Addressed(Action what) const;
  void AddErase(u8 code, u64 numBytes, u8 numAddrBytes, bool followsMode);
  void AddCommon();
  void AddNor();
  void AddFourByteForms();
  void AddQuad();
  void AddPageErase();

  const FLASH_DEVICE& m_Row;
  ChipTraits m_Traits;
};

ChipTraits TraitsBuilder::Build() {
  const auto& cmd = m_Row.pCmdSet->abCmd;
  ChipTraits& t = m_Traits;
  t.Name = m_Row.sDevice;
  t.Size = u64{1} << m_Row.TotalSizeShift();
  t.PageBytes = 1U << std::min(m_Row.PageSizeShift(), m_Row.TotalSizeShift());
  t.NeedsWriteEnable = cmd[kCmdWriteEnable] != 0;
  t.Id = MakeId(m_Row);
  t.StatusWriteNs = kStatusWriteNs;
  t.EraseChipNs = std::max(kEraseChipMinNs, (t.Size * kEraseMiBNs) >> 20);
  t.ProgramNs = kProgramNs * std::max<u64>(1, t.PageBytes / 256);
  t.ProtectMask = kProtectMasks[m_Row.StatusRegFormat()];
  if (m_Row.FlashType == FLASH_TYPE_FRAM) {
    t.Kind = ChipKind::Fram;
    t.ProgramNs = t.StatusWriteNs = 0;
    t.ProtectMask = kProtectMaskEeprom;
  } else if (m_Row.FlashType == FLASH_TYPE_EEPROM) {
    t.Kind = ChipKind::Eeprom;
    t.ProgramNs = t.StatusWriteNs = kWriteEepromNs;
    t.ProtectMask = kProtectMaskEeprom;
  } else if (!t.NeedsWriteEnable) {
    t.Kind = ChipKind::PageErase;
    t.ProgramNs = kProgramPageEraseNs;
  } else {
    t.StartsLocked = m_Row.StatusRegFormat() == kFormatLocked;
    t.HasFlagStatus = cmd[kCmdReadStatus] == 0x70;
  }
  AddCommon();
  if (t.Kind == ChipKind::Nor) {
    AddNor();
  } else if (t.Kind == ChipKind::PageErase) {
    AddPageErase();
  }
  return t;
}

Instruction TraitsBuilder::Addressed(Action what) const {
  const u32 mode = m_Row.AddrMode4B();
  const u8 numBytes = mode == FLASH_ADDR_4BYTE_FAST_READ         ? 4
                      : m_Row.pCmdSet->abCmd[kNumAddrBytes] == 2 ? 2
                                                                 : 3;
  return {.What = what, .NumAddrBytes = numBytes, .FollowsMode = mode == FLASH_ADDR_4BYTE_MODE};
}

void TraitsBuilder::AddErase(u8 code, u64 numBytes, u8 numAddrBytes, bool followsMode) {
  At(code) = {.What = Action::Erase,
              .NumAddrBytes = numAddrBytes,
              .FollowsMode = followsMode,
              .EraseBytes = numBytes};
}

// What every part has but for the identification, which EEPROMs lack.
void TraitsBuilder::AddCommon() {
  if (!m_Traits.Id.empty()) {
    Add(0x9F, Action::ReadId);
  }
  At(0x03) = Addressed(Action::Read);
  At(0x02) = Addressed(Action::Program);
  if (m_Traits.Kind != ChipKind::Eeprom) {
    At(0x0B) = Addressed(Action::Read);
    At(0x0B).NumDummyCycles = 8;
  }
  if (m_Traits.Kind != ChipKind::PageErase) {
    Add(0x06, Action::WriteEnable);
    Add(0x04, Action::WriteDisable);
    Add(0x05, Action::ReadStatus);
    Add(0x01, Action::WriteStatus);
  }
}

// Four KiB are the smallest unit nearly everywhere; parts whose sectors are that small have no
// other.
void TraitsBuilder::AddNor() {
  const u8 codeErase = m_Row.pCmdSet->abCmd[kCmdEraseSector];
  const u64 sectorBytes = u64{1} << m_Row.SectorSizeShift();
  const Instruction form = Addressed(Action::Erase);
  if (sectorBytes > 0x1000) {
    AddErase(0x20, 0x1000, form.NumAddrBytes, form.FollowsMode);
  }
  AddErase(codeErase, sectorBytes, form.NumAddrBytes, form.FollowsMode);
  Add(0xC7, Action::EraseChip);
  Add(0x60, Action::EraseChip);
  Add(0xAB, Action::Nop);  // leaves a power-down that nobody entered
  Add(0x66, Action::ResetEnable);
  Add(0x99, Action::Reset);
  if (m_Traits.HasFlagStatus) {
    Add(0x70, Action::ReadFlags);
    Add(0x50, Action::ClearFlags);
  }
  if (m_Traits.StartsLocked) {
    Add(0x98, Action::GlobalUnlock);
  }
  AddFourByteForms();
  AddQuad();
}

// Dedicated instructions leave the short forms as they are: those reach the first 16 MiB only.
void TraitsBuilder::AddFourByteForms() {
  if (m_Row.AddrMode4B() == FLASH_ADDR_4BYTE_MODE) {
    Add(0xB7, Action::Enter4);
    Add(0xE9, Action::Exit4);
  } else if (m_Row.AddrMode4B() == FLASH_ADDR_4BYTE_CMDS) {
    At(0x13) = {.What = Action::Read, .NumAddrBytes = 4};
    At(0x0C) = {.What = Action::Read, .NumAddrBytes = 4, .NumDummyCycles = 8};
    At(0x12) = {.What = Action::Program, .NumAddrBytes = 4};
    AddErase(0xDC, u64{1} << m_Row.SectorSizeShift(), 4, false);
    AddErase(0x21, std::min<u64>(0x1000, u64{1} << m_Row.SectorSizeShift()), 4, false);
  }
}

// Instruction and address on one lane, data on four: the form that the table has.
void TraitsBuilder::AddQuad() {
  // Two makers whose parts have a second status register.
  if ((m_Traits.Id[0] == 0xEF || m_Traits.Id[0] == 0xC8) && m_Traits.Id[1] >= 0x40) {
    Add(0x35, Action::ReadStatus2);
    Add(0x31, Action::WriteStatus2);
  }
  if (m_Row.pQuadConfig == nullptr) {
    return;
  }
  m_Traits.HasQuad = true;
  Add(0x50, Action::VolatileEnable);
  const u8* pCmds = m_Row.pQuadConfig->pCmds;
  At(pCmds[0]) = Addressed(Action::Read);
  At(pCmds[0]).NumDummyCycles = pCmds[2];
  At(pCmds[0]).DataLanes = 4;
  At(pCmds[1]) = Addressed(Action::Program);
  At(pCmds[1]).DataLanes = 4;
}

// Erasing in pages or blocks, status byte with ready in bit 7, long sequences for what is
// dangerous.
void TraitsBuilder::AddPageErase() {
  const FLASH_CMD_SET& set = *m_Row.pCmdSet;
  Add(set.abCmd[kCmdReadStatus], Action::ReadStatus);
  // Clients that know write enable as a fixed step send what their table has for it: 0.
  Add(0x00, Action::Nop);
  AddErase(set.abCmd[kCmdEraseSector], u64{1} << m_Row.SectorSizeShift(), 3, false);
  AddErase(0x81, m_Traits.PageBytes, 3, false);
  Add(0x3D, Action::Sequence);
  Add(0xC7, Action::Sequence);
}

}  // namespace

ChipTraits MakeChipTraits(const FLASH_DEVICE& row) {
  return TraitsBuilder(row).Build();
}

u64 EraseTimeNs(u64 numBytes) {
  for (const EraseTime& row : kEraseTimes) {
    if (numBytes <= row.NumBytes) {
      return row.Ns;
    }
  }
  const EraseTime& last = kEraseTimes[std::size(kEraseTimes) - 1];
  return last.Ns * (numBytes / last.NumBytes);
}

}  // namespace vortic
