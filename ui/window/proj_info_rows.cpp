#include "ui/window/proj_info_rows.h"

#include <algorithm>

#include "project/proj_info.h"
#include "sys/util_format.h"

namespace {

constexpr u32 kTypeNor = 1;
constexpr u32 kTypeFram = 2;
constexpr u32 kTypeEeprom = 3;
constexpr size_t kMaxModuleText = 127;
constexpr u32 kModulesPerLine = 10;

[[gnu::format(printf, 2, 3)]] bool Put(std::string* pValue, const char* sFormat, ...) {
  char ac[256];
  va_list args;
  va_start(args, sFormat);
  UTIL_vsnprintf(ac, sizeof(ac), sFormat, args);
  va_end(args);
  *pValue = ac;
  return true;
}

bool PutText(std::string* pValue, const char* sText) {
  *pValue = sText;
  return true;
}

bool PutSize(std::string* pValue, u64 NumBytes) {
  char ac[64];
  UTIL_PrintSize(NumBytes, ac, sizeof(ac));
  *pValue = ac;
  return true;
}

bool PutHex(std::string* pValue, u32 Value) {
  return Put(pValue, "0x%.2X", Value);
}

bool IsNor(const PROJ_INFO& info) {
  return info.FlashInfo.FlashType == kTypeNor;
}

bool IsEeprom(const PROJ_INFO& info) {
  return info.FlashInfo.FlashType == kTypeEeprom;
}

// With automatic detection there is no device before the connection.
bool HasDevice(const PROJ_INFO& info) {
  return info.FlashInfo.AutoDetect == 0 || info.IsConnected != 0;
}

bool ProjectName(const PROJ_INFO& info, std::string* pValue) {
  return PutText(pValue, info.acProjName[0] != 0 ? info.acProjName : "---");
}

bool HostConnection(const PROJ_INFO& info, std::string* pValue) {
  switch (info.General.ConnectMode) {
    case 0:
      return Put(pValue, "USB [Device %d]", static_cast<int>(info.General.USBPort));
    case 1:
      return Put(pValue, "USB [SN %u]", info.General.USBSerialNo);
    case 2:
      return Put(pValue, "TCP/IP [Host '%s']", info.General.HostName);
    default:
      return PutText(pValue, "???");
  }
}

// "1,  2, ..., 10, \n11": the numbers of the selected modules, ten a line.
bool Modules(const PROJ_INFO& info, std::string* pValue) {
  if (info.General.UseATEModuleSelection != 1) {
    return false;
  }
  std::string text;
  u32 count = 0;
  u32 number = 0;
  for (const u8 isSelected : info.General.aATEModuleSel) {
    ++number;
    if (isSelected == 0) {
      continue;
    }
    if (count > 0) {
      text += ", ";
      if (count % kModulesPerLine == 0) {
        text += '\n';
      }
    }
    std::string item;
    Put(&item, "%2d", static_cast<int>(number));
    text += item;
    ++count;
  }
  text.resize(std::min(text.size(), kMaxModuleText));
  return PutText(pValue, count > 0 ? text.c_str() : "<None>");
}

bool Speed(const PROJ_INFO& info, std::string* pValue) {
  return Put(pValue, "%u kHz", info.Cpu.Speed0);
}

bool Mode(const PROJ_INFO& info, std::string* pValue) {
  return PutText(pValue,
                 info.FlashInfo.AutoDetect != 0 ? "Auto detection" : "Manual configuration");
}

bool MemoryType(const PROJ_INFO& info, std::string* pValue) {
  switch (info.FlashInfo.FlashType) {
    case kTypeNor:
      return PutText(pValue, "SPI NOR flash");
    case kTypeFram:
      return PutText(pValue, "FRAM");
    case kTypeEeprom:
      return PutText(pValue, "SPI EEPROM");
    default:
      return PutText(pValue, "???");
  }
}

bool TransferMode(const PROJ_INFO& info, std::string* pValue) {
  if (info.FlashInfo.AutoDetect == 0 || !IsNor(info)) {
    return false;
  }
  return PutText(pValue, info.FlashInfo.DataTransferMode == 2 ? "Quad" : "Single");
}

bool Device(const PROJ_INFO& info, std::string* pValue) {
  return HasDevice(info) && info.Device.sDevice != nullptr && !IsEeprom(info) &&
         PutText(pValue, info.Device.sDevice);
}

bool Manufacturer(const PROJ_INFO& info, std::string* pValue) {
  return HasDevice(info) && info.Device.sVendor != nullptr && info.FlashInfo.IsCustomDevice == 0 &&
         PutText(pValue, info.Device.sVendor);
}

bool FlashId(const PROJ_INFO& info, std::string* pValue) {
  const u8* pId = info.FlashInfo.abID;
  return HasDevice(info) && !IsEeprom(info) &&
         Put(pValue, "0x%.2X %.2X %.2X", static_cast<u32>(pId[0]), static_cast<u32>(pId[1]),
             static_cast<u32>(pId[2]));
}

bool EepromType(const PROJ_INFO& info, std::string* pValue) {
  if (!HasDevice(info) || !IsEeprom(info)) {
    return false;
  }
  if (info.FlashInfo.IsCustomDevice != 0 || info.Device.sDevice == nullptr) {
    return PutText(pValue, "Custom");
  }
  return PutText(pValue, info.Device.sDevice);
}

bool FlashSize(const PROJ_INFO& info, std::string* pValue) {
  return HasDevice(info) && PutSize(pValue, FLASH_InfoTotalSize(info.FlashInfo));
}

bool NumPages(const PROJ_INFO& info, std::string* pValue) {
  return HasDevice(info) && PutHex(pValue, info.FlashInfo.NumPages);
}

bool PutShift(std::string* pValue, u32 Shift) {
  return PutSize(pValue, Shift < 64 ? u64{1} << Shift : 0);
}

bool PageSize(const PROJ_INFO& info, std::string* pValue) {
  return HasDevice(info) && PutShift(pValue, info.FlashInfo.PageSizeShift);
}

bool SectorSize(const PROJ_INFO& info, std::string* pValue) {
  return HasDevice(info) && !IsEeprom(info) && PutShift(pValue, info.FlashInfo.SectorSizeShift);
}

bool NumAddrBytes(const PROJ_INFO& info, std::string* pValue) {
  return HasDevice(info) && PutSize(pValue, info.FlashInfo.NumAddrBytes);
}

using CONDITION = bool (*)(const PROJ_INFO& info);

bool Always(const PROJ_INFO& /*info*/) {
  return true;
}

bool IsNotEeprom(const PROJ_INFO& info) {
  return !IsEeprom(info);
}

bool Has4ByteMode(const PROJ_INFO& info) {
  return info.FlashInfo.Dedicated4BAddrMode != 0;
}

bool IsQuad(const PROJ_INFO& info) {
  return IsNor(info) && info.FlashInfo.UseQuadMode != 0;
}

// A row that shows one byte of the description in hexadecimal.
template <u8 SPI_FLASH_INFO::*FIELD, CONDITION CONDITION_OF = Always>
bool Byte(const PROJ_INFO& info, std::string* pValue) {
  return HasDevice(info) && CONDITION_OF(info) && PutHex(pValue, info.FlashInfo.*FIELD);
}

bool UseQuad(const PROJ_INFO& info, std::string* pValue) {
  return HasDevice(info) && IsNor(info) &&
         PutText(pValue, info.FlashInfo.UseQuadMode != 0 ? "Yes" : "No");
}

using F = SPI_FLASH_INFO;

constexpr PROJ_INFO_ROW kRows[] = {
    {PROJ_INFO_GENERAL, "Project name", ProjectName},
    {PROJ_INFO_GENERAL, "Host connection", HostConnection},
    {PROJ_INFO_GENERAL, "Zelmont modules", Modules},
    {PROJ_INFO_SETUP, "Interface speed", Speed},
    {PROJ_INFO_FLASH, "Mode", Mode},
    {PROJ_INFO_FLASH, "Memory type", MemoryType},
    {PROJ_INFO_FLASH, "Data Transfer Mode", TransferMode},
    {PROJ_INFO_FLASH, "Device", Device},
    {PROJ_INFO_FLASH, "Manufacturer", Manufacturer},
    {PROJ_INFO_FLASH, "Flash ID", FlashId},
    {PROJ_INFO_FLASH, "EEPROM type", EepromType},
    {PROJ_INFO_FLASH, "FlashSize", FlashSize},
    {PROJ_INFO_FLASH, "NumPages", NumPages},
    {PROJ_INFO_FLASH, "PageSize", PageSize},
    {PROJ_INFO_FLASH, "SectorSize", SectorSize},
    {PROJ_INFO_FLASH, "NumAddrBytes", NumAddrBytes},
    {PROJ_INFO_FLASH, "4ByteAddrMode", Byte<&F::Dedicated4BAddrMode, IsNotEeprom>},
    {PROJ_INFO_FLASH, "StatusIsReadyBit", Byte<&F::StatusIsReadyBit>},
    {PROJ_INFO_FLASH, "StatusBitPos", Byte<&F::StatusBitPos>},
    {PROJ_INFO_FLASH, "WriteEnable", Byte<&F::CmdWriteEnable>},
    {PROJ_INFO_FLASH, "WriteDisable", Byte<&F::CmdWriteDisable>},
    {PROJ_INFO_FLASH, "EraseBulk", Byte<&F::CmdEraseBulk, IsNor>},
    {PROJ_INFO_FLASH, "EraseSector", Byte<&F::CmdEraseSector, IsNor>},
    {PROJ_INFO_FLASH, "ReadID", Byte<&F::CmdReadID, IsNotEeprom>},
    {PROJ_INFO_FLASH, "ReadStatus", Byte<&F::CmdReadStatus>},
    {PROJ_INFO_FLASH, "WriteStatus", Byte<&F::CmdWriteStatus>},
    {PROJ_INFO_FLASH, "Enter4ByteMode", Byte<&F::CmdEnter4ByteMode, Has4ByteMode>},
    {PROJ_INFO_FLASH, "Exit4ByteMode", Byte<&F::CmdExit4ByteMode, Has4ByteMode>},
    {PROJ_INFO_FLASH, "UseQuadMode", UseQuad},
    {PROJ_INFO_FLASH, "ReadDataQuad", Byte<&F::CmdReadDataQuad, IsQuad>},
    {PROJ_INFO_FLASH, "WritePageQuad", Byte<&F::CmdWritePageQuad, IsQuad>},
    {PROJ_INFO_FLASH, "NumDummyCyclesQuad", Byte<&F::NumDummyCyclesQuad, IsQuad>},
};

}  // namespace

const char* PROJ_INFO_GetGroupText(u32 Group) {
  constexpr const char* kTexts[PROJ_INFO_NUM_GROUPS] = {"General", "Setup", "Flash"};
  return Group < PROJ_INFO_NUM_GROUPS ? kTexts[Group] : "";
}

std::span<const PROJ_INFO_ROW> PROJ_INFO_GetRows() {
  return kRows;
}
