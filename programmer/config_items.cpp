#include "programmer/config_items.h"

#include <algorithm>
#include <array>
#include <cstring>

#include "app/engine/log.h"
#include "sys/util_number.h"

namespace {

// Tags, in groups of hundreds. Numbers that are missing were never given out.
enum CONFIG_TAG : u32 {
  TAG_END = 0,

  TAG_SPEED = 100,  // Hz
  TAG_NUM_INIT_STEPS = 101,
  TAG_INIT_STEP = 102,
  TAG_NUM_EXIT_STEPS = 103,
  TAG_EXIT_STEP = 104,

  // A reader tells the two items of tag 201 apart by their order.
  TAG_AUTO_DETECT = 201,
  TAG_FLASH_TYPE = 201,
  TAG_ID = 202,
  TAG_NUM_PAGES = 204,
  TAG_PAGE_SIZE_SHIFT = 205,
  TAG_SECTOR_SIZE_SHIFT = 206,
  TAG_STATUS_REG_FORMAT = 207,
  TAG_COMMANDS = 216,
  TAG_SEND_INIT_PAGE_PROG = 217,
  TAG_SEND_INIT_ERASE = 218,

  TAG_USE_QUAD_MODE = 208,
  TAG_QUAD_COMMANDS = 209,
  TAG_NUM_QUAD_STEPS = 210,
  TAG_QUAD_STEP = 211,
  TAG_RD_CMD_LANES = 212,
  TAG_RD_ADDR_LANES = 213,
  TAG_WR_CMD_LANES = 214,
  TAG_WR_ADDR_LANES = 215,

  TAG_ENABLE_TARGET_POWER = 300,
  TAG_TARGET_POWER_DELAY = 301,  // ms
  TAG_PERFORM_COMPARE = 302,
  TAG_AUTO_PROGRAM = 304,
  TAG_AUTO_VERIFY = 305,
  TAG_ERASE_TYPE = 306,  // 0: no erase
  TAG_PROGRAM_SN = 307,
  TAG_SN_ADDR = 308,
  TAG_SN_LEN = 309,
  TAG_SN_INC = 310,
  TAG_OVERRIDE_TIMEOUTS = 311,
  TAG_TIMEOUT_ERASE_SECT = 312,  // ms, as those below
  TAG_TIMEOUT_ERASE_CHIP = 313,
  TAG_TIMEOUT_PROG_PAGE = 314,
  TAG_TIMEOUT_VERIFY = 315,
  TAG_MONITOR_VTREF = 316,
  TAG_MONITOR_VTREF_MIN = 317,  // mV, as those below
  TAG_MONITOR_VTREF_MAX = 318,
  TAG_FIXED_VTREF = 319,  // 0: none

  TAG_SKIP_BLANK_DATA = 400,
};

constexpr u32 kNumQuadCommands = 3;
constexpr u32 kHzPerKHz = 1000;
// A step's data in front of its parameters or bytes, and what those take at least.
constexpr u32 kStepPrefix = 8;
constexpr u32 kMinStepBytes = 4;

// Appends items. Once the buffer has failed, which it reports, nothing more is written.
class ItemWriter {
 public:
  explicit ItemWriter(DYNBUFFER* pBuffer) : m_pBuffer(pBuffer) {}

  bool IsOk() const { return m_pBuffer->LastError == 0; }

  void Bytes(u32 tag, const u8* pData, u32 numBytes) {
    std::array<u8, 8> abHead{};
    UTIL_StoreU32LE(abHead.data(), numBytes);
    UTIL_StoreU32LE(abHead.data() + 4, tag);
    if (IsOk() && DYNBUFFER_Append(m_pBuffer, abHead.data(), abHead.size()) == 0) {
      DYNBUFFER_Append(m_pBuffer, pData, numBytes);
    }
  }
  void U32(u32 tag, u32 value) {
    std::array<u8, 4> abValue{};
    UTIL_StoreU32LE(abValue.data(), value);
    Bytes(tag, abValue.data(), abValue.size());
  }
  void U8(u32 tag, u32 value) {
    const u8 byte = static_cast<u8>(value);
    Bytes(tag, &byte, 1);
  }
  void Steps(u32 tag, std::span<const CUSTOM_STEP> steps) {
    for (const CUSTOM_STEP& step : steps) {
      Step(tag, step);
    }
  }

 private:
  // Action and two parameters, or action, count and bytes. A count that a project file made too
  // large is cut to the bytes that the step has, as it is when the step runs here.
  void Step(u32 tag, const CUSTOM_STEP& step) {
    std::array<u8, kStepPrefix + CUSTOM_MAX_DATA> abData{};
    u32 numParaBytes = kMinStepBytes;
    UTIL_StoreU32LE(abData.data(), step.ActionIndex);
    if (step.ActionIndex == CUSTOM_WRITE_DATA) {
      const u32 numBytes = std::min(step.Value0, CUSTOM_MAX_DATA);
      UTIL_StoreU32LE(abData.data() + 4, numBytes);
      std::memcpy(abData.data() + kStepPrefix, step.abData, numBytes);
      numParaBytes = std::max(numBytes, kMinStepBytes);
    } else {
      UTIL_StoreU32LE(abData.data() + 4, step.Value0);
      UTIL_StoreU32LE(abData.data() + kStepPrefix, step.Value1);
    }
    Bytes(tag, abData.data(), kStepPrefix + numParaBytes);
  }

