#include <gtest/gtest.h>

#include "catalogue/catalogue.h"
#include "flash/erase.h"
#include "flash/program.h"
#include "flash/verify.h"
#include "project/settings.h"
#include "tests/flash/flash_scope.h"

namespace {

constexpr i32 kFirstDevice = 0;  // M25P10-A, protection format 3

void FillPara(SPI_FLASH_INFO& i) {
  i.StatusIsReadyBit = 1;
  i.StatusBitPos = 7;
  i.UseQuadMode = 1;
  i.CmdReadDataQuad = 0x6B;
  i.CmdWritePageQuad = 0x32;
  i.NumDummyCyclesQuad = 8;
  i.StatusRegFormat = 6;  // the row's counts
  i.RdCmdTransferMode = 1;
  i.WrCmdTransferMode = 2;
  i.WrAddrTransferMode = 3;
  i.RdAddrTransferMode = 4;
  i.CmdInitPageProg = 0x77;
  i.CmdInitErase = 0x88;
}

TEST(Fast, ParameterBlocks) {
  FlashScope scope;
  ASSERT_EQ(FLASH_SelectDevice(kFirstDevice, false), 0);
  FlashScope::SetFlash(FillPara);
  FlashScope::SetProduction([](PROJ_PRODUCTION& p) {
    p.TimeoutEraseSect = 0x01020304;
    p.TimeoutEraseChip = 0x11;
    p.TimeoutProgPage = 0x12;
    p.TimeoutVerify = 0x13;
    p.EraseType = 3;
  });
  SPI_RefreshInfo();
  std::vector<u8> expected = {1,    0,    0,    0,    3,    0,    0,    0, 0,    0x10, 0,    0,
                              4,    3,    2,    1,    0x11, 0,    0,    0, 0x12, 0,    0,    0,
                              0x13, 0,    0,    0,    0x0D, 0,    0,    0, 0x06, 0x04, 0x9F, 0x05,
                              0x01, 0x03, 0x02, 0xD8, 0xC7, 0xB7, 0xE9, 3, 7,    0x6B, 0x32, 8,
                              8,    16,   1,    2,    3,    4,    3,    0};
  std::vector<u8> block(FAST_MODE_PARA_SIZE, 0xCC);
  EXPECT_EQ(SPI_BuildFastModePara(block.data(), FAST_MODE_PARA_SIZE, false), FAST_MODE_PARA_SIZE);
  EXPECT_EQ(block, expected);
  // The long form: a size word before, two more flags, two instructions and padding behind.
  expected.insert(expected.begin(), {64, 0, 0, 0});
  expected[32] |= 0x30;
  expected.pop_back();
  expected.insert(expected.end(), {0x77, 0x88, 0, 0, 0});
  block.assign(FAST_MODE_PARA_EX_SIZE, 0xCC);
  EXPECT_EQ(SPI_BuildFastModePara(block.data(), FAST_MODE_PARA_EX_SIZE, true),
            FAST_MODE_PARA_EX_SIZE);
  EXPECT_EQ(block, expected);
  EXPECT_EQ(SPI_BuildFastModePara(block.data(), FAST_MODE_PARA_SIZE, true), 0u);
}

// A table device of 16 sectors in fast mode.
struct FastScope {
  FastScope() {
    fake.MissingFunc.clear();
    FLASH_SelectDevice(kFirstDevice, false);
    SETUP_SetAutoBlankCheck(0);
    const std::vector<u8> data(0x18000, 0x5A);
    MEMAREA_AddRange(pImage.get(), 0, data.size(), data.data());
  }
  FlashScope scope;
  FakeDriver fake;
  MEMAREA_PTR pImage{MEMAREA_Create()};
};

TEST(Fast, IsEnteredForTableDevicesOnly) {
  struct Row {
    i32 Device;
    u8 Init;
    std::set<i32> Missing;
    u32 PageShift;
    u32 ParaSize;
  };
  for (const Row& row :
       {Row{kFirstDevice, 0, {}, 8, 56}, Row{kFirstDevice, 1, {}, 8, 64},
        Row{kFirstDevice, 1, {72}, 8, 0}, Row{-1, 0, {}, 8, 0}, Row{kFirstDevice, 0, {}, 17, 0}}) {
    FastScope fast;
    fast.fake.MissingFunc = row.Missing;
    FLASH_SelectDevice(row.Device, false);
    FlashScope::SetFlash([&](SPI_FLASH_INFO& i) {
      i.SendInitCommands = row.Init;
      i.PageSizeShift = row.PageShift;
    });
    EXPECT_EQ(FLASH_Connect(), 0);
    EXPECT_EQ(fast.fake.FastPara.size(), row.ParaSize);
    EXPECT_EQ(FLASH_State().FastMode != 0, row.ParaSize != 0);
    FLASH_Disconnect();
    EXPECT_EQ(fast.fake.Has("LeaveFast"), row.ParaSize != 0);
  }
}

// Whatever goes wrong in the library's queue, no operation passes, and none hangs.
TEST(Fast, QueueFaults) {
  struct Row {
    const char* sName;
    int QueueResult;
    std::deque<int> Wait;
    i32 Missing;         // added to what is asked for
    const char* sErase;  // null: passes
    const char* sProgram;
    const char* sVerify;
  };
  const Row rows[] = {
      {"good", 0, {1, 1, 0}, 0, nullptr, nullptr, nullptr},
      {"wait fails",
       0,
       {1, -1},
       0,
       "Erase failed @ address 0x00001234",
       "Programming failed @ address 0x00001234",
       "Verify failed @ address 0x00001234"},
      {"refused, wait fine",
       -1,
       {0},
       0,
       "Erase failed @ address 0x00000000",
       "Programming failed @ address 0x00000000",
       "Verify failed @ address 0x00000000"},
      {"no wait",
       0,
       {0},
       43,
       "Erase failed @ address 0x00000000",
       "Programming failed @ address 0x00000000",
       "Verify failed @ address 0x00000000"},
      {"no erase", 0, {0}, 48, "Erase failed @ address 0x00000000", nullptr, nullptr},
      {"no program", 0, {0}, 46, nullptr, "Programming failed @ address 0x00000000", nullptr},
      {"no verify", 0, {0}, 47, nullptr, nullptr, "Verify failed @ address 0x00000000"},
  };
  for (const Row& row : rows) {
    for (u32 op = 0; op < 3; ++op) {
      SCOPED_TRACE(testing::Message() << row.sName << " " << op);
      FastScope fast;
      fast.fake.FastResult = row.QueueResult;
      fast.fake.WaitResults = row.Wait;
      fast.fake.MissingFunc = {row.Missing};
      const char* sText = op == 0 ? row.sErase : op == 1 ? row.sProgram : row.sVerify;
      op == 0   ? FLASH_EraseAffected(fast.pImage.get())
      : op == 1 ? FLASH_Program(fast.pImage.get(), true)
                : FLASH_Verify(fast.pImage.get());
      const std::string boxes = fast.scope.FrontEnd().GetBoxTexts();
      EXPECT_EQ(boxes.find("Completed after") != std::string::npos, sText == nullptr) << boxes;
      EXPECT_TRUE(sText == nullptr || boxes.find(sText) != std::string::npos) << boxes;
      EXPECT_TRUE(sText != nullptr || op != 1 ||
                  fast.fake.Has("Queue 0 10000\nQueue 10000 8000\n"));
      EXPECT_TRUE(sText != nullptr || op != 0 ||
                  fast.fake.Has("QueueErase 0 10000\nQueueErase 10000 10000\n"));
    }
  }
}

TEST(Fast, BusyForEverEndsByCancelOrError) {
  for (const bool isError : {false, true}) {
    FastScope fast;
    fast.fake.WaitResults = {1};
    FakeDriver& fake = fast.fake;
    bool isDone = false;
    fast.scope.FrontEnd().OnRefresh = [&](PROGRESS_INFO* p) {
      if (p->Value == 0x18000 && p->Canceled == 0 && !isDone) {  // the last block is queued
        isDone = true;
        isError ? fake.pfError("Link lost") : PROGRESS_Cancel(p);
      }
    };
    FLASH_Verify(fast.pImage.get());
    EXPECT_EQ(fast.scope.FrontEnd().GetBoxTexts(),
              isError ? "Link lost\nFailed to verify target.\n" : "Verify canceled by user\n");
  }
}

}  // namespace
