#include "app/engine/files.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <filesystem>
#include <functional>

#include "sys/memory.h"
#include "tests/support/engine_scope.h"
#include "tests/support/temp_dir.h"
#include "tests/sys/failing_ops.h"

namespace {

class FilesTest : public testing::Test {
 protected:
  FilesTest() { WriteFile(m_Name, "0123456789"); }

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
  constexpr struct {
    u64 Offset, BufSize;
    i64 NumBytes;
    const char* sExpected;
    bool IsOwnBlock;
  } ROWS[] = {{0, 16, -1, "0123456789", false}, {0, 10, -1, "0123456789", false},
              {0, 9, -1, "0123456789", true},   {4, 16, -1, "456789", false},
              {2, 16, 3, "234", false},         {2, 2, 3, "234", true},
              {8, 16, 16, "89", false},         {10, 16, -1, "", false},
              {99, 16, -1, "", false}};
  for (const auto& row : ROWS) {
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
  static char acBuf[16];
  const auto load = [](const char* s, u64 offset, void* pBuf, bool reportMissing) {
    return APP_LoadFileEx(s, offset, pBuf, 16, pBuf != nullptr ? -1 : 4, nullptr, reportMissing) !=
           nullptr;
  };
  const auto readWriteOnly = [](const char* s) {
    const SYS_HANDLE h = APP_OpenFileReport(s, SYS_FILE_WRITE, true);
    const i64 result = APP_ReadFile(h, s, acBuf, 4);
    SYS_FILE_Close(h);
    return result >= 0;
  };
  WriteFile(m_Dir.file("readonly.bin"), "x");
  std::filesystem::permissions(m_Dir.file("readonly.bin"), std::filesystem::perms::owner_read);
  const struct {
    const char* sName;  // in the test's directory
    std::function<bool(const char*)> Try;
    const char* sError;  // behind what failed and the name of the file
  } rows[] = {
      {"none.bin", [&](auto s) { return load(s, 0, acBuf, false); }, ""},
      {"none.bin", [&](auto s) { return load(s, 0, acBuf, true); },
       "Could not open file [<F>]\nFile not found!\n"},
      {"none/none.bin", [&](auto s) { return load(s, 0, acBuf, false); },
       "Could not open file [<F>]\nPath not found!\n"},
      {"", [&](auto) { return load(nullptr, 0, acBuf, true); },
       "Unable to open file. No filename specified.\n"},
      {"data.bin", [&](auto s) { return load(s, 0, nullptr, true); },
       "Could not open file [<F>]\nUnable to create file buffer!\n"},
      {"data.bin", [&](auto s) { return load(s, ~u64{0}, acBuf, true); },
       "Could not open file [<F>]\nFailed to read data!\n"},
      {"data.bin", [](auto s) { return APP_ReadFile(0, s, acBuf, 4) >= 0; },
       "Failed to read file!\n"},
      {"data.bin", readWriteOnly, "Could not read file [<F>]\nFailed to read data!\n"},
      {"data.bin", [](auto s) { return APP_SaveFile(s, "x", 0) == 0; },
       "Unable to save file. No filename specified.\n"},
      {"readonly.bin", [](auto s) { return APP_SaveFile(s, "y", 1) == 0; },
       "Could not save file [<F>]\nFile has read only attribute!\n"},
      {"data.bin/below.bin", [](auto s) { return APP_SaveFile(s, "y", 1) == 0; },
       "Could not save file [<F>]\nPath not found!\n"},
  };
  for (const auto& row : rows) {
    EXPECT_FALSE(row.Try(m_Dir.file(row.sName).c_str())) << row.sError;
    EXPECT_EQ(row.sError, TakeError(m_Dir.file(row.sName)));
  }
  EXPECT_EQ("x", ReadFile(m_Dir.file("readonly.bin")));
}

TEST_F(FilesTest, SaveReplacesWholeOrNotAtAll) {
  const std::string deep = m_Dir.file("a/b/c.bin");
  EXPECT_EQ(0, APP_SaveFile(deep.c_str(), "first", 5));
  EXPECT_EQ(0, APP_SaveFile(deep.c_str(), "2nd", 3));
  EXPECT_EQ("2nd", ReadFile(deep));
  const FailingOps ops(FailingOps::Step::Write, ENOSPC);
  EXPECT_EQ(-1, APP_SaveFile(deep.c_str(), "third", 5));
  EXPECT_EQ("Could not save file [<F>]\nFailed to write data! No space left on device.\n",
            TakeError(deep));
  EXPECT_EQ("2nd", ReadFile(deep));
}

}  // namespace
