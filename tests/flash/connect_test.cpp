#include "flash/connect.h"

#include <gtest/gtest.h>

#include "catalogue/catalogue.h"
#include "flash/connect_internal.h"
#include "project/settings.h"
#include "tests/flash/flash_scope.h"

namespace {

using Id = std::vector<u8>;

void LoseLinkInList(FakeDriver& fake) {
  fake.OnList = [&fake](auto*, u32) { fake.pfError("Link lost"); };
}

// What can stand in the way, and that each leaves everything closed.
TEST(Connect, Refusals) {
  const auto quad = With(&SPI_FLASH_INFO::UseQuadMode, 1);
  const auto detect = With(&SPI_FLASH_INFO::AutoDetect, 1);
  const auto supply = [](FakeDriver&) { FLASH_SetFixedVTref(1, 1800); };
  const struct {
    const char* sText;  // empty: succeeds
    std::vector<Arrangement> Arrange;
  } rows[] = {
      {"", {}},
      {"", {With(&FakeDriver::MilliVolts, 1000)}},
      {"Target system has no power", {With(&FakeDriver::MilliVolts, 999)}},
      {"Target system has no power", {With(&FakeDriver::HwResult, -1)}},
      {"No probe", {With(&FakeDriver::sOpen, "No probe")}},
      {"The connected probe/ programmer (S/N -7) does not support the SPI interface",
       {With(&FakeDriver::Interfaces, 1u << 14)}},
      {"The connected probe/ programmer (S/N -7) does not support the QSPI interface",
       {With(&FakeDriver::Interfaces, 1u << 5), quad}},
      {"Cannot use Quad Mode. ReadDataQuad, WritePageQuad or NumDummyCyclesQuad are unknown!",
       {quad}},
      {"The driver library gives no reason.", {With(&FakeDriver::ExecResult, -1), supply}},
      {"Cannot connect to target flash (API function not found).",
       {With(&FakeDriver::MissingFunc, {1})}},
      {"Failed to connect to target flash.", {With(&FakeDriver::ListResult, -262)}},
      {"Failed to verify Flash Id", {With(&FakeDriver::Id, {0xEF, 0x41, 0x18})}},
      {"Failed to verify Flash Id", {With(&FakeDriver::Id, {})}},
      {"", {With(&FakeDriver::Id, {0xEF, 0x70, 0x18}), With(&SPI_FLASH_INFO::Ignore2ndIdByte, 1)}},
      {"", {With(&FakeDriver::Id, {0x7F, 0x7F, 0xEF, 0x7F, 0x40, 0x18})}},
      {"Link lost", {LoseLinkInList}},
      {"Failed to auto-detect SPI Flash.", {With(&FakeDriver::Id, {0, 0, 0}), detect}},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.sText);
    FakeScope fake(row.Arrange);
    const bool isGood = *row.sText == '\0';
    EXPECT_EQ(FLASH_Connect(), isGood ? 0 : -1);
    EXPECT_EQ(FLASH_IsConnected(), isGood);
    EXPECT_EQ(PROBE_IsOpen(), isGood);
    EXPECT_TRUE(fake.FrontEnd().HasBox(row.sText) || isGood) << fake.FrontEnd().GetBoxTexts();
    EXPECT_EQ(fake.FrontEnd().GetStatusText(0), isGood ? "Ready" : "Failed to connect");
    EXPECT_EQ(fake.FrontEnd().GetStatusText(2), isGood ? "Speed: 4000 kHz" : "");
    EXPECT_TRUE(fake.FrontEnd().HasLog("Probe announces itself"));
    EXPECT_EQ(fake.FrontEnd().GetCounts().NumWindowChecks % 2, 0u);
    EXPECT_TRUE(isGood || fake.sOpen != nullptr || fake.Has("Close"));
  }
}

