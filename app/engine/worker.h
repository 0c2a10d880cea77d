#pragma once

#include "sys/types.h"

// The application thread and its ring of jobs.
//
// Everything that touches the project, the images or the probe runs on one thread, named "WORKER",
// as a sequence of jobs. A front end posts a job and returns. Jobs run in the order of posting,
// never overlap, and are neither removed nor merged. A job's slot stays busy until its pfnFinish
// has run, so at most 31 jobs wait behind the running one. WORKER_Post may be called from any
// thread but the application thread.

constexpr u32 WORKER_NUM_SLOTS = 32;

struct APP_JOB_CONTEXT {
  // Called on the application thread after the handler; frees the context and its params. May be
  // null.
  void (*pfnFinish)(APP_JOB_CONTEXT* pContext);
  void* pParams;
  void* pOwner;  // the object that asked for the job, or null
  u32 JobId;     // row of the job table; a row out of range runs no handler
  u32 Result;
};

// The poll of requests that name none of their own. A front end with an event loop sets it before
// its first post, so that its own thread stays alive while the ring is full; it must tell the other
// threads apart by itself. Null, as at the start: nothing is polled.
using WORKER_POLL = int(void* pArg);
void WORKER_SetDefaultPoll(WORKER_POLL* pfnPoll);
// Calls it, or gives 0.
int WORKER_PollDefault(void* pArg);

struct WORKER_REQUEST {
  APP_JOB_CONTEXT* pJob = nullptr;
  // Called while the caller waits for a free slot; a negative result gives up. May be null.
  WORKER_POLL* pfnPoll = WORKER_PollDefault;
  void* pPollArg = nullptr;
  u32 TimeoutMs = 0xFFFFFFFF;  // longest wait for a free slot; all ones: no limit
  u32 MinPollMs = 1;           // shortest time between two polls; 0 counts as 1
};

struct WORKER_JOB_ENTRY {
  void (*pfnHandler)(APP_JOB_CONTEXT* pContext);  // may be null
  const char* sName;
};

// A node of the worker's timer list, allocated with SYS_MEM_Alloc as is its pData; both are freed
// when pfnCallback returns non-zero, or at the stop. Callbacks run on the application thread.
struct WORKER_TIMER {
  WORKER_TIMER* pNext;
  WORKER_TIMER* pPrev;
  int (*pfnCallback)(WORKER_TIMER* pTimer);
  void* pData;
  u32 PeriodMs;
  u32 NextDueMs;
};

// Copies the table; its last row is the stop request. Starts the thread if it doesn't run.
void WORKER_SetJobTable(const WORKER_JOB_ENTRY* pTable, u32 NumRows);
// 0 posted; -1 the worker has stopped; -2 timed out; -3 pfnPoll gave up. The context belongs to the
// worker once posted.
int WORKER_Post(const WORKER_REQUEST& request);
// Posts the stop request: pJob has the JobId of the table's last row and the event to set in
// pParams, a SYS_HANDLE by value; it must live until the event is set. Jobs posted before still
// run.
int WORKER_PostStop(APP_JOB_CONTEXT* pJob);
// Application thread only.
void WORKER_AddTimer(WORKER_TIMER* pTimer);
bool WORKER_IsWorkerThread();
// Back to the state before the first use; only while the thread doesn't run. For tests.
void WORKER_Reset();

// Standard pfnFinish: frees pParams and the context, both blocks of SYS_MEM_Alloc.
void APP_FinishJob(APP_JOB_CONTEXT* pContext);
