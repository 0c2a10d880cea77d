#include "flash/connect.h"

#include <gtest/gtest.h>

#include "catalogue/catalogue.h"
#include "project/settings.h"
#include "tests/flash/flash_scope.h"

namespace {

// What can stand in the way, and that each leaves everything closed.
TEST(Connect, Refusals) {
  const struct {
    const char* sText;  // empty: succeeds
    std::function<void(FakeDriver&)> Arrange;
  } rows[] = {
      {"", [](FakeDriver&) {}},
      {"", [](FakeDriver& f) { f.MilliVolts = 1000; }},
      {"Target system has no power", [](FakeDriver& f) { f.MilliVolts = 999; }},
      {"Target system has no power", [](FakeDriver& f) { f.HwResult = -1; }},
      {"No probe", [](FakeDriver& f) { f.sOpen = "No probe"; }},
      {"The connected probe/ programmer (S/N -7) does not support the SPI interface",
       [](FakeDriver& f) { f.Interfaces = 1u << 14; }},
      {"The connected probe/ programmer (S/N -7) does not support the QSPI interface",
       [](FakeDriver& f) {
         f.Interfaces = 1u << 5;
         FlashScope::SetFlash([](SPI_FLASH_INFO& i) { i.UseQuadMode = 1; });
       }},
      {"Cannot use Quad Mode. ReadDataQuad, WritePageQuad or NumDummyCyclesQuad are unknown!",
       [](FakeDriver&) { FlashScope::SetFlash([](SPI_FLASH_INFO& i) { i.UseQuadMode = 1; }); }},
      {"The driver library gives no reason.",
       [](FakeDriver& f) {
         f.ExecResult = -1;
         FLASH_SetFixedVTref(1, 1800);
       }},
      {"Cannot connect to target flash (API function not found).",
       [](FakeDriver& f) { f.MissingFunc.insert(1); }},
      {"Failed to connect to target flash.", [](FakeDriver& f) { f.ListResult = -262; }},
      {"Failed to verify Flash Id",
       [](FakeDriver& f) {
         f.Id = {0xEF, 0x41, 0x18};
       }},
      {"Failed to verify Flash Id", [](FakeDriver& f) { f.Id = {}; }},
      {"",
       [](FakeDriver& f) {
         f.Id = {0xEF, 0x70, 0x18};
         FlashScope::SetFlash([](SPI_FLASH_INFO& i) { i.Ignore2ndIdByte = 1; });
       }},
      {"", [](FakeDriver& f) { f.Id = {0x7F, 0x7F, 0xEF, 0x7F, 0x40, 0x18}; }},
      {"Link lost", [](FakeDriver& f) { f.OnList = [&f](auto*, u32) { f.pfError("Link lost"); }; }},
      {"Failed to auto-detect SPI Flash.",
       [](FakeDriver& f) {
         f.Id = {0, 0, 0};
         FlashScope::SetFlash([](SPI_FLASH_INFO& i) { i.AutoDetect = 1; });
       }},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.sText);
    FlashScope scope;
    FakeDriver fake;
    row.Arrange(fake);
    const bool isGood = *row.sText == '\0';
    EXPECT_EQ(FLASH_Connect(), isGood ? 0 : -1);
    EXPECT_EQ(FLASH_IsConnected(), isGood);
    EXPECT_EQ(FLASH_State().ProbeIsOpen, isGood ? 1 : 0);
    EXPECT_TRUE(scope.FrontEnd().GetBoxTexts().find(row.sText) != std::string::npos);
    EXPECT_EQ(scope.FrontEnd().GetStatusText(0), isGood ? "Ready" : "Failed to connect");
    EXPECT_EQ(scope.FrontEnd().GetStatusText(2), isGood ? "Speed: 4000 kHz" : "");
    EXPECT_TRUE(scope.FrontEnd().HasLog("Probe announces itself"));
    EXPECT_EQ(scope.FrontEnd().GetCounts().NumWindowChecks % 2, 0u);
    EXPECT_TRUE(isGood || row.sText == std::string("No probe") || fake.Has("Close"));
  }
}

TEST(Connect, SequenceOfCalls) {
  FlashScope scope;
  FakeDriver fake;
  FLASH_SetTargetPower(1, 250);
  const u64 slept = FakeTime::GetSleptMs();
  ASSERT_EQ(FLASH_Connect(), 0);
  EXPECT_EQ(fake.Log,
            "Open\nTif 5\nSpeed 50000\nExec SupplyPower = 1\nLine r\nLine r\n"
            "List 2\n1 9F 8 002\n1 < 104 00C\n");
  fake.Log.clear();
  EXPECT_EQ(FLASH_Connect(), 0);
  EXPECT_EQ(fake.Log, "");
  FLASH_Disconnect();
  EXPECT_EQ(fake.Log, "Exec DisablePowerSupplyOnClose\nLine R\nClose\n");
  EXPECT_EQ(FakeTime::GetSleptMs() - slept, 250u + 10 + 10 + 20 + 250);
}

