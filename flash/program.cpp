#include "flash/program.h"

#include <array>

#include "flash/erase.h"
#include "flash/link.h"
#include "flash/operation.h"
#include "flash/spi.h"
#include "flash/verify.h"
#include "project/settings.h"
#include "sys/util_format.h"

// Programming an image: checks before the chip is touched, then the walk in blocks of whole pages.
//
// The walk runs twice, first without data for the length of the progress. Both see the same blocks;
// that the second reached as far as the first is checked at the end, since an image that another
// thread holds locked reads as one that ends.

namespace {

constexpr u32 kBufferSize = 0x80000;
constexpr u64 kMaxBlock = 0x10000;
constexpr u32 kMaxPageShift = 16;  // a page has to fit into a block
constexpr u64 kMaxGap = 3;
constexpr u8 kFill = 0xFF;

constexpr char kQuestion[] =
    "The programming area is not completely empty.\n"
    "You can erase or overwrite the affected area.\n\n"
    "Do you want to erase the affected area before program ?";

// The walk over an image in blocks of whole pages, holes and padding filled.
class BlockWalk {
 public:
  BlockWalk(MEMAREA* pArea, u32 PageShift)
      : m_pArea(pArea),
        m_PageShift(PageShift),
        m_Addr(MEMAREA_GetMinAddr(pArea)),
        m_LastAddr(MEMAREA_GetMaxAddr(pArea)) {}

  // False at the end. pData may be null.
  bool Next(u8* pData) {
    if (m_IsAtEnd) {
      return false;
    }
    NumBytes = MEMAREA_GetData(m_pArea, m_Addr, m_LastAddr, kMaxGap, kFill, pData, nullptr, &Addr,
                               kMaxBlock, m_PageShift, m_PageShift);
    m_Addr = Addr + NumBytes;
    m_IsAtEnd = NumBytes == 0 || m_Addr < Addr || m_Addr > m_LastAddr;
    return NumBytes != 0;
  }

  u64 Addr = 0;
  u64 NumBytes = 0;

