#include <cstring>
#include <string>

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

// What stands behind a text's end is no difference.
void Clean(PROJ_GENERAL& general) {
  ClearBehindEnd(general.CurrentFile);
  ClearBehindEnd(general.HostName);
}

void Limit(std::vector<CUSTOM_STEP>& aSteps) {
  if (aSteps.size() > CUSTOM_MAX_STEPS) {
    aSteps.resize(CUSTOM_MAX_STEPS);
  }
}

void Clean(PROJ_CPU& cpu) {
  Limit(cpu.aInitSteps);
  Limit(cpu.aExitSteps);
}

void Clean(SPI_FLASH_INFO& flash) {
  Limit(flash.aQuadEnableInitSteps);
}

// Names compare without regard to case, unless the file system tells them apart.
bool IsSameFile(const char* a, const char* b) {
  if (UTIL_stricmp(a, b) != 0) {
    return false;
  }
  return std::strcmp(a, b) == 0 || SYS_FILE_Exists(a) == 0 || SYS_FILE_Exists(b) == 0;
}

template <class BLOCK>
void GetBlock(BLOCK* pDest, const BLOCK& current) {
  if (pDest == nullptr) {
    return;
  }
  *pDest = PROJECT_IsOpen() != 0 ? current : BLOCK{};
}

template <class BLOCK>
void SetBlock(BLOCK& current, const BLOCK* pSrc) {
  if (pSrc == nullptr || PROJECT_CheckOpen() != 0) {
    return;
  }
  if (current != *pSrc) {
    current = *pSrc;
    PROJECT_CountModification();
  }
}

template <class BLOCK>
void SetCleaned(BLOCK& current, const BLOCK* pSrc) {
  if (pSrc == nullptr) {
    return;
  }
  BLOCK copy = *pSrc;
  Clean(copy);
  SetBlock(current, &copy);
}

std::string MakeFull(const char* sName) {
  char acFull[SYS_MAX_PATH];
  SYS_PATH_MakeFull(sName, acFull, sizeof(acFull));
  // A name that no path has room for is kept as it stands.
  return acFull[0] != '\0' || sName == nullptr ? acFull : sName;
}

// Directory of the project's file with its separator, empty when it has none.
std::string GetFolder(const char* sProject) {
  const std::string full = MakeFull(sProject);
  return full.substr(0, full.rfind('/') + 1);
}

}  // namespace

std::string PROJECT_GetDataFileName() {
  std::string name = Current.General.CurrentFile;
  SYS_PATH_ToNative(name.data());
  if (name.empty() || SYS_PATH_IsAbs(name.c_str())) {
    return name;
  }
  const std::string folder = GetFolder(PROJFILE_GetName());
  return folder.empty() ? MakeFull(name.c_str()) : folder + name;
}

std::string PROJECT_MakeStoredName(const std::string& FullName, const char* sProject) {
  const std::string folder = GetFolder(sProject);
  if (folder.empty() || !FullName.starts_with(folder)) {
    return FullName;
  }
  // A name that leaves the folder again would be another file's when the folder moves.
  std::string name = FullName.substr(folder.size());
  const bool isBelow =
      ("/" + name + "/").find("/../") == std::string::npos && !SYS_PATH_IsAbs(name.c_str());
  return isBelow && !name.empty() ? name : FullName;
}

PROJECT_BLOCKS& PROJECT_Current() {
  return Current;
}

PROJECT_BLOCKS& PROJECT_ClearStaging() {
  Staging = {};
  return Staging;
}

int PROJECT_CheckOpen() {
  if (PROJECT_IsOpen() != 0) {
    return 0;
  }
  APP_ShowError(APP_CAUSE::Project, "No project file opened.");
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
  SetCleaned(Current.Flash, pBlock);
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
  const std::string full = MakeFull(pFileName);
  const std::string name = PROJECT_MakeStoredName(full, PROJFILE_GetName());
  if (name.size() >= sizeof(general.CurrentFile)) {
    APP_ShowError(APP_CAUSE::Usage, "Too large file name.");
    return;
  }
  // Another spelling of the file that the project names already is no change.
  if (!IsSameFile(full.c_str(), PROJECT_GetDataFileName().c_str())) {
    UTIL_strcpy(general.CurrentFile, name.c_str(), sizeof(general.CurrentFile));
    RECENT_Add(RECENT_DATA_FILES, full.c_str());
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
