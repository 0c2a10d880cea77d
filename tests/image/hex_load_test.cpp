#include <algorithm>
#include <cstdio>
#include <numeric>

#include "tests/image/image_test.h"

namespace {

struct ROW {
  const char* sName;
  std::string Text;
  int Result;
  const char* sDump;
  const char* sReport;
};

const std::string END = ":00000001FF\r\n";
const std::string DATA1 = ":0100100011DE\r\n";  // 11 at 0x10

const ROW ROWS[] = {
    {"one record", DATA1 + END, 0, "10:11", ""},
    {"lower case, LF only, blank lines", ":02001000abcd76\n\n \t:0100120001ec\n", 0, "10:ABCD01",
     ""},
    {"no line end behind the last", ":0100100011DE", 0, "10:11", ""},
    {"an end record in the middle", END + DATA1, 0, "10:11",
     "1:The hex file has data behind its end record, which was read too.|"},
    {"types to skip", ":0400000300003800C1\r\n:04000005000000CD2A\r\n:01000007AA4E\r\n" + DATA1, 0,
     "10:11", ""},
    {"segment base", ":020000021234B6\r\n" + DATA1, 0, "12350:11", ""},
    {"linear base", ":02000004123 4B4\r\n", -5, "",
     "2:Error in line 1: Expected Hex character : 0..9, A..F|"},
    {"linear base", ":020000041234B4\r\n" + DATA1, 0, "12340010:11", ""},
    {"linear base of the other type", ":020000FF1234B9\r\n" + DATA1, 0, "12340010:11", ""},
    {"base plus address wraps at 32 bits", ":02000002FFFFFE\r\n:02000004FFFFFC\r\n" + DATA1, 0,
     "FFFF0010:11", ""},
    {"a record over the end of 32 bits", ":02000004FFFFFC\r\n:02FFFF00AABB9B\r\n", 0,
     "FFFFFFFF:AABB", ""},
    {"descending records join", ":0100110022CC\r\n" + DATA1, 0, "10:1122", ""},
    {"no data", ":00001000F0\r\n", 0, "", ""},
    {"empty file", "", -4, "", "2:Error in line 1: Not a hex file|"},
    {"blank in front", " " + DATA1, -4, "", "2:Error in line 1: Not a hex file|"},
    {"NUL ends the file", DATA1 + std::string("\0junk", 5), 0, "10:11", ""},
    {"Ctrl+Z behind a record", ":0100100011DE\x1A", 0, "10:11", ""},
    {"Ctrl+Z behind a line", DATA1 + "\x1A", 0, "10:11", ""},
    {"other character for a colon", DATA1 + "\r\n;", -5, "10:11",
     "2:Error in line 3: Unexpected character (Expected: :, Found: ;)|"},
    {"bad digit", DATA1 + ":01001100G1DE\r\n", -5, "10:11",
     "2:Error in line 2: Expected Hex character : 0..9, A..F|"},
    {"bad digit within many", ":10000000000102030405060708090A0B0C0D/E0F78\n", -5, "",
     "2:Error in line 1: Expected Hex character : 0..9, A..F|"},
    {"cut within the record", DATA1 + ":0100110", -5, "10:11",
     "2:Error in line 2: Expected Hex character : 0..9, A..F|"},
    {"cut behind the colon", DATA1 + ":", -5, "10:11",
     "2:Error in line 2: Expected Hex character : 0..9, A..F|"},
    {"cut behind the first digit", DATA1 + ":0", -5, "10:11",
     "2:Error in line 2: Expected Hex character : 0..9, A..F|"},
    {"cut in front of the checksum", ":0100100011", -5, "",
     "2:Error in line 1: Expected Hex character : 0..9, A..F|"},
    {"checksum", ":0100100011DF\r\n", -5, "",
     "2:Error in line 1: Checksum error !\nExpected: 0xDE, found: 0xDF|"},
    {"checksum before overlap", DATA1 + ":0100100011DF\r\n", -5, "10:11",
     "2:Error in line 2: Checksum error !\nExpected: 0xDE, found: 0xDF|"},
    {"overlap", DATA1 + DATA1 + "junk", -5, "10:11", "2:Error in line 2: Areas overlap|"},
    {"overlap before junk", DATA1 + ":0100100011DEjunk", -5, "10:11",
     "2:Error in line 2: Areas overlap|"},
    {"overlap with a next range", ":0100120022CB\n" + DATA1 + ":020011000102EA\n", -5,
     "10:11 12:22", "2:Error in line 3: Areas overlap|"},
    {"junk behind a record", ":0100100011DE \r\n", -5, "10:11",
     "2:Error in line 1: Expected CR or LF|"},
    {"LF, CR and both end a line", ":0100100011DE\n\n\r\r\n\r:", -5, "10:11",
     "2:Error in line 6: Expected Hex character : 0..9, A..F|"},
    {"short segment record", ":0100000212EB\n", -5, "",
     "2:Error in line 1: Extended address record needs 2 data bytes|"},
    {"short linear record", ":00000004FC\n", -5, "",
     "2:Error in line 1: Extended address record needs 2 data bytes|"},
};

TEST(HexLoad, RecordsAndFaults) {
  const TempDir dir;
  for (const ROW& row : ROWS) {
    WriteFile(dir / "a.hex", row.Text);
    const MEMAREA_PTR area(MEMAREA_Create());
    REPORTS reports;
    EXPECT_EQ(MEMAREA_LoadHex(area.get(), (dir / "a.hex").c_str(), REPORTS::Add, &reports),
              row.Result)
        << row.sName;
    EXPECT_EQ(Dump(area.get()), row.sDump) << row.sName;
    const bool looksCut = row.Result == 0 && row.Text.find("0001FF") == std::string::npos;
    EXPECT_EQ(reports.Text,
              looksCut ? "1:The hex file has no end record. It may be incomplete.|" : row.sReport)
        << row.sName;
    EXPECT_EQ(MEMAREA_GetNumChanges(area.get()), 0U);
  }
}

TEST(HexLoad, MissingFileAndDirectory) {
  const TempDir dir;
  const MEMAREA_PTR area(MEMAREA_Create());
  REPORTS reports;
  const std::string name = dir / "none.hex";
  EXPECT_EQ(MEMAREA_LoadHex(area.get(), name.c_str(), REPORTS::Add, &reports), -1);
  EXPECT_EQ(reports.Text, "2:Could not open file [" + name + "]\nFile not found!|");
  EXPECT_EQ(MEMAREA_LoadHex(area.get(), dir.path().c_str(), nullptr, nullptr), -1);
}

void AddRecord(std::string* pText, u32 addr, u8 type, const std::vector<u8>& data) {
  std::vector<u8> record = {static_cast<u8>(data.size()), static_cast<u8>(addr >> 8),
                            static_cast<u8>(addr), type};
  record.insert(record.end(), data.begin(), data.end());
  record.push_back(static_cast<u8>(0 - std::accumulate(record.begin(), record.end(), 0U)));
  *pText += ':';
  for (const u8 byte : record) {
    char digits[3];
    std::snprintf(digits, sizeof(digits), "%02X", byte);
    *pText += digits;
  }
  *pText += '\n';
}

// Records and blanks that lie across every edge of the buffer, and an overlap far into the file.
TEST(HexLoad, LongFile) {
  std::string text;
  std::vector<u8> expected;
  for (u32 i = 0; i < 6000; ++i) {
    const u32 addr = i * 255;
    const std::vector<u8> data(255, static_cast<u8>(i));
    AddRecord(&text, 0, 4, {static_cast<u8>(addr >> 24), static_cast<u8>(addr >> 16)});
    AddRecord(&text, addr & 0xFFFF, 0, data);
    expected.insert(expected.end(), data.begin(), data.end());
  }
  text.insert(text.find('\n') + 1, std::string(3000000, ' '));
  const TempDir dir;
  WriteFile(dir / "a.hex", text);
  const MEMAREA_PTR area(MEMAREA_Create());
  REPORTS reports;
  ASSERT_EQ(MEMAREA_LoadHex(area.get(), (dir / "a.hex").c_str(), REPORTS::Add, &reports), 0)
      << reports.Text;
  u64 numBytes = 0;
  const u8* data = MEMAREA_GetRange(area.get(), 0, nullptr, &numBytes);
  EXPECT_TRUE(numBytes == expected.size() && std::equal(expected.begin(), expected.end(), data));

  // The last record once more.
  const auto numLines = std::count(text.begin(), text.end(), '\n');
  WriteFile(dir / "b.hex", text + text.substr(text.rfind(':')));
  const MEMAREA_PTR second(MEMAREA_Create());
  reports.Text.clear();
  EXPECT_EQ(MEMAREA_LoadHex(second.get(), (dir / "b.hex").c_str(), REPORTS::Add, &reports), -5);
  EXPECT_EQ(reports.Text, "2:Error in line " + std::to_string(numLines + 1) + ": Areas overlap|");
}

}  // namespace
