#include "sys/util_format.h"

#include <gtest/gtest.h>

namespace {

// Not for the compiler to check: the rows hold what it refuses.
std::string Full(const char* sFormat, ...) {
  char acBuf[128];
  va_list args;
  va_start(args, sFormat);
  const int length = UTIL_vsnprintf(acBuf, sizeof(acBuf), sFormat, args);
  va_end(args);
  EXPECT_EQ(length, static_cast<int>(std::string(acBuf).size())) << sFormat;
  return acBuf;
}

std::string Plain(const char* sFormat, ...) {
  char acBuf[128];
  va_list args;
  va_start(args, sFormat);
  const char* const pEnd = UTIL_vsnprintf64(acBuf, sizeof(acBuf), sFormat, args);
  va_end(args);
  EXPECT_EQ(pEnd, acBuf + std::string(acBuf).size()) << sFormat;
  return acBuf;
}

TEST(UtilFormat, FullDialect) {
  EXPECT_EQ(Full("%d|%d|%u", 5, -2147483647 - 1, ~0u), "5|-2147483648|4294967295");
  EXPECT_EQ(Full("%5d|%-5d|%05d|%-05d|", -42, -42, -42, -42), "  -42|-42  |-0042|-42  |");
  EXPECT_EQ(Full("%+d|% d|%+ d|%+d", 7, 7, 7, -7), "+7| 7|+7|-7");
  EXPECT_EQ(Full("%x|%X|%08X|%.4x|%o", 255, 255, 255, 255, 8), "FF|FF|000000FF|00FF|10");
  EXPECT_EQ(Full("%6.3d|%06.3d|", 7, 7), "   007|   007|");
  EXPECT_EQ(Full("%*d|%*d|%.*s|", 4, 1, -4, 1, 2, "abc"), "   1|1   |ab|");
  EXPECT_EQ(Full("%5s|%-5s|%.2s|%5.1s|", "abc", "abc", "abc", "abc"), "  abc|abc  |ab|    a|");
  EXPECT_EQ(Full("%c%3c|%%|%q|%#x|%hu", 'a', 'b', 16, 4), "a  b|%||10|4");
  EXPECT_EQ(Full("%ld|%lld|%lu|%016lX|%llx|%lo|%d", INT64_MIN, INT64_MAX, UINT64_MAX, 0x1234ABCDEFL,
                 0x1234ABCDEFL, 1L << 33, 7),
            "-9223372036854775808|9223372036854775807|18446744073709551615|0000001234ABCDEF|"
            "1234ABCDEF|100000000000|7");
  EXPECT_EQ(Full("%p", reinterpret_cast<void*>(0x12AB)), "000012AB");
  EXPECT_EQ(Full("%s tail %-0l", static_cast<char*>(nullptr)), "(null) tail ");
}

TEST(UtilFormat, PlainDialect) {
  EXPECT_EQ(Plain("%d|%i|%u", -5, 6, ~0u), "-5|6|4294967295");
  EXPECT_EQ(Plain("%lld|%lu|%lX|%llx", INT64_MIN, UINT64_MAX, 0x1234ABCDEFL, 0x1234ABCDEFL),
            "-9223372036854775808|18446744073709551615|1234ABCDEF|1234abcdef");
  EXPECT_EQ(Plain("%x|%X|%04X|%.8X|%10.4X|", 255, 255, 255, 255, 255),
            "ff|FF|  FF|000000FF|      00FF|");
  EXPECT_EQ(Plain("%5s|%.1s|%3d|", "abc", "abc", 7), "abc|abc|  7|");
  EXPECT_EQ(Plain("%p|%p", reinterpret_cast<void*>(0x12AB), reinterpret_cast<void*>(0x123456789A)),
            "    12AB|123456789A");
  EXPECT_EQ(Plain("%c%%%q|%-d", 'a'), "a%|d");
}

TEST(UtilFormat, CutsAtTheBufferButNeverACharacter) {
  char acBuf[8];
  EXPECT_EQ(UTIL_snprintf(acBuf, sizeof(acBuf), "%d-%s", 12345, "abcdef"), 12);
  EXPECT_STREQ(acBuf, "12345-a");
  EXPECT_EQ(UTIL_snprintf(acBuf, sizeof(acBuf), "123456%s", "\xC3\xA4"), 8);
  EXPECT_STREQ(acBuf, "123456");
  EXPECT_EQ(UTIL_snprintf64(acBuf, sizeof(acBuf), "%10d", 1), acBuf + 7);
  EXPECT_EQ(UTIL_snprintf(acBuf, 1, "abc"), 3);
  EXPECT_STREQ(acBuf, "");
  EXPECT_EQ(UTIL_snprintf(nullptr, 0, "abc"), 3);
  EXPECT_EQ(UTIL_snprintf(acBuf, sizeof(acBuf), "%2000000000d", 1), 0x100000);
}

TEST(UtilFormat, PrintSize) {
  const std::pair<u64, const char*> rows[] = {
      {0, "0 Bytes"},     {1, "1 Byte"},          {0x400, "1 KB"},
      {0x600, "1.5 KB"},  {0x601, "1537 Bytes"},  {0x180000, "1.5 MB"},
      {1 << 24, "16 MB"}, {0x60000000, "1.5 GB"}, {0x100000001, "4294967297 Bytes"}};
  for (const auto& [value, text] : rows) {
    char acBuf[32];
    UTIL_PrintSize(value, acBuf, sizeof(acBuf));
    EXPECT_STREQ(acBuf, text);
  }
}

}  // namespace
