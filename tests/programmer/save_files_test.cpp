#include "programmer/save_files.h"

#include "app/engine/app_state.h"
#include "sys/util_format.h"
#include "tests/programmer/file_reader.h"

namespace {

MEMAREA_PTR MakeImage(u64 addr) {
  MEMAREA_PTR area(MEMAREA_Create());
  EXPECT_EQ(MEMAREA_Write(area.get(), addr, 4, Bytes(4, 0x5A).data()), 0);
  return area;
}

int Save(bool isConfig, const char* sName, MEMAREA* pArea) {
  return isConfig ? ZELMONT_SaveConfigFile(sName) : ZELMONT_SaveDataFile(sName, pArea);
}

std::string PrintCrc(const std::string& file, u32 poly) {
  char acText[16];
  UTIL_snprintf(acText, sizeof acText, "0x%08X", SlowCrc(Bytes(file.begin(), file.end()), 0, poly));
  return acText;
}

}  // namespace

TEST(SaveFiles, SavedByDialog) {
  const MEMAREA_PTR area = MakeImage(0x1010);
  for (const bool isConfig : {true, false}) {
    ProgrammerScope scope;
    SETUP_SetDataFiles("/somewhere/");
    EXPECT_EQ(Save(isConfig, "", area.get()), -1);  // cancelled
    EXPECT_EQ(scope.FrontEnd.GetLog(), "");
    const std::string name = scope.Dir.file("new/a");
    scope.FrontEnd.AnswerFile(name);
    EXPECT_EQ(Save(isConfig, nullptr, area.get()), 0);
    const std::string file = ReadFile(name);
    const std::string crc = PrintCrc(file, 0xEDB88320);
    EXPECT_EQ(scope.FrontEnd.GetLog(),
              isConfig ? "Saving config file [" + name +
                             "] ...\n - Config file saved successfully (CRC: " + crc + ")\n"
                       : "Saving data file [" + name +
                             "] ...\n - Preparing DAT file range: 0x00001000 - 0x000010FF (256 "
                             "bytes).\n - File CRC-32  = " +
                             crc + "\n - File CRC-32C = " + PrintCrc(file, 0x82F63B78) +
                             "\n - Data file saved successfully\n");
    char acPath[512];
    SETUP_GetDataFiles(acPath, sizeof acPath);
    EXPECT_EQ(acPath, scope.Dir.file("new/"));
    ASSERT_EQ(scope.FrontEnd.GetQuestions().size(), 2u);
    for (const auto& question : scope.FrontEnd.GetQuestions()) {
      EXPECT_EQ(question.Title, isConfig ? "Save configuration file" : "Save data file");
      EXPECT_EQ(question.Detail, isConfig ? "Configuration files (*.cfg)" : "Data files (*.dat)");
      EXPECT_EQ(question.Start, "/somewhere/");
    }
  }
}

// A failure leaves the old file, a cause in the one box and the exit status of an unattended run.
TEST(SaveFiles, Failures) {
  const MEMAREA_PTR inside = MakeImage(0x3FFC);
  const MEMAREA_PTR outside = MakeImage(0x3FFD);
  constexpr char kNoProject[] = "No project file opened.";
  const struct {
    bool HasProject;
    u32 AutoDetect, PageSizeShift;
    MEMAREA* pArea;
    const char *sConfig, *sData;  // causes; null: saved
  } cases[] = {
      {true, 0, 8, inside.get(), nullptr, nullptr},
      {true, 0, 8, outside.get(), nullptr,
       "Selected Data (0x3FFD - 0x4000) does not fit into the selected SPI flash."},
      {true, 1, 8, outside.get(),
       "Auto detection of SPI Flash is not supported by Zelmont. Please configure the SPI flash "
       "information.",
       nullptr},
      {true, 0, 8, nullptr, nullptr,
       "No data file open. Please ensure that you have opened a data file."},
      {true, 0, 12, inside.get(), nullptr,
       "Failed to prepare DAT file: Exceeded max. supported PageSize (0x800 bytes)."},
      {false, 0, 8, inside.get(), kNoProject, kNoProject},
  };
  for (size_t i = 0; i < 2 * std::size(cases); ++i) {
    SCOPED_TRACE(i);
    const auto& c = cases[i / 2];
    const char* sCause = i % 2 == 0 ? c.sConfig : c.sData;
    ProgrammerScope scope;
    Blocks blocks;
    blocks.Flash->AutoDetect = c.AutoDetect;
    blocks.Flash->PageSizeShift = c.PageSizeShift;
    blocks.Store();
    if (!c.HasProject) {
      PROJECT_Reset();
    }
    APP_State().SuppressGUI = 1;
    const std::string name = scope.Dir.file("a");
    WriteFile(name, "old");
    EXPECT_EQ(Save(i % 2 == 0, name.c_str(), c.pArea), sCause == nullptr ? 0 : -1);
    EXPECT_EQ(ReadFile(name) == "old", sCause != nullptr);
    EXPECT_EQ(APP_GetNumRunErrors() != 0, sCause != nullptr);
    EXPECT_TRUE(scope.FrontEnd.HasLog(sCause == nullptr
                                          ? " saved successfully"
                                          : "Korvane SPI V9.38: " + std::string(sCause) + "\n"));
  }
}

// The box tells the cause, the log that nothing was saved.
TEST(SaveFiles, UnwritablePlace) {
  ProgrammerScope scope;
  WriteFile(scope.Dir.file("file"), "x");
  for (const bool isConfig : {true, false}) {
    EXPECT_EQ(Save(isConfig, scope.Dir.file("file/a").c_str(), MakeImage(0).get()), -1);
  }
  EXPECT_EQ(scope.FrontEnd.CountLog(" - ERROR: Failed to save "), 2u);
  EXPECT_EQ(scope.FrontEnd.GetBoxes().size(), 2u);
}
