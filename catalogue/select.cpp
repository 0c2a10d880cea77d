#include "app/engine/log.h"
#include "catalogue/catalogue.h"
#include "project/project.h"

namespace {

// Application thread only.
struct Selection {
  i32 Device = -1;
  SPI_FLASH_INFO Info{};  // the project's, when the selection was made
};
Selection& TheSelection() {
  static Selection selection;
  return selection;
}

// Comes behind the command set, which it changes.
void ApplyAddrMode(SPI_FLASH_INFO& info, u32 addrMode4B) {
  switch (addrMode4B) {
    case FLASH_ADDR_3BYTE:
      info.Dedicated4BAddrMode = 0;
      info.CmdEnter4ByteMode = 0;
      info.CmdExit4ByteMode = 0;
      break;
    case FLASH_ADDR_4BYTE_CMDS:
      info.CmdReadData = 0x13;
      info.CmdWritePage = 0x12;
      info.CmdEraseSector = 0xDC;
      info.NumAddrBytes = 4;
      info.CmdEnter4ByteMode = 0;
      info.CmdExit4ByteMode = 0;
      info.Dedicated4BAddrMode = 0;
      break;
    case FLASH_ADDR_4BYTE_MODE:
      info.CmdEnter4ByteMode = 0xB7;
      info.CmdExit4ByteMode = 0xE9;
      info.NumAddrBytes = 4;
      info.Dedicated4BAddrMode = 1;
      break;
    case FLASH_ADDR_4BYTE_FAST_READ:
      info.CmdReadData = 0x0B;
      info.NumAddrBytes = 4;
      break;
    default:
      break;
  }
}

// Kind, geometry, instructions and addressing of a row; identity and quad settings stay. A FRAM
// that a project takes for a flash would be waited for and erased in vain.
void ApplyDevice(SPI_FLASH_INFO& info, const FLASH_DEVICE& row) {
  info.FlashType = static_cast<u32>(row.FlashType);
  FLASH_ApplyRow(&info, row);
  info.Ignore2ndIdByte = row.Ignore2ndIdByte() ? 1 : 0;
  info.StatusRegFormat = static_cast<u8>(row.StatusRegFormat());
  ApplyAddrMode(info, row.AddrMode4B());
}

void ApplyQuadConfig(SPI_FLASH_INFO& info, const FLASH_QUAD_CONFIG& config) {
  info.UseQuadMode = 1;
  info.CmdReadDataQuad = config.pCmds[0];
  info.CmdWritePageQuad = config.pCmds[1];
  info.NumDummyCyclesQuad = config.pCmds[2];
  info.aQuadEnableInitSteps.assign(config.pSteps, config.pSteps + config.NumSteps);
  info.RdCmdTransferMode = config.RdCmdTransferMode;
  info.WrCmdTransferMode = config.WrCmdTransferMode;
  info.RdAddrTransferMode = config.RdAddrTransferMode;
  info.WrAddrTransferMode = config.WrAddrTransferMode;
}

// Quad settings are touched when the project leaves them to the table (quad transfer with
// detection) or when the device is chosen by hand. 0, or -1 when quad mode was asked for and this
// device has no settings for it.
int SetUpQuad(SPI_FLASH_INFO& info, const FLASH_DEVICE& row) {
  if (info.AutoDetect != 0 && info.DataTransferMode != SPI_LANES_QUAD) {
    return 0;
  }
  if (row.pQuadConfig != nullptr) {
    ApplyQuadConfig(info, *row.pQuadConfig);
    return 0;
  }
  if (info.UseQuadMode != 0) {
    APP_LogErrorf(APP_CAUSE::UnknownChip,
                  "Failed to auto-detect quad mode configuration for %s %s.", row.sVendor,
                  row.sDevice);
    return -1;
  }
  return 0;
}

}  // namespace

int FLASH_SelectDevice(i32 Index, bool DoApply) {
  TheSelection() = {};
  FLASH_DEVICE row = {};
  // The empty row is nothing that could be selected.
  if (Index < 0 || FLASH_GetDeviceRow(static_cast<u32>(Index), &row) != 0 ||
      row.sVendor == nullptr || PROJECT_IsOpen() == 0) {
    return -1;
  }
  SPI_FLASH_INFO info{};
  PROJECT_GetFlash(&info);
  if (DoApply) {
    ApplyDevice(info, row);
  }
  if (SetUpQuad(info, row) != 0) {
    return -1;
  }
  PROJECT_SetFlash(&info);
  TheSelection().Device = Index;
  PROJECT_GetFlash(&TheSelection().Info);
  return 0;
}

i32 FLASH_GetSelectedDevice() {
  if (TheSelection().Device < 0 || PROJECT_IsOpen() == 0) {
    return -1;
  }
  SPI_FLASH_INFO info{};
  PROJECT_GetFlash(&info);
  return info == TheSelection().Info ? TheSelection().Device : -1;
}
