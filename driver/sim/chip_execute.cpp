#include <algorithm>

#include "driver/sim/chip.h"

namespace vortic {

namespace {

// Bits of the flag status register.
constexpr u8 kFlagProtected = 0x02;
constexpr u8 kFlagProgramFailed = 0x10;
constexpr u8 kFlagEraseFailed = 0x20;

// Can be written like the protection bits, but needs a pin that the board has tied high.
constexpr u8 kStatusRegisterLocked = 0x80;

// Sequences of the page-erase parts, behind their first byte.
constexpr u8 kUnprotectCode = 0x3D;
constexpr u8 kUnprotect[] = {0x2A, 0x7F, 0x9A};
constexpr u8 kEraseChip[] = {0x94, 0x80, 0x9A};

bool TakesData(Action what) {
  return what == Action::Program || what == Action::WriteStatus || what == Action::WriteStatus2 ||
         what == Action::Sequence;
}

}  // namespace

// A frame counts when it has all its parts and nothing behind them.
bool Chip::IsComplete() {
  const Action what = m_Frame.Form.What;
  if (m_Frame.At == Stage::Instruction) {
    return m_Frame.NumStageBits == 0 ? false : Refuse(ClientFault::BitsNotWholeBytes);
  }
  if (m_Frame.At != Stage::Data) {
    return Refuse(m_Frame.NumStageBits % 8 != 0 ? ClientFault::BitsNotWholeBytes
                                                : ClientFault::TruncatedFrame);
  }
  if (IsSender()) {
    return true;
  }
  if (m_Frame.NumDataBits % 8 != 0) {
    return Refuse(ClientFault::BitsNotWholeBytes);
  }
  if (TakesData(what)) {
    return m_NumCollected != 0 || Refuse(ClientFault::TruncatedFrame);
  }
  return m_Frame.NumDataBits == 0 || Refuse(ClientFault::WrongAddressLength);
}

// Runs at the rising edge of chip select, with a frame that was heard from its start.
void Chip::Execute() {
  if (!IsComplete()) {
    return;
  }
  const Action what = m_Frame.Form.What;
  if (what != Action::Reset && what != Action::ResetEnable) {
    m_ResetEnabled = false;
  }
  switch (what) {
    case Action::WriteEnable:
      m_WriteEnabled = true;
      break;
    case Action::VolatileEnable:
      m_VolatileEnabled = true;
      break;
    case Action::WriteDisable:
      m_WriteEnabled = false;
      break;
    case Action::ClearFlags:
      m_Flags = 0;
      break;
    case Action::Enter4:
    case Action::Exit4:
      m_In4ByteMode = what == Action::Enter4;
      break;
    case Action::GlobalUnlock:
      if (m_WriteEnabled) {
        m_WriteEnabled = m_IsLocked = false;
      } else {
        AddFault(ClientFault::NoWriteEnable);
      }
      break;
    case Action::Program:
      ExecuteProgram();
      break;
    case Action::Erase:
      ExecuteErase(m_Frame.Addr & ~(m_Frame.Form.EraseBytes - 1), m_Frame.Form.EraseBytes,
                   EraseTimeNs(m_Frame.Form.EraseBytes));
      break;
    case Action::EraseChip:
      ExecuteErase(0, m_Traits.Size, m_Traits.EraseChipNs);
      break;
    case Action::WriteStatus:
      ExecuteStatusWrite(Operation::WriteStatus);
      break;
    case Action::WriteStatus2:
      ExecuteStatusWrite(Operation::WriteStatus2);
      break;
    case Action::Sequence:
      ExecuteSequence();
      break;
    case Action::ResetEnable:
      m_ResetEnabled = true;
      break;
    case Action::Reset:
      ExecuteReset();
      break;
    default:
      break;
  }
}

// The latch is asked first: without it a part does not even look at its protection.
// Whether the array may be changed now.
bool Chip::MayChange() {
  if (m_Traits.NeedsWriteEnable && !m_WriteEnabled) {
    AddFault(ClientFault::NoWriteEnable);
    return false;
  }
  if (m_IsLocked || (m_Status & m_Traits.ProtectMask) != 0) {
    AddFault(ClientFault::Protected);
    const u8 failed = m_Frame.Form.What == Action::Program ? kFlagProgramFailed : kFlagEraseFailed;
    m_Flags = static_cast<u8>(m_Flags | failed | kFlagProtected);
    return false;
  }
  return true;
}

void Chip::ExecuteProgram() {
  if (!MayChange()) {
    return;
  }
  const u64 offset = m_Frame.Addr % m_Buffer.size();
  if (offset + m_NumCollected > m_Buffer.size()) {
    AddFault(m_Traits.Kind == ChipKind::Fram ? ClientFault::AddressBeyondChip
                                             : ClientFault::PageWrap);
  }
  StartOperation(Operation::Program, m_Frame.Addr, std::min<u64>(m_NumCollected, m_Buffer.size()),
                 m_Traits.ProgramNs);
}

void Chip::ExecuteErase(u64 addr, u64 numBytes, u64 ns) {
  if (MayChange()) {
    StartOperation(Operation::Erase, addr, std::min(numBytes, m_Traits.Size), ns);
  }
}

// Further bytes of the frame, meant for further registers, are taken and left.
void Chip::ExecuteStatusWrite(Operation operation) {
  if (m_Frame.WasVolatileEnabled) {
    if (operation == Operation::WriteStatus2) {
      m_LiveStatus2 = m_aSmall[0];
    }
    return;  // volatile protection bits change nothing that stays: not simulated
  }
  if (!m_WriteEnabled) {
    AddFault(ClientFault::NoWriteEnable);
    return;
  }
  StartOperation(operation, 0, 0, m_Traits.StatusWriteNs);
}

void Chip::ExecuteSequence() {
  if (m_NumCollected != 3) {
    AddFault(m_NumCollected < 3 ? ClientFault::TruncatedFrame : ClientFault::WrongAddressLength);
    return;
  }
  const bool isUnprotect = m_Frame.Code == kUnprotectCode;
  if (!std::equal(m_aSmall, m_aSmall + 3, isUnprotect ? kUnprotect : kEraseChip)) {
    AddFault(ClientFault::UnknownInstruction);
  } else if (isUnprotect) {
    m_Status = static_cast<u8>(m_Status & ~m_Traits.ProtectMask);
  } else {
    ExecuteErase(0, m_Traits.Size, m_Traits.EraseChipNs);
  }
}

void Chip::ExecuteReset() {
  if (!m_ResetEnabled) {
    AddFault(ClientFault::UnknownInstruction);  // without its enable it is none
    return;
  }
  LoseVolatile();
}

void Chip::StartOperation(Operation operation, u64 addr, u64 numBytes, u64 ns) {
  m_Operation = operation;
  m_OperationAddr = addr;
  m_OperationBytes = numBytes;
  ++m_NumOperations;
  const u64 busyNs = static_cast<u64>(static_cast<double>(ns) * m_Slow);
  m_ReadyNs = m_Clock.Now() + busyNs;
  m_BusyTotalNs += busyNs;
  if (m_CutIsArmed) {
    LosePower();
    m_IsCut = true;
  } else if (busyNs == 0 && !m_StaysBusy) {
    FinishOperation();
  }
}

void Chip::StayBusy() {
  Settle();  // what is over is over
  m_StaysBusy = true;
}

// A part without power shows nothing, not even that it is busy.
bool Chip::IsBusy() {
  Settle();
  return m_IsPowered && m_Operation != Operation::None;
}

void Chip::Settle() {
  if (m_Operation != Operation::None && !m_StaysBusy && m_Clock.Now() >= m_ReadyNs) {
    FinishOperation();
  }
}

void Chip::FinishOperation() {
  if (m_Operation == Operation::None) {
    return;
  }
  Apply(m_StaysBusy);
  m_Operation = Operation::None;
  m_WriteEnabled = false;
}

// Half: the power failed, or the operation never came to its end.
void Chip::Apply(bool half) {
  switch (m_Operation) {
    case Operation::Program:
      ApplyProgram(half);
      break;
    case Operation::Erase:
      m_Store.Erase(m_OperationAddr, half ? m_OperationBytes / 2 : m_OperationBytes);
      break;
    case Operation::WriteStatus: {
      const u8 writable = static_cast<u8>(m_Traits.ProtectMask | kStatusRegisterLocked);
      m_Status = half ? m_Status : static_cast<u8>(m_aSmall[0] & writable);
      break;
    }
    case Operation::WriteStatus2:
      m_Status2 = half ? m_Status2 : m_aSmall[0];
      m_LiveStatus2 = m_Status2;
      break;
    case Operation::None:
      break;
  }
}

// The range may wrap in the page: then it is two pieces, the second at the start of the page.
void Chip::ApplyProgram(bool half) {
  const u64 pageBytes = m_Buffer.size();
  const u64 base = m_OperationAddr - m_OperationAddr % pageBytes;
  // When more came than the page holds the last of it counts, which is all of the buffer.
  const u64 first = m_OperationBytes == pageBytes ? 0 : m_OperationAddr % pageBytes;
  const u64 limit = half ? pageBytes / 2 : pageBytes;
  bool asked = false;
  const auto apply = [&](u64 from, u64 to) {
    to = std::min(to, limit);
    if (from >= to) {
      return;
    }
    const std::span<const u8> data = std::span(m_Buffer).subspan(from, to - from);
    if (m_Traits.Kind == ChipKind::Fram || m_Traits.Kind == ChipKind::Eeprom) {
      m_Store.Replace(base + from, data);
    } else {
      asked = m_Store.Program(base + from, data) || asked;
    }
  };
  const u64 end = first + m_OperationBytes;
  apply(first, std::min(end, pageBytes));
  if (end > pageBytes) {
    apply(0, end - pageBytes);
  }
  if (asked) {
    AddFault(ClientFault::BitZeroToOne);
  }
}

// A cut is for good: only opening the probe again brings a new chip.
void Chip::SetPower(bool isOn) {
  if (isOn == m_IsPowered || (isOn && m_IsCut)) {
    return;
  }
  if (!isOn) {
    Settle();
    LosePower();
  } else {
    m_IsPowered = true;
  }
  // What was in the middle of a frame is none for a chip that has just lost or found its power.
  m_Frame.IsIgnored = true;
}

void Chip::LosePower() {
  Apply(true);
  m_Operation = Operation::None;
  m_IsPowered = false;
  LoseVolatile();
}

void Chip::CutPower() {
  if (!IsBusy()) {
    m_CutIsArmed = true;
    return;
  }
  LosePower();
  m_IsCut = true;
}

}  // namespace vortic
