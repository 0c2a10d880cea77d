#include "app/operations/cmdline_options.h"

#include <string>

#include "app/engine/app_state.h"
#include "app/engine/frontend.h"
#include "app/engine/log.h"
#include "app/operations/cmdline.h"
#include "app/operations/data_edit.h"
#include "app/operations/data_internal.h"
#include "app/operations/data_ops.h"
#include "app/operations/data_windows.h"
#include "app/operations/init_exit.h"
#include "flash/auto.h"
#include "flash/connect.h"
#include "flash/erase.h"
#include "flash/program.h"
#include "flash/verify.h"
#include "programmer/download.h"
#include "programmer/save_files.h"
#include "project/project.h"
#include "sys/file.h"
#include "sys/path.h"
#include "sys/util_format.h"
#include "sys/util_number.h"
#include "sys/util_string.h"

namespace {

int Fail(const char* sText) {
  APP_State().ExitCode = 1;
  APP_LogError(sText);
  return -1;
}

bool SkipComma(const char** ppText) {
  UTIL_SkipSpaces(ppText);
  if (**ppText != ',') {
    return false;
  }
  ++*ppText;
  return true;
}

// "<first>,<last>" in hexadecimal.
int ParseRange(const char** ppText, u64* pFirst, u64* pLast) {
  if (UTIL_ParseHex64(ppText, pFirst) != 0) {
    return Fail("Start address is missing or not a hexadecimal number");
  }
  if (!SkipComma(ppText)) {
    return Fail("Separator has to be ','");
  }
  if (UTIL_ParseHex64(ppText, pLast) != 0) {
    return Fail("End address is missing or not a hexadecimal number");
  }
  return 0;
}

}  // namespace

int CMDLINE_OnOpenPrj(const char* sText, u32 /*WordLen*/, u32 pass) {
  if (pass == CMDLINE_PASS_PREPARSE) {
    APP_State().OpenPrjGiven = 1;
    return 0;
  }
  char acFile[SYS_MAX_PATH];
  if (CMDLINE_GetString(&sText, acFile, sizeof acFile) != 0) {
    return -1;
  }
  return APP_OpenProject(acFile) == 0 ? 0 : -1;
}

int CMDLINE_OnSavePrjAs(const char* sText, u32 /*WordLen*/, u32 /*Pass*/) {
  char acFile[SYS_MAX_PATH];
  if (CMDLINE_GetString(&sText, acFile, sizeof acFile) != 0) {
    return -1;
  }
  SYS_PATH_ToNative(acFile);
  return PROJECT_SaveAs(acFile);
}

int CMDLINE_OnSavePrj(const char* /*sText*/, u32 /*WordLen*/, u32 /*Pass*/) {
  return PROJECT_Save();
}

int CMDLINE_OnOpen(const char* sText, u32 /*WordLen*/, u32 pass) {
  if (pass == CMDLINE_PASS_PREPARSE) {
    APP_State().OpenDataGiven = 1;
    return 0;
  }
  char acFile[SYS_MAX_PATH];
  if (CMDLINE_GetString(&sText, acFile, sizeof acFile) != 0) {
    return -1;
  }
  u64 startAddr = 0;
  if (SkipComma(&sText)) {
    if (!DATA_HasExt(acFile, ".bin")) {
      APP_LogWarning("SAddr is ignored for filetypes other than .bin");
    } else if (UTIL_ParseHex64(&sText, &startAddr) != 0) {
      return Fail("Start address is missing or not a hexadecimal number");
    }
  }
  return APP_OpenFile(acFile, startAddr, true);
}

