#pragma once

#include "app/engine/worker.h"
#include "sys/types.h"

// Params and handlers of the jobs that a user starts.
struct APP_OPEN_DATA_PARAMS {
  char sFile[512];
  u64 Addr;
  u8 AddrGiven;
};

struct APP_OPEN_PROJ_PARAMS {
  char sFile[512];
};

// Jobs with one number: erase type, verify or not, save as or not.
struct APP_VALUE_PARAMS {
  u32 Value;
};

void APP_OnOpenDataFileJob(APP_JOB_CONTEXT* pContext);
void APP_OnOpenProjFileJob(APP_JOB_CONTEXT* pContext);
void APP_OnUpdateMenuBarJob(APP_JOB_CONTEXT* pContext);
void APP_OnSaveProjFileJob(APP_JOB_CONTEXT* pContext);
void APP_OnCloseProjectJob(APP_JOB_CONTEXT* pContext);
void APP_OnConnectJob(APP_JOB_CONTEXT* pContext);
void APP_OnDisconnectJob(APP_JOB_CONTEXT* pContext);
void APP_OnEraseJob(APP_JOB_CONTEXT* pContext);
void APP_OnProgramJob(APP_JOB_CONTEXT* pContext);
