#include <gtest/gtest.h>

#include <cstring>

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
    const char *sFault, *sText;  // what stands before the number of the call; what the user is told
    const char* sFast;
    u32 Op, Call;
  };
  std::vector<RUN> runs;
  for (const auto& [fault, text] : {std::pair{"disconnect", "Communication with the probe lost"},
                                    {"timeout", "did not answer in time"},
                                    {"nak", "refused the call"},
                                    {"busy=forever", ""},
                                    {"cutpower", ""}}) {
    for (const char* sFast : {"", "\nDisableFunctions = 45,72"}) {
      for (u32 op = 0; op < 4; ++op) {
        for (const u32 call : {1u, 2u, 4u, 8u, 12u, 14u, 16u, 17u, 18u, 19u, 20u}) {
          runs.push_back({fault, text, sFast, op, call});
        }
      }
    }
  }
  for (const RUN& run : runs) {
    const std::string fault = std::string(run.sFault) + "@" + std::to_string(run.Call) + run.sFast;
    SCOPED_TRACE(fault + " operation " + std::to_string(run.Op));
    SimScope sim;
    sim.SetProbe("W25Q128FV", "Fault = " + fault);
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
    sim.SetProbe("W25Q128FV", "");
    sim.FrontEnd().ClearLog();
    run.Op == 1 || run.Op == 2 ? FLASH_EraseAffected(pImage.get()) : void();
    operate();
    EXPECT_FALSE(sim.FrontEnd().HasLog("ERROR")) << sim.FrontEnd().GetLog();
  }
}

}  // namespace
