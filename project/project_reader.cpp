#include <algorithm>
#include <string>
#include <vector>

#include "app/engine/log.h"
#include "catalogue/devices/device_table.h"
#include "project/project_internal.h"
#include "project/project_keys.h"
#include "sys/util_format.h"
#include "sys/util_string.h"
#include "text/projfile.h"

// From the text store to the blocks. Each key's problems are its own: the store tells the user, the
// key's default applies, and reading goes on.

namespace {

constexpr u32 kNameSize = 160;  // device and action names

std::string Where(const char* sSection, const char* sKey) {
  return "\nFile [" + std::string(PROJECT_GetName()) + "], line " +
         std::to_string(PROJFILE_GetLine(sSection, sKey)) + ", section '" + sSection + "', key '" +
         sKey + "'";
}

// False when the key is missing or its trouble was told by the store: Missing applies. A text that
// is no number, or goes on behind one, is told with the value that is taken.
bool ReadNumber(const char* sSection, const char* sKey, u32 missing, u32* pValue) {
  const int result = PROJFILE_ReadU32(sSection, sKey, pValue);
  if (result < 0) {
    *pValue = missing;
  }
  if (result == PROJFILE_PARTLY || result == PROJFILE_NO_NUMBER) {
    APP_LogWarning(("The value is no number, " + std::to_string(*pValue) + " is taken." +
                    Where(sSection, sKey))
                       .c_str());
    return true;
  }
  return result == 0;
}

void ReadKeys(const char* sSection, PROJECT_KEYS keys, void* pBlock) {
  for (const PROJECT_KEY& key : keys) {
    if (key.Rule == KeyRule::NotRead) {
      continue;
    }
    u32 value = 0;
    ReadNumber(sSection, key.sName, key.Missing, &value);
    PROJECT_SetField(key, pBlock, value);
  }
}

u32 ReadLimited(const char* sSection, const char* sKey, u32 max, u32 missing) {
  u32 value = 0;
  ReadNumber(sSection, sKey, missing, &value);
  return std::min(value, max);
}

void ReadGeneral(PROJ_GENERAL& general) {
  constexpr char section[] = "GENERAL";
  PROJFILE_ReadString(section, "CurrentFile", general.CurrentFile, sizeof(general.CurrentFile));
  PROJFILE_ReadString(section, "HostName", general.HostName, sizeof(general.HostName));
  ReadKeys(section, PROJECT_GeneralKeys(), &general);
  u32 mode = 0;
  if (!ReadNumber(section, "ConnectMode", 0, &mode)) {
    // Projects of old know only whether to connect by TCP/IP.
    mode = ReadLimited(section, "ConnectIP", 1, 0) > 0 ? 2 : 0;
  }
  general.ConnectMode = static_cast<u8>(std::min(mode, 2u));
  PROJFILE_ReadDecBytes(section, "aATEModuleSel", general.aATEModuleSel,
                        sizeof(general.aATEModuleSel));
}

void ReadDeviceName(SPI_FLASH_INFO& flash) {
  char acName[kNameSize] = {};
  PROJFILE_ReadString("FLASH", "DeviceName", acName, sizeof(acName));
  flash.IsCustomDevice = UTIL_stricmp(acName, PROJECT_CUSTOM_DEVICE) == 0 ? 1 : 0;
  // A name that the table doesn't have leaves an index past its end.
  flash.EEPROMIndex =
      flash.IsCustomDevice != 0 ? 0 : static_cast<u32>(FLASH_FindEEPROMByName(acName));
  if (flash.IsCustomDevice != 0 || FLASH_GetEEPROMName(flash.EEPROMIndex) != nullptr ||
      acName[0] == '\0') {
    return;
  }
  flash.sUnknownDevice = acName;
  std::ranges::replace_if(
      flash.sUnknownDevice, [](char c) { return c == '\r' || c == '\n'; }, ' ');
  APP_ShowError(
      APP_ERROR(APP_CAUSE::Project).In(PROJECT_GetName(), PROJFILE_GetLine("FLASH", "DeviceName")),
      ("There is no EEPROM of the name \"" + flash.sUnknownDevice + "\"." +
       Where("FLASH", "DeviceName"))
          .c_str());
}

// The bytes of a Write Data step. A record holds 16 of them, so that no more can be sent.
void ReadStepBytes(const char* sSection, const char* sKey, CUSTOM_STEP& step) {
  u32 numInFile = 0;
  PROJFILE_ReadHexBytes(sSection, sKey, step.abData, sizeof(step.abData), &numInFile);
  if (step.Value0 <= CUSTOM_MAX_DATA) {
    return;
  }
  char acText[256];
  UTIL_snprintf(acText, sizeof(acText),
                "%s in section '%s' holds %u bytes, only the first %u are used.", sKey, sSection,
                std::max(step.Value0, numInFile), CUSTOM_MAX_DATA);
  step.Value0 = CUSTOM_MAX_DATA;
  APP_LogWarning(acText);
}

// An action that the table doesn't have becomes a delay of nothing: the step keeps its place, which
// branches count on, and does no harm.
void ReadStep(const char* sSection, const std::string& prefix, CUSTOM_STEP& step) {
  char acAction[kNameSize] = {};
  PROJFILE_ReadString(sSection, (prefix + "_Action").c_str(), acAction, sizeof(acAction));
  PROJFILE_ReadString(sSection, (prefix + "_Comment").c_str(), step.acComment,
                      sizeof(step.acComment));
  const i32 action = CUSTOM_FindAction(acAction);
  if (action < 0) {
    step.ActionIndex = CUSTOM_DELAY;
    return;
  }
  const std::string key1 = prefix + "_Value1";
  step.ActionIndex = static_cast<u32>(action);
  step.Value0 = ReadLimited(sSection, (prefix + "_Value0").c_str(), 0xFFFFFFFF, 0);
  if (CUSTOM_IsByteStream(step.ActionIndex)) {
    ReadStepBytes(sSection, key1.c_str(), step);
  } else {
    step.Value1 = ReadLimited(sSection, key1.c_str(), 0xFFFFFFFF, 0);
  }
}

// Keys behind the stated number of steps aren't looked at.
std::vector<CUSTOM_STEP> ReadSteps(const char* sSection, const char* sCountKey,
                                   const char* sPrefix) {
  std::vector<CUSTOM_STEP> steps(ReadLimited(sSection, sCountKey, CUSTOM_MAX_STEPS, 0));
  for (std::size_t i = 0; i < steps.size(); ++i) {
    ReadStep(sSection, sPrefix + std::to_string(i), steps[i]);
  }
  return steps;
}

void ReadNumAddrBytes(SPI_FLASH_INFO& flash) {
  constexpr char section[] = "SPI";
  u32 num = 0;
  if (ReadNumber(section, "NumAddrBytes", 3, &num)) {
    flash.NumAddrBytes = static_cast<u8>(std::min(num, 32u));
    return;
  }
  // Projects of old have a count for each instruction.
  flash.NumAddrBytes = 3;
  for (const char* sKey :
       {"AddrBytesWritePage", "AddrBytesEraseSector", "AddrBytesReadData", "AddrBytesReadFast"}) {
    if (ReadLimited(section, sKey, 255, 3) == 4) {
      flash.NumAddrBytes = 4;
    }
  }
}

void ReadFlash(SPI_FLASH_INFO& flash) {
  PROJFILE_ReadHexBytes("FLASH", "abID", flash.abID, sizeof(flash.abID));
  ReadKeys("FLASH", PROJECT_FlashKeys(), &flash);
  if (flash.FlashType == FLASH_TYPE_EEPROM) {
    ReadDeviceName(flash);
  }
  ReadKeys("SPI", PROJECT_SpiKeys(), &flash);
  ReadKeys("QSPI", PROJECT_QspiKeys(), &flash);
  flash.aQuadEnableInitSteps = ReadSteps("QSPI", "NumQuadEnableInitSteps", "QuadEnableInitStep");
  ReadNumAddrBytes(flash);
  ReadKeys("SPI", PROJECT_SpiAddrKeys(), &flash);
  // The table knows a part better than keys that may be missing.
  if (flash.FlashType == FLASH_TYPE_EEPROM && flash.IsCustomDevice == 0) {
    static_cast<void>(FLASH_ApplyEEPROM(&flash));
  }
}

void ReadCpu(PROJ_CPU& cpu) {
  ReadKeys("JTAG", PROJECT_JtagKeys(), &cpu);
  cpu.aInitSteps = ReadSteps("CPU", "NumInitSteps", "InitStep");
  cpu.aExitSteps = ReadSteps("CPU", "NumExitSteps", "ExitStep");
}

void ReadProduction(PROJ_PRODUCTION& production) {
  constexpr char section[] = "PRODUCTION";
  ReadKeys(section, PROJECT_ProductionKeys(), &production);
  PROJFILE_ReadString(section, "SerialFile", production.SerialFile, sizeof(production.SerialFile));
  PROJFILE_ReadString(section, "SNListFile", production.SNListFile, sizeof(production.SNListFile));
}

void SetNewValues(PROJECT_KEYS keys, void* pBlock) {
  for (const PROJECT_KEY& key : keys) {
    PROJECT_SetField(key, pBlock, key.New);
  }
}

void SetBlocks(const PROJECT_BLOCKS& blocks) {
  PROJECT_SetGeneral(&blocks.General);
  PROJECT_SetFlash(&blocks.Flash);
  PROJECT_SetCpu(&blocks.Cpu);
  PROJECT_SetPerformance(&blocks.Performance);
  PROJECT_SetProduction(&blocks.Production);
}

}  // namespace

void PROJECT_ApplyDefaults() {
  PROJECT_BLOCKS& blocks = PROJECT_ClearStaging();
  for (PROJECT_KEYS keys :
       {PROJECT_FlashKeys(), PROJECT_SpiKeys(), PROJECT_SpiAddrKeys(), PROJECT_QspiKeys()}) {
    SetNewValues(keys, &blocks.Flash);
  }
  SetNewValues(PROJECT_JtagKeys(), &blocks.Cpu);
  SetNewValues(PROJECT_ProductionKeys(), &blocks.Production);
  SetNewValues(PROJECT_PerformanceKeys(), &blocks.Performance);
  SetBlocks(blocks);
}

// The serial number comes last: its file knows better than the project which number is next.
void PROJECT_ReadBlocks() {
  PROJECT_BLOCKS& blocks = PROJECT_ClearStaging();
  ReadGeneral(blocks.General);
  ReadFlash(blocks.Flash);
  ReadCpu(blocks.Cpu);
  ReadProduction(blocks.Production);
  ReadKeys("PERFORMANCE", PROJECT_PerformanceKeys(), &blocks.Performance);
  SetBlocks(blocks);
  PROJECT_Hooks.pfLoadSerial(nullptr);
}
