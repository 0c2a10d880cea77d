#pragma once

#include <array>

#include "sys/types.h"

namespace vortic {

// What a client of a chip can do wrong. A real chip forgives none of it, and says nothing.
enum class ClientFault : u8 {
  InstructionWhileBusy,
  NoWriteEnable,
  Protected,
  UnknownInstruction,
  BitZeroToOne,
  PageWrap,
  AddressBeyondChip,
  WrongAddressLength,
  TruncatedFrame,
  QuadNotEnabled,
  WrongLanes,
  WrongDummyCycles,
  BitsNotWholeBytes,
  ChipSelectLeftActive,
  NumKinds
};

constexpr std::size_t kNumClientFaults = static_cast<std::size_t>(ClientFault::NumKinds);

const char* ClientFaultName(ClientFault kind);

// Counts by kind, from opening to closing. One thing done wrong counts once, however long its frame
// is.
class ClientFaults {
 public:
  void Add(ClientFault kind) { ++m_Counts[static_cast<std::size_t>(kind)]; }
  u64 Count(ClientFault kind) const { return m_Counts[static_cast<std::size_t>(kind)]; }
  u64 Total() const;

 private:
  std::array<u64, kNumClientFaults> m_Counts = {};
};

}  // namespace vortic
