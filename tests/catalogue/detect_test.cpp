#include <gtest/gtest.h>

#include "catalogue/catalogue.h"
#include "tests/project/project_scope.h"

namespace {

int Detect(const std::vector<u8>& id) {
  return FLASH_DetectDevice(id.data(), static_cast<u32>(id.size()));
}

std::string SelectedName() {
  FLASH_DEVICE row = {};
  const i32 index = FLASH_GetSelectedDevice();
  return index >= 0 && FLASH_GetDeviceRow(static_cast<u32>(index), &row) == 0 ? row.sDevice
                                                                              : "none";
}

void SetQuad(u8 UseQuadMode, u32 DataTransferMode, u32 AutoDetect) {
  const auto pFlash = GetBlock(PROJECT_GetFlash);
  pFlash->UseQuadMode = UseQuadMode;
  pFlash->DataTransferMode = DataTransferMode;
  pFlash->AutoDetect = AutoDetect;
  PROJECT_SetFlash(pFlash.get());
}

}  // namespace

TEST(Detect, Devices) {
  struct BLOCK {
    u8 ReadData, WritePage, EraseSector, Enter, Exit, NumAddrBytes, Dedicated;
    bool operator==(const BLOCK&) const = default;
  };
  const struct {
    std::vector<u8> Id;
    const char* sDevice;
    u64 Size;
    BLOCK Block;
  } cases[] = {
      {{0x20, 0x20, 0x11}, "M25P10-A", 128 << 10, {3, 2, 0xD8, 0, 0, 3, 0}},
      {{0x20, 0xBA, 0x19}, "N25Q256A", 32 << 20, {3, 2, 0xD8, 0xB7, 0xE9, 4, 1}},
      {{0xEF, 0x40, 0x19}, "W25Q256FV", 32 << 20, {0x13, 0x12, 0xDC, 0, 0, 4, 0}},
      {{0x43, 0xA7, 0x00}, "ATXP032R", 4 << 20, {0x0B, 2, 0xD8, 0xB7, 0xE9, 4, 0}},
      {{0x7F, 0x7F, 0x04, 0x7F, 0x25, 0x03}, "MB85RS256TY", 32 << 10, {3, 2, 0, 0, 0, 2, 0}},
      {{0x34, 0x2B, 0x19, 0x0F, 8}, "S25FS256T", 32 << 20, {0x13, 0x12, 0xDC, 0, 0, 4, 0}},
      {{0x34, 0x2B, 0x19, 0x0F, 3}, "S25HS256T", 32 << 20, {0x13, 0x12, 0xDC, 0, 0, 4, 0}},
      {{0x34, 0x2B, 0x19}, "S25HS256T", 32 << 20, {0x13, 0x12, 0xDC, 0, 0, 4, 0}},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.sDevice);
    ProjectScope scope;
    ASSERT_EQ(PROJECT_New(nullptr), 0);
    EXPECT_EQ(Detect(c.Id), 0);
    EXPECT_EQ(SelectedName(), c.sDevice);
    EXPECT_TRUE(scope.FrontEnd.HasLog(c.sDevice));
    const auto p = GetBlock(PROJECT_GetFlash);
    EXPECT_EQ(FLASH_InfoTotalSize(*p), c.Size);
    EXPECT_EQ((BLOCK{p->CmdReadData, p->CmdWritePage, p->CmdEraseSector, p->CmdEnter4ByteMode,
                     p->CmdExit4ByteMode, p->NumAddrBytes, p->Dedicated4BAddrMode}),
              c.Block);
    FLASH_DEVICE row = {};
    FLASH_GetDeviceRow(static_cast<u32>(FLASH_GetSelectedDevice()), &row);
    EXPECT_EQ(p->Ignore2ndIdByte, row.Ignore2ndIdByte() ? 1 : 0);
    EXPECT_EQ(p->StatusRegFormat, row.StatusRegFormat());
    EXPECT_EQ(p->SectorSizeShift, row.SectorSizeShift());
  }
}

TEST(Detect, UnknownIdKeepsTheGeometry) {
  ProjectScope scope;
  ASSERT_EQ(scope.Open("[GENERAL]\r\n"), 0);
  ASSERT_EQ(Detect({0xEF, 0x40, 0x18}), 0);
  EXPECT_EQ(Detect({0xAA, 0xBB, 0xCC, 1, 2}), -1);
  EXPECT_TRUE(scope.FrontEnd.HasLog("Read SPI Flash Id = 0xAA BB CC"));
  EXPECT_EQ(scope.FrontEnd.CountLog("Failed to auto-detect SPI Flash."), 2u);
  EXPECT_EQ(APP_GetErrorCount(), 1u);
  const auto pFlash = GetBlock(PROJECT_GetFlash);
  EXPECT_EQ(pFlash->abID[2], 0xCC);
  EXPECT_EQ(FLASH_InfoTotalSize(*pFlash), 16u << 20);
}

