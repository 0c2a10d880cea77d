#include "app/engine/progress.h"

#include <gtest/gtest.h>

#include <thread>

#include "tests/support/engine_scope.h"

namespace {

TEST(Progress, RangeClampsValuesDoNot) {
  struct ROW {
    u32 Min, Max, Value, Delta;
    u32 ExpectedMax, ExpectedValue;
  };
  constexpr ROW ROWS[] = {{0, 100, 0, 30, 100, 30},
                          {0, 100, 90, 30, 100, 120},  // only the range clamps
                          {50, 10, 50, 0, 50, 50},
                          {0, 0xFFFFFFFF, 0xFFFFFFF0, 0x20, 0xFFFFFFFF, 0xFFFFFFFF}};
  for (const ROW& row : ROWS) {
    PROGRESS_INFO* p = PROGRESS_Create("T", "x", 0);
    PROGRESS_SetValue(p, 77);
    PROGRESS_SetRange(p, row.Min, row.Max);
    EXPECT_EQ(row.Min, p->Value);
    EXPECT_EQ(row.ExpectedMax, p->Max);
    PROGRESS_SetValue(p, row.Value);
    PROGRESS_AddValue(p, row.Delta);
    EXPECT_EQ(row.ExpectedValue, p->Value);
    PROGRESS_Free(p);
  }
}

TEST(Progress, ShiftBringsAnyRangeInto32Bits) {
  for (const auto& [max, shift] : {std::pair<u64, u32>{0, 0},
                                   {0xFFFFFFFF, 0},
                                   {0x100000000, 1},
                                   {0x1FFFFFFFF, 1},
                                   {0x200000000, 2},
                                   {~u64{0}, 32}}) {
    EXPECT_EQ(shift, PROGRESS_GetShift(max)) << max;
  }
}

TEST(Progress, NullRecordIsIgnored) {
  PROGRESS_SetRange(nullptr, 0, 1);
  PROGRESS_AddValue(nullptr, 1);
  PROGRESS_SetText(nullptr, "x");
  PROGRESS_Cancel(nullptr);
  PROGRESS_Free(nullptr);
  EXPECT_EQ(-1, PROGRESS_IsCanceled(nullptr));
}

TEST(Progress, RefreshComesWithoutTheLock) {
  EngineScope engine;
  int result = -1;
  engine.FrontEnd.OnRefresh = [&](PROGRESS_INFO* p) {
    // Another thread, since the lock is recursive.
    std::thread([&] {
      result = SYS_MUTEX_Lock(p->Lock, 60'000);
      SYS_MUTEX_Unlock(p->Lock);
    }).join();
  };
  APP_PROGRESS progress("Erasing");
  PROGRESS_SetSubText(progress.Get(), "Sector 1");
  PROGRESS_SetSubText(progress.Get(), std::string(1000, 'y').c_str());
  EXPECT_EQ(0, result);
  EXPECT_EQ((std::vector<std::string>{"Erasing", "Sector 1", "Erasing", std::string(255, 'y')}),
            engine.FrontEnd.GetProgressTexts());
  progress.Close();
  EXPECT_EQ(0u, engine.FrontEnd.GetNumOpenProgress());
  EXPECT_EQ(16u, engine.FrontEnd.GetProgressFlags());
  EXPECT_STREQ("Korvane SPI", engine.FrontEnd.GetLastProgress().sTitle);
}

TEST(Progress, NewestOpenRecordDecidesWhetherTheOperationLives) {
  EngineScope engine;
  EXPECT_EQ(1, APP_IsOperationAlive());
  APP_PROGRESS outer("Auto");
  {
    APP_PROGRESS inner("Verify");
    PROGRESS_Cancel(inner.Get());
    EXPECT_EQ(0, APP_IsOperationAlive());
  }
  EXPECT_EQ(1, APP_IsOperationAlive());
  PROGRESS_Cancel(outer.Get());
  EXPECT_EQ(0, APP_IsOperationAlive());
  outer.Close();
  EXPECT_EQ(1, APP_IsOperationAlive());
  engine.FrontEnd.FailNextProgress();
  APP_PROGRESS none("No memory");
  EXPECT_EQ(nullptr, none.Get());
  EXPECT_EQ(1, APP_IsOperationAlive());
}

TEST(Progress, CancelFromAnotherThreadEndsTheLoop) {
  EngineScope engine;
  APP_PROGRESS progress("Programming");
  std::thread user([&] { PROGRESS_Cancel(progress.Get()); });
  PROGRESS_SetRange(progress.Get(), 0, 1000);
  while (APP_IsOperationAlive() == 1) {
    PROGRESS_AddValue(progress.Get(), 1);
  }
  user.join();
  EXPECT_TRUE(progress.IsCanceled());
}

}  // namespace
