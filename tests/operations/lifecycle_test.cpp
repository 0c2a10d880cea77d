// Start, jobs and shut-down of the core, with its application thread and a front end that answers
// late, early and not at all.
#include <gtest/gtest.h>

#include <atomic>
#include <thread>

#include "app/engine/app_state.h"
#include "app/operations/data_windows.h"
#include "app/operations/dialog_records.h"
#include "app/operations/jobs.h"
#include "flash/driver.h"
#include "programmer/browser.h"
#include "project/project.h"
#include "project/settings.h"
#include "sys/thread.h"
#include "sys/util_string.h"
#include "tests/operations/core_scope.h"
#include "tests/support/wait_for.h"

namespace {

// A program run in this process: start it with a command line, wait for Init, end it.
class PROGRAM_RUN {
 public:
  explicit PROGRAM_RUN(std::vector<std::string> args) : m_Args(std::move(args)) {
    m_Args.insert(m_Args.begin(), "korvane");
    for (std::string& arg : m_Args) {
      m_argv.push_back(arg.data());
    }
    m_Start.argc = static_cast<u32>(m_argv.size());
    m_Start.argv = m_argv.data();
    m_Start.ShowCmd = 1;
    APP_SetUp(&m_Core.FrontEnd());
    DRIVER_SetLibraryPath(KORVANE_DRIVER);
  }
  ~PROGRAM_RUN() {
    APP_TearDown();
    WORKER_Reset();
  }

  void Start() { ASSERT_EQ(APP_PostInit(&m_Start), 0); }
  void WaitInit() {
    ASSERT_TRUE(WaitFor([&] { return m_Core.FrontEnd().GetCounts().NumFinishInit != 0; }));
  }
  bool End() { return APP_ShutDown(nullptr, nullptr); }

  CORE_SCOPE& Core() { return m_Core; }
  SCRIPTED_FRONTEND& FrontEnd() { return m_Core.FrontEnd(); }
  APP_START_INFO& StartInfo() { return m_Start; }

