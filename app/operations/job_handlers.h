#pragma once

#include "app/engine/frontend.h"
#include "app/engine/worker.h"
#include "app/operations/dialog_records.h"
#include "sys/types.h"

// Params and handlers of the jobs that a user starts.
struct APP_OPEN_DATA_PARAMS {
  char sFile[512];
  u64 Addr;
  u8 AddrGiven;
};

struct APP_MERGE_DATA_PARAMS {
  char sFile[512];
};

// pfnDone, may be null, is called with the job's owner; pResult, may be null, gets the result
// first.
struct APP_OPEN_PROJ_PARAMS {
  char sFile[512];
  void (*pfnDone)(void* pOwner);
  int* pResult;
};

struct APP_SAVE_DATA_PARAMS {
  APP_DATA_WINDOW* pDataWindow;
  char sFile[512];
  u8 SaveAs;
};

// A record of the owner that the job fills or stores, and how to tell it.
template <class RECORD>
struct APP_RECORD_PARAMS {
  RECORD* pRecord;
  void (*pfnDone)(void* pOwner);
};

struct APP_WINDOW_PARAMS {
  APP_DATA_WINDOW* pDataWindow;  // null means all
  void (*pfnDone)(void* pOwner, APP_DATA_WINDOW* pDataWindow);
};

// Jobs with one number: erase type, verify or not, save as or not.
struct APP_VALUE_PARAMS {
  u32 Value;
};

void APP_OnGetProjDialogInfoJob(APP_JOB_CONTEXT* pContext);
void APP_OnSaveProjSettingsJob(APP_JOB_CONTEXT* pContext);
void APP_OnGetGlobalSettingsJob(APP_JOB_CONTEXT* pContext);
void APP_OnSetGlobalSettingsJob(APP_JOB_CONTEXT* pContext);
void APP_OnMergeDataFileJob(APP_JOB_CONTEXT* pContext);
void APP_OnCheckFilesJob(APP_JOB_CONTEXT* pContext);
void APP_OnSaveDataFileJob(APP_JOB_CONTEXT* pContext);
void APP_OnSaveConfigFileJob(APP_JOB_CONTEXT* pContext);
void APP_OnSaveDataImageJob(APP_JOB_CONTEXT* pContext);
void APP_OnDownloadConfigJob(APP_JOB_CONTEXT* pContext);
void APP_OnDownloadSNJob(APP_JOB_CONTEXT* pContext);
void APP_OnGenerateTestDataJob(APP_JOB_CONTEXT* pContext);
void APP_OnRelocateDataJob(APP_JOB_CONTEXT* pContext);
void APP_OnDeleteRangeJob(APP_JOB_CONTEXT* pContext);
void APP_OnEliminateBlankJob(APP_JOB_CONTEXT* pContext);
void APP_OnExecProdProgJob(APP_JOB_CONTEXT* pContext);
void APP_OnVerifyJob(APP_JOB_CONTEXT* pContext);
void APP_OnReadJob(APP_JOB_CONTEXT* pContext);
void APP_OnDetectJob(APP_JOB_CONTEXT* pContext);
// Owns the request that is the job's pOwner.
void APP_OnFileActionJob(APP_JOB_CONTEXT* pContext);
void APP_OnDataWindowCloseJob(APP_JOB_CONTEXT* pContext);
void APP_OnFileDropJob(APP_JOB_CONTEXT* pContext);
void APP_OnSetAppStartActionJob(APP_JOB_CONTEXT* pContext);
void APP_OnOpenDataFileJob(APP_JOB_CONTEXT* pContext);
void APP_OnOpenProjFileJob(APP_JOB_CONTEXT* pContext);
void APP_OnUpdateMenuBarJob(APP_JOB_CONTEXT* pContext);
void APP_OnSaveProjFileJob(APP_JOB_CONTEXT* pContext);
void APP_OnCloseProjectJob(APP_JOB_CONTEXT* pContext);
void APP_OnConnectJob(APP_JOB_CONTEXT* pContext);
void APP_OnDisconnectJob(APP_JOB_CONTEXT* pContext);
void APP_OnEraseJob(APP_JOB_CONTEXT* pContext);
void APP_OnProgramJob(APP_JOB_CONTEXT* pContext);
