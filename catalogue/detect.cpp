#include <cstring>
#include <string>

#include "app/engine/log.h"
#include "catalogue/catalogue.h"
#include "project/project.h"
#include "sys/util_format.h"
#include "sys/util_number.h"

namespace {

// As many ID bytes as are read, and as many of them as identification looks at.
constexpr u32 kIdSize = 42;
constexpr u32 kIdCompared = 32;

// S25HS256T and S25FS256T share three ID bytes; the fifth tells them apart. Their rows are
// neighbours.
constexpr u32 kIdS25xS256T = 0x192B34;
constexpr u8 kFifthByteFS = 8;

void LogId(const u8* pId) {
  char acText[64];
  UTIL_snprintf64(acText, sizeof(acText), "Read SPI Flash Id = 0x%02X %02X %02X", pId[0], pId[1],
                  pId[2]);
  APP_LogInfo(acText);
}

// The ID is kept even when no row matches it: it is what a hand-written description will be checked
// against.
void StoreId(const u8* pId) {
  SPI_FLASH_INFO info{};
  PROJECT_GetFlash(&info);
  std::memcpy(info.abID, pId, sizeof(info.abID));
  PROJECT_SetFlash(&info);
}

i32 FindRow(const u8* pId) {
  const u32 id = UTIL_LoadU32(pId, false);
  const i32 row = FLASH_IdentifyDevice(id, pId, kIdCompared);
  const bool isNext = row >= 0 && (id & 0xFFFFFF) == kIdS25xS256T && pId[4] == kFifthByteFS;
  return isNext ? row + 1 : row;
}

bool IsNothing(const u8 (&abId)[kIdSize]) {
  return (abId[0] == 0xFF && abId[1] == 0xFF && abId[2] == 0xFF) ||
         (abId[0] == 0x00 && abId[1] == 0x00 && abId[2] == 0x00);
}

// Parts that share the ID: the user may have another one than the row that was taken.
void LogOthers(const u8 (&abId)[kIdSize], i32 Found) {
  const u32 id = UTIL_LoadU32(abId, false);
  std::string names;
  for (i32 i = FLASH_IdentifyNextDevice(-1, id, abId, kIdCompared); i >= 0;
       i = FLASH_IdentifyNextDevice(i, id, abId, kIdCompared)) {
    FLASH_DEVICE row = {};
    if (i != Found && FLASH_GetDeviceRow(static_cast<u32>(i), &row) == 0) {
      names += std::string(names.empty() ? "" : ", ") + row.sVendor + " " + row.sDevice;
    }
  }
  if (!names.empty()) {
    APP_LogInfo(("The same Id have: " + names).c_str());
  }
}

}  // namespace

int FLASH_DetectDevice(const u8* pRawId, u32 NumRaw) {
  u8 abId[kIdSize];
  SPI_StripIdBytes(pRawId, NumRaw, abId, sizeof(abId));
  if (PROJECT_IsOpen() == 0) {
    APP_LogError(APP_CAUSE::Project, "No project file opened.");
    return -1;
  }
  LogId(abId);
  StoreId(abId);
  const i32 index = FindRow(abId);
  FLASH_DEVICE row = {};
  if (index < 0 || FLASH_GetDeviceRow(static_cast<u32>(index), &row) != 0) {
    const bool isNothing = IsNothing(abId);
    APP_LogErrorf(isNothing ? APP_CAUSE::NoChip : APP_CAUSE::UnknownChip,
                  "Failed to auto-detect SPI Flash. (%s: 0x%02X %02X %02X)",
                  isNothing ? "Nothing answers, Id" : "No part is known by the Id", abId[0],
                  abId[1], abId[2]);
    APP_LogInfo("Failed to auto-detect SPI Flash.");
    return -1;
  }
  APP_LogInfof("Found SPI Flash: %s %s", row.sVendor, row.sDevice);
  LogOthers(abId, index);
  // A device that cannot be set up as asked has reported why and counts as an error there.
  static_cast<void>(FLASH_SelectDevice(index, true));
  return 0;
}
