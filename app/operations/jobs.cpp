#include "app/operations/jobs.h"

#include <array>

#include "app/engine/app_state.h"
#include "app/engine/frontend.h"
#include "app/operations/data_windows.h"
#include "app/operations/init_exit.h"
#include "app/operations/status.h"
#include "app/operations/wiring.h"
#include "programmer/browser.h"
#include "sys/thread.h"

namespace {

// Jobs that are no operation of a user.
struct JOB_NAME {
  u32 Job;
  const char* sName;
};
constexpr JOB_NAME kOwnJobs[] = {
    {APP_JOB_INIT, "Initialize application"},
    {APP_JOB_GET_PROJ_DIALOG_INFO, "Get project dialog information"},
    {APP_JOB_SAVE_PROJ_SETTINGS, "Save project settings"},
    {APP_JOB_GET_GLOBAL_SETTINGS, "Get global settings"},
    {APP_JOB_SET_GLOBAL_SETTINGS, "Set global settings"},
    {APP_JOB_UPDATE_MENU_BAR, "Update menu bar"},
    {APP_JOB_CHECK_FILES, "Check data file for modifications"},
    {APP_JOB_DETECT, "Detect flash"},
    {APP_JOB_FILE_ACTION, "Execute Zelmont file action"},
    {APP_JOB_DATA_WINDOW_CLOSE, "Data window close handling"},
    {APP_JOB_FILE_DROP, "Begin/ end file drop"},
    {APP_JOB_SET_APP_START_ACTION, "Set AppStart action"},
};

using JOB_TABLE = std::array<WORKER_JOB_ENTRY, APP_NUM_JOBS>;

// The last row is the stop request and stays empty.
JOB_TABLE MakeJobTable() {
  JOB_TABLE table{};
  for (const JOB_NAME& job : kOwnJobs) {
    table[job.Job] = {WORKER_RunClosure, job.sName};
  }
  for (const APP_OPERATION& operation : APP_GetOperations()) {
    if (operation.Job != APP_JOB_STOP) {
      table[operation.Job] = {WORKER_RunClosure, operation.sName};
    }
  }
  return table;
}

constexpr u32 kPumpMs = 10;

void WaitPumping(SYS_HANDLE hEvent, void (*pfnPump)(void*), void* pArg) {
  while (SYS_WaitForObject(hEvent, kPumpMs) != 0) {
    if (pfnPump != nullptr) {
      pfnPump(pArg);
    }
  }
}

void StopWorker(void (*pfnPump)(void*), void* pArg) {
  const SYS_HANDLE hStopped = SYS_CreateEvent(false, false);
  APP_JOB_CONTEXT stop{nullptr, reinterpret_cast<void*>(hStopped), nullptr, APP_JOB_STOP, 0};
  if (WORKER_PostStop(&stop) == 0) {
    WaitPumping(hStopped, pfnPump, pArg);
  }
  SYS_CloseHandle(hStopped);
}

}  // namespace

const WORKER_JOB_ENTRY* APP_GetJobTable() {
  static const JOB_TABLE table = MakeJobTable();
  return table.data();
}

void APP_SetUp(APP_FRONTEND* pFrontEnd) {
  APP_SetFrontEnd(pFrontEnd);
  APP_ConnectLayers();
}

void APP_TearDown() {
  APP_FreeDataWindows();
  APP_SetFrontEnd(nullptr);
}

int APP_PostInit(APP_START_INFO* pStartInfo) {
  WORKER_SetJobTable(APP_GetJobTable(), APP_NUM_JOBS);
  const bool isPosted = WORKER_PostClosure(APP_JOB_INIT, [pStartInfo] {
    APP_Init(pStartInfo);
    APP_GetFrontEnd()->FinishAsyncInit();
  });
  return isPosted ? 0 : -1;
}

bool APP_ShutDown(void (*pfnPump)(void* pArg), void* pArg) {
  const SYS_HANDLE hDone = SYS_CreateEvent(false, false);
  APP_State().ExitState = 1;
  const bool isPosted = WORKER_PostClosure(APP_JOB_EXIT, [hDone] {
    APP_State().ExitState = APP_Exit() ? 2 : 0;
    SYS_SetEvent(hDone);
  });
  if (isPosted) {
    WaitPumping(hDone, pfnPump, pArg);
  } else {
    APP_State().ExitState = 2;
  }
  SYS_CloseHandle(hDone);
  if (APP_State().ExitState == 0) {
    return false;
  }
  StopWorker(pfnPump, pArg);
  return true;
}

void APP_Post(u32 jobId, std::function<void()> run) {
  static_cast<void>(WORKER_PostClosure(jobId, std::move(run)));
}

// What comes of it stands in the log and in its box.
void APP_PostOperation(APP_OPERATION_ID id, APP_CALL call) {
  const APP_OPERATION& operation = APP_GetOperation(id);
  APP_Post(operation.Job, [&operation, call = std::move(call)] {
    static_cast<void>(APP_RunOperation(operation, call));
  });
}

void APP_PostUpdateMenuBar() {
  APP_Post(APP_JOB_UPDATE_MENU_BAR, APP_UpdateMenuBar);
}

bool APP_PostZelmontFileAction(std::unique_ptr<ZELMONT_FILE_REQUEST> pRequest) {
  return WORKER_PostClosure(APP_JOB_FILE_ACTION,
                            [pShared = std::shared_ptr<ZELMONT_FILE_REQUEST>(std::move(pRequest))] {
                              ZELMONT_ExecRequest(pShared.get());
                              if (pShared->pfFinish != nullptr) {
                                pShared->pfFinish(pShared.get());
                              }
                            });
}
