// The production run on simulated chips: what it erases, programs and verifies, told beforehand by
// a model of its own, and runs that are cut.
#include "flash/auto.h"

#include <gtest/gtest.h>
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
#include "catalogue/catalogue.h"
#include "flash/connect.h"
#include "project/project.h"
#include "project/settings.h"
#include "sys/file.h"
#include "tests/operations/auto_scope.h"

namespace {

constexpr u32 kSector = 0x10000;
constexpr u32 kNumSectors = 4;  // of a W25Q20EW
constexpr u32 kPage = 256;
constexpr u64 kSectorEraseNs = 150'000'000, kChipEraseNs = 625'000'000, kPageNs = 700'000;
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
    // What was erased is read back, but for what the run programs and verifies.
    const u64 numErased = isWhole ? model.Chip.size() : model.Erased.size() * kSector;
    const u64 numProved = c.Program && c.Verify && !isWhole && !c.IsSpecial ? numWork : 0;
    const u64 numBytes = model.NumRead + model.NumPages * (kPage + 8) + (c.Verify ? numWork : 0) +
                         (c.Erase ? numErased : 0) - std::min<u64>(numProved, numErased);
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

// A unit costs what differs on it: one that matches a read of the data's sectors, one that differs
// in a byte that sector besides.
TEST(Auto, CostsWhatDiffers) {
  const struct {
    u32 Addr;  // of the byte that differs; none at the end of the chip
    u32 NumPages, NumSectorsRead;
    const char* sErased;
  } rows[] = {
      {kNumSectors * kSector, 0, 3, ""}, {0x123, 3, 4, "0"},      {2 * kSector - 1, 3, 4, "1"},
      {3 * kSector - 1, 3, 4, "2"},      {3 * kSector, 0, 3, ""},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.Addr);
    AutoScope core;
    SetProduction([](PROJ_PRODUCTION& p) { p.ProgramSN = 0; });
    const std::string image = MakeModel().Image;
    std::string chip = image;
    row.Addr < chip.size() ? chip.replace(row.Addr, 1, 1, '\x12') : chip;
    WriteFile(core.Path("chip.bin"), chip);
    FLASH_Auto(MakeImage().get());
    EXPECT_TRUE(core.HasPassed());
    EXPECT_EQ(ErasedSectors(core.FrontEnd()), row.sErased);
    const u64 numSectors = std::strlen(row.sErased);
    EXPECT_EQ(core.Stat("BusyNs"), numSectors * kSectorEraseNs + row.NumPages * kPageNs);
    EXPECT_LT(core.Stat("Bits"), u64{row.NumSectorsRead} * kSector * 8 * 103 / 100 + 10000);
    FLASH_Disconnect();
    EXPECT_TRUE(ReadFile(core.Path("chip.bin")) == (numSectors != 0 ? image : chip));
  }
}

// What is written without an erase goes in pages: those that match are left alone, and in the
// others an EEPROM, of sectors of one byte, keeps what the data doesn't have.
TEST(Auto, PartsWithoutErase) {
  const struct {
    const char* sChip;
    u32 FlashType, Size, NumPages;  // pages written for one byte that differs
  } rows[] = {{"AT25080", FLASH_TYPE_EEPROM, 1024, 1},
              {"M95M01", FLASH_TYPE_EEPROM, 131072, 1},
              {"MB85RS256TY", FLASH_TYPE_FRAM, 32768, 128}};
  for (u32 i = 0; i < 4 * std::size(rows); ++i) {
    const auto& row = rows[i / 4];
    SCOPED_TRACE(row.sChip);
    AutoScope core;
    core.SetProbe({{"Chip", row.sChip}});
    SPI_FLASH_INFO info;
    PROJECT_GetFlash(&info);
    info.FlashType = row.FlashType;
    info.EEPROMIndex = static_cast<u32>(std::max(FLASH_FindEEPROMByName(row.sChip), 0));
    FLASH_ApplyEEPROM(&info);
    PROJECT_SetFlash(&info);
    SETUP_SetSkipBlankAreas(i & 1);
    SetProduction([&](PROJ_PRODUCTION& p) { p.EraseType = 1 + (i >> 1 & 1), p.ProgramSN = 0; });
    const bool isKept = row.FlashType == FLASH_TYPE_EEPROM;
    std::string chip(row.Size, isKept ? 'k' : '\xFF');
    chip.replace(3, 40, 40, 'a').replace(600, 70, 70, '\xFF').replace(650, 3, "bcd");
    WriteFile(core.Path("chip.bin"), chip);
    const MEMAREA_PTR pImage(MEMAREA_Create());
    for (const auto& [addr, numBytes] : {std::pair(3, 40), {650, 3}}) {
      MEMAREA_Write(pImage.get(), addr, numBytes, reinterpret_cast<const u8*>(&chip[addr]));
    }
    FLASH_Auto(pImage.get());
    EXPECT_TRUE(core.HasPassed()) << core.FrontEnd().GetLog();
    EXPECT_EQ(core.Stat("BusyNs"), 0u);
    MEMAREA_Write(pImage.get(), 8, 1, reinterpret_cast<const u8*>(&(chip[8] = 'x')));
    FLASH_Auto(pImage.get());
    EXPECT_TRUE(core.HasPassed()) << core.FrontEnd().GetLog();
    EXPECT_EQ(core.Stat("BusyNs"), isKept ? row.NumPages * 5'000'000 : 0);
    FLASH_Disconnect();
    EXPECT_TRUE(ReadFile(core.Path("chip.bin")) == chip);
  }
}

