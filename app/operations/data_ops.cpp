#include "app/operations/data_ops.h"

#include <algorithm>
#include <string>
#include <string_view>

#include "app/engine/app_state.h"
#include "app/engine/locks.h"
#include "app/engine/log.h"
#include "app/operations/data_internal.h"
#include "app/operations/data_windows.h"
#include "app/operations/init_exit.h"
#include "app/operations/status.h"
#include "image/crc.h"
#include "image/datafile.h"
#include "project/project.h"
#include "sys/file.h"
#include "sys/memory.h"
#include "sys/path.h"
#include "sys/util_format.h"
#include "sys/util_string.h"
#include "text/file_error.h"

namespace {

constexpr u32 kCrcBlock = 0x10000;
constexpr u32 kExtSize = 32;
constexpr u64 kMaxAddr32 = 0xFFFFFFFF;  // what a project and the fields of a dialog hold

// What the dialogs offer again, until the program ends.
struct REMEMBERED {
  u64 OpenAddr = 0;  // start address for opening
  u64 SaveFirst = 0, SaveLast = 0;
};
REMEMBERED& Remembered() {
  static REMEMBERED remembered;  // application thread only
  return remembered;
}

// The address at which a file is opened, into OpenAddr. False when the user gave none.
bool ChooseStartAddr(const char* sFile, u64 startAddr, bool hasStartAddr) {
  u64& openAddr = Remembered().OpenAddr;
  if (DATA_HasOwnAddresses(sFile)) {
    if (PROJECT_IsOpen() > 0) {
      PROJ_GENERAL general;
      PROJECT_GetGeneral(&general);
      openAddr = general.DataFileSAddr;
    }
    return true;
  }
  if (hasStartAddr) {
    openAddr = startAddr;
    return true;
  }
  return DATA_AskStartAddr(nullptr, "Enter start address", &openAddr) == 0;
}

// The project names the file from now on, at an address that it can hold: one cut to 32 bits would
// put the data elsewhere the next time.
void BindProject(const char* sFile, u64 startAddr) {
  if (PROJECT_IsOpen() <= 0) {
    return;
  }
  if (startAddr <= kMaxAddr32) {
    PROJECT_SetDataFile(sFile, static_cast<u32>(startAddr));
    return;
  }
  APP_LogWarning("A project holds start addresses of 32 bits: it names no data file from now on.");
  PROJ_GENERAL general;
  PROJECT_GetGeneral(&general);
  general.CurrentFile[0] = '\0';
  general.DataFileSAddr = 0;
  PROJECT_SetGeneral(&general);
}

// Size and checksums of a freshly opened image. False when the file could not be read again.
bool LogImage(MEMAREA* pArea, const char* sFile) {
  u32 dataCrc32c = 0;
  const u32 dataCrc32 = MEMAREA_CalcCRC(pArea, &dataCrc32c);
  u32 fileCrc32 = 0;
  u32 fileCrc32c = 0;
  if (APP_GetFileCRC(sFile, &fileCrc32, &fileCrc32c) != 0) {
    return false;
  }
  const u64 numBytes = MEMAREA_GetNumBytes(pArea);
  const u64 numRanges = MEMAREA_GetNumRanges(pArea);
  APP_LogInfof("0x%lX (%lu) bytes, %lu range%s", numBytes, numBytes, numRanges,
               DATA_Plural(numRanges));
  APP_LogInfof("Data CRC-32  = 0x%.8X", dataCrc32);
  APP_LogInfof("Data CRC-32C = 0x%.8X", dataCrc32c);
  APP_LogInfof("File CRC-32  = 0x%.8X", fileCrc32);
  APP_LogInfof("File CRC-32C = 0x%.8X", fileCrc32c);
  return true;
}

// The range of a save, from the caller or from the user. False when the user gave none.
bool ChooseSaveRange(const DATA_WINDOW_INFO& row, const char* sFile, u64* pFirst, u64* pLast,
                     bool hasRange) {
  if (!DATAFILE_HasRange(sFile)) {
    return true;
  }
  if (!hasRange) {
    *pFirst = Remembered().SaveFirst;
    *pLast = Remembered().SaveLast;
    if (APP_AskAddressRange(row.pArea, " Enter address range", pFirst, pLast) != 0) {
      return false;
    }
  }
  Remembered().SaveFirst = *pFirst;
  Remembered().SaveLast = *pLast;
  return true;
}

// An empty file is written where the range holds nothing; that is hardly what was meant.
void WarnIfEmpty(MEMAREA* pArea, const char* sFile, u64 firstAddr, u64 lastAddr) {
  const u32 numRanges = MEMAREA_GetNumRanges(pArea);
  if (!DATAFILE_HasRange(sFile) || numRanges == 0) {
    return;
  }
  for (u32 i = 0; i < numRanges; ++i) {
    u64 addr = 0;
    u64 numBytes = 0;
    MEMAREA_GetRange(pArea, i, &addr, &numBytes);
    if (addr <= lastAddr && addr + (numBytes - 1) >= firstAddr) {
      return;
    }
  }
  char acText[128];
  UTIL_snprintf64(acText, sizeof acText, "The range 0x%lX - 0x%lX holds no data.", firstAddr,
                  lastAddr);
  APP_LogWarning(acText);
}

// Limits an entered range to the data. False when there is none in it.
bool ClampToImage(MEMAREA* pImage, u64* pStart, u64* pEnd) {
  const u64 minAddr = MEMAREA_GetMinAddr(pImage);
  const u64 maxAddr = MEMAREA_GetMaxAddr(pImage);
  char acText[160];
  if (*pEnd < minAddr || *pStart > maxAddr) {
    UTIL_snprintf64(acText, sizeof acText,
                    "The data lies at 0x%lX - 0x%lX, none of it in 0x%lX - 0x%lX.", minAddr,
                    maxAddr, *pStart, *pEnd);
    APP_ShowError(APP_CAUSE::Usage, acText);
    return false;
  }
  const u64 start = std::max(*pStart, minAddr);
  const u64 end = std::min(*pEnd, maxAddr);
  if (start != *pStart || end != *pEnd) {
    UTIL_snprintf64(acText, sizeof acText,
                    "The range is limited to that of the data, 0x%lX - 0x%lX.", start, end);
    APP_LogWarning(acText);
    *pStart = start;
    *pEnd = end;
  }
  return true;
}

void EndSaved(MEMAREA* pArea) {
  const u64 numRanges = MEMAREA_GetNumRanges(pArea);
  char acText[128];
  UTIL_snprintf64(acText, sizeof acText, "Data file saved successfully (%lu bytes, %lu range%s)",
                  MEMAREA_GetNumBytes(pArea), numRanges, DATA_Plural(numRanges));
  APP_LogEndEx(acText);
  APP_SetStatusText("Ready", 0);
}

}  // namespace