TEST(Detect, QuadSetup) {
  const std::vector<u8> withQuad = {0xC8, 0x40, 0x18};
  const std::vector<u8> without = {0xEF, 0x60, 0x18};
  const struct {
    const char* sName;
    std::vector<u8> Id;
    u8 UseQuadMode;
    u32 TransferMode, AutoDetect;
    u8 UsesQuad;
    u32 NumSteps;
    const char* sSelected;
  } cases[] = {
      {"left as it is", withQuad, 0, 1, 1, 0, 0, "GD25Q128E"},
      {"left on", without, 1, 1, 1, 1, 0, "W25Q128FV"},
      {"set up", withQuad, 0, 2, 1, 1, 16, "GD25Q128E"},
      {"set up by hand", withQuad, 0, 1, 0, 1, 16, "GD25Q128E"},
      {"not needed", without, 0, 2, 1, 0, 0, "W25Q128FV"},
      {"not known", without, 1, 2, 1, 1, 0, "none"},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.sName);
    ProjectScope scope;
    ASSERT_EQ(PROJECT_New(nullptr), 0);
    SetQuad(c.UseQuadMode, c.TransferMode, c.AutoDetect);
    EXPECT_EQ(Detect(c.Id), 0);
    EXPECT_EQ(SelectedName(), c.sSelected);
    const auto pFlash = GetBlock(PROJECT_GetFlash);
    EXPECT_EQ(pFlash->UseQuadMode, c.UsesQuad);
    ASSERT_EQ(pFlash->aQuadEnableInitSteps.size(), c.NumSteps);
    EXPECT_EQ(pFlash->CmdReadDataQuad, c.NumSteps != 0 ? 0x6B : 0);
    EXPECT_EQ(pFlash->NumDummyCyclesQuad, c.NumSteps != 0 ? 8 : 0);
    // The instruction that writes status register 2, and the bit that is set in it.
    if (c.NumSteps != 0) {
      EXPECT_EQ(pFlash->aQuadEnableInitSteps[13].abData[0], 0x31);
      EXPECT_EQ(pFlash->aQuadEnableInitSteps[6].Value1, 2u);
    }
    const bool isFailed = std::string(c.sSelected) == "none";
    EXPECT_EQ(APP_GetErrorCount(), isFailed ? 1u : 0u);
    EXPECT_EQ(pFlash->NumPages, isFailed ? 0u : 0x10000u);  // nothing is stored
    EXPECT_EQ(scope.FrontEnd.HasLog("Failed to auto-detect quad mode configuration for Winbond "
                                    "W25Q128FV."),
              isFailed);
  }
}

TEST(Select, RowsThatCannotBeSelected) {
  ProjectScope scope;
  ASSERT_EQ(PROJECT_New(nullptr), 0);
  for (const i32 index : {-1, 256, 342, 0x7FFFFFFF}) {
    ASSERT_EQ(FLASH_SelectDevice(321, true), 0);  // by hand, though detection never gets there
    EXPECT_EQ(FLASH_SelectDevice(index, true), -1) << index;
    EXPECT_EQ(FLASH_GetSelectedDevice(), -1);
  }
}

TEST(Select, ApplyEeprom) {
  const struct {
    u32 FlashType, Index;
    int Result;
    u64 Size;
  } cases[] = {
      {3, 0, 0, 1024}, {3, 10, 0, 128 << 10}, {3, 11, -1, 0}, {3, ~0u, -1, 0}, {1, 0, -1, 0}};
  for (const auto& c : cases) {
    auto pInfo = std::make_unique<SPI_FLASH_INFO>();
    pInfo->FlashType = c.FlashType;
    pInfo->EEPROMIndex = c.Index;
    EXPECT_EQ(FLASH_ApplyEEPROM(pInfo.get()), c.Result);
    EXPECT_EQ(FLASH_InfoTotalSize(*pInfo), c.Size);
    EXPECT_EQ(pInfo->NumAddrBytes, c.Result != 0 ? 0 : c.Index == 10 ? 3 : 2);
  }
}
