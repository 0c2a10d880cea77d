#include <cstring>

#include "driver/core/fast_mode.h"
#include "driver/core/text.h"

namespace vortic {

namespace {

constexpr u32 kFlagReadyBit = 1U << 0;
constexpr u32 kFlagQuad = 1U << 2;
constexpr u32 kFlagSkipBlank = 1U << 3;
constexpr u32 kFlagInitCommands = 3U << 4;  // extended form only

// Offsets of the 56-byte form; the extended one has a word in front of it.
constexpr std::size_t kAtFlashType = 0;
constexpr std::size_t kAtNumPages = 8;
constexpr std::size_t kAtTimeoutErase = 12;
constexpr std::size_t kAtTimeoutProg = 20;
constexpr std::size_t kAtFlags = 28;
constexpr std::size_t kAtCmds = 32;
constexpr std::size_t kAtShifts = 48;
constexpr std::size_t kAtModes = 50;
constexpr std::size_t kAtInitCmds = 55;

constexpr u64 kMaxChipBytes = u64{1} << 32;
constexpr u32 kMaxPageShift = 16;

// The block is bytes in a fixed order, whatever the host's is.
u32 LoadU32(const u8* p) {
  return u32{p[0]} | u32{p[1]} << 8 | u32{p[2]} << 16 | u32{p[3]} << 24;
}

bool IsMode(u8 mode) {
  return mode == 1 || mode == 2;
}

// What would make the engine run beyond the chip or wait for a bit that is not there.
const char* FindFlaw(const FastPara& p) {
  if (p.FlashType < 1 || p.FlashType > 3) {
    return "unknown flash type";
  }
  if (p.PageSizeShift > kMaxPageShift || p.SectorSizeShift > 31) {
    return "page or sector size out of range";
  }
  if (p.NumPages == 0 || p.TotalBytes() > kMaxChipBytes) {
    return "chip size out of range";
  }
  if (p.NumAddrBytes < 2 || p.NumAddrBytes > 4) {
    return "number of address bytes is not 2 to 4";
  }
  if (p.TotalBytes() > u64{1} << (8 * p.NumAddrBytes)) {
    return "address bytes don't reach the whole chip";
  }
  if (p.StatusBitPos > 7) {
    return "status bit is not 0 to 7";
  }
  if (p.UseQuad && (p.CmdReadDataQuad == 0 || p.CmdWritePageQuad == 0 ||
                    !IsMode(p.RdCmdTransferMode) || !IsMode(p.WrCmdTransferMode) ||
                    !IsMode(p.RdAddrTransferMode) || !IsMode(p.WrAddrTransferMode))) {
    return "quad mode lacks instructions or transfer modes";
  }
  return nullptr;
}

}  // namespace

std::string ParseFastPara(const u8* pBlock, bool isExtended, FastPara* pPara) {
  if (isExtended) {
    if (LoadU32(pBlock) != kFastParaExBytes) {
      return "wrong size of the parameter block";
    }
    pBlock += 4;
  }
  const u32 flags = LoadU32(pBlock + kAtFlags);
  const u8* pCmds = pBlock + kAtCmds;
  const u8* pModes = pBlock + kAtModes;
  *pPara = {
      .FlashType = LoadU32(pBlock + kAtFlashType),
      .NumPages = LoadU32(pBlock + kAtNumPages),
      .TimeoutEraseSectMs = LoadU32(pBlock + kAtTimeoutErase),
      .TimeoutProgPageMs = LoadU32(pBlock + kAtTimeoutProg),
      .StatusIsReadyBit = (flags & kFlagReadyBit) != 0,
      .UseQuad = (flags & kFlagQuad) != 0,
      .SkipBlank = (flags & kFlagSkipBlank) != 0,
      .SendInitCommands = isExtended && (flags & kFlagInitCommands) == kFlagInitCommands,
      .CmdWriteEnable = pCmds[0],
      .CmdWriteDisable = pCmds[1],
      .CmdReadId = pCmds[2],
      .CmdReadStatus = pCmds[3],
      .CmdReadData = pCmds[5],
      .CmdWritePage = pCmds[6],
      .CmdEraseSector = pCmds[7],
      .NumAddrBytes = pCmds[11],
      .StatusBitPos = pCmds[12],
      .CmdReadDataQuad = pCmds[13],
      .CmdWritePageQuad = pCmds[14],
      .NumDummyCyclesQuad = pCmds[15],
      .PageSizeShift = pBlock[kAtShifts],
      .SectorSizeShift = pBlock[kAtShifts + 1],
      .RdCmdTransferMode = pModes[0],
      .WrCmdTransferMode = pModes[1],
      .WrAddrTransferMode = pModes[2],
      .RdAddrTransferMode = pModes[3],
      .CmdInitPageProg = isExtended ? pBlock[kAtInitCmds] : u8{0},
      .CmdInitErase = isExtended ? pBlock[kAtInitCmds + 1] : u8{0},
  };
  const char* sFlaw = FindFlaw(*pPara);
  return sFlaw != nullptr ? sFlaw : "";
}

}  // namespace vortic