 private:
  CORE_SCOPE m_Core;
  std::vector<std::string> m_Args;
  std::vector<char*> m_argv;
  APP_START_INFO m_Start = {};
};

TEST(Lifecycle, StartWithoutArgumentsFollowsTheStoredAction) {
  struct ROW {
    u32 Action;
    u8 Welcome, NewProject;
    bool ProjectOpen;
  };
  for (const ROW& row :
       {ROW{0, 1, 0, false}, ROW{1, 0, 0, true}, ROW{2, 0, 1, false}, ROW{7, 1, 0, false}}) {
    PROGRAM_RUN run({});
    SETUP_SetAppStartAction(row.Action);
    run.Start();
    run.WaitInit();
    EXPECT_EQ(run.StartInfo().ShowWelcomeDlg, row.Welcome) << row.Action;
    EXPECT_EQ(run.StartInfo().ShowNewProjectDlg, row.NewProject) << row.Action;
    EXPECT_EQ(run.FrontEnd().GetMenu().ProjectOpen != 0, row.ProjectOpen) << row.Action;
    EXPECT_EQ(run.FrontEnd().GetCounts().Visibility, 1u);
    EXPECT_TRUE(run.End());
    EXPECT_EQ(APP_State().ExitState, 2u);
  }
}

TEST(Lifecycle, CommandLineRunsInsideInitAndAsksForTheEnd) {
  PROGRAM_RUN run({"-hide", "-connect", "-disconnect", "-exit", "-nosuch"});
  run.Start();
  run.WaitInit();
  EXPECT_TRUE(run.End());
  const auto counts = run.FrontEnd().GetCounts();
  EXPECT_EQ(counts.NumPostClose, 1u);
  EXPECT_EQ(counts.Visibility, 0u);
  EXPECT_EQ(APP_State().ExitCode, 0) << run.FrontEnd().GetLog();
  EXPECT_TRUE(run.FrontEnd().HasLog("Found SPI Flash: "));
  EXPECT_TRUE(run.FrontEnd().GetBoxes().empty());  // nothing stops an unattended run
}

TEST(Lifecycle, FailingPreParseOpensNothing) {
  PROGRAM_RUN run({"-usb0:99", "-exit"});
  run.Start();
  run.WaitInit();
  EXPECT_EQ(run.StartInfo().CloseAfterInit, 1);
  EXPECT_EQ(run.FrontEnd().GetMenu().ProjectOpen, 0);
  EXPECT_FALSE(run.FrontEnd().HasLog("Application log started"));
  EXPECT_TRUE(run.End());
  EXPECT_EQ(APP_State().ExitCode, 1);
}

// Whoever closes the question whether to save goes on with a program that is whole.
TEST(Lifecycle, RefusedEndLeavesEverythingAsItWas) {
  PROGRAM_RUN run({});
  WriteFile(run.Core().Path("p.korvane"), "[FLASH]\r\n  AutoDetect = 1\r\n");
  WriteFile(run.Core().Path("a.hex"), ":0400100001020304E2\n:00000001FF\n");
  run.Start();
  run.WaitInit();
  APP_PostOperation(APP_OP_OPEN_PROJECT, {.Text = {}, .File = run.Core().Path("p.korvane")});
  APP_PostOperation(APP_OP_OPEN_DATA, {.Text = {}, .File = run.Core().Path("a.hex")});
  run.FrontEnd().RejectBox();
  EXPECT_FALSE(run.End());
  EXPECT_EQ(run.FrontEnd().GetBoxes().size(), 1u) << run.FrontEnd().GetBoxTexts();
  GLOBAL_SETTINGS settings{};
  settings.AutoSaveProject = 1;
  APP_Post(APP_JOB_SET_GLOBAL_SETTINGS,
           [settings] { APP_SetGlobalSettings(settings); });  // stored, or the end would ask again
  APP_PostOperation(APP_OP_PROGRAM_VERIFY);
  EXPECT_TRUE(run.End());
  EXPECT_EQ(run.FrontEnd().CountLog("Target programmed and verified successfully."), 1u)
      << run.FrontEnd().GetLog();
  EXPECT_EQ(run.FrontEnd().GetBoxes().size(), 2u) << run.FrontEnd().GetBoxTexts();
}

// The application thread sits in a box while others post; every job still runs, in order, and the
// end waits for all of them.
TEST(Lifecycle, JobsWaitBehindALateAnswerAndBeforeTheEnd) {
  PROGRAM_RUN run({"-exit"});
  run.Start();
  run.WaitInit();
  APP_State().SuppressGUI = 0;
  APP_State().ExitRequested = 0;
  std::atomic<bool> asked{false};
  const SYS_HANDLE hAnswer = SYS_CreateEvent(true, false);
  run.FrontEnd().OnBlocking = [&](const char*) {
    asked = true;
    SYS_WaitForObject(hAnswer, SYS_INFINITE);
  };
  APP_PostOperation(APP_OP_PROGRAM);  // no image: ends in a box
  ASSERT_TRUE(WaitFor([&] { return asked.load(); }));
  std::vector<std::thread> posters;
  for (int i = 0; i < 4; ++i) {
    posters.emplace_back([] {
      for (int n = 0; n < 6; ++n) {
        APP_PostUpdateMenuBar();
      }
    });
  }
  for (std::thread& poster : posters) {
    poster.join();
  }
  const u32 numMenus = run.FrontEnd().GetCounts().NumMenus;
  SYS_SetEvent(hAnswer);
  EXPECT_TRUE(run.End());
  EXPECT_GE(run.FrontEnd().GetCounts().NumMenus, numMenus + 24);
  WORKER_REQUEST request;
  APP_JOB_CONTEXT late = {nullptr, nullptr, nullptr, APP_JOB_UPDATE_MENU_BAR, 0};
  request.pJob = &late;
  EXPECT_EQ(WORKER_Post(request), -1);
  SYS_CloseHandle(hAnswer);
}

TEST(Lifecycle, JobsOfAUserProgramTheFocusedImage) {
  PROGRAM_RUN run({"-exit"});
  WriteFile(run.Core().Path("a.hex"), ":0400100001020304E2\n:00000001FF\n");
  run.Start();
  run.WaitInit();
  APP_State().SuppressGUI = 0;
  APP_PostOperation(APP_OP_OPEN_DATA, {.Text = {}, .File = run.Core().Path("a.hex")});
  APP_PostOperation(APP_OP_ERASE_CHIP);
  APP_PostOperation(APP_OP_PROGRAM_VERIFY);
  APP_PostOperation(APP_OP_DISCONNECT);
  EXPECT_TRUE(run.End());
  EXPECT_NE(run.FrontEnd().GetBoxTexts().find("Target programmed and verified successfully."),
            std::string::npos)
      << run.FrontEnd().GetLog();
  EXPECT_EQ(ReadFile(run.Core().Path("chip.bin")).substr(0x10, 4), "\x01\x02\x03\x04");
  EXPECT_EQ(run.FrontEnd().GetNumOpenProgress(), 0u);
}

TEST(Lifecycle, JobsOfAUserFillAProgrammer) {
  PROGRAM_RUN run({"-exit"});
  run.Core().SetProbe({{"FileSystem", "fs"}, {"ProductId", "30"}});
  WriteFile(run.Core().Path("p.korvane"),
            "[GENERAL]\r\n  UseATEModuleSelection = 1\r\n  aATEModuleSel[2] = 0,1\r\n[FLASH]\r\n"
            "  AutoDetect = 0\r\n  NumPages = 256\r\n  PageSizeShift = 8\r\n");
  WriteFile(run.Core().Path("a.hex"), ":0400100001020304E2\n:00000001FF\n");
  WriteFile(run.Core().Path("p_Serial.txt"), "7");
  run.Start();
  run.WaitInit();
  APP_State().SuppressGUI = 0;
  APP_PostOperation(APP_OP_OPEN_PROJECT, {.Text = {}, .File = run.Core().Path("p.korvane")});
  APP_PostOperation(APP_OP_OPEN_DATA, {.Text = {}, .File = run.Core().Path("a.hex")});
  APP_PostOperation(APP_OP_DOWNLOAD);
  APP_PostOperation(APP_OP_DOWNLOAD_SN);
  EXPECT_TRUE(run.End());
  EXPECT_EQ(run.FrontEnd().CountLog("File downloaded successfully"), 3u) << run.FrontEnd().GetLog();
  EXPECT_TRUE(run.FrontEnd().HasBox("Successfully downloaded files to Zelmont."));
  EXPECT_EQ(ReadFile(run.Core().Path("fs/module2/Serial.txt")), std::string("7\0", 2));
}

// A window that was closed since the post has no image any more.
TEST(Lifecycle, JobsOfAUserRunProduction) {
  PROGRAM_RUN run({"-exit"});
  WriteFile(run.Core().Path("p.korvane"),
            "[PRODUCTION]\r\n  ProgramSN = 1\r\n  SNAddr = 0x100\r\n  SNLen = 4\r\n");
  WriteFile(run.Core().Path("a.hex"), ":0400100001020304E2\n:00000001FF\n");
  WriteFile(run.Core().Path("p_Serial.txt"), "7");
  run.Start();
  run.WaitInit();
  APP_State().SuppressGUI = 0;
  APP_PostOperation(APP_OP_OPEN_PROJECT, {.Text = {}, .File = run.Core().Path("p.korvane")});
  APP_PostOperation(APP_OP_OPEN_DATA, {.Text = {}, .File = run.Core().Path("a.hex")});
  ASSERT_TRUE(WaitFor([&] { return !run.FrontEnd().GetWindows().empty(); }));
  APP_DATA_WINDOW* const pWindow = run.FrontEnd().GetWindows()[0];
  APP_PostOperation(APP_OP_AUTO, {.Text = {}, .File = {}, .pWindow = pWindow});
  APP_PostOperation(APP_OP_AUTO, {.Text = {}, .File = {}, .pWindow = pWindow});
  APP_Post(APP_JOB_DATA_WINDOW_CLOSE, [pWindow] { APP_RemoveDataWindow(pWindow); });
  APP_PostOperation(APP_OP_AUTO, {.Text = {}, .File = {}, .pWindow = pWindow});
  APP_PostOperation(APP_OP_DISCONNECT);
  EXPECT_TRUE(run.End());
  EXPECT_EQ(run.FrontEnd().CountLog("OK (Total "), 2u) << run.FrontEnd().GetLog();
  EXPECT_TRUE(run.FrontEnd().HasBox("Could not auto program target, no data file opened."));
  EXPECT_EQ(ReadFile(run.Core().Path("chip.bin")).substr(0x100, 4), std::string("\x08\0\0\0", 4));
  EXPECT_EQ(ReadFile(run.Core().Path("p_Serial.txt")), "9");
  // Nobody is left to do a job, and whoever would wait is told.
  EXPECT_FALSE(APP_PostFor(APP_JOB_GET_GLOBAL_SETTINGS, APP_OWNER(), APP_GetGlobalSettings,
                           [](const GLOBAL_SETTINGS&) { FAIL(); }));
  EXPECT_EQ(APP_PostInit(&run.StartInfo()), -1);
}

// A dialog that is closed early neither gets an answer nor keeps the job from its end.
TEST(Lifecycle, AnswersReachAnOwnerAsLongAsItIsThere) {
  PROGRAM_RUN run({});
  run.Start();
  run.WaitInit();
  std::atomic<int> numMade{0}, numTold{0};
  std::atomic<bool> isWorking{false};
  const SYS_HANDLE hGo = SYS_CreateEvent(true, false);
  const auto ask = [&](const APP_OWNER& owner, bool waits) {
    return APP_PostFor(
        APP_JOB_GET_GLOBAL_SETTINGS, owner,
        [&, waits] {
          isWorking = true;
          return waits ? SYS_WaitForObject(hGo, SYS_INFINITE) + ++numMade : 1 * ++numMade;
        },
        [&](int made) { numTold += made; });
  };
  const APP_OWNER stays;
  auto goes = std::make_unique<APP_OWNER>();
  EXPECT_TRUE(ask(*goes, true) && ask(*goes, false) && ask(stays, false));
  EXPECT_TRUE(WaitFor([&] { return isWorking.load(); }));
  goes.reset();  // while the first works and the second waits for its turn
  SYS_SetEvent(hGo);
  EXPECT_TRUE(run.End());
  EXPECT_EQ(numMade, 2);
  EXPECT_EQ(numTold, 2);  // the third one's answer
  SYS_CloseHandle(hGo);
}

// By key and by job: an image of no bytes is refused before the probe is even opened.
TEST(Lifecycle, NothingToDoIsNoSuccess) {
  PROGRAM_RUN run({"-exit"});
  WriteFile(run.Core().Path("empty.bin"), "");
  run.Start();
  run.WaitInit();
  APP_State().SuppressGUI = 0;
  APP_PostOperation(APP_OP_OPEN_DATA, {.Text = run.Core().Path("empty.bin"), .File = {}});
  for (const auto id : {APP_OP_PROGRAM, APP_OP_PROGRAM_VERIFY, APP_OP_AUTO, APP_OP_VERIFY}) {
    APP_PostOperation(id);
  }
  EXPECT_TRUE(run.End());
  const std::string boxes = run.FrontEnd().GetBoxTexts();
  EXPECT_EQ(run.FrontEnd().CountLog("ERROR: The data file holds no data."), 4u) << boxes;
  EXPECT_FALSE(run.FrontEnd().HasLog("Connecting"));
  EXPECT_EQ(APP_GetRunCause(), APP_CAUSE::NoData);
}

// Results come back in order, on the application thread; a reader looks at the listing meanwhile.
TEST(Lifecycle, FileRequestsComeBackToWhoAskedForThem) {
  struct BROWSER {
    ZELMONT_FILE_LIST List;
    std::atomic<u32> NumDone = 0;
    std::string Trace;
  } browser;
  PROGRAM_RUN run({});
  run.Core().SetProbe({{"FileSystem", "fs"}});
  run.Start();
  run.WaitInit();
  const auto post = [&](u32 type, const char* sPath) {
    auto pRequest = std::make_unique<ZELMONT_FILE_REQUEST>();
    pRequest->Type = type;
    UTIL_strcpy(pRequest->acPath, sPath, sizeof(pRequest->acPath));
    pRequest->Params.pList = &browser.List;
    pRequest->pDialog = &browser;
    pRequest->pfFinish = [](ZELMONT_FILE_REQUEST* pDone) {
      auto& asker = *static_cast<BROWSER*>(pDone->pDialog);
      EXPECT_TRUE(WORKER_IsWorkerThread());
      asker.Trace += std::to_string(pDone->Type) + (pDone->Result == 0 ? "+ " : "- ");
      asker.NumDone += 1;
    };
    return APP_PostZelmontFileAction(std::move(pRequest));
  };
  EXPECT_TRUE(post(ZELMONT_REQ_CHECK, "") && post(ZELMONT_REQ_NEW_FOLDER, "/n") &&
              post(ZELMONT_REQ_LIST, "/") && post(ZELMONT_REQ_LIST, "/none/") &&
              post(ZELMONT_REQ_CLOSE, ""));
  ASSERT_TRUE(WaitFor([&] {
    const SYS_LOCK_GUARD lock(browser.List.Lock);
    EXPECT_LE(browser.List.aEntries.size(), 1u);
    return browser.NumDone == 5;
  }));
  EXPECT_EQ(browser.Trace, "0+ 2+ 1+ 1- 8+ ");
  EXPECT_STREQ(browser.List.aEntries.at(0).acName, "n");
  EXPECT_TRUE(run.FrontEnd().HasBox("Failed to list '\\none\\'.")) << run.FrontEnd().GetLog();
  EXPECT_TRUE(run.End());
  EXPECT_FALSE(post(ZELMONT_REQ_LIST, "/"));
  EXPECT_EQ(browser.NumDone, 5u);
}

}  // namespace
