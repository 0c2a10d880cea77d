#include "sys/util_string.h"

#include <gtest/gtest.h>

namespace {

TEST(UtilString, CopiesAreBoundedAndKeepCharactersWhole) {
  struct Row {
    const char* sSource;
    u32 Size;
    int Result;
    const char* sResult;
  };
  const Row rows[] = {{"abc", 8, 4, "abc"},
                      {"abcd", 4, 5, "abc"},
                      {"abc", 4, 4, "abc"},
                      {"abc", 1, 4, ""},
                      {"abc", 0, -1, "?"},
                      {nullptr, 4, -1, "?"},
                      {"ab\xE2\x82\xAC", 5, 6, "ab"},
                      {"ab\xE2\x82\xAC", 6, 6, "ab\xE2\x82\xAC"},
                      {"a\x80\x80\x80\x80\x80", 5, 7, "a\x80\x80\x80"}};
  for (const Row& row : rows) {
    char acBuf[16] = "?";
    EXPECT_EQ(UTIL_strcpy(acBuf, row.sSource, row.Size), row.Result);
    EXPECT_STREQ(acBuf, row.sResult);
  }
  char acBuf[6] = "ab";
  UTIL_strcat(acBuf, "cdefg", sizeof(acBuf));
  EXPECT_STREQ(acBuf, "abcde");
  UTIL_strcat(acBuf, "x", sizeof(acBuf));
  EXPECT_STREQ(acBuf, "abcde");
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

TEST(UtilString, SmallHelpers) {
  char acText[] = "A1\xC4z";
  UTIL_ToLower(acText);
  EXPECT_STREQ(acText, "a1\xC4z");
  UTIL_ToUpper(acText);
  EXPECT_STREQ(acText, "A1\xC4Z");
  EXPECT_EQ(UTIL_strchr("abcb", 'b'), 1);
  EXPECT_EQ(UTIL_strchr("abc", 'x'), -1);
  EXPECT_EQ(UTIL_IsAllDigits(""), 1);
  EXPECT_EQ(UTIL_IsAllDigits("0189"), 1);
  EXPECT_EQ(UTIL_IsAllDigits("1a"), 0);
  const char* p = " \t\r\n\vx";
  UTIL_SkipSpaces(&p);
  EXPECT_EQ(*p, '\v');
}

}  // namespace