 private:
  MEMAREA* m_pArea;
  u32 m_PageShift;
  u64 m_Addr;
  u64 m_LastAddr;
  bool m_IsAtEnd = false;
};

u64 GetPaddedSize(MEMAREA* pArea, u32 PageShift) {
  u64 total = 0;
  for (BlockWalk walk(pArea, PageShift); walk.Next(nullptr);) {
    total += walk.NumBytes;
  }
  return total;
}

// Addresses show eight digits until one needs more.
void ShowRange(PROGRESS_INFO* pProgress, u64 First, u64 Last) {
  std::array<char, 128> acText{};
  UTIL_snprintf64(acText.data(), acText.size(),
                  Last > 0xFFFFFFFF ? "Programming range 0x%.16lX - 0x%.16lX"
                                    : "Programming range 0x%.8lX - 0x%.8lX",
                  First, Last);
  PROGRESS_SetSubText(pProgress, acText.data());
}

void LogCanceled(u64 Addr) {
  APP_LogErrorf(APP_ERROR(APP_CAUSE::Canceled).At(Addr),
                Addr > 0xFFFFFFFF ? "Programming canceled @ addr 0x%.16lX"
                                  : "Programming canceled @ addr 0x%.8lX",
                Addr);
}

// Waits for what fast mode has queued. isQueued: the library took the block. False: failed.
bool FinishFast(const FLASH_CHIP& chip, u32 addr, u32 numBytes, bool isQueued) {
  u32 failAddr = addr;
  const int result = FLASH_WaitFast(&failAddr, FLASH_GetFastTimeout(chip, numBytes));
  if (isQueued && result >= 0) {
    return true;
  }
  if (result == FLASH_WAIT_STOPPED || Operation::HasFailed()) {
    return false;
  }
  const u32 where = result < 0 ? failAddr : addr;
  const bool isProtected = FLASH_IsProtected(chip);
  APP_LogErrorf(APP_ERROR(isProtected ? APP_CAUSE::Protected : APP_CAUSE::ProgramFailed).At(where),
                "Programming failed @ address 0x%.8X%s", where, isProtected ? " (protected)" : "");
  return false;
}

// False: failed, reported, or cancelled.
bool ProgramBlock(const FLASH_CHIP& chip, u64 Addr, u64 NumBytes, const u8* pData) {
  const u32 numBytes = static_cast<u32>(NumBytes);
  if (!IsSendable(Addr, NumBytes)) {
    return SPI_CheckSpan(chip.Info, Addr, NumBytes) == 0;
  }
  const u32 addr = static_cast<u32>(Addr);
  if (!chip.HasFastMode) {
    return SPI_ProgramPages(chip, addr, numBytes, pData) >= 0;
  }
  const bool isQueued = FLASH_ProgramFast(chip, addr, numBytes, pData) >= 0;
  return FinishFast(chip, addr, numBytes, isQueued);
}

// The second pass: programs block by block.
void ProgramBlocks(const FLASH_CHIP& chip, MEMAREA* pArea, u8* pBuffer, PROGRESS_INFO* pProgress,
                   ByteProgress* pDone) {
  BlockWalk walk(pArea, chip.Info.PageSizeShift);
  u64 nextAddr = MEMAREA_GetMinAddr(pArea);
  while (!Operation::HasFailed()) {
    if (Operation::IsCanceled()) {
      LogCanceled(nextAddr);
      break;
    }
    if (!walk.Next(pBuffer)) {
      break;
    }
    pDone->Show();
    ShowRange(pProgress, walk.Addr, walk.Addr + walk.NumBytes - 1);
    if (!ProgramBlock(chip, walk.Addr, walk.NumBytes, pBuffer)) {
      continue;  // an error, or a cancel, which is looked at above
    }
    pDone->Add(walk.NumBytes);
    APP_Touched().NumProgrammed += walk.NumBytes;
    nextAddr = walk.Addr + walk.NumBytes;
  }
}

// All blocks, between the looks at the chip.
void ProgramImage(FLASH_CHIP* pChip, MEMAREA* pArea, u8* pBuffer, PROGRESS_INFO* pProgress,
                  ByteProgress* pDone) {
  LinkGuard guard(*pChip);
  if (LINK_PrepareWrite(pChip) != 0 || guard.Begin() != 0) {
    return;
  }
  PROGRESS_SetText(pProgress, "Programming in fast mode\n(With use of RAM)");
  ProgramBlocks(*pChip, pArea, pBuffer, pProgress, pDone);
  static_cast<void>(Operation::IsAlive() && guard.End() == 0);
}

// Steps between the connection and the report of the outcome.
void RunProgram(FLASH_CHIP* pChip, MEMAREA* pArea, Operation* pOp) {
  PROGRESS_INFO* pProgress = pOp->StartProgress("Programming ...");
  const u32 pageShift = pChip->Info.PageSizeShift;
  if (pageShift > kMaxPageShift) {
    APP_LogErrorf(APP_CAUSE::Project, "Page size of %lu bytes is not supported.",
                  pageShift < 64 ? u64{1} << pageShift : u64{0});
    return;
  }
  const std::unique_ptr<u8[]> pBuffer = AllocBuffer(kBufferSize);
  if (pBuffer == nullptr) {
    APP_LogErrorf(APP_CAUSE::OutOfMemory, "Failed to allocate %u bytes of memory", kBufferSize);
    return;
  }
  const u64 total = GetPaddedSize(pArea, pageShift);
  ByteProgress done(pProgress, total);
  if (total != 0) {
    ProgramImage(pChip, pArea, pBuffer.get(), pProgress, &done);
  }
  // An image that could not be read to its end looks like one that ends early.
  const bool isEmpty = MEMAREA_GetNumRanges(pArea) == 0;
  if (Operation::IsAlive() && (done.NumDone() != total || (total == 0 && !isEmpty))) {
    APP_LogError(APP_CAUSE::Internal, "The data could not be read to its end.");
  }
  if (!Operation::HasFailed()) {
    done.Show();
  }
}

// Checks before the chip is touched. The chip, or null when the operation has to end.
FLASH_CHIP* PrepareProgram(Operation* pOp, MEMAREA* pArea, bool SkipPrepare) {
  if (pArea == nullptr) {
    APP_LogError(APP_CAUSE::NoData, "Could not program target, no data file opened.");
    return nullptr;
  }
  FLASH_CHIP* pChip = pOp->Connect("Could not program target, not connected.");
  if (pChip == nullptr || FLASH_CheckFit(pArea) != 0 || Operation::HasFailed()) {
    return nullptr;
  }
  if (!SkipPrepare && pChip->IsNor() && FLASH_AskErase(pArea) == 1 && !Operation::HasFailed()) {
    FLASH_EraseForProgram(pArea);
  }
  return Operation::HasFailed() ? nullptr : pChip;
}

// An error hides a cancel, which was logged as one while blocks were left.
void ReportProgramEnd() {
  if (Operation::HasFailed()) {
    APP_LogError(Operation::IsCanceled() ? APP_CAUSE::Canceled : APP_CAUSE::ProgramFailed,
                 "Failed to program target.");
  } else if (Operation::IsCanceled()) {
    APP_LogError(APP_CAUSE::Canceled, "Programming canceled by user");
  } else {
    APP_LogCompleted("Target programmed successfully");
  }
}

}  // namespace