int CMDLINE_OnSaveAs(const char* sText, u32 /*WordLen*/, u32 /*Pass*/) {
  char acFile[SYS_MAX_PATH];
  if (CMDLINE_GetString(&sText, acFile, sizeof acFile) != 0) {
    return -1;
  }
  const DATA_WINDOW_INFO* pRow = APP_GetFocusedDataWindow();
  if (pRow == nullptr) {
    return 0;
  }
  const bool takesRange = DATA_HasExt(acFile, ".bin") || DATA_HasExt(acFile, ".c");
  u64 firstAddr = MEMAREA_GetMinAddr(pRow->pArea);
  u64 lastAddr = MEMAREA_GetMaxAddr(pRow->pArea);
  if (takesRange && SkipComma(&sText) && ParseRange(&sText, &firstAddr, &lastAddr) != 0) {
    return -1;
  }
  return APP_SaveDataFile(pRow->hWindow, acFile, firstAddr, lastAddr, takesRange);
}

int CMDLINE_OnSave(const char* /*sText*/, u32 /*WordLen*/, u32 /*Pass*/) {
  const DATA_WINDOW_INFO* pRow = APP_GetFocusedDataWindow();
  if (pRow == nullptr) {
    return 0;
  }
  const std::string file = pRow->acFileName;  // the row is written while it is saved
  return APP_SaveDataFile(pRow->hWindow, file.c_str(), MEMAREA_GetMinAddr(pRow->pArea),
                          MEMAREA_GetMaxAddr(pRow->pArea), true);
}

int CMDLINE_OnConnect(const char* /*sText*/, u32 /*WordLen*/, u32 /*Pass*/) {
  return FLASH_Connect();
}

int CMDLINE_OnDisconnect(const char* /*sText*/, u32 /*WordLen*/, u32 /*Pass*/) {
  FLASH_Disconnect();
  return 0;
}

int CMDLINE_OnEraseSectors(const char* /*sText*/, u32 /*WordLen*/, u32 /*Pass*/) {
  FLASH_EraseAllSectors();
  return 0;
}

int CMDLINE_OnEraseChip(const char* /*sText*/, u32 /*WordLen*/, u32 /*Pass*/) {
  FLASH_EraseChip();
  return 0;
}

int CMDLINE_OnProgramVerify(const char* /*sText*/, u32 /*WordLen*/, u32 /*Pass*/) {
  FLASH_ProgramVerify(APP_GetFocusedImage());
  return 0;
}

int CMDLINE_OnProgram(const char* /*sText*/, u32 /*WordLen*/, u32 /*Pass*/) {
  FLASH_Program(APP_GetFocusedImage(), false);
  return 0;
}

int CMDLINE_OnAuto(const char* /*sText*/, u32 /*WordLen*/, u32 /*Pass*/) {
  FLASH_Auto(APP_GetFocusedImage());
  return 0;
}

int CMDLINE_OnVerify(const char* /*sText*/, u32 /*WordLen*/, u32 /*Pass*/) {
  FLASH_Verify(APP_GetFocusedImage());
  return 0;
}

int CMDLINE_OnReadChip(const char* /*sText*/, u32 /*WordLen*/, u32 /*Pass*/) {
  return APP_ShowReadImage(FLASH_ReadChip(), "Target memory (Entire flash chip)");
}

int CMDLINE_OnReadRange(const char* sText, u32 /*WordLen*/, u32 /*Pass*/) {
  u64 firstAddr = 0;
  u64 lastAddr = 0;
  if (ParseRange(&sText, &firstAddr, &lastAddr) != 0) {
    return -1;
  }
  char acTitle[96];
  UTIL_snprintf64(acTitle, sizeof acTitle, "Target memory (0x%llX - 0x%llX)", firstAddr, lastAddr);
  return APP_ShowReadImage(FLASH_ReadSpan(firstAddr, lastAddr), acTitle);
}

int CMDLINE_OnExit(const char* /*sText*/, u32 /*WordLen*/, u32 pass) {
  if (pass == CMDLINE_PASS_PREPARSE) {
    APP_State().ExitRequested = 1;
    return 0;
  }
  return 1;
}

