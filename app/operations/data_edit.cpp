#include "app/operations/data_edit.h"

#include <algorithm>
#include <array>

#include "app/engine/locks.h"
#include "app/engine/log.h"
#include "app/operations/cmdline_numbers.h"
#include "app/operations/data_internal.h"
#include "app/operations/data_ops.h"
#include "app/operations/data_windows.h"
#include "app/operations/status.h"
#include "image/datafile.h"
#include "sys/file.h"
#include "sys/path.h"
#include "sys/util_format.h"
#include "sys/util_number.h"
#include "sys/util_string.h"
#include "text/file_error.h"

namespace {

constexpr u32 kTestDataBlock = 0x10000;
constexpr u64 kMinBlankRun = 64;
constexpr u32 kBlankAlignShift = 2;

// What the dialogs offer again, until the program ends.
struct REMEMBERED {
  u64 MergeAddr = 0;
  u64 RelocateOffset = 0;
  u64 TestDataSize = 0x100000;
};
REMEMBERED& Remembered() {
  static REMEMBERED remembered;  // application thread only
  return remembered;
}

// The windows show an image in place.
void Redraw(const DATA_WINDOW_INFO& row) {
  APP_GetFrontEnd()->UpdateDataWindow(row.hWindow, row.pArea);
  APP_UpdateMenuBar();
}

bool ChooseMergeAddr(const char* sFile, const u64* pStartAddr) {
  u64& mergeAddr = Remembered().MergeAddr;
  if (DATA_HasOwnAddresses(sFile)) {
    return true;
  }
  if (pStartAddr != nullptr) {
    mergeAddr = *pStartAddr;
    return true;
  }
  return DATA_AskStartAddr(nullptr, " Enter start address", &mergeAddr) == 0;
}

// Makes room in the old image for all of the new one. Edits that were not saved are folded in
// first: they would show through the new bytes. 0, or -1 with nothing cut.
int CutOut(MEMAREA* pOld, MEMAREA* pNew) {
  if (MEMAREA_CommitPatches(pOld) != 0) {
    return -1;
  }
  const u32 numRanges = MEMAREA_GetNumRanges(pNew);
  for (u32 i = 0; i < numRanges; ++i) {
    u64 addr = 0;
    u64 numBytes = 0;
    MEMAREA_GetRange(pNew, i, &addr, &numBytes);
    MEMAREA_RemoveRange(pOld, addr, addr + numBytes - 1);
  }
  return 0;
}

// The image stays locked from the first cut on: a wait that runs out finds it as it was.
int Combine(MEMAREA* pOld, MEMAREA* pNew, bool overlaps) {
  const MEMAREA_LOCK_GUARD lock(pOld);
  if (!lock.Locked() || (overlaps && CutOut(pOld, pNew) != 0)) {
    return -1;
  }
  return MEMAREA_Merge(pOld, pNew);
}

bool MayOverwrite() {
  return APP_MsgBox(
             "Address ranges of selected data files overlap.\n"
             "Second data file will overwrite overlap regions of first one.\n"
             "Shall data files be merged?",
             "Yes", "No", 0, APP_ICON_QUESTION, 1) == 0;
}

void LogMerged(MEMAREA* pArea) {
  u32 crc32c = 0;
  const u32 crc32 = MEMAREA_CalcCRC(pArea, &crc32c);
  const u64 numBytes = MEMAREA_GetNumBytes(pArea);
  const u64 numRanges = MEMAREA_GetNumRanges(pArea);
  APP_LogInfof("0x%lX (%lu) bytes, %lu range%s", numBytes, numBytes, numRanges,
               DATA_Plural(numRanges));
  APP_LogInfof("CRC-32  = 0x%.8X", crc32);
  APP_LogInfof("CRC-32C = 0x%.8X", crc32c);
}

int MergeLoaded(const DATA_WINDOW_INFO& row, MEMAREA* pNew) {
  const bool overlaps = MEMAREA_Overlaps(row.pArea, pNew);
  if (overlaps && !MayOverwrite()) {
    APP_LogEnd();
    APP_SetStatusText("Ready", 0);
    return -2;
  }
  if (Combine(row.pArea, pNew, overlaps) != 0) {
    return DATA_EndFailed("Data files have not been merged.", -1);
  }
  LogMerged(row.pArea);
  Redraw(row);
  APP_LogEndEx("Data files merged successfully");
  APP_SetStatusText("Ready", 0);
  return 0;
}

// A counter of 32 bits, little-endian, that runs on from Start.
void FillCounter(std::array<u8, kTestDataBlock>* pBlock, u32 start) {
  for (u32 i = 0; i < kTestDataBlock; i += 4) {
    UTIL_StoreU32LE(&(*pBlock)[i], start + i / 4);
  }
}

int AddTestData(MEMAREA* pArea, u32 numBytes, PROGRESS_INFO* pProgress) {
  std::array<u8, kTestDataBlock> block;
  for (u64 addr = 0; addr < numBytes && APP_IsOperationAlive() != 0; addr += kTestDataBlock) {
    const u64 numInBlock = std::min<u64>(numBytes - addr, kTestDataBlock);
    FillCounter(&block, static_cast<u32>(addr / 4));
    if (MEMAREA_AddRange(pArea, addr, numInBlock, block.data()) != 0) {
      APP_LogErrorf(APP_CAUSE::OutOfMemory, "Failed to allocate %d bytes of memory",
                    static_cast<u32>(numInBlock));
      return -1;
    }
    PROGRESS_AddValue(pProgress, static_cast<u32>(numInBlock));
  }
  return 0;
}

bool EndTestData(MEMAREA* pArea, bool isCanceled) {
  if (APP_GetErrorCount() != 0) {
    APP_LogError(APP_CAUSE::OutOfMemory, "Failed to generate test data.");
  } else if (isCanceled) {
    APP_LogError(APP_CAUSE::Canceled, "Generation of test data canceled by user");
  } else {
    const u32 numRanges = MEMAREA_GetNumRanges(pArea);
    char acText[128];
    UTIL_snprintf64(acText, sizeof acText,
                    "Test data generated successfully. (%lu bytes, %u range%s)",
                    MEMAREA_GetNumBytes(pArea), numRanges, DATA_Plural(numRanges));
    APP_LogCompleted(acText);
    return true;
  }
  return false;
}

}  // namespace

