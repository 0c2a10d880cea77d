#include "catalogue/devices/device_table.h"

#include <array>
#include <cstddef>

#include "catalogue/devices/device_row.h"

namespace devices {
namespace {

// Parts whose first three bytes are those of another part. The fourth is the length of the rest and
// of no interest.
constexpr u8 kMatchMask[] = {0xFF, 0xFF, 0xFF, 0x00, 0xFF, 0xFF};
constexpr u8 kMatchFL512S[] = {0x01, 0x02, 0x20, 0x00, 0x00, 0x80};
constexpr u8 kMatchFS512S[] = {0x01, 0x02, 0x20, 0x00, 0x00, 0x81};
constexpr FLASH_ID_MATCH MatchFL512S = {kMatchFL512S, kMatchMask, sizeof(kMatchMask)};
constexpr FLASH_ID_MATCH MatchFS512S = {kMatchFS512S, kMatchMask, sizeof(kMatchMask)};

constexpr DeviceRow kRows[] = {
#include "catalogue/devices/device_rows.inc"
};
static_assert(std::size(kRows) == FLASH_NUM_DEVICES);

consteval auto MakeTable() {
  std::array<FLASH_DEVICE, FLASH_NUM_DEVICES> table = {};
  for (u32 i = 0; i < FLASH_NUM_DEVICES; ++i) {
    const bool isFram = kRows[i].sVendor != nullptr && &kRows[i].CmdSet == &Fram;
    table[i] = MakeDevice(kRows[i], isFram ? FLASH_TYPE_FRAM : FLASH_TYPE_NOR);
  }
  return table;
}

constexpr std::array<FLASH_DEVICE, FLASH_NUM_DEVICES> kDevices = MakeTable();

}  // namespace
}  // namespace devices

int FLASH_GetDeviceRow(u32 Index, FLASH_DEVICE* pRow) {
  if (pRow == nullptr || Index >= FLASH_NUM_DEVICES) {
    return -1;
  }
  *pRow = devices::kDevices[Index];
  return 0;
}

void FLASH_ApplyRow(SPI_FLASH_INFO* pInfo, const FLASH_DEVICE& Row) {
  for (u32 i = 0; i < std::size(FLASH_CMD_FIELDS); ++i) {
    pInfo->*FLASH_CMD_FIELDS[i] = Row.pCmdSet->abCmd[i];
  }
  pInfo->PageSizeShift = Row.PageSizeShift();
  pInfo->SectorSizeShift = Row.SectorSizeShift();
  pInfo->NumPages = 1u << (Row.TotalSizeShift() - Row.PageSizeShift());
}
