#include <gtest/gtest.h>
#include <sys/stat.h>

#include <cerrno>
#include <thread>

#include "sys/file_replace.h"
#include "tests/support/temp_dir.h"
#include "tests/sys/failing_ops.h"

namespace {

using Step = FailingOps::Step;

int Replace(const std::string& Name, const std::string& Text, bool Keep = true) {
  const SYS_HANDLE h = SYS_FILE_BeginReplace(Name.c_str(), false);
  if (h == SYS_INVALID_FILE) {
    return -2;
  }
  SYS_FILE_Write(h, Text.data(), Text.size());
  return SYS_FILE_EndReplace(h, Keep);
}

mode_t ModeOf(const std::string& Name) {
  struct stat info {};
  stat(Name.c_str(), &info);
  return info.st_mode & 07777;
}

TEST(SysReplace, FailureOfAnyStepLeavesTheOldFile) {
  const struct {
    Step Fails;
    int Error;
    u64 Room;
  } rows[] = {{Step::Write, ENOSPC, 0},
              {Step::Write, ENOSPC, 2},
              {Step::Sync, EIO, 0},
              {Step::Rename, EACCES, 0}};
  for (const auto& row : rows) {
    for (const bool isThere : {true, false}) {
      const TempDir dir;
      if (isThere) {
        WriteFile(dir / "file", "old");
      }
      const FailingOps ops(row.Fails, row.Error, row.Room);
      EXPECT_EQ(Replace(dir / "file", "new text"), -1);
      EXPECT_EQ(ReadFile(dir / "file"), isThere ? "old" : "");
      EXPECT_EQ(dir.NumEntries(), isThere ? 1u : 0u);
    }
  }
}

TEST(SysReplace, NewAndLasting) {
  const struct {
    u32 Flags;
    bool IsThere;
    int Error;  // of the directory's flush
    int Result;
  } rows[] = {{0, true, EIO, 0},
              {SYS_REPLACE_LASTING, true, EIO, -1},
              {SYS_REPLACE_LASTING, true, EINVAL, 0},  // not known there
              {SYS_REPLACE_NEW, false, EIO, 0},
              {SYS_REPLACE_NEW | SYS_REPLACE_LASTING, false, EIO, -1},
              {SYS_REPLACE_NEW, true, 0, -1}};
  for (const auto& row : rows) {
    const TempDir dir;
    row.IsThere ? WriteFile(dir / "file", "old") : void();
    const FailingOps ops(Step::Sync, row.Error, 1);
    const SYS_HANDLE h = SYS_FILE_BeginReplace((dir / "file").c_str(), false);
    SYS_FILE_Write(h, "new", 3);
    EXPECT_EQ(SYS_FILE_EndReplaceEx(h, row.Flags), row.Result) << row.Flags << row.Error;
    EXPECT_EQ(ReadFile(dir / "file"), row.Error == 0 ? "old" : "new");
    EXPECT_EQ(dir.NumEntries(), 1u);
  }
}

// Who has the file open for writing is alone with it, also when another opened it before it was
// replaced and locks it behind that.
TEST(SysReplace, CountsUnderTheLock) {
  const TempDir dir;
  const std::string name = dir / "file";
  WriteFile(name, "0");
  const auto count = [&name] {
    for (u32 numDone = 0; numDone < 300;) {
      const SYS_HANDLE h = SYS_FILE_Open(name.c_str(), SYS_FILE_READ | SYS_FILE_WRITE);
      if (h != SYS_INVALID_FILE) {
        Replace(name, std::to_string(std::stoul(ReadFile(name)) + 1));
        SYS_FILE_Close(h);
        ++numDone;
      }
    }
  };
  std::thread other(count);
  count();
  other.join();
  EXPECT_EQ(ReadFile(name), "600");
}

TEST(SysReplace, UntouchedUntilTheEnd) {
  const TempDir dir;
  WriteFile(dir / "file", "old");
  const SYS_HANDLE h = SYS_FILE_BeginReplace((dir / "file").c_str(), false);
  SYS_FILE_Write(h, "new", 3);
  EXPECT_EQ(ReadFile(dir / "file"), "old");
  EXPECT_EQ(SYS_FILE_EndReplace(h, true), 0);
  EXPECT_EQ(ReadFile(dir / "file"), "new");
  EXPECT_EQ(Replace(dir / "file", "dropped", false), 0);
  const SYS_HANDLE hClosed = SYS_FILE_BeginReplace((dir / "file").c_str(), false);
  SYS_FILE_Write(hClosed, "dropped", 7);
  SYS_FILE_Close(hClosed);
  EXPECT_EQ(ReadFile(dir / "file"), "new");
  EXPECT_EQ(dir.NumEntries(), 1u);
}

TEST(SysReplace, KeepsModeAndLink) {
  const TempDir dir;
  WriteFile(dir / "file", "old");
  for (const mode_t mode : {0600, 0644, 0755, 0666}) {
    chmod((dir / "file").c_str(), mode);
    EXPECT_EQ(Replace(dir / "file", "x"), 0);
    EXPECT_EQ(ModeOf(dir / "file"), mode);
  }
  const mode_t mask = umask(027);
  EXPECT_EQ(Replace(dir / "fresh", "x"), 0);
  umask(mask);
  EXPECT_EQ(ModeOf(dir / "fresh"), 0640u);
  std::filesystem::create_symlink("file", dir / "link");
  std::filesystem::create_symlink(dir / "made", dir / "dangling");
  EXPECT_EQ(Replace(dir / "link", "by link"), 0);
  EXPECT_EQ(Replace(dir / "dangling", "by dangling"), 0);
  EXPECT_TRUE(std::filesystem::is_symlink(dir / "link"));
  EXPECT_TRUE(std::filesystem::is_symlink(dir / "dangling"));
  EXPECT_EQ(ReadFile(dir / "file"), "by link");
  EXPECT_EQ(ReadFile(dir / "made"), "by dangling");
}

TEST(SysReplace, RefusalsTellTheCause) {
  const TempDir dir;
  WriteFile(dir / "locked", "old");
  chmod((dir / "locked").c_str(), 0444);
  std::filesystem::create_symlink("round", dir / "round");
  const struct {
    std::string Name;
    u32 Error;
  } rows[] = {{dir / "locked", 5},
              {dir.path(), 5},
              {dir / "no/file", 3},
              {"", 123},
              {dir / "round", SYS_ERROR_OTHER + ELOOP}};
  for (const auto& row : rows) {
    EXPECT_EQ(Replace(row.Name, "new"), -2) << row.Name;
    EXPECT_EQ(SYS_GetLastError(), row.Error) << row.Name;
  }
  EXPECT_EQ(dir.NumEntries(), 2u);
  const SYS_HANDLE h = SYS_FILE_BeginReplace((dir / "no/file").c_str(), true);
  EXPECT_EQ(SYS_FILE_EndReplace(h, true), 0);
  EXPECT_EQ(SYS_FILE_Exists((dir / "no/file").c_str()), 1);
  EXPECT_EQ(SYS_FILE_EndReplace(SYS_INVALID_FILE, true), -1);
}

TEST(SysReplace, LongestNameAndDevices) {
  const TempDir dir;
  const std::string name = dir / std::string(255, 'n');
  EXPECT_EQ(Replace(name, "x"), 0);
  EXPECT_EQ(Replace(name, "y"), 0);
  EXPECT_EQ(ReadFile(name), "y");
  EXPECT_EQ(Replace("/dev/null", "x"), 0);
}

}  // namespace
