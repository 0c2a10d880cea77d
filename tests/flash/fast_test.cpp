#include <gtest/gtest.h>

#include "catalogue/catalogue.h"
#include "flash/erase.h"
#include "flash/program.h"
#include "flash/verify.h"
#include "project/settings.h"
#include "tests/flash/flash_scope.h"

namespace {

constexpr i32 kFirstDevice = 0;  // M25P10-A, protection format 3

TEST(Fast, ParameterBlocks) {
  FlashScope scope;
  FlashScope::SetFlash([](SPI_FLASH_INFO& i) {
    i.StatusIsReadyBit = 1;
    i.StatusBitPos = 7;
    i.UseQuadMode = 1;
    i.CmdReadDataQuad = 0x6B;
    i.CmdWritePageQuad = 0x32;
    i.NumDummyCyclesQuad = 8;
    i.RdCmdTransferMode = 1;
    i.WrCmdTransferMode = 2;
    i.WrAddrTransferMode = 3;
    i.RdAddrTransferMode = 4;
    i.CmdInitPageProg = 0x77;
    i.CmdInitErase = 0x88;
  });
  FlashScope::SetProduction([](PROJ_PRODUCTION& p) {
    p.TimeoutEraseSect = 0x01020304;
    p.TimeoutEraseChip = 0x11;
    p.TimeoutProgPage = 0x12;
    p.TimeoutVerify = 0x13;
    p.EraseType = 3;
  });
  FLASH_CHIP chip = FlashScope::MakeChip();
  chip.StatusFormat = 3;  // of the row
  std::vector<u8> expected = {1,    0,    0,    0,    3,    0,    0,    0, 0,    0x10, 0,    0,
                              4,    3,    2,    1,    0x11, 0,    0,    0, 0x12, 0,    0,    0,
                              0x13, 0,    0,    0,    0x0D, 0,    0,    0, 0x06, 0x04, 0x9F, 0x05,
                              0x01, 0x03, 0x02, 0xD8, 0xC7, 0xB7, 0xE9, 3, 7,    0x6B, 0x32, 8,
                              8,    16,   1,    2,    3,    4,    3,    0};
  std::vector<u8> block(FAST_MODE_PARA_SIZE, 0xCC);
  EXPECT_EQ(SPI_BuildFastModePara(chip, block.data(), FAST_MODE_PARA_SIZE, false),
            FAST_MODE_PARA_SIZE);
  EXPECT_EQ(block, expected);
  // The long form: a size word before, two more flags, two instructions and padding behind.
  expected.insert(expected.begin(), {64, 0, 0, 0});
  expected[32] |= 0x30;
  expected.pop_back();
  expected.insert(expected.end(), {0x77, 0x88, 0, 0, 0});
  block.assign(FAST_MODE_PARA_EX_SIZE, 0xCC);
  EXPECT_EQ(SPI_BuildFastModePara(chip, block.data(), FAST_MODE_PARA_EX_SIZE, true),
            FAST_MODE_PARA_EX_SIZE);
  EXPECT_EQ(block, expected);
  EXPECT_EQ(SPI_BuildFastModePara(chip, block.data(), FAST_MODE_PARA_SIZE, true), 0u);
}

// A table device of 16 sectors in fast mode.
struct FastScope : FakeScope {
  FastScope() {
    MissingFunc.clear();
    FLASH_SelectDevice(kFirstDevice, false);
    SETUP_SetAutoBlankCheck(0);
  }
  MEMAREA_PTR pImage = MakeImage({{0, 0x18000}});
};

TEST(Fast, IsEnteredForTableDevicesOnly) {
  const struct {
    i32 Device;
    u8 Init;
    std::set<i32> Missing;
    u32 PageShift, ParaSize;
  } rows[] = {{kFirstDevice, 0, {}, 8, 56},
              {kFirstDevice, 1, {}, 8, 64},
              {kFirstDevice, 1, {72}, 8, 0},
              {-1, 0, {}, 8, 0},
              {kFirstDevice, 0, {}, 17, 0}};
  for (const auto& row : rows) {
    FastScope fast;
    fast.MissingFunc = row.Missing;
    With(&SPI_FLASH_INFO::SendInitCommands, row.Init)(fast);
    With(&SPI_FLASH_INFO::PageSizeShift, row.PageShift)(fast);
    FLASH_SelectDevice(row.Device, false);
    EXPECT_EQ(FLASH_Connect(), 0);
    EXPECT_EQ(fast.FastPara.size(), row.ParaSize);
    FLASH_Disconnect();
    EXPECT_EQ(fast.Has("LeaveFast"), row.ParaSize != 0);
  }
}

// Whatever goes wrong in the library's queue, no operation passes, and none hangs.
TEST(Fast, QueueFaults) {
  const struct {
    const char* sName;
    int QueueResult;
    std::deque<int> Wait;
    i32 Missing;            // added to what is asked for
    const char* apAddr[3];  // what erasing, programming and verifying fail at; null: passes
  } rows[] = {
      {"good", 0, {1, 1, 0}, 0, {}},
      {"wait fails", 0, {1, -1}, 0, {"0x00001234", "0x00001234", "0x00001234"}},
      {"refused, wait fine", -1, {0}, 0, {"0x00000000", "0x00000000", "0x00000000"}},
      {"no wait", 0, {0}, 43, {"0x00000000", "0x00000000", "0x00000000"}},
      {"no erase", 0, {0}, 48, {"0x00000000", nullptr, nullptr}},
      {"no program", 0, {0}, 46, {nullptr, "0x00000000", nullptr}},
      {"no verify", 0, {0}, 47, {nullptr, nullptr, "0x00000000"}},
  };
  const char* const apFailed[] = {"Erase failed @ address ", "Programming failed @ address ",
                                  "Verify failed @ address "};
  const char* const apCalls[][2] = {{"QueueErase 0 10000\n", "QueueErase 10000 10000\n"},
                                    {"Queue 0 10000\n", "Queue 10000 8000\n"},
                                    {"Queue 0 10000\n", "Queue 10000 8000\n"}};
  for (const auto& row : rows) {
    for (u32 op = 0; op < 3; ++op) {
      SCOPED_TRACE(testing::Message() << row.sName << " " << op);
      FastScope fast;
      fast.FastResult = row.QueueResult;
      fast.WaitResults = row.Wait;
      fast.MissingFunc = {row.Missing};
      op == 0   ? FLASH_EraseAffected(fast.pImage.get())
      : op == 1 ? FLASH_Program(fast.pImage.get(), true)
                : FLASH_Verify(fast.pImage.get());
      const char* sAddr = row.apAddr[op];
      EXPECT_EQ(fast.FrontEnd().HasBox("Completed after"), sAddr == nullptr);
      EXPECT_TRUE(sAddr == nullptr || fast.FrontEnd().HasBox(std::string(apFailed[op]) + sAddr));
      EXPECT_TRUE(sAddr != nullptr || (fast.Has(apCalls[op][0]) && fast.Has(apCalls[op][1])))
          << fast.Log;
    }
  }
}

TEST(Fast, BusyForEverEndsByCancelOrError) {
  for (const bool isError : {false, true}) {
    FastScope fast;
    fast.WaitResults = {1};
    bool isDone = false;
    fast.FrontEnd().OnRefresh = [&](PROGRESS_INFO* p) {
      if (p->Value == 0 && p->sSubText[0] != 0 && p->Canceled == 0 && !isDone) {
        isDone = true;
        isError ? fast.pfError("Link lost") : PROGRESS_Cancel(p);
      }
    };
    FLASH_Verify(fast.pImage.get());
    EXPECT_EQ(fast.FrontEnd().GetBoxTexts(),
              isError ? "Link lost\nFailed to verify target.\n" : "Verify canceled by user\n");
  }
}

}  // namespace
