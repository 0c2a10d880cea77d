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

// What a transfer that was not carried out leaves behind is what the board's line floats to, which
// is ready on some parts: a client has to look at more than that.
TEST_F(FaultTest, AStatusThatNeverCameIsTheFloatingLine) {
  for (const char* sChip : {"W25Q128FV", "N25Q256A", "AT25PE20"}) {
    for (const auto& [key, read] :
         {std::pair{"", "FF"}, {"Float = 0\n", "00"}, {"Float = 1\n", "FF"}}) {
      Open(sChip, std::string(key) + "Fault = disconnect@2");
      EXPECT_EQ(Run("05 >1"), read);
      VORTICARM_Close();
    }
  }
}

// Faults that come and go. Opening and setting the speed takes call 1, a frame of Run three calls.
TEST_F(FaultTest, FaultsThatComeAndGo) {
  const struct {
    const char* sKeys;
    const char* sReads;  // of four frames, one behind the other
    std::size_t NumErrors;
  } rows[] = {
      {"", "EF40 EF40 EF40 EF40", 0},
      {"Fault = mute@4", "FFFF EF40 EF40 EF40", 0},
      {"Float = 0\nFault = mute@4", "0000 EF40 EF40 EF40", 0},
      {"Fault = dip=link:3@4", "FFFF EF40 EF40 EF40", 1},
      {"Fault = dip=power:3@3", "FFFF EF40 EF40 EF40", 0},
      {"Float = 0\nFault = dip=power:6@3", "0000 0000 EF40 EF40", 0},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.sKeys);
    Open("W25Q128FV", row.sKeys);
    s_Errors.clear();
    std::string reads;
    for (u32 i = 0; i < 4; ++i) {
      reads += (i == 0 ? "" : " ") + Run("9F >2");
    }
    EXPECT_EQ(reads, row.sReads);
    EXPECT_EQ(s_Errors.size(), row.NumErrors);
    EXPECT_EQ(Figure("Struck") != 0, row.sKeys[0] != '\0');
    VORTICARM_Close();
  }
  // What the chip loses with its power is gone behind a dip: the write latch.
  for (const char* sKeys : {"", "Fault = dip=power:1@5"}) {
    Open("W25Q128FV", sKeys);
    Run("06");
    Run("05 >1");
    EXPECT_EQ(Run("05 >1"), *sKeys == '\0' ? "02" : "00");
    Run("04");
    VORTICARM_Close();
  }
}

// What a client does wrong ends in an error where that is asked for, unless a fault came before.
TEST_F(FaultTest, StrictClient) {
  for (const auto& [keys, isError] : {std::pair{"", false},
                                      {"StrictClient = 1", true},
                                      {"StrictClient = 1\nFault = nak@2", false}}) {
    SCOPED_TRACE(keys);
    Open("W25Q128FV", keys);
    Run("05 >1");
    s_Errors.clear();
    Run("02000000AA");  // without write enable
    VORTICARM_Close();
    EXPECT_EQ(!s_Errors.empty(), isError);
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
