#include <algorithm>
#include <cstring>
#include <span>
#include <string>

#include "app/engine/app_state.h"
#include "app/engine/log.h"
#include "catalogue/devices/device_table.h"
#include "project/project_internal.h"
#include "project/project_keys.h"
#include "text/projfile.h"

// From the blocks to the text store. The text is built from nothing, so that keys the program
// doesn't know are gone afterwards.

namespace {

// 93800 for V9.38.
constexpr u32 kFileVersion = APP_VERSION_MAJOR * 10000 + APP_VERSION_MINOR * 100;

void WriteKeys(const char* sSection, PROJECT_KEYS keys, const void* pBlock, bool sendInit = true) {
  for (const PROJECT_KEY& key : keys) {
    if (key.Rule == KeyRule::InitOnly && !sendInit) {
      continue;
    }
    const u32 value = PROJECT_GetField(key, pBlock);
    switch (key.Form) {
      case KeyForm::Dec:
        PROJFILE_WriteDec(sSection, key.sName, value);
        break;
      case KeyForm::Hex32:
        PROJFILE_WriteHex32(sSection, key.sName, value);
        break;
      case KeyForm::Hex8:
        PROJFILE_WriteHex8(sSection, key.sName, value);
        break;
    }
  }
}

// A text in quotes, without escapes, on one line. What cannot stand there is replaced and told: it
// would read back cut, or as lines of its own. The field may be full to its last byte.
template <std::size_t N>
void WriteText(const char* sSection, const std::string& key, const char (&acText)[N]) {
  std::string text(acText, strnlen(acText, N));
  if (text.find_first_of("\"\r\n") != std::string::npos) {
    std::replace(text.begin(), text.end(), '"', '\'');
    std::replace(text.begin(), text.end(), '\r', ' ');
    std::replace(text.begin(), text.end(), '\n', ' ');
    APP_LogWarning((key + " in section '" + sSection +
                    "' holds a quote or a line break, which the project file cannot keep.")
                       .c_str());
  }
  PROJFILE_WriteString(sSection, key.c_str(), text.c_str());
}

void WriteStepValue1(const char* sSection, const std::string& prefix, const CUSTOM_STEP& step) {
  const std::string key = prefix + "_Value1";
  if (CUSTOM_IsByteStream(step.ActionIndex)) {
    PROJFILE_WriteHexBytes(sSection, key.c_str(), step.abData,
                           std::min(step.Value0, CUSTOM_MAX_DATA));
  } else {
    PROJFILE_WriteHex32(sSection, key.c_str(), step.Value1);
  }
}

// Where the store keeps the order of writing, init and exit steps differ in the place of the
// comment.
void WriteSteps(const char* sSection, const char* sPrefix, std::span<const CUSTOM_STEP> steps,
                bool commentFirst) {
  for (std::size_t i = 0; i < steps.size(); ++i) {
    const CUSTOM_STEP& step = steps[i];
    const std::string prefix = sPrefix + std::to_string(i);
    const CUSTOM_ACTION* pAction = CUSTOM_GetAction(step.ActionIndex);
    if (pAction != nullptr) {
      PROJFILE_WriteString(sSection, (prefix + "_Action").c_str(), pAction->sName);
    }
    if (commentFirst) {
      WriteText(sSection, prefix + "_Comment", step.acComment);
    }
    PROJFILE_WriteHex32(sSection, (prefix + "_Value0").c_str(), step.Value0);
    WriteStepValue1(sSection, prefix, step);
    if (!commentFirst) {
      WriteText(sSection, prefix + "_Comment", step.acComment);
    }
  }
}

void WriteGeneral(const PROJ_GENERAL& general) {
  constexpr char section[] = "GENERAL";
  WriteText(section, "CurrentFile", general.CurrentFile);
  WriteText(section, "HostName", general.HostName);
  WriteKeys(section, PROJECT_GeneralKeys(), &general);
  PROJFILE_WriteDecBytes(section, "aATEModuleSel", general.aATEModuleSel,
                         sizeof(general.aATEModuleSel));
}

void WriteFlash(const SPI_FLASH_INFO& flash) {
  constexpr char section[] = "FLASH";
  // An ID that is read from the chip anyway is no part of the project.
  if (flash.AutoDetect == 0) {
    PROJFILE_WriteHexBytes(section, "abID", flash.abID, sizeof(flash.abID));
  }
  WriteKeys(section, PROJECT_FlashKeys(), &flash);
  if (flash.FlashType == FLASH_TYPE_EEPROM) {
    const char* sName =
        flash.IsCustomDevice != 0 ? PROJECT_CUSTOM_DEVICE : FLASH_GetEEPROMName(flash.EEPROMIndex);
    if (sName == nullptr && !flash.sUnknownDevice.empty()) {
      sName = flash.sUnknownDevice.c_str();
    }
    PROJFILE_WriteString(section, "DeviceName", sName);  // nothing for a null
  }
}

void WriteCpu(const PROJ_CPU& cpu) {
  constexpr char section[] = "CPU";
  PROJFILE_WriteDec(section, "NumInitSteps", static_cast<u32>(cpu.aInitSteps.size()));
  WriteSteps(section, "InitStep", cpu.aInitSteps, true);
  PROJFILE_WriteDec(section, "NumExitSteps", static_cast<u32>(cpu.aExitSteps.size()));
  WriteSteps(section, "ExitStep", cpu.aExitSteps, false);
}

void WriteSpi(const SPI_FLASH_INFO& flash) {
  WriteKeys("SPI", PROJECT_SpiKeys(), &flash, flash.SendInitCommands != 0);
  WriteKeys("SPI", PROJECT_SpiAddrKeys(), &flash);
}

void WriteQspi(const SPI_FLASH_INFO& flash) {
  constexpr char section[] = "QSPI";
  const std::vector<CUSTOM_STEP>& steps = flash.aQuadEnableInitSteps;
  WriteKeys(section, PROJECT_QspiKeys(), &flash);
  PROJFILE_WriteDec(section, "NumQuadEnableInitSteps", static_cast<u32>(steps.size()));
  WriteSteps(section, "QuadEnableInitStep", steps, true);
}

void WriteProduction(const PROJ_PRODUCTION& production) {
  constexpr char section[] = "PRODUCTION";
  WriteKeys(section, PROJECT_ProductionKeys(), &production);
  WriteText(section, "SerialFile", production.SerialFile);
  WriteText(section, "SNListFile", production.SNListFile);
}

}  // namespace

void PROJECT_WriteBlocks() {
  const PROJECT_BLOCKS& blocks = PROJECT_Current();
  PROJFILE_BeginRewrite();
  PROJFILE_WriteDec(nullptr, "AppVersion", kFileVersion);
  WriteGeneral(blocks.General);
  WriteKeys("JTAG", PROJECT_JtagKeys(), &blocks.Cpu);
  WriteFlash(blocks.Flash);
  WriteCpu(blocks.Cpu);
  WriteSpi(blocks.Flash);
  WriteQspi(blocks.Flash);
  WriteProduction(blocks.Production);
  WriteKeys("PERFORMANCE", PROJECT_PerformanceKeys(), &blocks.Performance);
}
