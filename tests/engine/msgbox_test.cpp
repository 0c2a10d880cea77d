#include <gtest/gtest.h>

#include "app/engine/app_state.h"
#include "app/engine/log.h"
#include "tests/support/engine_scope.h"

namespace {

u32 AskQuestion() {
  return APP_MsgBox("Really?", "Yes", "No", 1, APP_ICON_QUESTION, 7);
}

TEST(MsgBox, AnswerOfTheUserCounts) {
  EngineScope engine;
  engine.FrontEnd.AnswerBox(0);
  engine.FrontEnd.RejectBox();
  EXPECT_EQ(0u, AskQuestion());
  EXPECT_EQ(7u, AskQuestion());
  EXPECT_EQ(1u, AskQuestion());
  const SCRIPTED_BOX box = engine.FrontEnd.GetBoxes()[0];
  EXPECT_EQ("Korvane SPI V9.38", box.Title);
  EXPECT_EQ("Yes", box.Btn0);
  EXPECT_EQ("No", box.Btn1);
  EXPECT_EQ("", engine.FrontEnd.GetLog());
}

// Even when boxes are suppressed.
TEST(MsgBox, TitlesAreJoinedAndTheCheckBoxComesBack) {
  EngineScope engine;
  APP_State().SuppressGUI = 1;
  u32 checkState = 0;
  APP_MSGBOX_ARGS args;
  args.sTitle = "Erase";
  args.sTitle2 = "chip";
  args.sText = "Sure?";
  args.sCheckBox = "Never ask again";
  args.pCheckState = &checkState;
  engine.FrontEnd.AnswerBox(1, u8{1});
  EXPECT_EQ(1u, APP_MsgBoxAlways(args));
  EXPECT_EQ(1u, checkState);
  EXPECT_EQ("Erase chip", engine.FrontEnd.GetBoxes()[0].Title);
}

// Each call, in SuppressGUI mode: what it leaves in the log, and in the run.
TEST(MsgBox, SuppressedBoxesGoToTheLog) {
  constexpr struct {
    void (*pfCall)();
    const char* sLog;
    u32 NumErrors;
  } ROWS[] = {
      {[] { EXPECT_EQ(1u, AskQuestion()); }, "Korvane SPI V9.38: Really?\n", 0},
      {[] { APP_ShowError(APP_CAUSE::Internal, "Bad"); }, "Korvane SPI V9.38: Bad\n", 1},
      {[] { APP_ShowErrorf(APP_CAUSE::Internal, "Bad %d", 5); }, "Korvane SPI V9.38: Bad 5\n", 1},
      {[] { APP_LogWarning("Odd"); }, "WARNING: Odd\nKorvane SPI V9.38: Odd\n", 0},
      {[] {
         APP_MSGBOX_ARGS args;
         args.sText = "Bare";
         args.DefaultBtn = 3;
         EXPECT_EQ(3u, APP_MsgBoxEx(args));
       },
       "Bare\n", 0},
      {[] {
         APP_LogBegin("Work");
         APP_LogError(APP_CAUSE::Internal, "One");
         APP_LogError(APP_CAUSE::Internal, "Two");
         APP_LogEnd();
       },
       "Work\n - ERROR: One\n - ERROR: Two\nKorvane SPI V9.38: One\nTwo\n", 2},
      // Deep below what the log level shows; the cause of the exit status must not get lost.
      {[] {
         for (u32 i = 0; i < 3; ++i) {
           APP_LogBegin(nullptr);
         }
         APP_ShowError(APP_CAUSE::Internal, "Deep");
         AskQuestion();
       },
       "   - Korvane SPI V9.38: Deep\n", 1}};
  for (const auto& row : ROWS) {
    SCOPED_TRACE(row.sLog);
    EngineScope engine;
    APP_State().SuppressGUI = 1;
    row.pfCall();
    EXPECT_EQ(row.sLog, engine.FrontEnd.GetLog());
    EXPECT_EQ(row.NumErrors, APP_GetNumRunErrors());
    EXPECT_TRUE(engine.FrontEnd.GetBoxes().empty());
  }
}

TEST(MsgBox, LongErrorListIsCutBetweenCharacters) {
  EngineScope engine;
  APP_State().SuppressGUI = 1;
  std::string text;
  while (text.size() < 4000) {
    text += "\xC3\xA9";
  }
  for (const std::string shift : {"", "x"}) {
    engine.FrontEnd.ClearLog();
    APP_ShowError(APP_CAUSE::Internal, (shift + text).c_str());
    const std::string log = engine.FrontEnd.GetLog();
    EXPECT_GT(log.size(), 1000u);
    EXPECT_EQ("\xC3\xA9\n", log.substr(log.size() - 3));
  }
}

TEST(MsgBox, WithoutFrontEndStandardErrorGetsTheText) {
  EngineScope engine;
  APP_SetFrontEnd(nullptr);
  testing::internal::CaptureStderr();
  EXPECT_EQ(1u, AskQuestion());
  APP_LogError(APP_CAUSE::Internal, "Broken");
  EXPECT_EQ("Korvane SPI V9.38: Really?\nERROR: Broken\n", testing::internal::GetCapturedStderr());
}

}  // namespace
