#include "text/file_error.h"

#include <gtest/gtest.h>
#include <sys/stat.h>

#include "sys/file.h"
#include "tests/support/temp_dir.h"

namespace {

TEST(FileError, WordsByNumber) {
  const TempDir dir;
  WriteFile(dir / "locked", "");
  chmod((dir / "locked").c_str(), 0444);
  const struct {
    u32 Error;
    const char *sName, *sSave, *sOpen;
    int Result;
  } rows[] = {
      {2, "x", "]\nFile not found!", "]\nFile not found!", 0},
      {3, "x", "]\nPath not found!", "]\nPath not found!", 0},
      {5, "x", "]\nAccess is denied!", "]\nAccess is denied!", 0},
      {5, "locked", "]\nFile has read only attribute!", "]\nAccess is denied!", 1},
      {15, "x", "]\nInvalid drive!", "]\nInvalid drive!", 0},
      {32, "x", "]!", "]\nInvalid file handle!", 0},
      {123, "x", "]\nThe filename syntax is incorrect!", "]\nThe filename syntax is incorrect!", 0},
      {SYS_ERROR_OTHER + 2, "x", "]!", "]\nInvalid file handle!", 0}};
  for (const auto& row : rows) {
    const std::string name = dir / row.sName;
    char acText[600];
    SYS_SetLastError(row.Error);
    EXPECT_EQ(APP_FormatFileError(name.c_str(), "save", acText, sizeof(acText)), row.Result);
    EXPECT_EQ(acText, "Could not save file [" + name + row.sSave);
    EXPECT_EQ(SYS_GetLastError(), row.Error);
    APP_FormatOpenError(name.c_str(), acText, sizeof(acText));
    EXPECT_EQ(acText, "Could not open file [" + name + row.sOpen);
  }
}

}  // namespace
