// Opening and saving data files, and the list of data windows.
#include <gtest/gtest.h>

#include <filesystem>

#include "app/engine/app_state.h"
#include "app/operations/data_ops.h"
#include "app/operations/data_watch.h"
#include "app/operations/data_windows.h"
#include "app/operations/init_exit.h"
#include "project/project.h"
#include "tests/operations/core_scope.h"

namespace {

constexpr char kHex[] = ":03000000616263D7\n:00000001FF\n";

PROJ_GENERAL General() {
  PROJ_GENERAL general;
  PROJECT_GetGeneral(&general);
  return general;
}

TEST(DataOps, OpeningLogsSizesAndChecksums) {
  CORE_SCOPE core;
  WriteFile(core.Path("a.bin"), "abc");
  ASSERT_EQ(APP_OpenFile(core.Path("a.bin").c_str(), 0x1000, true), 0);
  const std::string log = core.FrontEnd().GetLog();
  for (const char* sText : {"0x3 (3) bytes, 1 range\n", "Data CRC-32  = 0xCA6598D0",
                            "Data CRC-32C = 0x562F9CCD", "File CRC-32  = 0xCA6598D0",
                            "File CRC-32C = 0x562F9CCD", "Data file opened successfully"}) {
    EXPECT_NE(log.find(sText), std::string::npos) << sText << log;
  }
  EXPECT_EQ(MEMAREA_GetMinAddr(APP_GetFocusedImage()), 0x1000u);
  EXPECT_EQ(core.FrontEnd().GetStatusText(0), "Ready");
}

TEST(DataOps, BinaryAsksForItsAddressUnlessGiven) {
  CORE_SCOPE core;
  WriteFile(core.Path("a.bin"), "abc");
  const std::string file = core.Path("a.bin");
  EXPECT_NE(APP_OpenFile(file.c_str(), 0, false), 0);  // rejected
  EXPECT_EQ(APP_GetNumDataWindows(), 0u);
  EXPECT_TRUE(core.FrontEnd().HasLog("No start address given for " + file));
  EXPECT_EQ(core.FrontEnd().GetStatusText(0), "Failed to open data file.");
  core.FrontEnd().AnswerValues({0x200});
  EXPECT_EQ(APP_OpenFile(file.c_str(), 0, false), 0);
  EXPECT_EQ(MEMAREA_GetMinAddr(APP_GetFocusedImage()), 0x200u);
  EXPECT_EQ(core.FrontEnd().GetQuestions().back().Title, "Enter start address");
}

// A project opens the data where it was, or not at all.
TEST(DataOps, ProjectKeepsTheAnsweredAddress) {
  CORE_SCOPE core;
  ASSERT_EQ(PROJECT_New(nullptr), 0);
  WriteFile(core.Path("plain"), "abc");
  core.FrontEnd().AnswerValues({0x200});
  EXPECT_EQ(APP_OpenFile(core.Path("plain").c_str(), 0, false), 0);
  EXPECT_EQ(MEMAREA_GetMinAddr(APP_GetFocusedImage()), 0x200u);
  EXPECT_EQ(General().DataFileSAddr, 0x200u);
  WriteFile(core.Path("a.bin"), "abc");
  EXPECT_EQ(APP_OpenFile(core.Path("a.bin").c_str(), 0x100000200, true), 0);
  EXPECT_STREQ(General().CurrentFile, "");
}

TEST(DataOps, FileThatChangesWhileItIsReadIsNotCurrent) {
  CORE_SCOPE core;
  const std::string file = core.Path("a.hex");
  WriteFile(file, kHex);
  core.FrontEnd().OnBlocking = [&](const std::string& service) {
    if (service == "CreateDataWindow") {
      std::filesystem::last_write_time(file, std::filesystem::file_time_type{});
    }
  };
  ASSERT_EQ(APP_OpenFile(file.c_str(), 0, true), 0);
  APP_CheckFileModifications(nullptr);
  EXPECT_TRUE(core.FrontEnd().HasBox("was modified outside of"));
}

TEST(DataOps, ProjectRemembersItsDataFile) {
  CORE_SCOPE core;
  WriteFile(core.Path("sub/a.hex"), kHex);
  const std::string text = "; bench 4\r\n[GENERAL]\r\n  CurrentFile = \"sub\\a.hex\"\r\n";
  WriteFile(core.Path("p.korvane"), text);
  ASSERT_EQ(APP_OpenProject(core.Path("p.korvane").c_str()), 0);
  EXPECT_EQ(APP_GetNumDataWindows(), 1u);
  // Opening a project changes nothing of it.
  EXPECT_EQ(PROJECT_IsModified(), 0);
  EXPECT_EQ(ReadFile(core.Path("p.korvane")), text);

  APP_State().OpenDataGiven = 1;
  ASSERT_EQ(APP_OpenProject(core.Path("p.korvane").c_str()), 0);
  EXPECT_EQ(APP_GetNumDataWindows(), 1u);
}

TEST(DataOps, MissingDataFileOfAProjectIsTold) {
  CORE_SCOPE core;
  WriteFile(core.Path("p.korvane"), "[GENERAL]\r\n  CurrentFile = \"gone.hex\"\r\n");
  ASSERT_EQ(APP_OpenProject(core.Path("p.korvane").c_str()), 0);
  EXPECT_TRUE(
      core.FrontEnd().HasLog("Failed to open data file [" + core.Path("gone.hex") + "]..."));
}

TEST(DataOps, FailedOpenLeavesNothingBehind) {
  CORE_SCOPE core;
  ASSERT_EQ(PROJECT_New(nullptr), 0);
  WriteFile(core.Path("bad.hex"), ":0400100001020304E3\n");
  EXPECT_NE(APP_OpenFile(core.Path("bad.hex").c_str(), 0, true), 0);
  EXPECT_EQ(APP_GetNumDataWindows(), 0u);
  EXPECT_EQ(core.FrontEnd().GetStatusText(0), "Failed to open data file");
  EXPECT_NE(core.FrontEnd().GetBoxTexts().find("Error in line 1: Checksum error !"),
            std::string::npos);
  EXPECT_STREQ(General().CurrentFile, "");
}

TEST(DataOps, SavingBindsTheWindowToTheFile) {
  CORE_SCOPE core;
  WriteFile(core.Path("a.hex"), kHex);
  ASSERT_EQ(APP_OpenFile(core.Path("a.hex").c_str(), 0, true), 0);
  APP_DATA_WINDOW* pWindow = APP_GetFocusedDataWindow()->hWindow;
  ASSERT_EQ(APP_SaveDataFile(pWindow, core.Path("b.bin").c_str(), 1, 0x10, true), 0);
  EXPECT_EQ(ReadFile(core.Path("b.bin")), "bc");  // ends at the last byte of data
  EXPECT_EQ(core.Path("b.bin"), APP_GetFocusedDataWindow()->acFileName);
  EXPECT_EQ(core.FrontEnd().GetWindows()[0]->Name, core.Path("b.bin"));
  EXPECT_TRUE(core.FrontEnd().HasLog("Data file saved successfully (3 bytes, 1 range)"));

  core.FrontEnd().AnswerValues({0, 1});
  ASSERT_EQ(APP_SaveDataFile(pWindow, core.Path("c.bin").c_str(), 0, 0, false), 0);
  EXPECT_EQ(ReadFile(core.Path("c.bin")), "ab");
  core.FrontEnd().AnswerValues({1, 9});
  ASSERT_EQ(APP_SaveDataFile(pWindow, core.Path("d.c").c_str(), 0, 0, false), 0);
  EXPECT_NE(ReadFile(core.Path("d.c")).find("_acd[0x2]"), std::string::npos);
  core.FrontEnd().AnswerValues({3, 9});
  EXPECT_EQ(APP_SaveDataFile(pWindow, core.Path("e.bin").c_str(), 0, 0, false), 0);
  EXPECT_TRUE(core.FrontEnd().HasBox("The data lies at 0x0 - 0x2, none of it in 0x3 - 0x9."));
  EXPECT_LT(APP_SaveDataFile(pWindow, core.Path("c.xyz").c_str(), 0, 0, false), 0);
  EXPECT_EQ(core.FrontEnd().GetStatusText(0), "Failed to save data file");
}

TEST(DataWindows, ListIsDenseAndHasALimit) {
  CORE_SCOPE core;
  for (u32 i = 0; i < APP_MAX_DATA_WINDOWS; ++i) {
    ASSERT_NE(APP_AddDataWindow(nullptr, MEMAREA_Create(), "w"), nullptr);
  }
  MEMAREA_PTR pOneMore(MEMAREA_Create());
  EXPECT_EQ(APP_AddDataWindow(nullptr, pOneMore.get(), "w"), nullptr);
  EXPECT_NE(core.FrontEnd().GetBoxTexts().find(
                "Failed to create data window.\nMaximum number of data windows (32) reached."),
            std::string::npos);
  const std::vector<SCRIPTED_WINDOW*> windows = core.FrontEnd().GetWindows();
  APP_RemoveDataWindow(windows[5]);
  APP_RemoveDataWindow(windows[5]);  // unknown now
  EXPECT_EQ(APP_GetNumDataWindows(), APP_MAX_DATA_WINDOWS - 1);
  EXPECT_EQ(APP_FindDataWindow(windows[5]), nullptr);
  EXPECT_EQ(APP_FindDataWindow(windows[6])->pArea, windows[6]->pArea);
  EXPECT_EQ(APP_GetFocusedImage(), windows.back()->pArea);
}

}  // namespace
