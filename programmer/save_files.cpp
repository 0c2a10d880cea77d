#include "programmer/save_files.h"

#include <array>
#include <string>

#include "app/engine/app_state.h"
#include "app/engine/files.h"
#include "app/engine/frontend.h"
#include "app/engine/locks.h"
#include "app/engine/log.h"
#include "flash/erase.h"
#include "image/crc.h"
#include "programmer/config_file.h"
#include "programmer/data_file.h"
#include "programmer/hooks.h"
#include "project/project.h"
#include "project/settings.h"
#include "sys/file.h"
#include "sys/path.h"
#include "sys/util_format.h"

namespace {

constexpr u8 kFill = 0xFF;

SPI_FLASH_INFO GetFlash() {
  SPI_FLASH_INFO flash{};
  PROJECT_GetFlash(&flash);
  return flash;
}

// With AutoDetect the device isn't known yet, so there is nothing to compare with.
int CheckDataFits(MEMAREA* pArea) {
  const SPI_FLASH_INFO flash = GetFlash();
  const bool isUnknown = flash.AutoDetect != 0 && flash.FlashType != FLASH_TYPE_EEPROM;
  const i64 index = isUnknown ? -1 : FLASH_IsSpanInChip(pArea, 0);
  if (index < 0) {
    return 0;
  }
  u64 addr = 0;
  u64 numBytes = 0;
  MEMAREA_GetRange(pArea, static_cast<u32>(index), &addr, &numBytes);
  APP_LogErrorf(APP_ERROR(APP_CAUSE::DoesNotFit).At(addr),
                "Selected Data (0x%lX - 0x%lX) does not fit into the selected SPI flash.", addr,
                addr + numBytes - 1);
  return -1;
}

// The name to save under, or an empty one when cancelled.
std::string ChooseName(const char* sName, const char* sTitle, const char* sFilter) {
  std::string name = sName != nullptr ? sName : "";
  if (name.empty()) {
    std::array<char, SYS_MAX_PATH> acName{};
    SETUP_GetDataFiles(acName.data(), acName.size());
    APP_FRONTEND* pFrontEnd = APP_GetFrontEnd();
    if (pFrontEnd == nullptr || pFrontEnd->ShowFileDialogSave(sTitle, sFilter, sFilter,
                                                              acName.data(), acName.size()) != 0) {
      return "";
    }
    name = acName.data();
  }
  SYS_PATH_ToNative(name.data());
  if (!name.empty()) {
    SETUP_SetDataFiles(name.c_str());
  }
  return name;
}

int SaveBuffer(const std::string& name, const DYNBUFFER& buffer) {
  return APP_SaveFile(name.c_str(), buffer.pBuffer, DYNBUFFER_GetNumBytes(buffer));
}

}  // namespace

void ZELMONT_LogError(const char* sText) {
  APP_LogError(APP_CAUSE::Programmer, sText);
}

ZELMONT_HOOKS ZELMONT_Hooks = {CheckDataFits, [](bool) {}, SYS_GetLocalTime};

int ZELMONT_SaveConfigFile(const char* sName) {
  const std::string name =
      ChooseName(sName, "Save configuration file", "Configuration files (*.cfg)");
  if (name.empty()) {
    return -1;
  }
  APP_LogBeginf("Saving config file [%s] ...", name.c_str());
  DYNBUFFER buffer;
  if (ZELMONT_CFG_Build(&buffer) != 0 || SaveBuffer(name, buffer) != 0) {
    APP_LogEndEx("ERROR: Failed to save config file");
    return -1;
  }
  // Of the whole file, so it isn't the one in the header.
  const u32 crc = CRC_Calc32(buffer.pBuffer, DYNBUFFER_GetNumBytes(buffer), 0);
  std::array<char, 64> acText{};
  UTIL_snprintf(acText.data(), acText.size(), "Config file saved successfully (CRC: 0x%08X)", crc);
  APP_LogEndEx(acText.data());
  return 0;
}

int ZELMONT_BuildDataFile(MEMAREA* pArea, DYNBUFFER* pBuffer) {
  DYNBUFFER_Free(pBuffer);
  if (pArea == nullptr) {
    APP_LogError(APP_CAUSE::NoData,
                 "No data file open. Please ensure that you have opened a data file.");
    return -1;
  }
  if (PROJECT_IsOpen() == 0) {
    APP_LogError(APP_CAUSE::Project, "No project file opened.");
    return -1;
  }
  if (ZELMONT_Hooks.pfCheckDataFits(pArea) != 0) {
    return -1;
  }
  if (DYNBUFFER_Init(pBuffer, ZELMONT_LogError, ZELMONT_DAT_MAX_SIZE, ZELMONT_DAT_BUFFER_SIZE, 0) !=
      0) {
    return -1;
  }
  ZELMONT_DAT_FILE_INFO info{};
  info.MinAlignShift = GetFlash().PageSizeShift;
  info.FillValue = kFill;
  info.pfKeepGoing = APP_IsOperationAlive;
  info.pfInfo = APP_LogInfoCb;
  info.pfError = APP_LogErrorCb;
  info.pBuffer = pBuffer;
  info.pProductName = APP_GetShortTitle();
  info.pArea = pArea;
  if (ZELMONT_DAT_FILE_Build(&info) != 0) {
    DYNBUFFER_Free(pBuffer);
    return -1;
  }
  return 0;
}

int ZELMONT_SaveDataFile(const char* sName, MEMAREA* pArea) {
  SYS_LOCK_GUARD lock(APP_GetLock());
  const std::string name = ChooseName(sName, "Save data file", "Data files (*.dat)");
  if (name.empty()) {
    return -1;
  }
  APP_LogBeginf("Saving data file [%s] ...", name.c_str());
  DYNBUFFER buffer;
  if (ZELMONT_BuildDataFile(pArea, &buffer) != 0 || SaveBuffer(name, buffer) != 0) {
    APP_LogEndEx("ERROR: Failed to save data file");
    return -1;
  }
  const u64 numBytes = DYNBUFFER_GetNumBytes(buffer);
  APP_LogInfof("File CRC-32  = 0x%.8X", CRC_Calc32(buffer.pBuffer, numBytes, 0));
  APP_LogInfof("File CRC-32C = 0x%.8X", CRC_Calc32C(buffer.pBuffer, numBytes, 0));
  APP_LogEndEx("Data file saved successfully");
  return 0;
}
