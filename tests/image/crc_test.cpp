#include "image/crc.h"

#include <random>

#include "tests/image/image_test.h"

namespace {

u32 CalcByBits(const u8* p, u64 numBytes, u32 crc, u32 poly) {
  for (; numBytes != 0; --numBytes) {
    crc ^= *p++;
    for (int i = 0; i < 8; ++i) {
      crc = crc >> 1 ^ ((crc & 1) != 0 ? poly : 0);
    }
  }
  return crc;
}

// Lengths around every block size of the fast ways, at any alignment, continued from any value.
TEST(Crc, AgreesWithTheDefinition) {
  std::mt19937 random(5);
  std::vector<u8> data(700);
  for (u8& byte : data) {
    byte = static_cast<u8>(random());
  }
  for (u64 numBytes = 0; numBytes < 600; ++numBytes) {
    const u8* p = data.data() + random() % 100;
    const u32 start = static_cast<u32>(random());
    ASSERT_EQ(CRC_Calc32(p, numBytes, start), CalcByBits(p, numBytes, start, 0xEDB88320));
    ASSERT_EQ(CRC_Calc32C(p, numBytes, start), CalcByBits(p, numBytes, start, 0x82F63B78));
  }
}

}  // namespace