bool DATA_HasExt(const char* sFile, const char* sExt) {
  char acExt[kExtSize];
  SYS_PATH_GetExt(sFile, acExt, sizeof acExt);
  return UTIL_stricmp(acExt, sExt) == 0;
}

bool DATA_HasOwnAddresses(const char* sFile) {
  return !DATA_HasExt(sFile, ".bin") && !DATA_HasExt(sFile, ".raw");
}

const char* DATA_Plural(u64 n) {
  return n == 1 ? "" : "s";
}

int DATA_EndFailed(const char* sText, int result) {
  APP_LogEndEx(sText);
  const std::string_view text(sText);
  APP_SetStatusText(std::string(text.substr(0, text.find('\n'))).c_str(), 0);
  return result;
}

int DATA_AskStartAddr(void* pContext, const char* sTitle, u64* pAddr) {
  const int result = APP_AskAddressRange(nullptr, sTitle, pAddr, nullptr);
  if (result == 0 && pContext != nullptr) {
    *static_cast<u64*>(pContext) = *pAddr;
  }
  return result;
}

int APP_AskAddressRange(MEMAREA* pImage, const char* sTitle, u64* pStart, u64* pEnd) {
  APP_FRONTEND* pFrontEnd = APP_GetFrontEnd();
  if (pFrontEnd == nullptr) {
    return -1;
  }
  u64 start = *pStart;
  u64 end = pEnd == nullptr ? 0 : *pEnd;
  if (pImage != nullptr) {
    start = MEMAREA_GetMinAddr(pImage);
    end = MEMAREA_GetMaxAddr(pImage);
    if (end > kMaxAddr32) {
      char acText[128];
      UTIL_snprintf64(acText, sizeof acText,
                      "Addresses of more than 32 bits cannot be entered; the data ends at 0x%lX.",
                      end);
      APP_ShowError(APP_CAUSE::DoesNotFit, acText);
      return -1;
    }
  }
  EDIT_VALUE_ITEM aItems[] = {{0, &start, "Start address (hex)"}, {0, &end, "End address (hex)"}};
  const int result = pFrontEnd->ShowEditValDialog(sTitle, aItems, pEnd == nullptr ? 1 : 2);
  if (result != 0) {
    return result;
  }
  if (pEnd == nullptr) {
    *pStart = start;
  } else if (start <= end) {
    if (pImage != nullptr && MEMAREA_GetNumRanges(pImage) != 0 &&
        !ClampToImage(pImage, &start, &end)) {
      return -1;
    }
    *pStart = start;
    *pEnd = end;
  }
  return 0;
}

