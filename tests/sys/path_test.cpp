#include "sys/path.h"

#include <gtest/gtest.h>

#include "sys/file.h"
#include "tests/support/temp_dir.h"

namespace {

TEST(SysPath, SplitAndJoin) {
  const std::pair<const char*, const char*> rows[] = {{"/home/u/a.b.hex", "|/home/u/|a.b|.hex"},
                                                      {"C:\\dir\\file", "C:|\\dir\\|file|"},
                                                      {"C:file.c", "C:||file|.c"},
                                                      {"a.d/name", "|a.d/|name|"},
                                                      {"dir\\x/y.z", "|dir\\x/|y|.z"},
                                                      {".korvane", "|||.korvane"},
                                                      {"end.", "||end|."},
                                                      {"/", "|/||"},
                                                      {"", "|||"}};
  for (const auto& [path, parts] : rows) {
    char acDrive[16], acDir[16], acName[16], acExt[16], acPath[64];
    SYS_PATH_Split(path, acDrive, 16, acDir, 16, acName, 16, acExt, 16);
    EXPECT_EQ(std::string(acDrive) + "|" + acDir + "|" + acName + "|" + acExt, parts);
    SYS_PATH_Make(acPath, sizeof(acPath), acDrive, acDir, acName, acExt);
    EXPECT_STREQ(acPath, path);
  }
  char acPath[64], acShort[4];
  SYS_PATH_Make(acPath, sizeof(acPath), "", "dir", "name", "ext");
  EXPECT_STREQ(acPath, "dir/name.ext");
  SYS_PATH_Make(acPath, sizeof(acPath), nullptr, "\\", "name", nullptr);
  EXPECT_STREQ(acPath, "name");
  SYS_PATH_GetExt("x.longer", acShort, sizeof(acShort));
  EXPECT_STREQ(acShort, "");
  SYS_PATH_GetName("dir/abc.d", acShort, sizeof(acShort));
  EXPECT_STREQ(acShort, "abc");
}

TEST(SysPath, MakeAbs) {
  const TempDir dir;
  WriteFile(dir / "p.korvane", "");
  const struct {
    std::string Base;
    const char* sRel;
    std::string Result;
  } rows[] = {{dir / "p.korvane", "a.hex", dir / "a.hex"},
              {dir / "p.korvane", "sub\\a.hex", dir / "sub/a.hex"},
              {dir.path(), "a.hex", dir / "a.hex"},
              {dir / "", "a.hex", dir / "a.hex"},
              {dir / "", "\\a.hex", dir / "/a.hex"},
              {"base\\sub", "a", "base/sub/a"},
              {"", "a.hex", "a.hex"},
              {dir.path(), "/abs/a.hex", "/abs/a.hex"},
              {dir.path(), "\\\\server\\a", "\\\\server\\a"},
              {dir.path(), "D:\\a.hex", "D:\\a.hex"}};
  for (const auto& row : rows) {
    char acPath[SYS_MAX_PATH];
    SYS_PATH_MakeAbs(row.Base.c_str(), row.sRel, acPath, sizeof(acPath));
    EXPECT_EQ(acPath, row.Result) << row.Base << " + " << row.sRel;
  }
}

TEST(SysPath, Slashes) {
  char acPath[] = "//host/share\\x";
  SYS_PATH_ToBackslash(acPath);
  EXPECT_STREQ(acPath, "//host\\share\\x");
  char acPlain[] = "/a/b";
  SYS_PATH_ToBackslash(acPlain);
  EXPECT_STREQ(acPlain, "\\a\\b");
  EXPECT_TRUE(SYS_PATH_ToNative(acPlain));
  EXPECT_STREQ(acPlain, "/a/b");
  EXPECT_FALSE(SYS_PATH_ToNative(acPlain));
  EXPECT_FALSE(SYS_PATH_IsAbs("\\x") || SYS_PATH_IsAbs("1:x"));
}

TEST(SysPlaces, ApplicationDataIsCreated) {
  char acBuf[SYS_MAX_PATH];
  const TempDir dir;
  setenv("XDG_CONFIG_HOME", (dir / "config").c_str(), 1);
  EXPECT_EQ(SYS_GetAppDataDir(acBuf, sizeof(acBuf)), 0);
  EXPECT_EQ(acBuf, dir / "config/TARVEX");
  EXPECT_EQ(SYS_DIR_Exists(acBuf), 1);
  EXPECT_EQ(SYS_GetAppDataDir(acBuf, 8), -1);
  unsetenv("XDG_CONFIG_HOME");
}

}  // namespace
