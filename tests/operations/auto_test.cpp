// The production run on simulated chips: what it erases, programs and verifies, and the serial
// numbers that it gives away, told beforehand by a model of its own.
#include "flash/auto.h"

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstring>
#include <filesystem>

#include "app/engine/app_state.h"
#include "app/operations/cmdline.h"
#include "app/operations/data_ops.h"
#include "app/operations/data_windows.h"
#include "flash/connect.h"
#include "flash/driver.h"
#include "flash/serial_number.h"
#include "project/project.h"
#include "project/settings.h"
#include "sys/file.h"
#include "tests/operations/core_scope.h"
#include "tests/support/fake_time.h"

namespace {

constexpr u32 kSector = 0x10000;
constexpr u32 kNumSectors = 4;  // of a W25Q20EW
constexpr u32 kPage = 256;
constexpr u32 kSNAddr = 2 * kSector + 0x10;
constexpr u64 kSectorEraseNs = 150'000'000, kChipEraseNs = 625'000'000, kPageNs = 700'000;
constexpr char kPassed[] = "Target erased, programmed and verified successfully.";

PROJ_PRODUCTION Production() {
  PROJ_PRODUCTION production;
  PROJECT_GetProduction(&production);
  return production;
}

void SetProduction(const auto& change) {
  PROJ_PRODUCTION production = Production();
  change(production);
  PROJECT_SetProduction(&production);
}

// Everything on, sectors erased if not blank, number 5 of 8 bytes to be stamped.
struct AutoScope : CORE_SCOPE {
  AutoScope() {
    SetChip({});
    PROJECT_New(Path("p.korvane").c_str());
    SetProduction([](PROJ_PRODUCTION& p) {
      p.EraseType = 2;
      p.PerformCompare = p.ProgramSN = 1;
      p.SNAddr = kSNAddr;
      p.SNLen = 8;
      p.SNInc = 1;
    });
    SetSerial("5");
  }
  void SetChip(std::map<std::string, std::string> keys) {
    keys["Chip"] = "W25Q20EW";
    SetProbe(keys);
  }
  void SetSerial(const std::string& text) { WriteFile(Path("p_Serial.txt"), text); }
  std::string Serial() { return ReadFile(Path("p_Serial.txt")); }
  bool HasPassed() {
    return FrontEnd().HasLog("OK (Total") && FrontEnd().HasBox(kPassed) &&
           !FrontEnd().HasLog("ERROR");
  }
  // One of the simulator's figures since the connect.
  u64 Stat(const char* sName) {
    char acText[256] = "";
    VORTIC_ExecCommand("SimGetStats", acText, sizeof acText);
    const char* s = std::strstr(acText, (sName + std::string("=")).c_str());
    return s != nullptr ? std::strtoull(s + std::strlen(sName) + 1, nullptr, 10) : 0;
  }

  FakeTime Time{1000000};
};

struct CASE {
  u32 EraseType;
  bool Compare, Erase, Program, Verify;
  u32 Serial;      // 0 none, 1 the number, 2 from a list
  bool IsSpecial;  // settings: all sectors erased, blank areas not read; no fast mode
};

// What has to come out. Chip and image are strings of the chip's size, holes of the image 0xFF.
struct MODEL {
  std::string Chip = std::string(kNumSectors * kSector, '\xFF');
  std::string Image = Chip, Work = std::string(Chip.size(), 0);  // Work: 1 goes to the chip
  std::string Erased;                                            // the sectors, in order
  u32 NumPages = 0, NumRead = 0;  // pages sent, bytes read back before anything is erased
  bool IsOk = true;

