#include <array>
#include <iterator>

#include "catalogue/devices/device_row.h"
#include "catalogue/devices/fold.h"

namespace devices {
namespace {

// EEPROMs are written byte by byte without erase, so that their sector is one byte. They have no
// ID.
constexpr DeviceRow kRows[] = {
    {"Atmel/Microchip", "AT25080", 0, 32, 1, 1_KiB, 0, 0, Eeprom2Byte},
    {"Atmel/Microchip", "AT25160", 0, 32, 1, 2_KiB, 0, 0, Eeprom2Byte},
    {"Atmel/Microchip", "AT25320", 0, 32, 1, 4_KiB, 0, 0, Eeprom2Byte},
    {"Atmel/Microchip", "AT25640", 0, 32, 1, 8_KiB, 0, 0, Eeprom2Byte},
    {"Atmel/Microchip", "AT25128", 0, 64, 1, 16_KiB, 0, 0, Eeprom2Byte},
    {"Atmel/Microchip", "AT25256", 0, 64, 1, 32_KiB, 0, 0, Eeprom2Byte},
    {"Atmel/Microchip", "AT25512", 0, 128, 1, 64_KiB, 0, 0, Eeprom2Byte},
    {"ST", "M95320", 0, 32, 1, 4_KiB, 0, 0, Eeprom2Byte},
    {"ST", "M95256", 0, 64, 1, 32_KiB, 0, 0, Eeprom2Byte},
    {"ST", "M95512", 0, 128, 1, 64_KiB, 0, 0, Eeprom2Byte},
    {"ST", "M95M01", 0, 256, 1, 128_KiB, 0, 0, Eeprom3Byte},
};
static_assert(std::size(kRows) == FLASH_NUM_EEPROMS);

// Sizes follow from the names: kilobits, and 01 for one megabit.
consteval auto MakeTable() {
  std::array<FLASH_DEVICE, FLASH_NUM_EEPROMS> table = {};
  for (u32 i = 0; i < FLASH_NUM_EEPROMS; ++i) {
    table[i] = MakeDevice(kRows[i], FLASH_TYPE_EEPROM);
  }
  return table;
}

constexpr std::array<FLASH_DEVICE, FLASH_NUM_EEPROMS> kEeproms = MakeTable();

}  // namespace
}  // namespace devices

int FLASH_GetEEPROMRow(u32 Index, FLASH_DEVICE* pRow) {
  if (pRow == nullptr || Index >= FLASH_NUM_EEPROMS) {
    return -1;
  }
  *pRow = devices::kEeproms[Index];
  return 0;
}

const char* FLASH_GetEEPROMName(u32 Index) {
  return Index < FLASH_NUM_EEPROMS ? devices::kEeproms[Index].sDevice : nullptr;
}

i32 FLASH_FindEEPROMByName(const char* sName) {
  if (sName == nullptr) {
    return -1;
  }
  for (u32 i = 0; i < FLASH_NUM_EEPROMS; ++i) {
    const char* sDevice = devices::kEeproms[i].sDevice;
    if (sDevice != nullptr && DEVICES_EqualFolded(sName, sDevice)) {
      return static_cast<i32>(i);
    }
  }
  return -1;
}

int FLASH_ApplyEEPROM(SPI_FLASH_INFO* pInfo) {
  FLASH_DEVICE row = {};
  if (pInfo == nullptr || pInfo->FlashType != FLASH_TYPE_EEPROM ||
      FLASH_GetEEPROMRow(pInfo->EEPROMIndex, &row) != 0) {
    return -1;
  }
  FLASH_ApplyRow(pInfo, row);
  return 0;
}
