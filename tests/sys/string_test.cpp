#include "sys/util_string.h"

#include <gtest/gtest.h>

namespace {

TEST(UtilString, CopiesAreBoundedAndKeepCharactersWhole) {
  const struct {
    const char* sSource;
    u32 Size;
    int Result;
    const char* sResult;
  } rows[] = {{"abc", 8, 4, "abc"},
              {"abcd", 4, 5, "abc"},
              {"abc", 1, 4, ""},
              {"abc", 0, -1, "?"},
              {nullptr, 4, -1, "?"},
              {"ab\xE2\x82\xAC", 5, 6, "ab"},
              {"ab\xE2\x82\xAC", 6, 6, "ab\xE2\x82\xAC"},
              {"a\x80\x80\x80\x80\x80", 5, 7, "a\x80\x80\x80"}};
  for (const auto& row : rows) {
    char acBuf[16] = "?";
    EXPECT_EQ(UTIL_strcpy(acBuf, row.sSource, row.Size), row.Result);
    EXPECT_STREQ(acBuf, row.sResult);
  }
  char acBuf[6] = "ab";
  for (const char* sMore : {"cdefg", "x"}) {
    UTIL_strcat(acBuf, sMore, sizeof(acBuf));
    EXPECT_STREQ(acBuf, "abcde");
  }
  UTIL_strcpyN(acBuf, "xyz", 2, sizeof(acBuf));
  EXPECT_STREQ(acBuf, "xy");
  UTIL_strcpyN(acBuf, "0123456789", 9, sizeof(acBuf));
  EXPECT_STREQ(acBuf, "01234");
}

TEST(UtilString, ComparesWithoutCaseOfAsciiOnly) {
  EXPECT_EQ(UTIL_stricmp("FLASH", "flash"), 0);
  EXPECT_NE(UTIL_stricmp("@", "`"), 0);
  EXPECT_NE(UTIL_stricmp("\xC4", "\xE4"), 0);
  EXPECT_LT(UTIL_stricmp("ab", "abc"), 0);
  EXPECT_GT(UTIL_stricmp("b", "A"), 0);
  EXPECT_EQ(UTIL_strnicmp("abX", "ABy", 2), 0);
  EXPECT_EQ(UTIL_strnicmp("a", "b", 0), 0);
  EXPECT_EQ(UTIL_strnicmp("a", "a", 99), 0);
}

}  // namespace
