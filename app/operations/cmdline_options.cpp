#include "app/operations/cmdline_options.h"

#include <string>

#include "app/engine/app_state.h"
#include "app/engine/frontend.h"
#include "app/engine/log.h"
#include "app/operations/cmdline.h"
#include "app/operations/cmdline_numbers.h"
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

constexpr char kAddrIgnored[] = "SAddr is ignored for filetypes other than .bin";

// The only number that is given, which ends the argument.
int ParseLastHex(const char* sText, const char* sWhat, u64* pValue) {
  return CMDLINE_ParseHex(&sText, sWhat, pValue) == 0 ? CMDLINE_ExpectEnd(sText) : -1;
}

// The only name that is given, which ends the argument.
int GetLastName(const char* sText, char* pBuf, u32 bufSize) {
  return CMDLINE_GetString(&sText, pBuf, bufSize) == 0 ? CMDLINE_ExpectEnd(sText, "name") : -1;
}

}  // namespace

// A project without its data file is open all the same. But with another image in a window, what
// follows on the line would take that one for this project's.
int CMDLINE_OpenProject(const char* sFile) {
  bool isDataFileMissing = false;
  if (APP_OpenProject(sFile, &isDataFileMissing) != 0) {
    return -1;
  }
  return isDataFileMissing && APP_GetNumDataWindows() != 0
             ? CMDLINE_Fail("The data file of the project is not open.")
             : 0;
}

int CMDLINE_OnOpenPrj(const char* sText, u32 /*WordLen*/, u32 pass) {
  if (pass == CMDLINE_PASS_PREPARSE) {
    APP_State().OpenPrjGiven = 1;
    return 0;
  }
  char acFile[SYS_MAX_PATH];
  if (GetLastName(sText, acFile, sizeof acFile) != 0) {
    return -1;
  }
  return CMDLINE_OpenProject(acFile);
}

int CMDLINE_OnSavePrjAs(const char* sText, u32 /*WordLen*/, u32 /*Pass*/) {
  char acFile[SYS_MAX_PATH];
  if (GetLastName(sText, acFile, sizeof acFile) != 0) {
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
  if (CMDLINE_SkipComma(&sText)) {
    if (!DATA_HasExt(acFile, ".bin")) {
      APP_LogWarning(kAddrIgnored);
    } else if (ParseLastHex(sText, "Start address", &startAddr) != 0) {
      return -1;
    }
  } else if (CMDLINE_ExpectEnd(sText, "name") != 0) {
    return -1;
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
  if (CMDLINE_SkipComma(&sText)) {
    if (!takesRange) {
      APP_LogWarning("The range is ignored for filetypes other than .bin and .c");
    } else if (CMDLINE_ParseRange(sText, &firstAddr, &lastAddr) != 0) {
      return -1;
    } else if (lastAddr < firstAddr) {
      return CMDLINE_Fail("The end address lies below the start address");
    }
  } else if (CMDLINE_ExpectEnd(sText, "name") != 0) {
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
  if (CMDLINE_ParseRange(sText, &firstAddr, &lastAddr) != 0) {
    return -1;
  }
  char acTitle[96];
  UTIL_snprintf64(acTitle, sizeof acTitle, "Target memory (0x%lX - 0x%lX)", firstAddr, lastAddr);
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
  const bool hasComma = CMDLINE_SkipComma(&sText);
  if (!DATA_HasExt(acFile, ".bin")) {
    if (hasComma) {
      APP_LogWarning(kAddrIgnored);
    } else if (CMDLINE_ExpectEnd(sText, "name") != 0) {
      return -1;
    }
  } else if (!hasComma) {
    return CMDLINE_Fail("Separator has to be ','");
  } else if (ParseLastHex(sText, "Start address", &addr) != 0) {
    return -1;
  }
  const DATA_WINDOW_INFO* pRow = APP_GetFocusedDataWindow();
  if (pRow == nullptr) {
    return 0;
  }
  return APP_MergeDataFile(pRow->hWindow, acFile, &addr);
}

// Text without digits takes the last offset of this run again. Only 32 bits of an offset count.
int CMDLINE_OnRelocate(const char* sText, u32 /*WordLen*/, u32 /*Pass*/) {
  static i32 lastOffset = 0;  // application thread only
  u64 offset = 0;
  const char* const sNumber = sText;
  if (UTIL_ParseHex64(&sText, &offset) == 0) {
    if (CMDLINE_CheckDigits(sNumber, sText, "The offset") != 0 || CMDLINE_ExpectEnd(sText) != 0) {
      return -1;
    }
    lastOffset = static_cast<i32>(offset);
    if (static_cast<u64>(i64{lastOffset}) != offset && offset > 0xFFFFFFFF) {
      APP_LogWarning("The offset has more than 32 bits: its upper part is not used.");
    }
  } else {
    APP_LogWarning("No offset is given: the last one of this run is used.");
  }
  return APP_RelocateData(&lastOffset);
}

int CMDLINE_OnDelRange(const char* sText, u32 /*WordLen*/, u32 /*Pass*/) {
  return APP_DeleteRange(sText);
}

int CMDLINE_OnEliminate(const char* /*sText*/, u32 /*WordLen*/, u32 /*Pass*/) {
  return APP_EliminateBlank();
}

int CMDLINE_OnGenerateTestData(const char* sText, u32 /*WordLen*/, u32 /*Pass*/) {
  u64 numBytes = 0;
  if (CMDLINE_ParseHex(&sText, "The size of the test data", &numBytes) != 0) {
    return -1;
  }
  if (CMDLINE_SkipComma(&sText)) {
    return CMDLINE_Fail("Only option <size> allowed for test data generation.");
  }
  if (CMDLINE_ExpectEnd(sText) != 0) {
    return -1;
  }
  if (numBytes > 0xFFFFFFFF) {
    return CMDLINE_Fail("The size of the test data has more than 32 bits");
  }
  return APP_ShowTestData(static_cast<u32>(numBytes));
}

int CMDLINE_OnSaveCfg(const char* sText, u32 /*WordLen*/, u32 /*Pass*/) {
  char acFile[SYS_MAX_PATH];
  if (GetLastName(sText, acFile, sizeof acFile) != 0) {
    return -1;
  }
  SYS_PATH_ToNative(acFile);
  return ZELMONT_SaveConfigFile(acFile);
}

int CMDLINE_OnSaveDat(const char* sText, u32 /*WordLen*/, u32 /*Pass*/) {
  char acFile[SYS_MAX_PATH];
  if (GetLastName(sText, acFile, sizeof acFile) != 0) {
    return -1;
  }
  SYS_PATH_ToNative(acFile);
  return ZELMONT_SaveDataFile(acFile, APP_GetFocusedImage());
}

int CMDLINE_OnDownload(const char* /*sText*/, u32 /*WordLen*/, u32 /*Pass*/) {
  return APP_DownloadConfigFiles(APP_GetFocusedImage());
}
