// The posting functions, all of one kind: a context, params where the job has some, a slot of the
// ring.
#include <new>

#include "app/engine/log.h"
#include "app/operations/init_exit.h"
#include "app/operations/job_handlers.h"
#include "app/operations/jobs.h"
#include "programmer/browser.h"
#include "sys/memory.h"
#include "sys/util_string.h"

// The two allocation tags of a job.
#define JOB_TAGS(name) "APP: <" name "> Job context", "APP: <" name "> Job params"
#define JOB_TAG(name) "APP: <" name "> Job context"

namespace {

// Allocates the context, and the params cleared, and hands the params to fill. False: nothing was
// posted, since memory is out or the application thread has stopped.
template <class Params, class Fill>
bool Post(u32 jobId, const char* sContextTag, const char* sParamsTag, void* pOwner, Fill fill) {
  SYS_MEM_PTR<APP_JOB_CONTEXT> pContext(
      static_cast<APP_JOB_CONTEXT*>(SYS_MEM_Alloc(sizeof(APP_JOB_CONTEXT), sContextTag)));
  SYS_MEM_PTR<Params> pParams(static_cast<Params*>(SYS_MEM_Alloc(sizeof(Params), sParamsTag)));
  if (pContext == nullptr || pParams == nullptr) {
    APP_ShowError("Insufficient memory!");
    return false;
  }
  fill(new (pParams.get()) Params());
  new (pContext.get()) APP_JOB_CONTEXT{APP_FinishJob, pParams.release(), pOwner, jobId, 0};
  WORKER_REQUEST request;
  request.pJob = pContext.get();
  if (WORKER_Post(request) != 0) {
    APP_FinishJob(pContext.release());
    return false;
  }
  static_cast<void>(pContext.release());
  return true;
}

// False: nothing was posted.
bool Post(u32 jobId, const char* sContextTag, void* pOwner = nullptr) {
  SYS_MEM_PTR<APP_JOB_CONTEXT> pContext(
      static_cast<APP_JOB_CONTEXT*>(SYS_MEM_Alloc(sizeof(APP_JOB_CONTEXT), sContextTag)));
  if (pContext == nullptr) {
    APP_ShowError("Insufficient memory!");
    return false;
  }
  new (pContext.get()) APP_JOB_CONTEXT{APP_FinishJob, nullptr, pOwner, jobId, 0};
  WORKER_REQUEST request;
  request.pJob = pContext.get();
  if (WORKER_Post(request) != 0) {
    return false;
  }
  static_cast<void>(pContext.release());
  return true;
}

// A job whose params are one number.
void PostValue(u32 jobId, const char* sContextTag, const char* sParamsTag, u32 value,
               void* pOwner = nullptr) {
  Post<APP_VALUE_PARAMS>(jobId, sContextTag, sParamsTag, pOwner,
                         [=](APP_VALUE_PARAMS* pParams) { pParams->Value = value; });
}

// A job that fills or stores a record of its owner, who waits for pfnDone in any case.
template <class RECORD>
void PostRecord(u32 jobId, const char* sContextTag, const char* sParamsTag, RECORD* pRecord,
                void (*pfnDone)(void* pOwner), void* pOwner) {
  const auto fill = [=](APP_RECORD_PARAMS<RECORD>* pParams) {
    pParams->pRecord = pRecord;
    pParams->pfnDone = pfnDone;
  };
  if (!Post<APP_RECORD_PARAMS<RECORD>>(jobId, sContextTag, sParamsTag, pOwner, fill) &&
      pfnDone != nullptr) {
    pfnDone(pOwner);
  }
}

void PostWindow(u32 jobId, const char* sContextTag, const char* sParamsTag,
                APP_DATA_WINDOW* pDataWindow, void* pOwner,
                void (*pfnDone)(void* pOwner, APP_DATA_WINDOW* pDataWindow) = nullptr) {
  Post<APP_WINDOW_PARAMS>(jobId, sContextTag, sParamsTag, pOwner, [=](APP_WINDOW_PARAMS* pParams) {
    pParams->pDataWindow = pDataWindow;
    pParams->pfnDone = pfnDone;
  });
}

void OnInitDone() {
  APP_GetFrontEnd()->FinishAsyncInit();
}

}  // namespace