  void Put(u32 addr, const std::string& data) {
    Image.replace(addr, data.size(), data);
    Work.replace(addr, data.size(), data.size(), 1);
  }
  static bool IsBlank(const std::string& s, u32 addr, u32 n) {
    return s.find_first_not_of('\xFF', addr) >= addr + n;
  }
  MEMAREA_PTR MakeImage() const {
    MEMAREA_PTR pArea(MEMAREA_Create());
    for (std::size_t at = 0; (at = Work.find('\1', at)) != std::string::npos;) {
      const std::size_t end = std::min(Work.find('\0', at), Work.size());
      MEMAREA_Write(pArea.get(), at, end - at, reinterpret_cast<const u8*>(&Image[at]));
      at = end;
    }
    return pArea;
  }
  void Run(const CASE& c) {
    const bool isComparing = c.Compare && c.Erase && c.EraseType != 3;
    const bool isReading = isComparing || (c.Erase && c.EraseType == 2 && !c.IsSpecial);
    for (u32 addr = 0; addr < Chip.size(); addr += kSector) {
      bool isWork = Work.find('\1', addr) < addr + kSector;
      NumRead += isWork && isReading ? kSector : 0;
      if (isComparing) {
        isWork = isWork && Chip.compare(addr, kSector, Image, addr, kSector) != 0;
        Work.replace(addr, kSector, kSector, isWork ? 1 : 0);
      }
      const bool isAll = c.EraseType == 3 || (c.IsSpecial && !isComparing);
      const bool isChosen = isWork && (c.EraseType == 1 || !IsBlank(Chip, addr, kSector));
      if (c.Erase && (isAll || isChosen)) {
        Erased += std::to_string(addr / kSector);
        Chip.replace(addr, kSector, kSector, '\xFF');
      }
    }
    for (u32 addr = 0; c.Program && addr < Chip.size(); addr += kPage) {
      const bool isSent = Work.find('\1', addr) < addr + kPage && !IsBlank(Image, addr, kPage);
      NumPages += isSent ? 1 : 0;
      for (u32 i = addr; isSent && i < addr + kPage; ++i) {
        Chip[i] = static_cast<char>(Chip[i] & Image[i]);
      }
    }
    for (u32 i = 0; c.Verify && i < Chip.size(); ++i) {
      IsOk = IsOk && (Work[i] == 0 || Chip[i] == Image[i]);
    }
  }
};

// Sector 0 differs, 1 matches, 2 is blank on the chip, 3 holds something that isn't the image's.
MODEL MakeModel() {
  MODEL model;
  model.Put(1, std::string(700, 'a'));
  model.Put(kSector + 0x100, std::string(0x200, 'b'));
  model.Put(2 * kSector - 2, "edge");
  model.Put(2 * kSector + 0x1000, std::string(300, 'c'));
  model.Chip.replace(0x8000, 5, "other");
  model.Chip.replace(kSector, kSector, model.Image, kSector, kSector);
  model.Chip.replace(3 * kSector, 4, "kept");
  return model;
}

MEMAREA_PTR MakeImage() {
  return MakeModel().MakeImage();
}

// The sectors that were erased one by one, in order.
std::string ErasedSectors(SCRIPTED_FRONTEND& frontEnd) {
  std::string erased;
  for (const std::string& text : frontEnd.GetProgressTexts()) {
    u32 number = 0, total = 0, addr = 0;
    if (std::sscanf(text.c_str(), "Sector %u of %u selected (0x%X)", &number, &total, &addr) == 3 &&
        !erased.ends_with(std::to_string(addr / kSector))) {
      erased += std::to_string(addr / kSector);
    }
  }
  return erased;
}

void RunCase(const CASE& c) {
  AutoScope core;
  core.SetChip({{"DisableFunctions", c.IsSpecial ? "45,72" : "50"}});
  SETUP_SetAutoMode(c.IsSpecial ? 1 : 0);
  SETUP_SetSkipBlankAreas(c.IsSpecial ? 1 : 0);
  SetProduction([&](PROJ_PRODUCTION& p) {
    p.EraseType = static_cast<u8>(c.EraseType);
    p.PerformCompare = c.Compare;
    p.AutoPerformsErase = c.Erase;
    p.AutoPerformsProgram = c.Program;
    p.AutoPerformsVerify = c.Verify;
    p.ProgramSN = c.Serial != 0;
    p.SNInc = 3;
  });
  core.SetSerial("2");
  c.Serial == 2 ? WriteFile(core.Path("p_SNList.txt"), "AA\r\nBB\r\n0123456789abCDEF\r\n") : void();
  MODEL model = MakeModel();
  const MEMAREA_PTR pImage = model.MakeImage();
  if (c.Serial != 0) {
    model.Put(kSNAddr, c.Serial == 1 ? std::string("\2\0\0\0\xFD\xFF\xFF\xFF", 8)
                                     : "\x01\x23\x45\x67\x89\xAB\xCD\xEF");
  }
  WriteFile(core.Path("chip.bin"), model.Chip);
  model.Run(c);
  FLASH_Auto(pImage.get());

  SCRIPTED_FRONTEND& frontEnd = core.FrontEnd();
  EXPECT_EQ(core.HasPassed(), model.IsOk) << frontEnd.GetLog();
  EXPECT_EQ(frontEnd.HasBox("Failed to auto program target."), !model.IsOk);
  EXPECT_EQ(ErasedSectors(frontEnd), c.EraseType == 3 ? "" : model.Erased);
  const auto numWork = std::count(model.Work.begin(), model.Work.end(), '\1');
  const std::string verifying = "Verifying target (" + std::to_string(numWork) + " bytes, ";
  EXPECT_EQ(frontEnd.HasLog(verifying), c.Verify);
  EXPECT_EQ(core.Serial(), c.Serial != 0 && model.IsOk ? "5" : "2");
  EXPECT_EQ(Production().SNValue, c.Serial == 0 ? 0u : model.IsOk ? 5u : 2u);
  if (model.IsOk) {
    const bool isWhole = c.EraseType == 3 && c.Erase;
    const u64 eraseNs = isWhole ? kChipEraseNs : model.Erased.size() * kSectorEraseNs;
    EXPECT_EQ(core.Stat("BusyNs"), model.NumPages * kPageNs + eraseNs);
    // Nothing is read twice: at most 3 % and a connect more than the data.
    const u64 numBytes = model.NumRead + model.NumPages * (kPage + 8) + (c.Verify ? numWork : 0);
    EXPECT_LT(core.Stat("Bits"), numBytes * 8 * 103 / 100 + 10000);
    EXPECT_EQ(core.Stat("Faults"), 0u);
    EXPECT_TRUE(frontEnd.HasLog("s, Erase ") == c.Erase &&
                frontEnd.HasLog("s, Prog ") == c.Program &&
                frontEnd.HasLog("s, Verify ") == c.Verify);
  }
  FLASH_Disconnect();
  EXPECT_TRUE(ReadFile(core.Path("chip.bin")) == model.Chip);
}

TEST(Auto, EveryCombination) {
  for (u32 i = 0; i < 3 * 3 * 32; ++i) {
    const auto bit = [i](u32 n) { return (i / 9 >> n & 1) != 0; };
    const CASE c = {i % 3 + 1, bit(0), bit(1), bit(2), bit(3), i / 3 % 3, bit(4)};
    SCOPED_TRACE(i);
    RunCase(c);
  }
}

// Wherever the link or the power of the target goes, the number is counted on exactly when the
// unit was reported, and no unit is reported that isn't what it should be.
void CutAtEveryCall(const char* sWithout) {
  AutoScope core;
  const MEMAREA_PTR pImage = MakeImage();
  const std::string chip = MakeModel().Chip;
  WriteFile(core.Path("chip.bin"), chip);
  core.SetChip({{"DisableFunctions", sWithout}});
  FLASH_Auto(pImage.get());
  ASSERT_TRUE(core.HasPassed()) << core.FrontEnd().GetLog();
  const u64 numCalls = core.Stat("RoundTrips");
  FLASH_Disconnect();
  const std::string good = ReadFile(core.Path("chip.bin"));
  u64 numPassed = 0;
  for (const std::string fault : {"disconnect@", "cutpower@", "nak@", "timeout@"}) {
    for (u64 call = 1; call <= numCalls; ++call) {
      SCOPED_TRACE(fault + std::to_string(call));
      WriteFile(core.Path("chip.bin"), chip);
      core.SetSerial("5");
      core.SetChip({{"Fault", fault + std::to_string(call)}, {"DisableFunctions", sWithout}});
      core.FrontEnd().ClearLog();
      FLASH_Auto(pImage.get());
      const bool isPassed = core.FrontEnd().HasLog("OK (Total");
      EXPECT_NE(isPassed, core.FrontEnd().HasLog("ERROR")) << core.FrontEnd().GetLog();
      EXPECT_EQ(core.Serial(), isPassed ? "6" : "5");
      EXPECT_TRUE(fault != "disconnect@" || !isPassed);
      FLASH_Disconnect();
      EXPECT_TRUE(!isPassed || ReadFile(core.Path("chip.bin")) == good);
      numPassed += isPassed ? 1 : 0;
    }
  }
  EXPECT_LT(numPassed, numCalls / 4) << numCalls;
}

TEST(Auto, CutAtEveryCall) {
  CutAtEveryCall("50");     // nothing that a run needs
  CutAtEveryCall("45,72");  // fast mode
}

// The n-th call that changes a file fails, or is the last thing that this process does.
i32 NumCallsLeft;
bool IsKilling;
bool IsDoomed() {
  errno = ENOSPC;
  return NumCallsLeft-- == 0 && (!IsKilling || raise(SIGKILL) == 0);
}
constexpr SYS_FILE_OPS kDoomedOps = {
    [](int fd, const void* p, u64 n) -> i64 { return IsDoomed() ? -1 : write(fd, p, n); },
    [](int fd) { return IsDoomed() ? -1 : fsync(fd); },
    [](const char* a, const char* b) { return IsDoomed() ? -1 : std::rename(a, b); }};

// Each line of the log is such a call as well, so this cuts the run between all of its lines. Only
// a number that is on disk is given away, and the project never knows a later one.
TEST(Auto, CutAtEveryFileOperation) {
  constexpr int kFailed = 1, kPastEnd = 2;
  AutoScope core;
  const MEMAREA_PTR pImage = MakeImage();
  SetProduction([](PROJ_PRODUCTION& p) { p.SNValue = 5; });
  for (i32 n = 0, status = 0; !WIFEXITED(status) || WEXITSTATUS(status) < kPastEnd; ++n) {
    for (const u32 kind : {0, 1, 2, 3}) {
      const bool isKilling = (kind & 1) != 0;
      const std::string before = (kind & 2) != 0 ? "5" : "";  // empty: no file yet
      std::filesystem::remove(core.Path("p_Serial.txt"));
      before.empty() ? void() : core.SetSerial(before);
      std::filesystem::remove(core.Path("run.log"));
      const pid_t child = fork();
      if (child == 0) {
        SETUP_OverrideKorvaneLog(core.Path("run.log").c_str());
        APP_EnableLogFile(true);
        NumCallsLeft = n;
        IsKilling = isKilling;
        SYS_FILE_SetOps(&kDoomedOps);
        FLASH_Auto(pImage.get());
        const bool isSame =
            std::to_string(Production().SNValue) == (core.Serial() == "6" ? "6" : "5");
        const bool isTold = core.HasPassed() != core.FrontEnd().HasBox("Failed to increment S/N.");
        _exit(!isSame || !isTold ? kFailed : NumCallsLeft >= 0 ? kPastEnd : 0);
      }
      ASSERT_EQ(waitpid(child, &status, 0), child);
      EXPECT_TRUE(WIFSIGNALED(status) || WEXITSTATUS(status) != kFailed) << n;
      const std::string log = ReadFile(core.Path("run.log"));
      const bool isReported = log.find(kPassed) != std::string::npos;
      EXPECT_TRUE(core.Serial() == "6" || (core.Serial() == before && !isReported)) << n << log;
    }
  }
}

TEST(SerialNumber, DataOfEveryForm) {
  const std::string noLines(40000, '\n'), longLine(300000, 'A'), zeros(63, '0'),
      notNumber = "p_Serial.txt], line 1: not a serial number.";
  const struct {
    const char* sSerial;  // null: no file
    std::string List;     // empty: no file
    u32 Len, Addr;
    std::string Stamped;  // hexadecimal; else the error
  } rows[] = {
      {nullptr, "", 4, 0, "00000000"},
      {"5", "", 8, 0, "05000000FAFFFFFF"},
      {"0x10", "", 4, 0, "10000000"},
      {"4294967295 ", "", 8, 0, "FFFFFFFF00000000"},
      {"abc", "", 4, 0, notNumber},
      {"", "", 4, 0, notNumber},
      {" 7", "", 4, 0, notNumber},
      {"1", "", 12, 0, "01000000FEFFFFFF00000000"},
      {"1", "", 40, 0, "01000000FEFFFFFF" + std::string(48, '0')},
      {"4294967296", "", 4, 0, notNumber},
      {"0x", "", 4, 0, notNumber},
      {"12O4", "", 4, 0, notNumber},
      {"\xFE\xFF\x31", "", 4, 0, notNumber},
      {"7\r\nabc", "", 4, 0, "07000000"},
      {zeros.c_str(), "", 4, 0, notNumber},  // cut behind 63 characters, it may be any
      {"1", "", 0, 0, "The serial number has a length of 0 bytes."},
      {"1", "", 8, 0x3FFF8, "01000000FEFFFFFF"},
      {"1", "", 8, 0x3FFF9, "(0x3FFF9 - 0x40000) does not fit into flash chip."},
      {"1", "", 32, 0xFFFFFFFF, "(0xFFFFFFFF - 0x10000001E) does not fit into flash chip."},
      {"0", "0aFf12\n", 2, 0, "0AFF"},
      {"1", "00\nAABB", 4, 0, "AABB0000"},
      {"1", "00\r\nAABB\r\nCC", 4, 0, "AABB0000"},
      {"40000", noLines + "77", 1, 0, "77"},
      {"1", "00\nAABBC", 4, 0, "AABB0000"},
      {"1", "00\nAABBC\n", 4, 0, "line 2, column 6: half a byte at the end of the line."},
      {"1", "00\n\nBB", 1, 0, "p_SNList.txt], line 2: the line is empty."},
      {"1", "00\n", 1, 0, "line 2: the list ends before this line."},
      {"7", "00\n11", 1, 0, "line 8: the list ends before this line."},
      {"0", "\xEF\xBB\xBF", 1, 0, "line 1, column 1: not a hexadecimal digit."},
      {"0", "0 11", 2, 0, "line 1, column 2: not a hexadecimal digit."},
      {"0", longLine, 32, 0, std::string(64, 'A')},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(testing::Message() << row.Stamped << " of " << row.List.substr(0, 20));
    AutoScope core;
    std::filesystem::remove(core.Path("p_Serial.txt"));
    row.sSerial != nullptr ? core.SetSerial(row.sSerial) : void();
    row.List.empty() ? void() : WriteFile(core.Path("p_SNList.txt"), row.List);
    SetProduction([&](PROJ_PRODUCTION& p) { p.SNLen = row.Len, p.SNAddr = row.Addr; });
    ASSERT_EQ(FLASH_Connect(), 0);
    const MEMAREA_PTR pArea(MEMAREA_Create());
    MEMAREA_AddPatch(pArea.get(), row.Addr, 0xEE);  // typed over the place, not saved
    const int result = SN_Prepare(pArea.get());
    std::string stamped;
    for (u64 i = 0; i < MEMAREA_GetNumBytes(pArea.get()); ++i) {
      u8 value = 0;
      MEMAREA_Read(pArea.get(), row.Addr + i, 1, &value, 0);
      char ac[3];
      std::snprintf(ac, sizeof ac, "%02X", value);
      stamped += ac;
    }
    EXPECT_TRUE(result == 0 ? stamped == row.Stamped : core.FrontEnd().HasLog(row.Stamped))
        << stamped << core.FrontEnd().GetLog();
    EXPECT_EQ(result == 0, stamped != "");
    EXPECT_EQ(core.FrontEnd().HasLog("Could not read data for SN="),
              row.Stamped.find("line ") != std::string::npos && row.Stamped != notNumber);
    EXPECT_EQ(core.FrontEnd().HasLog("No SN list file detected."), result == 0 && row.List.empty());
  }
}

// Whatever a file is that isn't what it should be: the chip isn't touched, and the file named.
TEST(SerialNumber, NoGuesses) {
  const struct {
    const char* sName;
    mode_t Mode;  // of a pipe, a folder, or a file of that mode
    const char* sSays;
  } rows[] = {
      {"p_Serial.txt", S_IFDIR, "Access is denied!"},
      {"p_SNList.txt", S_IFDIR, "Access is denied!"},
      {"p_Serial.txt", S_IFIFO, "It is a device or a pipe."},
      {"p_SNList.txt", S_IFIFO, "It is a device or a pipe."},
      {"p_Serial.txt", 0444, "File has read only attribute!"},
      {"p_Serial.txt", 0644, "is in use: another run"},  // by another run
      {"p_SNList.txt", 0644, "line 6: the list ends before this line."},
  };
  for (const auto& row : rows) {
    AutoScope core;
    const std::string name = core.Path(row.sName);
    std::filesystem::remove(name);
    if (row.Mode < S_IFIFO) {
      WriteFile(name, "5");
      chmod(name.c_str(), row.Mode);
    } else if (row.Mode == S_IFDIR) {
      std::filesystem::create_directory(name);
    } else {
      ASSERT_EQ(mkfifo(name.c_str(), 0666), 0);
    }
    const bool isHeld = row.sSays == std::string("is in use: another run");
    const SYS_HANDLE hOther =
        isHeld ? SYS_FILE_Open(name.c_str(), SYS_FILE_READ | SYS_FILE_WRITE | SYS_FILE_SHARE_READ)
               : SYS_INVALID_FILE;
    FLASH_Auto(MakeImage().get());
    EXPECT_TRUE(core.FrontEnd().HasBox("Could not prepare data for serial number programming"));
    EXPECT_TRUE(core.FrontEnd().HasBox(name) && core.FrontEnd().HasBox(row.sSays))
        << core.FrontEnd().GetLog();
    EXPECT_FALSE(core.FrontEnd().HasLog("Reading affected sectors"));
    isHeld ? SYS_FILE_Close(hOther) : void();
  }
}

// Going on behind the last number would give away the first one again; so would counting on from a
// number that another run has given away meanwhile.
TEST(SerialNumber, NeverTwice) {
  const struct {
    const char *sBefore, *sMeanwhile, *sAfter, *sSays;
  } rows[] = {
      {"5", "5", "6", kPassed},
      {"5", "6", "6", "has changed during the run: serial number 5"},
      {"5", "x", "x", "has changed during the run"},
      {"4294967295", "4294967295", "4294967295", "There is no further serial number."},
  };
  for (const auto& row : rows) {
    AutoScope core;
    core.SetSerial(row.sBefore);
    core.FrontEnd().OnRefresh = [&](PROGRESS_INFO*) { core.SetSerial(row.sMeanwhile); };
    FLASH_Auto(MakeImage().get());
    EXPECT_TRUE(core.FrontEnd().HasBox(row.sSays)) << core.FrontEnd().GetLog();
    EXPECT_EQ(core.HasPassed(), row.sSays == kPassed);
    EXPECT_EQ(core.Serial(), row.sAfter);
    FLASH_Auto(MakeImage().get());  // the file isn't held any more
    EXPECT_FALSE(core.FrontEnd().HasLog("is in use: another run"));
  }
}

// With AutoDisconnect the exit steps find the connection gone; a bad one fails the run.
TEST(Auto, ExitSequenceAndRefusals) {
  AutoScope core;
  const auto cpu = std::make_unique<PROJ_CPU>();
  PROJECT_GetCpu(cpu.get());
  cpu->NumExitSteps = 1;
  cpu->aExitSteps[0].ActionIndex = 3;  // chip select
  PROJECT_SetCpu(cpu.get());
  SETUP_SetAutoDisconnect(1);
  FLASH_Auto(MakeImage().get());
  EXPECT_TRUE(core.HasPassed()) << core.FrontEnd().GetLog();
  EXPECT_FALSE(FLASH_IsConnected());
  cpu->aExitSteps[0] = {};
  cpu->aExitSteps[0].ActionIndex = 6;  // compares a byte of the buffer
  cpu->aExitSteps[0].Value1 = 0xA5;
  PROJECT_SetCpu(cpu.get());
  FLASH_Auto(MakeImage().get());
  EXPECT_TRUE(core.FrontEnd().HasBox("Could not perform custom exit sequence."));
  FLASH_Auto(nullptr);
  EXPECT_TRUE(core.FrontEnd().HasBox("Could not auto program target, no data file opened."));
  core.FrontEnd().CancelOnText("Verifying @ address");
  FLASH_Auto(MakeImage().get());
  EXPECT_TRUE(core.FrontEnd().HasBox("Failed to auto program target."));
  core.SetChip({{"TargetMilliVolts", "0"}});
  FLASH_Auto(MakeImage().get());
  EXPECT_TRUE(core.FrontEnd().HasBox("Could not auto program target, not connected."));
  EXPECT_EQ(core.Serial(), "6");
}

// From the option to the files: the project takes its number when it opens, the window shows it.
TEST(Auto, CommandLine) {
  AutoScope core;
  ASSERT_EQ(PROJECT_Save(), 0);
  core.SetSerial("0x2A");
  ASSERT_EQ(PROJECT_Open(core.Path("p.korvane").c_str()), 0);
  EXPECT_EQ(Production().SNValue, 42u);
  EXPECT_EQ(PROJECT_IsModified(), 0);
  ASSERT_NE(APP_AddDataWindow(nullptr, MakeImage().release(), "image"), nullptr);
  std::string program = "korvane", option = "-auto";
  char* argv[] = {program.data(), option.data()};
  EXPECT_EQ(CMDLINE_Parse(2, argv, CMDLINE_PASS_EXECUTE), 0) << core.FrontEnd().GetLog();
  EXPECT_EQ(APP_State().ExitCode, 0);
  EXPECT_EQ(core.FrontEnd().GetWindows()[0]->NumUpdates, 1u);
  EXPECT_EQ(core.Serial(), "43");
  EXPECT_EQ(PROJECT_IsModified(), 1);
}

}  // namespace
