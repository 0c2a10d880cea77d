#include "tests/image/image_test.h"

namespace {

struct ROW {
  std::initializer_list<PIECE> Pieces;
  const char* sText;
};

TEST(HexSave, Records) {
  const ROW rows[] = {
      {{}, ":00000001FF\r\n"},
      {{{0x12345678, {0x11, 0x22}}}, ":020000041234B4\r\n:025678001122FD\r\n:00000001FF\r\n"},
      {{{0, {1}}, {0x20000, {2}}},
       ":0100000001FE\r\n:020000040002F8\r\n:0100000002FD\r\n:00000001FF\r\n"},
      {{{0, Counting(33)}},
       ":20000000000102030405060708090A0B0C0D0E0F101112131415161718191A1B1C1D1E1FF0\r\n"
       ":0100200020BF\r\n:00000001FF\r\n"},
      // A record over a 64 KiB boundary stays one; the base follows with the next.
      {{{0xFFFE, Counting(34)}},
       ":20FFFE00000102030405060708090A0B0C0D0E0F101112131415161718191A1B1C1D1E1FF3\r\n"
       ":020000040001F9\r\n:02001E0020219F\r\n:00000001FF\r\n"},
      {{{0xFFFFFFFF, {0xAB}}}, ":02000004FFFFFC\r\n:01FFFF00AB56\r\n:00000001FF\r\n"},
  };
  const TempDir dir;
  for (const ROW& row : rows) {
    const MEMAREA_PTR area = MakeArea(row.Pieces);
    EXPECT_EQ(MEMAREA_SaveHex(area.get(), (dir / "a.hex").c_str(), nullptr, nullptr), 0);
    std::string expected = row.sText;
    std::erase(expected, ' ');
    EXPECT_EQ(ReadFile(dir / "a.hex"), expected);
    EXPECT_EQ(MEMAREA_GetNumChanges(area.get()), 0U);
  }
}

TEST(HexSave, CommitsPatchesAndRefusesWhatTheFormatCannotHold) {
  const TempDir dir;
  const std::string name = dir / "a.hex";
  WriteFile(name, "old");
  const MEMAREA_PTR area = MakeArea({{0xFFFFFFF0, Counting(16)}});
  MEMAREA_AddPatch(area.get(), 0x100000000, 1);
  MEMAREA_SetNumChanges(area.get(), 5);
  REPORTS reports;
  EXPECT_EQ(MEMAREA_SaveHex(area.get(), name.c_str(), REPORTS::Add, &reports), -1);
  EXPECT_EQ(reports.Text,
            "2:Address 0x100000000 is beyond the 32-bit range of the Intel HEX format.|");
  EXPECT_EQ(ReadFile(name), "old");
  EXPECT_EQ(MEMAREA_GetNumChanges(area.get()), 5U);
  EXPECT_EQ(MEMAREA_GetNumPatches(area.get()), 0U);
  EXPECT_EQ(MEMAREA_SaveHex(area.get(), (dir / "none/a.hex").c_str(), nullptr, nullptr), -1);
}

TEST(HexSave, ReadsBackEqualRangeForRange) {
  const TempDir dir;
  const MEMAREA_PTR area = MakeScattered(0, 300000);
  const std::string name = dir / "a.hex";
  ASSERT_EQ(MEMAREA_SaveHex(area.get(), name.c_str(), nullptr, nullptr), 0);
  const MEMAREA_PTR second(MEMAREA_Create());
  ASSERT_EQ(MEMAREA_LoadHex(second.get(), name.c_str(), nullptr, nullptr), 0);
  EXPECT_EQ(Dump(second.get()), Dump(area.get()));
}

}  // namespace