// The mode switch follows the chip that is there, whatever the project said before.
TEST(Connect, FourByteModeFollowsIdentification) {
  struct Row {
    std::vector<u8> Id;
    u8 WasDedicated, WasNumAddrBytes;
    const char* sList;
    bool IsSentAtClose;
  };
  const std::string enter = "1 06 8 00E\n1 B7 8 00E\n";
  const std::string late = "List 2\n" + enter;
  const Row rows[] = {
      {{0x20, 0xBA, 0x19}, 0, 3, late.c_str(), true},
      {{0x20, 0xBA, 0x19}, 1, 4, "List 4\n1 9F 8 002\n1 < 336 00C\n1 06 8 00E\n1 B7 8 00E\n", true},
      {{0xEF, 0x40, 0x18}, 1, 4, "List 4\n", false},
      {{0xEF, 0x40, 0x18}, 0, 3, "List 2\n1 9F 8 002\n1 < 336 00C\n", false},
  };
  for (const Row& row : rows) {
    FlashScope scope;
    FakeDriver fake;
    fake.Id = row.Id;
    FlashScope::SetFlash([&](SPI_FLASH_INFO& i) {
      i.AutoDetect = 1;
      i.Dedicated4BAddrMode = row.WasDedicated;
      i.NumAddrBytes = row.WasNumAddrBytes;
    });
    ASSERT_EQ(FLASH_Connect(), 0);
    EXPECT_TRUE(fake.Has(row.sList)) << fake.Log;
    EXPECT_EQ(fake.Has(late), row.WasDedicated == 0 && row.IsSentAtClose);
    fake.Log.clear();
    FLASH_Disconnect();
    EXPECT_EQ(fake.Has("W 06 8 00E\nW E9 8 00E\n"), row.IsSentAtClose);
  }
}

TEST(Connect, QuadByIdentificationSelectsTheInterface) {
  FlashScope scope;
  FakeDriver fake;
  fake.Id = {0xC8, 0x40, 0x18};
  FlashScope::SetFlash([](SPI_FLASH_INFO& i) {
    i.AutoDetect = 1;
    i.DataTransferMode = SPI_LANES_QUAD;
  });
  ASSERT_EQ(FLASH_Connect(), 0);
  EXPECT_TRUE(fake.Has("Tif 5\n"));
  EXPECT_TRUE(fake.Has("Tif 14\n"));
  EXPECT_TRUE(fake.Has("Line c\nW 31 8 000\n"));  // the quad enable sequence
}

TEST(Connect, EepromWithoutIdRunsNoList) {
  FlashScope scope;
  FakeDriver fake;
  fake.MissingFunc.insert(1);
  FlashScope::SetFlash([](SPI_FLASH_INFO& i) {
    i.FlashType = FLASH_TYPE_EEPROM;
    i.NumAddrBytes = 2;
  });
  EXPECT_EQ(FLASH_Connect(), 0);
}

TEST(Connect, GangProgrammersTakeNoTargetSetUp) {
  for (const i32 product : {27, 30, 41, 42, 48, 49, 28, -1}) {
    const bool isGang = product > 0 && product != 28;
    FlashScope scope;
    FakeDriver fake;
    fake.ProductId = product;
    fake.MilliVolts = isGang ? 0 : 3300;
    EXPECT_TRUE(PROBE_Open(true, false));
    EXPECT_EQ(FLASH_State().ProbeIsGang != 0, isGang) << product;
    EXPECT_EQ(fake.Has("Tif"), !isGang);
    fake.Log.clear();
    PROBE_Close();
    EXPECT_EQ(fake.Log == "Close\n", isGang);
  }
}

