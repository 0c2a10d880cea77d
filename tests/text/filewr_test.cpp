#include "text/filewr.h"

#include <gtest/gtest.h>
#include <sys/stat.h>

#include <cerrno>
#include <cstring>

#include "tests/support/temp_dir.h"
#include "tests/sys/failing_ops.h"

namespace {

TEST(FileWriter, EveryBytePassesWhateverTheSizes) {
  const TempDir dir;
  char acError[64] = "old";
  FILEWR* const pWriter = FILEWR_Open((dir / "out").c_str(), acError, sizeof(acError));
  ASSERT_NE(pWriter, nullptr);
  EXPECT_STREQ(acError, "");
  std::string expected;
  u32 seed = 1;
  for (const u32 size : {0u, 1u, 32766u, 1u, 32768u, 4096u, 40000u, 65536u, 100001u, 3u}) {
    std::string block(size, '\0');
    for (char& c : block) {
      c = static_cast<char>((seed = seed * 1103515245 + 12345) >> 16);
    }
    FILEWR_Write(pWriter, block.data(), block.size());
    FILEWR_Write(pWriter, nullptr, size / 3);
    expected += block + std::string(size / 3, '\xFF');
    const u32 numReserved = size < 4096 ? size : 4096;
    u8* const pRoom = FILEWR_Reserve(pWriter, numReserved);
    std::memset(pRoom, 'r', numReserved);
    FILEWR_Commit(pWriter, numReserved / 2);
    expected += std::string(numReserved / 2, 'r');
  }
  FILEWR_Close(pWriter);
  EXPECT_STREQ(acError, "");
  EXPECT_TRUE(ReadFile(dir / "out") == expected);
}

TEST(FileWriter, OpenFailures) {
  const TempDir dir;
  WriteFile(dir / "locked", "");
  chmod((dir / "locked").c_str(), 0444);
  const struct {
    std::string Name, Text;
  } rows[] = {
      {"", "Could not write file. Invalid filename."},
      {dir / "locked", "Could not write file. File has read only attribute.\n" + dir / "locked"},
      {dir.path(), "Could not write file. Access denied.\n" + dir.path()},
      {dir / "no/out", "Could not write file.\n" + dir / "no/out"}};
  for (const auto& row : rows) {
    char acError[600];
    EXPECT_EQ(FILEWR_Open(row.Name.c_str(), acError, sizeof(acError)), nullptr);
    EXPECT_EQ(acError, row.Text);
  }
  char acShort[8];
  EXPECT_EQ(FILEWR_Open(nullptr, acShort, sizeof(acShort)), nullptr);
  EXPECT_STREQ(acShort, "Could n");
  FILEWR_Write(nullptr, "x", 1);
  FILEWR_Close(nullptr);
}

TEST(FileWriter, FailureKeepsTheOldFile) {
  using Step = FailingOps::Step;
  for (const Step step : {Step::Write, Step::Sync, Step::Rename}) {
    const TempDir dir;
    WriteFile(dir / "out", "old");
    char acError[64];
    FILEWR* const pWriter = FILEWR_Open((dir / "out").c_str(), acError, sizeof(acError));
    {
      const FailingOps ops(step, ENOSPC, step == Step::Write ? 40000 : 0);
      FILEWR_Write(pWriter, nullptr, 50000);
      FILEWR_Close(pWriter);
    }
    EXPECT_STREQ(acError, "Error writing file. No space left on device.");
    EXPECT_EQ(ReadFile(dir / "out"), "old");
    EXPECT_EQ(dir.NumEntries(), 1u);
  }
}

}  // namespace
