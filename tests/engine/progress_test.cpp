#include "app/engine/progress.h"

#include <gtest/gtest.h>

#include <thread>

#include "tests/support/engine_scope.h"

namespace {

TEST(Progress, ValuesStayInTheirRangeAndDoNotOverflow) {
  PROGRESS_INFO* p = PROGRESS_Create("T", "x", 0);
  PROGRESS_SetRange(p, 50, 10);
  EXPECT_EQ(50u, p->Value);
  EXPECT_EQ(50u, p->Max);
  PROGRESS_AddValue(p, 0xFFFFFFF0);
  EXPECT_EQ(0xFFFFFFFFu, p->Value);
  PROGRESS_Free(p);
  EXPECT_EQ(-1, PROGRESS_IsCanceled(nullptr));
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

// Cancel is meant for the whole operation, in whichever of its dialogs it was pressed; the next
// operation knows nothing of it.
TEST(Progress, CancelCountsForTheWholeOperation) {
  EngineScope engine;
  EXPECT_EQ(1, APP_IsOperationAlive());
  {
    const APP_LOG_SECTION section("Auto");
    APP_PROGRESS outer("Auto");
    {
      APP_PROGRESS inner("Verify");
      PROGRESS_Cancel(inner.Get());
      EXPECT_EQ(0, APP_IsOperationAlive());
    }
    EXPECT_EQ(0, APP_IsOperationAlive());
  }
  const APP_LOG_SECTION section("Next");
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
