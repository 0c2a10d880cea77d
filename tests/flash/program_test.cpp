#include "flash/program.h"

#include <gtest/gtest.h>

#include "flash/erase.h"
#include "flash/verify.h"
#include "project/settings.h"
#include "tests/flash/flash_scope.h"

namespace {

MEMAREA_PTR Image(std::initializer_list<std::pair<u64, u64>> ranges, u8 Value = 0x5A) {
  MEMAREA_PTR pArea(MEMAREA_Create());
  for (const auto& [addr, numBytes] : ranges) {
    const std::vector<u8> data(numBytes, Value);
    MEMAREA_AddRange(pArea.get(), addr, numBytes, data.data());
  }
  return pArea;
}

TEST(Program, TheQuestionBeforeErasing) {
  struct Row {
    bool IsChecking, IsBlank;
    int Answer;  // -1: none, the default counts
    int Result;
    u32 NumBoxes;
  };
  for (const Row& row :
       {Row{false, false, -1, 0, 0}, Row{true, true, -1, 0, 0}, Row{true, false, 0, 1, 1},
        Row{true, false, 1, -1, 1}, Row{true, false, -1, -1, 1}}) {
    FlashScope scope;
    FakeDriver fake;
    fake.Memory.assign(0x20000, 0xFF);
    fake.Memory[0x1FFFF] = row.IsBlank ? 0xFF : 0xFE;
    SETUP_SetAutoBlankCheck(row.IsChecking ? 1 : 0);
    if (row.Answer >= 0) {
      scope.FrontEnd().AnswerBox(static_cast<u32>(row.Answer));
    }
    const MEMAREA_PTR pImage = Image({{0x10000, 1}});
    APP_LogBegin("Operation");
    EXPECT_EQ(FLASH_AskErase(pImage.get()), row.Result);
    EXPECT_EQ(scope.FrontEnd().GetBoxes().size(), row.NumBoxes);
    APP_LogEnd();
  }
}

TEST(Program, Refusals) {
  struct Row {
    std::function<void(FakeDriver&)> Arrange;
    std::pair<u64, u64> Range;
    const char* sText;  // what the boxes hold
  };
  const Row rows[] = {
      {[](FakeDriver&) {},
       {0xFFFFF, 2},
       "Program (0xFFFFF - 0x100000) does not fit into flash chip.\nFailed to program target."},
      {[](FakeDriver& f) { f.MilliVolts = 0; },
       {0, 1},
       "Could not program target, not connected.\nFailed to program target."},
      {[](FakeDriver&) {
         FlashScope::SetFlash([](SPI_FLASH_INFO& i) {
           i.PageSizeShift = 17;
           i.NumPages = 64;
         });
       },
       {0, 1},
       "Page size of 131072 bytes is not supported.\nFailed to program target."},
      {[](FakeDriver& f) {
         f.OnList = [&f](auto*, u32 n) { n > 3 ? f.pfError("Link lost") : void(); };
       },
       {0, 0x20000},
       "Link lost\nFailed to program target."},
      {[](FakeDriver& f) { f.OnList = [](auto* p, u32 n) { p[0].Result = n > 3 ? 0 : 1; }; },
       {0x300, 0x100},
       "Programming failed @ address 0x00000300 (program error)\nFailed to program target."},
      {[](FakeDriver&) {
         FlashScope::SetFlash([](SPI_FLASH_INFO& i) {
           i.NumPages = 0x40000000;  // 256 GiB
           i.NumAddrBytes = 4;
         });
       },
       {0x100000000, 1},
       "can't be reached with 4 address bytes.\nFailed to program target."},
  };
  for (const Row& row : rows) {
    SCOPED_TRACE(row.sText);
    FlashScope scope;
    FakeDriver fake;
    SETUP_SetAutoBlankCheck(0);
    row.Arrange(fake);
    const MEMAREA_PTR pImage = Image({row.Range});
    FLASH_Program(pImage.get(), false);
    const std::string boxes = scope.FrontEnd().GetBoxTexts();
    EXPECT_NE(boxes.find(row.sText), std::string::npos) << boxes;
    EXPECT_EQ(boxes.find("successfully"), std::string::npos);
    EXPECT_EQ(scope.FrontEnd().GetNumOpenProgress(), 0u);
  }
  FlashScope scope;
  FLASH_Program(nullptr, false);
  FLASH_ProgramVerify(nullptr);
  FLASH_Verify(nullptr);
  EXPECT_EQ(scope.FrontEnd().GetBoxTexts(),
            "Could not program target, no data file opened.\nFailed to program target.\n"
            "Could not program and verify target, no data file opened.\n"
            "Could not verify target, no data file opened.\n");
}

TEST(Program, BlocksAreWholePages) {
  FlashScope scope;
  FakeDriver fake;
  SETUP_SetAutoBlankCheck(0);
  const MEMAREA_PTR pImage = Image({{5, 1}});
  FLASH_Program(pImage.get(), false);
  EXPECT_TRUE(fake.Has("1 02000000FFFFFFFF.. 2080 10E\n"));
  EXPECT_TRUE(scope.FrontEnd().HasLog("Programming target (1 bytes, 1 range) ..."));
  EXPECT_NE(scope.FrontEnd().GetBoxTexts().find("Target programmed successfully - Completed"),
            std::string::npos);
  EXPECT_EQ(scope.FrontEnd().GetLastProgress().Value, 256u);
  // No bytes at all: nothing is sent, not even to the protection bits.
  FLASH_State().BlockProtectionRemoved = 0;
  fake.Log.clear();
  const MEMAREA_PTR pEmpty(MEMAREA_Create());
  FLASH_Program(pEmpty.get(), false);
  EXPECT_EQ(fake.Log, "");
  EXPECT_EQ(scope.FrontEnd().GetBoxes().size(), 2u);
}

TEST(Program, CancelIsSeenBetweenBlocks) {
  FlashScope scope;
  FakeDriver fake;
  SETUP_SetAutoBlankCheck(0);
  scope.FrontEnd().CancelOnText("Programming range 0x00010000 - 0x0001FFFF");
  const MEMAREA_PTR pImage = Image({{0, 0x40000}});
  FLASH_Program(pImage.get(), false);
  EXPECT_EQ(scope.FrontEnd().GetBoxTexts(),
            "Programming canceled @ addr 0x00020000\nFailed to program target.\n");
}

TEST(Program, AutoDisconnectReconnectsForEachStep) {
  FlashScope scope;
  FakeDriver fake;
  SETUP_SetAutoDisconnect(1);
  const MEMAREA_PTR pImage = Image({{0, 256}}, 0xFF);
  FLASH_Program(pImage.get(), false);
  EXPECT_TRUE(scope.FrontEnd().HasLog("Target programmed successfully"));
  EXPECT_EQ(scope.FrontEnd().CountLog("Disconnected"), 2u);
  EXPECT_FALSE(FLASH_IsConnected());
}

TEST(Verify, Outcomes) {
  struct Row {
    std::initializer_list<std::pair<u64, u64>> Ranges;
    i64 Wrong;  // address of a byte that differs, -1 none
    const char* sText;
    u32 NumReads;
  };
  const Row rows[] = {
      {{{0x1001, 2}}, -1, "All loaded bytes verified OK!", 1},
      {{{0x1001, 2}}, 0x1000, "All loaded bytes verified OK!", 1},
      {{{0x1001, 2}}, 0x1003, "All loaded bytes verified OK!", 1},
      {{{0x1001, 2}},
       0x1002,
       "Verification failed @ address 0x00001002 (Read: 0xA5, Expected: 0x5A)\n"
       "Failed to verify target.",
       1},
      {{{0, 4}, {1028, 4}}, 500, "All loaded bytes verified OK!", 1},
      {{{0, 4}, {1029, 4}}, 500, "All loaded bytes verified OK!", 2},
      {{{0, 0x40000}}, 0x3FFFF, "address 0x0003FFFF", 2},
      {{{0xFFFFF, 2}}, -1, "0xFFFFF - 0x100000 is outside of the flash chip.", 0},
      {{{0x100000000, 4}}, -1, "is outside of the flash chip.\nFailed to verify target.", 0},
      {{}, -1, "All loaded bytes verified OK!", 0},
  };
  for (const Row& row : rows) {
    SCOPED_TRACE(row.sText);
    FlashScope scope;
    FakeDriver fake;
    fake.Memory.assign(0x100000, 0x5A);
    if (row.Wrong >= 0) {
      fake.Memory[static_cast<u32>(row.Wrong)] = 0xA5;
    }
    const MEMAREA_PTR pImage = Image(row.Ranges);
    FLASH_Verify(pImage.get());
    EXPECT_NE(scope.FrontEnd().GetBoxTexts().find(row.sText), std::string::npos)
        << scope.FrontEnd().GetBoxTexts();
    EXPECT_EQ(fake.NumLists, row.NumReads + 1);  // the ID comes first
  }
}

// A library that says "done" and delivers nothing.
TEST(Verify, AReadThatDeliversNothingIsNoMatch) {
  FlashScope scope;
  FakeDriver fake;
  const MEMAREA_PTR pBlank = Image({{0, 0x40000}}, 0xFF);
  ASSERT_EQ(FLASH_Connect(), 0);
  static u8 aStale[SPI_MAX_READ];
  fake.OnList = [](VORTIC_SPI_CMD* pList, u32 n) {
    const VORTIC_SPI_CMD& cmd = pList[n - 1];  // undoes the fake's delivery
    std::copy_n(aStale, cmd.NumBits / 8, cmd.pRead);
  };
  std::fill_n(aStale, SPI_MAX_READ, u8{0});
  FLASH_Verify(pBlank.get());
  EXPECT_TRUE(scope.FrontEnd().HasLog("Verification failed @ address 0x00000000"));
}

TEST(ReadBack, SpansAndBlankAreas) {
  struct Row {
    u64 First, Last;
    bool IsSkipping;
    u64 NumBytes;
    u32 NumRanges;
    bool IsNull;
  };
  for (const Row& row :
       {Row{0x1001, 0x1002, false, 4, 1, false}, Row{0, 0x3FFFF, false, 0x40000, 1, false},
        Row{0, 0x3FFFF, true, 0, 0, false}, Row{1, 0, false, 0, 0, true},
        Row{0, 0x100000000, false, 0, 0, true}}) {
    FlashScope scope;
    FakeDriver fake;
    SETUP_SetSkipBlankAreas(row.IsSkipping ? 1 : 0);
    const MEMAREA_PTR pRead(FLASH_ReadSpan(row.First, row.Last));
    EXPECT_EQ(pRead == nullptr, row.IsNull);
    EXPECT_EQ(MEMAREA_GetNumBytes(pRead.get()), row.NumBytes);
    EXPECT_EQ(MEMAREA_GetNumRanges(pRead.get()), row.NumRanges);
    EXPECT_EQ(scope.FrontEnd().HasLog("Target memory read successfully."), !row.IsNull);
  }
}

TEST(ReadBack, WholeChipAndItsFailures) {
  FlashScope scope;
  FakeDriver fake;
  const MEMAREA_PTR pChip(FLASH_ReadChip());
  EXPECT_EQ(MEMAREA_GetNumBytes(pChip.get()), 0x100000u);
  EXPECT_TRUE(scope.FrontEnd().HasLog("16 sectors, 1 range, 0x0 - 0xFFFFF"));
  EXPECT_TRUE(scope.FrontEnd().HasLog("read successfully. (1048576 bytes, 1 range)"));
  scope.FrontEnd().CancelOnText("Range 1/1, 0x0 - 0xFFFFF");
  EXPECT_EQ(FLASH_ReadChip(), nullptr);
  EXPECT_TRUE(scope.FrontEnd().HasLog("ERROR: Read target memory canceled by user"));
  fake.OnList = [](auto* p, u32 n) { p[0].Result = n == 3 ? 0 : 1; };
  EXPECT_EQ(FLASH_ReadChip(), nullptr);
  EXPECT_TRUE(
      scope.FrontEnd().HasLog("Failed to read memory (0x20000 bytes @ address 0x00000000)"));
}

}  // namespace
