#pragma once

#include <span>
#include <vector>

#include "driver/core/clock.h"
#include "driver/core/config.h"
#include "driver/sim/array_store.h"
#include "driver/sim/chip_traits.h"
#include "driver/sim/client_fault.h"
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
  Chip(ChipTraits traits, ArrayStore& store, Clock& clock);

  // Edges of chip select. A second edge of the same kind is none: the line is there already.
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

  void SetFloat(FloatLevel level) { m_Float = level; }
  // What the data line reads while nobody drives it.
  void FillFloating(std::span<u8> data) const;

  // Operations never end from now on.
  void StayBusy();
  // Both before the first frame.
  void SetSlowFactor(double factor) { m_Slow = factor; }
  void SetStatusRegister(u8 value) { m_Status = value; }

  // Not const: an operation whose time is over is applied by whoever looks first.
  bool IsBusy();
  bool IsBusyForever() { return IsBusy() && m_StaysBusy; }
  // Clock at which the running operation ends; of no meaning when none runs.
  u64 ReadyNs() const { return m_ReadyNs; }
  // Rises with every operation that was started.
  u64 OperationCount() const { return m_NumOperations; }
  // A frame is open that answers with a status byte.
  bool IsStatusFrame() const;
  // Sum of the times of all operations that were started, their end reached or not.
  u64 BusyTotalNs() const { return m_BusyTotalNs; }
  // Applies what the running operation changes, its time being over or not.
  void FinishOperation();

  void AddFault(ClientFault kind) { m_Faults.Add(kind); }
  const ClientFaults& Faults() const { return m_Faults; }
  const ChipTraits& Traits() const { return m_Traits; }

 private:
  // A frame is an instruction byte, then as many address bytes, dummy cycles and data bits as the
  // instruction wants. The stages follow each other in this order; those of no length are skipped.
  enum class Stage : u8 { Instruction, Address, Dummy, Data };
  enum class Operation : u8 { None, Program, Erase, WriteStatus, WriteStatus2 };

  // State of the frame since chip select went active.
  struct Frame {
    Stage At = Stage::Instruction;
    bool IsIgnored = false;
    bool IsGarbage = false;     // the data phase does not line up: what is read is not the cells
    bool HasExtraBits = false;  // sent where the part only answers
                                // Bits (dummy: cycles) of the stage that have come so far.
    u32 NumStageBits = 0;
    u8 Code = 0;
    Instruction Form;  // the address length of this very frame
                       // Where the next byte is read; for the identification, its index.
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
  // Counts, and lets the rest of the frame pass unheard. False, to be returned.
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
  // Write latch and protection; counts what stands in the way.
  bool MayChange();
  bool MayWriteStatus();
  void ExecuteProgram();
  void ExecuteErase(u64 addr, u64 numBytes, u64 ns);
  void ExecuteStatusWrite(Operation operation);
  void ExecuteSequence();
  void ExecuteReset();
  // Takes the operation to its end at once when it needs no time.
  void StartOperation(Operation operation, u64 addr, u64 numBytes, u64 ns);

  // The running operation.
  void Settle();
  void Apply(bool half);
  void ApplyProgram(bool half);
  void LosePower();
  void LoseVolatile();

  const ChipTraits m_Traits;
  ArrayStore& m_Store;
  Clock& m_Clock;
  ClientFaults m_Faults;

  bool m_IsSelected = false;
  bool m_IsPowered = true;
  bool m_IsCut = false;
  // Power fails as soon as an operation runs.
  bool m_CutIsArmed = false;
  bool m_StaysBusy = false;
  double m_Slow = 1.0;
  FloatLevel m_Float = FloatLevel::One;
  bool m_LastBit = true;  // that the part drove onto the line
  Frame m_Frame;

  // Volatile.
  bool m_WriteEnabled = false;
  bool m_VolatileEnabled = false;
  bool m_ResetEnabled = false;
  bool m_In4ByteMode = false;
  bool m_IsLocked = false;
  u8 m_Flags = 0;  // error bits of the flag status register
                   // The bits in effect: the stored ones, or what a volatile write put there.
  u8 m_LiveStatus2 = 0;
  // Kept without power.
  u8 m_Status = 0;
  u8 m_Status2 = 0;

  Operation m_Operation = Operation::None;
  u64 m_ReadyNs = 0;
  // Where a program starts, or the first byte of the range that is erased.
  u64 m_OperationAddr = 0;
  u64 m_OperationBytes = 0;
  u64 m_NumOperations = 0;
  u64 m_BusyTotalNs = 0;

  // Data of a program frame, indexed by address modulo its size: that is what makes pages wrap.
  // Survives the frame: it is applied when the part is ready.
  std::vector<u8> m_Buffer;
  u64 m_NumCollected = 0;
  u8 m_aSmall[4] = {};  // data of a status write or a sequence
};

}  // namespace vortic
