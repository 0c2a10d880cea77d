#include "flash/spi.h"

#include <gtest/gtest.h>

#include "flash/program.h"
#include "tests/flash/flash_scope.h"

namespace {

// What a read of 16 bytes and a page of 256 send, for each kind of flash description.
TEST(Spi, Records) {
  const struct {
    const char* sName;
    std::function<void(SPI_FLASH_INFO&)> Set;
    std::string Read, Program;
  } rows[] = {
      {"plain", [](SPI_FLASH_INFO&) {}, "List 3\n1 03 8 102\n1 012345 24 000\n1 < 128 00C\n",
       "List 4\n1 06 8 10E\n1 0201020055555555.. 2080 10E\n1 05 8 102\n2 1/0/100000 8 00C 16\n"},
      {"fast read, instructions before",
       [](SPI_FLASH_INFO& i) {
         i.CmdReadData = 0x0B;
         i.SendInitCommands = 1;
       },
       "List 4\n1 0B 8 102\n1 012345 24 000\n1 00 8 000\n1 < 128 00C\n",
       "List 5\n1 06 8 10E\n1 41 8 10E\n1 0201020055555555.. 2080 10E\n1 05 8 102\n"
       "2 1/0/100000 8 00C 16\n"},
      {"more address bytes than there are", [](SPI_FLASH_INFO& i) { i.NumAddrBytes = 200; },
       "List 3\n1 03 8 102\n1 00012345 32 000\n1 < 128 00C\n",
       "List 4\n1 06 8 10E\n1 0200010200555555.. 2088 10E\n1 05 8 102\n2 1/0/100000 8 00C 16\n"},
      {"quad data, instructions before, ready bit",
       [](SPI_FLASH_INFO& i) {
         i.UseQuadMode = i.SendInitCommands = i.StatusIsReadyBit = 1;
         i.CmdReadDataQuad = 0x6B;
         i.CmdWritePageQuad = 0x32;
         i.NumDummyCyclesQuad = 8;
         i.StatusBitPos = 7;
       },
       "List 4\n1 6B 8 102\n1 012345 24 100\n1 00 8 900\n1 < 128 60C\n",
       "List 7\n1 06 8 10E\n1 41 8 10E\n1 32 8 102\n1 010200 24 100\n"
       "1 5555555555555555.. 2048 60C\n1 05 8 102\n2 80/80/100000 8 00C 64\n"},
      {"quad throughout, dummy bits capped",
       [](SPI_FLASH_INFO& i) {
         i.UseQuadMode = 1;
         i.CmdReadDataQuad = 0xEB;
         i.CmdWritePageQuad = 0x32;
         i.NumDummyCyclesQuad = 255;
         i.RdCmdTransferMode = i.RdAddrTransferMode = SPI_LANES_QUAD;
         i.WrCmdTransferMode = i.WrAddrTransferMode = SPI_LANES_QUAD;
       },
       "List 4\n1 EB 8 202\n1 012345 24 200\n1 0000000000000000.. 512 A00\n1 < 128 60C\n",
       "List 6\n1 06 8 10E\n1 32 8 202\n1 010200 24 200\n1 5555555555555555.. 2048 60C\n"
       "1 05 8 102\n2 1/0/100000 8 00C 64\n"},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.sName);
    FakeScope fake;
    FlashScope::SetFlash(row.Set);
    u8 aData[16];
    const FLASH_CHIP chip = FlashScope::MakeChip();
    EXPECT_EQ(SPI_ReadData(chip.Info, 0x012345, sizeof(aData), aData), 0);
    const std::vector<u8> page(256, 0x55);
    EXPECT_EQ(SPI_ProgramPages(chip, 0x010200, 256, page.data()), 256);
    EXPECT_EQ(fake.Log, row.Read + row.Program);
  }
}

TEST(Spi, BatchesAndBlankPages) {
  const struct {
    u32 PageShift, NumPages, FirstBlank, NumBlank, FlashType;
    bool IsSkipDisabled;
    u32 NumLists;
    i64 Result;
  } rows[] = {
      {8, 33, 0, 0, FLASH_TYPE_NOR, false, 2, 33 * 256},
      {9, 17, 0, 0, FLASH_TYPE_NOR, false, 2, 17 * 512},
      {14, 2, 0, 0, FLASH_TYPE_NOR, false, 2, 2 * 16384},  // a page larger than a batch
      {0, 33, 0, 0, FLASH_TYPE_EEPROM, false, 2, 33},
      {8, 32, 3, 20, FLASH_TYPE_NOR, false, 1, 12 * 256},
      {8, 32, 0, 32, FLASH_TYPE_NOR, false, 0, 0},
      {8, 32, 0, 32, FLASH_TYPE_FRAM, false, 1, 32 * 256},
      {8, 32, 0, 32, FLASH_TYPE_NOR, true, 1, 32 * 256},
      {17, 1, 0, 0, FLASH_TYPE_NOR, false, 0, -1},  // larger than a block
  };
  for (const auto& row : rows) {
    for (const u8 quad : {0, 1}) {
      SCOPED_TRACE(testing::Message() << row.PageShift << " " << row.NumPages << " quad " << +quad);
      FakeScope fake;
      FlashScope::SetFlash([&](SPI_FLASH_INFO& i) {
        i.PageSizeShift = row.PageShift;
        i.FlashType = row.FlashType;
        i.UseQuadMode = quad;
      });
      const PROJ_PERFORMANCE performance = {static_cast<u8>(row.IsSkipDisabled ? 1 : 0)};
      PROJECT_SetPerformance(&performance);
      const u32 size = 1u << row.PageShift;
      std::vector<u8> data(row.NumPages * size, 0);
      std::fill_n(data.begin() + row.FirstBlank * size, row.NumBlank * size, u8{0xFF});
      EXPECT_EQ(
          SPI_ProgramPages(FlashScope::MakeChip(), 0, static_cast<u32>(data.size()), data.data()),
          row.Result);
      EXPECT_EQ(fake.NumLists, row.NumLists);
    }
  }
}

