#include <algorithm>
#include <array>
#include <cstring>

#include "flash/erase.h"
#include "flash/geometry.h"
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
int ReadBlock(MEMAREA* pDest, u64 Addr, u64 NumBytes, bool SkipBlank) {
  const u32 numBytes = static_cast<u32>(NumBytes);
  // A read that delivers nothing must not look like a blank chip, nor like the block before.
  std::memset(ReadBuffer.data(), 0, NumBytes);
  if (!IsSendable(Addr, NumBytes) ||
      SPI_ReadData(static_cast<u32>(Addr), numBytes, ReadBuffer.data()) != 0) {
    APP_LogErrorf("Failed to read memory (0x%.2X bytes @ address 0x%.8lX)", numBytes, Addr);
    return -1;
  }
  if (StoreBlock(pDest, Addr, NumBytes, SkipBlank) < 0) {
    APP_LogErrorf("Failed to allocate %d bytes of memory", numBytes);
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
MEMAREA* FinishRead(const Operation& op, MEMAREA_PTR pResult, const CompletedText& completed) {
  if (HasErrors()) {
    APP_LogError("Failed to read back target memory.");
  } else if (op.IsCanceled()) {
    APP_LogError("Read target memory canceled by user");
  } else {
    std::array<char, 128> acText{};
    UTIL_snprintf64(acText.data(), acText.size(),
                    "Target memory read successfully. (%lu bytes, %d range%s)", completed.NumBytes,
                    completed.NumRanges, Plural(completed.NumRanges));
    APP_LogCompleted(acText.data());
  }
  return HasErrors() ? nullptr : pResult.release();
}

// The result area behind a connection, or null reported.
MEMAREA_PTR StartRead() {
  MEMAREA_PTR pResult(MEMAREA_Create());
  if (pResult == nullptr) {
    APP_LogError("Could not read target memory, out of memory.");
    return nullptr;
  }
  if (FLASH_Connect() != 0) {
    APP_LogError("Could not read target memory, not connected.");
    return nullptr;
  }
  return pResult;
}

// Ranges of all sectors that the area touches, or null reported.
MEMAREA_PTR CreateAffected(const Geometry& geometry, MEMAREA* pArea, u32* pNumSectors) {
  MEMAREA_PTR pRanges(FLASH_CreateSectorArea(pArea, pNumSectors));
  if (pRanges == nullptr) {
    APP_LogErrorf("Failed to allocate %lu bytes of memory", geometry.GetSectorSize());
  }
  return pRanges;
}

}  // namespace

// Whole words, whatever the span asks for.
void FLASH_ReadInto(MEMAREA* pDest, u64 FirstAddr, u64 LastAddr, PROGRESS_INFO* pProgress) {
  const bool isSkipping = SETUP_GetSkipBlankAreas() != 0;
  u64 addr = FirstAddr & ~kAlignMask;
  const u64 last = LastAddr | kAlignMask;
  while (addr <= last && APP_IsOperationAlive() != 0) {
    const u64 numBytes = std::min(last - addr, kMaxBlock - 1) + 1;
    if (ReadBlock(pDest, addr, numBytes, isSkipping) != 0) {
      break;
    }
    PROGRESS_AddValue(pProgress, static_cast<u32>(numBytes));
    addr += numBytes;
    if (addr == 0) {
      break;  // past the last address there is
    }
  }
}

void FLASH_ReadRanges(MEMAREA* pRanges, MEMAREA* pDest, PROGRESS_INFO* pProgress) {
  const MEMAREA_PTR pChip(pRanges == nullptr ? FLASH_CreateSectorArea(nullptr, nullptr) : nullptr);
  MEMAREA* pList = pRanges != nullptr ? pRanges : pChip.get();
  SetReadRange(pProgress, MEMAREA_GetNumBytes(pList));
  const u32 numRanges = MEMAREA_GetNumRanges(pList);
  for (u32 i = 0; i < numRanges && APP_IsOperationAlive() != 0; ++i) {
    u64 addr = 0;
    u64 numBytes = 0;
    MEMAREA_GetRange(pList, i, &addr, &numBytes);
    const u64 last = addr + numBytes - 1;
    std::array<char, 128> acText{};
    UTIL_snprintf64(acText.data(), acText.size(), "Range %d/%d, 0x%lX - 0x%lX", i + 1, numRanges,
                    addr, last);
    PROGRESS_SetSubText(pProgress, acText.data());
    FLASH_ReadInto(pDest, addr, last, pProgress);
  }
}

MEMAREA* FLASH_ReadChip() {
  Operation op("Reading entire flash chip ...");
  MEMAREA_PTR pResult = StartRead();
  if (pResult == nullptr) {
    return nullptr;
  }
  const Geometry geometry = GEOMETRY_Get();
  const u32 numRanges = FLASH_GetNumRanges();
  APP_LogInfof("%d sector%s, %d range%s%s", geometry.NumSectors, Plural(geometry.NumSectors),
               numRanges, Plural(numRanges), FLASH_FormatRanges(nullptr).c_str());
  PROGRESS_INFO* pProgress = op.StartProgress("Reading target memory ...");
  FLASH_ReadRanges(nullptr, pResult.get(), pProgress);
  return FinishRead(op, std::move(pResult), {geometry.GetTotalSize(), numRanges});
}

// Where the chip ends is known for sure once it is connected. Behind its end it delivers its start
// again, which would pass for data.
MEMAREA* FLASH_ReadSpan(u64 FirstAddr, u64 LastAddr) {
  Operation op("Reading target memory (0x%.8lX - 0x%.8lX) ...", FirstAddr, LastAddr);
  MEMAREA_PTR pResult;
  bool isOutside = LastAddr > 0xFFFFFFFF || FirstAddr > LastAddr;
  if (!isOutside) {
    pResult = StartRead();
    const u64 size = FLASH_GetTotalSize();
    isOutside = pResult != nullptr && size != 0 && LastAddr >= size;
  }
  if (isOutside) {
    APP_LogErrorf(
        "Could not read target memory, address range 0x%lX - 0x%lX is outside of the flash chip.",
        FirstAddr, LastAddr);
  }
  if (isOutside || pResult == nullptr) {
    return nullptr;
  }
  PROGRESS_INFO* pProgress = op.StartProgress("Reading target memory ...");
  SetReadRange(pProgress, LastAddr - FirstAddr + 1);
  std::array<char, 64> acText{};
  UTIL_snprintf64(acText.data(), acText.size(), "Range 0x%lX - 0x%lX", FirstAddr, LastAddr);
  PROGRESS_SetSubText(pProgress, acText.data());
  FLASH_ReadInto(pResult.get(), FirstAddr, LastAddr, pProgress);
  const CompletedText completed = {MEMAREA_GetNumBytes(pResult.get()),
                                   MEMAREA_GetNumRanges(pResult.get())};
  return FinishRead(op, std::move(pResult), completed);
}

MEMAREA* FLASH_ReadAffected(MEMAREA* pArea) {
  Operation op("Reading affected sectors ...");
  MEMAREA_PTR pResult = StartRead();
  if (pResult == nullptr) {
    return nullptr;
  }
  const Geometry geometry = GEOMETRY_Get();
  u32 numSectors = 0;
  const MEMAREA_PTR pRanges = CreateAffected(geometry, pArea, &numSectors);
  if (pRanges == nullptr) {
    return nullptr;
  }
  const u32 numRanges = MEMAREA_GetNumRanges(pRanges.get());
  APP_LogInfof("%d of %d sectors affected, %d range%s%s", numSectors, geometry.NumSectors,
               numRanges, Plural(numRanges), FLASH_FormatRanges(pRanges.get()).c_str());
  PROGRESS_INFO* pProgress = op.StartProgress("Reading target memory ...");
  FLASH_ReadRanges(pRanges.get(), pResult.get(), pProgress);
  const CompletedText completed = {MEMAREA_GetNumBytes(pResult.get()),
                                   MEMAREA_GetNumRanges(pResult.get())};
  return FinishRead(op, std::move(pResult), completed);
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