  DYNBUFFER* m_pBuffer;
};

void AppendSequences(ItemWriter& items, const PROJ_CPU& cpu) {
  const u64 speed = u64{cpu.Speed0} * kHzPerKHz;
  items.U32(TAG_SPEED, static_cast<u32>(std::min<u64>(speed, 0xFFFFFFFF)));
  items.U32(TAG_NUM_INIT_STEPS, static_cast<u32>(cpu.aInitSteps.size()));
  items.Steps(TAG_INIT_STEP, cpu.aInitSteps);
  items.U32(TAG_NUM_EXIT_STEPS, static_cast<u32>(cpu.aExitSteps.size()));
  items.Steps(TAG_EXIT_STEP, cpu.aExitSteps);
}

void AppendQuad(ItemWriter& items, const SPI_FLASH_INFO& flash) {
  items.U8(TAG_USE_QUAD_MODE, flash.UseQuadMode);
  const u8 abCommands[kNumQuadCommands] = {flash.CmdReadDataQuad, flash.CmdWritePageQuad,
                                           flash.NumDummyCyclesQuad};
  items.Bytes(TAG_QUAD_COMMANDS, abCommands, kNumQuadCommands);
  items.U32(TAG_NUM_QUAD_STEPS, static_cast<u32>(flash.aQuadEnableInitSteps.size()));
  items.U8(TAG_RD_CMD_LANES, flash.RdCmdTransferMode);
  items.U8(TAG_RD_ADDR_LANES, flash.RdAddrTransferMode);
  items.U8(TAG_WR_CMD_LANES, flash.WrCmdTransferMode);
  items.U8(TAG_WR_ADDR_LANES, flash.WrAddrTransferMode);
  items.Steps(TAG_QUAD_STEP, flash.aQuadEnableInitSteps);
}

void AppendFlash(ItemWriter& items, const SPI_FLASH_INFO& flash) {
  items.U32(TAG_AUTO_DETECT, 0);
  items.U32(TAG_FLASH_TYPE, flash.FlashType);
  std::array<u8, std::size(FLASH_CMD_FIELDS)> abCommands{};
  for (u32 i = 0; i < abCommands.size(); ++i) {
    abCommands[i] = flash.*FLASH_CMD_FIELDS[i];
  }
  items.Bytes(TAG_COMMANDS, abCommands.data(), static_cast<u32>(abCommands.size()));
  items.Bytes(TAG_ID, flash.abID, sizeof(flash.abID));
  items.U8(TAG_PAGE_SIZE_SHIFT, flash.PageSizeShift);
  items.U8(TAG_SECTOR_SIZE_SHIFT, flash.SectorSizeShift);
  items.U32(TAG_NUM_PAGES, flash.NumPages);
  items.U8(TAG_STATUS_REG_FORMAT, flash.StatusRegFormat);
  // The project has one switch for both.
  items.U8(TAG_SEND_INIT_PAGE_PROG, flash.SendInitCommands);
  items.U8(TAG_SEND_INIT_ERASE, flash.SendInitCommands);
  if (flash.UseQuadMode != 0 && flash.FlashType == FLASH_TYPE_NOR) {
    AppendQuad(items, flash);
  }
}

void AppendProduction(ItemWriter& items, const PROJ_PRODUCTION& production) {
  items.U8(TAG_ENABLE_TARGET_POWER, production.EnableTargetPower);
  items.U32(TAG_TARGET_POWER_DELAY,
            production.EnableTargetPower != 0 ? production.TargetPowerDelay : 0);
  items.U8(TAG_PERFORM_COMPARE, production.PerformCompare);
  items.U8(TAG_AUTO_PROGRAM, production.AutoPerformsProgram);
  items.U8(TAG_AUTO_VERIFY, production.AutoPerformsVerify);
  items.U8(TAG_ERASE_TYPE, production.AutoPerformsErase != 0 ? production.EraseType : 0);
  // The next number itself is in the programmer's serial number file.
  items.U8(TAG_PROGRAM_SN, production.ProgramSN);
  items.U32(TAG_SN_ADDR, production.SNAddr);
  items.U32(TAG_SN_LEN, production.SNLen);
  items.U32(TAG_SN_INC, production.SNInc);
  items.U8(TAG_OVERRIDE_TIMEOUTS, production.OverrideTimeouts);
  items.U32(TAG_TIMEOUT_ERASE_SECT, production.TimeoutEraseSect);
  items.U32(TAG_TIMEOUT_ERASE_CHIP, production.TimeoutEraseChip);
  items.U32(TAG_TIMEOUT_PROG_PAGE, production.TimeoutProgPage);
  items.U32(TAG_TIMEOUT_VERIFY, production.TimeoutVerify);
  items.U8(TAG_MONITOR_VTREF, production.MonitorVTref);
  items.U32(TAG_MONITOR_VTREF_MIN, production.MonitorVTrefMin);
  items.U32(TAG_MONITOR_VTREF_MAX, production.MonitorVTrefMax);
  items.U32(TAG_FIXED_VTREF, production.EnableFixedVTref != 0 ? production.FixedVTref : 0);
}

}  // namespace

int ZELMONT_AppendItems(DYNBUFFER* pBuffer, const CONFIG_BLOCKS& blocks) {
  ItemWriter items(pBuffer);
  AppendSequences(items, blocks.Cpu);
  // A programmer has no device table to look an ID up in. An EEPROM has none: its project says all.
  const bool isEeprom = blocks.Flash.FlashType == FLASH_TYPE_EEPROM;
  if (blocks.Flash.AutoDetect != 0 && !isEeprom) {
    APP_LogErrorCb(nullptr,
                   "Auto detection of SPI Flash is not supported by Zelmont. Please configure the "
                   "SPI flash information.");
    return -1;
  }
  AppendFlash(items, blocks.Flash);
  AppendProduction(items, blocks.Production);
  items.U8(TAG_SKIP_BLANK_DATA, blocks.Performance.DisableSkipBlankDataOnProgram == 0 ? 1 : 0);
  items.U32(TAG_END, 0);
  return items.IsOk() ? 0 : -1;
}
