#include "app/engine/worker.h"

#include <array>
#include <atomic>
#include <mutex>
#include <new>
#include <vector>

#include "app/engine/worker_timers.h"
#include "sys/memory.h"
#include "sys/thread.h"
#include "sys/time.h"

// Hand-over between a poster and the worker: the poster writes pJob, then IsBusy (release); the
// worker reads IsBusy (acquire), then pJob, and clears IsBusy only after the job's finish function.
// The worker so needs no lock to take a job, and a slot that it hasn't cleared is never written.

namespace {

struct Slot {
  std::atomic<u32> IsBusy{0};
  APP_JOB_CONTEXT* pJob = nullptr;
};

struct WorkerState {
  // Guards everything below but the slots that are busy. It lives as long as the process, so that a
  // post that comes during or after the stop finds it and is turned away.
  std::mutex Lock;
  std::vector<WORKER_JOB_ENTRY> aTable;
  std::array<Slot, WORKER_NUM_SLOTS> aSlots;
  u32 WrIdx = 0;
  bool HasStopped = false;
  SYS_HANDLE hThread = 0;
  SYS_HANDLE hWake = 0;  // auto-reset; read by the worker without the lock, constant while it runs
};

// Never destroyed: the thread may still run while the process ends.
WorkerState& Worker() {
  static WorkerState* pState = new WorkerState;
  return *pState;
}

thread_local bool IsWorkerThread = false;

std::atomic<WORKER_POLL*> DefaultPoll{nullptr};

u32 NextIndex(u32 Index) {
  return (Index + 1) % WORKER_NUM_SLOTS;
}

void FinishJob(APP_JOB_CONTEXT* pJob) {
  if (pJob->pfnFinish != nullptr) {
    pJob->pfnFinish(pJob);
  }
}

// Runs the job's handler, or returns true for the stop request.
bool RunHandler(WorkerState& worker, APP_JOB_CONTEXT* pJob) {
  void (*pfnHandler)(APP_JOB_CONTEXT*) = nullptr;
  {
    std::lock_guard guard(worker.Lock);
    if (pJob->JobId >= worker.aTable.size()) {
      return false;
    }
    if (pJob->JobId == worker.aTable.size() - 1) {
      return true;
    }
    pfnHandler = worker.aTable[pJob->JobId].pfnHandler;
  }
  if (pfnHandler != nullptr) {
    pfnHandler(pJob);
  }
  return false;
}

// Jobs that came in behind the stop request, oldest first, and the events of whoever waits for the
// stop.
struct Leftovers {
  std::array<APP_JOB_CONTEXT*, WORKER_NUM_SLOTS> apJobs{};
  std::array<SYS_HANDLE, WORKER_NUM_SLOTS> ahEvents{};
  u32 NumJobs = 0;
  u32 NumEvents = 0;

