#include <array>
#include <cstring>

#include "tests/driver/probe_fixture.h"

namespace {

constexpr u32 kFlagQuad = 1U << 2;
constexpr u32 kFlagSkipBlank = 1U << 3;

using Block = std::array<u8, 64>;

void StoreU32(u8* p, u32 value) {
  for (int i = 0; i < 4; ++i) {
    p[i] = static_cast<u8>(value >> (8 * i));
  }
}

// The 56-byte block for a 16 MiB chip with pages of 256 bytes and sectors of 64 KiB.
Block MakeBlock(u32 flags) {
  Block block = {};
  u8* p = block.data();
  StoreU32(p, 1);
  StoreU32(p + 8, 0x10000);
  StoreU32(p + 12, 5000);
  StoreU32(p + 20, 1000);
  StoreU32(p + 28, flags);
  const u8 cmds[] = {0x06, 0x04, 0x9F, 0x05, 0x01, 0x03, 0x02, 0xD8, 0xC7,
                     0xB7, 0xE9, 3,    0,    0x6B, 0x32, 8,    8,    16};
  std::memcpy(p + 32, cmds, sizeof(cmds));
  std::memset(p + 50, 1, 4);
  return block;
}

// The 64-byte form has its size in front, and two instructions behind.
Block MakeBlockEx(u8 cmdInitPageProg, u8 cmdInitErase) {
  const Block plain = MakeBlock(3U << 4);
  Block block = {};
  StoreU32(block.data(), 64);
  std::memcpy(block.data() + 4, plain.data(), 55);
  block[59] = cmdInitPageProg;
  block[60] = cmdInitErase;
  return block;
}

class FastTest : public ProbeFixture {
 protected:
  int Enter(const Block& block, i32 index = VORTIC_FUNC_ENTER_FAST) {
    return Lookup<VORTIC_ENTER_FAST>(index)(block.data());
  }
  int Program(u32 addr, const std::vector<u8>& data) {
    return Lookup<VORTIC_FAST_PROGRAM>(VORTIC_FUNC_FAST_PROGRAM)(
        addr, static_cast<u32>(data.size()), data.data());
  }
  int Verify(u32 addr, const std::vector<u8>& data) {
    return Lookup<VORTIC_FAST_VERIFY>(VORTIC_FUNC_FAST_VERIFY)(addr, static_cast<u32>(data.size()),
                                                               data.data());
  }
  int Erase(u32 addr, u32 numBytes) {
    return Lookup<VORTIC_FAST_ERASE>(VORTIC_FUNC_FAST_ERASE)(addr, numBytes);
  }
  // To the end: the result, with the number of times that it was busy.
  int Wait(u32* pFailAddr, u32* pNumBusy = nullptr) {
    const auto wait = Lookup<VORTIC_WAIT>(VORTIC_FUNC_WAIT);
    for (u32 numBusy = 0;; ++numBusy) {
      const int result = wait(pFailAddr);
      if (result <= 0) {
        if (pNumBusy != nullptr) {
          *pNumBusy = numBusy;
        }
        return result;
      }
    }
  }
};

std::vector<u8> Pattern(u32 numBytes) {
  std::vector<u8> data(numBytes);
  for (u32 i = 0; i < numBytes; ++i) {
    data[i] = static_cast<u8>(i * 7 + (i >> 8));
  }
  return data;
}

TEST_F(FastTest, ProgramsVerifiesAndErases) {
  Open("W25Q128FV");
  ASSERT_GE(Enter(MakeBlock(kFlagSkipBlank)), 0);
  std::vector<u8> data = Pattern(0x10000);
  std::fill(data.begin() + 0x100, data.begin() + 0x300, u8{0xFF});  // two blank pages
  u32 failAddr = 1;
  u32 numBusy = 0;
  EXPECT_EQ(Program(0x20000, data), 0);
  EXPECT_EQ(Wait(&failAddr, &numBusy), 0);
  EXPECT_GT(numBusy, 5u);
  EXPECT_EQ(Figure("BusyNs"), 254u * 700000u);
  EXPECT_EQ(Verify(0x20000, data), 0);
  EXPECT_EQ(Wait(&failAddr), 0);
  data[0x1234] ^= 1;
  EXPECT_EQ(Verify(0x20000, data), 0);
  EXPECT_LT(Wait(&failAddr), 0);
  EXPECT_EQ(failAddr, 0x21234u);
  EXPECT_EQ(Wait(&failAddr), 0);  // told once
  EXPECT_EQ(Erase(0x20000, 0x10000), 0);
  EXPECT_EQ(Verify(0x20000, std::vector<u8>(0x10000, 0xFF)), 0);
  EXPECT_EQ(Wait(&failAddr), 0);
  EXPECT_EQ(Lookup<VORTIC_LEAVE_FAST>(VORTIC_FUNC_LEAVE_FAST)(), 0);
  EXPECT_EQ(CloseFaults(), "");
}

TEST_F(FastTest, UsesFourLanes) {
  Open("GD25Q128E");
  VORTICARM_TIF_Select(VORTIC_TIF_QSPI);
  Run("50 | 31 02");
  ASSERT_GE(Enter(MakeBlock(kFlagQuad)), 0);
  u32 failAddr = 0;
  EXPECT_EQ(Program(0x80, Pattern(0x1000)), 0);  // starts and ends inside a page
  EXPECT_EQ(Verify(0x80, Pattern(0x1000)), 0);
  EXPECT_EQ(Wait(&failAddr), 0);
  EXPECT_EQ(CloseFaults(), "");
}

TEST_F(FastTest, SendsInitCommandsOfTheExtendedForm) {
  Open("W25Q128FV");
  ASSERT_GE(Enter(MakeBlockEx(0xEE, 0xEF), VORTIC_FUNC_ENTER_FAST_EX), 0);
  u32 failAddr = 0;
  EXPECT_EQ(Program(0, Pattern(0x300)), 0);
  EXPECT_EQ(Erase(0, 0x10000), 0);
  EXPECT_EQ(Wait(&failAddr), 0);
  EXPECT_EQ(CloseFaults(),
            "4 x unknown instruction");  // the chip lacks both: three pages, a sector
}

TEST_F(FastTest, RefusesBadBlocks) {
  Open("W25Q128FV");
  const struct {
    std::size_t Offset;
    u8 Value;
  } flaws[] = {{0, 0}, {0, 4}, {11, 0xFF}, {43, 1}, {43, 2}, {44, 8}, {48, 17}, {49, 32}};
  for (const auto& flaw : flaws) {
    Block block = MakeBlock(0);
    block[flaw.Offset] = flaw.Value;
    EXPECT_LT(Enter(block), 0) << flaw.Offset;
  }
  Block quad = MakeBlock(kFlagQuad);
  quad[50] = 3;
  EXPECT_LT(Enter(quad), 0);
  Block extended = MakeBlockEx(0, 0);
  extended[0] = 56;
  EXPECT_LT(Enter(extended, VORTIC_FUNC_ENTER_FAST_EX), 0);
  EXPECT_LT(Lookup<VORTIC_ENTER_FAST>(VORTIC_FUNC_ENTER_FAST)(nullptr), 0);
}

TEST_F(FastTest, ARequestThatIsRefusedOrLostFailsTheJob) {
  struct Row {
    const char* sFault;
    u32 Addr;
    u32 FailAddr;
  };
  const Row rows[] = {
      {"", 0xFFFF80, 0xFFFF80},       // reaches beyond the chip
      {"timeout@3", 0x1000, 0x1000},  // speed, enter, program
      {"stuck=0x1005:0", 0x1000, 0x1005},
      {"busy=forever@1", 0x1000, 0x1000},
  };
  for (const Row& row : rows) {
    Open("W25Q128FV", std::string("Fault = ") + row.sFault);
    ASSERT_GE(Enter(MakeBlock(0)), 0);
    Program(row.Addr, std::vector<u8>(0x100, 0));
    Verify(row.Addr, std::vector<u8>(0x100, 0));
    u32 failAddr = 0;
    EXPECT_LT(Wait(&failAddr), 0) << row.sFault;
    EXPECT_EQ(failAddr, row.FailAddr) << row.sFault;
    VORTICARM_Close();
  }
}

TEST_F(FastTest, HoldsTheClientUpWhenTooMuchWaits) {
  Open("W25Q128FV");
  ASSERT_GE(Enter(MakeBlock(0)), 0);
  for (u32 i = 0; i < 20; ++i) {
    EXPECT_EQ(Program(i * 0x10000, std::vector<u8>(0x10000, 0)), 0);
  }
  EXPECT_GT(Figure("BusyNs"), 0u);
  u32 failAddr = 0;
  EXPECT_EQ(Wait(&failAddr), 0);
  EXPECT_EQ(Figure("BusyNs"), 20u * 256u * 700000u);
}

// The frame of a page as a client builds it in lists.
struct PageList {
  explicit PageList(u32 addr, u32 timeoutUs = 100000) : Para{0, 1, 0, timeoutUs} {
    Frame[0] = 0x02;
    Frame[1] = static_cast<u8>(addr >> 16);
    Frame[2] = static_cast<u8>(addr >> 8);
    Frame[3] = static_cast<u8>(addr);
    Records[0] = {1, 0, &WriteEnable, nullptr, 8, 0x10E, nullptr, 0, -1};
    Records[1] = {1, 0, Frame, nullptr, sizeof(Frame) * 8, 0x10E, nullptr, 0, -1};
    Records[2] = {1, 0, &ReadStatus, nullptr, 8, 0x102, nullptr, 0, -1};
    Records[3] = {2, 0, nullptr, &Status, 8, 0x00C, &Para, 16, -1};
  }
  u8 WriteEnable = 0x06;
  u8 ReadStatus = 0x05;
  u8 Status = 0xFF;
  u8 Frame[260] = {};
  VORTIC_POLL_PARA Para;
  VORTIC_SPI_CMD Records[4];
};

TEST_F(FastTest, ListProgramsAPageInItsTime) {
  Open("W25Q128FV");
  PageList list(0x100);
  const u64 start = Figure("ClockNs");
  EXPECT_EQ(Lookup<VORTIC_RUN_LIST>(VORTIC_FUNC_RUN_LIST)(list.Records, 4), 0);
  EXPECT_EQ(list.Records[0].Result, 1);
  EXPECT_EQ(list.Records[1].Result, 260);
  EXPECT_EQ(list.Records[2].Result, 1);
  EXPECT_EQ(list.Records[3].Result, 0);
  // Bits of the frames at 8 MHz, the page's time, and a look every microsecond.
  const u64 ns = Figure("ClockNs") - start;
  EXPECT_GE(ns, 261u * 1000u + 700000u);
  EXPECT_LE(ns, 261u * 1000u + 700000u + 2000u);
  EXPECT_EQ(Run("03 000100 >1"), "00");
}

TEST_F(FastTest, ListPollThatTimesOutEndsTheList) {
  Open("W25Q128FV", "Fault = slow=1000");
  PageList list(0, 500);
  PageList next(0x100);
  std::vector<VORTIC_SPI_CMD> both(list.Records, list.Records + 4);
  both.insert(both.end(), next.Records, next.Records + 4);
  const u64 start = Figure("ClockNs");
  EXPECT_EQ(Lookup<VORTIC_RUN_LIST>(VORTIC_FUNC_RUN_LIST)(both.data(), 8), 0);
  EXPECT_EQ(both[1].Result, 260);
  for (std::size_t i = 3; i < both.size(); ++i) {
    EXPECT_LT(both[i].Result, 0);
  }
  EXPECT_EQ(list.Status & 1, 1);
  EXPECT_LE(Figure("ClockNs") - start, 263u * 1000u + 500000u + 1000u);
  EXPECT_EQ(CloseFaults(), "");  // nothing was sent to the busy chip
}

}  // namespace
