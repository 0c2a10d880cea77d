#include "driver/sim/chip.h"

#include <algorithm>
#include <cstring>

namespace vortic {

namespace {

constexpr u8 kStatusBusy = 0x01;
constexpr u8 kStatusWriteEnabled = 0x02;
constexpr u8 kFlagReady = 0x80;
constexpr u8 kQuadEnable = 0x02;  // of status register 2

// Bits of the buffer of a phase, most significant first. Lines that nobody drives read as 1.
u32 BitAt(const u8* pBytes, u32 pos) {
  return pBytes == nullptr ? 1U : pBytes[pos / 8] >> (7 - pos % 8) & 1U;
}

// These are answered by a busy part too.
bool IsStatusAction(Action what) {
  return what == Action::ReadStatus || what == Action::ReadFlags || what == Action::ReadStatus2;
}

// Bits 2 to 5 of the page-erase parts' status byte.
// Two steps for each doubling, from 2 Mbit on.
u8 DensityCode(u64 size) {
  u32 log2MBit = 0;
  while ((u64{0x20000} << log2MBit) < size) {
    ++log2MBit;
  }
  return static_cast<u8>((2 * log2MBit + 3) & 0xF);
}

}  // namespace

Chip::Chip(ChipTraits traits, ArrayStore& store, Clock& clock)
    : m_Traits(std::move(traits)), m_Store(store), m_Clock(clock) {
  // Without pages the array as a whole is one.
  m_Buffer.resize(m_Traits.Kind == ChipKind::Fram ? m_Traits.Size : m_Traits.PageBytes);
  LoseVolatile();
}

void Chip::LoseVolatile() {
  m_WriteEnabled = m_VolatileEnabled = m_ResetEnabled = m_In4ByteMode = false;
  m_IsLocked = m_Traits.StartsLocked;
  m_Flags = 0;
  m_LiveStatus2 = m_Status2;
}

void Chip::FillFloating(std::span<u8> data) const {
  const bool isHigh = m_Float == FloatLevel::One || (m_Float == FloatLevel::Last && m_LastBit);
  std::fill(data.begin(), data.end(), isHigh ? u8{0xFF} : u8{0});
}

void Chip::Select() {
  if (m_IsSelected) {
    return;  // no edge on the line: the frame goes on
  }
  m_IsSelected = true;
  m_Frame = Frame();
  m_NumCollected = 0;
}

// The rising edge is what carries an instruction out; a frame that was cut short does nothing.
void Chip::Deselect() {
  if (!m_IsSelected) {
    return;
  }
  m_IsSelected = false;
  if (m_IsPowered && !m_Frame.IsIgnored) {
    Execute();
  }
}

bool Chip::Refuse(ClientFault kind) {
  m_Faults.Add(kind);
  m_Frame.IsIgnored = true;
  return false;
}

// A phase may hold any number of stages, and a stage may spread over several phases: lists cut
// frames at will. Only the data stage always takes all that is left.
void Chip::Shift(const PinPhase& phase) {
  const std::size_t numBytes = (std::size_t{phase.NumBits} + 7) / 8;
  if (IsListening() && phase.NumLanes != 1 && !phase.HasQuadLines) {
    Refuse(ClientFault::WrongLanes);
  }
  // Until the part drives the line, and when it never does, it reads as 1.
  if (phase.pRead != nullptr && (!IsListening() || m_Frame.At != Stage::Data)) {
    FillFloating({phase.pRead, numBytes});
  }
  for (u32 pos = 0; pos < phase.NumBits && IsListening();) {
    switch (m_Frame.At) {
      case Stage::Instruction:
        pos += TakeInstruction(phase, pos);
        break;
      case Stage::Address:
        pos += TakeAddress(phase, pos);
        break;
      case Stage::Dummy:
        pos += TakeDummy(phase, pos);
        break;
      case Stage::Data:
        TakeData(phase, pos);
        return;
    }
  }
}

u32 Chip::TakeBits(const PinPhase& phase, u32 pos, u32 numWanted, u64* pValue) {
  const u32 numTaken = std::min(numWanted - m_Frame.NumStageBits, phase.NumBits - pos);
  for (u32 i = 0; i < numTaken; ++i) {
    *pValue = *pValue << 1 | BitAt(phase.pWrite, pos + i);
  }
  m_Frame.NumStageBits += numTaken;
  return numTaken;
}

u32 Chip::TakeInstruction(const PinPhase& phase, u32 pos) {
  if (phase.NumLanes != 1) {
    Refuse(ClientFault::WrongLanes);
    return 0;
  }
  u64 code = m_Frame.Code;
  const u32 numTaken = TakeBits(phase, pos, 8, &code);
  m_Frame.Code = static_cast<u8>(code);
  if (m_Frame.NumStageBits == 8) {
    Decode(m_Frame.Code);
  }
  return numTaken;
}

// The state of the part at the end of the instruction byte decides whether the frame is heard at
// all.
void Chip::Decode(u8 code) {
  const Instruction& form = m_Traits.Instructions[code];
  Settle();
  if (IsBusy() && !IsStatusAction(form.What)) {
    Refuse(ClientFault::InstructionWhileBusy);
    return;
  }
  if (form.What == Action::None) {
    Refuse(ClientFault::UnknownInstruction);
    return;
  }
  if (form.DataLanes == 4 && (m_LiveStatus2 & kQuadEnable) == 0) {
    Refuse(ClientFault::QuadNotEnabled);
    return;
  }
  m_Frame.Form = form;
  if (form.FollowsMode && m_In4ByteMode) {
    ++m_Frame.Form.NumAddrBytes;
  }
  // Counts for the very next instruction only.
  m_Frame.WasVolatileEnabled = m_VolatileEnabled;
  m_VolatileEnabled = false;
  EnterStage(Stage::Address);
}

// Goes to a stage, or past it when the instruction has no such part.
void Chip::EnterStage(Stage stage) {
  m_Frame.NumStageBits = 0;
  m_Frame.At = stage;
  if (m_Frame.At == Stage::Address && m_Frame.Form.NumAddrBytes == 0) {
    m_Frame.At = Stage::Dummy;
  }
  if (m_Frame.At == Stage::Dummy && m_Frame.Form.NumDummyCycles == 0) {
    m_Frame.At = Stage::Data;
  }
}

u32 Chip::TakeAddress(const PinPhase& phase, u32 pos) {
  if (phase.NumLanes != 1) {
    Refuse(ClientFault::WrongLanes);
    return 0;
  }
  if (phase.pWrite == nullptr) {
    Refuse(ClientFault::WrongAddressLength);  // the client reads where the part still listens
    return 0;
  }
  const u32 numBits = 8U * m_Frame.Form.NumAddrBytes;
  const u32 numTaken = TakeBits(phase, pos, numBits, &m_Frame.Addr);
  if (m_Frame.NumStageBits == numBits) {
    if (m_Frame.Addr >= m_Traits.Size) {
      m_Faults.Add(ClientFault::AddressBeyondChip);
      m_Frame.Addr %= m_Traits.Size;  // upper address bits are not decoded
    }
    EnterStage(Stage::Dummy);
  }
  return numTaken;
}

// A client that reads already has sent too few cycles: what it gets is data, but shifted.
u32 Chip::TakeDummy(const PinPhase& phase, u32 pos) {
  // Cycles, not bits: the client may clock them on all lanes.
  if (phase.pRead != nullptr && phase.pWrite == nullptr) {
    m_Faults.Add(ClientFault::WrongDummyCycles);
    m_Frame.IsGarbage = true;
    m_Frame.At = Stage::Data;
    return 0;
  }
  if (phase.NumLanes != 1) {
    Refuse(ClientFault::WrongLanes);
    return 0;
  }
  u64 unused = 0;
  const u32 numTaken = TakeBits(phase, pos, m_Frame.Form.NumDummyCycles, &unused);
  if (m_Frame.NumStageBits == m_Frame.Form.NumDummyCycles) {
    EnterStage(Stage::Data);
  }
  return numTaken;
}

// The part answers in the data stage, or takes data in it.
bool Chip::IsSender() const {
  const Action what = m_Frame.Form.What;
  return what == Action::Read || what == Action::ReadId || IsStatusAction(what);
}

// Moves the rest of a phase. Lanes are looked at only when something moves: an empty phase that
// ends a frame may come on any.
void Chip::TakeData(const PinPhase& phase, u32 pos) {
  const u32 numBits = phase.NumBits - pos;
  const bool isAligned = pos % 8 == 0 && m_Frame.NumDataBits % 8 == 0;
  m_Frame.NumDataBits += numBits;
  if (IsSender() && phase.pRead == nullptr && phase.pWrite != nullptr) {
    if (!m_Frame.HasExtraBits && m_Frame.Form.What == Action::Read) {
      m_Faults.Add(phase.IsDummy ? ClientFault::WrongDummyCycles : ClientFault::WrongAddressLength);
    }
    m_Frame.HasExtraBits = true;
    m_Frame.IsGarbage = true;
    return;
  }
  const bool movesData = IsSender() ? phase.pRead != nullptr : phase.pWrite != nullptr;
  if (movesData && phase.NumLanes != m_Frame.Form.DataLanes) {
    Refuse(ClientFault::WrongLanes);
    if (phase.pRead != nullptr) {
      FillFloating({phase.pRead, (std::size_t{phase.NumBits} + 7) / 8});
    }
    return;
  }
  const std::size_t numBytes = numBits / 8;
  if (IsSender()) {
    if (phase.pRead == nullptr) {
      m_Frame.Addr = (m_Frame.Addr + numBytes) % m_Traits.Size;
      return;
    }
    u8* pData = phase.pRead + pos / 8;
    m_Frame.IsGarbage = m_Frame.IsGarbage || !isAligned;
    Send({pData, numBytes});
    m_LastBit = numBytes != 0 ? (pData[numBytes - 1] & 1) != 0 : m_LastBit;
    if (numBits % 8 != 0) {
      pData[numBytes] = 0xFF;
    }
  } else {
    if (phase.pRead != nullptr) {
      FillFloating({phase.pRead + pos / 8, (std::size_t{numBits} + 7) / 8});
    }
    if (isAligned && phase.pWrite != nullptr) {
      Collect({phase.pWrite + pos / 8, numBytes});
    }
  }
}

void Chip::Send(std::span<u8> data) {
  switch (m_Frame.Form.What) {
    case Action::Read:
      SendArray(data);
      break;
    case Action::ReadId:
      // Behind its bytes the part drives the line low.
      std::fill(data.begin(), data.end(), u8{0});
      if (m_Frame.Addr < m_Traits.Id.size()) {
        const std::size_t numLeft = m_Traits.Id.size() - m_Frame.Addr;
        std::copy_n(m_Traits.Id.begin() + static_cast<std::ptrdiff_t>(m_Frame.Addr),
                    std::min(data.size(), numLeft), data.begin());
      }
      m_Frame.Addr += data.size();
      break;
    case Action::ReadStatus2:
      std::fill(data.begin(), data.end(), m_LiveStatus2);
      break;
    case Action::ReadFlags:
      std::fill(data.begin(), data.end(), FlagByte());
      break;
    default:
      std::fill(data.begin(), data.end(), StatusByte());
      break;
  }
}

// Reading goes on at address 0 behind the last byte.
void Chip::SendArray(std::span<u8> data) {
  const std::span<u8> all = data;
  while (!data.empty()) {
    const std::size_t count = std::min<u64>(data.size(), m_Traits.Size - m_Frame.Addr);
    m_Store.Read(m_Frame.Addr, data.first(count));
    m_Frame.Addr = (m_Frame.Addr + count) % m_Traits.Size;
    data = data.subspan(count);
  }
  if (m_Frame.IsGarbage) {
    // Shifted by some cycles. Inverted stands for that: it never looks like the right data.
    for (u8& byte : all) {
      byte = static_cast<u8>(~byte);
    }
  }
}

// Later bytes replace earlier ones when more than a page comes, as in the page buffer of a part.
void Chip::Collect(std::span<const u8> data) {
  if (m_Frame.Form.What != Action::Program) {
    for (u8 byte : data) {
      if (m_NumCollected < sizeof(m_aSmall)) {
        m_aSmall[m_NumCollected] = byte;
      }
      ++m_NumCollected;
    }
    return;
  }
  while (!data.empty()) {
    const std::size_t offset = (m_Frame.Addr + m_NumCollected) % m_Buffer.size();
    const std::size_t count = std::min(data.size(), m_Buffer.size() - offset);
    std::copy_n(data.begin(), count, m_Buffer.begin() + static_cast<std::ptrdiff_t>(offset));
    m_NumCollected += count;
    data = data.subspan(count);
  }
}

bool Chip::IsStatusFrame() const {
  return IsListening() && m_Frame.At == Stage::Data && IsStatusAction(m_Frame.Form.What);
}

u8 Chip::StatusByte() {
  const bool isBusy = IsBusy();
  if (m_Traits.Kind == ChipKind::PageErase) {
    constexpr u8 ready = 0x80;
    constexpr u8 binaryPages = 0x01;
    const u8 fixed = static_cast<u8>(DensityCode(m_Traits.Size) << 2 | binaryPages);
    return static_cast<u8>((isBusy ? 0 : ready) | fixed | (m_Status & m_Traits.ProtectMask));
  }
  const u32 fixed = m_Status & ~u32{kStatusBusy | kStatusWriteEnabled};
  return static_cast<u8>(fixed | (isBusy ? kStatusBusy : 0U) |
                         (m_WriteEnabled ? kStatusWriteEnabled : 0U));
}

u8 Chip::FlagByte() {
  return static_cast<u8>(m_Flags | (IsBusy() ? 0 : kFlagReady));
}

}  // namespace vortic
