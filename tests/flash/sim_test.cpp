#include <gtest/gtest.h>

#include <cstring>

#include "app/engine/app_state.h"
#include "catalogue/catalogue.h"
#include "flash/erase.h"
#include "flash/program.h"
#include "flash/verify.h"
#include "project/settings.h"
#include "tests/flash/flash_scope.h"

// The engine against the simulated probe, whose chip forgives nothing.

namespace {

struct SimScope {
  SimScope() {
    setenv("VORTIC_CONFIG", scope.Path("Vortic.ini").c_str(), 1);
    DRIVER_SetLibraryPath(KORVANE_DRIVER);
    SETUP_SetAutoBlankCheck(0);
  }
  ~SimScope() {
    FLASH_Disconnect();
    DRIVER_SetLibraryPath(nullptr);
  }

  // More: further lines of the probe's section.
  void SetProbe(const std::string& chip, const std::string& more) {
    WriteFile(scope.Path("Vortic.ini"),
              "[Probe0]\nBackend = sim\nImageFile = chip.bin\nChip = " + chip + "\n" + more + "\n");
  }
  // The project for the chip, by identification or, for an EEPROM, by name.
  static void SetProject(const char* sEeprom, u32 DataTransferMode) {
    FlashScope::SetFlash([&](SPI_FLASH_INFO& i) {
      i.AutoDetect = 1;
      i.DataTransferMode = DataTransferMode;
      if (sEeprom != nullptr) {
        i.FlashType = FLASH_TYPE_EEPROM;
        i.EEPROMIndex = static_cast<u32>(FLASH_FindEEPROMByName(sEeprom));
        FLASH_ApplyEEPROM(&i);
      }
    });
  }
  // Number behind a name of the simulator's statistics.
  static long long GetStat(const std::string& name) {
    char acText[256] = "";
    EXPECT_EQ(VORTIC_ExecCommand("SimGetStats", acText, sizeof(acText)), 0) << acText;
    const std::string text = acText;
    const std::size_t pos = text.find(name + "=");
    return pos == std::string::npos ? -1 : std::atoll(text.c_str() + pos + name.size() + 1);
  }
  std::string Boxes() { return scope.FrontEnd().GetBoxTexts(); }

