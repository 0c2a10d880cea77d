#include <algorithm>
#include <array>
#include <cstring>

#include "flash/erase.h"
#include "flash/link.h"
#include "flash/operation.h"
#include "flash/program.h"
#include "flash/spi.h"
#include "flash/verify.h"
#include "project/settings.h"
#include "sys/util_format.h"

// Read back: blocks of up to 128 KiB go from the chip into a new image. A result is handed out only
// when all of it was read: half a chip in a window would pass for a chip.

namespace {

constexpr u64 kMaxBlock = SPI_MAX_READ;
constexpr u64 kAlignMask = 3;
constexpr u64 kMinBlankRun = 64;
constexpr u8 kBlank = 0xFF;

std::array<u8, SPI_MAX_READ> ReadBuffer;

// As many bytes as given, at least one.
bool IsBlankBlock(const u8* pData, u64 NumBytes) {
  return pData[0] == kBlank && std::memcmp(pData, pData + 1, NumBytes - 1) == 0;
}

// A block that ends blank is as good as any other; only the flag tells of a failure.
int StoreBlock(MEMAREA* pDest, u64 Addr, u64 NumBytes, bool SkipBlank) {
  const u8* pData = ReadBuffer.data();
  if (!SkipBlank) {
    return MEMAREA_AddRange(pDest, Addr, NumBytes, pData);
  }
  bool isFailed = false;
  MEMAREA_AddNonBlank(pDest, Addr, NumBytes, pData, kMinBlankRun, kBlank, &isFailed);
  return isFailed ? -1 : 0;
}

// One block from the chip into the area. 0, or -1 reported.
int ReadBlock(const FLASH_CHIP& chip, MEMAREA* pDest, u64 Addr, u64 NumBytes, bool SkipBlank) {
  const u32 numBytes = static_cast<u32>(NumBytes);
  // A read that delivers nothing must not look like a blank chip, nor like the block before.
  std::memset(ReadBuffer.data(), 0, NumBytes);
  if (!IsSendable(Addr, NumBytes) ||
      SPI_ReadData(chip.Info, static_cast<u32>(Addr), numBytes, ReadBuffer.data()) != 0) {
    APP_LogErrorf(APP_ERROR(APP_CAUSE::ReadFailed).At(Addr),
                  "Failed to read memory (0x%.2X bytes @ address 0x%.8lX)", numBytes, Addr);
    return -1;
  }
  if (StoreBlock(pDest, Addr, NumBytes, SkipBlank) < 0) {
    APP_LogErrorf(APP_CAUSE::OutOfMemory, "Failed to allocate %u bytes of memory", numBytes);
    return -1;
  }
  return 0;
}

// The range fits 32 bits for all that can be read but 4 GiB, whose last byte doesn't show.
void SetReadRange(PROGRESS_INFO* pProgress, u64 NumBytes) {
  PROGRESS_SetRange(pProgress, 0, static_cast<u32>(std::min<u64>(NumBytes, 0xFFFFFFFF)));
  PROGRESS_CountBytes(pProgress);
}

// Figures of the closing line.
struct CompletedText {
  u64 NumBytes;
  u32 NumRanges;
};

// Reports the outcome; the result, or null after an error or a cancel.
MEMAREA* FinishRead(MEMAREA_PTR pResult, const CompletedText& completed) {
  if (Operation::HasFailed()) {
    APP_LogError(Operation::IsCanceled() ? APP_CAUSE::Canceled : APP_CAUSE::ReadFailed,
                 "Failed to read back target memory.");
  } else if (Operation::IsCanceled()) {
    APP_LogError(APP_CAUSE::Canceled, "Read target memory canceled by user");
  } else {
    std::array<char, 128> acText{};
    UTIL_snprintf64(acText.data(), acText.size(),
                    "Target memory read successfully. (%lu bytes, %u range%s)", completed.NumBytes,
                    completed.NumRanges, Plural(completed.NumRanges));
    APP_LogCompleted(acText.data());
  }
  return Operation::HasFailed() ? nullptr : pResult.release();
}

// The connected chip and an area for what it holds. pChip is null when that can't be, reported.
struct ReadStart {
  const FLASH_CHIP* pChip = nullptr;
  MEMAREA_PTR pResult;
};
ReadStart StartRead(Operation* pOp) {
  ReadStart start;
  start.pResult.reset(MEMAREA_Create());
  if (start.pResult == nullptr) {
    APP_LogError(APP_CAUSE::OutOfMemory, "Could not read target memory, out of memory.");
    return start;
  }
  start.pChip = pOp->Connect("Could not read target memory, not connected.");
  return start;
}

// One span or several, between looks at the chip: what it holds goes into a file or decides what
// is erased.
template <class READ>
void ReadGuarded(const FLASH_CHIP& chip, READ Read) {
  LinkGuard guard(chip);
  if (guard.Begin() != 0) {
    return;
  }
  Read();
  static_cast<void>(Operation::IsAlive() && guard.End() == 0);
}

// Whole words, whatever the span asks for.
void ReadSpan(const FLASH_CHIP& chip, MEMAREA* pDest, u64 FirstAddr, u64 LastAddr,
              PROGRESS_INFO* pProgress) {
  const bool isSkipping = SETUP_GetSkipBlankAreas() != 0;
  u64 addr = FirstAddr & ~kAlignMask;
  const u64 last = LastAddr | kAlignMask;
  while (addr <= last && Operation::IsAlive()) {
    const u64 numBytes = std::min(last - addr, kMaxBlock - 1) + 1;
    if (ReadBlock(chip, pDest, addr, numBytes, isSkipping) != 0) {
      break;
    }
    APP_Touched().NumRead += numBytes;
    PROGRESS_AddValue(pProgress, static_cast<u32>(numBytes));
    addr += numBytes;
    if (addr == 0) {
      break;  // past the last address there is
    }
  }
}

}  // namespace

