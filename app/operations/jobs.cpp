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

// Rows without a handler are jobs that nothing posts yet.
constexpr WORKER_JOB_ENTRY kJobTable[APP_NUM_JOBS] = {
    {APP_OnInitJob, "Initialize application"},
    {APP_OnExitJob, "Exit application"},
    {nullptr, "Get project dialog information"},
    {APP_OnOpenDataFileJob, "Open data file"},
    {nullptr, "Merge data file"},
    {APP_OnOpenProjFileJob, "Open project file"},
    {nullptr, "Save project settings"},
    {nullptr, "Get global settings"},
    {nullptr, "Set global settings"},
    {APP_OnUpdateMenuBarJob, "Update menu bar"},
    {nullptr, "Check data file for modifications"},
    {nullptr, "Save data file"},
    {APP_OnSaveProjFileJob, "Save project file"},
    {APP_OnCloseProjectJob, "Close project"},
    {nullptr, "Save zelmont config file"},
    {nullptr, "Save zelmont data file"},
    {nullptr, "Download zelmont files"},
    {nullptr, "Download zelmont SN data"},
    {APP_OnConnectJob, "Connect to target"},
    {APP_OnDisconnectJob, "Disconnect from target"},
    {nullptr, "Generate test data"},
    {nullptr, "Execute production programming"},
    {nullptr, "Relocate data"},
    {nullptr, "Delete data range"},
    {nullptr, "Eliminate blank data"},
    {APP_OnEraseJob, "Erase flash"},
    {APP_OnProgramJob, "Program flash"},
    {nullptr, "Verify flash"},
    {nullptr, "Read flash"},
    {nullptr, "Detect flash"},
    {nullptr, "Execute Zelmont file action"},
    {nullptr, "Data window close handling"},
    {nullptr, "Begin/ end file drop"},
    {nullptr, "Set AppStart action"},
    {nullptr, nullptr},
};

// Allocates the context, and the params cleared, and hands the params to fill. Posts nothing when
// memory is out.
template <class Params, class Fill>
void Post(u32 jobId, const char* sContextTag, const char* sParamsTag, void* pOwner, Fill fill) {
  SYS_MEM_PTR<APP_JOB_CONTEXT> pContext(
      static_cast<APP_JOB_CONTEXT*>(SYS_MEM_Alloc(sizeof(APP_JOB_CONTEXT), sContextTag)));
  SYS_MEM_PTR<Params> pParams(static_cast<Params*>(SYS_MEM_Alloc(sizeof(Params), sParamsTag)));
  if (pContext == nullptr || pParams == nullptr) {
    APP_ShowError("Insufficient memory!");
    return;
  }
  fill(new (pParams.get()) Params());
  new (pContext.get()) APP_JOB_CONTEXT{APP_FinishJob, pParams.release(), pOwner, jobId, 0};
  WORKER_REQUEST request;
  request.pJob = pContext.get();
  if (WORKER_Post(request) == 0) {
    static_cast<void>(pContext.release());
  } else {
    APP_FinishJob(pContext.release());
  }
}

void Post(u32 jobId, const char* sContextTag) {
  SYS_MEM_PTR<APP_JOB_CONTEXT> pContext(
      static_cast<APP_JOB_CONTEXT*>(SYS_MEM_Alloc(sizeof(APP_JOB_CONTEXT), sContextTag)));
  if (pContext == nullptr) {
    APP_ShowError("Insufficient memory!");
    return;
  }
  new (pContext.get()) APP_JOB_CONTEXT{APP_FinishJob, nullptr, nullptr, jobId, 0};
  WORKER_REQUEST request;
  request.pJob = pContext.get();
  if (WORKER_Post(request) == 0) {
    static_cast<void>(pContext.release());
  }
}

void OnInitDone() {
  APP_GetFrontEnd()->FinishAsyncInit();
}

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

int APP_PostInit(APP_START_INFO* pStartInfo) {
  WORKER_SetJobTable(kJobTable, APP_NUM_JOBS);
  Post<APP_INIT_PARAMS>(APP_JOB_INIT, "APP: <Init> Job context", "APP: <Init> Job params", nullptr,
                        [pStartInfo](APP_INIT_PARAMS* pParams) {
                          pParams->pfnDone = OnInitDone;
                          pParams->pStartInfo = pStartInfo;
                        });
  return 0;
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

void APP_PostOpenDataFile(const char* sFile, u64 addr, bool addrGiven, void* pOwner) {
  Post<APP_OPEN_DATA_PARAMS>(APP_JOB_OPEN_DATA_FILE, "APP: <OpenDataFile> Job context",
                             "APP: <OpenDataFile> Job params", pOwner,
                             [=](APP_OPEN_DATA_PARAMS* pParams) {
                               UTIL_strcpy(pParams->sFile, sFile, sizeof pParams->sFile);
                               pParams->Addr = addr;
                               pParams->AddrGiven = addrGiven ? 1 : 0;
                             });
}

void APP_PostOpenProjFile(const char* sFile) {
  Post<APP_OPEN_PROJ_PARAMS>(APP_JOB_OPEN_PROJ_FILE, "APP: <OpenProjFile> Job context",
                             "APP: <OpenProjFile> Job params", nullptr,
                             [=](APP_OPEN_PROJ_PARAMS* pParams) {
                               UTIL_strcpy(pParams->sFile, sFile, sizeof pParams->sFile);
                             });
}

void APP_PostUpdateMenuBar() {
  Post(APP_JOB_UPDATE_MENU_BAR, "APP: <UpdateMenuBar> Job context");
}

void APP_PostSaveProjFile(bool saveAs, void* pOwner) {
  Post<APP_VALUE_PARAMS>(APP_JOB_SAVE_PROJ_FILE, "APP: <SaveProjFile> Job context",
                         "APP: <SaveProjFile> Job params", pOwner,
                         [=](APP_VALUE_PARAMS* pParams) { pParams->Value = saveAs ? 1 : 0; });
}

void APP_PostCloseProject() {
  Post(APP_JOB_CLOSE_PROJECT, "APP: <CloseProject> Job context");
}

void APP_PostConnectTarget(bool connect) {
  Post(connect ? APP_JOB_CONNECT : APP_JOB_DISCONNECT, "APP: <ConnectTarget> Job context");
}

void APP_PostErase(u32 eraseType) {
  Post<APP_VALUE_PARAMS>(APP_JOB_ERASE, "APP: <Erase> Job context", "APP: <Erase> Job params",
                         nullptr, [=](APP_VALUE_PARAMS* pParams) { pParams->Value = eraseType; });
}

void APP_PostProgram(bool verify) {
  Post<APP_VALUE_PARAMS>(APP_JOB_PROGRAM, "APP: <Program> Job context", "APP: <Program> Job params",
                         nullptr,
                         [=](APP_VALUE_PARAMS* pParams) { pParams->Value = verify ? 1 : 0; });
}