int APP_MergeDataFile(APP_DATA_WINDOW* hWindow, const char* pFileName, const u64* pStartAddr) {
  SYS_LOCK_GUARD lock(APP_GetLock());
  const DATA_WINDOW_INFO* pRow = APP_FindDataWindow(hWindow);
  char acFile[SYS_MAX_PATH];
  UTIL_strcpy(acFile, pFileName, sizeof acFile);
  SYS_PATH_ToNative(acFile);
  if (pRow == nullptr) {
    return -1;
  }
  if (SYS_FILE_Exists(acFile) == 0) {
    APP_ShowErrorf(APP_ERROR(APP_CAUSE::FileNotFound).In(acFile),
                   "Could not open file [%s]\nFile not found!", acFile);
    return -1;
  }
  MEMAREA_PTR pNew(MEMAREA_Create());
  APP_LogBeginf("Merging data file [%s] ...", acFile);
  if (!ChooseMergeAddr(acFile, pStartAddr)) {
    char acText[SYS_MAX_PATH + 64];
    UTIL_snprintf(acText, sizeof acText,
                  "Failed to merge data file.\nNo start address given for %s", acFile);
    return DATA_EndFailed(acText, -2);
  }
  u64& mergeAddr = Remembered().MergeAddr;
  APP_FILE_JOB job = {acFile, false};
  if (DATAFILE_Load(pNew.get(), APP_OnFileReport, &job, acFile, mergeAddr, DATA_AskStartAddr,
                    &mergeAddr) < 0) {
    return DATA_EndFailed("Failed to merge data file", -1);
  }
  return MergeLoaded(*pRow, pNew.get());
}

int APP_RelocateData(const i64* pOffset) {
  SYS_LOCK_GUARD lock(APP_GetLock());
  const DATA_WINDOW_INFO* pRow = APP_GetFocusedDataWindow();
  i64 offset = pOffset != nullptr ? *pOffset : 0;
  if (pOffset == nullptr) {
    u64& remembered = Remembered().RelocateOffset;  // 32 bits, as the field has
    EDIT_VALUE_ITEM item = {-0x80000000LL, &remembered, "Offset (hex)"};
    if (APP_GetFrontEnd()->ShowEditValDialog("Enter offset", &item, 1) != 0) {
      return 0;
    }
    offset = static_cast<i32>(remembered);
  }
  if (pRow == nullptr || offset == 0) {
    return 0;
  }
  if (MEMAREA_Relocate(pRow->pArea, offset) != 0) {
    APP_ShowError(APP_CAUSE::OutOfMemory, "The data could not be relocated.");
    return -1;
  }
  const bool isNegative = offset < 0;
  APP_LogInfof("Data relocated by %s0x%lX bytes, it starts at 0x%.8lX now", isNegative ? "-" : "",
               isNegative ? 0 - static_cast<u64>(offset) : static_cast<u64>(offset),
               MEMAREA_GetMinAddr(pRow->pArea));
  Redraw(*pRow);
  return 0;
}

