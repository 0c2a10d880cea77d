#include "sys/thread.h"

#include <gtest/gtest.h>

#include <thread>

#include "sys/library.h"
#include "sys/path.h"
#include "sys/time.h"
#include "tests/support/fake_time.h"
#include "tests/support/temp_dir.h"

namespace {

TEST(SysThread, SignalsItsEndAndKnowsItsId) {
  struct {
    SYS_HANDLE hGo = SYS_CreateEvent(false, false);
    u64 OwnId = 0;
  } shared;
  u64 id = 0;
  const SYS_HANDLE h = SYS_CreateThread(
      [](void* p) {
        auto* const pShared = static_cast<decltype(shared)*>(p);
        SYS_WaitForObject(pShared->hGo, SYS_INFINITE);
        pShared->OwnId = SYS_GetCurrentThreadId();
      },
      &shared, &id, "A name longer than shown", 0);
  EXPECT_EQ(SYS_WaitForObject(h, 0), SYS_WAIT_TIMEOUT);
  SYS_SetEvent(shared.hGo);
  EXPECT_EQ(SYS_WaitForObject(h, SYS_INFINITE), 0);
  EXPECT_EQ(SYS_WaitForObject(h, 0), 0);
  EXPECT_EQ(shared.OwnId, id);
  EXPECT_NE(id, SYS_GetCurrentThreadId());
  SYS_CloseHandle(h);
  SYS_CloseHandle(shared.hGo);
  EXPECT_EQ(SYS_CreateThread([](void*) {}, nullptr, nullptr, nullptr, 1), 0u);
}

TEST(SysEvent, AutomaticAndManualReset) {
  const struct {
    bool IsManual, IsSet;
    int First, Second;
  } rows[] = {{false, true, 0, SYS_WAIT_TIMEOUT},
              {true, true, 0, 0},
              {false, false, SYS_WAIT_TIMEOUT, SYS_WAIT_TIMEOUT}};
  for (const auto& row : rows) {
    const SYS_HANDLE h = SYS_CreateEvent(row.IsManual, row.IsSet);
    EXPECT_EQ(SYS_WaitForObject(h, 0), row.First);
    EXPECT_EQ(SYS_WaitForObject(h, 1), row.Second);
    SYS_SetEvent(h);
    EXPECT_EQ(SYS_WaitForObject(h, SYS_INFINITE), 0);
    SYS_CloseHandle(h);
  }
  SYS_SetEvent(0);
  SYS_CloseHandle(0);
  EXPECT_EQ(SYS_WaitForObject(0, SYS_INFINITE), 0);
}

TEST(SysEvent, HandsOverBetweenThreads) {
  const SYS_HANDLE hGo = SYS_CreateEvent(false, false);
  const SYS_HANDLE hDone = SYS_CreateEvent(false, false);
  int num = 0;
  std::thread other([&] {
    for (int i = 0; i < 100; ++i) {
      SYS_WaitForObject(hGo, SYS_INFINITE);
      ++num;
      SYS_SetEvent(hDone);
    }
  });
  for (int i = 0; i < 100; ++i) {
    SYS_SetEvent(hGo);
    EXPECT_EQ(SYS_WaitForObject(hDone, SYS_INFINITE), 0);
    EXPECT_EQ(num, i + 1);
  }
  other.join();
  SYS_CloseHandle(hGo);
  SYS_CloseHandle(hDone);
}

TEST(SysMutex, RecursiveForItsThreadTimedForOthers) {
  const TempDir dir;
  setenv("XDG_RUNTIME_DIR", dir.path().c_str(), 1);
  for (const char* const sName : {static_cast<const char*>(nullptr), "a/name"}) {
    const FakeTime clock;
    SYS_MUTEX mutex = SYS_MUTEX_Create(sName);
    ASSERT_NE(mutex, nullptr);
    EXPECT_EQ(SYS_MUTEX_Lock(mutex, SYS_INFINITE), 0);
    EXPECT_EQ(SYS_MUTEX_Lock(mutex, 0), 0);
    SYS_MUTEX_Unlock(mutex);
    for (const int expected : {SYS_WAIT_TIMEOUT, 0}) {
      std::thread([&] {
        EXPECT_EQ(SYS_MUTEX_Lock(mutex, 50), expected);
        expected == 0 ? SYS_MUTEX_Unlock(mutex) : void();
      }).join();
      EXPECT_EQ(FakeTime::GetSleptMs(), 51u);
      expected != 0 ? SYS_MUTEX_Unlock(mutex) : void();
    }
    SYS_MUTEX_Destroy(&mutex);
    EXPECT_EQ(mutex, nullptr);
  }
  unsetenv("XDG_RUNTIME_DIR");
  EXPECT_EQ(SYS_MUTEX_Lock(nullptr, 0), 0);
}

TEST(SysMutex, ANameIsOneLockForAll) {
  const TempDir dir;
  setenv("XDG_RUNTIME_DIR", dir.path().c_str(), 1);
  const FakeTime clock;
  SYS_MUTEX first = SYS_MUTEX_Create("same");
  SYS_MUTEX second = SYS_MUTEX_Create("same");
  EXPECT_EQ(SYS_MUTEX_Lock(first, SYS_INFINITE), 0);
  EXPECT_EQ(SYS_MUTEX_Lock(second, 5), SYS_WAIT_TIMEOUT);
  SYS_MUTEX_Destroy(&first);  // as its process would by ending
  EXPECT_EQ(SYS_MUTEX_Lock(second, 5), 0);
  SYS_MUTEX_Unlock(second);
  SYS_MUTEX_Destroy(&second);
  unsetenv("XDG_RUNTIME_DIR");
}

TEST(SysTime, FollowsItsSource) {
  const FakeTime clock;
  const u64 start = SYS_GetPerfTicks();
  const u32 startMs = SYS_GetTickMs();
  SYS_Sleep(1500);
  EXPECT_EQ(SYS_GetElapsedUs(start), 1500000u);
  FakeTime::AdvanceMs(0x100000002);
  EXPECT_EQ(SYS_GetTickMs(), startMs + 1502);
}

TEST(SysLibrary, LoadFindUnload) {
  char acError[256];
  EXPECT_EQ(SYS_LIB_Load("/nowhere/libnone.so", acError, sizeof(acError)), 0u);
  EXPECT_NE(std::string(acError).find("libnone.so"), std::string::npos);
  const SYS_HANDLE h = SYS_LIB_Load("libc.so.6", acError, sizeof(acError));
  ASSERT_NE(h, 0u) << acError;
  EXPECT_STREQ(acError, "");
  EXPECT_NE(SYS_LIB_GetFunction(h, "malloc"), nullptr);
  EXPECT_EQ(SYS_LIB_GetFunction(h, "no_such_function"), nullptr);
  const u32 generation = SYS_LIB_GetGeneration();
  SYS_UnloadLibraries();
  EXPECT_NE(SYS_LIB_GetGeneration(), generation);
  EXPECT_EQ(SYS_LIB_GetFunction(h, "malloc"), nullptr);
  SYS_LIB_Free(h);
}

}  // namespace
