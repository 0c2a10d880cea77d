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

  // Something is off for a while and comes back. It begins DelayNs behind the start of its call and
  // lasts a number of calls, that one included, or a time of the probe's clock.
  struct Dip {
    bool IsLink;  // else the target's power
    bool IsTimed;
    u64 Length;  // calls, or ns
    u64 Call;
    u64 DelayNs;
  };

  u64 DisconnectAt = 0;
  std::vector<u64> TimeoutAt;
  std::vector<u64> NakAt;
  std::vector<u64> MuteAt;   // fails without a text
  std::vector<u64> LostAt;   // carried out, but its answer never comes
  std::vector<u64> StaleAt;  // carried out, but what comes back is the answer of the call before
  std::vector<Dip> Dips;
  u64 NoiseEvery = 0;  // one flipped bit in every so many bytes read; 0: none
  u64 FastBusyAt = 0;
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
