#include <algorithm>
#include <cstring>
#include <memory>

#include "app/engine/log.h"
#include "project/project_internal.h"
#include "project/recent.h"
#include "sys/file.h"
#include "sys/path.h"
#include "sys/util_string.h"
#include "text/projfile.h"

// The blocks and the access to them by value.

namespace {

PROJECT_BLOCKS Current;
PROJECT_BLOCKS Staging;

template <std::size_t N>
void ClearBehindEnd(char (&acText)[N]) {
  const std::size_t len = strnlen(acText, N - 1);
  std::memset(acText + len, 0, N - len);
}

// What stands behind a text's end, or behind the last step in use, is no difference.
void Clean(PROJ_GENERAL& general) {
  ClearBehindEnd(general.CurrentFile);
  ClearBehindEnd(general.HostName);
}

void ClearUnused(CUSTOM_STEP (&aSteps)[CUSTOM_MAX_STEPS], u32& numSteps) {
  numSteps = std::min(numSteps, CUSTOM_MAX_STEPS);
  std::memset(static_cast<void*>(aSteps + numSteps), 0,
              (CUSTOM_MAX_STEPS - numSteps) * sizeof(CUSTOM_STEP));
}

void Clean(PROJ_CPU& cpu) {
  ClearUnused(cpu.aInitSteps, cpu.NumInitSteps);
  ClearUnused(cpu.aExitSteps, cpu.NumExitSteps);
}

// Names compare without regard to case, unless the file system tells them apart.
bool IsSameFile(const char* a, const char* b) {
  if (UTIL_stricmp(a, b) != 0) {
    return false;
  }
  return std::strcmp(a, b) == 0 || SYS_FILE_Exists(a) == 0 || SYS_FILE_Exists(b) == 0;
}

// Blocks are copied as memory, padding included, so that a later comparison of the copies holds.
template <class BLOCK>
void GetBlock(BLOCK* pDest, const BLOCK& current) {
  if (pDest == nullptr) {
    return;
  }
  if (PROJECT_CheckOpen() != 0) {
    std::memset(pDest, 0, sizeof(*pDest));
    return;
  }
  std::memcpy(pDest, &current, sizeof(*pDest));
}

template <class BLOCK>
void SetBlock(BLOCK& current, const BLOCK* pSrc) {
  if (pSrc == nullptr || PROJECT_CheckOpen() != 0) {
    return;
  }
  // Blocks are compared with their padding, which copies carry along since every block starts
  // zeroed. NOLINTNEXTLINE(bugprone-suspicious-memory-comparison)
  if (std::memcmp(&current, pSrc, sizeof(current)) != 0) {
    std::memmove(&current, pSrc, sizeof(current));
    PROJECT_CountModification();
  }
}

// The copy is on the heap: the block with the steps is too large for a thread's stack.
template <class BLOCK>
void SetCleaned(BLOCK& current, const BLOCK* pSrc) {
  if (pSrc == nullptr) {
    return;
  }
  const auto pCopy = std::make_unique<BLOCK>();
  std::memcpy(pCopy.get(), pSrc, sizeof(BLOCK));
  Clean(*pCopy);
  Clean(current);
  SetBlock(current, pCopy.get());
}

}  // namespace

PROJECT_BLOCKS& PROJECT_Current() {
  return Current;
}

PROJECT_BLOCKS& PROJECT_ClearStaging() {
  std::memset(static_cast<void*>(&Staging), 0, sizeof(Staging));
  return Staging;
}

int PROJECT_CheckOpen() {
  if (PROJECT_IsOpen() != 0) {
    return 0;
  }
  APP_ShowError("No project file opened.");
  return -1;
}

void PROJECT_CountModification() {
  ++PROJECT_State().NumModifications;
  if (PROJECT_State().IsLoading == 0) {
    PROJECT_Hooks.pfOnChanged();
  }
}

