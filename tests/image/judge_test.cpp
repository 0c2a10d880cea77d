#include "tests/image/image_test.h"

// Files judged by other tools: what is written here they read to the same bytes, and the reverse.

namespace {

struct IMAGE_ROW {
  const char* sName;
  u64 Addr;
  u64 NumBytes;
};

// One for each address size of the S records, and the same for Intel HEX.
const IMAGE_ROW IMAGES[] = {{"a.s19", 0, 40000},
                            {"a.s28", 0x20000, 300000},
                            {"a.s37", 0x12000000, 1200000},
                            {"a.hex", 0x12000000, 1200000}};

bool Save(MEMAREA* pArea, const std::string& name) {
  return DATAFILE_Save(pArea, nullptr, nullptr, name.c_str(), 0, 0) == 0;
}

bool HasTool(const char* sTool) {
  return RunShell(std::string("which ") + sTool + " > /dev/null 2>&1");
}

std::string Load(const std::string& name) {
  const MEMAREA_PTR area(MEMAREA_Create());
  REPORTS reports;
  EXPECT_EQ(DATAFILE_Load(area.get(), REPORTS::Add, &reports, name.c_str(), 0, nullptr, nullptr), 0)
      << reports.Text;
  return Dump(area.get());
}

TEST(Judge, ObjcopyReadsAndWritesRecords) {
  if (!HasTool("objcopy")) {
    GTEST_SKIP() << "objcopy is not installed";
  }
  const TempDir dir;
  for (const IMAGE_ROW& row : IMAGES) {
    const MEMAREA_PTR area = MakeScattered(row.Addr, row.NumBytes);
    ASSERT_TRUE(Save(area.get(), dir / row.sName));
    const std::string format = std::string(row.sName).ends_with("hex") ? "ihex" : "srec";
    const std::string command = " && objcopy -I " + format + " -O ";
    ASSERT_TRUE(RunShell("cd " + dir.path() + command + "binary --gap-fill 0xFF " + row.sName +
                         " a.bin" + command + "srec " + row.sName + " b.srec" + command + "ihex " +
                         row.sName + " b.hex"));
    EXPECT_TRUE(ReadFile(dir / "a.bin") == MakeBinary(area.get())) << row.sName;
    EXPECT_TRUE(Load(dir / "b.srec") == Load(dir / "b.hex")) << row.sName;
    EXPECT_TRUE(Load(dir / "b.srec") == Dump(area.get())) << row.sName;
  }
}

TEST(Judge, SrecCatReadsAndWritesAllTextFormats) {
  if (!HasTool("srec_cat")) {
    GTEST_SKIP() << "srec_cat is not installed";
  }
  const TempDir dir;
  for (const IMAGE_ROW& row : IMAGES) {
    const MEMAREA_PTR area = MakeScattered(row.Addr, row.NumBytes, 2);
    ASSERT_TRUE(Save(area.get(), dir / row.sName) && Save(area.get(), dir / "a.txt"));
    const std::string format = std::string(row.sName).ends_with("hex") ? " -intel" : " -motorola";
    ASSERT_TRUE(
        RunShell("cd " + dir.path() + " && exec 2> /dev/null && srec_cat " + row.sName + format +
                 " -o m.hex -intel" + " && srec_cat a.txt -ti-txt -o t.hex -intel" +
                 " && srec_cat m.hex -intel -o b.srec && srec_cat m.hex -intel -o b.txt -ti-txt"))
        << row.sName;
    const std::string dump = Dump(area.get());
    for (const char* file : {"m.hex", "t.hex", "b.srec", "b.txt"}) {
      EXPECT_TRUE(Load(dir / file) == dump) << row.sName << " " << file;
    }
  }
}

TEST(Judge, CompilerReadsCSource) {
  if (!HasTool("gcc")) {
    GTEST_SKIP() << "gcc is not installed";
  }
  const TempDir dir;
  const MEMAREA_PTR area = MakeScattered(0x12000, 100000);
  ASSERT_EQ(MEMAREA_SaveC(area.get(), (dir / "the data.c").c_str(), MEMAREA_GetMinAddr(area.get()),
                          MEMAREA_GetMaxAddr(area.get()), nullptr, nullptr),
            0);
  WriteFile(
      dir / "main.c",
      "#include <stdio.h>\n#include \"the data.c\"\n"
      "int main(void) { return fwrite(_acthe_data, sizeof(_acthe_data), 1, stdout) != 1; }\n");
  ASSERT_TRUE(RunShell("cd " + dir.path() +
                       " && gcc -Wall -Werror -pedantic -o main main.c && ./main > a.bin"));
  EXPECT_TRUE(ReadFile(dir / "a.bin") == MakeBinary(area.get()));
}

// Initialised data that runs elsewhere than it is loaded, zeroed data, and a gap.
const char* const SOURCE =
    "const char text[] __attribute__((section(\".far\"))) = \"far away\";\n"
    "const int table[300] = {1, 2, 3};\n"
    "int data[77] = {4, 5, 6};\nint zeros[1000];\n"
    "int entry(int i) { return data[i] + zeros[i] + table[i] + text[i]; }\n"
    "void _start(void) { data[1] = entry(2); }\n";
const char* const SCRIPT =
    "MEMORY { F (rx) : ORIGIN = 0x08000000, LENGTH = 1M\n"
    "         R (rwx) : ORIGIN = 0x20000000, LENGTH = 64K }\n"
    "ENTRY(_start)\n"
    "SECTIONS { .text : { *(.text*) *(.rodata*) } > F\n"
    "  .far 0x08004000 : { KEEP(*(.far)) } > F\n"
    "  .data : { *(.data*) } > R AT> F\n  .bss (NOLOAD) : { *(.bss*) } > R }\n";

TEST(Judge, ElfImagesEqualThoseOfObjcopy) {
  const struct {
    const char* sPrefix;
    const char* sFlags;
  } rows[] = {
      {"arm-none-eabi-", "-mcpu=cortex-m3 -nostdlib -T link.ld"},
      {"arm-none-eabi-", "-mcpu=cortex-m3 -nostdlib -g -T link.ld"},
      {"arm-none-eabi-", "-mcpu=cortex-m3 -nostdlib -Wl,-Ttext=0x4000"},
      {"arm-none-eabi-", "-mcpu=cortex-m3 -nostdlib -s -T link.ld"},
      {"", "-nostdlib -static -no-pie -T link.ld"},
      {"", "-nostdlib -static -no-pie"},
      {"", "-nostdlib -pie -g"},
      {"", "-nostdlib -pie -s"},
  };
  const TempDir dir;
  WriteFile(dir / "a.c", SOURCE);
  WriteFile(dir / "link.ld", SCRIPT);
  int numJudged = 0;
  for (const auto& row : rows) {
    const std::string prefix = row.sPrefix;
    if (!HasTool((prefix + "gcc").c_str()) || !HasTool((prefix + "objcopy").c_str())) {
      continue;
    }
    ++numJudged;
    ASSERT_TRUE(RunShell("cd " + dir.path() + " && " + prefix + "gcc -w " + row.sFlags +
                         " -o a.elf a.c 2> /dev/null && " + prefix +
                         "objcopy -O binary --gap-fill 0xFF a.elf a.bin"))
        << prefix << row.sFlags;
    const MEMAREA_PTR area(MEMAREA_Create());
    REPORTS reports;
    ASSERT_EQ(MEMAREA_LoadElf(area.get(), (dir / "a.elf").c_str(), REPORTS::Add, &reports), 0);
    EXPECT_EQ(reports.Text.find("1:"), std::string::npos) << reports.Text;
    EXPECT_TRUE(MakeBinary(area.get()) == ReadFile(dir / "a.bin")) << prefix << row.sFlags;
  }
  if (numJudged == 0) {
    GTEST_SKIP() << "no compiler is installed";
  }
}

}  // namespace
