#include <algorithm>
#include <array>

#include "app/engine/log.h"
#include "flash/spi.h"

// Reading memory: one frame of up to 128 KiB, as a list of 3 or 4 records.
//
//   instruction   8 bits, opens the frame
//   address       as many bytes as the chip takes
//   dummy         only when there are dummy cycles; zeros are shifted out
//   data          closes the frame
//
// On the plain path address and dummy phases carry no lane flags at all; on the quad path each
// phase names its lanes.

namespace {

constexpr u32 kMaxDummyBits = 512;
constexpr u8 kFastRead = 0x0B;  // plain reads that want a dummy byte, this one and its 4-byte form
constexpr u8 kFastRead4Byte = 0x0C;

// What is shifted out in dummy cycles.
constexpr std::array<u8, kMaxDummyBits / 8> kDummyBytes{};

// How instruction, address, dummy and data phases of a read go out.
struct ReadPhases {
  const u8* pCmd;
  u32 CmdFlags, AddrFlags, NumDummyBits, DummyFlags, DataFlags;
};

// A dummy cycle on four lanes takes four bits.
ReadPhases GetQuadPhases(const SPI_FLASH_INFO& info) {
  const bool isQuadAddr = info.RdAddrTransferMode == SPI_LANES_QUAD;
  const u32 numCycles = info.NumDummyCyclesQuad;
  return {
      &info.CmdReadDataQuad,
      info.RdCmdTransferMode == SPI_LANES_QUAD ? SPI_FLAGS_LIST_BEGIN_QUAD : SPI_FLAGS_LIST_BEGIN,
      isQuadAddr ? SPI_FLAGS_ADDR_QUAD : SPI_FLAGS_ADDR,
      isQuadAddr ? numCycles * 4 : numCycles,
      isQuadAddr ? SPI_FLAGS_DUMMY_QUAD : SPI_FLAGS_DUMMY,
      SPI_FLAGS_DATA_QUAD};
}

bool IsFastRead(u8 Cmd) {
  return Cmd == kFastRead || Cmd == kFastRead4Byte;
}

ReadPhases GetSinglePhases(const SPI_FLASH_INFO& info) {
  return {&info.CmdReadData, SPI_FLAGS_LIST_BEGIN,
          SPI_FLAGS_NONE,    IsFastRead(info.CmdReadData) ? 8u : 0u,
          SPI_FLAGS_NONE,    SPI_FLAGS_END};
}

int ReportError(u32 Addr, const char* sCause) {
  APP_LogErrorf(APP_ERROR(APP_CAUSE::ReadFailed).At(Addr), "Failed to read @ address 0x%.8X (%s)",
                Addr, sCause);
  return -1;
}

// The cause, or null when all is well.
// The instruction's record tells whether the frame went out at all; the others only by a negative
// result, since libraries differ in what they leave there.
const char* FindFault(int ListResult, const SPI_CMD_DESC* pList, u32 NumRecords) {
  switch (ListResult) {
    case SPI_NO_LIST:
      return "API function not found";
    case VORTIC_ERR_NO_MEMORY:
      return "not enough memory";
    case VORTIC_ERR_UNSUPPORTED:
      return "feature not supported";
    default:
      break;
  }
  if (ListResult < 0) {
    return "unspecified error";
  }
  if (pList->Result == VORTIC_ERR_NO_MEMORY) {
    return "not enough memory";
  }
  if (pList->Result != static_cast<i32>((pList->NumBits + 7) / 8)) {
    return "read error";
  }
  const bool isFailed = std::any_of(pList, pList + NumRecords,
                                    [](const SPI_CMD_DESC& desc) { return desc.Result < 0; });
  return isFailed ? "read error" : nullptr;
}

}  // namespace

int SPI_ReadData(const SPI_FLASH_INFO& info, u32 Addr, u32 NumBytes, u8* pData) {
  if (NumBytes == 0) {
    return 0;
  }
  if (NumBytes > SPI_MAX_READ) {
    return ReportError(Addr, "read error");
  }
  if (SPI_CheckSpan(info, Addr, NumBytes) != 0) {
    return -1;
  }
  const ReadPhases phases = info.UseQuadMode != 0 ? GetQuadPhases(info) : GetSinglePhases(info);
  const u32 numAddrBytes = SPI_GetNumAddrBytes(info);
  const u32 numDummyBits = std::min(phases.NumDummyBits, kMaxDummyBits);
  std::array<u8, 4> aAddr{};
  SPI_StoreAddr(aAddr.data(), Addr, numAddrBytes);

  std::array<SPI_CMD_DESC, 4> aList{};
  SPI_CMD_DESC* p = aList.data();
  SPI_BuildDesc(p++, SPI_TYPE_TRANSFER, nullptr, 0, phases.pCmd, nullptr, 8, phases.CmdFlags);
  SPI_BuildDesc(p++, SPI_TYPE_TRANSFER, nullptr, 0, aAddr.data(), nullptr, numAddrBytes * 8,
                phases.AddrFlags);
  if (numDummyBits != 0) {
    SPI_BuildDesc(p++, SPI_TYPE_TRANSFER, nullptr, 0, kDummyBytes.data(), nullptr, numDummyBits,
                  phases.DummyFlags);
  }
  SPI_BuildDesc(p, SPI_TYPE_TRANSFER, nullptr, 0, nullptr, pData, NumBytes * 8, phases.DataFlags);
  // A library may leave the result of a phase that sends nothing alone; a negative one is its word.
  p->Result = 0;
  const u32 numRecords = static_cast<u32>(p - aList.data()) + 1;
  const char* sFault = FindFault(SPI_RunList(aList.data(), numRecords), aList.data(), numRecords);
  return sFault == nullptr ? 0 : ReportError(Addr, sFault);
}
