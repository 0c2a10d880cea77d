#include "tests/support/engine_scope.h"

#include "app/engine/app_state.h"
#include "app/engine/worker.h"
#include "sys/thread.h"

EngineScope::EngineScope() : m_SavedHooks(APP_EngineHooks) {
  APP_LogReset();
  APP_ResetState();
  APP_SetFrontEnd(&FrontEnd);
}

EngineScope::~EngineScope() {
  APP_LogReset();
  APP_SetFrontEnd(nullptr);
  APP_ResetState();
  APP_EngineHooks = m_SavedHooks;
}

void StopWorker(u32 StopJobId) {
  const SYS_HANDLE hDone = SYS_CreateEvent(false, false);
  APP_JOB_CONTEXT stop{};
  stop.JobId = StopJobId;
  stop.pParams = reinterpret_cast<void*>(hDone);
  if (WORKER_PostStop(&stop) == 0) {
    SYS_WaitForObject(hDone, SYS_INFINITE);
  }
  SYS_CloseHandle(hDone);
  WORKER_Reset();
}
