#include "tests/driver/probe_fixture.h"

namespace {

struct Row {
  const char* sName;
  const char* sChip;
  const char* sLines;   // further keys of the section
  const char* sFrames;  // as ProbeFixture::Run takes them
  const char* sRead;
  const char* sFaults;
};

class ChipTest : public ProbeFixture, public testing::WithParamInterface<Row> {};

TEST_P(ChipTest, AnswersLikeItsDataSheet) {
  const Row& row = GetParam();
  Open(row.sChip, row.sLines);
  VORTICARM_TIF_Select(VORTIC_TIF_QSPI);
  EXPECT_EQ(Run(row.sFrames), row.sRead);
  EXPECT_EQ(CloseFaults(), row.sFaults);
  EXPECT_TRUE(s_Errors.empty());
}

// What a client may do, chip by chip.
constexpr Row kGood[] = {
    {"Id", "W25Q128FV", "", "9F >8", "EF40180000000000", ""},
    {"IdNotNamedInTheTable", "N25Q256A", "", "9F >3", "20BA19", ""},
    {"IdByMatch", "S25FL512S", "", "9F >6", "010220000080", ""},
    {"IdTwinFirst", "S25HS256T", "", "9F >5", "342B190F03", ""},
    {"IdTwinSecond", "S25FS256T", "", "9F >5", "342B190F08", ""},
    {"ProgramReadErase", "W25Q128FV", "",
     "06 | 02 000010 A5F0 | ~05 | 03 00000F >4 | 06 | D8 000010 | ~05 | 03 000010 >2",
     "FFA5F0FFFFFF", ""},
    {"LatchIsClearedAfterwards", "W25Q128FV", "",
     "06 | 05 >1 | 02 000000 00 | ~05 | 05 >1 | 06 | 04 | 05 >1", "020000", ""},
    {"BitsOnlyClear", "W25Q128FV", "",
     "06 | 02 000000 0F | ~05 | 06 | 02 000000 07FF | ~05 | 03 000000 >2", "07FF", ""},
    {"SmallErase", "W25Q128FV", "",
     "06 | 02 000FFF 00 | ~05 | 06 | 02 001000 11 | ~05 | 06 | 20 000000 | ~05 | 03 000FFF >2",
     "FF11", ""},
    {"ChipEraseBoth", "W25Q128FV", "",
     "06 | 02 F00000 12 | ~05 | 06 | C7 | ~05 | 03 F00000 >1 | 06 | 60 | ~05", "FF", ""},
    {"FastReadHasDummyByte", "W25Q128FV", "", "06 | 02 000000 42 | ~05 | 0B 000000 00 >1", "42",
     ""},
    {"ReadWrapsAtTheEnd", "W25Q128FV", "", "06 | 02 000000 33 | ~05 | 03 FFFFFF >2", "FF33", ""},
    {"FourByteInstructions", "W25Q256FV", "",
     "06 | 12 01000000 5A | ~05 | 13 01000000 >1 | 03 000000 >1 | 06 | DC 01000000 | ~05 | 13 "
     "01000000 >1",
     "5AFFFF", ""},
    {"FourByteMode", "N25Q256A", "",
     "06 | B7 | 06 | 02 01000000 5A | ~70 | 03 01000000 >1 | E9 | 03 000000 >1", "5AFF", ""},
    {"FourByteAlways", "ATXP032R", "", "06 | 02 00000001 5A | ~05 | 0B 00000001 00 >1", "5A", ""},
    {"FlagStatus", "N25Q256A", "", "70 >1 | 06 | 02 000000 00 | 70 >1 | 05 >1 | ~70 | 70 >1",
     "80000380", ""},
    {"PageErasePart", "AT25PE20", "",
     "D7 >1 | 02 000000 A5 | D7 >1 | ~D7 | 03 000000 >1 | 50 000000 | ~D7 | 03 000000 >1",
     "9515A5FF", ""},
    {"PageErasePartErasesItsSectorOnly", "AT25PE20", "",
     "02 0007FF 00 | ~D7 | 02 000800 00 | ~D7 | 50 000001 | ~D7 | 03 0007FF >2", "FF00", ""},
    {"PageErasePartSequences", "AT25PE20", "StatusRegister = 2",
     "D7 >1 | 3D2A7F9A | D7 >1 | 02 000000 00 | ~D7 | C794809A | ~D7 | 03 000000 >1", "9795FF", ""},
    {"FramIsNeverBusyAndHasNoPages", "MB85RS256TY", "",
     "06 | 02 00FF 010203 | 05 >1 | 03 00FF >3 | 06 | 02 0100 FE | 03 0100 >1 | 9F >3",
     "00010203FE042503", ""},
    {"EepromWritesBothWays", "AT25080", "",
     "06 | 02 0000 0F | ~05 | 06 | 02 0000 F0 | ~05 | 03 0000 >1", "F0", ""},
    {"EepromThreeByteAddress", "M95M01", "", "06 | 02 010000 77 | ~05 | 03 010000 >1", "77", ""},
    {"ProtectionComesOff", "W25Q128FV", "StatusRegister = 0x1C",
     "05 >1 | 06 | 01 00 | ~05 | 05 >1 | 06 | 02 000000 00 | ~05 | 03 000000 >1", "1C0000", ""},
    {"GlobalUnlock", "SST26VF016B", "", "06 | 98 | 06 | 02 000000 00 | ~05 | 03 000000 >1", "00",
     ""},
    {"QuadVolatileEnable", "GD25Q128E", "",
     "35 >1 | 50 | 31 02 | 35 >1 | 06 | 32 000000 qC33C | ~05 | 6B 000000 d8 q>2", "0002C33C", ""},
    {"QuadStoredEnable", "GD25Q128E", "", "06 | 31 02 | ~05 | 6B 000000 d8 q>1", "FF", ""},
    {"ResetLeavesFourByteMode", "N25Q256A", "",
     "06 | 02 000000 77 | ~70 | B7 | 66 | 99 | 03 000000 >1", "77", ""},
};

// What a client does wrong: counted, and without the effect that it wanted.
constexpr Row kWrong[] = {
    {"NoLatch", "W25Q128FV", "", "02 000000 00 | 03 000000 >1 | D8 000000 | 01 00", "FF",
     "3 x write without write enable"},
    {"LatchLastsOnce", "W25Q128FV", "", "06 | 02 000000 00 | ~05 | 02 000001 00 | 03 000001 >1",
     "FF", "1 x write without write enable"},
    {"WhileBusy", "W25Q128FV", "", "06 | 02 000000 00 | 03 000000 >1 | 06 | ~05 | 03 000000 >1",
     "FF00", "2 x instruction while busy"},
    {"Protected", "W25Q128FV", "StatusRegister = 0x04",
     "06 | 02 000000 00 | 06 | C7 | 03 000000 >1", "FF", "2 x protected"},
    {"LockedAtPowerUp", "SST26VF016B", "", "06 | 20 000000", "", "1 x protected"},
    {"ProtectionShowsInFlags", "N25Q256A", "StatusRegister = 0x04",
     "06 | 02 000000 00 | 70 >1 | 50 | 70 >1", "9280", "1 x protected"},
    {"UnknownInstruction", "W25Q128FV", "", "B7 | 6B 000000 >1 | EE", "FF",
     "3 x unknown instruction"},
    {"EepromHasNoId", "AT25080", "", "9F >3", "FFFFFF", "1 x unknown instruction"},
    {"WrongSequence", "AT25PE20", "", "3D2A7F9B", "", "1 x unknown instruction"},
    {"ZeroToOne", "W25Q128FV", "",
     "06 | 02 000000 0FFF | ~05 | 06 | 02 000000 F0FF | ~05 | 03 000000 >2", "00FF",
     "1 x programming a bit from 0 to 1"},
    {"PageWrap", "W25Q128FV", "", "06 | 02 0000FF 1122 | ~05 | 03 0000FF >2 | 03 000000 >1",
     "11FF22", "1 x page wrap"},
    {"EepromPageWrap", "AT25080", "", "06 | 02 001F 1122 | ~05 | 03 001F >2 | 03 0000 >1", "11FF22",
     "1 x page wrap"},
    {"AddressBeyond", "M25P10-A", "", "06 | 02 020000 12 | ~05 | 03 000000 >1", "12",
     "1 x address beyond the chip"},
    {"ShortAddress", "W25Q128FV", "", "03 0000 >1", "FF", "1 x wrong address length"},
    {"LongAddressOfErase", "W25Q128FV", "", "06 | D8 00000000 | 05 >1", "02",
     "1 x wrong address length"},
    {"DummyByteNotAsked", "W25Q128FV", "", "03 000000 00 >1", "00", "1 x wrong address length"},
    {"Truncated", "W25Q128FV", "", "06 | D8 0000 | 02 000000 | 05 >1", "02", "2 x truncated frame"},
    {"OddBits", "W25Q128FV", "", "06 | 02 000000 55 b3 | 05 >1 | b5", "02",
     "2 x bits not whole bytes"},
    {"QuadNotEnabled", "GD25Q128E", "", "6B 000000 d8 q>1", "FF", "1 x quad not enabled"},
    {"QuadOnOneLane", "GD25Q128E", "", "50 | 31 02 | 6B 000000 d8 >1 | 06 | 32 000000 00", "FF",
     "2 x wrong lanes"},
    {"SingleOnFourLanes", "GD25Q128E", "", "03 000000 q>1 | q9F >1", "FFFF", "2 x wrong lanes"},
    {"FewDummyCycles", "GD25Q128E", "", "50 | 31 02 | 6B 000000 d6 q>1", "00",
     "1 x wrong dummy cycles"},
    {"ManyDummyCycles", "GD25Q128E", "", "50 | 31 02 | 6B 000000 d10 q>1", "00",
     "1 x wrong dummy cycles"},
    {"VolatileEnableCountsForTheNextOnly", "GD25Q128E", "", "50 | 05 >1 | 31 02 | 35 >1", "0000",
     "1 x write without write enable"},
    {"ResetNeedsItsEnable", "W25Q128FV", "", "99", "", "1 x unknown instruction"},
};

std::string NameOf(const testing::TestParamInfo<Row>& info) {
  return info.param.sName;
}

INSTANTIATE_TEST_SUITE_P(Good, ChipTest, testing::ValuesIn(kGood), NameOf);
INSTANTIATE_TEST_SUITE_P(Wrong, ChipTest, testing::ValuesIn(kWrong), NameOf);

using ChipClockTest = ProbeFixture;

TEST_F(ChipClockTest, QuadNeedsTheInterfaceWithFourLines) {
  Open("GD25Q128E");
  EXPECT_EQ(VORTICARM_TIF_Select(VORTIC_TIF_SPI), VORTIC_TIF_SPI);
  EXPECT_EQ(Run("50 | 31 02 | 6B 000000 d8 q>1"), "FF");
  EXPECT_EQ(CloseFaults(), "1 x wrong lanes");
}

TEST_F(ChipClockTest, ADeselectedChipHearsNothing) {
  Open("W25Q128FV");
  const u8 junk[] = {0xEE, 0x02};
  u8 read[2] = {};
  EXPECT_EQ(VORTIC_SPI_Transfer(junk, read, 16, 0), 0);
  EXPECT_EQ(read[0], 0xFF);
  VORTICARM_ClrTMS();
  EXPECT_EQ(CloseFaults(), "1 x chip select left active");
}

TEST_F(ChipClockTest, PollsReachTheEndOfAnEraseInFewCallsAndExactly) {
  Open("W25Q128FV");
  Run("06 | C7");
  const u64 start = Figure("ClockNs");
  Run("~05");
  EXPECT_LE(NumPolls(), 40u);
  EXPECT_EQ(Figure("BusyNs"), 40000000000u);
  // Ready is seen within two looks of the moment: 16 bits each at 8 MHz.
  EXPECT_GE(Figure("ClockNs") - start, 40000000000u);
  EXPECT_LE(Figure("ClockNs") - start, 40000000000u + 4 * 2000u);
}

TEST_F(ChipClockTest, CountsCallsBitsAndLatency) {
  Open("W25Q128FV", "CallLatencyUs = 125");
  const u64 before = Figure("RoundTrips");
  Run("9F >3");
  EXPECT_EQ(Figure("RoundTrips") - before, 4u);  // two levels of chip select, two transfers
  EXPECT_EQ(Figure("Bits"), 32u);
  EXPECT_EQ(Figure("ClockNs"), (before + 4) * 125000u + 4000u);
  EXPECT_EQ(Figure("IdleNs"), (before + 4) * 125000u);
}

TEST_F(ChipClockTest, RealTimeIsNeverAhead) {
  Open("AT25080", "Time = real");
  const auto start = std::chrono::steady_clock::now();
  EXPECT_EQ(Run("06 | 02 0000 55 | ~05"), "");
  VORTIC_POLL_PARA para = {0, 1, 0, 100000};
  const u8 cmd = 0x05;
  u8 status = 0xFF;
  VORTIC_SPI_CMD list[] = {{1, 0, &cmd, nullptr, 8, VORTIC_SPI_CS_ACTIVE, nullptr, 0, -1},
                           {2, 0, nullptr, &status, 8, VORTIC_SPI_CS_INACTIVE, &para, 16, -1}};
  EXPECT_EQ(Lookup<VORTIC_RUN_LIST>(VORTIC_FUNC_RUN_LIST)(list, 2), 0);
  EXPECT_EQ(list[1].Result, 0);
  EXPECT_EQ(status & 1, 0);
  EXPECT_GE(std::chrono::steady_clock::now() - start, std::chrono::milliseconds(5));
}

}  // namespace
