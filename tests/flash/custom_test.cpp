#include "flash/custom.h"

#include <gtest/gtest.h>

#include <cstring>

#include "tests/flash/flash_scope.h"

namespace {

CUSTOM_STEP Step(u32 Action, u32 Value0, u32 Value1) {
  CUSTOM_STEP step{};
  step.ActionIndex = Action;
  step.Value0 = Value0;
  step.Value1 = Value1;
  for (u32 i = 0; i < sizeof(step.abData); ++i) {
    step.abData[i] = static_cast<u8>(0xA0 + i);
  }
  std::strcpy(step.acComment, "Hello");
  return step;
}

// Each action from a buffer of 00 01 .. 0F.
TEST(Custom, Actions) {
  const struct {
    u32 Action, Value0, Value1;
    const char* sError;  // null: none
    u32 Next;
    const char* sCalls;
    const char* sLog;
  } rows[] = {
      {CUSTOM_COMMENT, 0, 0, nullptr, 8, "", "//\r\n   // Hello\r\n   //\n"},
      {CUSTOM_DELAY, 70000, 0, nullptr, 8, "", "Executing Delay (65535 ms)\n"},
      {CUSTOM_ACTIVATE_CS, 0, 0, nullptr, 8, "Line c\n", "Executing Activate CS ()\n"},
      {CUSTOM_DEACTIVATE_CS, 0, 0, nullptr, 8, "Line C\n", "Executing Deactivate CS ()\n"},
      {CUSTOM_WRITE_DATA, 3, 0, nullptr, 8, "W A0A1A2 24 000\n",
       "Executing Write Data - 0xA0, 0xA1, 0xA2\n"},
      {CUSTOM_WRITE_DATA, 99, 0, nullptr, 8, "W A0A1A2A3A4A5A6A7.. 128 000\n", ", 0xAE, 0xAF...\n"},
      {CUSTOM_VAR_READ_DATA, 15, 1, nullptr, 8, "R 8 000\n", " - Read Data - 0x5A\n"},
      {CUSTOM_VAR_READ_DATA, 14, 2, nullptr, 8, "R 16 000\n", " - Read Data - 0x5A, 0x5A\n"},
      {CUSTOM_VAR_READ_DATA, 15, 2, "Invalid parameters", 8, "",
       "Executing Var Read Data (15, 2)\n"},
      {CUSTOM_VAR_READ_DATA, 0, 17, nullptr, 8, "R 128 000\n", "(0, 16"},
      {CUSTOM_VAR_WRITE_DATA, 14, 1, nullptr, 8, "W 0E 8 000\n", " - Write Data - 0x0E\n"},
      {CUSTOM_VAR_WRITE_DATA, 15, 1, "Invalid parameters", 8, "", ""},
      {CUSTOM_VAR_VERIFY_BYTE, 7, 7, nullptr, 8, "", " - Verifying...O.K.\n"},
      {CUSTOM_VAR_VERIFY_BYTE, 7, 0x1F,
       "Verification failed @ VarBufferIndex 7: Expected: 0x1F, Found: 0x07", 8, "",
       "Executing Var Verify Byte (7, 0x1F)\n"},
      {CUSTOM_VAR_BEQ, 0, 3, nullptr, 3, "", " - Branch operation performed\n"},
      {CUSTOM_VAR_BEQ, 1, 3, nullptr, 8, "", "Executing Var BEQ (1, 3 #)\n"},
      {CUSTOM_VAR_BNE, 1, 300, nullptr, 255, "", " - Branch operation performed\n"},
      {CUSTOM_VAR_BNE, 0, 3, nullptr, 8, "", ""},
      {CUSTOM_NUM_ACTIONS, 0, 0, "Invalid parameters", 7, "", ""},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(testing::Message() << row.Action << " " << row.Value0 << " " << row.Value1);
    FakeScope fake;
    fake.Status = {0x5A};
    for (u8 i = 0; i < 16; ++i) {
      CUSTOM_GetVarBuffer()[i] = i;
    }
    fake.FrontEnd().ClearLog();
    u32 index = 7;
    const CUSTOM_STEP step = Step(row.Action, row.Value0, row.Value1);
    const char* sError = CUSTOM_RunStep(&step, &index);
    EXPECT_STREQ(sError, row.sError);
    EXPECT_EQ(index, row.Next);
    EXPECT_EQ(fake.Log, row.sCalls);
    EXPECT_TRUE(fake.FrontEnd().HasLog(row.sLog)) << fake.FrontEnd().GetLog();
  }
}

TEST(Custom, LogicStaysInTheBuffer) {
  const struct {
    u32 Action, Value0, Value1;
    u8 Before, After;
  } rows[] = {{CUSTOM_VAR_AND, 15, 0x3C, 0xCD, 0x0C},
              {CUSTOM_VAR_OR, 99, 0xF0, 0x0F, 0xFF},
              {CUSTOM_VAR_XOR, 15, 0xFFFF, 0x0F, 0xF0}};
  FlashScope scope;
  for (const auto& row : rows) {
    CUSTOM_GetVarBuffer()[15] = row.Before;
    u32 index = 0;
    const CUSTOM_STEP step = Step(row.Action, row.Value0, row.Value1);
    EXPECT_EQ(CUSTOM_RunStep(&step, &index), nullptr);
    EXPECT_EQ(CUSTOM_GetVarBuffer()[15], row.After);
  }
}

TEST(Custom, Sequences) {
  FakeScope fake;
  EXPECT_EQ(CUSTOM_RunSteps({}, "init sequence"), 0);
  EXPECT_TRUE(fake.FrontEnd().HasLog("Executing init sequence...\n - Executed successfully\n"));
  // A branch beyond the end is an end.
  CUSTOM_GetVarBuffer()[0] = 0;
  CUSTOM_STEP steps[] = {Step(CUSTOM_VAR_BEQ, 0, 9), Step(CUSTOM_WRITE_DATA, 1, 0)};
  EXPECT_EQ(CUSTOM_RunSteps(steps, "x"), 0);
  EXPECT_EQ(fake.Log, "");
  // The library's error channel ends a loop that would never end by itself.
  steps[0] = Step(CUSTOM_WRITE_DATA, 1, 0);
  steps[1] = Step(CUSTOM_VAR_BEQ, 0, 0);
  VORTIC_SetErrorOutHandler(DRIVER_GetErrorHandler());
  fake.ErrorAtTransfer = 5;
  EXPECT_EQ(CUSTOM_RunSteps(steps, "x"), -1);
  EXPECT_EQ(fake.FrontEnd().GetBoxTexts(), "Link lost\n");
}

}  // namespace
