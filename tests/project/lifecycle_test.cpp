#include <gtest/gtest.h>

#include <filesystem>

#include "app/engine/app_state.h"
#include "sys/file.h"
#include "tests/project/project_scope.h"

namespace {

constexpr char kCloseQuestion[] =
    "The Korvane project has been modified.\nDo you want to save your changes?";

// Opens a project with a file and changes it.
void OpenModified(ProjectScope& scope) {
  ASSERT_EQ(scope.Open("[GENERAL]\r\n"), 0);
  PROJECT_SetDataFile("/data/a.hex", 0x100);
  ASSERT_EQ(PROJECT_IsModified(), 1);
}

bool IsSaved(const ProjectScope& scope) {
  return ReadFile(scope.ProjectFile()).find("/data/a.hex") != std::string::npos;
}

}  // namespace

TEST(ProjectLife, CloseModified) {
  constexpr int kReject = 2;
  const struct {
    const char* sName;
    int First;  // button that answers the question
    bool AutoSave, ReadOnly, Saved;
    u32 NumQuestions;
  } cases[] = {
      {"yes", 0, false, false, true, 1},
      {"no", 1, false, false, false, 1},
      {"closed without a button", kReject, false, false, false, 1},
      {"saved without asking", 1, true, false, true, 0},
      // Read-only: the store's message and the second question, answered No, keep it open.
      {"read-only", 0, false, true, false, 3},
      {"read-only, without asking", 1, true, true, false, 2},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.sName);
    ProjectScope scope;
    OpenModified(scope);
    SETUP_SetAutoSaveProject(c.AutoSave ? 1 : 0);
    if (c.ReadOnly) {
      std::filesystem::permissions(scope.ProjectFile(), std::filesystem::perms::owner_read);
    }
    c.First == kReject ? scope.FrontEnd.RejectBox()
                       : scope.FrontEnd.AnswerBox(static_cast<u32>(c.First));
    const bool isClosed = !c.ReadOnly && c.First != kReject;
    EXPECT_EQ(PROJECT_Close(), isClosed ? 0 : -1);
    EXPECT_EQ(PROJECT_IsOpen(), isClosed ? 0 : 1);
    EXPECT_EQ(scope.NumDisconnects, isClosed ? 1u : 0u);
    EXPECT_EQ(IsSaved(scope), c.Saved);
    const auto boxes = scope.FrontEnd.GetBoxes();
    ASSERT_EQ(boxes.size(), c.NumQuestions);
    if (!c.AutoSave) {
      EXPECT_EQ(boxes[0].Text, kCloseQuestion);
      EXPECT_EQ(boxes[0].DefaultBtn, 1u);
    }
    if (c.ReadOnly) {
      EXPECT_EQ(boxes.back().Text, "Could not save project file [" + scope.ProjectFile() +
                                       "]\nFile has read only attribute!\nSave as new project?");
    }
  }
}

TEST(ProjectLife, ReadOnlyFileSavedUnderAnotherName) {
  ProjectScope scope;
  OpenModified(scope);
  std::filesystem::permissions(scope.ProjectFile(), std::filesystem::perms::owner_read);
  const std::string other = scope.Dir.file("sub dir.korvane");
  scope.FrontEnd.AnswerBox(0);  // the store's message
  scope.FrontEnd.AnswerBox(0);
  scope.FrontEnd.AnswerFile(other);
  EXPECT_EQ(PROJECT_Save(), 0);
  EXPECT_EQ(PROJECT_GetName(), other);
  EXPECT_EQ(PROJECT_IsModified(), 0);
  EXPECT_NE(ReadFile(other).find("/data/a.hex"), std::string::npos);
  const auto questions = scope.FrontEnd.GetQuestions();
  ASSERT_EQ(questions.size(), 1u);
  EXPECT_EQ(questions[0].Title, "Save project as");
  EXPECT_EQ(questions[0].Start, scope.ProjectFile());
  EXPECT_STREQ(RECENT_GetEntry(RECENT_PROJECTS, 0), other.c_str());
}

