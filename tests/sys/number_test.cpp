#include "sys/util_number.h"

#include <gtest/gtest.h>

namespace {

TEST(UtilNumber, Grammar) {
  struct Row {
    const char* sText;
    int ResultHex;
    u64 Hex;
    const char* sBehindHex;
    int ResultNumber;
    u32 Number;
    const char* sBehindNumber;
  };
  const Row rows[] = {
      {" \t\r\n12z", 0, 0x12, "z", 0, 12, "z"},
      {"-1", 0, ~u64{0}, "", 0, ~0u, ""},
      {"0x1F,", 0, 0x1F, ",", 0, 0x1F, ","},
      {"-0X10", 0, ~u64{0} - 0xF, "", 0, 0xFFFFFFF0, ""},
      {"ff g", 0, 0xFF, " g", -1, 9, "ff g"},
      {"1A", 0, 0x1A, "", 0, 1, "A"},
      {"0x", -1, 9, "0x", -1, 9, "0x"},
      {" -", -1, 9, " -", -1, 9, " -"},
      {"- 1", -1, 9, "- 1", -1, 9, "- 1"},
      {"+1", -1, 9, "+1", -1, 9, "+1"},
      {"", -1, 9, "", -1, 9, ""},
      {"123456789ABCDEF0", 0, 0x123456789ABCDEF0, "", 0, 123456789, "ABCDEF0"},
  };
  for (const Row& row : rows) {
    const char* p = row.sText;
    u64 value64 = 9;
    EXPECT_EQ(UTIL_ParseHex64(&p, &value64), row.ResultHex) << row.sText;
    EXPECT_EQ(value64, row.Hex) << row.sText;
    EXPECT_STREQ(p, row.sBehindHex);
    p = row.sText;
    u32 value32 = 9;
    EXPECT_EQ(UTIL_ParseHex32(&p, &value32), row.ResultHex);
    EXPECT_EQ(value32, static_cast<u32>(row.Hex)) << row.sText;
    p = row.sText;
    value32 = 9;
    EXPECT_EQ(UTIL_ParseNumber32(&p, &value32), row.ResultNumber) << row.sText;
    EXPECT_EQ(value32, row.Number) << row.sText;
    EXPECT_STREQ(p, row.sBehindNumber);
  }
}

TEST(UtilNumber, ParseU32) {
  struct Row {
    const char* sText;
    int Result;
    u32 Value;
  };
  const Row rows[] = {{"0x1fG", 0, 0x1F}, {"0X20", 0, 0x20}, {"42 kHz", 0, 42}, {"0x", -1, 9},
                      {"-1", -1, 9},      {" 1", -1, 9},     {"", -1, 9}};
  for (const Row& row : rows) {
    u32 value = 9;
    EXPECT_EQ(UTIL_ParseU32(row.sText, &value), row.Result) << row.sText;
    EXPECT_EQ(value, row.Value) << row.sText;
  }
}

TEST(UtilNumber, ByteOrderAndBits) {
  const u8 aData[] = {0x81, 0x23, 0x45, 0x67, 0x89};
  EXPECT_EQ(UTIL_LoadU16(aData, true), 0x8123);
  EXPECT_EQ(UTIL_LoadU16(aData, false), 0x2381);
  EXPECT_EQ(UTIL_LoadU32(aData, true), 0x81234567u);
  EXPECT_EQ(UTIL_LoadU32(aData, false), 0x67452381u);
  EXPECT_EQ(UTIL_ReadBits32(aData, 0), 0x67452381u);
  EXPECT_EQ(UTIL_ReadBits32(aData, 4), 0x96745238u);
  EXPECT_EQ(UTIL_ReadBits32(aData, 8), 0x89674523u);
  for (const bool isBig : {false, true}) {
    u8 aOut[4];
    UTIL_StoreU32(aOut, 0x12345678, isBig);
    EXPECT_EQ(UTIL_LoadU32(aOut, isBig), 0x12345678u);
    EXPECT_EQ(aOut[0], isBig ? 0x12 : 0x78);
  }
  EXPECT_EQ(UTIL_CountBits(0xF0000001), 5u);
  EXPECT_EQ(UTIL_Log2(0), -1);
  EXPECT_EQ(UTIL_Log2(1), 0);
  EXPECT_EQ(UTIL_Log2(0x80000001), 31);
  EXPECT_EQ(UTIL_HexDigit('g'), -1);
  EXPECT_EQ(UTIL_HexDigit('@'), -1);
  EXPECT_EQ(UTIL_HexDigit('F'), 15);
  EXPECT_EQ(UTIL_HexChar(0x1B, 2), 'B');
  EXPECT_EQ(UTIL_HexChar(0x1B, 3), 'b');
  EXPECT_EQ(UTIL_AbsDiff(3, ~u64{0}), ~u64{0} - 3);
}

// Every position, so that no edge of a word or a block is passed over.
TEST(UtilNumber, EveryDifferenceIsFound) {
  for (const std::size_t n : {std::size_t{0}, std::size_t{1}, std::size_t{31}, std::size_t{4109}}) {
    const std::vector<u8> same(n, 0xFF);
    EXPECT_EQ(UTIL_FindDiff(same.data(), std::vector<u8>(same).data(), n), -1);
    EXPECT_TRUE(UTIL_IsFilled(same.data(), 0xFF, n));
    EXPECT_EQ(UTIL_IsFilled(same.data(), 0, n), n == 0);
    std::vector<u8> other = same;
    for (std::size_t i = 0; i < n; ++i) {
      other[i] = 0xFE;
      ASSERT_EQ(UTIL_FindDiff(same.data(), other.data(), n), static_cast<i64>(i));
      ASSERT_FALSE(UTIL_IsFilled(other.data(), 0xFF, n));
      other[i] = 0xFF;
    }
  }
}

}  // namespace