int APP_PostInit(APP_START_INFO* pStartInfo) {
  WORKER_SetJobTable(APP_GetJobTable(), APP_NUM_JOBS);
  const bool isPosted = Post<APP_INIT_PARAMS>(APP_JOB_INIT, JOB_TAGS("Init"), nullptr,
                                              [pStartInfo](APP_INIT_PARAMS* pParams) {
                                                pParams->pfnDone = OnInitDone;
                                                pParams->pStartInfo = pStartInfo;
                                              });
  return isPosted ? 0 : -1;
}

void APP_PostOpenDataFile(const char* sFile, u64 addr, bool addrGiven, void* pOwner) {
  Post<APP_OPEN_DATA_PARAMS>(APP_JOB_OPEN_DATA_FILE, JOB_TAGS("OpenDataFile"), pOwner,
                             [=](APP_OPEN_DATA_PARAMS* pParams) {
                               UTIL_strcpy(pParams->sFile, sFile, sizeof pParams->sFile);
                               pParams->Addr = addr;
                               pParams->AddrGiven = addrGiven ? 1 : 0;
                             });
}

void APP_PostMergeDataFile(const char* sFile, void* pOwner) {
  Post<APP_MERGE_DATA_PARAMS>(APP_JOB_MERGE_DATA_FILE, JOB_TAGS("MergeDataFile"), pOwner,
                              [=](APP_MERGE_DATA_PARAMS* pParams) {
                                UTIL_strcpy(pParams->sFile, sFile, sizeof pParams->sFile);
                              });
}

void APP_PostOpenProjFile(const char* sFile, void (*pfnDone)(void* pOwner), int* pResult,
                          void* pOwner) {
  Post<APP_OPEN_PROJ_PARAMS>(APP_JOB_OPEN_PROJ_FILE, JOB_TAGS("OpenProjFile"), pOwner,
                             [=](APP_OPEN_PROJ_PARAMS* pParams) {
                               UTIL_strcpy(pParams->sFile, sFile, sizeof pParams->sFile);
                               pParams->pfnDone = pfnDone;
                               pParams->pResult = pResult;
                             });
}

void APP_PostGetProjDialogInfo(PROJ_DIALOG_INFO* pInfo, void (*pfnDone)(void* pOwner),
                               void* pOwner) {
  PostRecord(APP_JOB_GET_PROJ_DIALOG_INFO, JOB_TAGS("GetProjDialogInfo"), pInfo, pfnDone, pOwner);
}

void APP_PostSaveProjSettings(PROJ_DIALOG_INFO* pInfo, void (*pfnDone)(void* pOwner),
                              void* pOwner) {
  PostRecord(APP_JOB_SAVE_PROJ_SETTINGS, JOB_TAGS("SaveProjSettings"), pInfo, pfnDone, pOwner);
}

void APP_PostGetGlobalSettings(GLOBAL_SETTINGS* pSettings, void (*pfnDone)(void* pOwner),
                               void* pOwner) {
  PostRecord(APP_JOB_GET_GLOBAL_SETTINGS, JOB_TAGS("GetGlobalSettings"), pSettings, pfnDone,
             pOwner);
}

void APP_PostDetectFlash(SPI_FLASH_INFO* pInfo, void (*pfnDone)(void* pOwner), void* pOwner) {
  PostRecord(APP_JOB_DETECT, JOB_TAGS("DetectFlash"), pInfo, pfnDone, pOwner);
}

void APP_PostSetGlobalSettings(const GLOBAL_SETTINGS& settings) {
  Post<GLOBAL_SETTINGS>(APP_JOB_SET_GLOBAL_SETTINGS, JOB_TAGS("SetGlobalSettings"), nullptr,
                        [&settings](GLOBAL_SETTINGS* pParams) { *pParams = settings; });
}

void APP_PostUpdateMenuBar() {
  Post(APP_JOB_UPDATE_MENU_BAR, JOB_TAG("UpdateMenuBar"));
}

void APP_PostCheckForFileModifications(APP_DATA_WINDOW* pDataWindow, void* pOwner) {
  PostWindow(APP_JOB_CHECK_FILES, JOB_TAGS("CheckForFileModifications"), pDataWindow, pOwner);
}

