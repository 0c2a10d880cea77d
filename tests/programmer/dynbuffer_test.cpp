#include "tests/programmer/file_reader.h"

// Grows to its limit; what doesn't fit as a whole isn't written at all, and the error stays.
TEST(DynBuffer, Writes) {
  static std::string errors;
  DYNBUFFER buf;
  ASSERT_EQ(DYNBUFFER_Init(
                &buf, [](const char* s) { errors += s; }, 100, 16, 0xA5),
            0);
  const struct {
    u64 Offset, NumBytes;
    int Result;
    u32 AllocSize, LastIndex;
  } cases[] = {{15, 1, 0, 16, 15},  {16, 0, 0, 16, 15},   {16, 1, 0, 32, 16},
               {70, 2, 0, 72, 71},  {99, 2, -3, 72, 71},  {99, ~0ull, -3, 72, 71},
               {97, 1, 0, 100, 97}, {1000, 0, 0, 100, 97}};
  Bytes expected(100, 0xA5);
  for (const auto& c : cases) {
    EXPECT_EQ(DYNBUFFER_FillAt(&buf, c.Offset, 1, c.NumBytes), c.Result) << c.Offset;
    EXPECT_EQ(buf.AllocSize, c.AllocSize) << c.Offset;
    EXPECT_EQ(buf.LastIndex, c.LastIndex) << c.Offset;
    std::fill_n(&expected[c.Offset % 100], c.Result == 0 ? c.NumBytes : 0, 1);
  }
  EXPECT_EQ(DYNBUFFER_Append(&buf, "\1", 1), 0);
  EXPECT_EQ(DYNBUFFER_Append(&buf, "\1\1", 2), -3);
  expected[98] = 1;
  EXPECT_EQ(Bytes(buf.pBuffer, buf.pBuffer + buf.AllocSize), expected);
  EXPECT_EQ(buf.LastError, -3);
  EXPECT_EQ(errors.find("Debugger accesses memory in dynamic buffer at offset 0x00000064 which is "
                        "out of array bounds.Debugger "),
            0u);
}
