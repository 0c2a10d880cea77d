#include <atomic>
#include <cstring>
#include <thread>

#include "image/memarea_reader.h"
#include "tests/image/image_test.h"

namespace {

// One thread loads and changes, the other draws: it must never see half an operation.
TEST(MemAreaThreads, OperationsAreAtomic) {
  const MEMAREA_PTR area = MakeArea({{0x100, std::vector<u8>(64, 0)}});
  std::atomic<bool> isDone = false;
  std::thread writer([&] {
    for (u32 i = 1; i < 4000; ++i) {
      const std::vector<u8> data(64, static_cast<u8>(i));
      MEMAREA_Write(area.get(), 0x100, data.size(), data.data());
      {
        // Two steps that belong together.
        const MEMAREA_LOCK_GUARD lock(area.get());
        MEMAREA_RemoveRange(area.get(), 0x100, 0x13F);
        MEMAREA_AddRange(area.get(), 0x100, data.size(), data.data());
      }
      MEMAREA_AddPatch(area.get(), 0x200 + i, 1);
    }
    isDone = true;
  });
  u8 data[64];
  while (!isDone) {
    ASSERT_EQ(MEMAREA_GetData(area.get(), 0x100, ~u64{0}, 0, 0, data, nullptr, nullptr, 64, 0, 0),
              64U);
    ASSERT_EQ(std::vector<u8>(data, data + 64), std::vector<u8>(64, data[0]));
    ASSERT_EQ(MEMAREA_GetNumBytes(area.get()), 64U);
    MEMAREA_GetRange(area.get(), 0, nullptr, nullptr);
    // A reader shows one state, however often it is asked.
    MEMAREA_READER reader(area.get(), MEMAREA_READER::Kind::Snapshot);
    for (int i = 0; i < 3; ++i) {
      MEMAREA_BLOCK block;
      u8 again[64];
      ASSERT_TRUE(reader.Begin({.FirstAddr = 0x100, .MaxBytes = 64}));
      ASSERT_TRUE(reader.Next(&block, again));
      ASSERT_EQ(std::vector<u8>(again, again + 64), std::vector<u8>(64, again[0]));
      ASSERT_TRUE(i == 0 || std::memcmp(data, again, 64) == 0);
      std::memcpy(data, again, 64);
    }
  }
  writer.join();
  EXPECT_EQ(MEMAREA_GetNumPatches(area.get()), 3999U);
}

}  // namespace
