#include "image/text_load.h"

#include <unistd.h>

#include "image/text_source.h"
#include "tests/image/image_test.h"

// Readers of Motorola S and TI-TXT.

namespace {

using LOAD_FUNC = int(MEMAREA*, const char*, FILE_REPORT*, void*);

struct ROW {
  const char* sName;
  std::string Text;
  int Result;
  std::string Dump;
  std::string Report;
};

const std::string NO_END = "1:The Motorola S file has no end record. It may be incomplete.|";
const char* const BEHIND = "1:The TI-TXT file has text behind its end mark, which was not read.";

void CheckRows(LOAD_FUNC* pfLoad, const std::vector<ROW>& rows) {
  const TempDir dir;
  const std::string name = dir / "a";
  for (const ROW& row : rows) {
    WriteFile(name, row.Text);
    const MEMAREA_PTR area(MEMAREA_Create());
    REPORTS reports;
    EXPECT_EQ(pfLoad(area.get(), name.c_str(), REPORTS::Add, &reports), row.Result) << row.sName;
    EXPECT_EQ(Dump(area.get()), row.Dump) << row.sName;
    const bool isWarning = row.Result == 0;
    const bool looksCut = pfLoad == MEMAREA_LoadMot && row.Result == 0 &&
                          row.Text.find("S9030000FC") == std::string::npos;
    EXPECT_EQ(reports.Text, (row.Report.empty() ? ""
                             : isWarning        ? row.Report + "|"
                                                : "2:Error in line " + row.Report + "|") +
                                (looksCut ? NO_END : ""))
        << row.sName;
    EXPECT_EQ(MEMAREA_GetNumChanges(area.get()), 0U);
  }
}

const std::string D1 = "S104001011DA\r\n";  // 11 at 0x10
const std::string END = "S9030000FC\r\n";
const char* const NO_HEX = "1: Expected Hex character : 0..9, A..F";
const char* const BAD_SUM = ": Checksum error! Checksum in file: 0xDB, checksum calculated 0xDA";

TEST(MotLoad, RecordsAndFaults) {
  const std::string blanks(2500000, ' ');
  CheckRows(
      MEMAREA_LoadMot,
      {
          {"one record", D1 + END, 0, "10:11", ""},
          {"no end record, no line end", "S104001011DA", 0, "10:11", ""},
          {"header of any content", "S00600004844521B\n" + D1, 0, "10:11", ""},
          {"3-byte address, lower case", "S205123456abb3", 0, "123456:AB", ""},
          {"4-byte address", "S30612345678AB3A", 0, "12345678:AB", ""},
          {"last address", "S306FFFFFFFFAB52", 0, "FFFFFFFF:AB", ""},
          {"types to skip",
           "S4030000FC\nS70500000000FA\nS804000000FB\n" + D1 + "S5030001FB\nS604000001FA\n", 0,
           "10:11", ""},
          {"count starts anew behind an end record", D1 + END + "S104001122C8\nS5030001FB\n" + END,
           0, "10:1122", ""},
          {"a record is missing", D1 + "S5030002FA\n" + END, -5, "10:11",
           "2: Wrong number of records (Expected: 2, Found: 1)"},
          {"a record too many, 3-byte count", D1 + "S104001122C8\nS604000001FA\n", -5, "10:1122",
           "3: Wrong number of records (Expected: 1, Found: 2)"},
          {"count too short", D1 + "S50200FD", -5, "10:11", "2: The record is too short"},
          {"lines that are no records", D1 + "; note\n\r\n*\n" + END, 0, "10:11",
           "1:Line 2 is no record. 2 such lines were skipped."},
          {"text behind a record", "S104001011DAjunk\n" + END, 0, "10:11",
           "1:Line 1 is no record. 1 such line was skipped."},
          {"a record with a small letter", D1 + "s104001122C8\n", -5, "10:11",
           "2: Unexpected character"},
          {"data behind the end record", END + D1, 0, "10:11", NO_END.substr(0, NO_END.size() - 1)},
          {"two on one line", "S104001011DA S104001122C8", 0, "10:1122", ""},
          {"two run together", "S104001011DAS104001122C8", 0, "10:1122", ""},
          {"blanks in front of the type", "S \t\r\n104001011DA", 0, "10:11", ""},
          {"blanks without end", "S" + blanks + "104001011DA" + blanks + D1, -5, "10:11",
           "1: Areas overlap"},
          {"no data", "S1030010EC", 0, "", ""},
          {"NUL", D1 + std::string("\0S1", 3), 0, "10:11", ""},
          {"Ctrl+Z", D1 + "\x1AS1", 0, "10:11", ""},
          {"empty", "", -4, "", "1: Not a mot file"},
          {"blank in front", " " + D1, -4, "", "1: Not a mot file"},
          {"lower-case s", "s104001011DA", -4, "", "1: Not a mot file"},
          {"CR, LF and both end a line", "S104001011DA\r\r\t\n\r\nSX", -5, "10:11",
           "5: Unexpected character"},
          {"line in front of the type", "S\nX", -5, "", "2: Unexpected character"},
          {"cut behind the S", "S", -5, "", "1: Unexpected character"},
          {"bad digit", "S1040010G1DA", -5, "", NO_HEX},
          {"blank behind the type", "S1 04001011DA", -5, "", NO_HEX},
          {"cut in the count", "S10", -5, "", NO_HEX},
          {"cut in the checksum", "S104001011D", -5, "", NO_HEX},
          {"checksum", "S104001011DB", -5, "", std::string("1") + BAD_SUM},
          {"checksum of a skipped type", D1 + "S904000001DB", -5, "10:11",
           "2: Checksum error! Checksum in file: 0xDB, checksum calculated 0xFA"},
          {"checksum before overlap", D1 + "S104001011DB", -5, "10:11", std::string("2") + BAD_SUM},
          {"overlap", D1 + D1 + "junk", -5, "10:11", "2: Areas overlap"},
          {"count without a checksum", "S100", -5, "", "1: The record is too short"},
          {"count without an address", "S10200FD", -5, "", "1: The record is too short"},
          {"count that cuts an address", "S304000000FB", -5, "", "1: The record is too short"},
      });
}

TEST(TiTxtLoad, SectionsAndFaults) {
  const std::string zeros(2500000, '0');
  std::string lines = "@100 11\n@0\n";
  for (int i = 0; i < 512; ++i) {
    lines += "22 \n";
  }
  CheckRows(
      MEMAREA_LoadTiTxt,
      {
          {"one section", "@1000\r\n11 22\r\nq\r\n", 0, "1000:1122", ""},
          {"bytes run together", "@1000\n1122 33\n44q", 0, "1000:11223344", ""},
          {"either case", "@aBc\nfF Q", 0, "ABC:FF", ""},
          {"no address", "@ 11 q", 0, "0:11", ""},
          {"blanks anywhere", "\n\t @10 \t\n\n11\n\n\r22 \n q \r\n\x1A", 0, "10:1122", ""},
          {"text behind the end", "@10 11 q\n@20 22 q", 0, "10:11", BEHIND},
          {"CR alone ends a line", "@10\r11\r\rG", -5, "",
           "4: Expected Hex character : 0..9, A..F"},
          {"sections on one line", "@10 11@20 22@11 33q", 0, "10:1133 20:22", ""},
          {"empty section", "@10 @20\n22 q", 0, "20:22", ""},
          {"nothing", "q", 0, "", ""},
          {"last address of all", "@FFFFFFFFFFFFFFFF AB q", 0, "FFFFFFFFFFFFFFFF:AB", ""},
          {"leading zeros without end", "@" + zeros + "1234 AB q", 0, "1234:AB", ""},
          {"address too long", "@10000000000000000 AB q", -5, "",
           "1: The address has more than 64 bits"},
          {"data over the end", "@FFFFFFFFFFFFFFFF\nAB CD\nq", -5, "",
           "3: The address has more than 64 bits"},
          {"empty", "", -5, "", "1: EOF while parsing"},
          {"blanks only", "\n \n", -5, "", "3: EOF while parsing"},
          {"no end mark", "@1000\n11 22\n", -5, "1000:1122", "3: EOF while parsing"},
          {"cut within a byte", "@1000 11 2", -5, "1000:11", "1: EOF while parsing"},
          {"cut behind the mark", "@", -5, "", "1: EOF while parsing"},
          {"no section", "\n11 22 q", -4, "", "2: Unexpected character (Expected: @, Found: 1)"},
          {"bad digit", "@1000\n11\nG2 q", -5, "", "3: Expected Hex character : 0..9, A..F"},
          {"digit alone", "@1000 1 1 q", -5, "", NO_HEX},
          {"digit and mark", "@1000 1q", -5, "", NO_HEX},
          {"NUL between bytes", std::string("@10 11\0 22 q", 12), -5, "10:11", ""},
          {"NUL within a byte", std::string("@10 11 2\0 q", 11), -5, "10:11", ""},
          {"NUL at the start", std::string("\0q", 2), -5, "", ""},
          {"overlap at the end of a section", "@10 11\n@10 22\n@20 33 q", -5, "10:11",
           "3: Areas overlap"},
          {"overlap where a piece is full", lines + "q", -5, "100:11", "514: Areas overlap"},
      });
}

TEST(TextLoad, FilesThatCannotBeRead) {
  const TempDir dir;
  const struct {
    LOAD_FUNC* pfLoad;
    std::string Name;
    std::string Report;
  } rows[] = {
      {MEMAREA_LoadMot, dir / "x", "Could not open file [" + (dir / "x") + "]\nFile not found!"},
      {MEMAREA_LoadTiTxt, dir / "x", "Could not open file [" + (dir / "x") + "]\nFile not found!"},
      {MEMAREA_LoadMot, "/proc/self/mem", "Error reading from file [/proc/self/mem]"},
      {MEMAREA_LoadTiTxt, "/proc/self/mem", "Error reading from file"},
  };
  for (const auto& row : rows) {
    const MEMAREA_PTR area = MakeArea({{0, {1}}});
    REPORTS reports;
    EXPECT_LT(row.pfLoad(area.get(), row.Name.c_str(), REPORTS::Add, &reports), 0);
    EXPECT_EQ(reports.Text, "2:" + row.Report + "|");
  }
}

std::string g_CutName;

// A reader that cuts the file when it has begun.
int CutAndRead(FileInput& Input, RangeList& Ranges, TEXT_ERROR* pError) {
  TextSource source(Input);
  EXPECT_TRUE(source.Allocate());
  source.Require(1);
  EXPECT_EQ(truncate(g_CutName.c_str(), 1200000), 0);
  return MOT_Read(Input, Ranges, pError);
}

TEST(TextLoad, FileThatShrinksMeanwhile) {
  const TempDir dir;
  g_CutName = dir / "cut.mot";
  WriteFile(g_CutName, std::string(3000000, '\n'));
  const MEMAREA_PTR area(MEMAREA_Create());
  REPORTS reports;
  const FileReport report(REPORTS::Add, &reports);
  EXPECT_EQ(LOAD_Text(area.get(), g_CutName.c_str(), report, CutAndRead), -1);
  EXPECT_EQ(reports.Text, "2:File [" + g_CutName + "] became shorter while it was read.|");
}

}  // namespace
