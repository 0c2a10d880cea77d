#include <gtest/gtest.h>

#include <string>

#include "project/proj_info.h"
#include "ui/window/proj_info_rows.h"

namespace {

// Texts of all rows that show, "Name=Value" each, joined by "|".
std::string Show(const PROJ_INFO& info) {
  std::string text;
  for (const PROJ_INFO_ROW& row : PROJ_INFO_GetRows()) {
    std::string value;
    if (row.pfGetValue(info, &value)) {
      text += (text.empty() ? "" : "|") + std::string(row.sText) + "=" + value;
    }
  }
  return text;
}

PROJ_INFO MakeInfo(u32 flashType, u32 autoDetect, u8 isConnected, u8 useQuad) {
  PROJ_INFO info = {};
  info.IsProjectOpen = 1;
  info.IsConnected = isConnected;
  info.Cpu.Speed0 = 4000;
  SPI_FLASH_INFO& flash = info.FlashInfo;
  flash.FlashType = flashType;
  flash.AutoDetect = autoDetect;
  flash.UseQuadMode = useQuad;
  flash.NumPages = 0x100;
  flash.PageSizeShift = 8;
  flash.SectorSizeShift = 12;
  flash.NumAddrBytes = 3;
  flash.abID[0] = 0xEF;
  flash.abID[1] = 0x40;
  flash.abID[2] = 0x18;
  return info;
}

bool Has(const std::string& text, const std::string& row) {
  return ("|" + text).find("|" + row) != std::string::npos;
}

TEST(ProjectInformation, NothingOfTheDeviceBeforeItIsDetected) {
  EXPECT_EQ(Show(MakeInfo(1, 1, 0, 1)),
            "Project name=---|Host connection=USB [Device 0]|Interface speed=4000 kHz|"
            "Mode=Auto detection|Memory type=SPI NOR flash|Data Transfer Mode=Single");
}

TEST(ProjectInformation, RowsFollowTheKindOfDevice) {
  using TEXTS = std::vector<std::string>;
  const struct {
    const char* sName;
    u32 FlashType;
    u32 AutoDetect;
    u8 IsConnected;
    u8 UseQuad;
    TEXTS Shown, Hidden;
  } rows[] = {
      {"detected NOR, quad",
       1,
       1,
       1,
       1,
       {"SectorSize", "ReadID", "UseQuadMode=Yes", "ReadDataQuad", "EraseBulk"},
       {"EEPROM", "Enter4ByteMode"}},
      {"manual NOR, quad off",
       1,
       0,
       0,
       0,
       {"UseQuadMode=No", "EraseSector", "Mode=Manual"},
       {"ReadDataQuad", "WritePageQuad", "Data Transfer"}},
      {"FRAM",
       2,
       0,
       1,
       1,
       {"Memory type=FRAM", "Flash ID", "SectorSize"},
       {"UseQuadMode", "EraseBulk"}},
      {"EEPROM",
       3,
       0,
       1,
       1,
       {"EEPROM type", "NumAddrBytes=3 Bytes", "PageSize=256 Bytes"},
       {"Flash ID", "SectorSize", "ReadID", "UseQuadMode", "EraseBulk", "4ByteAddrMode"}},
      {"unknown kind", 9, 0, 1, 0, {"Memory type=???", "Flash ID=0xEF 40 18"}, {"EraseBulk"}},
  };
  for (const auto& row : rows) {
    const std::string text =
        Show(MakeInfo(row.FlashType, row.AutoDetect, row.IsConnected, row.UseQuad));
    for (const std::string& shown : row.Shown) {
      EXPECT_TRUE(Has(text, shown)) << row.sName << ": " << shown << " in " << text;
    }
    for (const std::string& hidden : row.Hidden) {
      EXPECT_FALSE(Has(text, hidden)) << row.sName << ": " << hidden << " in " << text;
    }
  }
}

TEST(ProjectInformation, TwelveModulesTakeTwoLines) {
  PROJ_INFO info = MakeInfo(1, 1, 0, 0);
  info.General.UseATEModuleSelection = 1;
  EXPECT_TRUE(Has(Show(info), "Zelmont modules=<None>"));
  for (int i = 0; i < 12; ++i) {
    info.General.aATEModuleSel[i] = 1;
  }
  EXPECT_TRUE(Has(Show(info), "Zelmont modules= 1,  2,  3,  4,  5,  6,  7,  8,  9, 10, \n11, 12|"))
      << Show(info);
}

TEST(ProjectInformation, ConnectionAndHostileGeometry) {
  PROJ_INFO info = MakeInfo(1, 0, 1, 0);
  info.General.ConnectMode = 1;
  info.General.USBSerialNo = 4000000000U;
  info.FlashInfo.PageSizeShift = 200;
  info.FlashInfo.SectorSizeShift = 64;
  const std::string text = Show(info);
  EXPECT_TRUE(Has(text, "Host connection=USB [SN 4000000000]"));
  EXPECT_TRUE(Has(text, "PageSize=0"));
  info.General.ConnectMode = 7;
  EXPECT_TRUE(Has(Show(info), "Host connection=???"));
}

}  // namespace
