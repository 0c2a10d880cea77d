#include "app/operations/job_handlers.h"

#include "app/operations/data_edit.h"
#include "app/operations/data_ops.h"
#include "app/operations/data_watch.h"
#include "app/operations/data_windows.h"
#include "app/operations/init_exit.h"
#include "app/operations/status.h"
#include "flash/auto.h"
#include "flash/connect.h"
#include "flash/erase.h"
#include "flash/program.h"
#include "flash/verify.h"
#include "programmer/browser.h"
#include "programmer/download.h"
#include "programmer/save_files.h"
#include "project/project.h"
#include "project/settings.h"
#include "sys/util_format.h"

namespace {

constexpr u32 kEraseChip = 3;

u32 Value(const APP_JOB_CONTEXT* pContext) {
  return static_cast<const APP_VALUE_PARAMS*>(pContext->pParams)->Value;
}

template <class PARAMS>
const PARAMS& Params(const APP_JOB_CONTEXT* pContext) {
  return *static_cast<const PARAMS*>(pContext->pParams);
}

// The window may have been closed since the post, or its file read anew: the address of an image
// says nothing, since another window's may stand there by now.
MEMAREA* WindowImage(const APP_JOB_CONTEXT* pContext) {
  const DATA_WINDOW_INFO* pRow =
      APP_FindDataWindow(Params<APP_WINDOW_PARAMS>(pContext).pDataWindow);
  return pRow != nullptr ? pRow->pArea : nullptr;
}

// Tells whoever waits for the job.
void Tell(const APP_JOB_CONTEXT* pContext, void (*pfnDone)(void* pOwner)) {
  if (pfnDone != nullptr) {
    pfnDone(pContext->pOwner);
  }
}

}  // namespace

void APP_OnOpenDataFileJob(APP_JOB_CONTEXT* pContext) {
  const auto* pParams = static_cast<const APP_OPEN_DATA_PARAMS*>(pContext->pParams);
  APP_OpenFile(pParams->sFile, pParams->Addr, pParams->AddrGiven != 0);
}

void APP_OnOpenProjFileJob(APP_JOB_CONTEXT* pContext) {
  const auto& params = Params<APP_OPEN_PROJ_PARAMS>(pContext);
  const int result = APP_OpenProject(params.sFile);
  if (params.pResult != nullptr) {
    *params.pResult = result;
  }
  Tell(pContext, params.pfnDone);
}

void APP_OnGetProjDialogInfoJob(APP_JOB_CONTEXT* pContext) {
  const auto& params = Params<APP_RECORD_PARAMS<PROJ_DIALOG_INFO>>(pContext);
  APP_GetProjDialogInfo(params.pRecord);
  Tell(pContext, params.pfnDone);
}

void APP_OnSaveProjSettingsJob(APP_JOB_CONTEXT* pContext) {
  const auto& params = Params<APP_RECORD_PARAMS<PROJ_DIALOG_INFO>>(pContext);
  APP_SaveProjSettings(*params.pRecord);
  Tell(pContext, params.pfnDone);
}

void APP_OnGetGlobalSettingsJob(APP_JOB_CONTEXT* pContext) {
  const auto& params = Params<APP_RECORD_PARAMS<GLOBAL_SETTINGS>>(pContext);
  APP_GetGlobalSettings(params.pRecord);
  Tell(pContext, params.pfnDone);
}

void APP_OnSetGlobalSettingsJob(APP_JOB_CONTEXT* pContext) {
  APP_SetGlobalSettings(Params<GLOBAL_SETTINGS>(pContext));
}

void APP_OnMergeDataFileJob(APP_JOB_CONTEXT* pContext) {
  if (const DATA_WINDOW_INFO* pRow = APP_GetFocusedDataWindow(); pRow != nullptr) {
    APP_MergeDataFile(pRow->hWindow, Params<APP_MERGE_DATA_PARAMS>(pContext).sFile, nullptr);
  }
}

void APP_OnCheckFilesJob(APP_JOB_CONTEXT* pContext) {
  APP_CheckFileModifications(Params<APP_WINDOW_PARAMS>(pContext).pDataWindow);
}

