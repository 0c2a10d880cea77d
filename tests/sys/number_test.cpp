#include "sys/util_number.h"

#include <gtest/gtest.h>

namespace {

// Value and rest of the text; the text alone when it is refused and nothing is changed.
template <class VALUE>
std::string Parse(int (*pfParse)(const char**, VALUE*), const char* sText) {
  const char* p = sText;
  VALUE value = 9;
  const int result = pfParse(&p, &value);
  EXPECT_TRUE(result == 0 || (value == 9 && p == sText)) << sText;
  return result == 0 ? std::to_string(value) + " " + p : p;
}

TEST(UtilNumber, Grammar) {
  const struct {
    const char *sText, *sHex64, *sHex32, *sNumber;
  } rows[] = {
      {" \t\r\n12z", "18 z", "18 z", "12 z"},
      {"-1", "18446744073709551615 ", "4294967295 ", "4294967295 "},
      {"0x1F,", "31 ,", "31 ,", "31 ,"},
      {"-0X10", "18446744073709551600 ", "4294967280 ", "4294967280 "},
      {"ff g", "255  g", "255  g", "ff g"},
      {"1A", "26 ", "26 ", "1 A"},
      {"0x", "0x", "0x", "0x"},
      {" -", " -", " -", " -"},
      {"- 1", "- 1", "- 1", "- 1"},
      {"+1", "+1", "+1", "+1"},
      {"", "", "", ""},
      {"123456789ABCDEF0", "1311768467463790320 ", "2596069104 ", "123456789 ABCDEF0"},
  };
  for (const auto& row : rows) {
    EXPECT_EQ(Parse(UTIL_ParseHex64, row.sText), row.sHex64);
    EXPECT_EQ(Parse(UTIL_ParseHex32, row.sText), row.sHex32);
    EXPECT_EQ(Parse(UTIL_ParseNumber32, row.sText), row.sNumber);
  }
}

TEST(UtilNumber, ParseU32) {
  const struct {
    const char* sText;
    int Result;
    u32 Value;
  } rows[] = {{"0x1fG", 0, 0x1F}, {"0X20", 0, 0x20}, {"42 kHz", 0, 42}, {"0x", -1, 9},
              {"-1", -1, 9},      {" 1", -1, 9},     {"", -1, 9}};
  for (const auto& row : rows) {
    u32 value = 9;
    EXPECT_EQ(UTIL_ParseU32(row.sText, &value), row.Result) << row.sText;
    EXPECT_EQ(value, row.Value) << row.sText;
  }
}

TEST(UtilNumber, Bits) {
  const u8 aData[] = {0x81, 0x23, 0x45, 0x67, 0x89};
  EXPECT_EQ(UTIL_ReadBits32(aData, 0), 0x67452381u);
  EXPECT_EQ(UTIL_ReadBits32(aData, 4), 0x96745238u);
  EXPECT_EQ(UTIL_ReadBits32(aData, 8), 0x89674523u);
  EXPECT_EQ(UTIL_Log2(0), -1);
  EXPECT_EQ(UTIL_Log2(0x80000001), 31);
  EXPECT_EQ(UTIL_AbsDiff(3, ~u64{0}), ~u64{0} - 3);
}

// Every position, so that no edge of a word or a block is passed over.
TEST(UtilNumber, EveryDifferenceIsFound) {
  for (const std::size_t n : {std::size_t{0}, std::size_t{1}, std::size_t{31}, std::size_t{4109}}) {
    const std::vector<u8> same(n, 0xFF);
    std::vector<u8> other = same;
    EXPECT_EQ(UTIL_FindDiff(same.data(), other.data(), n), -1);
    EXPECT_TRUE(UTIL_IsFilled(same.data(), 0xFF, n));
    for (std::size_t i = 0; i < n; ++i) {
      other[i] = 0xFE;
      ASSERT_EQ(UTIL_FindDiff(same.data(), other.data(), n), static_cast<i64>(i));
      ASSERT_FALSE(UTIL_IsFilled(other.data(), 0xFF, n));
      other[i] = 0xFF;
    }
  }
}

}  // namespace
