#include <gtest/gtest.h>

#include "catalogue/devices/device_table.h"
#include "project/project_keys.h"
#include "tests/project/project_scope.h"

namespace {

// Sets every scalar of a block to a value of its own within the limits.
void FillScalars(PROJECT_KEYS keys, void* pBlock, u32 seed) {
  for (const PROJECT_KEY& key : keys) {
    const u32 span = key.Max - key.Min;
    PROJECT_SetField(key, pBlock,
                     span == 1 ? key.Max : key.Max - seed++ % (span == ~0u ? 97 : span));
  }
}

void FillStep(CUSTOM_STEP& step, u32 i) {
  step.ActionIndex = i % CUSTOM_NUM_ACTIONS;
  step.Value0 = step.ActionIndex == CUSTOM_WRITE_DATA ? i % 17 : i * 3;
  step.Value1 = step.ActionIndex == CUSTOM_WRITE_DATA ? 0 : 0xFFFFFFFF - i;
  for (u32 k = 0; step.ActionIndex == CUSTOM_WRITE_DATA && k < step.Value0; ++k) {
    step.abData[k] = static_cast<u8>(255 - k);
  }
  const std::string comment(i % 256, static_cast<char>('a' + i % 26));
  comment.copy(step.acComment, sizeof(step.acComment) - 1);
}

struct ALL_BLOCKS {
  std::unique_ptr<PROJ_GENERAL> pGeneral = GetBlock(PROJECT_GetGeneral);
  std::unique_ptr<PROJ_CPU> pCpu = GetBlock(PROJECT_GetCpu);
  std::unique_ptr<SPI_FLASH_INFO> pFlash = GetBlock(PROJECT_GetFlash);
  std::unique_ptr<PROJ_PRODUCTION> pProduction = GetBlock(PROJECT_GetProduction);
  std::unique_ptr<PROJ_PERFORMANCE> pPerformance = GetBlock(PROJECT_GetPerformance);

  void Store() const {
    PROJECT_SetGeneral(pGeneral.get());
    PROJECT_SetCpu(pCpu.get());
    PROJECT_SetFlash(pFlash.get());
    PROJECT_SetProduction(pProduction.get());
    PROJECT_SetPerformance(pPerformance.get());
  }
};

void FillAll(ALL_BLOCKS& blocks) {
  memset(blocks.pGeneral->CurrentFile, 'f', sizeof(blocks.pGeneral->CurrentFile) - 1);
  memset(blocks.pGeneral->HostName, 'h', sizeof(blocks.pGeneral->HostName) - 1);
  memset(blocks.pProduction->SerialFile, 's', sizeof(blocks.pProduction->SerialFile) - 1);
  memset(blocks.pProduction->SNListFile, 'n', sizeof(blocks.pProduction->SNListFile) - 1);
  for (u8 i = 0; i < 24; ++i) {
    blocks.pGeneral->aATEModuleSel[i] = static_cast<u8>(i * 11);
  }
  FillScalars(PROJECT_GeneralKeys(), blocks.pGeneral.get(), 1);
  FillScalars(PROJECT_JtagKeys(), blocks.pCpu.get(), 2);
  for (PROJECT_KEYS keys :
       {PROJECT_FlashKeys(), PROJECT_SpiKeys(), PROJECT_SpiAddrKeys(), PROJECT_QspiKeys()}) {
    FillScalars(keys, blocks.pFlash.get(), 3);
  }
  FillScalars(PROJECT_ProductionKeys(), blocks.pProduction.get(), 4);
  FillScalars(PROJECT_PerformanceKeys(), blocks.pPerformance.get(), 5);
  blocks.pFlash->FlashType = FLASH_TYPE_EEPROM;
  blocks.pFlash->EEPROMIndex = 7;
  ASSERT_EQ(FLASH_ApplyEEPROM(blocks.pFlash.get()), 0);  // as a load does
  blocks.pFlash->AutoDetect = 0;
  memcpy(blocks.pFlash->abID, "\x01\x02\xFE", 3);
  blocks.pCpu->aInitSteps.resize(256);
  blocks.pCpu->aExitSteps.resize(40);
  blocks.pFlash->aQuadEnableInitSteps.resize(256);
  for (u32 i = 0; i < 256; ++i) {
    FillStep(blocks.pCpu->aInitSteps[i], i);
    FillStep(blocks.pFlash->aQuadEnableInitSteps[i], i + 5);
  }
  for (u32 i = 0; i < 40; ++i) {
    FillStep(blocks.pCpu->aExitSteps[i], i + 9);
  }
}

}  // namespace

