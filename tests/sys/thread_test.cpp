#include "sys/thread.h"

#include <gtest/gtest.h>

#include <atomic>

#include "sys/library.h"
#include "sys/path.h"
#include "sys/time.h"
#include "tests/sys/temp_dir.h"

namespace {

std::atomic<u64> g_NowNs{0};
std::atomic<u32> g_NumSleeps{0};

// A clock that moves only by sleeping.
class FakeClock {
 public:
  FakeClock() {
    g_NowNs = 0;
    g_NumSleeps = 0;
    SYS_SetTimeSource(&kSource);
  }
  ~FakeClock() { SYS_SetTimeSource(nullptr); }
  FakeClock(const FakeClock&) = delete;
  FakeClock& operator=(const FakeClock&) = delete;

 private:
  static constexpr SYS_TIME_SOURCE kSource = {[] { return g_NowNs.load(); },
                                              [](u32 Ms) {
                                                g_NowNs += u64{Ms} * 1000000;
                                                ++g_NumSleeps;
                                              }};
};

struct Shared {
  SYS_HANDLE hGo = 0, hDone = 0;
  SYS_MUTEX Mutex = nullptr;
  u64 OwnId = 0;
  int Result = -1;
};

void RunShared(void (*pfn)(Shared*), Shared* pShared, const auto& WhileRunning) {
  struct Start {
    void (*pfn)(Shared*);
    Shared* pShared;
  } start{pfn, pShared};
  const SYS_HANDLE h = SYS_CreateThread(
      [](void* p) { static_cast<Start*>(p)->pfn(static_cast<Start*>(p)->pShared); }, &start,
      nullptr, "TEST", 0);
  ASSERT_NE(h, 0u);
  WhileRunning(h);
  EXPECT_EQ(SYS_WaitForObject(h, SYS_INFINITE), 0);
  SYS_CloseHandle(h);
}

TEST(SysThread, SignalsItsEndAndKnowsItsId) {
  Shared shared;
  shared.hGo = SYS_CreateEvent(false, false);
  u64 id = 0;
  const SYS_HANDLE h = SYS_CreateThread(
      [](void* p) {
        Shared* const pShared = static_cast<Shared*>(p);
        SYS_WaitForObject(pShared->hGo, SYS_INFINITE);
        pShared->OwnId = SYS_GetCurrentThreadId();
      },
      &shared, &id, "A name longer than shown", 0);
  EXPECT_EQ(SYS_WaitForObject(h, 0), SYS_WAIT_TIMEOUT);
  EXPECT_EQ(SYS_SetThreadName(h, "WORKER"), 0);
  SYS_SetEvent(shared.hGo);
  EXPECT_EQ(SYS_WaitForObject(h, SYS_INFINITE), 0);
  EXPECT_EQ(SYS_WaitForObject(h, 0), 0);
  EXPECT_EQ(shared.OwnId, id);
  EXPECT_NE(id, SYS_GetCurrentThreadId());
  SYS_CloseHandle(h);
  SYS_CloseHandle(shared.hGo);
  EXPECT_EQ(SYS_CreateThread([](void*) {}, nullptr, nullptr, nullptr, 1), 0u);
  EXPECT_EQ(SYS_SetThreadName(0, "x"), -1);
}

TEST(SysEvent, AutomaticAndManualReset) {
  struct Row {
    bool IsManual, IsSet;
    int First, Second;
  };
  const Row rows[] = {{false, true, 0, SYS_WAIT_TIMEOUT},
                      {true, true, 0, 0},
                      {false, false, SYS_WAIT_TIMEOUT, SYS_WAIT_TIMEOUT}};
  for (const Row& row : rows) {
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
  Shared shared;
  shared.hGo = SYS_CreateEvent(false, false);
  shared.hDone = SYS_CreateEvent(false, false);
  const auto answer = [](Shared* p) {
    for (int i = 0; i < 100; ++i) {
      SYS_WaitForObject(p->hGo, SYS_INFINITE);
      ++p->Result;
      SYS_SetEvent(p->hDone);
    }
  };
  RunShared(answer, &shared, [&](SYS_HANDLE) {
    for (int i = 0; i < 100; ++i) {
      SYS_SetEvent(shared.hGo);
      ASSERT_EQ(SYS_WaitForObject(shared.hDone, SYS_INFINITE), 0);
      ASSERT_EQ(shared.Result, i);
    }
  });
  SYS_CloseHandle(shared.hGo);
  SYS_CloseHandle(shared.hDone);
}

TEST(SysMutex, RecursiveForItsThreadTimedForOthers) {
  const TempDir dir;
  setenv("XDG_RUNTIME_DIR", dir.Path().c_str(), 1);
  for (const char* const sName : {static_cast<const char*>(nullptr), "a/name"}) {
    const FakeClock clock;
    Shared shared;
    shared.Mutex = SYS_MUTEX_Create(sName);
    ASSERT_NE(shared.Mutex, nullptr);
    EXPECT_EQ(SYS_MUTEX_Lock(shared.Mutex, SYS_INFINITE), 0);
    EXPECT_EQ(SYS_MUTEX_Lock(shared.Mutex, 0), 0);
    SYS_MUTEX_Unlock(shared.Mutex);
    const auto tryLock = [](Shared* p) {
      p->Result = SYS_MUTEX_Lock(p->Mutex, 50);
      if (p->Result == 0) {
        SYS_MUTEX_Unlock(p->Mutex);
      }
    };
    RunShared(tryLock, &shared, [](SYS_HANDLE) {});
    EXPECT_EQ(shared.Result, SYS_WAIT_TIMEOUT);
    EXPECT_EQ(g_NumSleeps, 51u);
    SYS_MUTEX_Unlock(shared.Mutex);
    RunShared(tryLock, &shared, [](SYS_HANDLE) {});
    EXPECT_EQ(shared.Result, 0);
    SYS_MUTEX_Destroy(&shared.Mutex);
    EXPECT_EQ(shared.Mutex, nullptr);
  }
  unsetenv("XDG_RUNTIME_DIR");
  EXPECT_EQ(SYS_MUTEX_Lock(nullptr, 0), 0);
  SYS_MUTEX_Unlock(nullptr);
}

TEST(SysMutex, ANameIsOneLockForAll) {
  const TempDir dir;
  setenv("XDG_RUNTIME_DIR", dir.Path().c_str(), 1);
  const FakeClock clock;
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
  const FakeClock clock;
  g_NowNs = 7000000;
  const u64 start = SYS_GetPerfTicks();
  SYS_Sleep(1500);
  EXPECT_EQ(SYS_GetElapsedUs(start), 1500000u);
  EXPECT_EQ(SYS_GetTickMs(), 1507u);
  g_NowNs = u64{0x100000002} * 1000000;
  EXPECT_EQ(SYS_GetTickMs(), 2u);
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
