// The flash engine on the simulator's clock, and the console program's start.
//
// The clock of a simulated chip moves with bits on the bus, busy times and call latency alone, so
// these figures are the same on every machine.
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <random>
#include <vector>

#include "app/engine/app_state.h"
#include "app/engine/log.h"
#include "app/operations/wiring.h"
#include "bench/bench.h"
#include "flash/auto.h"
#include "flash/connect.h"
#include "flash/driver.h"
#include "flash/program.h"
#include "flash/verify.h"
#include "project/project.h"
#include "project/settings.h"

namespace {

constexpr u64 kChipBytes = u64{16} << 20;
constexpr u64 kPageBytes = 256;
constexpr double kNsPerBit = 20;           // 50 MHz
constexpr double kPageProgramNs = 700000;  // as the data sheet says, and the simulator too
constexpr double kMegabytes = 16;
constexpr u64 kSectorBytes = 65536;
constexpr double kSectorEraseNs = 150e6;
// Of a page: a write enable, instruction and address, the data.
constexpr double kPageFrameBits = 8 + (1 + 3 + static_cast<double>(kPageBytes)) * 8;

struct COUNTS {
  unsigned long long ClockNs, Calls, RoundTrips, Bits, BusyNs, IdleNs, Faults;
};

COUNTS TakeCounts() {
  char acText[256] = "";
  COUNTS counts = {};
  if (VORTIC_ExecCommand("SimGetStats", acText, sizeof acText) < 0 ||
      std::sscanf(acText,
                  "ClockNs=%llu Calls=%llu RoundTrips=%llu Bits=%llu BusyNs=%llu IdleNs=%llu "
                  "Faults=%llu",
                  &counts.ClockNs, &counts.Calls, &counts.RoundTrips, &counts.Bits, &counts.BusyNs,
                  &counts.IdleNs, &counts.Faults) != 7) {
    std::fprintf(stderr, "No counts from the simulator: %s\n", acText);
  }
  return counts;
}

// What no way of doing it can save: per page a write enable, the frame and the chip's own time;
// then one read of everything.
double UnavoidableNs() {
  const double pages = static_cast<double>(kChipBytes / kPageBytes);
  const double readBits = (1 + 3 + static_cast<double>(kChipBytes)) * 8;
  return pages * (kPageFrameBits * kNsPerBit + kPageProgramNs) + readBits * kNsPerBit;
}

void WriteConfig(const std::string& fileName, u32 latencyUs) {
  std::ofstream(fileName) << "[Probe0]\nBackend = sim\nChip = W25Q128FV\nTime = virtual\n"
                          << "DisableFunctions = 45,72\nCallLatencyUs = " << latencyUs << "\n";
}

bool ProgramAndVerify(MEMAREA* pArea) {
  APP_ForgetErrors();
  FLASH_Program(pArea, true);
  FLASH_Verify(pArea);
  return APP_GetNumRunErrors() == 0 && FLASH_IsConnected();
}

void RunLatency(const std::string& dir, MEMAREA* pArea, u32 latencyUs, double bound) {
  WriteConfig(dir + "/Vortic.ini", latencyUs);
  if (FLASH_Connect() != 0) {
    BENCH_Row("connect", 1, "", BENCH_BOUND::AtMost, 0);
    return;
  }
  const COUNTS before = TakeCounts();
  const double cpuStart = BENCH_GetCpuSeconds();
  const bool passed = ProgramAndVerify(pArea);
  const double cpu = BENCH_GetCpuSeconds() - cpuStart;
  const COUNTS after = TakeCounts();
  FLASH_Disconnect();
  const std::string name = "program + verify, " + std::to_string(latencyUs) + " us a call";
  const double clockNs = static_cast<double>(after.ClockNs - before.ClockNs);
  BENCH_Row(name + ": clock / unavoidable", passed ? clockNs / UnavoidableNs() : 99, "x",
            BENCH_BOUND::AtMost, bound);
  BENCH_Note(name + ": clock", clockNs / 1e9, "s");
  BENCH_Note(name + ": calls a megabyte",
             static_cast<double>(after.Calls - before.Calls) / kMegabytes, "");
  BENCH_Note(name + ": processor time", cpu, "s");
  BENCH_Row(name + ": client faults", static_cast<double>(after.Faults - before.Faults), "",
            BENCH_BOUND::AtMost, 0);
}

MEMAREA_PTR MakeRandomImage(u64 seed) {
  std::mt19937_64 random(seed);
  std::vector<u8> data(kChipBytes);
  for (std::size_t i = 0; i < data.size(); i += sizeof(u64)) {
    const u64 value = random();
    std::memcpy(&data[i], &value, sizeof value);
  }
  MEMAREA_PTR pArea(MEMAREA_Create());
  MEMAREA_AddRange(pArea.get(), 0, data.size(), data.data());
  return pArea;
}

// One unit of a production run: what it has to move and to wait for at least, and what it took.
void RunUnit(const char* sName, MEMAREA* pArea, u64 NumErased, u64 NumProgrammed) {
  const double reads = static_cast<double>(kChipBytes + NumProgrammed * kSectorBytes) * 8;
  const double pages = static_cast<double>(NumProgrammed * kSectorBytes / kPageBytes);
  const double unavoidableNs = reads * kNsPerBit + static_cast<double>(NumErased) * kSectorEraseNs +
                               pages * (kPageFrameBits * kNsPerBit + kPageProgramNs);
  APP_ForgetErrors();
  const COUNTS before = TakeCounts();
  FLASH_Auto(pArea);
  const COUNTS after = TakeCounts();
  const bool isPassed = APP_GetNumRunErrors() == 0 && FLASH_IsConnected();
  const double clockNs = static_cast<double>(after.ClockNs - before.ClockNs);
  const std::string name = std::string("auto, ") + sName;
  BENCH_Row(name + ": clock / unavoidable", isPassed ? clockNs / unavoidableNs : 99, "x",
            BENCH_BOUND::AtMost, 1.03);
  BENCH_Note(name + ": clock", clockNs / 1e9, "s");
  BENCH_Row(name + ": client faults", static_cast<double>(after.Faults - before.Faults), "",
            BENCH_BOUND::AtMost, 0);
}

void SetProduction(bool HasSerial) {
  PROJ_PRODUCTION production = {};
  PROJECT_GetProduction(&production);
  production.EraseType = 2;
  production.PerformCompare = 1;
  production.ProgramSN = HasSerial ? 1 : 0;
  production.SNAddr = kSectorBytes;
  production.SNLen = 8;
  production.SNInc = 1;
  PROJECT_SetProduction(&production);
}

// Compare, erase if not blank, program, verify, with a serial number.
void RunAuto(const std::string& dir, MEMAREA* pImage) {
  BENCH_Section("Production run: the same chip, comparing first, with a serial number");
  WriteConfig(dir + "/Vortic.ini", 0);
  PROJECT_New((dir + "/auto.korvane").c_str());
  SetProduction(true);
  if (FLASH_Connect() != 0) {
    BENCH_Row("connect", 1, "", BENCH_BOUND::AtMost, 0);
    return;
  }
  constexpr u64 all = kChipBytes / kSectorBytes;
  RunUnit("a blank chip", pImage, 0, all);
  RunUnit("another number only", pImage, 1, 1);
  SetProduction(false);
  RunUnit("a chip that matches", pImage, 0, 0);
  SetProduction(true);
  RunUnit("a chip with other data", MakeRandomImage(17).get(), all, all);
  FLASH_Disconnect();
}

void BenchStart() {
  const std::string program =
      std::filesystem::path(BENCH_GetSelf()).replace_filename("korvane").string();
  const BENCH_PROCESS run =
      BENCH_RunProcess({"sh", "-c", "exec '" + program + "' '?' >/dev/null"}, 5);
  BENCH_Row("korvane ?: processor time", run.IsDone ? run.CpuSeconds * 1000 : 999, "ms",
            BENCH_BOUND::AtMost, 15);
}

// Log and boxes go to standard error without a front end: kept away from the figures, and shown
// when one of them is missing.
class LOG_TO_FILE {
 public:
  explicit LOG_TO_FILE(std::string name) : m_Name(std::move(name)) {
    std::fflush(stderr);
    if (std::freopen(m_Name.c_str(), "w", stderr) == nullptr) {
      std::printf("No log: %s\n", m_Name.c_str());
    }
  }
  void Show() const {
    std::fflush(stderr);
    std::ifstream file(m_Name);
    for (std::string line; std::getline(file, line);) {
      std::printf("    %s\n", line.c_str());
    }
  }

