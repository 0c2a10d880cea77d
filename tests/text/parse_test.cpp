#include "project/text/parse.h"

#include <gtest/gtest.h>

namespace {

// One parser on one text: value, rest and error, parted by '|'.
std::string Outcome(const auto& value, const char* sRest, const char* sError) {
  std::ostringstream out;
  out << value << "|" << sRest << "|" << sError;
  return out.str();
}

struct Row {
  const char *sText, *sOutcome;
};

TEST(Parse, Number64) {
  const Row rows[] = {{" \t42,", "42|,|"},
                      {"0x1fg", "31|g|"},
                      {"0X10", "0|X10|"},
                      {"0x", "0||"},
                      {"-", "0||"},
                      {"-0x10", "0|x10|"},
                      {"+7", "7||"},
                      {"-100", "-100||"},
                      {"\"a\"", "0|\"a\"|"},
                      {" -101", "9| -101|Expected a value >= -100"},
                      {"4294967297", "9|4294967297|Expected a value <= 4294967296"}};
  for (const auto& row : rows) {
    char acError[64] = "";
    PARSE_CURSOR p = row.sText;
    i64 value = 9;
    PARSE_Number64(acError, sizeof(acError), &p, &value, -100, 0x100000000);
    EXPECT_EQ(Outcome(value, p, acError), row.sOutcome) << row.sText;
  }
}

TEST(Parse, DecNumber) {
  const Row rows[] = {{" 17 ", "17| |"},
                      {"0x10", "9|0x10|Expected a value >= 5"},
                      {"-17", "-17||"},
                      {"300", "255||"},
                      {"-99999999999999999999999", "-255||"},
                      {"4", "9|4|Expected a value >= 5"},
                      {"x", "9|x|Expecting a number"},
                      {"", "9||Expecting a number"}};
  for (const auto& row : rows) {
    char acError[64] = "";
    PARSE_CURSOR p = row.sText;
    i32 value = 9;
    PARSE_DecNumber(acError, sizeof(acError), &p, &value, 5, 255);
    EXPECT_EQ(Outcome(value, p, acError), row.sOutcome) << row.sText;
  }
}

TEST(Parse, QuotedString) {
  const Row rows[] = {{" \"abc\" x", "abc| x|"},
                      {"\"abcd\"", "abcd||"},
                      {"\"abcde\"", "abcd|\"abcde\"|\1"},
                      {"\"abc\xC3\xA4\"", "abc|\"abc\xC3\xA4\"|\1"},
                      {"\"abc", "abc|\"abc|\1"},
                      {"abc\"", "|abc\"|\1"},
                      {"\"\"", "||"}};
  for (const auto& row : rows) {
    char acError[64] = "";
    char acValue[5] = "?";
    PARSE_CURSOR p = row.sText;
    PARSE_QuotedString(acError, sizeof(acError), &p, acValue, sizeof(acValue));
    EXPECT_EQ(Outcome(acValue, p, acError), row.sOutcome) << row.sText;
  }
}

TEST(Parse, OnlyTheFirstErrorSurvives) {
  char acError[64] = "";
  PARSE_CURSOR p = "  key=1\r\n\n\r\nnext";
  PARSE_SkipBlanks(&p);
  PARSE_ExpectString(acError, sizeof(acError), &p, "key");
  PARSE_ExpectChar(acError, sizeof(acError), &p, ':');
  PARSE_ExpectChar(acError, sizeof(acError), &p, '=');
  PARSE_ExpectString(acError, sizeof(acError), &p, "=");
  i64 value = 9;
  PARSE_Number64(acError, sizeof(acError), &p, &value, 0, 9);
  EXPECT_STREQ(acError, "Expected ':', got '='");
  EXPECT_STREQ(p, "=1\r\n\n\r\nnext");
  PARSE_SkipLine(&p);
  EXPECT_STREQ(p, "next");
  acError[0] = '\0';
  PARSE_ExpectString(acError, sizeof(acError), &p, "Next");
  EXPECT_STREQ(acError, "Expected \"Next\"");
}

}  // namespace
