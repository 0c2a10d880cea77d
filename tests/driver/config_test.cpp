#include "driver/core/config.h"

#include "tests/driver/probe_fixture.h"

namespace {

constexpr const char* kHead = "[Probe0]\nBackend = sim\nChip = W25Q128FV\n";

struct Flaw {
  const char* sText;  // behind the head, whose last line is the third
  const char* sError;
};

TEST(ConfigTest, NamesFileLineAndReason) {
  const Flaw flaws[] = {
      {"Colour = red", "v.ini:4: unknown key \"Colour\"."},
      {"Colour", "v.ini:4: expected KEY = VALUE, found \"Colour\"."},
      {"\n\nSerialNumber = 12x", "v.ini:6: \"12x\" is not a number from 0 to 2147483647."},
      {"SerialNumber = 99999999999",
       "v.ini:4: \"99999999999\" is not a number from 0 to 2147483647."},
      {"SerialNumber =", "v.ini:4: \"\" is not a number from 0 to 2147483647."},
      {"Host=a\nhost=b", "v.ini:5: key \"host\" stands twice in section [Probe0]."},
      {"[Probe0]", "v.ini:4: section [Probe0] stands in line 1 already."},
      {"[Probe]", "v.ini:4: \"[Probe]\" is not a section [Probe0] to [Probe99]."},
      {"[Probe100]", "v.ini:4: \"[Probe100]\" is not a section [Probe0] to [Probe99]."},
      {"[Probe1]\nBackend = sim", "v.ini:4: section [Probe1] names no Chip."},
      {"[Probe1]\nChip = AT25080", "v.ini:4: section [Probe1] names no Backend."},
      {"[Probe1]\nBackend = serprog\nAddress = 127.0.0.1:5111",
       "v.ini:5: unknown or unsupported backend \"serprog\"."},
      {"[Probe1]\nBackend=sim\nChip = W25Q", "v.ini:6: unknown chip \"W25Q\"."},
      {"Address = /dev/ttyACM0", "v.ini:4: unknown key \"Address\"."},
      {"Time = fast", "v.ini:4: Time is virtual or real, not \"fast\"."},
      {"Interfaces = 5,7", "v.ini:4: interface 7 is neither 5 (SPI) nor 14 (QSPI)."},
      {"Capabilities = 26,,54", "v.ini:4: \"\" is not a number from 0 to 255."},
      {"Nickname = 12345678901234567890123456789012", "v.ini:4: a nickname has at most 31 bytes."},
      {"Fault = disconnect", "v.ini:4: malformed fault \"disconnect\", expected disconnect@N."},
      {"Fault = nak@0", "v.ini:4: malformed fault \"nak@0\", expected nak@N."},
      {"Fault = slow=0", "v.ini:4: malformed fault \"slow=0\", expected slow=FACTOR."},
      {"Fault = flip=1:8", "v.ini:4: malformed fault \"flip=1:8\", expected flip=ADDR:BIT."},
      {"Fault = id=EF 40 1G", "v.ini:4: malformed fault \"id=EF 40 1G\", expected id=XX XX XX."},
      {"Fault = slow=2, melt", "v.ini:4: unknown fault \"melt\"."},
      {"Fault = stuck=0x1000000:0", "v.ini:4: fault address 0x1000000 lies beyond the chip."},
      {"Fault = listing=x@1",
       "v.ini:4: malformed fault \"listing=x@1\", expected listing=VALUE@N."},
      {"FileSystemKiB = 1048577", "v.ini:4: \"1048577\" is not a number from 0 to 1048576."},
      {"Modules = 25", "v.ini:4: \"25\" is not a number from 1 to 24."},
      {"Modules = 4",
       "v.ini:1: section [Probe0] has Modules, but ProductId 1 is not that of a gang programmer."},
      {"ProductId = 27\nModules = 4\nDeadModules = 2,5",
       "v.ini:1: section [Probe0] has no module 5 that could be dead."},
      {"ListingExtra = a, \\y",
       "v.ini:4: \"\\y\" is not a name of 1 to 256 bytes with \\xNN and \\\\ in it."},
      {"ListingExtra = a,,b",
       "v.ini:4: \"\" is not a name of 1 to 256 bytes with \\xNN and \\\\ in it."},
      {"SerialNumber=7\n[Probe1]\nBackend=sim\nChip=AT25080\nSerialNumber=7",
       "v.ini:5: [Probe1] has the serial number of [Probe0]."},
  };
  for (const Flaw& flaw : flaws) {
    vortic::Config config;
    std::string error;
    EXPECT_FALSE(vortic::ParseConfig(std::string(kHead) + flaw.sText, "v.ini", &config, &error));
    EXPECT_EQ(error, flaw.sError);
  }
}

TEST(ConfigTest, RefusesWhatIsNoText) {
  vortic::Config config;
  std::string error;
  EXPECT_FALSE(vortic::ParseConfig("Chip = x", "v.ini", &config, &error));
  EXPECT_EQ(error, "v.ini:1: a key stands before the first section.");
  const std::string nul = std::string(kHead) + "Host = a" + std::string(1, '\0') + "b";
  EXPECT_FALSE(vortic::ParseConfig(nul, "v.ini", &config, &error));
  EXPECT_EQ(error, "v.ini:4: the line holds a NUL byte.");
  EXPECT_FALSE(vortic::ParseConfig(std::string(100000, 'x'), "v.ini", &config, &error));
  EXPECT_LT(error.size(), 200u);
}

TEST(ConfigTest, ReadsEveryKey) {
  const std::string text =
      "\xEF\xBB\xBF; board of the bench\r\n[probe2]\r\nbackend=sim ; the only one\r\n"
      "SerialNumber=20260001\nNickname = Bench \nHost=bench.local\nProductId=30\n"
      "HardwareVersion=51200\nCapabilities=26, 54,72\nTargetMilliVolts=0x708\nChip=m95m01\n"
      "ImageFile=a b.bin\nFileSystem=/abs/fs\nTime=real\nCallLatencyUs=7\nInterfaces=5\n"
      "Fault=disconnect@9, timeout@2,timeout@3,flip=0x10:7,busy=forever@4, power=900@5,\\\n";
  vortic::Config config;
  std::string error;
  EXPECT_FALSE(vortic::ParseConfig(text, "/d/v.ini", &config, &error));
  EXPECT_EQ(error, "/d/v.ini:17: unknown fault \"\\\".");
  ASSERT_TRUE(vortic::ParseConfig(text.substr(0, text.size() - 3) + ",id=00 00 00\n", "/d/v.ini",
                                  &config, &error))
      << error;
  ASSERT_EQ(config.Probes.size(), 1u);
  const vortic::ProbeConfig& probe = config.Probes[0];
  EXPECT_EQ(probe.Index, 2u);
  EXPECT_EQ(probe.Nickname, "Bench");
  EXPECT_EQ(probe.TargetMilliVolts, 1800u);
  EXPECT_EQ(probe.Chip, "M95M01");
  EXPECT_EQ(probe.ImageFile, "/d/a b.bin");
  EXPECT_EQ(probe.FileSystem, "/abs/fs");
  EXPECT_EQ(probe.Capabilities, (std::vector<i32>{26, 54, 72}));
  EXPECT_EQ(probe.InterfaceMask, 1u << 5);
  EXPECT_TRUE(probe.RealTime);
  EXPECT_EQ(probe.CallLatencyNs, 7000u);
  EXPECT_EQ(probe.Faults.TimeoutAt, (std::vector<u64>{2, 3}));
  EXPECT_EQ(probe.Faults.PowerMilliVolts, 900u);
  EXPECT_EQ(probe.Faults.Id, (std::vector<u8>{0, 0, 0}));
}

using ConfigFileTest = ProbeFixture;

TEST_F(ConfigFileTest, SaysWhereItLooked) {
  EXPECT_EQ(VORTICARM_OpenEx(nullptr, nullptr), "Could not read the probe configuration \"" +
                                                    Path("Vortic.ini") +
                                                    "\": No such file or directory.");
  ASSERT_EQ(unsetenv("VORTIC_CONFIG"), 0);
  ASSERT_EQ(setenv("XDG_CONFIG_HOME", Path("xdg").c_str(), 1), 0);
  const std::string text = VORTICARM_OpenEx(nullptr, nullptr);
  EXPECT_NE(text.find(Path("xdg/TARVEX/Vortic.ini")), std::string::npos) << text;
  std::filesystem::create_directories(Path("xdg/TARVEX"));
  WriteFile("xdg/TARVEX/Vortic.ini", kHead);
  EXPECT_EQ(VORTICARM_OpenEx(nullptr, nullptr), nullptr);
  unsetenv("XDG_CONFIG_HOME");
}

TEST_F(ConfigFileTest, RefusesWhatIsTooLargeOrNoFile) {
  WriteFile("Vortic.ini", std::string((1 << 20) + 1, '\n'));
  EXPECT_EQ(VORTICARM_OpenEx(nullptr, nullptr), "Could not read the probe configuration \"" +
                                                    Path("Vortic.ini") +
                                                    "\": the file is larger than 1 MiB.");
  std::filesystem::remove(Path("Vortic.ini"));
  std::filesystem::create_directory(Path("Vortic.ini"));
  EXPECT_NE(VORTICARM_OpenEx(nullptr, nullptr), nullptr);
}

}  // namespace
