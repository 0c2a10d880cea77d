#include "tests/image/image_test.h"

namespace {

const std::string HEX = ":0100100011DE\r\n";

struct ROW {
  const char* sName;
  std::string Content;
  int Result;
  const char* sDump;
  const char* sReport;
};

TEST(DataFile, LoadsByExtensionOrContent) {
  const ROW rows[] = {
      {"a.hex", HEX, 0, "10:11", ""},
      {"a.HEX", HEX, 0, "10:11", ""},
      {"a.bin", "ab", 0, "700:6162", ""},
      {"a.Raw", "ab", 0, "700:6162", ""},
      {"a.MOT", "S0", -1, "", "2:Reading Motorola S files is not available yet (*.MOT)|"},
      {"a.s19", "S0", -1, "", "2:Reading Motorola S files is not available yet (*.s19)|"},
      {"a.axf", "", -1, "", "2:Reading ELF files is not available yet (*.axf)|"},
      {"a.txt", "q", -1, "", "2:Reading TI-TXT files is not available yet (*.txt)|"},
      {"a.mcs", HEX, -1, "", "2:Unsupported file type (*.mcs)|"},
      {"a.c", "", -1, "", "2:Unsupported file type (*.c)|"},
      {"a.korvane", "", -1, "", "2:Unsupported file type (*.korvane)|"},
      {"hexfile", HEX, 0, "10:11", "0:Hex file detected.|"},
      {"anything", "ab", 0, "900:6162", "0:Unknown file type, assuming .bin file.|"},
      // A try that fails half-way leaves nothing behind.
      {"nearly", HEX + "!", 0, "900:3A3031303031303030313144450D0A21",
       "0:Unknown file type, assuming .bin file.|"},
  };
  const TempDir dir;
  for (const ROW& row : rows) {
    const std::string name = dir / row.sName;
    WriteText(name, row.Content);
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
    EXPECT_EQ(reports.Text, row.sReport) << row.sName;
  }
}

TEST(DataFile, RefusedAddressAndMissingFile) {
  const TempDir dir;
  WriteText(dir / "any", "ab");
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
      {"a.s37", "", -1, "", "2:Writing Motorola S files is not available yet (*.s37)|"},
      {"a.txt", "", -1, "", "2:Writing TI-TXT files is not available yet (*.txt)|"},
      {"a.c", "", -1, "", "2:Writing C source files is not available yet (*.c)|"},
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
    std::string content = ReadText(name);
    std::erase_if(content, [](char c) { return c == '\r' || c == '\n'; });
    std::string expected = row.Content;
    std::erase(expected, ' ');
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
