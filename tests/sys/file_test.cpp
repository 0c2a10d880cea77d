#include "sys/file.h"

#include <gtest/gtest.h>
#include <sys/stat.h>

#include <cerrno>
#include <set>

#include "tests/support/temp_dir.h"
#include "tests/sys/failing_ops.h"

namespace {

constexpr u32 kNew = SYS_FILE_WRITE | SYS_FILE_CREATE;

TEST(SysFile, OpenFailuresTellTheCause) {
  const TempDir dir;
  WriteFile(dir / "there", "abc");
  WriteFile(dir / "locked", "abc");
  chmod((dir / "locked").c_str(), 0444);
  const struct {
    std::string Name;
    u32 Flags, Error;
  } rows[] = {
      {dir / "none", 0x005, 2},
      {dir / "none", SYS_FILE_WRITE | SYS_FILE_TRUNCATE, 2},
      {dir / "no/none", 0x005, 3},
      {dir / "no/none", 0x036, 3},
      {dir / "there/none", 0x005, 3},
      {dir / "locked", 0x036, 5},
      {dir / "", 0x005, 5},
      {dir / "", 0x036, 5},
      {"", 0x005, 123},
      {dir / std::string(300, 'n'), 0x005, 123},
      {"/" + std::string(SYS_MAX_PATH - 1, 'n'), 0x005, 123},
      {dir / "there", kNew | SYS_FILE_EXCLUSIVE | SYS_FILE_TRUNCATE, SYS_ERROR_OTHER + EEXIST},
  };
  for (const auto& row : rows) {
    EXPECT_EQ(SYS_FILE_Open(row.Name.c_str(), row.Flags), SYS_INVALID_FILE) << row.Name;
    EXPECT_EQ(SYS_GetLastError(), row.Error) << row.Name;
  }
  EXPECT_EQ(ReadFile(dir / "there") + ReadFile(dir / "locked"), "abcabc");
}

TEST(SysFile, DispositionDecidesWhatIsLeft) {
  const TempDir dir;
  const struct {
    u32 Flags;
    const char *sOld, *sNew;  // null: no file; after writing "XY"
  } rows[] = {{SYS_FILE_WRITE, "abcd", "XYcd"},
              {SYS_FILE_WRITE | SYS_FILE_TRUNCATE, "abcd", "XY"},
              {kNew, "abcd", "XYcd"},
              {kNew, nullptr, "XY"},
              {0x036, "abcd", "XY"},
              {kNew | SYS_FILE_APPEND, "abcd", "abcdXY"}};
  for (const auto& row : rows) {
    const std::string name = dir / "file";
    SYS_FILE_Delete(name.c_str());
    if (row.sOld != nullptr) {
      WriteFile(name, row.sOld);
    }
    const SYS_HANDLE h = SYS_FILE_Open(name.c_str(), row.Flags);
    EXPECT_EQ(SYS_FILE_Write(h, "XY", 2), 2);
    SYS_FILE_Close(h);
    EXPECT_EQ(ReadFile(name), row.sNew) << row.Flags;
  }
}

TEST(SysFile, TwoWritersShutEachOtherOut) {
  const TempDir dir;
  const std::string name = dir / "log";
  const SYS_HANDLE h = SYS_FILE_Open(name.c_str(), 0x036);
  EXPECT_EQ(SYS_FILE_Write(h, "line", 4), 4);
  EXPECT_EQ(SYS_FILE_Open(name.c_str(), 0x036), SYS_INVALID_FILE);
  EXPECT_EQ(SYS_GetLastError(), SYS_ERROR_SHARING_VIOLATION);
  EXPECT_EQ(ReadFile(name), "line");
  SYS_FILE_Close(h);
  const SYS_HANDLE again = SYS_FILE_Open(name.c_str(), 0x036);
  EXPECT_NE(again, SYS_INVALID_FILE);
  SYS_FILE_Close(again);
}

TEST(SysFile, ReadSeekAndSize) {
  const TempDir dir;
  WriteFile(dir / "file", "0123456789");
  const SYS_HANDLE h = SYS_FILE_Open((dir / "file").c_str(), 0x00D);
  char acBuf[16] = {};
  EXPECT_EQ(SYS_FILE_GetSize(h), 10);
  EXPECT_EQ(SYS_FILE_Seek(h, -3, 2), 7);
  EXPECT_EQ(SYS_FILE_Read(h, acBuf, sizeof(acBuf)), 3);
  EXPECT_EQ(SYS_FILE_Read(h, acBuf, sizeof(acBuf)), 0);
  EXPECT_EQ(SYS_FILE_Seek(h, 4, 99), 4);
  EXPECT_EQ(SYS_FILE_Seek(h, -1, 1), 3);
  EXPECT_EQ(SYS_FILE_Seek(h, -1, 0), -1);
  EXPECT_EQ(SYS_FILE_Write(h, "x", 1), -1);
  SYS_FILE_Close(h);
  const SYS_HANDLE hDir = SYS_FILE_Open(dir.path().c_str(), 0x005 | SYS_FILE_DIRECTORY);
  EXPECT_NE(hDir, SYS_INVALID_FILE);
  EXPECT_EQ(SYS_FILE_Read(hDir, acBuf, 1), -1);
  SYS_FILE_Close(hDir);
  EXPECT_EQ(SYS_FILE_Read(SYS_INVALID_FILE, acBuf, 1), -1);
}

TEST(SysFile, FullDiskGivesTheBytesThatWent) {
  const TempDir dir;
  const SYS_HANDLE h = SYS_FILE_Open((dir / "file").c_str(), 0x036);
  const FailingOps ops(FailingOps::Step::Write, ENOSPC, 3);
  EXPECT_EQ(SYS_FILE_Write(h, "abcdef", 6), 3);
  EXPECT_EQ(SYS_FILE_Write(h, "def", 3), -1);
  EXPECT_EQ(SYS_GetLastError(), SYS_ERROR_OTHER + ENOSPC);
  SYS_FILE_Close(h);
}

TEST(SysDir, CreatesEverythingUpToTheLastSeparator) {
  const TempDir dir;
  WriteFile(dir / "file", "");
  std::string deep = dir / "";
  for (int i = 0; i < 129; ++i) {
    deep += "d/";
  }
  const struct {
    std::string Name;
    int Result;
  } rows[] = {{dir / "a/b/c", 0}, {dir / "a/b/", 0},      {"plain", 0},
              {"/x", 0},          {dir / "file/x/y", -1}, {deep, -1}};
  for (const auto& row : rows) {
    EXPECT_EQ(SYS_DIR_CreatePath(row.Name.c_str()), row.Result) << row.Name;
  }
  EXPECT_EQ(SYS_DIR_Exists((dir / "a/b").c_str()), 1);
  EXPECT_EQ(SYS_DIR_Exists((dir / "a/b/c").c_str()), 0);
  EXPECT_EQ(SYS_DIR_Exists((dir / "d").c_str()), 0);
  EXPECT_EQ(SYS_DIR_IsPathValid((dir / "a/b/none").c_str()), 1);
  EXPECT_EQ(SYS_DIR_IsPathValid((dir / "none/x").c_str()), 0);
}

TEST(SysDir, EnumListsEverythingButTheDots) {
  const TempDir dir;
  WriteFile(dir / ".hidden", "12345");
  SYS_DIR_CreatePath((dir / "sub/").c_str());
  std::filesystem::create_symlink("nowhere", dir / "link");
  std::set<std::string> seen;
  const int n = SYS_DIR_Enum(dir.path().c_str(), &seen, [](const SYS_DIR_ENTRY* p, void* pContext) {
    const bool isDir = (p->Attributes & SYS_ATTR_DIRECTORY) != 0;
    const std::string size = std::string(p->sName) == ".hidden" ? std::to_string(p->Size) : "";
    static_cast<std::set<std::string>*>(pContext)->insert(p->sName + size + (isDir ? "/" : ""));
  });
  EXPECT_EQ(n, 3);
  EXPECT_EQ(seen, (std::set<std::string>{".hidden5", "sub/", "link"}));
  EXPECT_EQ(SYS_DIR_Enum((dir / "none").c_str(), nullptr, nullptr), -1);
  EXPECT_EQ(SYS_DIR_Enum((dir / ".hidden").c_str(), nullptr, nullptr), -1);
}

}  // namespace

TEST(File, NoOtherEndIsWaitedFor) {
  const TempDir dir;
  const std::string name = dir / "pipe";
  ASSERT_EQ(mkfifo(name.c_str(), 0600), 0);
  EXPECT_EQ(SYS_FILE_Open(name.c_str(), SYS_FILE_READ), SYS_INVALID_FILE);
  EXPECT_EQ(SYS_FILE_Open(name.c_str(), SYS_FILE_WRITE), SYS_INVALID_FILE);
  EXPECT_EQ(SYS_FILE_BeginReplace(name.c_str(), false), SYS_INVALID_FILE);
}
