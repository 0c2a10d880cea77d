#include "tests/image/image_test.h"

// Writers of Motorola S and TI-TXT.

namespace {

using SAVE_FUNC = int(MEMAREA*, const char*, FILE_REPORT*, void*);

struct ROW {
  std::initializer_list<PIECE> Pieces;
  const char* sText;  // '|' ends a line
};

template <class Rows>
void CheckRows(SAVE_FUNC* pfSave, const Rows& rows) {
  const TempDir dir;
  const std::string name = dir / "a";
  for (const ROW& row : rows) {
    const MEMAREA_PTR area = MakeArea(row.Pieces);
    EXPECT_EQ(pfSave(area.get(), name.c_str(), nullptr, nullptr), 0);
    std::string text = ReadFile(name);
    for (auto pos = text.find("\r\n"); pos != std::string::npos; pos = text.find("\r\n")) {
      text.replace(pos, 2, "|");
    }
    EXPECT_EQ(text, row.sText);
    EXPECT_EQ(MEMAREA_GetNumChanges(area.get()), 0U);
  }
}

TEST(MotSave, Records) {
  const ROW rows[] = {
      {{}, "S9030000FC|"},
      {{{0xFFFF, {1}}}, "S104FFFF01FC|S9030000FC|"},
      {{{0x10000, {1}}}, "S20501000001F8|S9030000FC|"},
      {{{0xFFFFFF, {1}}, {0x1000001, {0xAB}}}, "S205FFFFFF01FC|S30601000001AB4C|S9030000FC|"},
      // A record takes the form that its last address needs.
      {{{0xFFF0, Counting(32)}},
       "S22400FFF0000102030405060708090A0B0C0D0E0F101112131415161718191A1B1C1D1E1FFC|S9030000FC|"},
      {{{0, Counting(33)}},
       "S1230000000102030405060708090A0B0C0D0E0F101112131415161718191A1B1C1D1E1FEC|"
       "S104002020BB|S9030000FC|"},
      {{{0xFFFFFFFF, {0xAB}}}, "S306FFFFFFFFAB52|S9030000FC|"},
  };
  CheckRows(MEMAREA_SaveMot, rows);
}

TEST(MotSave, CommitsPatchesAndRefusesWhatTheFormatCannotHold) {
  const TempDir dir;
  const std::string name = dir / "a.mot";
  const MEMAREA_PTR area = MakeArea({{0xFFFFFFF0, Counting(16)}});
  MEMAREA_AddPatch(area.get(), 0x100000000, 1);
  MEMAREA_SetNumChanges(area.get(), 5);
  REPORTS reports;
  EXPECT_EQ(MEMAREA_SaveMot(area.get(), name.c_str(), REPORTS::Add, &reports), -1);
  EXPECT_EQ(reports.Text,
            "2:Address 0x100000000 is beyond the 32-bit range of the Motorola S format.|");
  EXPECT_EQ(MEMAREA_GetNumChanges(area.get()), 5U);
  EXPECT_EQ(dir.NumEntries(), 0U);
}

TEST(TiTxtSave, Lines) {
  const ROW rows[] = {
      {{}, "q|"},
      {{{0, {1}}}, "@0|01|q|"},
      {{{0x1001, {0xAA}}}, "@1000|FF AA|q|"},
      {{{0x10, Counting(17)}}, "@10|00 01 02 03 04 05 06 07 08 09 0A 0B 0C 0D 0E 0F|10|q|"},
      {{{0x1000, {1}}, {0x1002, {2}}}, "@1000|01|@1002|02|q|"},
      // A hole of the one byte that the alignment puts in front isn't seen.
      {{{0x1000, {1, 2}}, {0x1003, {3}}}, "@1000|01 02|FF 03|q|"},
      {{{0xABCDEF, {1}}, {0x100000000, {2}}}, "@abcdee|FF 01|@100000000|02|q|"},
      {{{0xFFFFFFFFFFFFFFFE, {1, 2}}}, "@fffffffffffffffe|01 02|q|"},
  };
  CheckRows(MEMAREA_SaveTiTxt, rows);
}

TEST(TextSave, ReadsBackEqualRangeForRange) {
  const TempDir dir;
  const std::string name = dir / "a";
  const MEMAREA_PTR area = MakeScattered(0xFF0000, 3000000, 2);
  const std::string dump = Dump(area.get());
  const std::pair<SAVE_FUNC*, SAVE_FUNC*> formats[] = {{MEMAREA_SaveMot, MEMAREA_LoadMot},
                                                       {MEMAREA_SaveTiTxt, MEMAREA_LoadTiTxt}};
  for (const auto& [save, load] : formats) {
    ASSERT_EQ(save(area.get(), name.c_str(), nullptr, nullptr), 0);
    const MEMAREA_PTR second(MEMAREA_Create());
    ASSERT_EQ(load(second.get(), name.c_str(), nullptr, nullptr), 0);
    EXPECT_TRUE(Dump(second.get()) == dump);
  }
}

}  // namespace
