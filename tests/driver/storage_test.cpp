#include <sys/resource.h>

#include <csignal>

#include "driver/sim/array_store.h"
#include "driver/sim/image_file.h"
#include "tests/driver/probe_fixture.h"

namespace {

using StorageTest = ProbeFixture;

TEST_F(StorageTest, ImageIsCreatedBlankAndKeptUpToDate) {
  Open("W25Q128FV", "ImageFile = chip.bin");
  EXPECT_EQ(ReadFile("chip.bin"), std::string(16 << 20, '\xFF'));
  Run("06 | 02 012345 AB | ~05");
  EXPECT_EQ(ReadFile("chip.bin")[0x12345], '\xAB');  // before it is closed
  Run("06 | 02 FFFF00 CD | ~05 | 06 | D8 010000 | ~05");
  EXPECT_EQ(ReadFile("chip.bin")[0x12345], '\xFF');
  VORTICARM_Close();
  Open("W25Q128FV", "ImageFile = chip.bin");
  EXPECT_EQ(Run("03 FFFF00 >2 | 03 012345 >1"), "CDFFFF");
  Run("06 | C7 | ~05");
  VORTICARM_Close();
  EXPECT_EQ(ReadFile("chip.bin"), std::string(16 << 20, '\xFF'));
}

TEST_F(StorageTest, AnOperationThatRunsAtClosingComesToItsEnd) {
  Open("W25Q128FV", "ImageFile = chip.bin");
  Run("06 | 02 000000 00");
  VORTICARM_Close();
  EXPECT_EQ(ReadFile("chip.bin")[0], '\0');
}

TEST_F(StorageTest, RefusesImagesThatDoNotFit) {
  const std::string name = "The chip image \"" + Path("chip.bin") + "\"";
  WriteFile("chip.bin", "short");
  EXPECT_EQ(TryOpen("AT25080", "ImageFile = chip.bin"), name + " has 5 bytes, the chip has 1024.");
  std::filesystem::remove(Path("chip.bin"));
  std::filesystem::create_directory(Path("chip.bin"));
  EXPECT_NE(TryOpen("AT25080", "ImageFile = chip.bin"), "");
  EXPECT_NE(TryOpen("AT25080", "ImageFile = /dev/full"), "");
  EXPECT_EQ(
      TryOpen("AT25080", "ImageFile = no/chip.bin"),
      "Could not open the chip image \"" + Path("no/chip.bin") + "\": No such file or directory.");
}

TEST_F(StorageTest, ImageIsLockedWhileItIsOpen) {
  WriteFile("chip.bin", std::string(1024, 'x'));
  ASSERT_EQ(TryOpen("AT25080", "ImageFile = chip.bin"), "");
  vortic::ImageFile second;
  EXPECT_EQ(second.Open(Path("chip.bin"), 1024, [](u64, std::span<const u8>) {}),
            "The chip image \"" + Path("chip.bin") + "\" is in use by another simulated probe.");
  VORTICARM_Close();
  EXPECT_EQ(second.Open(Path("chip.bin"), 1024, [](u64, std::span<const u8>) {}), "");
}

// A limit on the size of files stands for a full disk.
TEST_F(StorageTest, AWriteThatFailsIsTold) {
  Open("AT25080", "ImageFile = chip.bin");
  rlimit before = {};
  ASSERT_EQ(getrlimit(RLIMIT_FSIZE, &before), 0);
  const auto oldHandler = std::signal(SIGXFSZ, SIG_IGN);
  rlimit small = before;
  small.rlim_cur = 16;
  ASSERT_EQ(setrlimit(RLIMIT_FSIZE, &small), 0);
  Run("06 | 02 0200 55 | ~05");
  EXPECT_EQ(setrlimit(RLIMIT_FSIZE, &before), 0);
  std::signal(SIGXFSZ, oldHandler);
  ASSERT_FALSE(s_Errors.empty());
  EXPECT_EQ(s_Errors[0],
            "Could not write the chip image \"" + Path("chip.bin") + "\": File too large.");
  Run("05 >1");  // what could not be written is not forgotten
  EXPECT_EQ(ReadFile("chip.bin")[0x200], '\x55');
}

TEST_F(StorageTest, SurvivesAnImageThatIsCutShort) {
  Open("AT25080", "ImageFile = chip.bin");
  std::filesystem::resize_file(Path("chip.bin"), 0);
  EXPECT_EQ(Run("06 | 02 0200 55 | ~05 | 03 0200 >1"), "55");
  EXPECT_EQ(ReadFile("chip.bin").size(), 0x201u);
}

// Blocks of the store are 64 KiB; ranges that cross them and ranges inside of them.
TEST_F(StorageTest, ArrayKeepsWhatItWasTold) {
  vortic::ArrayStore store(u64{1} << 28);
  std::vector<u8> data(0x20000);
  for (std::size_t i = 0; i < data.size(); ++i) {
    data[i] = static_cast<u8>(i * 3);
  }
  EXPECT_FALSE(store.Program(0xFFF3, data));
  std::vector<u8> read(data.size());
  store.Read(0xFFF3, read);
  EXPECT_EQ(read, data);
  EXPECT_FALSE(store.Program(0xFFF3, data));
  const u8 ones[] = {0xFF, 0xFF, 0xFE};
  EXPECT_FALSE(store.Program(0xFFF3, std::span(ones).first(2)));
  EXPECT_TRUE(store.Program(0xFFF3, ones));
  store.Erase(0x10000, 0x1000);
  store.Read(0xFFF3, read);
  EXPECT_EQ(read[0x0C], data[0x0C]);
  EXPECT_EQ(read[0x0D], 0xFF);
  EXPECT_EQ(read[0x100C], 0xFF);
  EXPECT_EQ(read[0x100D], data[0x100D]);
}

}  // namespace