int APP_GetFileCRC(const char* sName, u32* pCRC32, u32* pCRC32C) {
  const SYS_HANDLE hFile = SYS_FILE_Open(sName, SYS_FILE_READ | SYS_FILE_SHARE_READ);
  if (hFile == SYS_INVALID_FILE) {
    char acText[SYS_MAX_PATH + 128];
    APP_FormatFileError(sName, "open", acText, sizeof acText);
    APP_LogInfo(acText);
    return -1;
  }
  const SYS_MEM_PTR<u8> pBuf(static_cast<u8*>(SYS_MEM_Alloc(kCrcBlock, "Tmp CRC buffer")));
  u32 crc32 = 0;
  u32 crc32c = 0;
  i64 numRead = -1;
  if (pBuf == nullptr) {
    APP_LogInfo("Insufficient memory!");
  } else {
    while ((numRead = SYS_FILE_Read(hFile, pBuf.get(), kCrcBlock)) > 0) {
      crc32 = CRC_Calc32(pBuf.get(), static_cast<u64>(numRead), crc32);
      crc32c = CRC_Calc32C(pBuf.get(), static_cast<u64>(numRead), crc32c);
    }
  }
  SYS_FILE_Close(hFile);
  if (pCRC32 != nullptr) {
    *pCRC32 = crc32;
  }
  if (pCRC32C != nullptr) {
    *pCRC32C = crc32c;
  }
  return numRead < 0 ? -1 : 0;
}

MEMAREA* APP_OpenDataFile(const char* pFileName, u64 startAddr, bool hasStartAddr) {
  SYS_LOCK_GUARD lock(APP_GetLock());
  MEMAREA_PTR pArea(MEMAREA_Create());
  if (pArea == nullptr) {
    APP_ShowError(APP_CAUSE::OutOfMemory, "Insufficient memory!");
    return nullptr;
  }
  if (*pFileName == '\0') {
    return pArea.release();
  }
  char acFile[SYS_MAX_PATH];
  UTIL_strcpy(acFile, pFileName, sizeof acFile);
  SYS_PATH_ToNative(acFile);
  APP_LogBeginf("Opening data file [%s] ...", acFile);
  if (!ChooseStartAddr(acFile, startAddr, hasStartAddr)) {
    char acText[SYS_MAX_PATH + 64];
    UTIL_snprintf(acText, sizeof acText, "Failed to open data file.\nNo start address given for %s",
                  acFile);
    DATA_EndFailed(acText, -1);
    return nullptr;
  }
  u64& openAddr = Remembered().OpenAddr;
  APP_FILE_JOB job = {acFile, false};
  if (DATAFILE_Load(pArea.get(), APP_OnFileReport, &job, acFile, openAddr, DATA_AskStartAddr,
                    &openAddr) < 0) {
    DATA_EndFailed("Failed to open data file", -1);
    return nullptr;
  }
  BindProject(acFile, openAddr);
  if (MEMAREA_GetNumBytes(pArea.get()) == 0) {
    APP_LogWarning("The data file holds no data.");
  }
  if (LogImage(pArea.get(), acFile)) {
    APP_LogEndEx("Data file opened successfully");
    APP_SetStatusText("Ready", 0);
  } else {
    DATA_EndFailed("Failed to open data file for CRC calculation.", 0);
  }
  return pArea.release();
}