  void Add(APP_JOB_CONTEXT* pJob, u32 StopJobId) {
    if (pJob->JobId == StopJobId) {
      ahEvents[NumEvents++] = reinterpret_cast<SYS_HANDLE>(pJob->pParams);
    } else {
      apJobs[NumJobs++] = pJob;
    }
  }
};

// From here on every post is refused. Under the lock, since a poster may be filling a slot.
void CloseRing(WorkerState& worker, u32 StopIdx, Leftovers* pLeft) {
  std::lock_guard guard(worker.Lock);
  worker.HasStopped = true;
  const u32 stopJobId = worker.aSlots[StopIdx].pJob->JobId;
  for (u32 i = 0, idx = StopIdx; i < WORKER_NUM_SLOTS; ++i, idx = NextIndex(idx)) {
    Slot& slot = worker.aSlots[idx];
    if (slot.IsBusy.load(std::memory_order_acquire) != 0) {
      pLeft->Add(slot.pJob, stopJobId);
    }
    slot.pJob = nullptr;
    slot.IsBusy.store(0, std::memory_order_release);
  }
  SYS_CloseHandle(worker.hThread);
  SYS_CloseHandle(worker.hWake);
  worker.hThread = 0;
  worker.hWake = 0;
  worker.WrIdx = 0;
}

void StopWorker(WorkerState& worker, u32 StopIdx) {
  Leftovers left;
  CloseRing(worker, StopIdx, &left);
  for (u32 i = 0; i < left.NumJobs; ++i) {
    FinishJob(left.apJobs[i]);
  }
  TIMERS_FreeAll();
  // Last of all: with the event set the waiting side may end the process or start over.
  for (u32 i = 0; i < left.NumEvents; ++i) {
    SYS_SetEvent(left.ahEvents[i]);
  }
}

void WorkerMain(void* /*pContext*/) {
  IsWorkerThread = true;
  WorkerState& worker = Worker();
  u32 rdIdx = 0;
  for (;;) {
    Slot& slot = worker.aSlots[rdIdx];
    if (slot.IsBusy.load(std::memory_order_acquire) == 0) {
      SYS_WaitForObject(worker.hWake, TIMERS_Run());
      continue;
    }
    APP_JOB_CONTEXT* pJob = slot.pJob;
    if (RunHandler(worker, pJob)) {
      StopWorker(worker, rdIdx);
      return;
    }
    FinishJob(pJob);
    slot.IsBusy.store(0, std::memory_order_release);
    rdIdx = NextIndex(rdIdx);
  }
}

// Called with the lock held. False when there is no thread to take a job.
bool EnsureThread(WorkerState& worker) {
  if (worker.HasStopped || worker.hThread != 0) {
    return !worker.HasStopped;
  }
  if (worker.hWake == 0) {
    worker.hWake = SYS_CreateEvent(false, false);
  }
  if (worker.hWake != 0) {
    worker.hThread = SYS_CreateThread(WorkerMain, nullptr, nullptr, "WORKER", 0);
  }
  return worker.hThread != 0;
}

// One round of waiting for a slot, without the lock: the poll function may post by itself. 0 to
// look again, or the result of the post.
int WaitForSlot(const WORKER_REQUEST& request, u64 StartTicks) {
  const u64 roundTicks = SYS_GetPerfTicks();
  if (request.pfnPoll != nullptr && request.pfnPoll(request.pPollArg) < 0) {
    return -3;
  }
  if (request.TimeoutMs != SYS_INFINITE &&
      SYS_GetElapsedUs(StartTicks) > u64{request.TimeoutMs} * 1000) {
    return -2;
  }
  const u32 minPollMs = request.MinPollMs != 0 ? request.MinPollMs : 1;
  const u64 roundMs = SYS_GetElapsedUs(roundTicks) / 1000;
  if (roundMs < minPollMs) {
    SYS_Sleep(minPollMs - static_cast<u32>(roundMs));
  }
  return 0;
}

}  // namespace

void WORKER_SetDefaultPoll(WORKER_POLL* pfnPoll) {
  DefaultPoll = pfnPoll;
}

int WORKER_PollDefault(void* pArg) {
  WORKER_POLL* pfnPoll = DefaultPoll;
  return pfnPoll != nullptr ? pfnPoll(pArg) : 0;
}

void WORKER_SetJobTable(const WORKER_JOB_ENTRY* pTable, u32 NumRows) {
  WorkerState& worker = Worker();
  std::lock_guard guard(worker.Lock);
  try {
    worker.aTable.assign(pTable, pTable + NumRows);
  } catch (const std::bad_alloc&) {
    SYS_ShowMessage("WORKER", "Insufficient memory!");
    return;
  }
  EnsureThread(worker);
}

int WORKER_Post(const WORKER_REQUEST& request) {
  // The application thread would wait for itself once the ring is full.
  if (request.pJob == nullptr || IsWorkerThread) {
    return -1;
  }
  WorkerState& worker = Worker();
  std::unique_lock lock(worker.Lock);
  if (!EnsureThread(worker)) {
    return -1;
  }
  const u64 startTicks = SYS_GetPerfTicks();
  while (worker.aSlots[worker.WrIdx].IsBusy.load(std::memory_order_acquire) != 0) {
    lock.unlock();
    const int result = WaitForSlot(request, startTicks);
    if (result != 0) {
      return result;
    }
    lock.lock();
    if (worker.HasStopped) {
      return -1;
    }
  }
  Slot& slot = worker.aSlots[worker.WrIdx];
  slot.pJob = request.pJob;
  worker.WrIdx = NextIndex(worker.WrIdx);
  slot.IsBusy.store(1, std::memory_order_release);
  SYS_SetEvent(worker.hWake);  // under the lock: the stop closes the event
  return 0;
}

int WORKER_PostStop(APP_JOB_CONTEXT* pJob) {
  WORKER_REQUEST request;
  request.pJob = pJob;
  request.pfnPoll = nullptr;
  return WORKER_Post(request);
}

bool WORKER_IsWorkerThread() {
  return IsWorkerThread;
}

void WORKER_Reset() {
  WorkerState& worker = Worker();
  std::lock_guard guard(worker.Lock);
  if (worker.hThread != 0) {
    return;
  }
  SYS_CloseHandle(worker.hWake);
  worker.hWake = 0;
  worker.aTable.clear();
  worker.WrIdx = 0;
  worker.HasStopped = false;
  DefaultPoll = nullptr;
}

void APP_FinishJob(APP_JOB_CONTEXT* pContext) {
  SYS_MEM_Free(pContext->pParams);
  SYS_MEM_Free(pContext);
}
