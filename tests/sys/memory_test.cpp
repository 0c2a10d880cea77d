#include "sys/memory.h"

#include <gtest/gtest.h>

#include <cstring>

namespace {

std::string g_Shown;

class SysMemory : public testing::TestWithParam<bool> {
 protected:
  SysMemory() {
    g_Shown.clear();
    SYS_SetMessageHandler([](const char* sTitle, const char* sText) {
      g_Shown += std::string(sTitle) + "|" + sText;
    });
    EXPECT_TRUE(SYS_MEM_SetTracking(GetParam()));
  }
  ~SysMemory() override {
    EXPECT_TRUE(SYS_MEM_SetTracking(false));
    SYS_SetMessageHandler(nullptr);
  }
};

TEST_P(SysMemory, BlocksComeGrowAndGo) {
  u8* p = static_cast<u8*>(SYS_MEM_Alloc(100, "TEST: block"));
  ASSERT_NE(p, nullptr);
  EXPECT_EQ(reinterpret_cast<std::uintptr_t>(p) % 16, 0u);
  EXPECT_FALSE(SYS_MEM_SetTracking(!GetParam()));
  std::memset(p, 0x5A, 100);
  for (const u64 size : {u64{5000}, u64{10}}) {
    p = static_cast<u8*>(SYS_MEM_Realloc(p, size));
    EXPECT_EQ(p[size > 100 ? 99 : 9], 0x5A);
  }
  EXPECT_EQ(SYS_MEM_Realloc(p, SIZE_MAX), nullptr);
  EXPECT_EQ(p[9], 0x5A);
  void* const pEmpty = SYS_MEM_Realloc(nullptr, 0);
  EXPECT_NE(pEmpty, nullptr);
  u32 numBlocks = 9;
  u64 numBytes = 9;
  SYS_MEM_GetStats(&numBlocks, &numBytes);
  EXPECT_EQ(numBlocks, GetParam() ? 2u : 0u);
  EXPECT_EQ(numBytes, GetParam() ? 10u : 0u);
  SYS_MEM_Free(p);
  SYS_MEM_Free(pEmpty);
  SYS_MEM_Free(nullptr);
  SYS_MEM_GetStats(&numBlocks, nullptr);
  EXPECT_EQ(numBlocks, 0u);
  EXPECT_EQ(SYS_MEM_Alloc(SIZE_MAX, "TEST: too much"), nullptr);
  EXPECT_EQ(g_Shown.substr(g_Shown.rfind('|')),
            "|Failed to allocate 0xFFFFFFFFFFFFFFFF bytes of memory!");
}

INSTANTIATE_TEST_SUITE_P(Modes, SysMemory, testing::Bool());

using SysMemoryTracking = SysMemory;

TEST_P(SysMemoryTracking, DamageIsTold) {
  for (const int position : {1, 5, 32}) {
    g_Shown.clear();
    u8* const p = static_cast<u8*>(SYS_MEM_Alloc(13, "TEST: overrun"));
    p[13 + position - 1] = 0;
    SYS_MEM_Free(p);
    EXPECT_EQ(g_Shown, " Debug Error|Buffer overflow in memory block. " + std::to_string(position) +
                           " bytes overflowed.");
    std::free(p - 48);  // the layer leaks a damaged block behind its header
  }
  g_Shown.clear();
  alignas(16) u8 aForeign[256] = {};
  SYS_MEM_Free(aForeign + 128);
  EXPECT_EQ(g_Shown, " Debug Error|Wrong alloc signature in memory block !");
}

INSTANTIATE_TEST_SUITE_P(On, SysMemoryTracking, testing::Values(true));

}  // namespace