TEST(Connect, SelectionByConnectionMode) {
  const struct {
    u8 Mode;
    const char* sLine;
    int Select;
    int Result;
  } rows[] = {
      {0, "Connecting via USB to probe/ programmer device 7", -1, 0},
      {9, "Connecting via USB to probe/ programmer device 7", 0, 0},
      {1, "Connecting via USB to probe/ programmer with SN 7", 0, 0},
      {1, "Probe/ Programmer with SN 7 not found.\nCheck the project settings and your connected",
       -1, -1},
      {2, "Connecting via TCP/IP to bench", -1, 0},
      {4, "Connecting via USB to probe/ programmer with nickname \"Bob\"", -1, 0},
  };
  for (const auto& row : rows) {
    FlashScope scope;
    FakeDriver fake;
    fake.SelectResult = row.Select;
    const PROBE_CONNECTION connection = {row.Mode, "bench", 7, "Bob", 0, {}};
    SETUP_OverrideConnection(&connection);
    EXPECT_EQ(PROBE_Select(true), row.Result);
    EXPECT_FALSE(scope.FrontEnd().HasLog("Connecting"));  // no section is open
    APP_LogBegin("Section");
    PROBE_Select(true);
    APP_LogEnd();
    EXPECT_TRUE(scope.FrontEnd().HasLog(row.sLine)) << scope.FrontEnd().GetLog();
  }
}

TEST(Connect, ALinkThatBrokeWhileIdleIsBroughtUpAnew) {
  FlashScope scope;
  FakeDriver fake;
  ASSERT_EQ(FLASH_Connect(), 0);
  fake.pfError("Link lost");
  fake.Log.clear();
  EXPECT_EQ(FLASH_Connect(), 0);
  EXPECT_TRUE(fake.Has("Close\nOpen\n"));
  fake.Log.clear();
  EXPECT_EQ(FLASH_Connect(), 0);
  EXPECT_EQ(fake.Log, "");
}

TEST(Connect, Timeouts) {
  FlashScope scope;
  FakeDriver fake;
  ASSERT_EQ(FLASH_Connect(), 0);
  EXPECT_EQ(FLASH_State().TimeoutEraseSectorMs, 5000u);
  EXPECT_EQ(FLASH_State().TimeoutEraseChipMs, 400000u);
  FlashScope::SetProduction([](PROJ_PRODUCTION& p) {
    p.OverrideTimeouts = 1;
    p.TimeoutEraseSect = 7;
    p.TimeoutEraseChip = 8;
  });
  EXPECT_EQ(FLASH_Connect(), 0);
  EXPECT_EQ(FLASH_State().TimeoutEraseSectorMs, 7u);
  EXPECT_EQ(FLASH_State().TimeoutEraseChipMs, 8u);
}

TEST(Connect, Detect) {
  const struct {
    std::function<void(FakeDriver&)> Arrange;
    int Result;
    const char* sText;
  } rows[] = {
      {[](FakeDriver&) {}, 0, "SPI flash detected successfully."},
      {[](FakeDriver& f) { f.sOpen = "No probe"; }, -256, "No probe"},
      {[](FakeDriver& f) { f.ListResult = -1; }, -1, "Failed to connect to target flash."},
      {[](FakeDriver& f) {
         f.Id = {0, 0, 0};
       },
       -1, "Failed to auto-detect SPI Flash."},
      {[](FakeDriver& f) { f.OnList = [&f](auto*, u32) { f.pfError("Link lost"); }; }, -1,
       "Link lost"},
  };
  for (const auto& row : rows) {
    FlashScope scope;
    FakeDriver fake;
    row.Arrange(fake);
    EXPECT_EQ(FLASH_Detect(), row.Result);
    EXPECT_TRUE(scope.FrontEnd().HasLog(row.sText)) << scope.FrontEnd().GetLog();
    EXPECT_EQ(FLASH_State().ProbeIsOpen, 0);
  }
}

TEST(Connect, AFailedSequenceFailsTheConnect) {
  for (const bool isQuad : {false, true}) {
    FlashScope scope;
    FakeDriver fake;
    CUSTOM_STEP step{};
    step.ActionIndex = CUSTOM_VAR_VERIFY_BYTE;
    step.Value0 = 3;
    step.Value1 = 0xEE;
    static PROJ_CPU cpu;
    PROJECT_GetCpu(&cpu);
    cpu.NumInitSteps = isQuad ? 0 : 1;
    cpu.aInitSteps[0] = step;
    PROJECT_SetCpu(&cpu);
    FlashScope::SetFlash([&](SPI_FLASH_INFO& i) {
      i.UseQuadMode = isQuad ? 1 : 0;
      i.CmdReadDataQuad = i.CmdWritePageQuad = i.NumDummyCyclesQuad = 8;
      i.NumQuadEnableInitSteps = 1;
      i.aQuadEnableInitSteps[0] = step;
    });
    EXPECT_EQ(FLASH_Connect(), -1);
    EXPECT_TRUE(scope.FrontEnd().HasLog(isQuad ? "custom quad enable init sequence."
                                               : "Could not perform custom init sequence."));
    EXPECT_TRUE(fake.Has("Close"));
  }
}

}  // namespace
