#include "tests/driver/probe_fixture.h"

namespace {

using FaultTest = ProbeFixture;

// Opening and setting the speed takes call 1; a frame of Run takes two calls and one for each part.

TEST_F(FaultTest, LinkFaultsHitTheirCallAndAreTold) {
  struct Row {
    const char* sFault;
    const char* sError;
    const char* sFirst;   // what the frame with the fault reads
    const char* sSecond;  // and the next one
  };
  const Row rows[] = {
      {"disconnect@4", "Communication with the probe lost (call 4).", "FFFF", "FFFF"},
      {"timeout@4", "The probe did not answer in time (call 4).", "FFFF", "EF40"},
      {"nak@4", "The probe refused the call (call 4).", "FFFF", "EF40"},
  };
  for (const Row& row : rows) {
    Open("W25Q128FV", std::string("Fault = ") + row.sFault);
    s_Errors.clear();
    EXPECT_EQ(Run("9F >2"), row.sFirst);
    EXPECT_EQ(Run("9F >2"), row.sSecond);
    ASSERT_EQ(s_Errors.size(), 1u);  // a dead link is told once
    EXPECT_EQ(s_Errors[0], row.sError);
    VORTICARM_Close();
  }
}

TEST_F(FaultTest, AStatusThatNeverCameIsNotReady) {
  const struct {
    const char* sChip;
    const char* sRead;
  } rows[] = {{"W25Q128FV", "FF"}, {"N25Q256A", "00"}, {"AT25PE20", "00"}};
  for (const auto& row : rows) {
    Open(row.sChip, "Fault = disconnect@2");
    EXPECT_EQ(Run("05 >1"), row.sRead);
    VORTICARM_Close();
  }
}

TEST_F(FaultTest, EveryCallFailsOnADeadLink) {
  Open("W25Q128FV", "Fault = disconnect@2");
  u32 mask = 0;
  VORTIC_HW_STATUS status;
  u8 memory[4];
  EXPECT_LT(VORTICARM_TIF_GetAvailable(&mask), 0);
  EXPECT_LT(VORTICARM_TIF_Select(5), 0);
  EXPECT_NE(VORTICARM_GetHWStatus(&status), 0);
  EXPECT_LT(VORTICARM_ReadEmuConfigMem(memory, 80, 4), 0);
  EXPECT_LT(VORTICARM_ExecCommand("SupplyPower = 1", nullptr, 0), 0);
  EXPECT_LT(VORTICARM_EMU_FILE_GetSize("A"), 0);
  VORTIC_SPI_CMD cmd = {1, 0, memory, nullptr, 8, 0x10E, nullptr, 0, -1};
  EXPECT_EQ(Lookup<VORTIC_RUN_LIST>(VORTIC_FUNC_RUN_LIST)(&cmd, 1), -1);
  EXPECT_EQ(s_Errors.size(), 1u);
}

TEST_F(FaultTest, ChipFaultsHaveTheirEffect) {
  struct Row {
    const char* sFault;
    const char* sFrames;
    const char* sRead;
  };
  const Row rows[] = {
      {"flip=0x10:7", "03 00000F >3", "FF7FFF"},
      {"stuck=0x10:0", "06 | 02 00000F 000000 | ~05 | 03 00000F >3", "000100"},
      {"id=01 02 03", "9F >4", "01020300"},
      {"id=00 00 00", "9F >3", "000000"},
      {"busy=forever@1", "06 | 02 000000 00 | ~05 | 05 >1", "03"},
      {"power=900@3", "9F >2 | 05 >1", "FFFFFF"},
      {"power=1000@3", "9F >2", "EF40"},
      // The program's first half is in the cells; then nothing answers any more.
      {"cutpower@7", "06 | 02 00007E AABBCCDD | 05 >1", "FF"},
  };
  for (const Row& row : rows) {
    Open("W25Q128FV", std::string("Fault = ") + row.sFault);
    EXPECT_EQ(Run(row.sFrames), row.sRead) << row.sFault;
    VORTICARM_Close();
  }
}

TEST_F(FaultTest, PowerCutLeavesHalfOfTheOperationBehind) {
  struct Row {
    const char* sChip;
    const char* sBefore;
    const char* sCut;  // from call 1 on, power fails in its operation
    const char* sLook;
    const char* sRead;
  };
  const Row rows[] = {
      {"W25Q128FV", "", "06 | 02 00007E AABBCCDD", "03 00007E >4", "AABBFFFF"},
      {"W25Q128FV", "06 | 02 000000 11 | ~05 | 06 | 02 008000 22 | ~05", "06 | D8 000000",
       "03 000000 >1 | 03 008000 >1", "FF22"},
      {"W25Q128FV", "06 | 02 000000 11 | ~05 | 06 | 02 F00000 22 | ~05", "06 | C7",
       "03 000000 >1 | 03 F00000 >1", "FF22"},
      {"AT25080", "", "06 | 02 000E 01020304", "03 000E >4", "0102FFFF"},
  };
  for (const Row& row : rows) {
    std::filesystem::remove(Path("chip.bin"));
    Open(row.sChip, "ImageFile = chip.bin");
    Run(row.sBefore);
    VORTICARM_Close();
    Open(row.sChip, "ImageFile = chip.bin\nFault = cutpower@1");
    Run(row.sCut);
    VORTIC_HW_STATUS status;
    ASSERT_EQ(VORTICARM_GetHWStatus(&status), 0);
    EXPECT_EQ(status.VTarget, 0);
    EXPECT_EQ(Run("05 >1"), "FF");
    VORTICARM_Close();
    Open(row.sChip, "ImageFile = chip.bin");
    EXPECT_EQ(Run(row.sLook), row.sRead) << row.sCut;
    VORTICARM_Close();
  }
}

TEST_F(FaultTest, SlowMultipliesBusyTimes) {
  Open("W25Q128FV", "Fault = slow=2.5");
  Run("06 | 02 000000 00 | ~05");
  EXPECT_EQ(Figure("BusyNs"), 1750000u);
}

TEST_F(FaultTest, ListResultIsThatOfTheRun) {
  Open("W25Q128FV", "Fault = listresult=-262@2");
  const auto run = Lookup<VORTIC_RUN_LIST>(VORTIC_FUNC_RUN_LIST);
  u8 cmd = 0x06;
  VORTIC_SPI_CMD record = {1, 0, &cmd, nullptr, 8, 0x10E, nullptr, 0, -1};
  EXPECT_EQ(run(&record, 1), 0);
  record.Result = -1;
  EXPECT_EQ(run(&record, 1), VORTIC_ERR_UNSUPPORTED);
  EXPECT_EQ(record.Result, -1);
  EXPECT_EQ(run(&record, 1), 0);
}

TEST_F(FaultTest, DisabledFunctionsAreMissing) {
  Open("W25Q128FV", "DisableFunctions = 45,72,1,50,51");
  for (i32 index : {1, 45, 72, 50, 51, 0, 49, -1}) {
    EXPECT_EQ(VORTIC_GetpFunc(index), nullptr) << index;
  }
  for (i32 index : {43, 44, 46, 47, 48}) {
    EXPECT_NE(VORTIC_GetpFunc(index), nullptr) << index;
  }
}

TEST_F(FaultTest, PowerComesFromTheProbeWhenAsked) {
  Open("W25Q128FV", "TargetMilliVolts = 0");
  EXPECT_EQ(Run("9F >1"), "FF");
  EXPECT_EQ(VORTICARM_ExecCommand("SupplyPower = 1", nullptr, 0), 0);
  EXPECT_EQ(Run("06 | 05 >1"), "02");
  EXPECT_EQ(VORTICARM_ExecCommand("SupplyPower = 0", nullptr, 0), 0);
  EXPECT_EQ(VORTICARM_ExecCommand("SupplyPower = 1", nullptr, 0), 0);
  EXPECT_EQ(Run("05 >1"), "00");  // the latch is volatile
}

}  // namespace