TEST(ProjectLife, NewWithoutAName) {
  ProjectScope scope;
  SETUP_SetProjectFiles("/projects/");
  EXPECT_EQ(PROJECT_New(nullptr), 0);
  EXPECT_STREQ(PROJECT_GetName(), "new project");
  EXPECT_EQ(RECENT_GetCount(RECENT_PROJECTS), 0u);
  const auto pFlash = GetBlock(PROJECT_GetFlash);
  EXPECT_EQ(pFlash->NumPages + pFlash->PageSizeShift + pFlash->SectorSizeShift, 0u);
  EXPECT_EQ(scope.Power, 200u);
  scope.FrontEnd.CancelFile();
  EXPECT_EQ(PROJECT_Save(), -1);
  EXPECT_EQ(scope.FrontEnd.GetQuestions().at(0).Start, "/projects/");
  EXPECT_EQ(PROJECT_IsModified(), 1);
  EXPECT_TRUE(scope.FrontEnd.HasLog("Creating new project ..."));
}

TEST(ProjectLife, OpenAndReplace) {
  ProjectScope scope;
  scope.FrontEnd.CancelFile();
  EXPECT_EQ(PROJECT_Open(nullptr), -1);
  EXPECT_EQ(PROJECT_Open(scope.Dir.file("none.korvane").c_str()), -2);
  EXPECT_EQ(scope.FrontEnd.GetBoxTexts(),
            "Could not open file [" + scope.Dir.file("none.korvane") + "]\nFile not found!\n");
  EXPECT_EQ(PROJECT_IsOpen(), 0);
  OpenModified(scope);
  EXPECT_EQ(PROJECT_New(scope.ProjectFile().c_str()), -2);  // the name is taken
  EXPECT_EQ(PROJECT_IsOpen(), 0);
  OpenModified(scope);
  scope.FrontEnd.RejectBox();
  EXPECT_EQ(PROJECT_New(nullptr), -1);
  EXPECT_EQ(PROJECT_GetName(), scope.ProjectFile());
  // By dialog, with foreign slashes, over the one that is open.
  WriteFile(scope.Dir.file("b/c.korvane"), "[PRODUCTION]\r\nEnableTargetPower = 1\r\n");
  scope.FrontEnd.AnswerFile(scope.Dir.path() + "\\b\\c.korvane");
  EXPECT_EQ(PROJECT_Open(""), 0);
  EXPECT_EQ(PROJECT_GetName(), scope.Dir.file("b/c.korvane"));
  EXPECT_EQ(scope.Power, 100000u);
  EXPECT_EQ(scope.VTref, 3300u);
  char acDir[512];
  SETUP_GetProjectFiles(acDir, sizeof(acDir));
  EXPECT_EQ(acDir, scope.Dir.file("b/"));
  // The name handed in may be that of the project that closes.
  EXPECT_EQ(PROJECT_Open(PROJECT_GetName()), 0);
}

TEST(ProjectLife, NoProject) {
  ProjectScope scope;
  PROJ_GENERAL general;
  memset(&general, 0xAA, sizeof(general));
  PROJECT_GetGeneral(&general);
  EXPECT_EQ(general.HostName[0] + general.USBSerialNo + general.aATEModuleSel[23], 0u);
  PROJECT_SetGeneral(&general);
  PROJECT_SetDataFile("a", 1);
  EXPECT_EQ(PROJECT_Save(), -1);
  EXPECT_EQ(scope.FrontEnd.GetBoxTexts(),
            "No project file opened.\nNo project file opened.\nNo project file opened.\n");
  EXPECT_EQ(PROJECT_Close(), 0);
  EXPECT_EQ(PROJECT_GetName(), nullptr);
  char acName[64];
  EXPECT_EQ(PROJECT_GetSideFileName("_Serial", acName, sizeof(acName)), -1);
}

TEST(ProjectLife, Shutdown) {
  ProjectScope scope;
  OpenModified(scope);
  scope.FrontEnd.RejectBox();
  EXPECT_EQ(PROJECT_Shutdown(), -1);
  APP_State().ExitRequested = 1;
  EXPECT_EQ(PROJECT_Shutdown(), 0);
  EXPECT_EQ(scope.FrontEnd.GetBoxes().size(), 1u);
  EXPECT_EQ(PROJECT_New(nullptr), -1);
  EXPECT_EQ(PROJECT_IsOpen(), 0);
}