void PROJECT_GetGeneral(PROJ_GENERAL* pBlock) {
  GetBlock(pBlock, Current.General);
}
void PROJECT_GetCpu(PROJ_CPU* pBlock) {
  GetBlock(pBlock, Current.Cpu);
}
void PROJECT_GetFlash(SPI_FLASH_INFO* pBlock) {
  GetBlock(pBlock, Current.Flash);
}
void PROJECT_GetProduction(PROJ_PRODUCTION* pBlock) {
  GetBlock(pBlock, Current.Production);
}
void PROJECT_GetPerformance(PROJ_PERFORMANCE* pBlock) {
  GetBlock(pBlock, Current.Performance);
}

void PROJECT_SetGeneral(const PROJ_GENERAL* pBlock) {
  SetCleaned(Current.General, pBlock);
}
void PROJECT_SetCpu(const PROJ_CPU* pBlock) {
  SetCleaned(Current.Cpu, pBlock);
}
void PROJECT_SetFlash(const SPI_FLASH_INFO* pBlock) {
  SetBlock(Current.Flash, pBlock);
}

// The connection layer has the values even when they are the old ones: it may have lost them.
void PROJECT_SetProduction(const PROJ_PRODUCTION* pBlock) {
  SetBlock(Current.Production, pBlock);
  if (pBlock != nullptr && PROJECT_IsOpen() != 0) {
    PROJECT_Hooks.pfSetTargetPower(pBlock->EnableTargetPower, pBlock->TargetPowerDelay);
    PROJECT_Hooks.pfSetFixedVTref(pBlock->EnableFixedVTref, pBlock->FixedVTref);
  }
}

void PROJECT_SetPerformance(const PROJ_PERFORMANCE* pBlock) {
  SetBlock(Current.Performance, pBlock);
}

void PROJECT_SetDataFile(const char* pFileName, u32 StartAddr) {
  PROJ_GENERAL& general = Current.General;
  if (PROJECT_CheckOpen() != 0) {
    return;
  }
  if (general.DataFileSAddr != StartAddr) {
    general.DataFileSAddr = StartAddr;
    PROJECT_CountModification();
  }
  if (pFileName == nullptr) {
    return;
  }
  if (std::strlen(pFileName) >= sizeof(general.CurrentFile)) {
    APP_ShowError("Too large file name.");
    return;
  }
  if (!IsSameFile(pFileName, general.CurrentFile)) {
    UTIL_strcpy(general.CurrentFile, pFileName, sizeof(general.CurrentFile));
    RECENT_Add(RECENT_DATA_FILES, general.CurrentFile);
    PROJECT_CountModification();
  }
}

int PROJECT_GetSideFileName(const char* sSuffix, char* pBuf, u32 BufSize) {
  const char* sProject = PROJFILE_GetName();
  if (PROJECT_IsOpen() == 0 || sSuffix == nullptr || pBuf == nullptr || BufSize == 0) {
    return -1;
  }
  char acProject[SYS_MAX_PATH];
  char acDrive[8];
  char acDir[SYS_MAX_PATH];
  char acStem[SYS_MAX_PATH];
  UTIL_strcpy(acProject, sProject != nullptr ? sProject : "", sizeof(acProject));
  SYS_PATH_ToNative(acProject);
  SYS_PATH_Split(acProject, acDrive, sizeof(acDrive), acDir, sizeof(acDir), acStem, sizeof(acStem),
                 nullptr, 0);
  // A cut name would be that of another file.
  const std::size_t size = std::strlen(acDrive) + std::strlen(acDir) + std::strlen(acStem) +
                           std::strlen(sSuffix) + sizeof(".txt");
  if (size > BufSize || size > sizeof(acStem)) {
    pBuf[0] = '\0';
    return -1;
  }
  UTIL_strcat(acStem, sSuffix, sizeof(acStem));
  SYS_PATH_Make(pBuf, BufSize, acDrive, acDir, acStem, ".txt");
  return 0;
}
