#include "catalogue/devices/device_table.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cstring>
#include <map>

namespace {

using CMDS = std::array<u8, 17>;

constexpr CMDS kStandard = {6, 4, 0x9F, 5, 1, 3, 2, 0xD8, 0xC7, 0xB7, 0xE9, 3, 0, 0, 0, 0, 0};
constexpr CMDS kFlagStatus = {6, 4, 0x9F, 0x70, 1, 3, 2, 0xD8, 0xC7, 0xB7, 0xE9, 3, 0, 1, 7, 0, 0};
constexpr CMDS kSmallSector = {6, 4, 0x9F, 5, 1, 3, 2, 0x20, 0xC7, 0xB7, 0xE9, 3, 0, 0, 0, 0, 0};
constexpr CMDS kPageErase = {0, 0, 0x9F, 0xD7, 0, 3, 2, 0x50, 0, 0, 0, 3, 0, 1, 7, 0, 0};
constexpr CMDS kFram = {6, 4, 0x9F, 5, 1, 3, 2, 0, 0, 0, 0, 2, 0, 0, 0, 0, 0};
constexpr CMDS kEeprom2 = {6, 4, 0, 5, 1, 3, 2, 0, 0, 0, 0, 2, 0, 0, 0, 0, 0};
constexpr CMDS kEeprom3 = {6, 4, 0, 5, 1, 3, 2, 0, 0, 0, 0, 3, 0, 0, 0, 0, 0};

CMDS CmdsOf(const FLASH_DEVICE& row) {
  CMDS cmds;
  std::memcpy(cmds.data(), row.pCmdSet->abCmd, cmds.size());
  return cmds;
}

// All rows of both tables but the empty one.
std::vector<FLASH_DEVICE> AllRows() {
  std::vector<FLASH_DEVICE> rows;
  FLASH_DEVICE row = {};
  for (u32 i = 0; FLASH_GetDeviceRow(i, &row) == 0; ++i) {
    if (row.sVendor != nullptr) {
      rows.push_back(row);
    }
  }
  for (u32 i = 0; FLASH_GetEEPROMRow(i, &row) == 0; ++i) {
    rows.push_back(row);
  }
  return rows;
}

}  // namespace

TEST(DeviceTable, EveryRowIsSound) {
  std::map<CMDS, u32> counts;
  for (const FLASH_DEVICE& row : AllRows()) {
    SCOPED_TRACE(row.sDevice);
    ASSERT_NE(row.pCmdSet, nullptr);
    ++counts[CmdsOf(row)];
    EXPECT_EQ(row.IdWord >> 30, 0u);
    EXPECT_EQ(row.LayoutWord >> 17, 0u);
    EXPECT_LE(row.PageSizeShift(), row.TotalSizeShift());
    EXPECT_LE(row.SectorSizeShift(), row.TotalSizeShift());
    EXPECT_LE(row.StatusRegFormat(), 11u);
    EXPECT_LE(row.AddrMode4B(), FLASH_ADDR_4BYTE_FAST_READ);
    // Every byte of the chip can be addressed.
    const u32 addrBits = row.AddrMode4B() != FLASH_ADDR_3BYTE ? 32 : row.pCmdSet->abCmd[11] * 8u;
    EXPECT_LE(row.TotalSizeShift(), addrBits);
    EXPECT_EQ(row.FlashType == FLASH_TYPE_FRAM, CmdsOf(row) == kFram);
    EXPECT_EQ(row.FlashType == FLASH_TYPE_EEPROM, row.pCmdSet->abCmd[2] == 0);
    EXPECT_EQ(row.FlashType == FLASH_TYPE_EEPROM, (row.IdWord & 0xFFFFFF) == 0);
    EXPECT_FALSE(row.Ignore2ndIdByte() && row.IdByte(1) != 0);
  }
  const std::map<CMDS, u32> expected = {{kStandard, 316}, {kFlagStatus, 12}, {kSmallSector, 3},
                                        {kPageErase, 7},  {kFram, 3},        {kEeprom2, 10},
                                        {kEeprom3, 1}};
  EXPECT_EQ(counts, expected);
}

TEST(DeviceTable, Bounds) {
  FLASH_DEVICE row = {};
  EXPECT_EQ(FLASH_GetDeviceRow(341, &row), 0);
  EXPECT_STREQ(row.sDevice, "FM25M64C");
  EXPECT_EQ(FLASH_GetDeviceRow(342, &row), -1);
  EXPECT_EQ(FLASH_GetDeviceRow(0, nullptr), -1);
  EXPECT_EQ(FLASH_GetDeviceRow(256, &row), 0);
  EXPECT_EQ(row.sVendor, nullptr);
  EXPECT_EQ(row.pCmdSet, nullptr);
  EXPECT_EQ(FLASH_GetEEPROMRow(11, &row), -1);
  EXPECT_EQ(FLASH_GetEEPROMRow(10, nullptr), -1);
  EXPECT_EQ(FLASH_GetEEPROMName(11), nullptr);
}

