#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "sys/types.h"

namespace vortic {

// The faults that a simulated probe was asked for. Calls are counted from 1 at opening, those only
// that a probe would answer over its cable. A call number of 0 means: never.
struct FaultPlan {
  // Bit 0 is the lowest.
  struct Cell {
    u64 Addr;
    u8 Bit;
  };
  struct ListResult {
    u64 Run;  // counts the runs of lists, or the listings of folders, from 1
    i32 Value;
  };

  u64 DisconnectAt = 0;
  std::vector<u64> TimeoutAt;
  std::vector<u64> NakAt;
  u64 BusyForeverAt = 0;
  u64 PowerAt = 0;
  u32 PowerMilliVolts = 0;
  // The operation of that call, or the first one behind it.
  u64 CutPowerAt = 0;
  std::vector<ListResult> ListResults;
  std::vector<ListResult> ListingResults;
  std::vector<Cell> Flipped;
  std::vector<Cell> Stuck;
  std::vector<u8> Id;
  // Factor on all times that the chip is busy.
  double Slow = 1.0;
};

// Reads the comma separated list of a configuration file. False: pReason tells what is wrong.
bool ParseFaultPlan(std::string_view text, FaultPlan* pPlan, std::string* pReason);

}  // namespace vortic
