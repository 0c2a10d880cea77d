#include "flash/program.h"

#include <array>

#include "flash/erase.h"
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
  APP_LogErrorf(Addr > 0xFFFFFFFF ? "Programming canceled @ addr 0x%.16lX"
                                  : "Programming canceled @ addr 0x%.8lX",
                Addr);
}

// False: failed. The error of a refused fast mode call is told once the queue is empty.
bool ProgramBlock(u64 Addr, u64 NumBytes, const u8* pData) {
  const u32 numBytes = static_cast<u32>(NumBytes);
  if (!IsSendable(Addr, NumBytes)) {
    return SPI_CheckSpan(SPI_Info(), Addr, NumBytes) == 0;
  }
  const u32 addr = static_cast<u32>(Addr);
  return FLASH_State().FastMode != 0 ? FLASH_ProgramFast(addr, numBytes, pData) >= 0
                                     : SPI_ProgramPages(addr, numBytes, pData) >= 0;
}

// Waits for what fast mode has queued. pFailed: address of a block that the library refused, or
// null.
void FinishFast(const u64* pFailed) {
  u32 failAddr = 0;
  const int result = FLASH_WaitFast(&failAddr);
  if (result < 0 && result != FLASH_WAIT_STOPPED) {
    APP_LogErrorf("Programming failed @ address 0x%.8X", failAddr);
  } else if (pFailed != nullptr && !HasErrors()) {
    APP_LogErrorf("Programming failed @ address 0x%.8X", static_cast<u32>(*pFailed));
  }
}

// The second pass: programs block by block.
void ProgramBlocks(MEMAREA* pArea, u8* pBuffer, PROGRESS_INFO* pProgress, ByteProgress* pDone) {
  BlockWalk walk(pArea, SPI_Info().PageSizeShift);
  bool isOk = true;
  u64 nextAddr = MEMAREA_GetMinAddr(pArea);
  while (isOk && !HasErrors()) {
    if (PROGRESS_IsCanceled(pProgress) == 1) {
      LogCanceled(nextAddr);
      break;
    }
    if (!walk.Next(pBuffer)) {
      break;
    }
    pDone->Show();
    ShowRange(pProgress, walk.Addr, walk.Addr + walk.NumBytes - 1);
    isOk = ProgramBlock(walk.Addr, walk.NumBytes, pBuffer);
    if (isOk) {
      pDone->Add(walk.NumBytes);
    }
    nextAddr = walk.Addr + walk.NumBytes;
  }
  if (FLASH_State().FastMode != 0) {
    FinishFast(isOk ? nullptr : &walk.Addr);
  }
}

// Steps between the connection and the report of the outcome.
void RunProgram(MEMAREA* pArea, Operation* pOp) {
  PROGRESS_INFO* pProgress = pOp->StartProgress("Programming ...");
  SPI_RefreshInfo();
  const u32 pageShift = SPI_Info().PageSizeShift;
  if (pageShift > kMaxPageShift) {
    APP_LogErrorf("Page size of %lu bytes is not supported.",
                  pageShift < 64 ? u64{1} << pageShift : u64{0});
    return;
  }
  const std::unique_ptr<u8[]> pBuffer = AllocBuffer(kBufferSize);
  if (pBuffer == nullptr) {
    APP_LogErrorf("Failed to allocate %d bytes of memory", kBufferSize);
    return;
  }
  const u64 total = GetPaddedSize(pArea, pageShift);
  ByteProgress done(pProgress, total);
  if (total != 0) {
    FLASH_RemoveBlockProtection();
    PROGRESS_SetText(pProgress, "Programming in fast mode\n(With use of RAM)");
    ProgramBlocks(pArea, pBuffer.get(), pProgress, &done);
  }
  // An image that could not be read to its end looks like one that ends early.
  const bool isEmpty = MEMAREA_GetNumRanges(pArea) == 0;
  if (!HasErrors() && !pOp->IsCanceled() && (done.NumDone() != total || (total == 0 && !isEmpty))) {
    APP_LogError("The data could not be read to its end.");
  }
  if (!HasErrors()) {
    done.Show();
  }
}

