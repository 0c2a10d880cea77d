#include <cstring>

#include "tests/driver/probe_fixture.h"

namespace {

constexpr const char* kTwoProbes =
    "[Probe0]\nBackend=sim\nChip=W25Q128FV\nSerialNumber=11\nNickname=Left\nHost=left.local\n"
    "[Probe3]\nBackend=sim\nChip=AT25080\nSerialNumber=22\nNickname=Right\nHost=right.local\n";

using SessionTest = ProbeFixture;

TEST_F(SessionTest, ChoosesByIndexSerialNicknameAndHost) {
  WriteFile("Vortic.ini", kTwoProbes);
  const std::string config = "The probe configuration " + Path("Vortic.ini");
  struct Row {
    int (*pfSelect)();
    int Result;
    i32 SerialNumber;  // of the probe that opens, 0: none does
    const char* sError;
  };
  const Row rows[] = {
      {[] { return VORTICARM_SelectUSB(0); }, 0, 11, ""},
      {[] { return VORTICARM_SelectUSB(3); }, 0, 22, ""},
      {[] { return VORTICARM_SelectUSB(1); }, 0, 0, " has no section [Probe1]."},
      {[] { return VORTICARM_EMU_SelectByUSBSN(22); }, 0, 22, ""},
      {[] { return VORTICARM_EMU_SelectByUSBSN(23); }, -1, 0,
       " has no probe with SerialNumber 23."},
      {[] { return VORTIC_EMU_SelectByUSBNickname("Right"); }, 0, 22, ""},
      {[] { return VORTIC_EMU_SelectByUSBNickname("Up"); }, -1, 0,
       " has no probe with Nickname \"Up\"."},
      {[] { return VORTICARM_SelectIP("LEFT.local", 0); }, 0, 11, ""},
      {[] { return VORTICARM_SelectIP("up.local", 0); }, 0, 0,
       " has no probe with Host \"up.local\"."},
  };
  for (const Row& row : rows) {
    EXPECT_EQ(row.pfSelect(), row.Result);
    const char* sError = VORTICARM_OpenEx(nullptr, nullptr);
    if (row.SerialNumber == 0) {
      EXPECT_EQ(sError == nullptr ? "" : sError, config + row.sError);
      continue;
    }
    EXPECT_EQ(sError, nullptr);
    EXPECT_EQ(VORTICARM_GetSN(), row.SerialNumber);
    VORTICARM_Close();
  }
  EXPECT_EQ(VORTICARM_SelectUSB(4), -1);
}

TEST_F(SessionTest, ABrokenConfigurationIsNotMistakenForAMissingProbe) {
  WriteFile("Vortic.ini", "[Probe0]\nColour = red\n");
  EXPECT_EQ(VORTICARM_EMU_SelectByUSBSN(11), -1);
  ASSERT_EQ(s_Errors.size(), 1u);
  EXPECT_EQ(s_Errors[0], Path("Vortic.ini") + ":2: unknown key \"Colour\".");
}

TEST_F(SessionTest, OpensOneAtATimeAndSaysThatItIsSimulated) {
  Open("W25Q128FV", "SerialNumber = 20260001\nNickname = Bench\nImageFile = chip.bin");
  ASSERT_EQ(s_Log.size(), 1u);
  EXPECT_EQ(s_Log[0],
            "*** SIMULATED PROBE S/N 20260001 (Bench): no hardware is programmed. "
            "Chip W25Q128FV, image chip.bin ***");
  EXPECT_STREQ(VORTICARM_OpenEx(nullptr, nullptr),
               "A probe is already open. Close it before opening another.");
}

TEST_F(SessionTest, TellsWhatIsConnected) {
  Open("W25Q128FV",
       "Nickname = Bench\nProductId = 29\nHardwareVersion = 51200\nCapabilities = 26,72");
  EXPECT_EQ(VORTICARM_EMU_GetProductId(), 29);
  EXPECT_EQ(VORTIC_GetHardwareVersion(), 51200u);
  EXPECT_NE(VORTICARM_EMU_HasCapEx(72), 0);
  EXPECT_EQ(VORTICARM_EMU_HasCapEx(54), 0);
  u8 memory[32];
  EXPECT_EQ(VORTICARM_ReadEmuConfigMem(memory, 80, sizeof(memory)), 0);
  const u8 expected[32] = {'B', 'e', 'n', 'c', 'h'};
  EXPECT_EQ(std::memcmp(memory, expected, sizeof(memory)), 0);
  EXPECT_LT(VORTICARM_ReadEmuConfigMem(memory, 250, sizeof(memory)), 0);
  u32 mask = 0;
  EXPECT_EQ(VORTICARM_TIF_GetAvailable(&mask), 0);
  EXPECT_EQ(mask, 1u << 5 | 1u << 14);
  EXPECT_LT(VORTICARM_TIF_Select(7), 0);
  VORTICARM_SetSpeed(1000000);
  EXPECT_EQ(VORTICARM_GetSpeed(), 50000u);
}

TEST_F(SessionTest, RunsCommands) {
  struct Row {
    const char* sCommand;
    int Result;
    u32 MilliVolts;  // of the target afterwards
    const char* sText;
  };
  const Row rows[] = {
      {"SuppressGUI = 1", 0, 0, ""},
      {"  suppressgui=0", 0, 0, ""},
      {"SuppressGUI = 2", -1, 0, "Command SuppressGUI: \"2\" is not a value that it takes."},
      {"SelectModule = 0", -1, 0, "A probe is open. Close it before selecting a module."},
      {"SupplyPower = 1", 0, 3300, ""},
      {"SetVTrefTmp 1800", 0, 1800, ""},
      {"SetVTrefTmp 0", 0, 3300, ""},
      {"SupplyPower=0", 0, 0, ""},
      {"DisablePowerSupplyOnClose", 0, 0, ""},
      {"Explode = 1", -1, 0, "Unknown command \"Explode\"."},
      {"", -1, 0, "Unknown command \"\"."},
  };
  Open("W25Q128FV", "TargetMilliVolts = 0");
  for (const Row& row : rows) {
    char text[128] = "";
    VORTIC_HW_STATUS status;
    EXPECT_EQ(VORTICARM_ExecCommand(row.sCommand, text, sizeof(text)), row.Result) << row.sCommand;
    EXPECT_STREQ(text, row.sText);
    ASSERT_EQ(VORTICARM_GetHWStatus(&status), 0);
    EXPECT_EQ(status.VTarget, row.MilliVolts) << row.sCommand;
  }
  VORTICARM_Close();
  char text[8] = "";
  EXPECT_EQ(VORTICARM_ExecCommand("SuppressGUI = 1", text, sizeof(text)), 0);
  EXPECT_LT(VORTICARM_ExecCommand("SupplyPower = 1", text, sizeof(text)), 0);
  EXPECT_STREQ(text, "Command");  // cut to the buffer
}

TEST_F(SessionTest, SurvivesWhatNoClientShouldPass) {
  EXPECT_LT(VORTICARM_SelectIP(nullptr, 0), 0);
  EXPECT_LT(VORTIC_EMU_SelectByUSBNickname(nullptr), 0);
  EXPECT_EQ(VORTIC_GetpFunc(VORTIC_FUNC_RUN_LIST), nullptr);
  EXPECT_LT(VORTICARM_GetSN(), 0);
  Open("W25Q128FV");
  const auto runList = Lookup<VORTIC_RUN_LIST>(VORTIC_FUNC_RUN_LIST);
  ASSERT_NE(runList, nullptr);
  VORTIC_SPI_CMD bad[] = {{3, 0, nullptr, nullptr, 8, 0, nullptr, 0, 7},
                          {1, 0, nullptr, nullptr, 0xFFFFFFFF, 0, nullptr, 0, 7},
                          {1, 0, nullptr, nullptr, 8, 0x1000, nullptr, 0, 7},
                          {2, 0, nullptr, nullptr, 8, 0, nullptr, 16, 7}};
  for (VORTIC_SPI_CMD& cmd : bad) {
    s_Errors.clear();
    EXPECT_LT(runList(&cmd, 1), 0);
    EXPECT_EQ(s_Errors.size(), 1u);
  }
  EXPECT_LT(runList(nullptr, 1), 0);
  EXPECT_EQ(runList(nullptr, 0), 0);
  EXPECT_LT(runList(bad, 0xFFFFFFFF), 0);
  EXPECT_LT(VORTIC_SPI_Transfer(nullptr, nullptr, 0xFFFFFFFF, 0), 0);
  EXPECT_LT(VORTIC_SPI_Transfer(nullptr, nullptr, 8, 0x004), 0);
  EXPECT_EQ(VORTIC_SPI_Transfer(nullptr, nullptr, 8, 0), 0);
  EXPECT_LT(VORTICARM_GetHWStatus(nullptr), 0);
  EXPECT_LT(VORTICARM_TIF_GetAvailable(nullptr), 0);
  EXPECT_LT(VORTICARM_ReadEmuConfigMem(nullptr, 80, 32), 0);
  EXPECT_LT(VORTICARM_ExecCommand(nullptr, nullptr, 0), 0);
  EXPECT_LT(VORTICARM_ExecCommand("SimGetStats", nullptr, 0), 0);
  EXPECT_LT(VORTICARM_EMU_FILE_Read(nullptr, nullptr, 0, 1), 0);
  VORTICARM_SetSpeed(0);
  EXPECT_EQ(VORTICARM_GetSpeed(), 8000u);
  VORTICARM_Close();
  EXPECT_LT(runList(nullptr, 0), 0);  // a function kept from before
}

TEST_F(SessionTest, KeepsALogOfItsCalls) {
  EXPECT_EQ(VORTICARM_SetLogFile(Path("no/such/dir.log").c_str()), -1);
  ASSERT_EQ(s_Errors.size(), 1u);
  EXPECT_EQ(VORTICARM_SetLogFile(Path("driver.log").c_str()), 0);
  Open("W25Q128FV");
  VORTICARM_TIF_Select(VORTIC_TIF_QSPI);
  EXPECT_EQ(VORTICARM_SetLogFile(nullptr), 0);
  EXPECT_NE(ReadFile("driver.log").find("VORTICARM_TIF_Select = 5\n"), std::string::npos);
}

}  // namespace
