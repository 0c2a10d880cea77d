#include "tests/image/image_test.h"

namespace {

const std::string HEX = ":0100100011DE\r\n";
const std::string MOT = "S104001022C9\r\nS9030000FC\r\n";
// The least that passes: a header that names no tables.
const std::string ELF = std::string(
                            "\x7F"
                            "ELF\1\1\1",
                            7) +
                        std::string(13, '\0') + "\1" + std::string(31, '\0');

struct ROW {
  const char* sName;
  std::string Content;
  int Result;
  const char* sDump;
  const char* sReport;
};

TEST(DataFile, LoadsByExtensionOrContent) {
  const ROW rows[] = {
      {"a.hex", HEX + ":00000001FF\n", 0, "10:11", ""},
      {"a.HEX", HEX + ":00000001FF\n", 0, "10:11", ""},
      {"a.bin", "ab", 0, "700:6162", ""},
      {"a.Raw", "ab", 0, "700:6162", ""},
      {"a.MOT", MOT, 0, "10:22", ""},
      {"a.s19", MOT, 0, "10:22", ""},
      {"a.axf", "", -1, "",
       "0:Parsing ELF file...|2:Failed to read ELF file [@].\nInvalid ELFId at start of file|"},
      {"a.txt", "@10 33q", 0, "10:33", ""},
      {"a.mcs", HEX, -1, "", "2:Unsupported file type (*.mcs)|"},
      {"a.c", "", -1, "", "2:Unsupported file type (*.c)|"},
      {"a.korvane", "", -1, "", "2:Unsupported file type (*.korvane)|"},
      {"motfile", MOT, 0, "10:22", "0:Mot file detected.|"},
      {"elffile", ELF, 0, "", "0:Elf file detected.|"},
      {"titxtfile", "@10 33q", 0, "10:33", "0:TI-TXT file detected.|"},
      {"hexfile", HEX, 0, "10:11", "0:Hex file detected.|"},
      {"anything", "ab", 0, "900:6162", "0:Unknown file type, assuming .bin file.|"},
      {"qfile", "q", 0, "900:71", "0:Unknown file type, assuming .bin file.|"},
      // What begins like a format and isn't it is never taken for the bytes of a chip.
      {"nearlyhex", HEX + "!", -1, "",
       "2:Error in line 2: Unexpected character (Expected: :, Found: !)|"},
      {"nearlymot", "S104001022C8", -1, "",
       "2:Error in line 1: Checksum error! Checksum in file: 0xC8, checksum calculated 0xC9|"},
      {"nearlyelf", ELF.substr(0, 20), -1, "",
       "2:Failed to read ELF file [@].\nFailed to read ELF file|"},
      {"nearlytxt", "@10 1", -1, "", "2:Error in line 1: EOF while parsing|"},
  };
  const TempDir dir;
  for (const ROW& row : rows) {
    const std::string name = dir / row.sName;
    WriteFile(name, row.Content);
    const MEMAREA_PTR area(MEMAREA_Create());
    REPORTS reports;
    const auto ask = [](void* pContext, const char* sTitle, u64* pAddr) {
      EXPECT_EQ(*static_cast<int*>(pContext), 77);
      EXPECT_STREQ(sTitle, "Unknown file type, assuming .bin file.");
      *pAddr = 0x900;
      return 0;
    };
    int context = 77;
    EXPECT_EQ(DATAFILE_Load(area.get(), REPORTS::Add, &reports, name.c_str(), 0x700, ask, &context),
              row.Result)
        << row.sName;
    EXPECT_EQ(Dump(area.get()), row.sDump) << row.sName;
    std::string report = row.sReport;
    if (const auto pos = report.find('@'); pos != std::string::npos) {
      report.replace(pos, 1, name);
    }
    EXPECT_EQ(reports.Text, report) << row.sName;
  }
}

TEST(DataFile, RefusedAddressAndMissingFile) {
  const TempDir dir;
  WriteFile(dir / "any", "ab");
  const auto refuse = [](void*, const char*, u64*) { return 1; };
  const MEMAREA_PTR area(MEMAREA_Create());
  for (const char* name : {"any", "none"}) {
    REPORTS reports;
    EXPECT_EQ(
        DATAFILE_Load(area.get(), REPORTS::Add, &reports, (dir / name).c_str(), 0, refuse, nullptr),
        -1);
    EXPECT_EQ(reports.Text.substr(0, 5), *name == 'a' ? "2:No " : "2:Cou");
    EXPECT_EQ(Dump(area.get()), "");
  }
}

TEST(DataFile, SavesByExtension) {
  const ROW rows[] = {
      {"a.hex", ":01001100 22CC:00000001FF", 0, "", ""},
      {"a.BIN", "\x22", 0, "", ""},
      {"a.s37", "S104001122C8 S9030000FC", 0, "", ""},
      {"a.txt", "@10FF 22q", 0, "", ""},
      {"a.mcs", "", -1, "", "2:Unsupported file type (*.mcs)|"},
      {"a.elf", "", -1, "", "2:Unsupported file type (*.elf)|"},
      {"a.xyz", "", -1, "", "2:Unsupported file type (*.xyz)|"},
      {"a", "", -1, "", "2:Unsupported file type (*)|"},
  };
  const TempDir dir;
  for (const ROW& row : rows) {
    const MEMAREA_PTR area = MakeArea({{0x11, {0x22}}});
    REPORTS reports;
    const std::string name = dir / row.sName;
    EXPECT_EQ(DATAFILE_Save(area.get(), REPORTS::Add, &reports, name.c_str(), 0x11, 0x20),
              row.Result);
    EXPECT_EQ(reports.Text, row.sReport);
    std::string content = ReadFile(name);
    std::erase_if(content, [](char c) { return c == '\r' || c == '\n'; });
    std::string expected = row.Content;
    std::erase(expected, ' ');
    std::erase(content, ' ');
    EXPECT_EQ(content, expected);
  }
}

TEST(DataFile, FileTypes) {
  const struct {
    const char* sName;
    const char* sFilter;
    bool Known, Openable, HasRange;
  } rows[] = {
      {"x/a.KORVANE", "Korvane project files (*.korvane)", true, true, false},
      {"a.srec", "Motorola S file (*.srec)", true, true, false},
      {"a.mcs", "Intel MCS-86 Hex file (*.mcs)", true, true, false},
      {"a.RAW", "Binary file (*.raw)", true, true, true},
      {"a.c", "ANSI \"C\" file (*.c)", true, false, true},
      {"a.out", nullptr, true, true, false},
      {"x.y/a", nullptr, true, true, false},
      {"a.xyz", nullptr, false, false, false},
  };
  for (const auto& row : rows) {
    EXPECT_STREQ(APP_GetSaveFilter(row.sName), row.sFilter);
    EXPECT_EQ(APP_FindFileType(row.sName) != nullptr, row.Known) << row.sName;
    EXPECT_EQ(APP_CanOpenExt(row.sName), row.Openable);
    EXPECT_EQ(DATAFILE_HasRange(row.sName), row.HasRange);
  }
}

}  // namespace
