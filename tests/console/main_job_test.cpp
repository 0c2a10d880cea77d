// One real production step from a shell: files of a real cross compiler, a chip, and what goes
// wrong.
#include <gtest/gtest.h>

#include "sys/types.h"
#include "tests/console/program.h"

namespace {

// Code, data whose load address differs from its run address, and a hole between them.
constexpr char kSource[] =
    "extern char aTable[];\n"
    "__attribute__((section(\".vectors\"))) void* aVectors[] = {aTable, aTable + 4};\n"
    "__attribute__((section(\".moved\"))) char aTable[777] = \"moved\";\n"
    "__attribute__((section(\".far\"))) const char aFar[] = \"behind a hole\";\n"
    "int Add(int a, int b) { return a + b; }\n"
    "void _start(void) { aTable[1] = (char)Add(1, 2); }\n";
constexpr char kScript[] =
    "MEMORY { FLASH (rx) : ORIGIN = 0, LENGTH = 1M  RAM (rw) : ORIGIN = 0x20000000, LENGTH = 64K "
    "}\n"
    "SECTIONS {\n"
    "  .vectors 0x100 : { KEEP(*(.vectors)) } > FLASH\n"
    "  .text : { *(.text*) } > FLASH\n"
    "  .moved : { KEEP(*(.moved)) } > RAM AT > FLASH\n"
    "  .far 0x12345 : { KEEP(*(.far)) } > FLASH\n"
    "  /DISCARD/ : { *(.ARM*) *(.comment) *(.note*) }\n"
    "}\n";

TEST(MainJob, LinkedProgramReachesTheChipAndComesBack) {
  if (!HasTool("arm-none-eabi-gcc")) {
    GTEST_SKIP() << "no cross compiler";
  }
  BENCH bench;
  bench.Write("f.c", kSource);
  bench.Write("f.ld", kScript);
  const PROGRAM_RESULT built =
      bench.RunTool({"arm-none-eabi-gcc", "-mcpu=cortex-m3", "-mthumb", "-nostdlib",
                     "-Wl,--build-id=none", "-Tf.ld", "f.c", "-o", "f.elf"});
  ASSERT_EQ(built.Status, 0) << built.Err;
  ASSERT_EQ(bench.RunTool({"arm-none-eabi-objcopy", "-O", "ihex", "f.elf", "f.hex"}).Status, 0);
  ASSERT_EQ(bench
                .RunTool({"arm-none-eabi-objcopy", "-O", "binary", "--gap-fill", "0xff", "f.elf",
                          "f.bin"})
                .Status,
            0);
  const std::string judge = std::string(0x100, '\xff') + bench.Read("f.bin");
  char acEnd[16];
  std::snprintf(acEnd, sizeof acEnd, "%zx", judge.size() - 1);

  bench.Write("p.korvane", "[FLASH]\r\n  AutoDetect = 1\r\n");
  const PROGRAM_RESULT result =
      bench.Run({"-openprjp.korvane", "-openf.hex", "-erasechip", "-programverify", "-readchip",
                 std::string("-saveasback.bin,0,") + acEnd, "-exit"});
  EXPECT_EQ(result.Status, 0) << result.Out;
  EXPECT_EQ(bench.Read("back.bin"), judge);
  const std::string chip = bench.Read("chip.bin");
  ASSERT_EQ(chip.size(), 16u << 20);
  EXPECT_EQ(chip.substr(0, judge.size()), judge);
  EXPECT_EQ(chip.find_first_not_of('\xff', judge.size()), std::string::npos);
  EXPECT_NE(result.Out.find("SIMULATED"), std::string::npos);
}

std::string MakeHex(u32 numBytes) {
  std::string hex;
  for (u32 addr = 0; addr < numBytes; addr += 16) {
    if (addr % 0x10000 == 0) {
      char acBase[32];
      std::snprintf(acBase, sizeof acBase, ":02000004%04X%02X\n", addr >> 16,
                    static_cast<u8>(-(6 + (addr >> 16) + (addr >> 24))));
      hex += acBase;
    }
    char acRecord[64];
    u32 sum = 16 + (addr >> 8 & 0xFF) + (addr & 0xFF);
    int used = std::snprintf(acRecord, sizeof acRecord, ":10%04X00", addr & 0xFFFF);
    for (u32 i = 0; i < 16; ++i) {
      const u8 value = static_cast<u8>((addr + i) * 167 >> 3);
      sum += value;
      used +=
          std::snprintf(acRecord + used, sizeof acRecord - static_cast<u32>(used), "%02X", value);
    }
    std::snprintf(acRecord + used, sizeof acRecord - static_cast<u32>(used), "%02X\n",
                  static_cast<u8>(-sum));
    hex += acRecord;
  }
  return hex + ":00000001FF\n";
}

const std::vector<std::string> kWholeJob = {
    "-openprjp.korvane", "-opena.hex",      "-erasechip", "-programverify",
    "-readrange0,FFFF",  "-saveasback.bin", "-exit"};

struct FAULT_ROW {
  const char* sFault;
  const char* sSays;
};

// Every fault of the link, wherever it strikes, ends the run with a cause; the next one succeeds.
TEST(MainJob, FaultsEndTheRunWithACauseAndTheNextRunSucceeds) {
  const FAULT_ROW aRows[] = {
      {"disconnect@1", "lost"},
      {"disconnect@4", "lost"},
      {"disconnect@9", "lost"},
      {"disconnect@20", "lost"},
      {"disconnect@40", "lost"},
      {"disconnect@55", "lost"},
      {"timeout@5", "in time"},
      {"timeout@20", "in time"},
      {"timeout@45", "in time"},
      {"nak@5", "refused"},
      {"nak@20", "refused"},
      {"nak@50", "refused"},
      {"busy=forever@12", "timeout occurred"},
      {"busy=forever@46", "timeout occurred"},
      {"power=999@1", "Target system has no power"},
      {"id=00 00 00", "Failed to auto-detect SPI Flash."},
      {"stuck=0x101:0", " failed @ address 0x00000101"},
      {"flip=0x8000:3", "Erasing failed @ address 0x00008000 (Read: 0xF7, Expected: 0xFF)"},
      {"cutpower@45", "ERROR: "},
  };
  BENCH bench;
  bench.Write("a.hex", MakeHex(0x10000));
  // Short limits, so that a chip that is busy for ever is given up soon.
  bench.Write("p.korvane",
              "[PRODUCTION]\r\n  OverrideTimeouts = 1\r\n  TimeoutEraseSect = 200\r\n"
              "  TimeoutEraseChip = 200\r\n  TimeoutProgPage = 200\r\n  TimeoutVerify = 200\r\n");
  for (const char* sFunctions : {"", "45,72"}) {  // with fast mode and without
    for (const FAULT_ROW& row : aRows) {
      SCOPED_TRACE(std::string(row.sFault) + " without functions " + sFunctions);
      std::map<std::string, std::string> keys = {{"Fault", row.sFault}};
      if (*sFunctions != '\0') {
        keys["DisableFunctions"] = sFunctions;
      }
      bench.SetProbe(keys);
      const PROGRAM_RESULT failed = bench.Run(kWholeJob);
      EXPECT_EQ(failed.Status, 1) << failed.Out;
      EXPECT_NE(failed.Out.find(row.sSays), std::string::npos) << failed.Out;
      EXPECT_EQ(failed.Out.find("Target programmed and verified successfully."), std::string::npos)
          << failed.Out;

      keys.erase("Fault");
      bench.SetProbe(keys);
      const PROGRAM_RESULT good = bench.Run(kWholeJob);
      ASSERT_EQ(good.Status, 0) << good.Out;
      ASSERT_EQ(bench.Read("back.bin"), bench.Read("chip.bin").substr(0, 0x10000));
    }
  }
}

// In real time a megabyte takes seconds: the signal comes in the middle. Whichever it is, the probe
// is closed, and what stands behind on the line is not begun.
TEST(MainJob, SignalsCancelALongRun) {
  for (const int number : {SIGINT, SIGTERM, SIGHUP}) {
    SCOPED_TRACE(number);
    BENCH bench;
    bench.SetProbe({{"Time", "real"}});
    bench.Write("a.hex", MakeHex(0x100000));
    const PROGRAM_RESULT result =
        bench.Run({"-opena.hex", "-program", "-verify", "-exit"}, "Programming target", number);
    EXPECT_EQ(result.Status, 1) << result.Out;
    EXPECT_NE(result.Out.find("cancel"), std::string::npos) << result.Out;
    EXPECT_EQ(result.Out.find("Verif"), std::string::npos) << result.Out;
    bench.SetProbe({});
    EXPECT_EQ(bench.Run({"-connect", "-exit"}).Status, 0);  // the probe is free again
  }
}

TEST(MainJob, RefusalsNameTheirCause) {
  struct ROW {
    std::vector<std::string> Args;
    const char* sSays;
  };
  const ROW aRows[] = {
      {{"-opena.hex", "-program", "-program", "-exit"}, "Programming canceled by user"},
      {{"-opena.bin,FFFFFF", "-program", "-exit"},
       "Program (0xFFFFFF - 0x1000000) does not fit into flash chip."},
      {{"-opena.hex", "-verify", "-exit"}, "failed @ address 0x00000000"},
      {{"-opena.hex", "-saveasfull.bin", "-exit"}, "Error writing file."},
      {{"-opena.hex", "-saveasreadonly.hex", "-exit"},
       "Could not write file. File has read only attribute."},
      {{"-opena.hex", "-saveasb.mcs", "-exit"}, "Unsupported file type (*.mcs)"},
      {{"-opena.hex", "-saveprjasreadonly.korvane", "-exit"}, "File has read only attribute!"},
  };
  for (const ROW& row : aRows) {
    SCOPED_TRACE(row.sSays);
    BENCH bench;
    bench.Write("a.hex", MakeHex(0x100));
    bench.Write("a.bin", "xy");
    bench.Write("readonly.hex", "old");
    bench.Write("readonly.korvane", "old");
    ASSERT_EQ(bench.RunTool({"chmod", "444", "readonly.hex", "readonly.korvane"}).Status, 0);
    ASSERT_EQ(bench.RunTool({"ln", "-s", "/dev/full", "full.bin"}).Status, 0);
    const PROGRAM_RESULT result = bench.Run(row.Args);
    EXPECT_EQ(result.Status, 1) << result.Out;
    EXPECT_NE(result.Out.find(row.sSays), std::string::npos) << result.Out;
    EXPECT_EQ(bench.Read("readonly.hex"), "old");
    EXPECT_EQ(bench.Read("readonly.korvane"), "old");
  }
}

}  // namespace
