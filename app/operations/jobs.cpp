#include "app/operations/jobs.h"

#include <new>

#include "app/engine/app_state.h"
#include "app/engine/frontend.h"
#include "app/engine/log.h"
#include "app/operations/cmdline.h"
#include "app/operations/data_ops.h"
#include "app/operations/data_windows.h"
#include "app/operations/init_exit.h"
#include "app/operations/job_handlers.h"
#include "app/operations/status.h"
#include "app/operations/wiring.h"
#include "flash/connect.h"
#include "project/project.h"
#include "project/recent.h"
#include "project/settings.h"
#include "sys/memory.h"
#include "sys/thread.h"
#include "sys/util_string.h"

namespace {

// The last row is the stop request.
constexpr WORKER_JOB_ENTRY kJobTable[APP_NUM_JOBS] = {
    {APP_OnInitJob, "Initialize application"},
    {APP_OnExitJob, "Exit application"},
    {APP_OnGetProjDialogInfoJob, "Get project dialog information"},
    {APP_OnOpenDataFileJob, "Open data file"},
    {APP_OnMergeDataFileJob, "Merge data file"},
    {APP_OnOpenProjFileJob, "Open project file"},
    {APP_OnSaveProjSettingsJob, "Save project settings"},
    {APP_OnGetGlobalSettingsJob, "Get global settings"},
    {APP_OnSetGlobalSettingsJob, "Set global settings"},
    {APP_OnUpdateMenuBarJob, "Update menu bar"},
    {APP_OnCheckFilesJob, "Check data file for modifications"},
    {APP_OnSaveDataFileJob, "Save data file"},
    {APP_OnSaveProjFileJob, "Save project file"},
    {APP_OnCloseProjectJob, "Close project"},
    {APP_OnSaveConfigFileJob, "Save zelmont config file"},
    {APP_OnSaveDataImageJob, "Save zelmont data file"},
    {APP_OnDownloadConfigJob, "Download zelmont files"},
    {APP_OnDownloadSNJob, "Download zelmont SN data"},
    {APP_OnConnectJob, "Connect to target"},
    {APP_OnDisconnectJob, "Disconnect from target"},
    {APP_OnGenerateTestDataJob, "Generate test data"},
    {APP_OnExecProdProgJob, "Execute production programming"},
    {APP_OnRelocateDataJob, "Relocate data"},
    {APP_OnDeleteRangeJob, "Delete data range"},
    {APP_OnEliminateBlankJob, "Eliminate blank data"},
    {APP_OnEraseJob, "Erase flash"},
    {APP_OnProgramJob, "Program flash"},
    {APP_OnVerifyJob, "Verify flash"},
    {APP_OnReadJob, "Read flash"},
    {APP_OnDetectJob, "Detect flash"},
    {APP_OnFileActionJob, "Execute Zelmont file action"},
    {APP_OnDataWindowCloseJob, "Data window close handling"},
    {APP_OnFileDropJob, "Begin/ end file drop"},
    {APP_OnSetAppStartActionJob, "Set AppStart action"},
    {nullptr, nullptr},
};

constexpr u32 kPumpMs = 10;

// Tells the thread that waits in APP_ShutDown. The answer stands in ExitState.
SYS_HANDLE g_hExitDone = 0;  // set before Exit is posted, closed when it has answered

void FinishExit(APP_JOB_CONTEXT* pContext) {
  APP_State().ExitState = pContext->Result != 0 ? 0 : 2;
  SYS_MEM_Free(pContext);
  SYS_SetEvent(g_hExitDone);
}

void WaitPumping(SYS_HANDLE hEvent, void (*pfnPump)(void*), void* pArg) {
  while (SYS_WaitForObject(hEvent, kPumpMs) != 0) {
    if (pfnPump != nullptr) {
      pfnPump(pArg);
    }
  }
}

bool PostExit() {
  SYS_MEM_PTR<APP_JOB_CONTEXT> pContext(static_cast<APP_JOB_CONTEXT*>(
      SYS_MEM_Alloc(sizeof(APP_JOB_CONTEXT), "APP: <Exit> Job context")));
  if (pContext == nullptr) {
    APP_ShowError("Insufficient memory!");
    return false;
  }
  new (pContext.get()) APP_JOB_CONTEXT{FinishExit, nullptr, nullptr, APP_JOB_EXIT, 0};
  WORKER_REQUEST request;
  request.pJob = pContext.get();
  if (WORKER_Post(request) != 0) {
    return false;
  }
  static_cast<void>(pContext.release());
  return true;
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
  return kJobTable;
}

void APP_SetUp(APP_FRONTEND* pFrontEnd) {
  APP_SetFrontEnd(pFrontEnd);
  APP_ConnectLayers();
}

void APP_TearDown() {
  APP_FreeDataWindows();
  APP_SetFrontEnd(nullptr);
}

bool APP_ShutDown(void (*pfnPump)(void* pArg), void* pArg) {
  g_hExitDone = SYS_CreateEvent(false, false);
  APP_State().ExitState = 1;
  if (PostExit()) {
    WaitPumping(g_hExitDone, pfnPump, pArg);
  } else {
    APP_State().ExitState = 2;
  }
  SYS_CloseHandle(g_hExitDone);
  g_hExitDone = 0;
  if (APP_State().ExitState == 0) {
    return false;
  }
  StopWorker(pfnPump, pArg);
  return true;
}