// The data begins and ends within sectors whose other bytes alone are not blank.
TEST(Auto, OldBytesBesideTheData) {
  AutoScope core;
  SETUP_SetAutoMode(0);
  SETUP_SetSkipBlankAreas(1);
  SetProduction([](PROJ_PRODUCTION& p) { p.PerformCompare = p.ProgramSN = 0; });
  MODEL model;
  model.Put(0x8000, std::string(2 * kSector - 0x8000 + 5, 'n'));
  WriteFile(core.Path("chip.bin"),
            std::string(model.Chip).replace(0x100, 3, "old").replace(3 * kSector - 9, 3, "old"));
  FLASH_Auto(model.MakeImage().get());
  EXPECT_TRUE(core.HasPassed()) << core.FrontEnd().GetLog();
  FLASH_Disconnect();
  EXPECT_TRUE(ReadFile(core.Path("chip.bin")) == model.Image);
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
  EXPECT_LT(numPassed, numCalls / 3) << numCalls;
}

TEST(Auto, CutAtEveryCall) {
  CutAtEveryCall("50");     // nothing that a run needs
  CutAtEveryCall("45,72");  // fast mode
}

// The end of the connection is a part of the run: what fails there is no success that an error
// follows.
TEST(Auto, CutWhileDisconnecting) {
  AutoScope core;
  SETUP_SetAutoDisconnect(1);
  SetProduction([](PROJ_PRODUCTION& p) {
    p.AutoPerformsErase = p.AutoPerformsProgram = p.AutoPerformsVerify = 0;
  });
  u32 numPassed = 0;
  for (u32 call = 1; numPassed < 3 && call < 200; ++call) {
    SCOPED_TRACE(call);
    core.SetSerial("5");
    core.SetChip({{"Fault", "disconnect@" + std::to_string(call)}});
    core.FrontEnd().ClearLog();
    FLASH_Auto(MakeImage().get());
    const bool isPassed = core.FrontEnd().HasLog("OK (Total");
    EXPECT_NE(isPassed, core.FrontEnd().HasLog("ERROR")) << core.FrontEnd().GetLog();
    EXPECT_EQ(core.Serial(), isPassed ? "6" : "5");
    numPassed += isPassed ? 1 : 0;
  }
  EXPECT_EQ(numPassed, 3u);
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
        const bool isPassed = core.HasPassed();
        const bool isSame = Production().SNValue == (isPassed ? 6 : 5);
        const bool isTold =
            isPassed !=
            (core.FrontEnd().HasBox("Failed to increment S/N.") ||
             core.FrontEnd().HasBox("Could not prepare data for serial number programming"));
        _exit(!isSame || !isTold ? kFailed : NumCallsLeft >= 0 ? kPastEnd : 0);
      }
      ASSERT_EQ(waitpid(child, &status, 0), child);
      EXPECT_TRUE(WIFSIGNALED(status) || WEXITSTATUS(status) != kFailed) << n;
      const std::string log = ReadFile(core.Path("run.log"));
      const bool isReported = log.find(kPassed) != std::string::npos;
      const bool isOld = core.Serial() == before || core.Serial() == "5";
      EXPECT_TRUE(core.Serial() == "6" || (isOld && !isReported)) << n << log;
    }
  }
}

// With AutoDisconnect the exit steps find the connection gone; a bad one fails the run.
TEST(Auto, ExitSequenceAndRefusals) {
  AutoScope core;
  PROJ_CPU cpu;
  PROJECT_GetCpu(&cpu);
  cpu.aExitSteps.resize(1);
  cpu.aExitSteps[0].ActionIndex = 3;  // chip select
  PROJECT_SetCpu(&cpu);
  SETUP_SetAutoDisconnect(1);
  FLASH_Auto(MakeImage().get());
  EXPECT_TRUE(core.HasPassed()) << core.FrontEnd().GetLog();
  EXPECT_FALSE(FLASH_IsConnected());
  cpu.aExitSteps[0] = {};
  cpu.aExitSteps[0].ActionIndex = 6;  // compares a byte of the buffer
  cpu.aExitSteps[0].Value1 = 0xA5;
  PROJECT_SetCpu(&cpu);
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
  EXPECT_EQ(APP_GetNumRunErrors(), 0u);
  EXPECT_EQ(core.FrontEnd().GetWindows()[0]->NumUpdates, 1u);
  EXPECT_EQ(core.Serial(), "43");
  EXPECT_EQ(PROJECT_IsModified(), 1);
}

}  // namespace
