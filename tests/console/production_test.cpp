// A production line from its shell: units one after the other, each with its serial number, and
// what happens to the numbers when a unit fails or the host goes down.
#include <gtest/gtest.h>

#include <filesystem>
#include <set>

#include "sys/types.h"
#include "tests/console/program.h"

namespace {

constexpr char kPassed[] = "Target erased, programmed and verified successfully.";
constexpr char kProject[] =
    "[PRODUCTION]\r\n  ProgramSN = 1\r\n  SNAddr = 0x100\r\n  SNLen = 4\r\n  SNValue = 3\r\n"
    "  EraseType = 2\r\n  PerformCompare = 1\r\n";
const std::vector<std::string> kUnit = {"-openprjp.korvane", "-opena.hex", "-auto", "-exit"};

class LINE : public BENCH {
 public:
  LINE() {
    Write("a.hex", ":0400100001020304E2\n:00000001FF\n");
    Write("p.korvane", kProject);
    NextUnit("");
  }
  // A blank chip in the fixture.
  void NextUnit(const char* sFault) {
    std::filesystem::remove(Path("chip.bin"));
    SetProbe({{"Chip", "W25Q20EW"}, {"Fault", sFault}});
  }
  u32 Stamped() {
    const std::string chip = Read("chip.bin");
    u32 value = 0;
    for (std::size_t i = 4; i-- > 0 && chip.size() > 0x104;) {
      value = value << 8 | static_cast<u8>(chip[0x100 + i]);
    }
    return value;
  }
};

TEST(Production, UnitsInSequence) {
  constexpr char kOutside[] =
      "[PRODUCTION]\r\n  ProgramSN = 1\r\n  SNAddr = 0x3FFFD\r\n  SNLen = 4\r\n";
  const std::vector<std::string> two = {
      "-openprjp.korvane", "-opena.hex", "-auto", "-disconnect", "-auto", "-saveprj", "-exit"};
  const std::vector<std::string> noImage = {"-openprjp.korvane", "-auto", "-exit"};
  constexpr u32 kAny = ~0u;
  const struct {
    const char *sWhat, *sFault;
    const char *sFile, *sContent;  // written before
    const std::vector<std::string>& Args;
    int Status;
    const char* sSays;
    u32 Stamped;
    const char* sSerial;
  } aUnits[] = {
      {"no file yet", "", "", "", kUnit, 0, kPassed, 3, "4"},
      {"the next one", "", "", "", kUnit, 0, kPassed, 4, "5"},
      {"a bad chip", "stuck=0x10:1", "", "", kUnit, 1, "Verif", 5, "5"},
      {"a bad link", "disconnect@15", "", "", kUnit, 1, "ERROR: ", kAny, "5"},
      {"no power", "power=0@1", "", "", kUnit, 1, "no power", kAny, "5"},
      {"the next good one", "", "", "", kUnit, 0, "OK (Total ", 5, "6"},
      {"two by one command", "", "", "", two, 0, kPassed, 7, "8"},
      {"no image", "", "p.korvane", kProject, noImage, 1, "no data file", kAny, "8"},
      {"a list", "", "p_SNList.txt", "\n\n\n\n\n\n\n\n78563412\r\n", kUnit, 0, kPassed, 0x12345678,
       "9"},
      {"its end", "", "", "", kUnit, 1, "p_SNList.txt], line 10: the list ends", kAny, "9"},
      {"an edited number", "", "p_Serial.txt", "0x8\r\n", kUnit, 0, kPassed, 0x12345678, "9"},
      {"outside the chip", "", "p.korvane", kOutside, kUnit, 1,
       "Serial number (0x3FFFD - 0x40000) does not fit into flash chip.", kAny, "9"},
      {"not a number", "", "p_Serial.txt", "nine", kUnit, 1, "p_Serial.txt], line 1: not a ", kAny,
       "nine"},
  };
  LINE line;
  for (const auto& unit : aUnits) {
    SCOPED_TRACE(unit.sWhat);
    *unit.sFile != '\0' ? line.Write(unit.sFile, unit.sContent) : void();
    line.NextUnit(unit.sFault);
    const PROGRAM_RESULT result = line.Run(unit.Args);
    EXPECT_EQ(result.Status, unit.Status) << result.Out;
    EXPECT_NE(result.Out.find(unit.sSays), std::string::npos) << result.Out;
    EXPECT_EQ(result.Out.find(kPassed) != std::string::npos, unit.Status == 0) << result.Out;
    EXPECT_TRUE(line.Stamped() == unit.Stamped || unit.Stamped == kAny) << line.Stamped();
    EXPECT_EQ(line.Read("p_Serial.txt"), unit.sSerial);
  }
}

// The host goes down at each of the writes of a run in turn, those of the log included. Whatever
// was reported as passed has a number of its own on its chip, and the line goes on.
TEST(Production, KilledAtEveryWrite) {
  LINE line;
  line.Environment["LD_PRELOAD"] = KORVANE_KILL_AT_LIBRARY;
  line.Environment["ASAN_OPTIONS"] = "verify_asan_link_order=0";
  std::set<u32> given;
  u32 numKilled = 0;
  for (PROGRAM_RESULT result{128 + 9, {}, {}}; result.Status == 128 + 9; ++numKilled) {
    line.Environment["KORVANE_KILL_AT"] = std::to_string(numKilled + 1);
    line.NextUnit("");
    result = line.Run(kUnit);
    const bool isPassed = result.Out.find(kPassed) != std::string::npos;
    ASSERT_TRUE(result.Status == 128 + 9 || (result.Status == 0 && isPassed)) << result.Out;
    const std::string next = line.Read("p_Serial.txt");
    if (isPassed) {
      EXPECT_TRUE(given.insert(line.Stamped()).second) << line.Stamped() << result.Out;
      EXPECT_EQ(next, std::to_string(line.Stamped() + 1)) << result.Out;
    } else {
      EXPECT_TRUE(next == "" || given.empty() || std::stoul(next) > *given.rbegin()) << next;
    }
  }
  EXPECT_GT(numKilled, 20u);
  EXPECT_GT(given.size(), 1u);  // some fell between the report and the end
}

}  // namespace
