#include "tests/image/image_test.h"

namespace {

constexpr u64 LAST = ~u64{0};

std::string Save(MEMAREA* pArea, const std::string& name, u64 first, u64 last) {
  EXPECT_EQ(MEMAREA_SaveC(pArea, name.c_str(), first, last, nullptr, nullptr), 0);
  return ReadFile(name);
}

TEST(CSourceSave, WholeText) {
  const TempDir dir;
  const MEMAREA_PTR area = MakeArea({{0x10, {0xAB}}});
  const std::string blank = "*" + std::string(71, ' ') + "*\r\n";
  const std::string text = Save(area.get(), dir / "data.c", 0x10, 0x10);
  const auto owner = text.find("*               Korvane");
  ASSERT_NE(owner, std::string::npos);
  EXPECT_EQ(text, "/" + std::string(72, '*') + "\r\n" + blank +
                      "*               Generated C-File                                        "
                      "*\r\n" +
                      blank + text.substr(owner, 75) + blank + std::string(73, '*') +
                      "\r\n\r\nPlease note:\r\n\r\n"
                      "TARVEX has provided the feature of being able to save a file\r\n"
                      "in ANSI \"C\" format as convenience feature.\r\n"
                      "You may use this feature at your own risc, TARVEX assumes no liability\r\n"
                      "in any form.\r\n\r\n"
                      "Memory image: 0x0010 - 0x0010\r\n*/\r\n\r\n"
                      "static const unsigned char _acdata[0x1] = {\r\n"
                      "  0xAB\r\n"
                      "};\r\n\r\n/*** end of file ***/\r\n");
}

TEST(CSourceSave, NameAndData) {
  const struct {
    std::string Name;
    u64 First, Last;
    const char* sText;
  } rows[] = {
      {"a.c", 0xF, 0x12, "_aca[0x4] = {|  0xFF, 0x01, 0x02, 0xFF|};"},
      {"a.b-c.c", 0x11, 0x21,
       "_aca_b_c[0x11] = {|  0x02, 0xFF, 0xFF, 0xFF, 0x03, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, "
       "0xFF, 0xFF, 0xFF, 0xFF, 0xFF,|  0xFF|};"},
      {"a.c", 5, 4, "_aca[0x0] = {|};"},
      {"a.c", LAST, LAST, "_aca[0x1] = {|  0xFF|};"},
  };
  const TempDir dir;
  const MEMAREA_PTR area = MakeArea({{0x10, {1, 2}}, {0x15, {3}}});
  for (const auto& row : rows) {
    std::string text = Save(area.get(), dir / row.Name, row.First, row.Last);
    text = text.substr(text.find("_ac"));
    std::erase(text, '\r');
    std::replace(text.begin(), text.end(), '\n', '|');
    EXPECT_EQ(text.substr(0, text.find(';') + 1), row.sText);
  }
}

// Neither file is written: the directory is missing, and the last is refused.
TEST(CSourceSave, LargeFilesAreToldBefore) {
  const TempDir dir;
  const std::string name = dir / "x/a.c";
  const MEMAREA_PTR area = MakeArea({{0, {1}}, {0x40000000, {2}}});
  REPORTS reports;
  const auto add = REPORTS::Add;
  EXPECT_EQ(MEMAREA_SaveC(area.get(), name.c_str(), 0, 0xFFFFFFF, add, &reports), -1);
  EXPECT_EQ(MEMAREA_SaveBin(area.get(), name.c_str(), 0, 0x3FFFFFFF, add, &reports), -1);
  EXPECT_EQ(MEMAREA_SaveBin(area.get(), name.c_str(), 0, LAST, add, &reports), -1);
  EXPECT_EQ(MEMAREA_SaveC(area.get(), name.c_str(), 0, LAST, add, &reports), -1);
  const std::string refused = "2:Could not write file.\n" + name + "|";
  const std::string warning = "1:The file will have ";
  const std::string end = " bytes, nearly all of them filling: the data has 2.|";
  EXPECT_EQ(reports.Text, warning + "1610612736" + end + refused + refused + warning +
                              "1073741825" + end + refused +
                              "2:The range 0x0 - 0xFFFFFFFFFFFFFFFF is too large for a C file.|");
}

}  // namespace