// Checks before the chip is touched. False when the operation has to end.
bool PrepareProgram(MEMAREA* pArea, bool SkipPrepare) {
  if (pArea == nullptr) {
    APP_LogError("Could not program target, no data file opened.");
    return false;
  }
  if (FLASH_EnsureConnected() != 0) {
    APP_LogError("Could not program target, not connected.");
    return false;
  }
  if (FLASH_CheckFit(pArea) != 0 || HasErrors()) {
    return false;
  }
  SPI_RefreshInfo();
  if (!SkipPrepare && SPI_Info().FlashType == FLASH_TYPE_NOR) {
    if (FLASH_AskErase(pArea) == 1 && !HasErrors()) {
      FLASH_EraseForProgram(pArea);
    }
  }
  if (HasErrors()) {
    return false;
  }
  // With AutoDisconnect the steps before have ended the connection.
  if (FLASH_Connect() != 0) {
    APP_LogError("Could not program target, not connected.");
    return false;
  }
  return !HasErrors();
}

// An error hides a cancel, which was logged as one while blocks were left.
void ReportProgramEnd(const Operation& op) {
  if (HasErrors()) {
    APP_LogError("Failed to program target.");
  } else if (op.IsCanceled()) {
    APP_LogError("Programming canceled by user");
  } else {
    APP_LogCompleted("Target programmed successfully");
  }
}

// False when the operation ends without a further text.
bool PrepareProgramVerify(MEMAREA* pArea) {
  if (pArea == nullptr) {
    APP_LogError("Could not program and verify target, no data file opened.");
    return false;
  }
  if (FLASH_EnsureConnected() != 0) {
    APP_LogError("Could not program and verify target, not connected.");
    return false;
  }
  return FLASH_CheckFit(pArea) == 0;
}

}  // namespace

// Programming beyond the end would start over at the chip's beginning.
int FLASH_CheckFit(MEMAREA* pArea) {
  if (pArea == nullptr) {
    APP_LogError("Could not program target, no data file opened");
    return -1;
  }
  const i64 index = FLASH_IsSpanInChip(pArea, 0);
  if (index < 0) {
    return 0;
  }
  u64 addr = 0;
  u64 numBytes = 0;
  MEMAREA_GetRange(pArea, static_cast<u32>(index), &addr, &numBytes);
  APP_LogErrorf("Program (0x%lX - 0x%lX) does not fit into flash chip.", addr, addr + numBytes - 1);
  return -1;
}

// The box offers to overwrite, but only erasing goes on: "No" is a refusal.
int FLASH_AskErase(MEMAREA* pArea) {
  if (SETUP_GetAutoBlankCheck() == 0) {
    return 0;
  }
  const MEMAREA_PTR pRead(FLASH_ReadAffected(pArea));
  if (pRead == nullptr) {
    APP_LogError("Could not create memarea.");
    return -1;
  }
  if (FLASH_IsBlank(pRead.get()) != 0) {
    return 0;
  }
  if (APP_MsgBox(kQuestion, "Yes", "No", 1, APP_ICON_QUESTION, 1) == 0) {
    return 1;
  }
  APP_LogError("Programming canceled by user");
  return -1;
}

void FLASH_Program(MEMAREA* pArea, bool SkipPrepare) {
  const u32 numRanges = MEMAREA_GetNumRanges(pArea);
  Operation op("Programming target (%lu bytes, %d range%s) ...", MEMAREA_GetNumBytes(pArea),
               numRanges, Plural(numRanges));
  if (PrepareProgram(pArea, SkipPrepare)) {
    RunProgram(pArea, &op);
  }
  ReportProgramEnd(op);
}

void FLASH_ProgramVerify(MEMAREA* pArea) {
  const u32 numRanges = MEMAREA_GetNumRanges(pArea);
  Operation op("Programming and verifying target (%lu bytes, %d range%s) ...",
               MEMAREA_GetNumBytes(pArea), numRanges, Plural(numRanges));
  if (!PrepareProgramVerify(pArea)) {
    return;
  }
  SPI_RefreshInfo();
  if (!HasErrors() && SPI_Info().FlashType == FLASH_TYPE_NOR && FLASH_AskErase(pArea) == 1 &&
      !HasErrors()) {
    FLASH_EraseForProgram(pArea);
  }
  if (!HasErrors()) {
    FLASH_Program(pArea, true);
  }
  if (!HasErrors()) {
    FLASH_Verify(pArea);
  }
  if (HasErrors()) {
    APP_LogError("Failed to program and verify target.");
  } else {
    APP_LogCompleted("Target programmed and verified successfully.");
  }
}