int APP_DeleteRange(const char* pArgs) {
  SYS_LOCK_GUARD lock(APP_GetLock());
  const DATA_WINDOW_INFO* pRow = APP_GetFocusedDataWindow();
  u64 firstAddr = 0;
  u64 lastAddr = 0;
  if (pArgs != nullptr) {
    if (CMDLINE_ParseRange(pArgs, &firstAddr, &lastAddr) != 0) {
      return -1;
    }
  } else if (pRow == nullptr ||
             APP_AskAddressRange(pRow->pArea, " Enter address range", &firstAddr, &lastAddr) != 0) {
    return 0;
  }
  if (lastAddr <= firstAddr) {
    char acText[128];
    UTIL_snprintf64(acText, sizeof acText,
                    "End address (0x%.8lX) has to be greater than start address (0x%.8lX)",
                    lastAddr, firstAddr);
    return CMDLINE_Fail(acText);
  }
  if (pRow != nullptr) {
    MEMAREA_RemoveRange(pRow->pArea, firstAddr, lastAddr);
    Redraw(*pRow);
  }
  return 0;
}

int APP_EliminateBlank() {
  SYS_LOCK_GUARD lock(APP_GetLock());
  APP_LogBegin("Eliminating blank areas ...");
  const DATA_WINDOW_INFO* pRow = APP_GetFocusedDataWindow();
  if (pRow == nullptr) {
    APP_LogError(APP_CAUSE::NoData,
                 "No data file open. Please ensure that you have opened a data file.");
    return DATA_EndFailed("Failed to eliminate blank areas", -1);
  }
  MEMAREA* pArea = pRow->pArea;
  APP_LogInfof("%lu bytes (%lu ranges) before eliminate operation", MEMAREA_GetNumBytes(pArea),
               static_cast<u64>(MEMAREA_GetNumRanges(pArea)));
  MEMAREA_EliminateBlank(pArea, kMinBlankRun, kBlankAlignShift, kBlankAlignShift);
  Redraw(*pRow);
  APP_LogInfof("%lu bytes (%lu ranges) after eliminate operation", MEMAREA_GetNumBytes(pArea),
               static_cast<u64>(MEMAREA_GetNumRanges(pArea)));
  APP_LogEndEx("Blank areas eliminated successfully");
  APP_SetStatusText("Ready", 0);
  return 0;
}

MEMAREA* APP_GenerateTestData(u32 numBytes) {
  SYS_LOCK_GUARD lock(APP_GetLock());
  APP_LOG_SECTION section("Generating test data ...");
  MEMAREA_PTR pArea(MEMAREA_Create());
  if (pArea == nullptr) {
    APP_LogError(APP_CAUSE::OutOfMemory, "Could not generate test data, out of memory.");
    return nullptr;
  }
  APP_PROGRESS progress("Generating test data ...");
  PROGRESS_SetRange(progress.Get(), 0, numBytes);
  PROGRESS_CountBytes(progress.Get());
  char acLabel[64];
  UTIL_snprintf(acLabel, sizeof acLabel, "Range %d/%d, 0x%X - 0x%X", 1, 1, 0, numBytes - 1);
  PROGRESS_SetSubText(progress.Get(), acLabel);
  AddTestData(pArea.get(), numBytes, progress.Get());
  return EndTestData(pArea.get(), progress.IsCanceled()) ? pArea.release() : nullptr;
}

int APP_ShowTestData(u32 numBytes) {
  return APP_ShowReadImage(APP_GenerateTestData(numBytes), "Test data (generated by Korvane)");
}

int APP_AskGenerateTestData() {
  u64 size = Remembered().TestDataSize;
  EDIT_VALUE_ITEM item = {0, &size, "Max. size (hex)"};
  if (APP_GetFrontEnd()->ShowEditValDialog("Generate test data", &item, 1) != 0) {
    return 0;
  }
  Remembered().TestDataSize = static_cast<u32>(size);
  return APP_ShowTestData(static_cast<u32>(size));
}

void APP_ResetDataEdit() {
  Remembered() = REMEMBERED{};
}
