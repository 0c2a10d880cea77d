#include <iterator>

#include "catalogue/devices/device_row.h"

// Quad settings of the device table.

namespace devices {
namespace {

consteval CUSTOM_STEP Step(u32 ActionIndex, u32 Value0, u32 Value1, const char* sComment) {
  CUSTOM_STEP step = {};
  for (u32 i = 0; sComment[i] != '\0'; ++i) {
    step.acComment[i] = sComment[i];
  }
  step.Value0 = Value0;
  step.Value1 = Value1;
  step.ActionIndex = ActionIndex;
  return step;
}

consteval CUSTOM_STEP Comment(const char* sText) {
  return Step(CUSTOM_COMMENT, 0, 0, sText);
}

consteval CUSTOM_STEP Instruction(u8 Cmd) {
  CUSTOM_STEP step = Step(CUSTOM_WRITE_DATA, 1, 0, "Cmd");
  step.abData[0] = Cmd;
  return step;
}

// Sets the quad enable bit, bit 1 of status register 2. The write goes to the volatile copy (0x50
// in place of write enable), so that the chip leaves the line as it came.
constexpr CUSTOM_STEP kStepsGD25Q128E[] = {
    Comment("-- Read Stat2 --"),
    Step(CUSTOM_ACTIVATE_CS, 0, 0, ""),
    Instruction(0x35),
    Step(CUSTOM_VAR_READ_DATA, 0, 1, "TmpBuf[0] = Stat2"),
    Step(CUSTOM_DEACTIVATE_CS, 0, 0, ""),
    Comment("-- Set QE bit in read value --"),
    Step(CUSTOM_VAR_OR, 0, 2, "TmpBuf[0] |= (1 << 1) Set QE bit, enabling usage of quad command"),
    Comment("-- Make sure we write to volatile Stat bits --"),
    Step(CUSTOM_ACTIVATE_CS, 0, 0, ""),
    Instruction(0x50),
    Step(CUSTOM_DEACTIVATE_CS, 0, 0, ""),
    Comment("-- Write Stat2 --"),
    Step(CUSTOM_ACTIVATE_CS, 0, 0, ""),
    Instruction(0x31),
    Step(CUSTOM_VAR_WRITE_DATA, 0, 1, "Stat2 = TmpBuf[0]"),
    Step(CUSTOM_DEACTIVATE_CS, 0, 0, ""),
};

constexpr u8 kCmdsGD25Q128E[] = {0x6B, 0x32, 8};

}  // namespace

constexpr FLASH_QUAD_CONFIG QuadGD25Q128E = {
    .pCmds = kCmdsGD25Q128E,
    .pSteps = kStepsGD25Q128E,
    .NumSteps = static_cast<u32>(std::size(kStepsGD25Q128E)),
    .RdCmdTransferMode = SPI_LANES_SINGLE,
    .WrCmdTransferMode = SPI_LANES_SINGLE,
    .RdAddrTransferMode = SPI_LANES_SINGLE,
    .WrAddrTransferMode = SPI_LANES_SINGLE,
};

}  // namespace devices
