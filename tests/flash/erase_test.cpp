#include "flash/erase.h"

#include <gtest/gtest.h>

#include "project/settings.h"
#include "tests/flash/flash_scope.h"

namespace {

TEST(Erase, Geometry) {
  const struct {
    u32 NumPages, PageShift, SectorShift, NumSectors;
    u64 Total;
  } rows[] = {{4096, 8, 16, 16, 0x100000},
              {4097, 8, 16, 16, 0x100000},
              {0, 8, 16, 0, 0},
              {1024, 5, 0, 32768, 32768},
              {0xFFFFFFFF, 32, 0, 0, 0},
              {0xFFFFFFFF, 32, 32, 0xFFFFFFFF, 0xFFFFFFFF00000000},
              {4096, 99, 16, 0, 0},
              {4096, 8, 0xFFFFFFFF, 0, 0}};
  for (const auto& row : rows) {
    FlashScope scope;
    FlashScope::SetFlash([&](SPI_FLASH_INFO& i) {
      i.NumPages = row.NumPages;
      i.PageSizeShift = row.PageShift;
      i.SectorSizeShift = row.SectorShift;
    });
    EXPECT_EQ(FLASH_GetNumSectors(), row.NumSectors);
    EXPECT_EQ(FLASH_GetTotalSize(), row.Total);
    EXPECT_EQ(FLASH_GetNumRanges(), row.Total != 0 ? 1u : 0u);
  }
}

TEST(Erase, AffectedSectors) {
  FlashScope scope;
  const MEMAREA_PTR pImage =
      MakeImage({{0x10000, 1}, {0x1FFFF, 1}, {0x3FFFF, 2}, {0x90000, 0x10000}, {0xFFFFF, 0x20000}});
  std::string affected;
  for (u32 i = 0; i < 17; ++i) {
    affected += FLASH_IsSectorAffected(i, pImage.get()) ? '1' : '0';
  }
  EXPECT_EQ(affected, "01011000010000010");
  u32 numSectors = 0;
  const MEMAREA_PTR pSectors(FLASH_CreateSectorArea(pImage.get(), &numSectors));
  EXPECT_EQ(numSectors, 5u);
  EXPECT_EQ(FLASH_FormatRanges(pSectors.get()),
            ", 0x10000 - 0x1FFFF, 0x30000 - 0x4FFFF, 0x90000 - 0x9FFFF, 0xF0000 - 0xFFFFF");
}

// What goes on the bus for each layout of the protection bits.
TEST(Erase, BlockProtection) {
  const std::string zero = "W 05 8 002\nR 8 00C\n";
  const std::string removal = "W 06 8 00E\nW 0100 16 00E\n";
  struct Row {
    u8 Format;
    u8 Status;
    std::string Log;  // without the wait
    bool IsRemoved;
  };
  std::vector<Row> rows = {{9, 0, "W 06 8 00E\nW 98 8 00E\n", false},
                           {10, 0x02, zero + "W 3D2A7F9A 32 00E\n", true},
                           {10, 0x1C, zero, true},
                           {200, 0x1C, zero + removal, true}};
  const u8 aBits[] = {0x5C, 0x5C, 0x1C, 0x1C, 0x3C, 0x1C, 0x7C, 0x1C, 0x0C, 0, 0, 0x1C, 0x1C, 0x1C};
  for (u8 format = 0; format < sizeof(aBits); ++format) {
    for (u8 bit = 2; bit < 8 && format != 9 && format != 10; ++bit) {
      const u8 status = static_cast<u8>(1u << bit);
      rows.push_back({format, status, (aBits[format] & status) != 0 ? zero + removal : zero, true});
    }
  }
  for (const Row& row : rows) {
    SCOPED_TRACE(testing::Message() << +row.Format << " " << +row.Status);
    FakeScope fake;
    With(&SPI_FLASH_INFO::StatusRegFormat, row.Format)(fake);
    fake.Status = {row.Status, 0};  // unprotected from the second read on
    FLASH_CHIP chip = FlashScope::MakeChip();
    EXPECT_EQ(FLASH_RemoveBlockProtection(&chip), 0);
    EXPECT_EQ(fake.Log.substr(0, row.Log.size()), row.Log);
    EXPECT_EQ(fake.Has("W 06"), row.Log.find("W 06") != std::string::npos);
    EXPECT_EQ(chip.IsUnprotected, row.IsRemoved);
    fake.Log.clear();
    EXPECT_EQ(FLASH_RemoveBlockProtection(&chip), 0);
    EXPECT_EQ(fake.Log.empty(), row.IsRemoved);  // once is enough
  }
}

TEST(Erase, Waits) {
  const auto status = [](std::deque<u8> answers) { return With(&FakeDriver::Status, answers); };
  const auto errorAt = [](u32 num) { return With(&FakeDriver::ErrorAtTransfer, num); };
  const struct {
    const char* sName;
    std::vector<Arrangement> Arrange;
    const char *sSector, *sChip;  // null: succeeds
  } rows[] = {
      {"ready at once", {}, nullptr, nullptr},
      {"busy for a while", {status({0, 1, 1, 1, 1, 0})}, nullptr, nullptr},
      {"busy for ever",
       {status({0, 1})},
       "Erasing failed @ address 0x00000000 (timeout occurred)",
       "Erasing chip failed (timeout occurred)"},
      {"dead without a word",
       {With(&FakeDriver::IsDead, true)},
       "Removing block protection bits failed.",
       "Removing block protection bits failed."},
      {"dead in the wait",
       {status({0, 1}), errorAt(20)},
       "Erasing failed @ address 0x00000000 (unspecified error)",
       "Erasing chip failed (unspecified error)"},
      {"dead in the erase, then ready",
       {errorAt(10)},
       "Erasing failed @ address 0x00000000 (unspecified error)",
       "Erasing chip failed (unspecified error)"},
      {"not connected",
       {With(&FakeDriver::MilliVolts, 0)},
       "Could not erase sectors, not connected.",
       "Could not erase chip, not connected."},
  };
  for (const auto& row : rows) {
    for (const bool isChip : {false, true}) {
      SCOPED_TRACE(row.sName);
      FakeScope fake(row.Arrange);
      const char* sError = isChip ? row.sChip : row.sSector;
      isChip ? FLASH_EraseChip() : FLASH_EraseAllSectors();
      EXPECT_EQ(fake.FrontEnd().HasBox("completed successfully"), sError == nullptr)
          << fake.FrontEnd().GetBoxTexts();
      EXPECT_TRUE(sError == nullptr || fake.FrontEnd().HasBox(sError))
          << fake.FrontEnd().GetBoxTexts();
      EXPECT_EQ(FLASH_IsConnected(), sError == nullptr);
      EXPECT_EQ(fake.FrontEnd().GetNumOpenProgress(), 0u);
    }
  }
}

TEST(Erase, FramesOfAnErase) {
  FakeScope fake(
      {With(&SPI_FLASH_INFO::SendInitCommands, 1), With(&SPI_FLASH_INFO::NumAddrBytes, 4)});
  const MEMAREA_PTR pImage = MakeImage({{0x3FFFF, 2}});
  FLASH_EraseAffected(pImage.get());
  for (const char* sFrames :
       {"W 06 8 00E\nW 41 8 00E\nW D800030000 40 00E\nW 05 8 002\nR 8 00C\n",
        "W 06 8 00E\nW 41 8 00E\nW D800040000 40 00E\nW 05 8 002\nR 8 00C\n"}) {
    EXPECT_TRUE(fake.Has(sFrames)) << fake.Log;
  }
  EXPECT_TRUE(fake.FrontEnd().HasLog("2 of 16 sectors affected, 1 range\n"));
  EXPECT_TRUE(fake.FrontEnd().HasLog("Affected sectors 3 to 4 (0x30000 - 0x4FFFF)"));
  FLASH_EraseChip();
  EXPECT_TRUE(fake.Has("W 06 8 00E\nW 41 8 00E\nW C7 8 00E\n"));
  EXPECT_TRUE(fake.FrontEnd().HasLog("Erasing 16 sectors, 1 range, 0x0 - 0xFFFFF"));
  With(&SPI_FLASH_INFO::StatusRegFormat, 10)(fake);
  FLASH_EraseChip();
  EXPECT_TRUE(fake.Has("W 06 8 00E\nW 41 8 00E\nW C794809A 32 00E\n"));
}

// Each would do nothing at all, and must not pass for an erase.
TEST(Erase, WhatCannotBeErasedIsNoSuccess) {
  const struct {
    std::vector<Arrangement> Set;
    const char* sText;
    u32 NumBoxes;
  } rows[] = {
      {{With(&SPI_FLASH_INFO::FlashType, FLASH_TYPE_FRAM)},
       "Selected memory does not support erase. Skipped.",
       0},
      {{With(&SPI_FLASH_INFO::CmdEraseSector, 0)}, "Failed to erase sectors.", 1},
      {{With(&SPI_FLASH_INFO::NumPages, 0)}, "Failed to erase sectors.", 1},
      {{With(&SPI_FLASH_INFO::NumPages, ~0u), With(&SPI_FLASH_INFO::SectorSizeShift, 8)},
       "Could not erase sectors, out of memory.",
       1},
      {{With(&SPI_FLASH_INFO::NumAddrBytes, 2)}, "can't be reached with 2 address bytes", 1},
  };
  for (const auto& row : rows) {
    FakeScope fake(row.Set);
    FLASH_EraseAllSectors();
    EXPECT_TRUE(fake.FrontEnd().HasLog(row.sText)) << fake.FrontEnd().GetLog();
    EXPECT_EQ(fake.FrontEnd().GetBoxes().size(), row.NumBoxes);
    EXPECT_FALSE(fake.FrontEnd().HasLog("completed successfully"));
    EXPECT_EQ(fake.Has("Open"), row.NumBoxes != 0);
  }
}

TEST(Erase, CancelAndAutoDisconnect) {
  FakeScope fake;
  SETUP_SetAutoDisconnect(1);
  FLASH_EraseAllSectors();
  EXPECT_FALSE(FLASH_IsConnected());
  EXPECT_TRUE(fake.FrontEnd().HasLog("Disconnected"));
  fake.FrontEnd().CancelOnText("Sector 3 of 16 selected (0x20000)");
  FLASH_EraseAllSectors();
  EXPECT_TRUE(
      fake.FrontEnd().HasBox("Sector erase canceled on sector 3\nFailed to erase sectors."));
}

}  // namespace
