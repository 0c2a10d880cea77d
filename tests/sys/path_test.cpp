#include "sys/path.h"

#include <gtest/gtest.h>

#include "sys/file.h"
#include "tests/sys/temp_dir.h"

namespace {

TEST(SysPath, SplitAndJoin) {
  struct Row {
    const char *sPath, *sDrive, *sDir, *sName, *sExt;
  };
  const Row rows[] = {{"/home/u/a.b.hex", "", "/home/u/", "a.b", ".hex"},
                      {"C:\\dir\\file", "C:", "\\dir\\", "file", ""},
                      {"C:file.c", "C:", "", "file", ".c"},
                      {"a.d/name", "", "a.d/", "name", ""},
                      {"dir\\x/y.z", "", "dir\\x/", "y", ".z"},
                      {".korvane", "", "", "", ".korvane"},
                      {"end.", "", "", "end", "."},
                      {"/", "", "/", "", ""},
                      {"", "", "", "", ""}};
  for (const Row& row : rows) {
    char acDrive[16], acDir[16], acName[16], acExt[16], acPath[64];
    SYS_PATH_Split(row.sPath, acDrive, 16, acDir, 16, acName, 16, acExt, 16);
    EXPECT_STREQ(acDrive, row.sDrive) << row.sPath;
    EXPECT_STREQ(acDir, row.sDir) << row.sPath;
    EXPECT_STREQ(acName, row.sName) << row.sPath;
    EXPECT_STREQ(acExt, row.sExt) << row.sPath;
    SYS_PATH_Make(acPath, sizeof(acPath), acDrive, acDir, acName, acExt);
    EXPECT_STREQ(acPath, row.sPath);
  }
  char acPath[64];
  SYS_PATH_Make(acPath, sizeof(acPath), "", "dir", "name", "ext");
  EXPECT_STREQ(acPath, "dir/name.ext");
  SYS_PATH_Make(acPath, sizeof(acPath), nullptr, "\\", "name", nullptr);
  EXPECT_STREQ(acPath, "name");
  char acShort[4];
  SYS_PATH_GetExt("x.longer", acShort, sizeof(acShort));
  EXPECT_STREQ(acShort, "");
  SYS_PATH_GetName("dir/abc.d", acShort, sizeof(acShort));
  EXPECT_STREQ(acShort, "abc");
}

TEST(SysPath, MakeAbs) {
  const TempDir dir;
  WriteText(dir / "p.korvane", "");
  struct Row {
    std::string Base;
    const char* sRel;
    std::string Result;
  };
  const Row rows[] = {{dir / "p.korvane", "a.hex", dir / "a.hex"},
                      {dir / "p.korvane", "sub\\a.hex", dir / "sub/a.hex"},
                      {dir.Path(), "a.hex", dir / "a.hex"},
                      {dir / "", "a.hex", dir / "a.hex"},
                      {dir / "", "\\a.hex", dir.Path() + "//a.hex"},
                      {"base\\sub", "a", "base/sub/a"},
                      {"", "a.hex", "a.hex"},
                      {dir.Path(), "/abs/a.hex", "/abs/a.hex"},
                      {dir.Path(), "\\\\server\\a", "\\\\server\\a"},
                      {dir.Path(), "D:\\a.hex", "D:\\a.hex"}};
  for (const Row& row : rows) {
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
  EXPECT_FALSE(SYS_PATH_IsAbs("\\x"));
  EXPECT_FALSE(SYS_PATH_IsAbs("1:x"));
}

TEST(SysPlaces, ProgramAndApplicationData) {
  char acBuf[SYS_MAX_PATH];
  SYS_GetExePath(acBuf, sizeof(acBuf));
  EXPECT_EQ(SYS_FILE_Exists(acBuf), 1);
  SYS_GetModuleDir(acBuf, sizeof(acBuf));
  char acExeDir[SYS_MAX_PATH];
  SYS_GetExeDir(acExeDir, sizeof(acExeDir));
  EXPECT_STREQ(acBuf, acExeDir);
  const TempDir dir;
  setenv("XDG_CONFIG_HOME", (dir / "config").c_str(), 1);
  EXPECT_EQ(SYS_GetAppDataDir(acBuf, sizeof(acBuf)), 0);
  EXPECT_EQ(acBuf, dir / "config/TARVEX");
  EXPECT_EQ(SYS_DIR_Exists(acBuf), 1);
  EXPECT_EQ(SYS_GetAppDataDir(acBuf, 8), -1);
  unsetenv("XDG_CONFIG_HOME");
}

}  // namespace
