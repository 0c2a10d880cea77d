// The command line from a shell: what each kind of line does, says and ends with.
#include <gtest/gtest.h>
#include <unistd.h>

#include "tests/console/program.h"

namespace {

constexpr char kHex[] = ":0400100001020304E2\n:00000001FF\n";

struct LINE {
  std::string Name;
  std::vector<std::string> Args;
  int Status;
  std::vector<std::string> Says;     // all of these stand in the output
  std::vector<std::string> SaysNot;  // none of these does
};

void PrintTo(const LINE& line, std::ostream* pStream) {
  *pStream << line.Name;
}

class CommandLine : public testing::TestWithParam<LINE> {};

TEST_P(CommandLine, EndsAsItShould) {
  BENCH bench;
  bench.Write("a.hex", kHex);
  bench.Write("a.bin", std::string(100, 'x'));
  bench.Write("empty.bin", "");
  bench.Write("p.korvane", "[GENERAL]\r\n  USBPort = 0\r\n");
  bench.Write("fixed.korvane", "[FLASH]\r\n  AutoDetect = 0\r\n  abID[3] = 0xEF,0x40,0x18\r\n");
  bench.Write("with data.korvane", "[GENERAL]\r\n  CurrentFile = \"a.hex\"\r\n");
  bench.Write("rev1,2.korvane", "[GENERAL]\r\n");
  bench.Write("lost.korvane", "[GENERAL]\r\n  CurrentFile = \"none.hex\"\r\n");
  bench.Write("self.korvane", "[GENERAL]\r\n  CurrentFile = \"self.korvane\"\r\n");
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

std::vector<std::string> Split(const std::string& text, const std::string& mark) {
  std::vector<std::string> parts;
  for (std::size_t start = 0, end = 0; end != std::string::npos && start < text.size();
       start = end + mark.size()) {
    end = text.find(mark, start);
    parts.push_back(text.substr(start, end - start));
  }
  return parts;
}

std::string Replace(std::string text, const std::string& from, const std::string& to) {
  const std::size_t pos = text.find(from);
  return pos == std::string::npos ? text : Replace(text.replace(pos, from.size(), to), from, to);
}

std::vector<LINE> ReadLines() {
  const std::string name256(256, 'n');
  std::vector<LINE> lines;
  for (const std::string& row : Split(ReadFile(KORVANE_COMMAND_LINES), "\n")) {
    if (row[0] != '#') {
      auto cells = Split(Replace(Replace(row, "<256>", name256), "\\t", "\t"), " | ");
      cells.resize(5);
      const auto list = [](const std::string& cell) { return Split(cell, " ; "); };
      lines.push_back(
          {cells[0], list(cells[2]), std::stoi(cells[1]), list(cells[3]), list(cells[4])});
    }
  }
  return lines;
}

TEST(CommandLineFiles, TheTableIsRead) {
  EXPECT_GT(ReadLines().size(), 60u);
}

INSTANTIATE_TEST_SUITE_P(Shell, CommandLine, testing::ValuesIn(ReadLines()),
                         [](const auto& row) { return row.param.Name; });

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
  bench.Write("ok.korvane", "[GENERAL]\r\n");
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