TEST(DeviceTable, TellingRows) {
  constexpr u32 KiB = 1024;
  constexpr u32 MiB = 1024 * KiB;
  const struct {
    const char* sVendor;
    const char* sDevice;
    u32 Id;
    bool Ignore2nd;
    u32 Page, Sector, Total, Format, AddrMode;
    CMDS Cmds;
    u64 Type;
  } cases[] = {
      {"Numonyx", "M25P10-A", 0x202011, false, 256, 32 * KiB, 128 * KiB, 3, 0, kStandard, 1},
      {"Micron", "N25Q256A", 0x200019, true, 256, 64 * KiB, 32 * MiB, 0, 2, kFlagStatus, 1},
      {"Winbond", "W25Q256FV", 0xEF0019, true, 256, 64 * KiB, 32 * MiB, 4, 1, kStandard, 1},
      {"Infineon", "S25FL512S", 0x010220, false, 512, 256 * KiB, 64 * MiB, 2, 1, kStandard, 1},
      {"Adesto", "AT25PE20", 0x1F2300, false, 256, 2 * KiB, 256 * KiB, 10, 0, kPageErase, 1},
      {"Microchip", "SST26VF016B", 0xBF2641, false, 256, 4 * KiB, 2 * MiB, 9, 0, kSmallSector, 1},
      {"GigaDevice", "GD25Q128E", 0xC84018, false, 256, 64 * KiB, 16 * MiB, 6, 0, kStandard, 1},
      {"Adesto", "ATXP032R", 0x43A700, false, 256, 64 * KiB, 4 * MiB, 8, 3, kStandard, 1},
      {"Fujitsu", "MB85RS256TY", 0x042503, false, 256, 32 * KiB, 32 * KiB, 0, 0, kFram, 2},
      {"Atmel/Microchip", "AT25080", 0, false, 32, 1, KiB, 0, 0, kEeprom2, 3},
      {"ST", "M95M01", 0, false, 256, 1, 128 * KiB, 0, 0, kEeprom3, 3},
  };
  const std::vector<FLASH_DEVICE> rows = AllRows();
  for (const auto& c : cases) {
    SCOPED_TRACE(c.sDevice);
    const auto row = std::find_if(rows.begin(), rows.end(), [&c](const FLASH_DEVICE& r) {
      return std::strcmp(r.sDevice, c.sDevice) == 0;
    });
    ASSERT_NE(row, rows.end());
    EXPECT_STREQ(row->sVendor, c.sVendor);
    EXPECT_EQ(row->IdByte(0) << 16 | row->IdByte(1) << 8 | row->IdByte(2), static_cast<int>(c.Id));
    EXPECT_EQ(row->Ignore2ndIdByte(), c.Ignore2nd);
    EXPECT_EQ(1u << row->PageSizeShift(), c.Page);
    EXPECT_EQ(1u << row->SectorSizeShift(), c.Sector);
    EXPECT_EQ(1u << row->TotalSizeShift(), c.Total);
    EXPECT_EQ(row->StatusRegFormat(), c.Format);
    EXPECT_EQ(row->AddrMode4B(), c.AddrMode);
    EXPECT_EQ(CmdsOf(*row), c.Cmds);
    EXPECT_EQ(row->FlashType, c.Type);
    EXPECT_EQ(row->pQuadConfig != nullptr, std::strcmp(c.sDevice, "GD25Q128E") == 0);
    EXPECT_EQ(row->pIdMatch != nullptr, std::strcmp(c.sDevice, "S25FL512S") == 0);
  }
}

TEST(DeviceTable, Eeproms) {
  u32 size = 1024;
  for (u32 i = 0; i < 7; ++i, size *= 2) {  // the first maker's parts double in size
    FLASH_DEVICE row = {};
    ASSERT_EQ(FLASH_GetEEPROMRow(i, &row), 0);
    EXPECT_EQ(1u << row.TotalSizeShift(), size) << row.sDevice;
    EXPECT_EQ(FLASH_FindEEPROMByName(FLASH_GetEEPROMName(i)), static_cast<i32>(i));
  }
  EXPECT_EQ(FLASH_FindEEPROMByName("m95m01"), 10);
  EXPECT_EQ(FLASH_FindEEPROMByName("M95M0"), -1);
  EXPECT_EQ(FLASH_FindEEPROMByName(nullptr), -1);
}
