#include "app/engine/files.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <filesystem>

#include "sys/memory.h"
#include "tests/support/engine_scope.h"
#include "tests/support/temp_dir.h"

namespace {

class FilesTest : public testing::Test {
 protected:
  FilesTest() { WriteFile(m_Name, "0123456789"); }
  ~FilesTest() override { SYS_FILE_SetOps(nullptr); }

  // The text of the boxes shown since the last call, the file's name replaced by "<F>".
  std::string TakeError(const std::string& Name) {
    const std::string all = m_Engine.FrontEnd.GetBoxTexts();
    std::string text = all.substr(m_NumSeen);
    m_NumSeen = all.size();
    const auto pos = text.find(Name);
    return pos != std::string::npos ? text.replace(pos, Name.size(), "<F>") : text;
  }

  EngineScope m_Engine;
  TempDir m_Dir;
  std::string m_Name = m_Dir.file("data.bin");
  std::size_t m_NumSeen = 0;
};

TEST_F(FilesTest, LoadsPartsIntoTheBufferOrABlock) {
  struct ROW {
    u64 Offset, BufSize;
    i64 NumBytes;
    const char* sExpected;
    bool IsOwnBlock;
  };
  constexpr ROW ROWS[] = {{0, 16, -1, "0123456789", false}, {0, 10, -1, "0123456789", false},
                          {0, 9, -1, "0123456789", true},   {4, 16, -1, "456789", false},
                          {2, 16, 3, "234", false},         {2, 2, 3, "234", true},
                          {8, 16, 16, "89", false},         {10, 16, -1, "", false},
                          {99, 16, -1, "", false}};
  for (const ROW& row : ROWS) {
    char acBuf[16];
    u64 numRead = 99;
    void* p = APP_LoadFileEx(m_Name.c_str(), row.Offset, acBuf, row.BufSize, row.NumBytes, &numRead,
                             true);
    ASSERT_NE(nullptr, p);
    EXPECT_EQ(row.IsOwnBlock, p != acBuf);
    EXPECT_EQ(row.sExpected, std::string(static_cast<char*>(p), numRead));
    if (p != acBuf) {
      SYS_MEM_Free(p);
    }
  }
  EXPECT_EQ("", TakeError(m_Name));
}

TEST_F(FilesTest, FailuresAreWorded) {
  const std::string missing = m_Dir.file("none.bin");
  const std::string lost = m_Dir.file("none/none.bin");
  const std::string readOnly = m_Dir.file("readonly.bin");
  const std::string blocked = m_Name + "/below.bin";
  WriteFile(readOnly, "x");
  std::filesystem::permissions(readOnly, std::filesystem::perms::owner_read);
  char acBuf[16];
  const auto load = [&](const std::string& name, bool reportMissing) {
    return APP_LoadFileEx(name.c_str(), 0, acBuf, 16, -1, nullptr, reportMissing) == nullptr;
  };
  EXPECT_TRUE(load(missing, false));
  EXPECT_EQ("", TakeError(missing));
  EXPECT_TRUE(load(missing, true));
  EXPECT_EQ("Could not open file [<F>]\nFile not found!\n", TakeError(missing));
  EXPECT_TRUE(load(lost, false));
  EXPECT_EQ("Could not open file [<F>]\nPath not found!\n", TakeError(lost));
  EXPECT_EQ(nullptr, APP_LoadFile(nullptr, acBuf, 16, nullptr));
  EXPECT_EQ("Unable to open file. No filename specified.\n", TakeError(m_Name));
  EXPECT_EQ(nullptr, APP_LoadFileEx(m_Name.c_str(), 0, nullptr, 16, 4, nullptr, true));
  EXPECT_EQ("Could not open file [<F>]\nUnable to create file buffer!\n", TakeError(m_Name));
  EXPECT_EQ(nullptr, APP_LoadFileEx(m_Name.c_str(), ~u64{0}, acBuf, 16, 4, nullptr, true));
  EXPECT_EQ("Could not open file [<F>]\nFailed to read data!\n", TakeError(m_Name));
  EXPECT_EQ(0u, APP_OpenFileReport(missing.c_str(), SYS_FILE_READ, false));
  EXPECT_EQ("", TakeError(missing));
  EXPECT_EQ(0u, APP_OpenFileReport(missing.c_str(), SYS_FILE_READ, true));
  EXPECT_EQ("Could not open file [<F>]\nFile not found!\n", TakeError(missing));
  EXPECT_EQ(-1, APP_ReadFile(0, m_Name.c_str(), acBuf, 4));
  EXPECT_EQ("Failed to read file!\n", TakeError(m_Name));
  EXPECT_EQ(-1, APP_SaveFile(m_Name.c_str(), "x", 0));
  EXPECT_EQ("Unable to save file. No filename specified.\n", TakeError(m_Name));
  EXPECT_EQ(-1, APP_SaveFile(readOnly.c_str(), "y", 1));
  EXPECT_EQ("Could not save file [<F>]\nFile has read only attribute!\n", TakeError(readOnly));
  EXPECT_EQ(-1, APP_SaveFile(blocked.c_str(), "y", 1));
  EXPECT_NE("", TakeError(blocked));
  EXPECT_EQ("x", ReadFile(readOnly));
}

TEST_F(FilesTest, ReadNeedsAFileOpenForReading) {
  char acBuf[16];
  const SYS_HANDLE hRead = APP_OpenFileReport(m_Name.c_str(), SYS_FILE_READ, true);
  EXPECT_EQ(10, APP_ReadFile(hRead, m_Name.c_str(), acBuf, 16));
  SYS_FILE_Close(hRead);
  const SYS_HANDLE hWrite = APP_OpenFileReport(m_Name.c_str(), SYS_FILE_WRITE, true);
  EXPECT_EQ(-1, APP_ReadFile(hWrite, m_Name.c_str(), acBuf, 16));
  SYS_FILE_Close(hWrite);
  EXPECT_EQ("Could not read file [<F>]\nFailed to read data!\n", TakeError(m_Name));
}

TEST_F(FilesTest, SaveReplacesWholeOrNotAtAll) {
  const std::string deep = m_Dir.file("a/b/c.bin");
  EXPECT_EQ(0, APP_SaveFile(deep.c_str(), "first", 5));
  EXPECT_EQ(0, APP_SaveFile(deep.c_str(), "2nd", 3));
  EXPECT_EQ("2nd", ReadFile(deep));
  SYS_FILE_OPS ops = *SYS_FILE_SetOps(nullptr);
  ops.pfWrite = [](int, const void*, u64) -> i64 {
    errno = ENOSPC;
    return -1;
  };
  SYS_FILE_SetOps(&ops);
  EXPECT_EQ(-1, APP_SaveFile(deep.c_str(), "third", 5));
  EXPECT_EQ("Could not save file [<F>]\nFailed to write data!\n", TakeError(deep));
  EXPECT_EQ("2nd", ReadFile(deep));
}

}  // namespace
