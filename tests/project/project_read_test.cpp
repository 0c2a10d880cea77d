#include <gtest/gtest.h>

#include <functional>

#include "tests/project/project_scope.h"

namespace {

using VALUE = std::function<u64()>;

// Reads one field of a block of the project.
template <class BLOCK, class FIELD>
VALUE Field(void (*pfGet)(BLOCK*), FIELD BLOCK::*pField) {
  return [=] { return u64{(*GetBlock(pfGet)).*pField}; };
}
VALUE Flash(auto pField) {
  return Field(PROJECT_GetFlash, pField);
}
VALUE Production(auto pField) {
  return Field(PROJECT_GetProduction, pField);
}
u64 FlashSize() {
  return FLASH_InfoTotalSize(*GetBlock(PROJECT_GetFlash));
}
CUSTOM_STEP Step(u32 i) {
  return GetBlock(PROJECT_GetCpu)->aInitSteps.at(i);
}

}  // namespace

TEST(ProjectRead, KeysAndDefaults) {
  const VALUE connectMode = Field(PROJECT_GetGeneral, &PROJ_GENERAL::ConnectMode);
  const VALUE addrBytes = Flash(&SPI_FLASH_INFO::NumAddrBytes);
  const VALUE eeprom = Flash(&SPI_FLASH_INFO::EEPROMIndex);
  const struct {
    const char *sName, *sContent;
    VALUE Value;
    u64 Expected;
  } cases[] = {
      {"an empty section", "[SPI]\r\n", FlashSize, 16 << 20},
      {"missing EraseType", "[SPI]\r\n", Production(&PROJ_PRODUCTION::EraseType), 1},
      {"missing PerformCompare", "[SPI]\r\n", Production(&PROJ_PRODUCTION::PerformCompare), 1},
      {"missing SNLen", "[SPI]\r\n", Production(&PROJ_PRODUCTION::SNLen), 8},
      {"ConnectIP", "[GENERAL]\r\nConnectIP = 1\r\n", connectMode, 2},
      {"ConnectIP", "[GENERAL]\r\nConnectIP = 0\r\n", connectMode, 0},
      {"both", "[GENERAL]\r\nConnectIP = 1\r\nConnectMode = 1\r\n", connectMode, 1},
      {"ConnectMode cut", "[GENERAL]\r\nConnectMode = 300\r\n", connectMode, 2},
      {"old address key", "[SPI]\r\nAddrBytesReadData = 4\r\n", addrBytes, 4},
      {"old address key", "[SPI]\r\nAddrBytesReadFast = 2\r\n", addrBytes, 3},
      {"address count wins", "[SPI]\r\nNumAddrBytes = 2\r\nAddrBytesReadData = 4\r\n", addrBytes,
       2},
      {"address count cut", "[SPI]\r\nNumAddrBytes = 33\r\n", addrBytes, 32},
      {"cut before narrowing", "[SPI]\r\nCmdReadData = 300\r\n",
       Flash(&SPI_FLASH_INFO::CmdReadData), 255},
      {"cut from below", "[FLASH]\r\nFlashType = 0\r\n", Flash(&SPI_FLASH_INFO::FlashType), 1},
      {"negative", "[PRODUCTION]\r\nSNValue = -1\r\n", Production(&PROJ_PRODUCTION::SNValue),
       0xFFFFFFFF},
      {"LF only, no last line end", "[PRODUCTION]\nEraseType=3\n[FLASH]\nNumPages=0x100", FlashSize,
       0x10000},
      {"offers nothing of that value", "[PRODUCTION]\r\nEraseType = 9\r\n",
       Production(&PROJ_PRODUCTION::EraseType), 4},
      {"init commands off", "[SPI]\r\nSendInitCommands = 0\r\n",
       Flash(&SPI_FLASH_INFO::CmdInitErase), 0},
      {"EEPROM", "[FLASH]\r\nFlashType = 3\r\nDeviceName = \"m95512\"\r\n", eeprom, 9},
      {"custom EEPROM", "[FLASH]\r\nFlashType = 3\r\nDeviceName = \"CUSTOM\"\r\n",
       Flash(&SPI_FLASH_INFO::IsCustomDevice), 1},
      {"geometry of an EEPROM", "[FLASH]\r\nFlashType = 3\r\nDeviceName = \"M95512\"\r\n",
       FlashSize, 64 << 10},
      {"addressing of an EEPROM", "[FLASH]\r\nFlashType = 3\r\nDeviceName = \"M95512\"\r\n",
       addrBytes, 2},
      {"name of a flash", "[FLASH]\r\nFlashType = 1\r\nDeviceName = \"M95512\"\r\n", eeprom, 0},
      {"steps beyond the table", "[CPU]\r\nNumInitSteps = 1000\r\n",
       [] { return u64{GetBlock(PROJECT_GetCpu)->aInitSteps.size()}; }, 256},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(std::string(c.sName) + ": " + c.sContent);
    ProjectScope scope;
    EXPECT_EQ(scope.Open(c.sContent), 0);
    EXPECT_EQ(c.Value(), c.Expected);
    EXPECT_EQ(scope.FrontEnd.GetBoxTexts(), "");
    EXPECT_EQ(PROJECT_IsModified(), 0);
    // What was read is what the next save keeps.
    EXPECT_EQ(scope.Reopen(), 0);
    EXPECT_EQ(c.Value(), c.Expected);
  }
}

