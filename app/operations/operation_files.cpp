// Operations on projects and data files.
#include <string>

#include "app/engine/app_state.h"
#include "app/engine/log.h"
#include "app/operations/cmdline.h"
#include "app/operations/cmdline_numbers.h"
#include "app/operations/data_edit.h"
#include "app/operations/data_internal.h"
#include "app/operations/data_ops.h"
#include "app/operations/data_watch.h"
#include "app/operations/data_windows.h"
#include "app/operations/init_exit.h"
#include "app/operations/operation_funcs.h"
#include "programmer/download.h"
#include "programmer/save_files.h"
#include "project/project.h"
#include "sys/file.h"
#include "sys/path.h"
#include "sys/util_string.h"

namespace {

constexpr char kAddrIgnored[] = "SAddr is ignored for filetypes other than .bin";
constexpr u64 kNoAddr = ~u64{0};  // the file says where it belongs

// The only number that is given, which ends the argument.
int ParseLastHex(const char* sText, const char* sWhat, u64* pValue) {
  return CMDLINE_ParseHex(&sText, sWhat, pValue) == 0 ? CMDLINE_ExpectEnd(sText) : -1;
}

// The only name that is given, which ends the argument, in the form of this system.
int GetLastName(const APP_CALL& call, char (&pBuf)[SYS_MAX_PATH]) {
  const char* sText = call.Text->c_str();
  if (CMDLINE_GetString(&sText, pBuf, SYS_MAX_PATH) != 0 || CMDLINE_ExpectEnd(sText, "name") != 0) {
    return -1;
  }
  SYS_PATH_ToNative(pBuf);
  return 0;
}

// Words that take nothing must not look as if they did.
int ExpectNothing(const APP_CALL& call, const char* sWord) {
  return call.Text.has_value() ? CMDLINE_ExpectEnd(call.Text->c_str(), sWord) : 0;
}

// A project without its data file is open all the same. But with another image in a window, what
// follows on the line would take that one for this project's.
int OpenNamedProject(const char* sFile) {
  bool isDataFileMissing = false;
  if (APP_OpenProject(sFile, &isDataFileMissing) != 0) {
    return -1;
  }
  return isDataFileMissing && APP_GetNumDataWindows() != 0
             ? CMDLINE_Fail(APP_CAUSE::NoData, "The data file of the project is not open.")
             : 0;
}

const DATA_WINDOW_INFO* GetRow(const APP_CALL& call) {
  return call.pWindow != nullptr ? APP_FindDataWindow(call.pWindow) : APP_GetFocusedDataWindow();
}

// What the next operation offers or takes again. Application thread only.
i64& LastOffset() {
  static i64 offset = 0;
  return offset;
}

// Where the file of a person's or a line's choice goes to; null asks.
template <class SAVE>
int SaveNamed(const APP_CALL& call, SAVE save) {
  if (!call.Text.has_value()) {
    return save(nullptr);
  }
  char acFile[SYS_MAX_PATH];
  return GetLastName(call, acFile) == 0 ? save(acFile) : -1;
}

void WarnIfNoBytes(MEMAREA* pArea) {
  if (pArea != nullptr && MEMAREA_GetNumBytes(pArea) == 0) {
    APP_LogWarning("The data file holds no data.");
  }
}

}  // namespace

MEMAREA* OP_GetImage(const APP_CALL& call) {
  const DATA_WINDOW_INFO* pRow = GetRow(call);
  return pRow != nullptr ? pRow->pArea : nullptr;
}

void OP_Reset() {
  LastOffset() = 0;
}

int OP_NoteProject(const char* /*sText*/) {
  APP_State().OpenPrjGiven = 1;
  return 0;
}

int OP_NoteData(const char* /*sText*/) {
  APP_State().OpenDataGiven = 1;
  return 0;
}

int OP_NoteExit(const char* /*sText*/) {
  APP_State().ExitRequested = 1;
  return 0;
}

int OP_Exit(const APP_CALL& /*call*/) {
  return 1;
}