void APP_PostSaveDataFile(APP_DATA_WINDOW* pDataWindow, const char* sFile, bool saveAs,
                          void* pOwner) {
  Post<APP_SAVE_DATA_PARAMS>(APP_JOB_SAVE_DATA_FILE, JOB_TAGS("SaveDataFile"), pOwner,
                             [=](APP_SAVE_DATA_PARAMS* pParams) {
                               pParams->pDataWindow = pDataWindow;
                               UTIL_strcpy(pParams->sFile, sFile, sizeof pParams->sFile);
                               pParams->SaveAs = saveAs ? 1 : 0;
                             });
}

void APP_PostSaveProjFile(bool saveAs, void* pOwner) {
  PostValue(APP_JOB_SAVE_PROJ_FILE, JOB_TAGS("SaveProjFile"), saveAs ? 1 : 0, pOwner);
}

void APP_PostCloseProject() {
  Post(APP_JOB_CLOSE_PROJECT, JOB_TAG("CloseProject"));
}

void APP_PostConnectTarget(bool connect) {
  Post(connect ? APP_JOB_CONNECT : APP_JOB_DISCONNECT, JOB_TAG("ConnectTarget"));
}

void APP_PostSaveEmuConfigFile() {
  Post(APP_JOB_SAVE_CONFIG_FILE, JOB_TAG("SaveEmuConfigFile"));
}

void APP_PostSaveEmuDataFile() {
  Post(APP_JOB_SAVE_DATA_IMAGE, JOB_TAG("SaveEmuDataFile"));
}

void APP_PostDownloadConfigFiles() {
  Post(APP_JOB_DOWNLOAD_CONFIG, JOB_TAG("DownloadConfigFiles"));
}

void APP_PostDownloadSNFiles() {
  Post(APP_JOB_DOWNLOAD_SN, JOB_TAG("DownloadSNFiles"));
}

bool APP_PostZelmontFileAction(std::unique_ptr<ZELMONT_FILE_REQUEST> pRequest) {
  if (!Post(APP_JOB_FILE_ACTION, JOB_TAG("ZelmontFileAction"), pRequest.get())) {
    return false;
  }
  static_cast<void>(pRequest.release());
  return true;
}

void APP_PostGenerateTestData(void* pOwner) {
  Post(APP_JOB_GENERATE_TEST_DATA, JOB_TAG("GenerateTestData"), pOwner);
}

void APP_PostRelocateData() {
  Post(APP_JOB_RELOCATE_DATA, JOB_TAG("RelocateData"));
}

void APP_PostDeleteDataRange() {
  Post(APP_JOB_DELETE_RANGE, JOB_TAG("DeleteDataRange"));
}

void APP_PostEliminateBlankData() {
  Post(APP_JOB_ELIMINATE_BLANK, JOB_TAG("EliminateBlankData"));
}

void APP_PostErase(u32 eraseType) {
  PostValue(APP_JOB_ERASE, JOB_TAGS("Erase"), eraseType);
}

void APP_PostProgram(bool verify) {
  PostValue(APP_JOB_PROGRAM, JOB_TAGS("Program"), verify ? 1 : 0);
}

void APP_PostExecProdProg(APP_DATA_WINDOW* pDataWindow) {
  PostWindow(APP_JOB_EXEC_PROD_PROG, JOB_TAGS("ExecProdProg"), pDataWindow, nullptr);
}

void APP_PostVerify(APP_DATA_WINDOW* pDataWindow) {
  PostWindow(APP_JOB_VERIFY, JOB_TAGS("Verify"), pDataWindow, nullptr);
}

void APP_PostRead(bool entireChip) {
  PostValue(APP_JOB_READ, JOB_TAGS("Read"), entireChip ? 1 : 0);
}

void APP_PostOnDataWindowClose(APP_DATA_WINDOW* pDataWindow, void* pOwner,
                               void (*pfnDone)(void* pOwner, APP_DATA_WINDOW* pDataWindow)) {
  PostWindow(APP_JOB_DATA_WINDOW_CLOSE, JOB_TAGS("OnDataWindowClose"), pDataWindow, pOwner,
             pfnDone);
}

void APP_PostBeginFileDrop(void* pOwner) {
  PostValue(APP_JOB_FILE_DROP, JOB_TAGS("BeginFileDrop"), 0, pOwner);
}

void APP_PostEndFileDrop(void* pOwner) {
  PostValue(APP_JOB_FILE_DROP, JOB_TAGS("EndFileDrop"), 1, pOwner);
}

void APP_PostSetAppStartAction(u32 action) {
  PostValue(APP_JOB_SET_APP_START_ACTION, JOB_TAGS("SetAppStartAction"), action);
}