void FLASH_ReadInto(const FLASH_CHIP& Chip, MEMAREA* pDest, u64 FirstAddr, u64 LastAddr,
                    PROGRESS_INFO* pProgress) {
  ReadGuarded(Chip, [&] { ReadSpan(Chip, pDest, FirstAddr, LastAddr, pProgress); });
}

void FLASH_ReadRanges(const FLASH_CHIP& Chip, MEMAREA* pRanges, MEMAREA* pDest,
                      PROGRESS_INFO* pProgress) {
  const MEMAREA_PTR pAll(pRanges == nullptr ? GEOMETRY_CreateArea(Chip.Sectors, nullptr, nullptr)
                                            : nullptr);
  MEMAREA* pList = pRanges != nullptr ? pRanges : pAll.get();
  SetReadRange(pProgress, MEMAREA_GetNumBytes(pList));
  const u32 numRanges = MEMAREA_GetNumRanges(pList);
  ReadGuarded(Chip, [&] {
    for (u32 i = 0; i < numRanges && Operation::IsAlive(); ++i) {
      u64 addr = 0;
      u64 numBytes = 0;
      MEMAREA_GetRange(pList, i, &addr, &numBytes);
      const u64 last = addr + numBytes - 1;
      std::array<char, 128> acText{};
      UTIL_snprintf64(acText.data(), acText.size(), "Range %u/%u, 0x%lX - 0x%lX", i + 1, numRanges,
                      addr, last);
      PROGRESS_SetSubText(pProgress, acText.data());
      ReadSpan(Chip, pDest, addr, last, pProgress);
    }
  });
}

MEMAREA* FLASH_ReadChip() {
  Operation op("Reading entire flash chip ...");
  ReadStart start = StartRead(&op);
  if (start.pChip == nullptr) {
    return nullptr;
  }
  const Geometry& sectors = start.pChip->Sectors;
  if (sectors.NumSectors == 0) {
    APP_LogError(APP_CAUSE::Project,
                 "Could not read target memory, the size of the chip is not known.");
    return nullptr;
  }
  const MEMAREA_PTR pAll(GEOMETRY_CreateArea(sectors, nullptr, nullptr));
  const u32 numRanges = MEMAREA_GetNumRanges(pAll.get());
  APP_LogInfof("%u sector%s, %u range%s%s", sectors.NumSectors, Plural(sectors.NumSectors),
               numRanges, Plural(numRanges), FLASH_FormatRanges(pAll.get()).c_str());
  PROGRESS_INFO* pProgress = op.StartProgress("Reading target memory ...");
  FLASH_ReadRanges(*start.pChip, pAll.get(), start.pResult.get(), pProgress);
  return FinishRead(std::move(start.pResult), {sectors.GetTotalSize(), numRanges});
}