int CMDLINE_OnHelp(const char* /*sText*/, u32 /*WordLen*/, u32 /*Pass*/) {
  const std::string help = CMDLINE_GetHelp();
  APP_MSGBOX_ARGS args;
  args.sTitle = "Commandline";
  args.sText = help.c_str();
  args.sBtn0 = "OK";
  args.Icon = APP_ICON_INFORMATION;
  APP_MsgBoxAlways(args);
  return 0;
}

int CMDLINE_OnMin(const char* /*sText*/, u32 /*WordLen*/, u32 /*Pass*/) {
  APP_State().VisibilityForced = 1;
  APP_GetFrontEnd()->SetVisibility(2);
  return 0;
}

int CMDLINE_OnHide(const char* /*sText*/, u32 /*WordLen*/, u32 /*Pass*/) {
  APP_State().VisibilityForced = 1;
  APP_GetFrontEnd()->SetVisibility(0);
  return 0;
}

int CMDLINE_OnMerge(const char* sText, u32 /*WordLen*/, u32 /*Pass*/) {
  char acFile[SYS_MAX_PATH];
  if (CMDLINE_GetString(&sText, acFile, sizeof acFile) != 0) {
    return -1;
  }
  u64 addr = 0;
  if (DATA_HasExt(acFile, ".bin")) {
    if (!SkipComma(&sText)) {
      return Fail("Separator has to be ','");
    }
    if (UTIL_ParseHex64(&sText, &addr) != 0) {
      return Fail("Start address is missing or not a hexadecimal number");
    }
  }
  const DATA_WINDOW_INFO* pRow = APP_GetFocusedDataWindow();
  if (pRow == nullptr) {
    return 0;
  }
  return APP_MergeDataFile(pRow->hWindow, acFile, static_cast<i64>(addr));
}

// Text without digits takes the last offset of this run again.
int CMDLINE_OnRelocate(const char* sText, u32 /*WordLen*/, u32 /*Pass*/) {
  static u32 lastOffset = 0;  // application thread only
  u32 offset = 0;
  if (UTIL_ParseHex32(&sText, &offset) == 0) {
    lastOffset = offset;
  }
  const i32 signedOffset = static_cast<i32>(lastOffset);
  return APP_RelocateData(&signedOffset);
}

int CMDLINE_OnDelRange(const char* sText, u32 /*WordLen*/, u32 /*Pass*/) {
  return APP_DeleteRange(sText);
}

int CMDLINE_OnEliminate(const char* /*sText*/, u32 /*WordLen*/, u32 /*Pass*/) {
  return APP_EliminateBlank();
}

int CMDLINE_OnGenerateTestData(const char* sText, u32 /*WordLen*/, u32 /*Pass*/) {
  u32 numBytes = 0;
  if (UTIL_ParseHex32(&sText, &numBytes) != 0) {
    return Fail("The size of the test data is missing or not a hexadecimal number");
  }
  if (SkipComma(&sText)) {
    return Fail("Only option <size> allowed for test data generation.");
  }
  return APP_ShowTestData(numBytes);
}

int CMDLINE_OnSaveCfg(const char* sText, u32 /*WordLen*/, u32 /*Pass*/) {
  char acFile[SYS_MAX_PATH];
  if (CMDLINE_GetString(&sText, acFile, sizeof acFile) != 0) {
    return -1;
  }
  SYS_PATH_ToNative(acFile);
  return ZELMONT_SaveConfigFile(acFile);
}

int CMDLINE_OnSaveDat(const char* sText, u32 /*WordLen*/, u32 /*Pass*/) {
  char acFile[SYS_MAX_PATH];
  if (CMDLINE_GetString(&sText, acFile, sizeof acFile) != 0) {
    return -1;
  }
  SYS_PATH_ToNative(acFile);
  return ZELMONT_SaveDataFile(acFile, APP_GetFocusedImage());
}

int CMDLINE_OnDownload(const char* /*sText*/, u32 /*WordLen*/, u32 /*Pass*/) {
  return APP_DownloadConfigFiles(APP_GetFocusedImage());
}