TEST(ProjectRead, MalformedKeysAreToldAndTheRestIsRead) {
  const struct {
    const char* sContent;
    const char* sMessage;
  } cases[] = {
      {"[JTAG]\r\nspeed0 = 7\r\n", "Expected \"Speed0\""},
      {"[JTAG]\r\nSpeed0[ = 7\r\n", "Expect"},
      {"[JTAG]\r\nSpeed0 = 0x123456789\r\n", "Expected a value <= 4294967295"},
      {"[GENERAL]\r\nHostName = bench\r\n", "Failed to read 'HostName' in section 'GENERAL'."},
      {"[GENERAL]\r\naATEModuleSel[2] = 1 1\r\n", "Expected ',', got '1'"},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.sContent);
    ProjectScope scope;
    EXPECT_EQ(scope.Open(std::string(c.sContent) + "[PRODUCTION]\r\nEraseType = 3\r\n"), 0);
    ASSERT_EQ(scope.FrontEnd.GetBoxes().size(), 1u);
    EXPECT_TRUE(scope.FrontEnd.GetBoxes()[0].Text.starts_with(c.sMessage))
        << scope.FrontEnd.GetBoxTexts();
    EXPECT_EQ(GetBlock(PROJECT_GetCpu)->Speed0, 50000u);
    EXPECT_EQ(Production(&PROJ_PRODUCTION::EraseType)(), 3u);
  }
}

TEST(ProjectRead, Steps) {
  ProjectScope scope;
  const std::string content =
      "[CPU]\r\nNumInitSteps = 5\r\n"
      "InitStep0_Action = \"DELAY\"\r\nInitStep0_Value0 = 0x10\r\n"
      "InitStep1_Action = \"Sing\"\r\nInitStep1_Value0 = bad\r\nInitStep1_Comment = \"old\"\r\n"
      "InitStep2_Action = \"Write data\"\r\nInitStep2_Value0 = 3\r\n"
      "InitStep2_Value1[3] = 0x9F 1,0xFF\r\n"
      "InitStep3_Action = \"Write Data\"\r\nInitStep3_Value0 = 0\r\n"
      "InitStep5_Action = \"Var OR\"\r\n";
  EXPECT_EQ(scope.Open(content), 0);
  EXPECT_EQ(scope.FrontEnd.GetBoxTexts(), "");
  EXPECT_EQ(Step(0).ActionIndex, CUSTOM_DELAY);
  EXPECT_EQ(Step(0).Value0, 16u);
  EXPECT_EQ(Step(1).ActionIndex, CUSTOM_DELAY);  // what it was, nobody knows
  EXPECT_EQ(Step(1).Value0 + Step(1).Value1, 0u);
  EXPECT_STREQ(Step(1).acComment, "old");
  EXPECT_EQ(Step(2).ActionIndex, CUSTOM_WRITE_DATA);
  EXPECT_EQ(memcmp(Step(2).abData, "\x9F\x01\xFF\x00", 4), 0);
  EXPECT_EQ(Step(3).abData[0], 0);
  EXPECT_EQ(GetBlock(PROJECT_GetCpu)->aInitSteps.size(), 5u);
  EXPECT_EQ(PROJECT_SaveAs(scope.ProjectFile().c_str()), 0);
  const std::string saved = ReadFile(scope.ProjectFile());
  EXPECT_NE(saved.find("  InitStep0_Action = \"Delay\"\r\n  InitStep0_Comment = \"\"\r\n"
                       "  InitStep0_Value0 = 0x00000010\r\n  InitStep0_Value1 = 0x00000000\r\n"),
            std::string::npos);
  EXPECT_NE(saved.find("  InitStep2_Value1[3] = 0x9F,0x01,0xFF\r\n"), std::string::npos);
  EXPECT_EQ(saved.find("InitStep3_Value1"), std::string::npos);
}