// Where the chip ends is known for sure once it is connected. Behind its end it delivers its start
// again, which would pass for data.
MEMAREA* FLASH_ReadSpan(u64 FirstAddr, u64 LastAddr) {
  Operation op("Reading target memory (0x%.8lX - 0x%.8lX) ...", FirstAddr, LastAddr);
  ReadStart start;
  bool isOutside = LastAddr > 0xFFFFFFFF || FirstAddr > LastAddr;
  if (!isOutside) {
    start = StartRead(&op);
    const u64 size = start.pChip != nullptr ? start.pChip->Sectors.GetTotalSize() : 0;
    isOutside = size != 0 && LastAddr >= size;
  }
  if (isOutside) {
    APP_LogErrorf(
        APP_ERROR(APP_CAUSE::DoesNotFit).At(FirstAddr),
        "Could not read target memory, address range 0x%lX - 0x%lX is outside of the flash chip.",
        FirstAddr, LastAddr);
  }
  if (isOutside || start.pChip == nullptr) {
    return nullptr;
  }
  PROGRESS_INFO* pProgress = op.StartProgress("Reading target memory ...");
  SetReadRange(pProgress, LastAddr - FirstAddr + 1);
  std::array<char, 64> acText{};
  UTIL_snprintf64(acText.data(), acText.size(), "Range 0x%lX - 0x%lX", FirstAddr, LastAddr);
  PROGRESS_SetSubText(pProgress, acText.data());
  FLASH_ReadInto(*start.pChip, start.pResult.get(), FirstAddr, LastAddr, pProgress);
  const CompletedText completed = {MEMAREA_GetNumBytes(start.pResult.get()),
                                   MEMAREA_GetNumRanges(start.pResult.get())};
  return FinishRead(std::move(start.pResult), completed);
}

MEMAREA* FLASH_ReadAffected(MEMAREA* pArea) {
  Operation op("Reading affected sectors ...");
  ReadStart start = StartRead(&op);
  if (start.pChip == nullptr) {
    return nullptr;
  }
  const Geometry& sectors = start.pChip->Sectors;
  u32 numSectors = 0;
  const MEMAREA_PTR pRanges(GEOMETRY_CreateArea(sectors, pArea, &numSectors));
  if (pRanges == nullptr) {
    APP_LogErrorf(APP_CAUSE::OutOfMemory, "Failed to allocate %lu bytes of memory",
                  sectors.GetSectorSize());
    return nullptr;
  }
  const u32 numRanges = MEMAREA_GetNumRanges(pRanges.get());
  APP_LogInfof("%u of %u sectors affected, %u range%s%s", numSectors, sectors.NumSectors, numRanges,
               Plural(numRanges), FLASH_FormatRanges(pRanges.get()).c_str());
  PROGRESS_INFO* pProgress = op.StartProgress("Reading target memory ...");
  FLASH_ReadRanges(*start.pChip, pRanges.get(), start.pResult.get(), pProgress);
  const CompletedText completed = {MEMAREA_GetNumBytes(start.pResult.get()),
                                   MEMAREA_GetNumRanges(start.pResult.get())};
  return FinishRead(std::move(start.pResult), completed);
}

int FLASH_IsBlank(MEMAREA* pArea) {
  const std::unique_ptr<u8[]> pBuffer = AllocBuffer(kMaxBlock);
  if (pBuffer == nullptr) {
    return 0;
  }
  const u64 last = MEMAREA_GetMaxAddr(pArea);
  u64 next = MEMAREA_GetMinAddr(pArea);
  while (APP_IsOperationAlive() != 0) {
    u64 addr = 0;
    const u64 numBytes = MEMAREA_GetData(pArea, next, last, 0, kBlank, pBuffer.get(), nullptr,
                                         &addr, kMaxBlock, 2, 2);
    if (numBytes == 0) {
      break;
    }
    if (!IsBlankBlock(pBuffer.get(), numBytes)) {
      return 0;
    }
    next = addr + numBytes;
    if (next < addr || next > last) {
      break;
    }
  }
  return 1;
}
