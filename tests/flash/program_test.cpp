#include "flash/program.h"

#include <gtest/gtest.h>

#include "flash/erase.h"
#include "flash/verify.h"
#include "project/settings.h"
#include "tests/flash/flash_scope.h"

namespace {

TEST(Program, TheQuestionBeforeErasing) {
  const struct {
    bool IsChecking, IsBlank;
    int Answer, Result;  // no answer, -1: the default counts
    u32 NumBoxes;
  } rows[] = {{false, false, -1, 0, 0},
              {true, true, -1, 0, 0},
              {true, false, 0, 1, 1},
              {true, false, 1, -1, 1},
              {true, false, -1, -1, 1}};
  for (const auto& row : rows) {
    FakeScope fake;
    fake.Memory.assign(0x20000, 0xFF);
    fake.Memory[0x1FFFF] = row.IsBlank ? 0xFF : 0xFE;
    SETUP_SetAutoBlankCheck(row.IsChecking ? 1 : 0);
    if (row.Answer >= 0) {
      fake.FrontEnd().AnswerBox(static_cast<u32>(row.Answer));
    }
    const MEMAREA_PTR pImage = MakeImage({{0x10000, 1}});
    APP_LogBegin("Operation");
    EXPECT_EQ(FLASH_AskErase(pImage.get()), row.Result);
    EXPECT_EQ(fake.FrontEnd().GetBoxes().size(), row.NumBoxes);
    APP_LogEnd();
  }
}

TEST(Program, Refusals) {
  const auto loseLink = [](FakeDriver& f) {
    f.OnList = [&f](auto*, u32 n) { n > 3 ? f.pfError("Link lost") : void(); };
  };
  const auto refuse = [](auto* p, u32 n) { p[0].Result = n > 3 ? 0 : 1; };
  const auto numPages = [](u32 num) { return With(&SPI_FLASH_INFO::NumPages, num); };
  const struct {
    std::vector<Arrangement> Arrange;
    std::pair<u64, u64> Range;
    const char* sText;  // what the boxes hold
  } rows[] = {
      {{}, {0xFFFFF, 2}, "Program (0xFFFFF - 0x100000) does not fit into flash chip."},
      {{With(&FakeDriver::MilliVolts, 0)}, {0, 1}, "Could not program target, not connected."},
      {{With(&SPI_FLASH_INFO::PageSizeShift, 17), numPages(64)},
       {0, 1},
       "Page size of 131072 bytes is not supported."},
      {{loseLink}, {0, 0x20000}, "Link lost"},
      {{With(&FakeDriver::OnList, refuse)},
       {0x300, 0x100},
       "Programming failed @ address 0x00000300 (program error)"},
      {{With(&SPI_FLASH_INFO::NumAddrBytes, 4), numPages(0x40000000)},  // 256 GiB
       {0x100000000, 1},
       "can't be reached with 4 address bytes."},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.sText);
    FakeScope fake(row.Arrange);
    SETUP_SetAutoBlankCheck(0);
    FLASH_Program(MakeImage({row.Range}).get(), false);
    EXPECT_TRUE(fake.FrontEnd().HasBox(row.sText + std::string("\nFailed to program target.")))
        << fake.FrontEnd().GetBoxTexts();
    EXPECT_FALSE(fake.FrontEnd().HasBox("successfully"));
    EXPECT_EQ(fake.FrontEnd().GetNumOpenProgress(), 0u);
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
  FakeScope fake;
  SETUP_SetAutoBlankCheck(0);
  FLASH_Program(MakeImage({{5, 1}}).get(), false);
  EXPECT_TRUE(fake.Has("1 02000000FFFFFFFF.. 2080 10E\n"));
  EXPECT_TRUE(fake.FrontEnd().HasLog("Programming target (1 bytes, 1 range) ..."));
  EXPECT_TRUE(fake.FrontEnd().HasBox("Target programmed successfully - Completed"));
  EXPECT_EQ(fake.FrontEnd().GetLastProgress().Value, 256u);
}

TEST(Program, CancelIsSeenBetweenBlocks) {
  FakeScope fake;
  SETUP_SetAutoBlankCheck(0);
  fake.FrontEnd().CancelOnText("Programming range 0x00010000 - 0x0001FFFF");
  FLASH_Program(MakeImage({{0, 0x40000}}).get(), false);
  EXPECT_EQ(fake.FrontEnd().GetBoxTexts(),
            "Programming canceled @ addr 0x00020000\nFailed to program target.\n");
}

TEST(Program, AutoDisconnectEndsTheConnectionOnce) {
  FakeScope fake;
  SETUP_SetAutoDisconnect(1);
  FLASH_Program(MakeImage({{0, 256}}, 0xFF).get(), false);
  EXPECT_TRUE(fake.FrontEnd().HasLog("Target programmed successfully"));
  EXPECT_EQ(fake.FrontEnd().CountLog("Disconnected"), 1u);
  EXPECT_FALSE(FLASH_IsConnected());
}

TEST(Verify, Outcomes) {
  const struct {
    Ranges Range;
    i64 Wrong;  // address of a byte that differs, -1 none
    const char* sText;
    u32 NumReads;
  } rows[] = {
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
  for (const auto& row : rows) {
    SCOPED_TRACE(row.sText);
    FakeScope fake;
    fake.Memory.assign(0x100000, 0x5A);
    if (row.Wrong >= 0) {
      fake.Memory[static_cast<u32>(row.Wrong)] = 0xA5;
    }
    FLASH_Verify(MakeImage(row.Range).get());
    EXPECT_TRUE(fake.FrontEnd().HasBox(row.sText)) << fake.FrontEnd().GetBoxTexts();
    u32 numReads = 0;
    for (std::size_t at = 0; (at = fake.Log.find("1 03 8 102", at)) != std::string::npos; ++at) {
      ++numReads;
    }
    EXPECT_EQ(numReads, row.NumReads);
  }
}

// A library that says "done" and delivers nothing.
TEST(Verify, AReadThatDeliversNothingIsNoMatch) {
  FakeScope fake;
  ASSERT_EQ(FLASH_Connect(), 0);
  fake.OnList = [](VORTIC_SPI_CMD* pList, u32 n) {  // undoes the fake's delivery
    if (pList[0].pWrite[0] == 0x03) {
      std::fill_n(pList[n - 1].pRead, pList[n - 1].NumBits / 8, u8{0});
    }
  };
  FLASH_Verify(MakeImage({{0, 0x40000}}, 0xFF).get());
  EXPECT_TRUE(fake.FrontEnd().HasLog("Verification failed @ address 0x00000000"));
}

TEST(ReadBack, SpansAndBlankAreas) {
  const struct {
    u64 First, Last;
    bool IsSkipping, IsNull;
    u64 NumBytes;
  } rows[] = {{0x1001, 0x1002, false, false, 4},   {0, 0x3FFFF, false, false, 0x40000},
              {0, 0x3FFFF, true, false, 0},        {0xFFFFC, 0xFFFFF, false, false, 4},
              {0xFFFFC, 0x100000, false, true, 0}, {1, 0, false, true, 0},
              {0, 0x100000000, false, true, 0}};
  for (const auto& row : rows) {
    FakeScope fake;
    SETUP_SetSkipBlankAreas(row.IsSkipping ? 1 : 0);
    const MEMAREA_PTR pRead(FLASH_ReadSpan(row.First, row.Last));
    EXPECT_EQ(pRead == nullptr, row.IsNull);
    EXPECT_EQ(MEMAREA_GetNumBytes(pRead.get()), row.NumBytes);
    EXPECT_EQ(MEMAREA_GetNumRanges(pRead.get()), row.NumBytes != 0 ? 1u : 0u);
    EXPECT_EQ(fake.FrontEnd().HasLog("Target memory read successfully."), !row.IsNull);
  }
}

TEST(ReadBack, WholeChipAndItsFailures) {
  FakeScope fake;
  const MEMAREA_PTR pChip(FLASH_ReadChip());
  EXPECT_EQ(MEMAREA_GetNumBytes(pChip.get()), 0x100000u);
  EXPECT_TRUE(fake.FrontEnd().HasLog("16 sectors, 1 range, 0x0 - 0xFFFFF"));
  EXPECT_TRUE(fake.FrontEnd().HasLog("read successfully. (1048576 bytes, 1 range)"));
  fake.FrontEnd().CancelOnText("Range 1/1, 0x0 - 0xFFFFF");
  EXPECT_EQ(FLASH_ReadChip(), nullptr);
  EXPECT_TRUE(fake.FrontEnd().HasLog("ERROR: Read target memory canceled by user"));
  fake.OnList = [](auto* p, u32 n) { p[0].Result = n == 3 ? 0 : 1; };
  EXPECT_EQ(FLASH_ReadChip(), nullptr);
  EXPECT_TRUE(fake.FrontEnd().HasLog("Failed to read memory (0x20000 bytes @ address 0x00000000)"));
}

}  // namespace