 private:
  std::string m_Name;
};

}  // namespace

void BenchFlash() {
  BENCH_Section("Console program");
  BenchStart();
  BENCH_Section("Flash engine: W25Q128FV at 50 MHz, 16 MiB of random data, without fast mode");
  const std::string dir =
      (std::filesystem::temp_directory_path() / ("korvane_bench." + std::to_string(std::rand())))
          .string();
  std::filesystem::create_directories(dir);
  setenv("XDG_CONFIG_HOME", dir.c_str(), 1);
  setenv("VORTIC_CONFIG", (dir + "/Vortic.ini").c_str(), 1);
  const int numMissed = BENCH_GetNumMissed();
  const LOG_TO_FILE log(dir + "/log.txt");
  APP_ConnectLayers();
  SETUP_Init();
  APP_State().SuppressGUI = 1;
  WriteConfig(dir + "/Vortic.ini", 0);
  VORTIC_SetErrorOutHandler(DRIVER_GetErrorHandler());
  PROJECT_New(nullptr);
  const MEMAREA_PTR pImage = MakeRandomImage(16);
  RunLatency(dir, pImage.get(), 0, 1.03);
  RunLatency(dir, pImage.get(), 125, 1.15);
  RunAuto(dir, pImage.get());
  PROJECT_Shutdown();
  if (BENCH_GetNumMissed() != numMissed) {
    log.Show();
  }
  std::filesystem::remove_all(dir);
}
