#include "app/engine/worker.h"

#include <gtest/gtest.h>

#include <atomic>
#include <functional>
#include <future>
#include <mutex>
#include <thread>

#include "sys/memory.h"
#include "sys/thread.h"
#include "sys/time.h"
#include "tests/support/engine_scope.h"
#include "tests/support/fake_time.h"

namespace {

constexpr u32 JOB_RUN = 0;
constexpr u32 JOB_STOP = 1;

struct TestJob {
  APP_JOB_CONTEXT Context{};
  std::function<void()> Run;
  std::function<void()> Finish;
};

TestJob* GetJob(APP_JOB_CONTEXT* pContext) {
  return static_cast<TestJob*>(pContext->pParams);
}

class WorkerTest : public testing::Test {
 protected:
  WorkerTest() {
    const WORKER_JOB_ENTRY aTable[] = {
        {[](APP_JOB_CONTEXT* pContext) { GetJob(pContext)->Run(); }, "Run"}, {nullptr, ""}};
    WORKER_SetJobTable(aTable, 2);
  }
  ~WorkerTest() override { StopWorker(JOB_STOP); }

  int Post(std::function<void()> run, WORKER_REQUEST request = {}, u32 JobId = JOB_RUN) {
    auto pJob = std::make_unique<TestJob>();
    pJob->Run = std::move(run);
    pJob->Finish = [this] { ++m_NumFinished; };
    pJob->Context.pParams = pJob.get();
    pJob->Context.JobId = JobId;
    pJob->Context.pfnFinish = [](APP_JOB_CONTEXT* pContext) {
      const std::unique_ptr<TestJob> pDone(GetJob(pContext));
      pDone->Finish();
    };
    request.pJob = &pJob->Context;
    const int result = WORKER_Post(request);
    if (result == 0) {
      static_cast<void>(pJob.release());
    }
    return result;
  }

  // Occupies the worker until Open.
  void Hold() {
    ASSERT_EQ(0, Post([this] { m_Gate.get_future().wait(); }));
  }
  void Open() { m_Gate.set_value(); }

  // Waits for everything posted before.
  void Drain() {
    std::promise<void> done;
    ASSERT_EQ(0, Post([&] { done.set_value(); }));
    done.get_future().wait();
  }

