#include "flash/verify.h"

#include <algorithm>
#include <array>
#include <cstring>

#include "flash/erase.h"
#include "flash/link.h"
#include "flash/operation.h"
#include "flash/program.h"
#include "flash/spi.h"
#include "sys/util_format.h"

// Verify: the chip is read in blocks and compared where the image has bytes. Small holes are read
// across, which is cheaper than a frame of its own for each side; the image's marks keep them out
// of the comparison. In fast mode the library compares whole stretches of data; a block with holes
// in it is compared here, so that the verdict doesn't depend on the way.

namespace {

constexpr u64 kMaxBlock = SPI_MAX_READ;
constexpr u64 kMaxGap = 1024;  // holes up to this are read across, in one frame
constexpr u32 kAlignShift = 2;
constexpr u64 kAlignMask = 3;
constexpr u8 kFill = 0xFF;

// Application thread; an allocation per block would cost more than the comparison.
std::array<u8, SPI_MAX_READ> ReadBuffer;

// The walk over an image in blocks that one read covers.
class VerifyWalk {
 public:
  explicit VerifyWalk(MEMAREA* pArea)
      : m_pArea(pArea),
        m_Addr(MEMAREA_GetMinAddr(pArea) & ~kAlignMask),
        m_LastAddr(MEMAREA_GetMaxAddr(pArea) | kAlignMask) {}

  bool IsAtEnd() const { return m_IsAtEnd; }
  u64 GetAddr() const { return m_Addr; }
  // False at the end. Buffers may be null.
  bool Next(u8* pData, u8* pValid) {
    if (m_IsAtEnd) {
      return false;
    }
    NumBytes = MEMAREA_GetData(m_pArea, m_Addr, m_LastAddr, kMaxGap, kFill, pData, pValid, &Addr,
                               kMaxBlock, kAlignShift, kAlignShift);
    m_Addr = Addr + NumBytes;
    m_IsAtEnd = NumBytes == 0 || m_Addr < Addr || m_Addr > m_LastAddr;
    return NumBytes != 0;
  }

  u64 Addr = 0;
  u64 NumBytes = 0;

 private:
  MEMAREA* m_pArea;
  u64 m_Addr;
  u64 m_LastAddr;
  bool m_IsAtEnd = false;
};

void ShowAddr(PROGRESS_INFO* pProgress, u64 Addr) {
  std::array<char, 64> acText{};
  UTIL_snprintf64(
      acText.data(), acText.size(),
      Addr > 0xFFFFFFFF ? "Verifying @ address 0x%.16lX" : "Verifying @ address 0x%.8lX", Addr);
  PROGRESS_SetSubText(pProgress, acText.data());
}

// What fast mode has found wrong, with the bytes that say so. A second read that finds nothing
// wrong tells of the link.
void ReportFast(const FLASH_CHIP& chip, u32 failAddr, u32 addr, u32 numBytes, const u8* pData) {
  if (failAddr < addr || failAddr - addr >= numBytes) {
    APP_LogErrorf(APP_ERROR(APP_CAUSE::VerifyDiffers).At(failAddr),
                  "Verify failed @ address 0x%.8X", failAddr);
    return;
  }
  const u8 expected = pData[failAddr - addr];
  u8 found = static_cast<u8>(~expected);
  if (SPI_ReadData(chip.Info, failAddr, 1, &found) != 0) {
    return;
  }
  APP_LogErrorf(APP_ERROR(found == expected ? APP_CAUSE::LinkLost : APP_CAUSE::VerifyDiffers)
                    .At(failAddr)
                    .Differs(expected, found),
                "Verify failed @ address 0x%.8X (Read: 0x%.2X, Expected: 0x%.2X%s)", failAddr,
                found, expected, found == expected ? ", the first read differed" : "");
}

// False: differs or failed, reported.
bool VerifyByLibrary(const FLASH_CHIP& chip, u32 addr, u32 numBytes, const u8* pData) {
  const bool isQueued = FLASH_VerifyFast(chip, addr, numBytes, pData) >= 0;
  u32 failAddr = addr;
  const int result = FLASH_WaitFast(&failAddr, FLASH_GetFastTimeout(chip, numBytes));
  if (isQueued && result >= 0) {
    return true;
  }
  if (result != FLASH_WAIT_STOPPED && !Operation::HasFailed()) {
    ReportFast(chip, result < 0 ? failAddr : addr, addr, numBytes, pData);
  }
  return false;
}

// False: differs or failed.
bool VerifyBlock(const FLASH_CHIP& chip, u64 Addr, u64 NumBytes, const u8* pData,
                 const u8* pValid) {
  if (!IsSendable(Addr, NumBytes)) {
    return SPI_CheckSpan(chip.Info, Addr, NumBytes) == 0;
  }
  const u32 addr = static_cast<u32>(Addr);
  const u32 numBytes = static_cast<u32>(NumBytes);
  if (chip.HasFastMode) {
    // The edges of the image are those of its words, and hold nothing.
    const u8* pEnd = pValid + numBytes;
    const u8* pFirst = std::find_if(pValid, pEnd, [](u8 b) { return b != 0; });
    const u8* pLast = pEnd;
    while (pLast != pFirst && pLast[-1] == 0) {
      --pLast;
    }
    if (std::find(pFirst, pLast, u8{0}) == pLast) {
      const u32 skip = static_cast<u32>(pFirst - pValid);
      return pFirst == pLast ||
             VerifyByLibrary(chip, addr + skip, static_cast<u32>(pLast - pFirst), pData + skip);
    }
  }
  return FLASH_CompareBlock(chip, addr, numBytes, pData, pValid) >= 0;
}

// Both passes. The outcome is in the log.
void RunVerify(const FLASH_CHIP& chip, MEMAREA* pArea, PROGRESS_INFO* pProgress) {
  const std::unique_ptr<u8[]> pData = AllocBuffer(kMaxBlock);
  const std::unique_ptr<u8[]> pValid = AllocBuffer(kMaxBlock);
  if (pData == nullptr || pValid == nullptr) {
    APP_LogErrorf(APP_CAUSE::OutOfMemory, "Failed to allocate %u bytes of memory",
                  static_cast<u32>(kMaxBlock));
    return;
  }
  u64 total = 0;
  for (VerifyWalk walk(pArea); walk.Next(nullptr, nullptr);) {
    total += walk.NumBytes;
  }
  LinkGuard guard(chip);
  if (total != 0 && guard.Begin() != 0) {
    return;
  }
  ByteProgress done(pProgress, total);
  VerifyWalk walk(pArea);
  bool isOk = true;
  while (isOk && !walk.IsAtEnd() && Operation::IsAlive()) {
    ShowAddr(pProgress, walk.GetAddr());
    if (!walk.Next(pData.get(), pValid.get())) {
      break;
    }
    isOk = VerifyBlock(chip, walk.Addr, walk.NumBytes, pData.get(), pValid.get());
    if (isOk) {
      done.Add(walk.NumBytes);
      done.Show();
    }
  }
  // An image that could not be read to its end looks like one that ends early.
  const bool isEmpty = MEMAREA_GetNumRanges(pArea) == 0;
  if (Operation::IsAlive() && (done.NumDone() != total || (total == 0 && !isEmpty))) {
    APP_LogError(APP_CAUSE::Internal, "The data could not be read to its end.");
  }
  if (total != 0 && Operation::IsAlive() && guard.End() == 0) {
    APP_Touched().NumVerified += MEMAREA_GetNumBytes(pArea);
  }
}

// Bytes beyond the chip have no counterpart: a chip that repeats its contents there could pass.
bool IsInChip(MEMAREA* pArea) {
  const i64 index = FLASH_IsSpanInChip(pArea, 0);
  if (index < 0) {
    return true;
  }
  u64 addr = 0;
  u64 numBytes = 0;
  MEMAREA_GetRange(pArea, static_cast<u32>(index), &addr, &numBytes);
  APP_LogErrorf(
      APP_ERROR(APP_CAUSE::DoesNotFit).At(addr),
      "Could not verify target, address range 0x%lX - 0x%lX is outside of the flash chip.", addr,
      addr + numBytes - 1);
  return false;
}

}  // namespace

