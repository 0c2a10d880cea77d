#include "catalogue/devices/custom_step.h"

#include <gtest/gtest.h>

#include <tuple>

// Step records store the row, so that its order binds; flags and limits drive editor and log.
TEST(CustomStep, ActionTable) {
  const struct {
    const char* sName;
    u32 Max0, Flags0, Max1, Flags1;
  } rows[] = {
      {"Comment", 0, 0, 0, 0},
      {"Delay", 0xFFFF, 0x12, 0, 0},
      {"Activate CS", 0, 0, 0, 0},
      {"Deactivate CS", 0, 0, 0, 0},
      {"Write Data", 16, 0x14, 0xFFFFFFFF, 0x50},
      {"Var Read Data", 15, 0x14, 16, 0x14},
      {"Var Verify Byte", 15, 0x11, 0xFF, 0x31},
      {"Var Write Data", 15, 0x14, 16, 0x14},
      {"Var AND", 15, 0x11, 0xFF, 0x31},
      {"Var OR", 15, 0x11, 0xFF, 0x31},
      {"Var XOR", 15, 0x11, 0xFF, 0x31},
      {"Var BEQ", 15, 0x11, 0xFF, 0x92},
      {"Var BNE", 15, 0x11, 0xFF, 0x92},
  };
  ASSERT_EQ(CUSTOM_GetNumActions(), std::size(rows));
  for (u32 i = 0; i < std::size(rows); ++i) {
    const CUSTOM_ACTION* pAction = CUSTOM_GetAction(i);
    ASSERT_NE(pAction, nullptr);
    EXPECT_EQ(std::tie(pAction->aPara[0].Max, pAction->aPara[0].Flags, pAction->aPara[1].Max,
                       pAction->aPara[1].Flags),
              std::tie(rows[i].Max0, rows[i].Flags0, rows[i].Max1, rows[i].Flags1))
        << rows[i].sName;
    EXPECT_EQ(CUSTOM_FindAction(rows[i].sName), static_cast<i32>(i));
    EXPECT_EQ(CUSTOM_IsByteStream(i), (rows[i].Flags1 & 0x50) == 0x50);
  }
  EXPECT_EQ(CUSTOM_GetAction(CUSTOM_NUM_ACTIONS), nullptr);
}

TEST(CustomStep, FindAction) {
  EXPECT_EQ(CUSTOM_FindAction("wRITE dATA"), CUSTOM_WRITE_DATA);
  for (const char* sName : {"Write Dat", "Write Data ", "", "Wait"}) {
    EXPECT_EQ(CUSTOM_FindAction(sName), -1) << sName;
  }
  EXPECT_EQ(CUSTOM_FindAction(nullptr), -1);
}