TEST(Connect, SequenceOfCalls) {
  FakeScope fake;
  FLASH_SetTargetPower(1, 250);
  const u64 slept = FakeTime::GetSleptMs();
  ASSERT_EQ(FLASH_Connect(), 0);
  EXPECT_EQ(fake.Log,
            "Open\nTif 5\nSpeed 50000\nExec SupplyPower = 1\nLine r\nLine r\nLine C\n"
            "List 2\n1 9F 8 002\n1 < 104 00C\n"
            "W 06 8 00E\nW 05 8 002\nR 8 00C\nW 04 8 00E\nW 05 8 002\nR 8 00C\n");
  fake.Log.clear();
  EXPECT_EQ(FLASH_Connect(), 0);
  EXPECT_EQ(fake.Log, "");
  FLASH_Disconnect();
  EXPECT_EQ(fake.Log, "Exec SupplyPower = 0\nExec DisablePowerSupplyOnClose\nLine R\nClose\n");
  EXPECT_EQ(FakeTime::GetSleptMs() - slept, 250u + 10 + 10 + 20 + 250);
  // A link that broke while idle is brought up anew, once.
  ASSERT_EQ(FLASH_Connect(), 0);
  fake.pfError("Link lost");
  for (const bool isBroken : {true, false}) {
    fake.Log.clear();
    EXPECT_EQ(FLASH_Connect(), 0);
    EXPECT_EQ(fake.Has("Close\nOpen\n"), isBroken);
    EXPECT_EQ(fake.Log.empty(), !isBroken);
  }
}

// The mode switch follows the chip that is there, whatever the project said before.
TEST(Connect, FourByteModeFollowsIdentification) {
  const std::string enter = "W 06 8 00E\nW B7 8 00E\nW 04 8 00E\n";
  const struct {
    Id ChipId;
    u8 WasDedicated, WasNumAddrBytes;
    bool IsSwitched;
  } rows[] = {
      {{0x20, 0xBA, 0x19}, 0, 3, true},
      {{0x20, 0xBA, 0x19}, 1, 4, true},
      {{0xEF, 0x40, 0x18}, 1, 4, false},
      {{0xEF, 0x40, 0x18}, 0, 3, false},
  };
  for (const auto& row : rows) {
    FakeScope fake;
    fake.Id = row.ChipId;
    With(&SPI_FLASH_INFO::AutoDetect, 1)(fake);
    With(&SPI_FLASH_INFO::Dedicated4BAddrMode, row.WasDedicated)(fake);
    With(&SPI_FLASH_INFO::NumAddrBytes, row.WasNumAddrBytes)(fake);
    ASSERT_EQ(FLASH_Connect(), 0);
    EXPECT_EQ(fake.Has(enter), row.IsSwitched) << fake.Log;
    fake.Log.clear();
    FLASH_Disconnect();
    EXPECT_EQ(fake.Has("W 06 8 00E\nW E9 8 00E\n"), row.IsSwitched);
  }
}

TEST(Connect, QuadByIdentificationSelectsTheInterface) {
  FakeScope fake({With(&FakeDriver::Id, {0xC8, 0x40, 0x18}), With(&SPI_FLASH_INFO::AutoDetect, 1),
                  With(&SPI_FLASH_INFO::DataTransferMode, SPI_LANES_QUAD)});
  // A chip that ignores four lanes reads blank, and so does a blank one: the bit decides.
  EXPECT_EQ(FLASH_Connect(), -1);
  EXPECT_TRUE(fake.FrontEnd().HasBox("quad enable is not set"));
  fake.Memory.assign(64, 0x5A);
  ASSERT_EQ(FLASH_Connect(), 0);
  EXPECT_TRUE(fake.Has("Tif 5\n"));
  EXPECT_TRUE(fake.Has("Tif 14\n"));
  EXPECT_TRUE(fake.Has("Line c\nW 31 8 000\n"));  // the quad enable sequence
}

