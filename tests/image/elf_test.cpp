#include <unistd.h>

#include <cstring>
#include <random>

#include "image/elf_impl.h"
#include "image/elf_segments.h"
#include "tests/image/elf_builder.h"
#include "tests/image/image_test.h"

namespace {

using SECTIONS = std::vector<ELF_TEST_SECTION>;
using SEGMENTS = std::vector<ELF_TEST_SEGMENT>;

const u8* Bytes(const std::string& text) {
  return reinterpret_cast<const u8*>(text.data());
}

// What the parser says, errors as "E:text|", warnings and information likewise.
struct ELF_LOG {
  std::string Text;
  ELF_REPORT_FUNCS Funcs = {Add<'E'>, Add<'W'>, Add<'I'>, this};

  template <char Kind>
  static void Add(void* pContext, const char* sText) {
    static_cast<ELF_LOG*>(pContext)->Text += std::string(1, Kind) + ":" + sText + "|";
  }
  bool Has(const std::string& Line) const { return ("|" + Text).find("|" + Line + "|") + 1 != 0; }
};

struct LOAD_ROW {
  const char* sName;
  SECTIONS Sections;
  SEGMENTS Segments;
  int Result;
  const char* sDump;
  const char* sReport;  // behind the first line
};

TEST(ElfLoad, Images) {
  const LOAD_ROW rows[] = {
      {"stored where it is loaded",
       {{".data", 0x20000000, "ab"}},
       {{0x20000000, 0x8000000, 2, 2}},
       0,
       "8000000:6162",
       "0:Reading data range 0x8000000 - 0x8000002...|"},
      {"no load addresses",
       {{".data", 0x20000000, "ab"}},
       {{0x20000000, 0, 2, 2}},
       0,
       "20000000:6162",
       "0:Reading data range 0x20000000 - 0x20000002...|"},
      {"load address 0 beside another",
       {{".data", 0x20000010, "ab"}},
       {{0x20000000, 0, 0x12, 0x12}, {0x90, 0x100, 4, 4}},
       0,
       "10:6162",
       "0:Reading data range 0x10 - 0x12...|"},
      {"no segment",
       {{".text", 0x1000, "a"}, {".odd", 0x3000, "b"}},
       {{0x1000, 0x5000, 1, 1}},
       0,
       "3000:62 5000:61",
       "1:No segment found for section '.odd' (VAddr = 0x3000, Size = 0x1). Assuming PAddr == "
       "VAddr.|0:Reading data range 0x5000 - 0x5001...|0:Reading data range 0x3000 - 0x3001...|"},
      {"segment without bytes in the file",
       {{".text", 0x1000, "a"}},
       {{0x1000, 0x5000, 0, 1}, {0, 0x6000, 0, 0}},
       0,
       "1000:61",
       "1:No segment found for section '.text' (VAddr = 0x1000, Size = 0x1). Assuming PAddr == "
       "VAddr.|0:Reading data range 0x1000 - 0x1001...|"},
      {"last match wins",
       {{".text", 0x1000, "a"}},
       {{0x1000, 0x5000, 1, 1}, {0x0F00, 0x6000, 1, 0x200}, {0x2000, 0x7000, 1, 1}},
       0,
       "6100:61",
       "0:Reading data range 0x6100 - 0x6101...|"},
      {"neighbours join",
       {{".a", 0x1000, "a"}, {".b", 0x1001, "b"}},
       {{0x1000, 0x1000, 2, 2}},
       0,
       "1000:6162",
       "0:Reading data range 0x1000 - 0x1002...|"},
      {"gap in the file",
       {{".a", 0x1000, "a"}, {".b", 0x1001, "b", 1, 2, 0, true}},
       {{0x1000, 0x1000, 2, 2}},
       0,
       "1000:6162",
       "0:Reading data range 0x1000 - 0x1001...|0:Reading data range 0x1001 - 0x1002...|"},
      {"left out",
       {{".bss", 0x1000, "abc", 8},
        {".comment", 0x1000, "c", 1, 0},
        {".null", 0x1000, "n", 0},
        {".none", 0x1000, ""}},
       {{0x1000, 0x1000, 2, 2}},
       0,
       "",
       ""},
      {"no program headers", {{".text", 0x1000, "a"}}, {}, 0, "", ""},
      {"one place for two",
       {{".a", 0x1000, "a"}, {".b", 0x2000, "b"}},
       {{0x1000, 0x50, 1, 1}, {0x2000, 0x50, 1, 1}},
       -1,
       "50:61",
       "0:Reading data range 0x50 - 0x51...|0:Reading data range 0x50 - 0x51...|"
       "2:Failed to create memory area for ELF file!|"},
  };
  const TempDir dir;
  const std::string name = dir / "a.elf";
  for (const LOAD_ROW& row : rows) {
    for (int kind = 0; kind < 4; ++kind) {
      WriteFile(name,
                MakeElf(kind % 2 != 0, row.Sections, row.Segments, {{"data", kind < 2 ? 1U : 2U}}));
      const MEMAREA_PTR area(MEMAREA_Create());
      REPORTS reports;
      EXPECT_EQ(MEMAREA_LoadElf(area.get(), name.c_str(), REPORTS::Add, &reports), row.Result);
      EXPECT_EQ(Dump(area.get()), row.sDump) << row.sName;
      EXPECT_EQ(reports.Text, std::string("0:Parsing ELF file...|") + row.sReport) << row.sName;
      EXPECT_EQ(MEMAREA_GetNumChanges(area.get()), 0U);
    }
  }
}

TEST(ElfLoad, AddressesBeyond32BitsAreCutAndTold) {
  const TempDir dir;
  const std::string name = dir / "a.elf";
  WriteFile(name, MakeElf(true, {{".text", 0xFFFFFFFF80000000, "a"}},
                          {{0xFFFFFFFF80000000, 0xFFFFFFFF80000000, 1, 1}}));
  const MEMAREA_PTR area(MEMAREA_Create());
  REPORTS reports;
  EXPECT_EQ(MEMAREA_LoadElf(area.get(), name.c_str(), REPORTS::Add, &reports), 0);
  EXPECT_EQ(Dump(area.get()), "80000000:61");
  EXPECT_NE(reports.Text.find("1:Address 0xFFFFFFFF80000000 is beyond the 32-bit range"),
            std::string::npos);
}

// The file is cut by the report of the first range.
TEST(ElfLoad, FileThatShrinksMeanwhile) {
  const TempDir dir;
  const std::string name = dir / "a.elf";
  WriteFile(name, MakeElf(false, {{".text", 0, std::string(3000000, 'a')}}, {{0, 0, 1, 1}}));
  struct CUT : REPORTS {
    std::string Name;
  } cut;
  cut.Name = name;
  const auto report = [](void* pContext, int level, const char* sText) {
    CUT* p = static_cast<CUT*>(pContext);
    EXPECT_EQ(truncate(p->Name.c_str(), 2000000), 0);
    REPORTS::Add(static_cast<REPORTS*>(p), level, sText);
  };
  const MEMAREA_PTR area(MEMAREA_Create());
  EXPECT_EQ(MEMAREA_LoadElf(area.get(), name.c_str(), report, &cut), -1);
  EXPECT_EQ(cut.Text, "0:Parsing ELF file...|2:Failed to read ELF file [" + name +
                          "].\nInvalid ELF file. The section table lies outside of the file.|");
  WriteFile(name, MakeElf(false, {{".text", 0, std::string(3000000, 'a')}}, {{0, 0, 1, 1}}));
  const ELF_PTR elf(ELF_Open(name.c_str(), nullptr));
  EXPECT_EQ(truncate(name.c_str(), 2000000), 0);
  std::vector<u8> data(3000000);
  EXPECT_EQ(ELF_GetRangeData(elf.get(), std::vector<ELF_RANGE>(1).data(), data.data(), 3000000),
            -1);
}

struct REFUSAL_ROW {
  ELF_TEST_FIELD Field;
  const char* sError;
};

TEST(ElfOpen, HeadersThatLie) {
  const REFUSAL_ROW rows[] = {
      {{"class", 3}, "Invalid ELF file. Unsupported ELF class field value: 3"},
      {{"data", 0}, "Invalid endianess of ELF file"},
      {{"ident", 2}, "Invalid ELF file. Invalid ELF header version number (2)"},
      {{"e_type", 5}, "Invalid ELF file. Invalid ELF file type."},
      {{"e_version", 0}, "Invalid ELF file. Invalid object file version."},
      {{"e_shentsize", 41}, "SectionEntrySize (41) does not match size of internal struct (#)"},
      {{"e_phentsize", 33}, "ProgramEntrySize (33) does not match size of internal struct (@)"},
      {{"e_phoff", 0}, "Invalid ELF file. The program header table is missing."},
      {{"e_phoff", 0xFFFFFFF0},
       "Invalid ELF file. The program header table lies outside of the "
       "file."},
      {{"e_phnum", 0xFFFF}, "Invalid ELF file. The program header table lies outside of the file."},
      {{"e_shoff", 0xFFFFFFF0}, "Invalid ELF file. The section table lies outside of the file."},
      {{"e_shnum", 0xFFFF}, "Invalid ELF file. The section table lies outside of the file."},
      {{"e_shstrndx", 9}, "Invalid ELF file. There is no section 9 for the section names."},
  };
  for (const bool isElf64 : {false, true}) {
    for (const REFUSAL_ROW& row : rows) {
      const std::string file = MakeElf(isElf64, {{".text", 0, "a"}}, {{0, 0, 1, 1}}, {row.Field});
      ELF_LOG log;
      EXPECT_EQ(ELF_OpenMemory(Bytes(file), file.size(), &log.Funcs), nullptr);
      std::string error = row.sError;
      if (error.back() == ')' && row.Field.Name.ends_with("entsize")) {
        error.replace(error.size() - 2, 1,
                      error[0] == 'S' ? (isElf64 ? "64" : "40") : (isElf64 ? "56" : "32"));
      }
      EXPECT_TRUE(log.Has("E:" + error)) << row.sError << "\n" << log.Text;
    }
  }
}

TEST(ElfOpen, SectionsThatLie) {
  // In a file of one section, offsets of fields within its header, which is the second of three.
  const auto patch = [](std::string file, bool isElf64, std::size_t field, char value) {
    const std::size_t size = isElf64 ? 64 : 40;
    file[file.size() - 2 * size + (isElf64 && field >= 12 ? 16 + 2 * (field - 12) : field)] = value;
    return file;
  };
  for (const bool isElf64 : {false, true}) {
    const std::string good = MakeElf(isElf64, {{".text", 0x10, "a"}}, {{0, 0, 0x20, 0x20}});
    const std::string huge = patch(good, isElf64, 22, 1);          // sh_size | 10000
    const std::string outside = patch(good, isElf64, 18, '\x7F');  // sh_offset | 7F0000
    const std::string symbols = patch(good, isElf64, 4, 2);        // sh_type
    for (const std::string& file : {huge, outside}) {
      ELF_LOG log;
      EXPECT_EQ(ELF_OpenMemory(Bytes(file), file.size(), &log.Funcs), nullptr);
      EXPECT_TRUE(log.Has("E:Invalid ELF file. Section '.text' lies outside of the file."))
          << log.Text;
    }
    ELF_LOG log;
    EXPECT_EQ(ELF_OpenMemory(Bytes(symbols), symbols.size(), &log.Funcs), nullptr);
    EXPECT_TRUE(log.Has(std::string("E:SymTblEntrySize (0) does not match size of internal "
                                    "struct (") +
                        (isElf64 ? "24)" : "16)")));
  }
  // Two sections that both claim nearly the whole file.
  std::string file =
      MakeElf(false, {{".a", 0, std::string(4000, 'a')}, {".b", 0x9000, "bcde"}}, {{0, 0, 1, 1}});
  const std::size_t table = file.size() - 4 * 40;
  file.replace(table + 80 + 16, 8, file, table + 40 + 16, 8);
  ELF_LOG log;
  EXPECT_EQ(ELF_OpenMemory(Bytes(file), file.size(), &log.Funcs), nullptr);
  EXPECT_TRUE(log.Has("E:Invalid ELF file. Section '.b' lies outside of the file.")) << log.Text;
}

TEST(ElfOpen, CutAnywhere) {
  const std::string file = MakeElf(
      true, {{".text", 0, "ab"}, {".symtab", 0, std::string(48, 0), 2, 0, 24}}, {{0, 0, 2, 2}});
  for (std::size_t size = 0; size < file.size(); ++size) {
    const std::string cut = file.substr(0, size);
    ELF_LOG log;
    EXPECT_EQ(ELF_OpenMemory(Bytes(cut), cut.size(), &log.Funcs), nullptr) << size;
    EXPECT_NE(log.Text.find("E:"), std::string::npos);
  }
  EXPECT_NE(ELF_PTR(ELF_OpenMemory(Bytes(file), file.size(), nullptr)), nullptr);
}

TEST(ElfOpen, Information) {
  const std::string file = MakeElf(false,
                                   {{".a", 0x10, "a"},
                                    {".b", 0x11, "b"},
                                    {".strtab", 0, "s", 1, 0},
                                    {".symtab", 0, std::string(32, 0), 2, 0, 16},
                                    {".c", 0x20, "c"}},
                                   {{0, 0, 0x40, 0x40}});
  ELF_LOG log;
  const ELF_PTR elf(ELF_OpenMemory(Bytes(file), file.size(), &log.Funcs));
  ASSERT_NE(elf, nullptr);
  EXPECT_EQ(elf->NumSymbols, 2U);
  EXPECT_EQ(log.Text,
            "I:pHeader->e_ident[4] = ELF32 ELF file|I:pHeader->e_ident[5] = Little endian ELF file|"
            "I:pHeader->e_type = 2|I:pHeader->e_version = 1|"
            "I:pHeader->e_shnum (NumSections) = 7|"
            "I:pHeader->e_shentsize (SectionHeaderEntrySize) = 40|"
            "I:pHeader->e_shoff (SectionTableOff) = 0x9C|"
            "I:pHeader->e_phnum (NumProgramHeaders) = 1|"
            "I:pHeader->e_phentsize (SectionHeaderEntrySize) = 32|"
            "I:pHeader->e_phoff (ProgramHeaderTableOff) = 0x34|"
            "I:Symbol table found: iSection = 4, Off = 0x57|"
            "I:Symbol string table (.strtab) found: iSection = 3, Off = 0x56|"
            "I:Started AppImg range collection: VAddr = 0x00000010, NumBytes = 0x00000001|"
            "I:Merged to AppImg range collection: VAddr = 0x00000011, NumBytes = 0x00000001|"
            "I:Flushed AppImg range collection: VAddr = 0x00000010, NumBytes = 0x00000002|"
            "I:Started AppImg range collection: VAddr = 0x00000020, NumBytes = 0x00000001|"
            "I:Flushed AppImg range collection: VAddr = 0x00000020, NumBytes = 0x00000001|");
  const std::string bare =
      MakeElf(false, {{".a", 0x10, "a"}}, {{0, 0, 0x40, 0x40}}, {{"e_shnum", 0}});
  ELF_LOG bareLog;
  const ELF_PTR noSections(ELF_OpenMemory(Bytes(bare), bare.size(), &bareLog.Funcs));
  EXPECT_EQ(ELF_GetRanges(noSections.get(), nullptr, 0), 0);
  EXPECT_TRUE(bareLog.Has("I:No section table found => No symbol table present"));
  EXPECT_TRUE(bareLog.Has("I:No section table found => No symbol string table present"));
}

TEST(ElfRanges, RecordsAndData) {
  SECTIONS sections;
  for (u64 i = 0; i < 7; ++i) {
    sections.push_back({".s", 0x100 * i, std::string(1 + i, static_cast<char>('a' + i))});
  }
  const std::string file = MakeElf(false, sections, {{0, 0x8000, 0x1000, 0x1000}});
  ELF_PTR elf(ELF_OpenMemory(Bytes(file), file.size(), nullptr));
  ELF_RANGE records[3];
  EXPECT_EQ(ELF_GetRanges(elf.get(), records, 2), 7);
  EXPECT_EQ(records[1].PAddr, 0x8100U);
  EXPECT_EQ(records[1].NumBytes, 2U);
  EXPECT_EQ(records[2].PAddr, 0U);
  u8 data[8] = "-------";
  records[2].Index = 6;
  EXPECT_EQ(ELF_GetRangeData(elf.get(), &records[2], data, 3), 0);
  EXPECT_STREQ(reinterpret_cast<char*>(data), "ggg----");
  records[2].Index = 7;
  EXPECT_EQ(ELF_GetRangeData(elf.get(), &records[2], data, 3), -1);
  EXPECT_EQ(ELF_GetRangeData(elf.get(), records, nullptr, 3), -2);
  EXPECT_EQ(ELF_GetRangeData(nullptr, records, data, 3), -2);
  EXPECT_EQ(ELF_GetRanges(nullptr, records, 1), -2);
  elf->Magic = 1;
  EXPECT_EQ(ELF_GetRanges(elf.get(), records, 1), -2);
  EXPECT_EQ(ELF_Close(elf.get()), -2);
  elf->Magic = ELF_MAGIC;
  // A caller that knows a shorter record.
  u64 shorter[2][2] = {};
  ELF_RANGE old;
  old.SizeOfStruct = sizeof(shorter[0]);
  std::memcpy(shorter, &old, sizeof(shorter[0]));
  EXPECT_EQ(ELF_GetRanges(elf.get(), reinterpret_cast<ELF_RANGE*>(shorter), 2), 7);
  EXPECT_EQ(shorter[1][1], 0x100U);
}

// Against the rule itself: all segments are looked at, the last match wins.
TEST(ElfSegmentIndex, EqualsTheSimpleRule) {
  std::mt19937_64 random(5);
  for (int round = 0; round < 300; ++round) {
    const u64 base = round % 3 == 0 ? ~u64{0} - 60 : 0;
    std::vector<ELF_SEGMENT> segments(random() % 12);
    for (ELF_SEGMENT& segment : segments) {
      segment = {base + random() % 60, 0, random() % 4, random() % 20};
    }
    const ElfSegmentIndex index(segments);
    for (u64 offset = 0; offset < 60; ++offset) {
      const u64 addr = base + offset;
      const u64 size = 1 + random() % 10;
      const u64 last = size - 1 > ~addr ? ~u64{0} : addr + size - 1;
      int expected = -1;
      for (std::size_t i = 0; i < segments.size(); ++i) {
        const ELF_SEGMENT& s = segments[i];
        const u64 segmentLast = s.p_memsz - 1 > ~s.p_vaddr ? ~u64{0} : s.p_vaddr + s.p_memsz - 1;
        if (s.p_filesz != 0 && s.p_memsz != 0 && s.p_vaddr <= last && segmentLast >= addr) {
          expected = static_cast<int>(i);
        }
      }
      ASSERT_EQ(index.Find(addr, size), expected);
    }
  }
}

}  // namespace
