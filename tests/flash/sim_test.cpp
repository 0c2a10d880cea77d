#include <gtest/gtest.h>

#include <cstring>
#include <filesystem>

#include "app/engine/log.h"
#include "catalogue/catalogue.h"
#include "flash/erase.h"
#include "flash/program.h"
#include "flash/verify.h"
#include "project/settings.h"
#include "tests/flash/flash_scope.h"

// The engine against the simulated probe, whose chip forgives nothing.

namespace {

struct SimScope : FlashScope {
  SimScope() {
    setenv("VORTIC_CONFIG", Path("Vortic.ini").c_str(), 1);
    DRIVER_SetLibraryPath(KORVANE_DRIVER);
    SETUP_SetAutoBlankCheck(0);
  }
  ~SimScope() {
    FLASH_Disconnect();
    DRIVER_SetLibraryPath(nullptr);
  }

  // More: further lines of the probe's section.
  void SetProbe(const std::string& chip, const std::string& more) {
    WriteFile(Path("Vortic.ini"),
              "[Probe0]\nBackend = sim\nImageFile = chip.bin\nChip = " + chip + "\n" + more + "\n");
    SetFlash([](SPI_FLASH_INFO& i) { i.AutoDetect = 1; });
  }
};

// A pattern in which no page is like another.
MEMAREA_PTR MakePattern(u64 Addr, std::vector<u8>& data) {
  for (std::size_t i = 0; i < data.size(); ++i) {
    data[i] = static_cast<u8>(i * 7 + (i >> 8));
  }
  MEMAREA_PTR pArea(MEMAREA_Create());
  MEMAREA_AddRange(pArea.get(), Addr, data.size(), data.data());
  return pArea;
}

// Chips that come up protected; what stands beside the erased sectors stays.
TEST(Sim, EraseLeavesNothingAndTouchesNothingElse) {
  const std::pair<const char*, u32> rows[] = {
      {"W25Q128FV", 1}, {"AT25PE20", 1}, {"SST26VF016B", 1}, {"GD25Q128E", SPI_LANES_QUAD}};
  for (const auto& [chip, mode] : rows) {
    SCOPED_TRACE(chip);
    SimScope sim;
    sim.SetProbe(chip, "StatusRegister = 0x1C");
    FlashScope::SetFlash([&](SPI_FLASH_INFO& i) { i.DataTransferMode = mode; });
    std::vector<u8> expected(0x40000), read(0x40000);
    const MEMAREA_PTR pImage = MakePattern(0, expected);
    FLASH_Program(pImage.get(), true);
    FLASH_EraseAffected(MakeImage({{0x1FFFF, 2}}).get());
    u64 size = 0;
    FLASH_GetSectorInfo(0, nullptr, &size);
    std::fill_n(expected.begin() + 0x20000 - static_cast<i64>(size), 2 * size, u8{0xFF});
    const MEMAREA_PTR pRead(FLASH_ReadSpan(0, 0x3FFFF));
    MEMAREA_Read(pRead.get(), 0, read.size(), read.data(), 0);
    EXPECT_EQ(read, expected);
    FLASH_EraseChip();
    const MEMAREA_PTR pBlank(FLASH_ReadChip());
    EXPECT_EQ(FLASH_IsBlank(pBlank.get()), 1);
    EXPECT_FALSE(sim.FrontEnd().HasLog("ERROR")) << sim.FrontEnd().GetLog();
  }
}

// Each fault, at several calls of each operation, ends in an error with a cause, never in a pass;
// the next run, without the fault, works.
TEST(Sim, FaultsNeverPass) {
  struct RUN {
    const char* sChip;
    const char *sFault, *sText;  // what stands before the number of the call; what the user is told
    const char* sFast;
    u32 Op, Call;
  };
  std::vector<RUN> runs;
  // A line that nobody drives reads as busy on the first, and as ready on the other two.
  for (const char* sChip : {"W25Q128FV", "AT25PE20", "N25Q016A"})
    for (const auto& [fault, text] : {std::pair{"disconnect", "Communication with the probe lost"},
                                      {"timeout", "did not answer in time"},
                                      {"nak", "refused the call"},
                                      {"busy=forever", ""},
                                      {"cutpower", ""}}) {
      for (const char* sFast : {"", "\nDisableFunctions = 45,72"}) {
        for (u32 op = 0; op < 4; ++op) {
          for (const u32 call : {1u, 4u, 14u, 18u, 24u, 27u, 34u}) {
            runs.push_back({sChip, fault, text, sFast, op, call});
          }
        }
      }
    }
  for (const RUN& run : runs) {
    const std::string fault = std::string(run.sFault) + "@" + std::to_string(run.Call) + run.sFast;
    SCOPED_TRACE(std::string(run.sChip) + " " + fault + " operation " + std::to_string(run.Op));
    SimScope sim;
    sim.SetProbe(run.sChip, "Fault = " + fault);
    std::vector<u8> expected(0x30000);
    const MEMAREA_PTR pImage = MakePattern(0, expected);
    const auto operate = [&] {
      run.Op == 0   ? FLASH_EraseAffected(pImage.get())
      : run.Op == 1 ? FLASH_Program(pImage.get(), true)
      : run.Op == 2 ? FLASH_ProgramVerify(pImage.get())
                    : MEMAREA_Delete(FLASH_ReadSpan(0, 0x2FFFF));
    };
    operate();
    // A call beyond the operation's end, or one that a fault doesn't reach, may pass.
    const bool isPassed = sim.FrontEnd().HasBox("Completed after");
    EXPECT_NE(isPassed, sim.FrontEnd().HasLog("ERROR")) << sim.FrontEnd().GetLog();
    EXPECT_TRUE(isPassed || sim.FrontEnd().HasBox(run.sText)) << sim.FrontEnd().GetBoxTexts();
    EXPECT_EQ(FLASH_IsConnected(), isPassed);
    FLASH_Disconnect();
    if (isPassed && run.Op < 3) {
      run.Op == 0 ? expected.assign(0x30000, 0xFF) : void();
      const std::string chip = ReadFile(sim.Path("chip.bin"));
      EXPECT_EQ(std::memcmp(chip.data(), expected.data(), expected.size()), 0);
    }
    sim.SetProbe(run.sChip, "");
    sim.FrontEnd().ClearLog();
    run.Op == 1 || run.Op == 2 ? FLASH_EraseAffected(pImage.get()) : void();
    operate();
    EXPECT_FALSE(sim.FrontEnd().HasLog("ERROR")) << sim.FrontEnd().GetLog();
  }
}

// The row of a chip that was detected is not that of the next project's chip.
TEST(Sim, AChipsDescriptionDiesWithItsProject) {
  SimScope sim;
  sim.SetProbe("SST26VF016B", "");
  ASSERT_EQ(FLASH_Connect(), 0);
  EXPECT_GE(FLASH_GetSelectedDevice(), 0);
  FLASH_Disconnect();
  // Another chip, described by hand: its protection is not cleared by the instruction of the first.
  std::filesystem::remove(sim.Path("chip.bin"));
  sim.SetProbe("AT25SF041", "StatusRegister = 0x1C");
  FlashScope::SetFlash([](SPI_FLASH_INFO& i) {
    i.AutoDetect = 0;
    i.NumPages = 2048;
    i.SectorSizeShift = 16;
    i.StatusRegFormat = 3;
    std::copy_n("\x1F\x84\x01", 3, i.abID);
  });
  EXPECT_EQ(FLASH_GetSelectedDevice(), -1);
  std::vector<u8> data(0x1000);
  FLASH_Program(MakePattern(0, data).get(), true);
  FLASH_EraseAllSectors();
  EXPECT_FALSE(sim.FrontEnd().HasLog("ERROR")) << sim.FrontEnd().GetLog();
  FLASH_Disconnect();
  EXPECT_EQ(ReadFile(sim.Path("chip.bin")), std::string(0x80000, '\xFF'));
}

// A chip that ignores an erase, because it is protected in a way that the project doesn't know of.
TEST(Sim, AnEraseThatWasIgnoredIsNoSuccess) {
  for (const bool isWhole : {false, true}) {
    SimScope sim;
    sim.SetProbe("AT25SF041", "");
    std::vector<u8> data(0x1000);
    FLASH_Program(MakePattern(0x20000, data).get(), true);
    FLASH_Disconnect();
    sim.SetProbe("AT25SF041", "StatusRegister = 0x1C");
    FlashScope::SetFlash([](SPI_FLASH_INFO& i) {
      i.AutoDetect = 0;
      i.StatusRegFormat = 9;  // nothing of the status register
    });
    sim.FrontEnd().ClearLog();
    isWhole ? FLASH_EraseChip() : FLASH_EraseAllSectors();
    EXPECT_TRUE(sim.FrontEnd().HasLog("ERROR: Erasing")) << sim.FrontEnd().GetLog();
    EXPECT_FALSE(sim.FrontEnd().HasLog("completed successfully"));
  }
}

// Bytes that the data leaves open take part in neither way of comparing; a byte that differs is
// named with both values in either.
TEST(Sim, VerifyDoesNotDependOnTheWay) {
  for (const char* sFast : {"", "DisableFunctions = 45,72"}) {
    SimScope sim;
    sim.SetProbe("AT25SF041", sFast);
    std::vector<u8> data(0x800);
    FLASH_Program(MakePattern(0, data).get(), true);
    MEMAREA_PTR pSparse(MEMAREA_Create());
    for (const u32 addr : {1u, 7u, 600u, 0x7FDu}) {
      MEMAREA_AddRange(pSparse.get(), addr, 2, &data[addr]);
    }
    FLASH_Verify(pSparse.get());
    EXPECT_FALSE(sim.FrontEnd().HasLog("ERROR")) << sim.FrontEnd().GetLog();
    const u8 wrong = static_cast<u8>(~data[601]);
    MEMAREA_Write(pSparse.get(), 601, 1, &wrong);
    FLASH_Verify(pSparse.get());
    EXPECT_TRUE(sim.FrontEnd().HasLog("failed @ address 0x00000259 (Read: 0x")) << sFast;
    EXPECT_EQ(APP_GetOutcome().Cause(), APP_CAUSE::VerifyDiffers);
    EXPECT_EQ(APP_GetOutcome().Errors.front().Expected, wrong);
  }
}

// What has protection bits and no ID, and what is a FRAM whatever the project takes it for.
TEST(Sim, MemoriesWithoutErase) {
  for (const char* sChip : {"AT25256", "FM25V02A", "MB85RS256TY"}) {
    SCOPED_TRACE(sChip);
    SimScope sim;
    sim.SetProbe(sChip, "StatusRegister = 0x0C");
    if (std::string_view(sChip) == "AT25256") {
      FlashScope::SetFlash([](SPI_FLASH_INFO& i) {
        i.FlashType = FLASH_TYPE_EEPROM;
        i.EEPROMIndex = static_cast<u32>(FLASH_FindEEPROMByName("AT25256"));
        FLASH_ApplyEEPROM(&i);
      });
    }
    std::vector<u8> data(0x200);
    const MEMAREA_PTR pImage = MakePattern(0x40, data);
    std::fill_n(data.begin(), 0x100, u8{0xFF});  // is data here, and not skipped
    const std::string old(0x8000, '\0');
    WriteFile(sim.Path("chip.bin"), old);
    MEMAREA_Write(pImage.get(), 0x40, data.size(), data.data());
    FLASH_ProgramVerify(pImage.get());
    EXPECT_FALSE(sim.FrontEnd().HasLog("ERROR")) << sim.FrontEnd().GetLog();
    FLASH_Disconnect();
    EXPECT_EQ(ReadFile(sim.Path("chip.bin")).substr(0x40, 0x200),
              std::string(data.begin(), data.end()));
  }
}

// An EEPROM shows no ID: what nobody drives is no chip.
TEST(Sim, NothingOnTheBusIsNoMemory) {
  SimScope sim;
  sim.SetProbe("AT25256", "TargetMilliVolts = 900");
  FlashScope::SetFlash([](SPI_FLASH_INFO& i) {
    i.FlashType = FLASH_TYPE_EEPROM;
    i.AutoDetect = 0;
  });
  FLASH_SetFixedVTref(1, 3300);  // the probe is told that all is well
  EXPECT_EQ(FLASH_Connect(), -1);
  EXPECT_EQ(APP_GetRunCause(), APP_CAUSE::NoChip);
}

}  // namespace