TEST(ProjectLife, ChangesAreCountedOnce) {
  ProjectScope scope;
  ASSERT_EQ(scope.Open("[GENERAL]\r\n"), 0);
  scope.NumChanged = 0;
  auto pGeneral = GetBlock(PROJECT_GetGeneral);
  memcpy(pGeneral->HostName + 1, "old", 3);  // behind the end, and so no text
  PROJECT_SetGeneral(pGeneral.get());
  EXPECT_EQ(PROJECT_IsModified(), 0);
  EXPECT_EQ(scope.NumChanged, 0u);
  auto pCpu = GetBlock(PROJECT_GetCpu);
  pCpu->aExitSteps.resize(1);
  PROJECT_SetCpu(pCpu.get());
  EXPECT_EQ(scope.NumChanged, 1u);
}

TEST(ProjectLife, DataFile) {
  ProjectScope scope;
  ASSERT_EQ(scope.Open("[GENERAL]\r\n"), 0);
  const struct {
    std::string Name;
    u32 Addr;
    u32 NumChanges;
    const char* sFile;
  } steps[] = {
      {"/d/A.bin", 0, 1, "/d/A.bin"},
      {"/d/a.BIN", 0, 0, "/d/A.bin"},
      {"/d/a.BIN", 16, 1, "/d/A.bin"},
      {"/d/b.bin", 32, 2, "/d/b.bin"},
      {std::string(512, 'x'), 32, 0, "/d/b.bin"},
      {std::string(512, 'x'), 33, 1, "/d/b.bin"},
  };
  for (const auto& s : steps) {
    scope.NumChanged = 0;
    PROJECT_SetDataFile(s.Name.c_str(), s.Addr);
    EXPECT_EQ(scope.NumChanged, s.NumChanges) << s.Name;
    const auto pGeneral = GetBlock(PROJECT_GetGeneral);
    EXPECT_STREQ(pGeneral->CurrentFile, s.sFile);
    EXPECT_EQ(pGeneral->DataFileSAddr, s.Addr);
  }
  EXPECT_EQ(scope.FrontEnd.GetBoxTexts(), "Too large file name.\nToo large file name.\n");
  EXPECT_STREQ(RECENT_GetEntry(RECENT_DATA_FILES, 0), "/d/b.bin");
  EXPECT_EQ(RECENT_GetCount(RECENT_DATA_FILES), 2u);
  // Two files that only a file system with cases tells apart.
  WriteFile(scope.Dir.file("x.bin"), "1");
  WriteFile(scope.Dir.file("X.bin"), "2");
  PROJECT_SetDataFile(scope.Dir.file("x.bin").c_str(), 0);
  PROJECT_SetDataFile(scope.Dir.file("X.bin").c_str(), 0);
  EXPECT_STREQ(GetBlock(PROJECT_GetGeneral)->CurrentFile, "X.bin");  // below the project
  EXPECT_EQ(PROJECT_GetDataFileName(), scope.Dir.file("X.bin"));
  // Saved in another folder, the project names the same file.
  std::filesystem::create_directory(scope.Dir.file("sub"));
  ASSERT_EQ(PROJECT_SaveAs(scope.Dir.file("sub/b.korvane").c_str()), 0);
  EXPECT_EQ(GetBlock(PROJECT_GetGeneral)->CurrentFile, scope.Dir.file("X.bin"));
}

TEST(ProjectLife, SideFileNames) {
  ProjectScope scope;
  char acName[SYS_MAX_PATH];
  ASSERT_EQ(PROJECT_New(nullptr), 0);
  EXPECT_EQ(PROJECT_GetSideFileName("_Serial", acName, sizeof(acName)), 0);
  EXPECT_STREQ(acName, "_Serial.txt");
  ASSERT_EQ(PROJECT_SaveAs(scope.Dir.file("my.board.korvane").c_str()), 0);
  EXPECT_EQ(PROJECT_GetSideFileName("_SNList", acName, sizeof(acName)), 0);
  EXPECT_EQ(acName, scope.Dir.file("my.board_SNList.txt"));
  const u32 size = static_cast<u32>(strlen(acName)) + 1;
  EXPECT_EQ(PROJECT_GetSideFileName("_SNList", acName, size), 0);
  EXPECT_EQ(PROJECT_GetSideFileName("_SNList", acName, size - 1), -1);  // never another file's name
}