int APP_OpenFile(const char* pFileName, u64 startAddr, bool hasStartAddr) {
  char acFile[SYS_MAX_PATH];
  UTIL_strcpy(acFile, pFileName, sizeof acFile);
  SYS_PATH_ToNative(acFile);
  if (DATA_HasExt(acFile, ".korvane")) {
    return APP_OpenProject(acFile);
  }
  SYS_LOCK_GUARD lock(APP_GetLock());
  // Taken ahead: who writes the file while it is read is noticed later.
  const SYS_TIME fileTime = APP_GetFileTime(acFile);
  MEMAREA_PTR pArea(APP_OpenDataFile(acFile, startAddr, hasStartAddr));
  if (pArea == nullptr || APP_AddDataWindow(acFile, pArea.get(), acFile, &fileTime) == nullptr) {
    return -1;
  }
  static_cast<void>(pArea.release());  // the window's row owns it now
  return 0;
}

int APP_LoadProjectDataFile() {
  const char* sProject = PROJECT_GetName();
  if (sProject == nullptr) {
    APP_LogInfo("No valid project directory found!");
    return -1;
  }
  PROJ_GENERAL general;
  PROJECT_GetGeneral(&general);
  if (general.CurrentFile[0] == '\0') {
    APP_LogInfo("No data file specified!");
    return 0;
  }
  char acFile[SYS_MAX_PATH];
  UTIL_strcpy(acFile, PROJECT_GetDataFileName().c_str(), sizeof acFile);
  // A project in place of the data might name itself, and so on without an end.
  if (SYS_FILE_Exists(acFile) == 0 || !APP_CanOpenExt(acFile) || DATA_HasExt(acFile, ".korvane")) {
    char acText[SYS_MAX_PATH + 64];
    UTIL_snprintf(acText, sizeof acText, "Failed to open data file [%s]...", acFile);
    APP_LogInfo(acText);
    return -1;
  }
  if (APP_OpenFile(acFile, general.DataFileSAddr, true) != 0) {
    return -1;
  }
  return 0;
}

int APP_SaveDataFile(APP_DATA_WINDOW* hWindow, const char* pFileName, u64 firstAddr, u64 lastAddr,
                     bool hasRange) {
  SYS_LOCK_GUARD lock(APP_GetLock());
  const DATA_WINDOW_INFO* pRow = APP_FindDataWindow(hWindow);
  if (pRow == nullptr) {
    return -1;
  }
  char acFile[SYS_MAX_PATH];
  UTIL_strcpy(acFile, pFileName, sizeof acFile);
  SYS_PATH_ToNative(acFile);
  APP_LogBeginf("Saving data file [%s] ...", acFile);
  if (!ChooseSaveRange(*pRow, acFile, &firstAddr, &lastAddr, hasRange)) {
    return DATA_EndFailed("Failed to save data file", 0);
  }
  MEMAREA* pArea = pRow->pArea;
  APP_FILE_JOB job = {acFile, true};
  const int result = DATAFILE_Save(pArea, APP_OnFileReport, &job, acFile, firstAddr, lastAddr);
  if (result >= 0) {
    APP_NoteFileTime(hWindow, acFile);  // at once: what is written from now on is somebody else's
  }
  APP_GetFrontEnd()->UpdateDataWindow(hWindow, pArea);
  if (result < 0) {
    return DATA_EndFailed("Failed to save data file", -1);
  }
  hWindow->RequestWindowName(acFile);
  // Only files without addresses of their own are opened at this one again.
  const u64 saveFirst = Remembered().SaveFirst;
  BindProject(acFile, DATA_HasOwnAddresses(acFile) ? static_cast<u32>(saveFirst) : saveFirst);
  WarnIfEmpty(pArea, acFile, firstAddr, lastAddr);
  EndSaved(pArea);
  return 0;
}

void APP_ResetDataOps() {
  Remembered() = REMEMBERED{};
}
