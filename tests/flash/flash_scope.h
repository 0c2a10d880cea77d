#pragma once

#include <deque>
#include <functional>
#include <set>
#include <string>
#include <type_traits>
#include <vector>

#include "flash/chip.h"
#include "flash/connect.h"
#include "flash/spi.h"
#include "image/memarea.h"
#include "project/project.h"
#include "tests/support/engine_scope.h"
#include "tests/support/fake_time.h"
#include "tests/support/temp_dir.h"

// An open project, settings and a front end of its own for one test. The clock moves by a
// millisecond at each look, so that deadlines pass after a known number of polls.
class FlashScope {
 public:
  FlashScope();
  ~FlashScope();
  FlashScope(const FlashScope&) = delete;
  FlashScope& operator=(const FlashScope&) = delete;

  SCRIPTED_FRONTEND& FrontEnd() { return m_Engine.FrontEnd; }
  std::string Path(const std::string& name) const { return m_Dir.file(name); }
  // Changes the project's flash description.
  static void SetFlash(const std::function<void(SPI_FLASH_INFO&)>& change);
  // The chip that the project describes, without an ID or a write latch: what is sent to it is what
  // was asked for and nothing else.
  static FLASH_CHIP MakeChip();
  static void SetProduction(const std::function<void(PROJ_PRODUCTION&)>& change);

 private:
  TempDir m_Dir;
  EngineScope m_Engine;
  FakeTime m_Time{1000000};
};

// Stands in for the driver library: notes each call as a line and answers as told.
struct FakeDriver {
  FakeDriver();
  ~FakeDriver();
  FakeDriver(const FakeDriver&) = delete;
  FakeDriver& operator=(const FakeDriver&) = delete;

  std::set<std::string> Missing;         // names
  std::set<i32> MissingFunc = {45, 72};  // indices
  const char* sOpen = nullptr;           // what opening answers
  int SelectResult = 0, HwResult = 0, ExecResult = 0, ListResult = 0, FastResult = 0,
      TransferResult = 0;
  u16 MilliVolts = 3300;
  u32 Interfaces = 1u << 5 | 1u << 14;
  i32 ProductId = 1;
  std::deque<int> WaitResults;  // of fast mode; 0 when used up
  std::deque<u8> Status;        // bytes read by single transfer; the last one stays
  bool IsDead = false;          // transfers deliver nothing
  u32 SilentFromList = ~0u;     // from this one on, lists leave their results alone
  u32 ErrorAtTransfer = 0;      // counted from 1: the error channel speaks up
  std::vector<u8> Id = {0xEF, 0x40, 0x18};
  std::vector<u8> Memory;  // read by lists; 0xFF behind its end
  // Changes the results of a list that has run.
  std::function<void(VORTIC_SPI_CMD*, u32)> OnList;

  bool IsLatchSet = false;  // write enable came, and no program or erase behind it
  bool HasLatch = true;     // shows in bit 1 of the status

  std::string Log;  // all calls
  u32 NumLists = 0;
  std::vector<u8> FastPara;
  VORTIC_TEXT_HANDLER* pfError = nullptr;

  bool Has(const std::string& line) const { return Log.find(line) != std::string::npos; }
};

// What a row of a table changes before the test runs.
using Arrangement = std::function<void(FakeDriver&)>;

// Gives a field of the fake, or of the project's flash description, a value.
template <class RECORD, class FIELD>
Arrangement With(FIELD RECORD::*pField, std::type_identity_t<FIELD> value) {
  return [=](FakeDriver& fake) {
    if constexpr (std::is_same_v<RECORD, FakeDriver>) {
      fake.*pField = value;
    } else {
      FlashScope::SetFlash([&](SPI_FLASH_INFO& info) { info.*pField = value; });
    }
  };
}

// A scope whose driver library is the fake.
struct FakeScope : FlashScope, FakeDriver {
  explicit FakeScope(const std::vector<Arrangement>& arrangements = {}) {
    for (const Arrangement& arrange : arrangements) {
      arrange(*this);
    }
  }
};

using Ranges = std::vector<std::pair<u64, u64>>;  // address, number of bytes
MEMAREA_PTR MakeImage(const Ranges& ranges, u8 Value = 0x5A);