int OP_OpenProject(const APP_CALL& call) {
  if (!call.Text.has_value()) {
    return APP_OpenProject(call.File.c_str());
  }
  if (!call.File.empty()) {  // a word that is a project by itself: commas and quotes are part of it
    return OpenNamedProject(call.File.c_str());
  }
  char acFile[SYS_MAX_PATH];
  return GetLastName(call, acFile) == 0 ? OpenNamedProject(acFile) : -1;
}

int OP_SaveProjectAs(const APP_CALL& call) {
  return SaveNamed(call, PROJECT_SaveAs);
}

int OP_SaveProject(const APP_CALL& call) {
  return ExpectNothing(call, "word -saveprj") == 0 ? PROJECT_Save() : -1;
}

int OP_CloseProject(const APP_CALL& /*call*/) {
  PROJECT_Close();
  return 0;
}

int OP_OpenData(const APP_CALL& call) {
  if (!call.Text.has_value()) {
    return APP_OpenFile(call.File.c_str(), kNoAddr, false);
  }
  const char* sText = call.Text->c_str();
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

int OP_SaveDataAs(const APP_CALL& call) {
  const DATA_WINDOW_INFO* pRow = GetRow(call);
  if (!call.Text.has_value()) {
    APP_SaveDataWindow(pRow->hWindow, "", true);
    return 0;
  }
  const char* sText = call.Text->c_str();
  char acFile[SYS_MAX_PATH];
  if (CMDLINE_GetString(&sText, acFile, sizeof acFile) != 0) {
    return -1;
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

// The core knows under which name the window was opened; one that shows no file asks a person.
int OP_SaveData(const APP_CALL& call) {
  const DATA_WINDOW_INFO* pRow = GetRow(call);
  if (!call.Text.has_value()) {
    APP_SaveDataWindow(pRow->hWindow, "", false);
    return 0;
  }
  if (ExpectNothing(call, "word -save") != 0) {
    return -1;
  }
  const std::string file = pRow->acFileName;  // the row is written while it is saved
  return APP_SaveDataFile(pRow->hWindow, file.c_str(), MEMAREA_GetMinAddr(pRow->pArea),
                          MEMAREA_GetMaxAddr(pRow->pArea), true);
}

int OP_MergeData(const APP_CALL& call) {
  APP_DATA_WINDOW* pWindow = GetRow(call)->hWindow;
  if (!call.Text.has_value()) {
    return APP_MergeDataFile(pWindow, call.File.c_str(), nullptr);
  }
  const char* sText = call.Text->c_str();
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
  return APP_MergeDataFile(pWindow, acFile, &addr);
}

// No text at all takes the last offset of this run again; any other is an offset.
int OP_Relocate(const APP_CALL& call) {
  if (!call.Text.has_value()) {
    return APP_RelocateData(nullptr);
  }
  const char* sText = call.Text->c_str();
  UTIL_SkipSpaces(&sText);
  if (*sText == '\0') {
    APP_LogWarning("No offset is given: the last one of this run is used.");
  } else if (CMDLINE_ParseOffset(sText, &LastOffset()) != 0) {
    return -1;
  }
  return APP_RelocateData(&LastOffset());
}

int OP_DeleteRange(const APP_CALL& call) {
  return APP_DeleteRange(call.Text.has_value() ? call.Text->c_str() : nullptr);
}

int OP_EliminateBlank(const APP_CALL& /*call*/) {
  return APP_EliminateBlank();
}

int OP_GenerateTestData(const APP_CALL& call) {
  if (!call.Text.has_value()) {
    return APP_AskGenerateTestData();
  }
  const char* sText = call.Text->c_str();
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

int OP_SaveConfig(const APP_CALL& call) {
  return SaveNamed(call, ZELMONT_SaveConfigFile);
}

int OP_SaveImage(const APP_CALL& call) {
  MEMAREA* pArea = OP_GetImage(call);
  return SaveNamed(call, [pArea](const char* sFile) {
    WarnIfNoBytes(pArea);
    return ZELMONT_SaveDataFile(sFile, pArea);
  });
}

int OP_Download(const APP_CALL& call) {
  MEMAREA* pArea = OP_GetImage(call);
  WarnIfNoBytes(pArea);
  return APP_DownloadConfigFiles(pArea);
}

int OP_DownloadSN(const APP_CALL& /*call*/) {
  return APP_DownloadSNFiles();
}