  FlashScope scope;
};

MEMAREA_PTR MakeImage(u64 Addr, u32 NumBytes) {
  std::vector<u8> data(NumBytes);
  for (u32 i = 0; i < NumBytes; ++i) {
    data[i] = static_cast<u8>(i * 7 + (i >> 8));
  }
  MEMAREA_PTR pArea(MEMAREA_Create());
  MEMAREA_AddRange(pArea.get(), Addr, NumBytes, data.data());
  return pArea;
}

TEST(Sim, KindsOfDevices) {
  struct Row {
    const char* sChip;
    const char* sEeprom;  // for those without an ID
    u32 FlashType;
    u32 DataTransferMode;
    u64 Addr;
    u32 NumBytes;
  };
  const Row rows[] = {
      {"W25Q128FV", nullptr, FLASH_TYPE_NOR, 1, 0xFE0123, 70000},
      {"GD25Q128E", nullptr, FLASH_TYPE_NOR, 2, 0x10003, 70000},     // quad
      {"N25Q256A", nullptr, FLASH_TYPE_NOR, 1, 0x1800005, 70000},    // mode switch, flag status
      {"W25Q256FV", nullptr, FLASH_TYPE_NOR, 1, 0x1FF0000, 0x8000},  // 4-byte instructions
      {"AT25PE20", nullptr, FLASH_TYPE_NOR, 1, 0x801, 9000},         // page erase
      {"SST26VF016B", nullptr, FLASH_TYPE_NOR, 1, 0x1001, 9000},     // global unlock
      {"ATXP032R", nullptr, FLASH_TYPE_NOR, 1, 0x1001, 9000},        // fast read
      {"MB85RS256TY", nullptr, FLASH_TYPE_FRAM, 1, 0x101, 9000},
      {"AT25256", "AT25256", FLASH_TYPE_EEPROM, 1, 0x101, 9000},
      {"M95M01", "M95M01", FLASH_TYPE_EEPROM, 1, 0xFF01, 9000},
  };
  for (const Row& row : rows) {
    for (const char* sFast : {"", "DisableFunctions = 45,72"}) {
      SCOPED_TRACE(std::string(row.sChip) + " " + sFast);
      SimScope sim;
      sim.SetProbe(row.sChip, (row.FlashType == FLASH_TYPE_NOR ? "StatusRegister = 0x1C\n" : "") +
                                  std::string(sFast));
      SimScope::SetProject(row.sEeprom, row.DataTransferMode);
      FlashScope::SetFlash([&](SPI_FLASH_INFO& i) { i.FlashType = row.FlashType; });
      const MEMAREA_PTR pImage = MakeImage(row.Addr, row.NumBytes);
      ASSERT_EQ(FLASH_Connect(), 0) << sim.scope.FrontEnd().GetLog();
      EXPECT_TRUE(sim.scope.FrontEnd().HasLog("SIMULATED PROBE"));
      FLASH_ProgramVerify(pImage.get());
      FLASH_EraseAffected(pImage.get());
      FLASH_Program(pImage.get(), true);
      FLASH_Verify(pImage.get());
      EXPECT_EQ(sim.scope.FrontEnd().CountLog("ERROR"), 0u) << sim.scope.FrontEnd().GetLog();
      EXPECT_EQ(sim.scope.FrontEnd().CountLog("All loaded bytes verified OK!"), 2u);
      const MEMAREA_PTR pRead(FLASH_ReadSpan(row.Addr, row.Addr + row.NumBytes - 1));
      std::vector<u8> expected(row.NumBytes), read(row.NumBytes);
      MEMAREA_Read(pImage.get(), row.Addr, row.NumBytes, expected.data(), 0);
      MEMAREA_Read(pRead.get(), row.Addr, row.NumBytes, read.data(), 0);
      EXPECT_EQ(read, expected);
      // Not what the engine reads, but what is in the chip.
      ASSERT_TRUE(FLASH_IsConnected());
      EXPECT_EQ(SimScope::GetStat("Faults"), 0);
      FLASH_Disconnect();
      EXPECT_FALSE(sim.scope.FrontEnd().HasLog(" x ")) << sim.scope.FrontEnd().GetLog();
      EXPECT_EQ(std::memcmp(ReadFile(sim.scope.Path("chip.bin")).data() + row.Addr, read.data(),
                            row.NumBytes),
                0);
    }
  }
}

TEST(Sim, EraseLeavesNothingAndTouchesNothingElse) {
  for (const char* sChip : {"W25Q128FV", "AT25PE20", "SST26VF016B"}) {
    SCOPED_TRACE(sChip);
    SimScope sim;
    sim.SetProbe(sChip, "");
    SimScope::SetProject(nullptr, 1);
    const MEMAREA_PTR pImage = MakeImage(0, 0x40000);
    FLASH_Program(pImage.get(), true);
    const MEMAREA_PTR pPart = MakeImage(0x1FFFF, 2);
    FLASH_EraseAffected(pPart.get());
    u64 size = 0;
    FLASH_GetSectorInfo(0, nullptr, &size);
    std::vector<u8> expected(0x40000);
    MEMAREA_Read(pImage.get(), 0, expected.size(), expected.data(), 0);
    std::fill_n(expected.begin() + 0x20000 - static_cast<i64>(size), 2 * size, u8{0xFF});
    const MEMAREA_PTR pRead(FLASH_ReadSpan(0, 0x3FFFF));
    std::vector<u8> read(0x40000);
    MEMAREA_Read(pRead.get(), 0, read.size(), read.data(), 0);
    EXPECT_EQ(read, expected);
    FLASH_EraseChip();
    const MEMAREA_PTR pBlank(FLASH_ReadChip());
    EXPECT_EQ(FLASH_IsBlank(pBlank.get()), 1);
    EXPECT_FALSE(sim.scope.FrontEnd().HasLog("ERROR"));
  }
}

// Each fault, at several calls of each operation, ends in an error with a cause, never in a pass;
// the next run, without the fault, works.
TEST(Sim, FaultsNeverPass) {
  struct Row {
    const char* sFault;  // N stands for the number of a call
    const char* sText;   // part of what the user is told; empty: some error
  };
  const Row rows[] = {{"disconnect@N", "Communication with the probe lost"},
                      {"timeout@N", "did not answer in time"},
                      {"nak@N", "refused the call"},
                      {"busy=forever@N", ""},
                      {"cutpower@N", ""}};
  for (const Row& row : rows) {
    for (const char* sFast : {"", "\nDisableFunctions = 45,72"}) {
      for (u32 op = 0; op < 4; ++op) {
        for (const u32 call : {1u, 2u, 4u, 8u, 12u, 14u, 16u, 17u, 18u, 19u, 20u}) {
          SimScope sim;
          std::string fault = row.sFault;
          fault.replace(fault.find('N'), 1, std::to_string(call));
          SCOPED_TRACE(testing::Message() << fault << sFast << " operation " << op);
          sim.SetProbe("W25Q128FV", "Fault = " + fault + sFast);
          SimScope::SetProject(nullptr, 1);
          const MEMAREA_PTR pImage = MakeImage(0, 0x30000);
          const auto run = [&] {
            switch (op) {
              case 0:
                return FLASH_EraseAffected(pImage.get());
              case 1:
                return FLASH_Program(pImage.get(), true);
              case 2:
                return FLASH_ProgramVerify(pImage.get());
              default:
                MEMAREA_Delete(FLASH_ReadSpan(0, 0x2FFFF));
            }
          };
          run();
          // A call beyond the operation's end, or one that a fault doesn't reach, may pass.
          const bool isPassed = sim.Boxes().find("Completed after") != std::string::npos;
          const bool hasError = sim.scope.FrontEnd().HasLog("ERROR");
          EXPECT_NE(isPassed, hasError) << sim.scope.FrontEnd().GetLog();
          EXPECT_TRUE(isPassed || sim.Boxes().find(row.sText) != std::string::npos) << sim.Boxes();
          EXPECT_EQ(FLASH_IsConnected(), isPassed);
          FLASH_Disconnect();
          if (isPassed && op < 3) {
            std::vector<u8> expected(0x30000, 0xFF);
            op != 0 ? MEMAREA_Read(pImage.get(), 0, expected.size(), expected.data(), 0) : 0;
            const std::string chip = ReadFile(sim.scope.Path("chip.bin"));
            EXPECT_EQ(std::memcmp(chip.data(), expected.data(), expected.size()), 0);
          }
          sim.SetProbe("W25Q128FV", "");
          sim.scope.FrontEnd().ClearLog();
          op == 1 || op == 2 ? FLASH_EraseAffected(pImage.get()) : void();
          run();
          EXPECT_FALSE(sim.scope.FrontEnd().HasLog("ERROR")) << sim.scope.FrontEnd().GetLog();
        }
      }
    }
  }
}

TEST(Sim, BadCellsAreFoundByVerify) {
  for (const char* sFault : {"flip=0x12345:3", "stuck=0x12345:3"}) {
    for (const char* sFast : {"", "\nDisableFunctions = 45,72"}) {
      SCOPED_TRACE(std::string(sFault) + sFast);
      SimScope sim;
      sim.SetProbe("W25Q128FV", std::string("Fault = ") + sFault + sFast);
      SimScope::SetProject(nullptr, 1);
      MEMAREA_PTR pImage(MEMAREA_Create());
      const std::vector<u8> zeros(0x20000, 0);
      MEMAREA_AddRange(pImage.get(), 0, zeros.size(), zeros.data());
      FLASH_ProgramVerify(pImage.get());
      EXPECT_NE(sim.Boxes().find("0x00012345"), std::string::npos) << sim.Boxes();
      EXPECT_NE(sim.Boxes().find("Failed to program and verify target."), std::string::npos);
    }
  }
}

}  // namespace
