#include "driver/core/list_runner.h"

#include <cstddef>

#include "driver/core/text.h"

namespace vortic {

namespace {

constexpr u32 kTypeTransfer = 1;
constexpr u32 kTypePoll = 2;
// The poll repeats one byte; more would have no defined place to go.
constexpr u32 kPollBits = 8;

static_assert(sizeof(VORTIC_SPI_CMD) == 48 && offsetof(VORTIC_SPI_CMD, Result) == 44);
static_assert(sizeof(VORTIC_POLL_PARA) == 16);

// Null: the record is sound.
const char* FindFlaw(const VORTIC_SPI_CMD& cmd) {
  if (cmd.Type != kTypeTransfer && cmd.Type != kTypePoll) {
    return "unknown type";
  }
  if (!AreFlagsKnown(cmd.Flags)) {
    return "unknown flags";
  }
  if (cmd.NumBits > kMaxPhaseBits) {
    return "too many bits";
  }
  if (cmd.Type == kTypePoll && cmd.pPara == nullptr) {
    return "no poll parameters";
  }
  if (cmd.Type == kTypePoll && cmd.NumBits != kPollBits) {
    return "a poll reads 8 bits";
  }
  return nullptr;
}

// Result: bytes sent, 0 for a record that only reads or polls, negative for one that failed.
bool RunRecord(Bus& bus, VORTIC_SPI_CMD& cmd) {
  if (cmd.Type == kTypePoll) {
    u8 status = 0;
    const auto& para = *static_cast<const VORTIC_POLL_PARA*>(cmd.pPara);
    const bool isReady = bus.Poll(para, cmd.Flags, &status) == PollOutcome::Ready;
    if (cmd.pRead != nullptr) {
      *cmd.pRead = status;
    }
    cmd.Result = isReady ? VORTIC_OK : VORTIC_ERR_GENERAL;
    return isReady;
  }
  const bool isSent = bus.Shift({cmd.pWrite, cmd.pRead, cmd.NumBits, cmd.Flags});
  const i32 numBytes = cmd.pWrite != nullptr ? static_cast<i32>((cmd.NumBits + 7) / 8) : 0;
  cmd.Result = isSent ? numBytes : VORTIC_ERR_GENERAL;
  return isSent;
}

}  // namespace

int RunList(Bus& bus, std::span<VORTIC_SPI_CMD> list, std::string* pError) {
  for (std::size_t i = 0; i < list.size(); ++i) {
    if (const char* sFlaw = FindFlaw(list[i])) {
      *pError = Format("Record %zu of an SPI list is malformed: %s.", i, sFlaw);
      return VORTIC_ERR_GENERAL;
    }
  }
  bool isAlive = true;
  for (VORTIC_SPI_CMD& cmd : list) {
    if (!isAlive) {
      cmd.Result = VORTIC_ERR_GENERAL;
      continue;
    }
    isAlive = RunRecord(bus, cmd);
    if (!isAlive) {
      bus.SetChipSelect(false);  // the frame ends here, whatever was to follow in it
    }
  }
  return VORTIC_OK;
}

}  // namespace vortic