TEST(ProjectFile, EveryFieldSurvives) {
  ProjectScope scope;
  ASSERT_EQ(PROJECT_New(nullptr), 0);
  ALL_BLOCKS set;
  FillAll(set);
  set.Store();
  ASSERT_EQ(scope.Reopen(), 0);
  EXPECT_EQ(scope.FrontEnd.GetBoxTexts(), "");
  const ALL_BLOCKS read;
  EXPECT_TRUE(*read.pGeneral == *set.pGeneral);
  EXPECT_TRUE(*read.pCpu == *set.pCpu);
  EXPECT_TRUE(*read.pFlash == *set.pFlash);
  EXPECT_TRUE(*read.pProduction == *set.pProduction);
  EXPECT_TRUE(*read.pPerformance == *set.pPerformance);
  // Storing what was got is no change.
  read.Store();
  EXPECT_EQ(PROJECT_IsModified(), 0);
  const std::string first = ReadFile(scope.ProjectFile());
  ASSERT_EQ(scope.Reopen(), 0);
  EXPECT_EQ(ReadFile(scope.ProjectFile()), first);
}

// Values of a new project, order of sections and keys, and that nothing of an old file is carried
// over.
TEST(ProjectFile, TextOfANewProject) {
  ProjectScope scope;
  ASSERT_EQ(PROJECT_New(nullptr), 0);
  ASSERT_EQ(PROJECT_SaveAs(scope.ProjectFile().c_str()), 0);
  const std::string text = ReadFile(scope.ProjectFile());
  EXPECT_TRUE(text.starts_with("  AppVersion = 93800\r\n[GENERAL]\r\n  aATEModuleSel[24] = 0,0,"));
  for (const char* sPart :
       {"[JTAG]\r\n  Speed0 = 50000\r\n[FLASH]\r\n  AutoDetect = 0x00000001\r\n",
        "  Ignore2ndIdByte = 0x00\r\n  NumPages = 0x00000000\r\n",
        "[CPU]\r\n  NumInitSteps = 0\r\n  NumExitSteps = 0\r\n[SPI]\r\n",
        "  TargetPowerDelay = 0x000000C8\r\n", "  EraseType = 2\r\n", "  PerformCompare = 0\r\n"}) {
    EXPECT_NE(text.find(sPart), std::string::npos) << sPart;
  }
  for (const char* sAbsent : {"abID", "DeviceName", "CmdInitErase", "ConnectIP"}) {
    EXPECT_EQ(text.find(sAbsent), std::string::npos) << sAbsent;
  }
  // A section that is not known is gone after a save.
  ASSERT_EQ(scope.Open(text + "[EXTRA]\r\n  x = 1\r\n"), 0);
  ASSERT_EQ(PROJECT_SaveAs(scope.ProjectFile().c_str()), 0);
  EXPECT_EQ(ReadFile(scope.ProjectFile()), text);
}

TEST(ProjectFile, TextThatCannotStandInTheFile) {
  ProjectScope scope;
  ASSERT_EQ(PROJECT_New(nullptr), 0);
  const auto pCpu = GetBlock(PROJECT_GetCpu);
  pCpu->aInitSteps.resize(1);
  strcpy(pCpu->aInitSteps[0].acComment, "a \"b\"\r\n[JTAG]\r\nSpeed0 = 1");
  PROJECT_SetCpu(pCpu.get());
  ASSERT_EQ(scope.Reopen(), 0);
  EXPECT_STREQ(GetBlock(PROJECT_GetCpu)->aInitSteps[0].acComment, "a 'b'  [JTAG]  Speed0 = 1");
  EXPECT_EQ(GetBlock(PROJECT_GetCpu)->Speed0, 50000u);
  EXPECT_EQ(scope.FrontEnd.GetBoxes().size(), 1u);
}

TEST(ProjectFile, RecordsBeyondTheirBounds) {
  ProjectScope scope;
  ASSERT_EQ(PROJECT_New(nullptr), 0);
  ALL_BLOCKS blocks;
  memset(blocks.pGeneral->HostName, 'h', sizeof(blocks.pGeneral->HostName));
  memset(blocks.pProduction->SNListFile, 'n', sizeof(blocks.pProduction->SNListFile));
  blocks.pCpu->aInitSteps.resize(1000);
  blocks.pCpu->aInitSteps[0].ActionIndex = 99;
  blocks.pCpu->aInitSteps[1].ActionIndex = CUSTOM_WRITE_DATA;
  blocks.pCpu->aInitSteps[1].Value0 = 4000000000;
  blocks.pFlash->aQuadEnableInitSteps.resize(1000);
  blocks.pFlash->FlashType = FLASH_TYPE_EEPROM;
  blocks.pFlash->EEPROMIndex = 0xFFFFFFFF;
  blocks.Store();
  ASSERT_EQ(PROJECT_SaveAs(scope.ProjectFile().c_str()), 0);
  const std::string text = ReadFile(scope.ProjectFile());
  EXPECT_NE(text.find("HostName = \"" + std::string(127, 'h') + "\""), std::string::npos);
  EXPECT_NE(text.find("NumInitSteps = 256\r\n"), std::string::npos);
  EXPECT_NE(text.find("InitStep1_Value1[16] = 0x00"), std::string::npos);
  EXPECT_EQ(text.find("DeviceName"), std::string::npos);
}