// The library's results, as a whole and by record, and what they are told as.
TEST(Spi, ListFaults) {
  const struct {
    int ListResult;
    i32 Record;  // -1: none
    i32 Result;
    const char* sRead;
    const char* sProgram;  // two pages
  } rows[] = {
      {0, -1, 0, nullptr, nullptr},
      {5, -1, 0, nullptr, nullptr},
      {SPI_NO_LIST, -1, 0, "0x00000200 (API function not found)", "200 (API function not found)"},
      {-262, -1, 0, "0x00000200 (feature not supported)", "0x00000200 (feature not supported)"},
      {-1, -1, 0, "0x00000200 (unspecified error)", "0x00000200 (unspecified error)"},
      {0, 0, -263, "0x00000200 (not enough memory)", "0x00000200 (not enough memory)"},
      {0, 0, 2, "0x00000200 (read error)", "0x00000200 (program error)"},
      {0, 2, -1, "0x00000200 (read error)", "0x00000200 (program error)"},
      {0, 3, -1, nullptr, "0x00000200 (timeout occurred)"},
      {0, 5, 259, nullptr, "0x00000300 (program error)"},
      {0, 7, -9, nullptr, "0x00000300 (timeout occurred)"},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(testing::Message() << row.ListResult << " " << row.Record << " " << row.Result);
    FakeScope fake;
    if (row.ListResult == SPI_NO_LIST) {
      fake.MissingFunc.insert(1);
    } else {
      fake.ListResult = row.ListResult;
    }
    fake.OnList = [&](VORTIC_SPI_CMD* pList, u32 NumRecords) {
      if (row.Record >= 0 && static_cast<u32>(row.Record) < NumRecords) {
        pList[row.Record].Result = row.Result;
      }
    };
    std::vector<u8> data(512, 0x11);
    std::vector<u8> read(512);
    const FLASH_CHIP chip = FlashScope::MakeChip();
    EXPECT_EQ(SPI_ReadData(chip.Info, 0x200, 512, read.data()), row.sRead == nullptr ? 0 : -1);
    EXPECT_TRUE(row.sRead == nullptr || fake.FrontEnd().HasLog(row.sRead));
    EXPECT_EQ(SPI_ProgramPages(chip, 0x200, 512, data.data()), row.sProgram == nullptr ? 512 : -1);
    EXPECT_TRUE(row.sProgram == nullptr || fake.FrontEnd().HasLog(row.sProgram));
  }
}

// What a library leaves alone must not pass for the batch before; a page's address is told even
// when blank ones before it were left out.
TEST(Spi, ResultsStartAnewInEachBatch) {
  FakeScope fake;
  fake.SilentFromList = 2;
  std::vector<u8> data(40 * 256, 0x11);
  std::fill_n(data.begin() + 32 * 256, 256, u8{0xFF});
  EXPECT_EQ(SPI_ProgramPages(FlashScope::MakeChip(), 0, static_cast<u32>(data.size()), data.data()),
            -1);
  EXPECT_TRUE(fake.FrontEnd().HasLog("Programming failed @ address 0x00002100 (program error)"));
}

TEST(Spi, AddressesThatTheCommandCannotCarryAreRefused) {
  const struct {
    u8 NumAddrBytes;
    u32 Addr, NumBytes;
    int Result;
  } rows[] = {
      {3, 0xFFFF00, 256, 0}, {3, 0xFFFF00, 512, -1}, {2, 0x10000, 256, -1}, {4, ~0xFFu, 256, 0}};
  for (const auto& row : rows) {
    FakeScope fake;
    With(&SPI_FLASH_INFO::NumAddrBytes, row.NumAddrBytes)(fake);
    std::vector<u8> data(row.NumBytes);
    const FLASH_CHIP chip = FlashScope::MakeChip();
    EXPECT_EQ(SPI_ProgramPages(chip, row.Addr, row.NumBytes, data.data()) < 0, row.Result < 0);
    EXPECT_EQ(SPI_ReadData(chip.Info, row.Addr, row.NumBytes, data.data()), row.Result);
    EXPECT_EQ(fake.NumLists, row.Result < 0 ? 0u : 2u);
  }
}

TEST(Spi, StatusOfADeadLinkIsNoAnswer) {
  FakeScope fake;
  fake.IsDead = true;
  for (const u8 ready : {0, 1}) {
    FlashScope::SetFlash([&](SPI_FLASH_INFO& i) {
      i.StatusIsReadyBit = ready;
      i.StatusBitPos = 7;
    });
    const SPI_FLASH_INFO info = FlashScope::MakeChip().Info;
    const u8 status = SPI_ReadStatus(info);
    EXPECT_EQ(status, 0xFF);  // which nobody takes for an answer
    EXPECT_EQ(SPI_IsReadyStatus(info, status), ready == 1);
  }
  // A refused transfer leaves chip select as it should be.
  fake.IsDead = false;
  fake.TransferResult = -1;
  SPI_ReadStatus(FlashScope::MakeChip().Info);
  EXPECT_TRUE(fake.Has("Line C\n"));
  EXPECT_TRUE(fake.FrontEnd().HasLog("without giving a reason"));
}

}  // namespace
