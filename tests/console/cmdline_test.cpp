// The command line from a shell: what each kind of line does, says and ends with.
#include <gtest/gtest.h>
#include <unistd.h>

#include "tests/console/program.h"

namespace {

constexpr char kHex[] = ":0400100001020304E2\n:00000001FF\n";

struct LINE {
  const char* sName;
  std::vector<std::string> Args;
  int Status;
  std::vector<std::string> Says;     // all of these stand in the output
  std::vector<std::string> SaysNot;  // none of these does
};

void PrintTo(const LINE& line, std::ostream* pStream) {
  *pStream << line.sName;
}

class CommandLine : public testing::TestWithParam<LINE> {};

TEST_P(CommandLine, EndsAsItShould) {
  BENCH bench;
  bench.Write("a.hex", kHex);
  bench.Write("a.bin", std::string(100, 'x'));
  bench.Write("p.korvane", "[GENERAL]\r\n  USBPort = 0\r\n");
  bench.Write("fixed.korvane", "[FLASH]\r\n  AutoDetect = 0\r\n  abID[3] = 0xEF,0x40,0x18\r\n");
  bench.Write("with data.korvane", "[GENERAL]\r\n  CurrentFile = \"a.hex\"\r\n");
  for (const char* sName : {"zero.bin", "zero.korvane", "full.hex"}) {
    const std::string kind(sName, 4);
    ASSERT_EQ(symlink(("/dev/" + kind).c_str(), bench.Path(sName).c_str()), 0);
  }
  const PROGRAM_RESULT result = bench.Run(GetParam().Args);
  EXPECT_EQ(result.Status, GetParam().Status) << result.Out << result.Err;
  for (const std::string& text : GetParam().Says) {
    EXPECT_NE(result.Out.find(text), std::string::npos) << text << "\n in\n" << result.Out;
  }
  for (const std::string& text : GetParam().SaysNot) {
    EXPECT_EQ(result.Out.find(text), std::string::npos) << text << "\n in\n" << result.Out;
  }
}

const std::string kName256 = std::string(252, 'n') + ".hex";

const LINE kLines[] = {
    {"NoOptions", {}, 0, {"Valid command line options:", "-programverify"}, {"Application log"}},
    {"Help", {"-help"}, 0, {"-openprj\t\t Opens an existing project"}, {"Application log"}},
    {"QuestionMarkWord", {"?what"}, 0, {"Valid command line options:"}, {}},
    {"HelpAmongOthers", {"?", "-opena.hex", "-exit"}, 0, {"Valid command", "opened successf"}, {}},
    {"UnknownWord",
     {"-nosuch", "-exit"},
     1,
     {"CMDLINE: Incorrect command line option [-nosuch] detected!"},
     {}},
    {"CaseDoesNotMatter", {"-OPENa.hex", "-EXIT"}, 0, {"Data file opened successfully"}, {}},
    {"SeparateValue", {"-open", "a.hex", "-exit"}, 0, {"Data file opened successfully"}, {}},
    {"BehindExitNothingRuns", {"-exit", "-openmissing.hex"}, 0, {}, {"missing.hex] ..."}},
    {"MissingName", {"-open", "-exit"}, 1, {"CMDLINE_GetString:  Missing string"}, {}},
    {"MissingFile",
     {"-opennone.hex", "-exit"},
     1,
     {"Could not open file [none.hex]", "File not found!"},
     {}},
    {"FirstFailureEnds",
     {"-opennone.hex", "-opena.hex", "-exit"},
     1,
     {"File not found!"},
     {"Opening data file [a.hex]"}},
    {"Name256Passes", {"-open" + kName256, "-exit"}, 1, {}, {"String to long"}},
    {"Name257IsRefused",
     {"-openn" + kName256, "-exit"},
     1,
     {"CMDLINE_GetString: String to long"},
     {"Opening data"}},
    {"BinWithoutAddress", {"-opena.bin", "-saveasb.hex", "-exit"}, 0, {"opened successfully"}, {}},
    {"BinBadAddress", {"-opena.bin,xyz", "-exit"}, 1, {"not a hexadecimal number"}, {}},
    {"HexWithAddressWarns",
     {"-opena.hex,1000", "-exit"},
     0,
     {"WARNING: SAddr is ignored for filetypes other than .bin", "Data file opened successfully"},
     {}},
    {"BinAddressNegative", {"-opena.bin,-5", "-exit"}, 1, {"not a hexadecimal number"}, {}},
    {"BinAddressTooLarge",
     {"-opena.bin,10000000000000000", "-exit"},
     1,
     {"Start address has more than 64 bits", "Stopped at option [-opena.bin,10000000000000000]"},
     {"Opening data"}},
    {"BinAddressWithMore",
     {"-opena.bin,10", "zz", "-exit"},
     1,
     {"Unexpected text behind the number: zz"},
     {"Opening data"}},
    {"BinOverTheEndOfAddresses",
     {"-opena.bin,FFFFFFFFFFFFFF9D", "-exit"},
     1,
     {"The file does not fit behind the start address."},
     {}},
    {"BinAtTheEndOfAddresses",
     {"-opena.bin,0xFFFFFFFFFFFFFF9C", "-saveasb.hex", "-exit"},
     1,
     {"opened successfully", "Address 0xFFFFFFFFFFFFFF9C is beyond the 32-bit range"},
     {}},
    {"MergeAtTheEndOfAddresses",
     {"-opena.hex", "-mergea.bin,FFFFFFFFFFFFFF9C", "-saveasb.hex", "-exit"},
     1,
     {"merged successfully", "Address 0xFFFFFFFFFFFFFF9C is beyond the 32-bit range"},
     {"overlap"}},
    {"MergeHexWithAddressWarns",
     {"-opena.hex", "-mergea.hex,10", "-exit"},
     0,
     {"WARNING: SAddr is ignored for filetypes other than .bin"},
     {}},
    {"RelocateTakesTheLastOffsetAgain",
     {"-opena.hex", "-relocate-8", "-relocate", "-exit"},
     0,
     {"relocated by -0x8 bytes, it starts at 0x00000008 now", "WARNING: No offset is given",
      "it starts at 0x00000000 now"},
     {}},
    {"RelocateLosesTheUpperPart",
     {"-opena.hex", "-relocate100000004", "-exit"},
     0,
     {"WARNING: The offset has more than 32 bits", "it starts at 0x00000014 now"},
     {}},
    {"RelocateBelowZeroIsNotSaved",
     {"-opena.hex", "-relocate-11", "-saveasb.hex", "-exit"},
     1,
     {"Address 0xFFFFFFFFFFFFFFFF is beyond the 32-bit range"},
     {}},
    {"RelocateWithMore", {"-opena.hex", "-relocate10h", "-exit"}, 1, {"Unexpected text"}, {}},
    {"DeleteWithMore", {"-opena.hex", "-delrange1,2,3", "-exit"}, 1, {"Unexpected text"}, {}},
    {"DeleteAll",
     {"-opena.hex", "-delrange0,FFFFFFFFFFFFFFFF", "-saveasb.hex", "-exit"},
     0,
     {"saved successfully (0 bytes, 0 ranges)"},
     {}},
    {"SaveReversedRange",
     {"-opena.bin", "-saveasb.bin,10,5", "-exit"},
     1,
     {"The end address lies below the start address"},
     {"Saving"}},
    {"SaveRangeWithoutData",
     {"-opena.bin", "-saveasb.bin,200,300", "-exit"},
     0,
     {"WARNING: The range 0x200 - 0x300 holds no data."},
     {}},
    {"SaveHexWithRangeWarns",
     {"-opena.bin", "-saveasb.hex,0,5", "-exit"},
     0,
     {"WARNING: The range is ignored"},
     {}},
    {"SaveOnAFullDisk",
     {"-opena.hex", "-saveasfull.hex", "-exit"},
     1,
     {"Saving data file [full.hex]", "Error writing file."},
     {"saved successfully"}},
    {"TestDataTooLarge", {"-generatetestdata100000010", "-exit"}, 1, {"more than 32 bits"}, {}},
    {"TestDataNegative", {"-generatetestdata-1", "-exit"}, 1, {"not a hexadecimal number"}, {}},
    {"DataFromADevice",
     {"-openzero.bin", "-exit"},
     1,
     {"Could not open file [zero.bin]", "It is a device or a pipe."},
     {}},
    {"ProjectFromADevice", {"-openprjzero.korvane", "-exit"}, 1, {"It is a device or a pipe."}, {}},
    {"ReadBeyondTheChip",
     {"-readrange0,FFFFFFFFFFFFFFFF", "-exit"},
     1,
     {"address range 0x0 - 0xFFFFFFFFFFFFFFFF is outside of the flash chip."},
     {}},
    {"LogInAMissingFolder",
     {"-korvanelognone/x.log", "-exit"},
     0,
     {"Could not open file [none/x.log]", "Path not found!"},
     {}},
    {"DriverLogInAMissingFolder",
     {"-vorticlognone/x.log", "-connect", "-exit"},
     1,
     {"none/x.log"},
     {}},
    {"UnsupportedType", {"-opena.mcs", "-exit"}, 1, {"Unsupported file type (*.mcs)"}, {}},
    {"BareProjectEndsThePass",
     {"p.korvane", "-opena.hex"},
     0,
     {"Project opened successfully", "WARNING: Options behind the project file [p.korvane]"},
     {"Opening data file"}},
    {"ProjectBringsItsData",
     {"-openprjwith data.korvane", "-exit"},
     0,
     {"Project opened successfully", "Data file opened successfully"},
     {}},
    {"DataOptionReplacesIt",
     {"-openprjwith data.korvane", "-opena.bin", "-exit"},
     0,
     {"Opening data file [a.bin]"},
     {"a.hex] ..."}},
    {"ProjectMissing",
     {"-openprjnone.korvane", "-exit"},
     1,
     {"Could not open file [none.korvane]", "File not found!"},
     {}},
    {"SaveNeedsSeparator",
     {"-opena.bin", "-saveasb.bin,0 10", "-exit"},
     1,
     {"Separator has to be ','"},
     {"Saving"}},
    {"SaveWithoutData", {"-saveasb.bin", "-exit"}, 0, {}, {"Saving"}},
    {"RangeNeedsSeparator", {"-readrange0", "-exit"}, 1, {"Separator has to be ','"}, {}},
    {"ProgramWithoutData",
     {"-program", "-exit"},
     1,
     {"Could not program target, no data file opened."},
     {}},
    {"UsbIndexWithoutProbe", {"-usb3", "-connect", "-exit"}, 1, {"device 3"}, {}},
    {"UsbSerialNumber",
     {"-usb4", "-connect", "-exit"},
     1,
     {"Probe/ Programmer with SN 4 not found."},
     {}},
    {"UsbSerialNumberTooLarge", {"-usb99999999999", "-exit"}, 1, {"too large"}, {}},
    {"UsbNickname",
     {"-usb", "Bench", "-connect", "-exit"},
     0,
     {"with nickname \"Bench\"", "Found SPI Flash: "},
     {}},
    {"IpHost", {"-IPbench.local", "-connect", "-exit"}, 0, {"via TCP/IP to bench.local"}, {}},
    {"IpUnknownHost", {"-ipnowhere", "-connect", "-exit"}, 1, {"nowhere"}, {}},
    {"ModuleListPasses", {"-usb0:1,24", "-exit"}, 0, {}, {"ERROR"}},
    {"ModuleListRefused", {"-usb0:25", "-exit"}, 1, {"Module list is wrong: 25"}, {}},
    {"ModuleListEmpty", {"-usb0:", "-exit"}, 1, {"Module list is wrong"}, {}},
    {"EditsInTheirOrder",
     {"-opena.hex", "-merge", "a.bin,100", "-relocate", "-10", "-delrange", "F0,F1", "-eliminate",
      "-saveasout.hex", "-exit"},
     0,
     {"Data files merged successfully", "Blank areas eliminated successfully",
      "Data file saved successfully (102 bytes, 2 ranges)"},
     {"ERROR"}},
    {"MergeNeedsAnAddress", {"-opena.hex", "-mergea.bin", "-exit"}, 1, {"Separator has to be"}, {}},
    {"DeleteNeedsARange",
     {"-opena.hex", "-delrange5,5", "-exit"},
     1,
     {"End address (0x00000005) has to be greater than start address (0x00000005)"},
     {}},
    {"TestDataTakesASizeOnly",
     {"-generatetestdata10,2", "-exit"},
     1,
     {"Only option <size> allowed for test data generation."},
     {}},
    {"TestDataIsProgrammed",
     {"-generatetestdata8000", "-programverify", "-exit"},
     0,
     {"Target programmed and verified successfully."},
     {}},
    {"ProgrammerFiles",
     {"-openprjfixed.korvane", "-opena.hex", "-savecfgx.cfg", "-savedatx.dat", "-exit"},
     0,
     {},
     {"ERROR"}},
    {"ProgrammerDataNeedsData", {"-savedatx.dat", "-exit"}, 1, {"No data file open."}, {}},
    {"DownloadNeedsData", {"-download", "-exit"}, 1, {"No data file open."}, {"Connecting"}},
};

INSTANTIATE_TEST_SUITE_P(Shell, CommandLine, testing::ValuesIn(kLines),
                         [](const auto& row) { return std::string(row.param.sName); });

TEST(CommandLineFiles, TemporaryLogHoldsPlainLines) {
  BENCH bench;
  bench.Write("a.hex", kHex);
  const PROGRAM_RESULT result = bench.Run({"-korvanelogrun.log", "-opena.hex,5", "-exit"});
  EXPECT_EQ(result.Status, 0);
  const std::string log = bench.Read("run.log");
  EXPECT_EQ(log.rfind("Application log started\r\n", 0), 0u) << log;
  EXPECT_NE(log.find("WARNING: SAddr is ignored"), std::string::npos);
  EXPECT_EQ(log.find('\x1b'), std::string::npos);
  EXPECT_EQ(bench.Read("config/TARVEX/KorvaneSPI.ini").find("KorvaneLogFile"), std::string::npos);
}

TEST(CommandLineFiles, MissingDriverLibraryNamesThePlaces) {
  BENCH bench;
  const std::string copy = bench.Path("korvane");
  ASSERT_EQ(bench.RunTool({"cp", KORVANE_PROGRAM, copy}).Status, 0);
  // The copy stands in a folder without the library.
  const PROGRAM_RESULT result =
      bench.RunTool({"env", "XDG_CONFIG_HOME=" + bench.Path("config"), copy, "-connect", "-exit"});
  EXPECT_EQ(result.Status, 1) << result.Out;
  EXPECT_NE(result.Out.find("Target DLL "), std::string::npos) << result.Out;
  EXPECT_NE(result.Out.find(bench.Path("")), std::string::npos) << result.Out;
  EXPECT_NE(result.Out.find(" not found !"), std::string::npos) << result.Out;
}

// What cannot be read fails the run, with its place; nothing on disk changes.
TEST(CommandLineFiles, MalformedSettingsAndProjectsFailTheRun) {
  BENCH bench;
  bench.RunTool({"mkdir", "-p", "config/TARVEX"});
  const std::string settings = "[LOG]\nLogLevel = loud\n";
  bench.Write("config/TARVEX/KorvaneSPI.ini", settings);
  const PROGRAM_RESULT badSettings = bench.Run({"-connect", "-exit"});
  EXPECT_EQ(badSettings.Status, 1) << badSettings.Out;
  EXPECT_NE(badSettings.Out.find("KorvaneSPI.ini], section 'LOG', key 'LogLevel'"),
            std::string::npos)
      << badSettings.Out;
  EXPECT_EQ(bench.Read("config/TARVEX/KorvaneSPI.ini").rfind(settings, 0), 0u);  // nothing lost

  // What cannot be stored is told, and costs the run nothing.
  bench.Write("config/TARVEX/KorvaneSPI.ini", "[LOG]\nLogLevel = 3\n");
  bench.RunTool({"chmod", "444", "config/TARVEX/KorvaneSPI.ini"});
  bench.Write("ok.korvane", "");
  const PROGRAM_RESULT readOnly = bench.Run({"-openprjok.korvane", "-connect", "-exit"});
  EXPECT_EQ(readOnly.Status, 0) << readOnly.Out;
  EXPECT_NE(readOnly.Out.find("File has read only attribute!"), std::string::npos) << readOnly.Out;

  bench.RunTool({"rm", "-r", "config"});
  const std::string project = "[JTAG]\n  Speed0 = 99999999999\n";
  bench.Write("p.korvane", project);
  const PROGRAM_RESULT badProject = bench.Run({"-openprjp.korvane", "-connect", "-exit"});
  EXPECT_EQ(badProject.Status, 1) << badProject.Out;
  EXPECT_NE(badProject.Out.find("File [p.korvane], section 'JTAG', key 'Speed0'"),
            std::string::npos)
      << badProject.Out;
  EXPECT_EQ(badProject.Out.find("SIMULATED"), std::string::npos);
  EXPECT_EQ(bench.Read("p.korvane"), project);
}

struct BAD_CONFIG {
  const char* sText;
  const char* sSays;
};

TEST(CommandLineFiles, BadProbeConfigurationNamesFileAndLine) {
  BENCH bench;
  const BAD_CONFIG aRows[] = {
      {"[Probe0]\nBackend = sim\nChip = NOSUCH\n", "Vortic.ini:3"},
      {"[Probe0]\nBackend = sim\nColour = red\nChip = W25Q128FV\n", "Vortic.ini:3"},
      {"[Probe0]\nBackend = magic\n", "Vortic.ini:2"},
      {"[Probe0]\nBackend = sim\nChip = W25Q128FV\nFault = explode@3\n", "Vortic.ini:4"},
  };
  for (const BAD_CONFIG& row : aRows) {
    bench.Write("Vortic.ini", row.sText);
    const PROGRAM_RESULT result = bench.Run({"-connect", "-exit"});
    EXPECT_EQ(result.Status, 1) << row.sText;
    EXPECT_NE(result.Out.find(row.sSays), std::string::npos) << row.sText << result.Out;
  }
}

}  // namespace
