#include "tests/image/image_test.h"

namespace {

constexpr u64 LAST = ~u64{0};

TEST(BinLoad, BecomesOneRange) {
  const TempDir dir;
  const std::string name = dir / "a.bin";
  for (const std::size_t size : {0, 1, 100000, 3000000}) {
    const std::vector<u8> data = Counting(size);
    WriteFile(name, std::string(data.begin(), data.end()));
    const MEMAREA_PTR area(MEMAREA_Create());
    EXPECT_EQ(MEMAREA_LoadBin(area.get(), name.c_str(), 0x8000, nullptr, nullptr), 0);
    EXPECT_EQ(MEMAREA_GetNumRanges(area.get()), size == 0 ? 0U : 1U);
    EXPECT_EQ(MEMAREA_GetNumChanges(area.get()), 0U);
    u64 addr = 0;
    u64 numBytes = 0;
    const u8* p = MEMAREA_GetRange(area.get(), 0, &addr, &numBytes);
    EXPECT_TRUE(std::vector<u8>(p, p + numBytes) == data);
    EXPECT_EQ(addr, size == 0 ? 0U : 0x8000U);
  }
}

TEST(BinLoad, Failures) {
  const TempDir dir;
  const std::string name = dir / "a.bin";
  WriteFile(name, "abc");
  REPORTS reports;
  const MEMAREA_PTR area = MakeArea({{0x12, {1}}});
  EXPECT_EQ(MEMAREA_LoadBin(area.get(), name.c_str(), LAST - 2, REPORTS::Add, &reports), 0);
  EXPECT_EQ(MEMAREA_LoadBin(area.get(), name.c_str(), LAST - 1, REPORTS::Add, &reports), -1);
  EXPECT_EQ(MEMAREA_LoadBin(area.get(), name.c_str(), 0x10, REPORTS::Add, &reports), -1);
  EXPECT_EQ(Dump(area.get()), "12:01 FFFFFFFFFFFFFFFD:616263");
  EXPECT_EQ(MEMAREA_LoadBin(area.get(), (dir / "x").c_str(), 0, REPORTS::Add, &reports), -1);
  EXPECT_EQ(reports.Text,
            "2:The file does not fit behind the start address.|2:Areas overlap|"
            "2:Could not open file [" +
                (dir / "x") + "]\nFile not found!|");
}

struct SAVE_ROW {
  u64 First, Last;
  const char* sContent;  // '~' stands for 0xFF
};

TEST(BinSave, FillsHolesAndEndsWithTheData) {
  const SAVE_ROW rows[] = {
      {0x10, 0x17, "abc~~def"}, {0x0E, 0x100, "~~abc~~def"},
      {0x11, 0x15, "bc~~d"},    {0x11, 0x14, "bc"},
      {0x18, 0x100, ""},        {0x17, 0x10, ""},
      {0x13, LAST, "~~def"},    {0x00, 0x0F, ""},
  };
  const TempDir dir;
  const std::string name = dir / "a.bin";
  for (const SAVE_ROW& row : rows) {
    const MEMAREA_PTR area = MakeArea({{0x10, {'a', 'b', 'x'}}, {0x15, {'d', 'e', 'f'}}});
    MEMAREA_AddPatch(area.get(), 0x12, 'c');
    EXPECT_EQ(MEMAREA_SaveBin(area.get(), name.c_str(), row.First, row.Last, nullptr, nullptr), 0);
    std::string content = ReadFile(name);
    std::replace(content.begin(), content.end(), '\xFF', '~');
    EXPECT_EQ(content, row.sContent);
    EXPECT_EQ(MEMAREA_GetNumChanges(area.get()), 0U);
  }
}

TEST(BinSave, LargeHolesAndTheEndOfTheSpace) {
  const TempDir dir;
  const std::string name = dir / "a.bin";
  const MEMAREA_PTR area = MakeArea({{LAST - 0x1800000, {1}}, {LAST, {2}}});
  ASSERT_EQ(MEMAREA_SaveBin(area.get(), name.c_str(), LAST - 0x1800000, LAST, nullptr, nullptr), 0);
  const std::string content = ReadFile(name);
  ASSERT_EQ(content.size(), 0x1800001U);
  EXPECT_TRUE(content.front() == 1 && content.back() == 2);
  EXPECT_EQ(content.find_first_not_of('\xFF', 1), 0x1800000U);

  REPORTS reports;
  EXPECT_EQ(MEMAREA_SaveBin(area.get(), name.c_str(), 0, LAST, REPORTS::Add, &reports), -1);
  EXPECT_EQ(reports.Text, "2:The range 0x0 - 0xFFFFFFFFFFFFFFFF is too large for a binary file.|");
  EXPECT_EQ(ReadFile(name).size(), content.size());
}

}  // namespace
