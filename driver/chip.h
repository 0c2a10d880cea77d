#pragma once

#include <span>
#include <vector>

#include "driver/array_store.h"
#include "driver/chip_traits.h"
#include "driver/client_fault.h"
#include "driver/sim_clock.h"
#include "sys/types.h"

namespace vortic {

// One phase of a frame as the chip's pins see it. Null pointers: nothing is sent, nothing is taken.
struct PinPhase {
  const u8* pWrite;
  u8* pRead;
  u32 NumBits;
  u32 NumLanes;       // 1 or 4
  bool IsDummy;       // sent as dummy cycles
  bool HasQuadLines;  // the probe's interface has four data lines
};

// A simulated memory chip on the SPI bus, after its data sheet. The frame decoder takes bits as
// they come, cut into phases as the client likes. What an operation changes is applied when its
// time is over, so that cutting the power in between leaves it half done. What a client does wrong
// is counted, and has the effect that it has on a real part: mostly none.
class Chip {
 public:
  Chip(ChipTraits traits, ArrayStore& store, SimClock& clock);

  void Select();
  void Deselect();
  bool IsSelected() const { return m_IsSelected; }
  void Shift(const PinPhase& phase);

  // Power. Switching it off loses what is volatile, and leaves a running operation half done.
  void SetPower(bool isOn);
  bool IsPowered() const { return m_IsPowered; }
  // The power fails for good in the middle of the running operation, or of the next one.
  void CutPower();
  bool IsCut() const { return m_IsCut; }

  // Operations never end from now on.
  void StayBusy();
  void SetSlowFactor(double factor) { m_Slow = factor; }
  void SetStatusRegister(u8 value) { m_Status = value; }

  bool IsBusy();
  bool IsBusyForever() { return IsBusy() && m_StaysBusy; }
  u64 ReadyNs() const { return m_ReadyNs; }
  // Rises with every operation that was started.
  u64 OperationCount() const { return m_NumOperations; }
  // A frame is open that answers with a status byte.
  bool IsStatusFrame() const;
  u64 BusyTotalNs() const { return m_BusyTotalNs; }
  // Applies what the running operation changes, its time being over or not.
  void FinishOperation();

  void AddFault(ClientFault kind) { m_Faults.Add(kind); }
  const ClientFaults& Faults() const { return m_Faults; }
  const ChipTraits& Traits() const { return m_Traits; }

 private:
  enum class Stage : u8 { Instruction, Address, Dummy, Data };
  enum class Operation : u8 { None, Program, Erase, WriteStatus, WriteStatus2 };

  // State of the frame since chip select went active.
  struct Frame {
    Stage At = Stage::Instruction;
    bool IsIgnored = false;
    bool IsGarbage = false;     // the data phase does not line up: what is read is not the cells
    bool HasExtraBits = false;  // sent where the part only answers
    u32 NumStageBits = 0;
    u8 Code = 0;
    Instruction Form;  // the address length of this very frame
    u64 Addr = 0;
    u64 NumDataBits = 0;
    bool WasVolatileEnabled = false;
  };

  // Decoder. The Take functions use up bits of the phase from bit Pos on and return how many.
  u32 TakeInstruction(const PinPhase& phase, u32 pos);
  u32 TakeAddress(const PinPhase& phase, u32 pos);
  u32 TakeDummy(const PinPhase& phase, u32 pos);
  void TakeData(const PinPhase& phase, u32 pos);
  u32 TakeBits(const PinPhase& phase, u32 pos, u32 numWanted, u64* pValue);
  void Decode(u8 code);
  void EnterStage(Stage stage);
  void StartData();
  bool Refuse(ClientFault kind);
  bool IsListening() const { return m_IsSelected && m_IsPowered && !m_Frame.IsIgnored; }
  bool IsSender() const;
  void Send(std::span<u8> data);
  void SendArray(std::span<u8> data);
  void Collect(std::span<const u8> data);
  u8 StatusByte();
  u8 FlagByte();

  // Execution, when chip select goes inactive.
  void Execute();
  bool IsComplete();
  bool MayChange();
  bool MayWriteStatus();
  void ExecuteProgram();
  void ExecuteErase(u64 addr, u64 numBytes, u64 ns);
  void ExecuteStatusWrite(Operation operation);
  void ExecuteSequence();
  void ExecuteReset();
  void StartOperation(Operation operation, u64 addr, u64 numBytes, u64 ns);

  // The running operation.
  void Settle();
  void Apply(bool half);
  void ApplyProgram(bool half);
  void LosePower();
  void LoseVolatile();

  const ChipTraits m_Traits;
  ArrayStore& m_Store;
  SimClock& m_Clock;
  ClientFaults m_Faults;

  bool m_IsSelected = false;
  bool m_IsPowered = true;
  bool m_IsCut = false;
  bool m_CutIsArmed = false;
  bool m_StaysBusy = false;
  double m_Slow = 1.0;
  Frame m_Frame;

  // Volatile.
  bool m_WriteEnabled = false;
  bool m_VolatileEnabled = false;
  bool m_ResetEnabled = false;
  bool m_In4ByteMode = false;
  bool m_IsLocked = false;
  u8 m_Flags = 0;  // error bits of the flag status register
  u8 m_LiveStatus2 = 0;
  // Kept without power.
  u8 m_Status = 0;
  u8 m_Status2 = 0;

  Operation m_Operation = Operation::None;
  u64 m_ReadyNs = 0;
  u64 m_OperationAddr = 0;
  u64 m_OperationBytes = 0;
  u64 m_NumOperations = 0;
  u64 m_BusyTotalNs = 0;

  // Data of a program frame, indexed by address modulo its size: that is what makes pages wrap.
  std::vector<u8> m_Buffer;
  u64 m_NumCollected = 0;
  u8 m_aSmall[4] = {};  // data of a status write or a sequence
};

}  // namespace vortic