  std::promise<void> m_Gate;
  std::atomic<u32> m_NumFinished{0};
};

TEST_F(WorkerTest, FullRingPollsTimesOutAndGivesUp) {
  constexpr struct {
    u32 TimeoutMs, MinPollMs;
    int PollResult, Result;
    u32 NumPolls, SleptMs;
  } ROWS[] = {{5, 2, 0, -2, 4, 6},
              {5, 0, 0, -2, 7, 6},
              {0, 1, 0, -2, 2, 1},
              {SYS_INFINITE, 1, -1, -3, 1, 0}};
  Hold();
  for (u32 i = 0; i < WORKER_NUM_SLOTS - 1; ++i) {
    WORKER_REQUEST request;
    request.pfnPoll = [](void*) { return -1; };  // none of these may wait
    ASSERT_EQ(0, Post([] {}, request)) << i;
  }
  for (const auto& row : ROWS) {
    const FakeTime time;
    std::pair<u32, int> poll{0, row.PollResult};
    WORKER_REQUEST request;
    request.TimeoutMs = row.TimeoutMs;
    request.MinPollMs = row.MinPollMs;
    request.pPollArg = &poll;
    request.pfnPoll = [](void* pArg) {
      auto* pPoll = static_cast<std::pair<u32, int>*>(pArg);
      ++pPoll->first;
      return pPoll->second;
    };
    EXPECT_EQ(row.Result, Post([] {}, request));
    EXPECT_EQ(row.NumPolls, poll.first);
    EXPECT_EQ(row.SleptMs, FakeTime::GetSleptMs());
  }
  // The poll is what a front end's thread lives by meanwhile: here it lets the running job go on.
  const FakeTime time;
  u32 numPolls = 0;
  std::function<void()> poll = [&] {
    if (++numPolls == 5) {
      Open();
    }
  };
  WORKER_REQUEST request;
  request.pPollArg = &poll;
  request.pfnPoll = [](void* pArg) {
    (*static_cast<std::function<void()>*>(pArg))();
    return 0;
  };
  EXPECT_EQ(0, Post([] {}, request));
  EXPECT_GE(numPolls, 5u);
  Drain();
  EXPECT_GE(m_NumFinished, WORKER_NUM_SLOTS + 1);
}

TEST_F(WorkerTest, ProducersOnSeveralThreadsLoseNothingAndNothingOverlaps) {
  constexpr u32 NUM_PRODUCERS = 4;
  constexpr u32 NUM_JOBS = 2000;
  const FakeTime time;
  u32 aNext[NUM_PRODUCERS] = {};  // plain on purpose: only the worker touches it
  u32 numRun = 0;
  std::atomic<u32> numWrong{0};
  std::vector<std::thread> aThreads;
  for (u32 producer = 0; producer < NUM_PRODUCERS; ++producer) {
    aThreads.emplace_back([&, producer] {
      for (u32 i = 0; i < NUM_JOBS; ++i) {
        const int result = Post([&, producer, i] {
          // Each runs behind the finish of the one before.
          numWrong += m_NumFinished != numRun++ || aNext[producer]++ != i ? 1 : 0;
        });
        numWrong += result != 0 ? 1 : 0;
      }
    });
  }
  for (std::thread& thread : aThreads) {
    thread.join();
  }
  Drain();
  EXPECT_EQ(0u, numWrong);
  EXPECT_GE(m_NumFinished, NUM_PRODUCERS * NUM_JOBS);
  for (u32 next : aNext) {
    EXPECT_EQ(NUM_JOBS, next);
  }
}

TEST_F(WorkerTest, ApplicationThreadCannotPostAndJobsOutOfRangeOnlyFinish) {
  EXPECT_FALSE(WORKER_IsWorkerThread());
  for (u32 jobId : {2u, 35u, 0xFFFFFFFFu}) {
    ASSERT_EQ(0, Post([] { ADD_FAILURE() << "handler ran"; }, {}, jobId));
  }
  ASSERT_EQ(0, Post([this] {
              EXPECT_TRUE(WORKER_IsWorkerThread());
              EXPECT_EQ(3u, m_NumFinished);
              APP_JOB_CONTEXT stop{};
              stop.JobId = JOB_STOP;
              EXPECT_EQ(-1, Post([] {}));
              EXPECT_EQ(-1, WORKER_PostStop(&stop));
            }));
  Drain();
}

// Two sides ask for the stop, jobs come in before, between and behind, and one poster still waits.
TEST_F(WorkerTest, StopRunsWhatCameBeforeAndFinishesTheRest) {
  std::atomic<u32> numBefore{0};
  std::atomic<u32> numBehind{0};
  Hold();
  for (u32 i = 0; i < 3; ++i) {
    ASSERT_EQ(0, Post([&] { ++numBefore; }));
  }
  SYS_HANDLE ahDone[2];
  APP_JOB_CONTEXT aStops[2] = {};
  for (u32 i = 0; i < 2; ++i) {
    ahDone[i] = SYS_CreateEvent(false, false);
    aStops[i].JobId = JOB_STOP;
    aStops[i].pParams = reinterpret_cast<void*>(ahDone[i]);
    ASSERT_EQ(0, WORKER_PostStop(&aStops[i]));
    for (u32 k = 0; k < 13; ++k) {
      ASSERT_EQ(0, Post([&] { ++numBehind; }));
    }
  }
  std::atomic<u32> numRefused{0};
  std::thread late([&] {
    for (u32 i = 0; i < 50; ++i) {
      numRefused += Post([&] { ++numBehind; }) == -1 ? 1 : 0;
    }
  });
  Open();
  for (const SYS_HANDLE hDone : ahDone) {
    SYS_WaitForObject(hDone, SYS_INFINITE);
  }
  late.join();
  EXPECT_EQ(3u, numBefore);
  EXPECT_EQ(0u, numBehind);
  EXPECT_EQ(1u + 3u + 26u + 50u, m_NumFinished + numRefused);
  EXPECT_EQ(-1, Post([] {}));
  EXPECT_EQ(-1, WORKER_PostStop(&aStops[0]));
  for (const SYS_HANDLE hDone : ahDone) {
    SYS_CloseHandle(hDone);
  }
}

struct TimerLog {
  std::vector<u32> aCallsMs;
  u32 NumCalls;  // the timer is finished after so many; 0: never
  std::promise<void> Done;
};

int OnTimer(WORKER_TIMER* pTimer) {
  TimerLog* pLog = *static_cast<TimerLog**>(pTimer->pData);
  pLog->aCallsMs.push_back(SYS_GetTickMs());
  const bool isFinished = pLog->aCallsMs.size() == pLog->NumCalls;
  if (isFinished) {
    pLog->Done.set_value();
  }
  return isFinished ? 1 : 0;
}

void AddTimer(TimerLog* pLog, u32 StartMs, u32 PeriodMs) {
  void* pTimer = SYS_MEM_Alloc(sizeof(WORKER_TIMER), "Test timer");
  void* pData = SYS_MEM_Alloc(sizeof(TimerLog*), "Test timer data");
  *static_cast<TimerLog**>(pData) = pLog;
  WORKER_AddTimer(new (pTimer) WORKER_TIMER{nullptr, nullptr, OnTimer, pData, PeriodMs, StartMs});
}

TEST_F(WorkerTest, TimersRunWhenDueAndEnd) {
  const FakeTime time(10'000'000);  // ten milliseconds each time that somebody looks
  TimerLog often{{}, 4, {}};
  TimerLog once{{}, 1, {}};
  TimerLog forever{{}, 0, {}};  // left to the stop to free
  const u32 startMs = SYS_GetTickMs();
  ASSERT_EQ(0, Post([&] {
              AddTimer(&often, startMs + 20, 50);
              AddTimer(&once, startMs - 1, 10);
              AddTimer(&forever, startMs + 1'000'000, 10);
            }));
  once.Done.get_future().wait();
  often.Done.get_future().wait();
  Drain();
  EXPECT_EQ(1u, once.aCallsMs.size());
  ASSERT_EQ(4u, often.aCallsMs.size());
  EXPECT_GE(often.aCallsMs[0], startMs + 20);
  for (u32 i = 1; i < 4; ++i) {
    EXPECT_GE(often.aCallsMs[i], often.aCallsMs[i - 1] + 50);
  }
  EXPECT_TRUE(forever.aCallsMs.empty());
}

}  // namespace