void APP_OnSaveDataFileJob(APP_JOB_CONTEXT* pContext) {
  const auto& params = Params<APP_SAVE_DATA_PARAMS>(pContext);
  APP_SaveDataWindow(params.pDataWindow, params.sFile, params.SaveAs != 0);
}

void APP_OnSaveConfigFileJob(APP_JOB_CONTEXT* /*pContext*/) {
  ZELMONT_SaveConfigFile(nullptr);
}

void APP_OnSaveDataImageJob(APP_JOB_CONTEXT* /*pContext*/) {
  ZELMONT_SaveDataFile(nullptr, APP_GetFocusedImage());
}

void APP_OnDownloadConfigJob(APP_JOB_CONTEXT* /*pContext*/) {
  APP_DownloadConfigFiles(APP_GetFocusedImage());
}

void APP_OnDownloadSNJob(APP_JOB_CONTEXT* /*pContext*/) {
  APP_DownloadSNFiles();
}

void APP_OnGenerateTestDataJob(APP_JOB_CONTEXT* /*pContext*/) {
  APP_AskGenerateTestData();
}

void APP_OnRelocateDataJob(APP_JOB_CONTEXT* /*pContext*/) {
  APP_RelocateData(nullptr);
}

void APP_OnDeleteRangeJob(APP_JOB_CONTEXT* /*pContext*/) {
  APP_DeleteRange(nullptr);
}

void APP_OnEliminateBlankJob(APP_JOB_CONTEXT* /*pContext*/) {
  APP_EliminateBlank();
}

void APP_OnVerifyJob(APP_JOB_CONTEXT* pContext) {
  FLASH_Verify(WindowImage(pContext));
}

void APP_OnExecProdProgJob(APP_JOB_CONTEXT* pContext) {
  FLASH_Auto(WindowImage(pContext));
}

void APP_OnReadJob(APP_JOB_CONTEXT* pContext) {
  if (Value(pContext) != 0) {
    APP_ShowReadImage(FLASH_ReadChip(), "Target memory (Entire flash chip)");
    return;
  }
  static u64 firstAddr = 0;  // what was asked for last; application thread only
  static u64 lastAddr = 0;
  if (APP_AskAddressRange(nullptr, "Enter address range", &firstAddr, &lastAddr) != 0) {
    return;
  }
  char acTitle[96];
  UTIL_snprintf64(acTitle, sizeof acTitle, "Target memory (0x%lX - 0x%lX)", firstAddr, lastAddr);
  APP_ShowReadImage(FLASH_ReadSpan(firstAddr, lastAddr), acTitle);
}

void APP_OnDetectJob(APP_JOB_CONTEXT* pContext) {
  const auto& params = Params<APP_RECORD_PARAMS<SPI_FLASH_INFO>>(pContext);
  if (FLASH_Detect() == 0) {
    PROJECT_GetFlash(params.pRecord);
    params.pRecord->AutoDetect = 0;
  }
  Tell(pContext, params.pfnDone);
}

void APP_OnFileActionJob(APP_JOB_CONTEXT* pContext) {
  const std::unique_ptr<ZELMONT_FILE_REQUEST> pRequest(
      static_cast<ZELMONT_FILE_REQUEST*>(pContext->pOwner));
  ZELMONT_ExecRequest(pRequest.get());
  if (pRequest->pfFinish != nullptr) {
    pRequest->pfFinish(pRequest.get());
  }
}

void APP_OnDataWindowCloseJob(APP_JOB_CONTEXT* pContext) {
  const auto& params = Params<APP_WINDOW_PARAMS>(pContext);
  APP_RemoveDataWindow(params.pDataWindow);
  APP_UpdateMenuBar();
  if (params.pfnDone != nullptr) {
    params.pfnDone(pContext->pOwner, params.pDataWindow);
  }
}

void APP_OnFileDropJob(APP_JOB_CONTEXT* pContext) {
  APP_GetFrontEnd()->EnableDataWindowCheck(Value(pContext) != 0);
}

void APP_OnSetAppStartActionJob(APP_JOB_CONTEXT* pContext) {
  SETUP_SetAppStartAction(Value(pContext));
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
  static_cast<void>(FLASH_Connect());  // a failure is in the log
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
