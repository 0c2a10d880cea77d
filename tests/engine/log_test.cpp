#include "app/engine/log.h"

#include <gtest/gtest.h>

#include <map>
#include <thread>

#include "app/engine/app_state.h"
#include "tests/support/engine_scope.h"
#include "tests/support/fake_time.h"
#include "tests/support/temp_dir.h"

namespace {

// What the hooks answer and do; they take no context.
u32 LogLevel;
std::string LogFileName;

class LogTest : public testing::Test {
 protected:
  LogTest() {
    LogLevel = 3;
    LogFileName = m_Dir.file("Korvane.log");
    APP_EngineHooks = {
        [] { return LogLevel; }, [] { return true; },
        [](char* pBuf, u32 BufSize) { std::snprintf(pBuf, BufSize, "%s", LogFileName.c_str()); }};
  }

  EngineScope m_Engine;
  SCRIPTED_FRONTEND& m_FrontEnd = m_Engine.FrontEnd;
  TempDir m_Dir;
};

TEST_F(LogTest, LevelAndDepthDecideWhatShows) {
  constexpr struct {
    u32 Level, Depth;
    bool Detail, Outcome;
  } ROWS[] = {{1, 0, true, true},   {1, 1, false, true}, {2, 1, true, true}, {2, 2, false, false},
              {3, 1, true, true},   {3, 2, false, true}, {4, 2, true, true}, {8, 4, true, true},
              {8, 5, false, false}, {9, 20, true, true}};
  for (const auto& row : ROWS) {
    SCOPED_TRACE(testing::Message() << "level " << row.Level << " depth " << row.Depth);
    LogLevel = row.Level;
    const auto open = [&] {
      APP_LogReset();
      for (u32 i = 0; i < row.Depth; ++i) {
        APP_LogBegin("Open");
      }
      m_FrontEnd.ClearLog();
    };
    open();
    APP_LogInfo("Detail");
    AddLogLine("Always");
    APP_LogError(APP_CAUSE::Internal, "Bad");
    APP_LogBegin("Headline");
    EXPECT_EQ(row.Detail, m_FrontEnd.HasLog("Detail"));
    EXPECT_EQ(row.Detail, m_FrontEnd.HasLog("Headline"));
    EXPECT_EQ(row.Outcome, m_FrontEnd.HasLog("ERROR: Bad"));
    EXPECT_TRUE(m_FrontEnd.HasLog("Always"));
    open();
    APP_LogEndEx("Closed");
    EXPECT_EQ(row.Outcome && row.Depth != 0, m_FrontEnd.HasLog("Closed"));
  }
}

TEST_F(LogTest, IndentsByDepthAndKeepsColours) {
  LogLevel = 9;
  APP_LogBegin("one");
  APP_LogBegin("two");
  APP_LogBegin("three");
  APP_LogError(APP_CAUSE::Internal, "x\ny");
  EXPECT_EQ("one\n - two\n  - three\n   - \033[1;31mERROR: x\ny\033[0m\n",
            m_FrontEnd.GetColouredLog());
  EXPECT_EQ(3u, APP_GetLogDepth());
  // No depth may push the text out of the line.
  for (u32 i = 0; i < 2000; ++i) {
    APP_LogBegin(nullptr);
  }
  AddLogLine("deep");
  EXPECT_TRUE(m_FrontEnd.HasLog(" - deep\n"));
}

TEST_F(LogTest, CutsLongLinesBetweenCharacters) {
  std::string text;
  while (text.size() < 3000) {
    text += "\xE2\x82\xAC";  // three bytes each
  }
  for (const std::string shift : {"", "a", "ab"}) {
    m_FrontEnd.ClearLog();
    AddLogLine((shift + text).c_str());
    const std::string line = m_FrontEnd.GetLog();
    EXPECT_EQ(0u, (line.size() - 1 - shift.size()) % 3);
    EXPECT_GT(line.size(), 1018u);
    EXPECT_LT(line.size(), 1024u);
  }
  m_FrontEnd.ClearLog();
  APP_LogErrorf(APP_CAUSE::Internal, "%s", (text + text).c_str());
  const std::string line = m_FrontEnd.GetColouredLog();
  EXPECT_EQ("\033[0m\n", line.substr(line.size() - 5));
  EXPECT_LT(line.size(), 1024u);
}

// Log, box and outcome are filled by one call, so each of them has all errors and their facts.
TEST_F(LogTest, FailedOperationShowsAllErrorsInOneBoxAndOneOutcome) {
  LogLevel = 1;
  APP_LogBegin("Erasing");
  APP_LogBegin("Hidden");
  APP_LogErrorf(APP_CAUSE::DriverLibrary, "Sector %llX", 0x123456789ull);
  APP_LogEndEx("Hidden done");
  APP_LogError(APP_ERROR(APP_CAUSE::VerifyDiffers).At(0x1234).Differs(0x55, 0xAA),
               "Failed to erase\n");
  APP_LogError(APP_ERROR(APP_CAUSE::FileDamaged).In("a.hex", 7), "Stopped");
  EXPECT_EQ(3u, APP_GetErrorCount());
  EXPECT_EQ(0, APP_IsOperationAlive());
  APP_LogCompleted("Erase");
  EXPECT_TRUE(m_FrontEnd.GetBoxes().empty());
  APP_LogEndEx("Done");
  EXPECT_EQ("Sector 123456789\nFailed to erase\nStopped\n", m_FrontEnd.GetBoxTexts());
  EXPECT_EQ(APP_ICON_WARNING, m_FrontEnd.GetBoxes()[0].Icon);
  EXPECT_FALSE(m_FrontEnd.HasLog("Completed") || m_FrontEnd.HasLog("Done"));
  const APP_OUTCOME& outcome = APP_GetOutcome();
  EXPECT_EQ("Erasing", outcome.Name);
  ASSERT_EQ(3u, outcome.Errors.size());
  EXPECT_EQ(APP_CAUSE::VerifyDiffers, outcome.Cause());  // the first one says too little
  EXPECT_EQ(0x1234u, *outcome.Errors[1].Addr);
  EXPECT_EQ(0xAA, *outcome.Errors[1].Read);
  EXPECT_EQ("a.hex", outcome.Errors[2].File);
  ASSERT_EQ(1u, outcome.Steps.size());
  EXPECT_EQ("Hidden", outcome.Steps[0].Name);
  APP_LogEndEx("Nothing is open");
  EXPECT_EQ(0u, APP_GetLogDepth());
}

TEST_F(LogTest, CompletedTellsTheTimeOnceAtTheTop) {
  const FakeTime time;
  APP_LogError(APP_CAUSE::Internal, "From before");
  {
    APP_LOG_SECTION outer("Erasing");
    FakeTime::AdvanceMs(12'000);
    {
      APP_LOG_SECTION inner("Sector");
      APP_LogCompleted("Sector erase");
    }
    FakeTime::AdvanceMs(45);
    APP_LogCompleted("Erase");
    outer.SetEnd("Bye");
  }
  EXPECT_TRUE(
      m_FrontEnd.HasLog("Erasing\n - Sector\n  - Sector erase\n"
                        " - Erase - Completed after 12.045 sec\n - Bye\n"));
  EXPECT_EQ("Erase - Completed after 12.045 sec\n", m_FrontEnd.GetBoxTexts());
  EXPECT_EQ(APP_ICON_INFORMATION, m_FrontEnd.GetBoxes()[0].Icon);
  EXPECT_TRUE(APP_GetOutcome().IsGood());
}

TEST_F(LogTest, LogFileHoldsPlainLines) {
  WriteFile(LogFileName, "of the last run");
  APP_EnableLogFile(true);
  APP_EnableLogFile(true);  // must not start the file anew
  APP_LogBegin("Start");
  APP_LogError(APP_CAUSE::Internal, "a\nb\tc\r\nd \033 \033[9");
  AddLogLine("");
  APP_LogWarning("\xC3\xA9");
  APP_EnableLogFile(false);
  AddLogLine("behind");
  const std::string expected =
      "Start\r\n - ERROR: a\r\nb  c\r\nd  [9\r\n - \r\n - WARNING: \xC3\xA9\r\n";
  EXPECT_EQ(expected, ReadFile(LogFileName));
  APP_EnableLogFile(true);
  APP_EnableLogFile(false);
  EXPECT_EQ("", ReadFile(LogFileName));
  // A file that can't be opened is told, and the log goes on.
  LogFileName = m_Dir.file("none/Korvane.log");
  APP_EnableLogFile(true);
  AddLogLine("goes on");
  EXPECT_TRUE(m_FrontEnd.HasBox("Could not open file [" + LogFileName + "]\nPath not found!\n"));
  EXPECT_TRUE(m_FrontEnd.HasLog("goes on\n"));
}

TEST_F(LogTest, LinesOfSeveralThreadsStayWhole) {
  constexpr u32 NUM_LINES = 300;
  APP_EnableLogFile(true);
  std::vector<std::thread> aThreads;
  for (char c : {'a', 'b', 'c', 'd'}) {
    aThreads.emplace_back([c] {
      for (u32 i = 0; i < NUM_LINES; ++i) {
        AddLogLine(std::string(700, c).c_str());
      }
    });
  }
  for (u32 i = 0; i < NUM_LINES; ++i) {  // sections move the depth meanwhile
    APP_LogBegin("");
    APP_LogEnd();
  }
  for (std::thread& thread : aThreads) {
    thread.join();
  }
  APP_EnableLogFile(false);
  std::map<std::string, u32> counts;
  std::ifstream file(LogFileName);
  for (std::string line; std::getline(file, line);) {
    ++counts[line.erase(0, line.find_first_not_of(" -"))];  // of any depth
  }
  for (char c : {'a', 'b', 'c', 'd'}) {
    EXPECT_EQ(NUM_LINES, counts[std::string(700, c) + "\r"]);
  }
}

}  // namespace