// Programming beyond the end would start over at the chip's beginning.
int FLASH_CheckFit(MEMAREA* pArea) {
  if (pArea == nullptr) {
    APP_LogError(APP_CAUSE::NoData, "Could not program target, no data file opened");
    return -1;
  }
  const i64 index = FLASH_IsSpanInChip(pArea, 0);
  if (index < 0) {
    return 0;
  }
  u64 addr = 0;
  u64 numBytes = 0;
  MEMAREA_GetRange(pArea, static_cast<u32>(index), &addr, &numBytes);
  APP_LogErrorf(APP_ERROR(APP_CAUSE::DoesNotFit).At(addr),
                "Program (0x%lX - 0x%lX) does not fit into flash chip.", addr, addr + numBytes - 1);
  return -1;
}

// The box offers to overwrite, but only erasing goes on: "No" is a refusal.
int FLASH_AskErase(MEMAREA* pArea) {
  if (SETUP_GetAutoBlankCheck() == 0) {
    return 0;
  }
  const MEMAREA_PTR pRead(FLASH_ReadAffected(pArea));
  if (pRead == nullptr) {
    APP_LogError(APP_CAUSE::ReadFailed, "Could not create memarea.");
    return -1;
  }
  if (FLASH_IsBlank(pRead.get()) != 0) {
    return 0;
  }
  if (APP_MsgBox(kQuestion, "Yes", "No", 1, APP_ICON_QUESTION, 1) == 0) {
    return 1;
  }
  APP_LogError(APP_CAUSE::NotBlank, "Programming canceled by user");
  return -1;
}

void FLASH_Program(MEMAREA* pArea, bool SkipPrepare) {
  const u32 numRanges = MEMAREA_GetNumRanges(pArea);
  Operation op("Programming target (%lu bytes, %d range%s) ...", MEMAREA_GetNumBytes(pArea),
               numRanges, Plural(numRanges));
  if (FLASH_CHIP* pChip = PrepareProgram(&op, pArea, SkipPrepare)) {
    RunProgram(pChip, pArea, &op);
  }
  ReportProgramEnd();
}

void FLASH_ProgramVerify(MEMAREA* pArea) {
  const u32 numRanges = MEMAREA_GetNumRanges(pArea);
  Operation op("Programming and verifying target (%lu bytes, %u range%s) ...",
               MEMAREA_GetNumBytes(pArea), numRanges, Plural(numRanges));
  if (pArea == nullptr) {
    APP_LogError(APP_CAUSE::NoData, "Could not program and verify target, no data file opened.");
    return;
  }
  FLASH_CHIP* pChip = op.Connect("Could not program and verify target, not connected.");
  if (pChip == nullptr || FLASH_CheckFit(pArea) != 0) {
    return;
  }
  if (!Operation::HasFailed() && pChip->IsNor() && FLASH_AskErase(pArea) == 1 &&
      !Operation::HasFailed()) {
    FLASH_EraseForProgram(pArea, pArea);
  }
  if (!Operation::HasFailed()) {
    FLASH_Program(pArea, true);
  }
  if (!Operation::HasFailed()) {
    FLASH_Verify(pArea);
  }
  if (Operation::HasFailed()) {
    APP_LogError(APP_CAUSE::ProgramFailed, "Failed to program and verify target.");
  } else {
    APP_LogCompleted("Target programmed and verified successfully.");
  }
}