TEST(Connect, GangProgrammersTakeNoTargetSetUp) {
  for (const i32 product : {27, 30, 41, 42, 48, 49, 28, -1}) {
    const bool isGang = product > 0 && product != 28;
    FakeScope fake;
    fake.ProductId = product;
    fake.MilliVolts = isGang ? 0 : 3300;
    EXPECT_TRUE(PROBE_Open(true, false));
    EXPECT_EQ(PROBE_IsGang(), isGang) << product;
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
    int Select, Result;
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
    FakeScope fake;
    fake.SelectResult = row.Select;
    const PROBE_CONNECTION connection = {row.Mode, "bench", 7, "Bob", 0, {}};
    SETUP_OverrideConnection(&connection);
    EXPECT_EQ(PROBE_Select(true), row.Result);
    EXPECT_FALSE(fake.FrontEnd().HasLog("Connecting"));  // no section is open
    const APP_LOG_SECTION section("Section");
    EXPECT_EQ(PROBE_Select(true), row.Result);
    EXPECT_TRUE(fake.FrontEnd().HasLog(row.sLine)) << fake.FrontEnd().GetLog();
  }
}

TEST(Connect, OverriddenTimeouts) {
  FakeScope fake;
  FlashScope::SetProduction([](PROJ_PRODUCTION& p) {
    p.OverrideTimeouts = 1;
    p.TimeoutEraseSect = 7;
    p.TimeoutEraseChip = 8;
  });
  EXPECT_EQ(FLASH_Connect(), 0);
  EXPECT_EQ(CONNECT_GetChip()->TimeoutEraseSectorMs, 7u);
  EXPECT_EQ(CONNECT_GetChip()->TimeoutEraseChipMs, 8u);
  // Without that, twice what a chip of the size may take.
  FakeScope large(
      {With(&SPI_FLASH_INFO::NumPages, 1u << 20), With(&SPI_FLASH_INFO::NumAddrBytes, 4)});
  EXPECT_EQ(FLASH_Connect(), 0);
  EXPECT_EQ(CONNECT_GetChip()->TimeoutEraseChipMs, 256u * 12500);
}

TEST(Connect, Detect) {
  const struct {
    Arrangement Arrange;
    int Result;
    const char* sText;
  } rows[] = {
      {[](FakeDriver&) {}, 0, "SPI flash detected successfully."},
      {With(&FakeDriver::sOpen, "No probe"), -256, "No probe"},
      {With(&FakeDriver::ListResult, -1), -1, "Failed to connect to target flash."},
      {With(&FakeDriver::Id, {0, 0, 0}), -1, "Failed to auto-detect SPI Flash."},
      {LoseLinkInList, -1, "Link lost"},
  };
  for (const auto& row : rows) {
    FakeScope fake({row.Arrange});
    EXPECT_EQ(FLASH_Detect(), row.Result);
    EXPECT_TRUE(fake.FrontEnd().HasLog(row.sText)) << fake.FrontEnd().GetLog();
    EXPECT_FALSE(PROBE_IsOpen());
  }
}

TEST(Connect, AFailedSequenceFailsTheConnect) {
  for (const bool isQuad : {false, true}) {
    FakeScope fake;
    CUSTOM_STEP step{};
    step.ActionIndex = CUSTOM_VAR_VERIFY_BYTE;
    step.Value1 = 0xEE;
    PROJ_CPU cpu;
    PROJECT_GetCpu(&cpu);
    cpu.aInitSteps.assign(isQuad ? 0 : 1, step);
    PROJECT_SetCpu(&cpu);
    FlashScope::SetFlash([&](SPI_FLASH_INFO& i) {
      i.UseQuadMode = isQuad ? 1 : 0;
      i.CmdReadDataQuad = i.CmdWritePageQuad = i.NumDummyCyclesQuad = 8;
      i.aQuadEnableInitSteps.assign(1, step);
    });
    EXPECT_EQ(FLASH_Connect(), -1);
    EXPECT_TRUE(fake.FrontEnd().HasLog(isQuad ? "custom quad enable init sequence."
                                              : "Could not perform custom init sequence."));
    EXPECT_TRUE(fake.Has("Close"));
  }
}

}  // namespace
