#include <algorithm>
#include <array>
#include <span>

#include "flash/chip.h"
#include "flash/spi.h"
#include "project/project.h"

// Fast mode: the library runs erase, program and verify by itself, on the probe, from a description
// of the chip. The block is written byte by byte, so that neither padding nor byte order of this
// compiler reaches the wire.

namespace {

constexpr u32 kMaxPageShift = 16;

// Bits of the block's Flags.
constexpr u32 kFlagReadyBit = 1 << 0;
constexpr u32 kFlag4ByteMode = 1 << 1;
constexpr u32 kFlagQuad = 1 << 2;
constexpr u32 kFlagSkipBlank = 1 << 3;
constexpr u32 kFlagsExtended = 3 << 4;

// Writes a block's fields one behind the other.
class BlockWriter {
 public:
  explicit BlockWriter(std::span<u8> Block) : m_Block(Block) {
    std::fill(Block.begin(), Block.end(), u8{0});
  }
  void U8(u8 Value) { m_Block[m_Pos++] = Value; }
  void U32(u32 Value) {
    for (u32 i = 0; i < 4; ++i, Value >>= 8) {
      U8(static_cast<u8>(Value));
    }
  }

 private:
  std::span<u8> m_Block;
  std::size_t m_Pos = 0;
};

u32 GetFlags(const SPI_FLASH_INFO& info, bool Extended) {
  PROJ_PERFORMANCE performance{};
  PROJECT_GetPerformance(&performance);
  return (info.StatusIsReadyBit != 0 ? kFlagReadyBit : 0) |
         (info.Dedicated4BAddrMode != 0 ? kFlag4ByteMode : 0) |
         (info.UseQuadMode != 0 ? kFlagQuad : 0) |
         (performance.DisableSkipBlankDataOnProgram == 0 ? kFlagSkipBlank : 0) |
         (Extended ? kFlagsExtended : 0);
}

}  // namespace

u32 SPI_BuildFastModePara(const FLASH_CHIP& Chip, u8* pDest, u32 DestSize, bool Extended) {
  const u32 size = Extended ? FAST_MODE_PARA_EX_SIZE : FAST_MODE_PARA_SIZE;
  if (DestSize < size) {
    return 0;
  }
  const SPI_FLASH_INFO& info = Chip.Info;
  PROJ_PRODUCTION production{};
  PROJECT_GetProduction(&production);
  BlockWriter out({pDest, size});
  if (Extended) {
    out.U32(size);
  }
  for (const u32 value :
       {info.FlashType, static_cast<u32>(Chip.StatusFormat), info.NumPages,
        production.TimeoutEraseSect, production.TimeoutEraseChip, production.TimeoutProgPage,
        production.TimeoutVerify, GetFlags(info, Extended)}) {
    out.U32(value);
  }
  for (const u8 value :
       {info.CmdWriteEnable, info.CmdWriteDisable, info.CmdReadID, info.CmdReadStatus,
        info.CmdWriteStatus, info.CmdReadData, info.CmdWritePage, info.CmdEraseSector,
        info.CmdEraseBulk, info.CmdEnter4ByteMode, info.CmdExit4ByteMode, info.NumAddrBytes,
        info.StatusBitPos, info.CmdReadDataQuad, info.CmdWritePageQuad, info.NumDummyCyclesQuad}) {
    out.U8(value);
  }
  out.U8(static_cast<u8>(info.PageSizeShift));
  out.U8(static_cast<u8>(info.SectorSizeShift));
  for (const u8 value : {info.RdCmdTransferMode, info.WrCmdTransferMode, info.WrAddrTransferMode,
                         info.RdAddrTransferMode, production.EraseType}) {
    out.U8(value);
  }
  if (Extended) {
    out.U8(info.CmdInitPageProg);
    out.U8(info.CmdInitErase);
  }
  return size;
}

// A library that refuses isn't complained of: the lists do the same work. A chip whose layout of
// the status register isn't known has no row, and fast mode is for rows only.
void SPI_EnterFastMode(FLASH_CHIP* pChip) {
  const SPI_FLASH_INFO& info = pChip->Info;
  if (pChip->Row < 0 || info.PageSizeShift > kMaxPageShift) {
    return;
  }
  const bool isExtended = info.SendInitCommands != 0;
  auto* pf = VORTIC_GetFunctionAs<VORTIC_ENTER_FAST>(isExtended ? VORTIC_FUNC_ENTER_FAST_EX
                                                                : VORTIC_FUNC_ENTER_FAST);
  if (pf == nullptr) {
    return;
  }
  std::array<u8, FAST_MODE_PARA_EX_SIZE> aPara{};
  SPI_BuildFastModePara(*pChip, aPara.data(), aPara.size(), isExtended);
  pChip->HasFastMode = pf(aPara.data()) >= 0;
}
