#include "app/operations/job_handlers.h"

#include "app/operations/data_ops.h"
#include "app/operations/data_windows.h"
#include "app/operations/init_exit.h"
#include "app/operations/status.h"
#include "flash/connect.h"
#include "flash/erase.h"
#include "flash/program.h"
#include "project/project.h"

namespace {

constexpr u32 kEraseChip = 3;

u32 Value(const APP_JOB_CONTEXT* pContext) {
  return static_cast<const APP_VALUE_PARAMS*>(pContext->pParams)->Value;
}

}  // namespace

void APP_OnOpenDataFileJob(APP_JOB_CONTEXT* pContext) {
  const auto* pParams = static_cast<const APP_OPEN_DATA_PARAMS*>(pContext->pParams);
  APP_OpenFile(pParams->sFile, pParams->Addr, pParams->AddrGiven != 0);
}

void APP_OnOpenProjFileJob(APP_JOB_CONTEXT* pContext) {
  APP_OpenProject(static_cast<const APP_OPEN_PROJ_PARAMS*>(pContext->pParams)->sFile);
}

void APP_OnUpdateMenuBarJob(APP_JOB_CONTEXT* /*pContext*/) {
  APP_UpdateMenuBar();
}

void APP_OnSaveProjFileJob(APP_JOB_CONTEXT* pContext) {
  if (Value(pContext) != 0) {
    PROJECT_SaveAs(nullptr);
  } else {
    PROJECT_Save();
  }
}

void APP_OnCloseProjectJob(APP_JOB_CONTEXT* /*pContext*/) {
  PROJECT_Close();
}

void APP_OnConnectJob(APP_JOB_CONTEXT* /*pContext*/) {
  FLASH_Connect();
}

void APP_OnDisconnectJob(APP_JOB_CONTEXT* /*pContext*/) {
  FLASH_Disconnect();
}

void APP_OnEraseJob(APP_JOB_CONTEXT* pContext) {
  if (Value(pContext) == kEraseChip) {
    FLASH_EraseChip();
  } else {
    FLASH_EraseAllSectors();
  }
}

// Runs on the image that has the focus now, not on that of the time of posting.
void APP_OnProgramJob(APP_JOB_CONTEXT* pContext) {
  if (Value(pContext) != 0) {
    FLASH_ProgramVerify(APP_GetFocusedImage());
  } else {
    FLASH_Program(APP_GetFocusedImage(), false);
  }
}