// The first difference is named; further ones would only repeat it.
int FLASH_CompareBlock(const FLASH_CHIP& Chip, u32 Addr, u32 NumBytes, const u8* pExpected,
                       const u8* pValid) {
  // A read that delivers nothing must not look like the block before.
  const u32 numFill = std::min(NumBytes, SPI_MAX_READ);
  std::transform(pExpected, pExpected + numFill, ReadBuffer.begin(),
                 [](u8 Value) { return static_cast<u8>(~Value); });
  if (SPI_ReadData(Chip.Info, Addr, NumBytes, ReadBuffer.data()) != 0) {
    APP_LogErrorf(APP_ERROR(APP_CAUSE::ReadFailed).At(Addr),
                  "Failed to read memory (0x%.2X bytes @ address 0x%.8X)", NumBytes, Addr);
    return -1;
  }
  if (std::memcmp(ReadBuffer.data(), pExpected, NumBytes) == 0) {
    return 0;
  }
  for (u32 i = 0; i < NumBytes; ++i) {
    if (ReadBuffer[i] != pExpected[i] && (pValid == nullptr || pValid[i] != 0)) {
      APP_LogErrorf(
          APP_ERROR(APP_CAUSE::VerifyDiffers).At(Addr + i).Differs(pExpected[i], ReadBuffer[i]),
          "Verification failed @ address 0x%.8X (Read: 0x%.2X, Expected: 0x%.2X)", Addr + i,
          ReadBuffer[i], pExpected[i]);
      return -1;
    }
  }
  return 0;
}

void FLASH_Verify(MEMAREA* pArea) {
  const u32 numRanges = MEMAREA_GetNumRanges(pArea);
  Operation op("Verifying target (%lu bytes, %d range%s) ...", MEMAREA_GetNumBytes(pArea),
               numRanges, Plural(numRanges));
  if (pArea == nullptr) {
    APP_LogError(APP_CAUSE::NoData, "Could not verify target, no data file opened.");
    return;
  }
  const FLASH_CHIP* pChip = op.Connect("Could not verify target, not connected.");
  if (pChip == nullptr) {
    return;
  }
  PROGRESS_INFO* pProgress = op.StartProgress("Verifying target");
  if (!Operation::HasFailed() && IsInChip(pArea)) {
    RunVerify(*pChip, pArea, pProgress);
  }
  if (Operation::HasFailed()) {
    APP_LogError(APP_CAUSE::VerifyDiffers, "Failed to verify target.");
  } else if (Operation::IsCanceled()) {
    APP_LogError(APP_CAUSE::Canceled, "Verify canceled by user");
  } else {
    APP_LogCompleted("All loaded bytes verified OK!");
  }
}