TEST(ProjectRead, WriteDataStepOfTooManyBytes) {
  ProjectScope scope;
  std::string bytes = "0x00";
  for (int i = 1; i < 20; ++i) {
    bytes += "," + std::to_string(i);
  }
  EXPECT_EQ(scope.Open("[QSPI]\r\nNumQuadEnableInitSteps = 1\r\n"
                       "QuadEnableInitStep0_Action = \"Write Data\"\r\n"
                       "QuadEnableInitStep0_Value0 = 20\r\nQuadEnableInitStep0_Value1[20] = " +
                       bytes + "\r\n"),
            0);
  EXPECT_EQ(scope.FrontEnd.GetBoxTexts(),
            "QuadEnableInitStep0_Value1 in section 'QSPI' holds 20 bytes, only the first 16 are "
            "used.\n");
  const auto pFlash = GetBlock(PROJECT_GetFlash);
  EXPECT_EQ(pFlash->aQuadEnableInitSteps[0].Value0, 16u);
  EXPECT_EQ(pFlash->aQuadEnableInitSteps[0].abData[15], 15);
}

TEST(ProjectRead, Junk) {
  std::string junk(10 << 20, '\0');
  u32 state = 1;
  for (char& c : junk) {
    state = state * 1664525 + 1013904223;
    c = static_cast<char>(state >> 24);
  }
  ProjectScope scope;
  EXPECT_EQ(scope.Open(junk), -2);
  EXPECT_EQ(scope.Open("nonsense\r\n"), -2);
  EXPECT_EQ(
      scope.FrontEnd.GetBoxes().back().Text,
      "Could not open project file [" + scope.ProjectFile() + "]\nIt has no section of a project.");
}

TEST(ProjectRead, WhatIsNoNumberIsToldWithTheValueTaken) {
  const struct {
    const char *sLine, *sKey;
    u64 Taken;
    VALUE Value;
  } cases[] = {
      {"AutoPerformsVerify = maybe", "AutoPerformsVerify", 1,
       Production(&PROJ_PRODUCTION::AutoPerformsVerify)},
      {"TimeoutVerify = 10 000", "TimeoutVerify", 10, Production(&PROJ_PRODUCTION::TimeoutVerify)},
  };
  for (const auto& c : cases) {
    ProjectScope scope;
    ASSERT_EQ(scope.Open(std::string("[PRODUCTION]\r\n") + c.sLine + "\r\nSNLen = 0X10\r\n"), 0);
    EXPECT_EQ(c.Value(), c.Taken);
    EXPECT_EQ(Production(&PROJ_PRODUCTION::SNLen)(), 16u);
    EXPECT_EQ(scope.FrontEnd.GetBoxTexts(),
              "The value is no number, " + std::to_string(c.Taken) + " is taken.\nFile [" +
                  scope.ProjectFile() + "], line 2, section 'PRODUCTION', key '" + c.sKey + "'\n");
  }
}

TEST(ProjectRead, AnUnknownEepromIsAnErrorAndStaysInTheFile) {
  ProjectScope scope;
  ASSERT_EQ(scope.Open("[FLASH]\r\nFlashType = 3\r\nDeviceName = \"AT1\"\r\n"), 0);
  EXPECT_EQ(scope.FrontEnd.GetBoxTexts(), "There is no EEPROM of the name \"AT1\".\nFile [" +
                                              scope.ProjectFile() +
                                              "], line 3, section 'FLASH', key 'DeviceName'\n");
  ASSERT_EQ(PROJECT_SaveAs(scope.ProjectFile().c_str()), 0);
  EXPECT_NE(ReadFile(scope.ProjectFile()).find("DeviceName = \"AT1\""), std::string::npos);
}
