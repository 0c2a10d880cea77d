#include <algorithm>
#include <array>
#include <cstring>
#include <memory>
#include <vector>

#include "app/engine/log.h"
#include "flash/chip.h"
#include "flash/link.h"
#include "flash/spi.h"
#include "project/project.h"

// Page programming: pages become records, records become lists of up to 32 pages, and each list
// runs in one call of the library, the wait for each page included.
//
// A list proves itself, at the price of a few bytes in 8 KiB:
//
//   status read     the write enable latch that the work before has left set is still there: the
//                   chip has not lost its power, nor the 4-byte mode that goes with it
//   pages           each with its poll; the last status byte of each tells whether it was
//                   carried out
//   ID read         the same chip answers, and not a floating line
//   write enable    the latch for the next look
//
// Parts without a latch or an ID go without what they lack.

namespace {

constexpr u32 kMaxPagesPerBatch = 32;
constexpr u32 kMaxBytesPerBatch = 8192;
constexpr u32 kMaxPageShift = 16;
constexpr u32 kPollTimeout = 100000;  // in the library's unit
constexpr u32 kSinglePollParaSize = 16;
constexpr u32 kQuadPollParaSize = 64;
constexpr u32 kMaxRecordsPerPage = 7;
constexpr u32 kNumHeadRecords = 2;
constexpr u32 kNumTailRecords = 3;
constexpr u32 kMaxRecords =
    kNumHeadRecords + kMaxPagesPerBatch * kMaxRecordsPerPage + kNumTailRecords;
constexpr u8 kCmdReadStatus = 0x05;
constexpr u8 kStatusLatch = 0x02;
constexpr u8 kNoAnswer = 0xFF;

// The page that the chip refused; what stands before it is programmed.
int ReportError(APP_CAUSE Cause, u32 Addr, const char* sReason) {
  APP_LogErrorf(APP_ERROR(Cause).At(Addr), "Programming failed @ address 0x%.8X (%s)", Addr,
                sReason);
  return -1;
}

// Each byte equals the one behind it, and the first is blank: one comparison at the speed of
// memory.
bool IsBlankPage(const u8* pPage, u32 PageSize) {
  return pPage[0] == 0xFF && std::memcmp(pPage, pPage + 1, PageSize - 1) == 0;
}

// The probe waits for each page by itself, without a round trip per status byte.
SPI_POLL_PARA MakePollPara(const SPI_FLASH_INFO& info) {
  const u32 pos = info.StatusBitPos & 7;
  return {0, 1u << pos, (info.StatusIsReadyBit != 0 ? 1u : 0u) << pos, kPollTimeout};
}

// The fault of one record, or null.
// A record that sends has to have sent all of it.
struct RecordFault {
  APP_CAUSE Cause = APP_CAUSE::None;
  const char* sReason = nullptr;
};
RecordFault FindRecordFault(const SPI_CMD_DESC& desc) {
  if (desc.Type == SPI_TYPE_POLL) {
    return desc.Result < 0 ? RecordFault{APP_CAUSE::Timeout, "timeout occurred"} : RecordFault{};
  }
  if (desc.Result == VORTIC_ERR_NO_MEMORY) {
    return {APP_CAUSE::OutOfMemory, "not enough memory"};
  }
  const u32 expected = desc.pWrite != nullptr ? (desc.NumBits + 7) / 8 : 0;
  return desc.Result == static_cast<i32>(expected)
             ? RecordFault{}
             : RecordFault{APP_CAUSE::ProgramFailed, "program error"};
}

// The list of one batch. What differs between one and four lanes is how a page becomes records.
class BatchList {
 public:
  BatchList(const FLASH_CHIP& Chip, u32 PageSize)
      : m_Chip(Chip), m_PageSize(PageSize), m_Poll(MakePollPara(Chip.Info)) {
    Clear();
  }
  virtual ~BatchList() = default;
  BatchList(const BatchList&) = delete;
  BatchList& operator=(const BatchList&) = delete;

  u32 NumPages() const { return m_NumPages; }

  // The page stays the caller's until Run.
  void Add(u32 Addr, const u8* pPage) {
    m_aAddr[m_NumPages] = Addr;
    AddPage(m_NumPages++, Addr, pPage);
  }

  // The pages of a batch succeed or fail as one call; the records then tell which page was the
  // first to fail. 0, or -1 reported. The list is empty afterwards.
  int Run() {
    const u32 numBehindPages = m_NumRecords;
    AddTail();
    const int result = SPI_RunList(m_aList.data(), m_NumRecords);
    const int outcome = result < 0 ? ReportListFault(result) : Check(numBehindPages);
    Clear();
    return outcome;
  }

 protected:
  virtual void AddPage(u32 Index, u32 Addr, const u8* pPage) = 0;

  const SPI_FLASH_INFO& Info() const { return m_Chip.Info; }
  u32 PageSize() const { return m_PageSize; }

  void AddWrite(const u8* pData, u32 NumBytes, u32 Flags) {
    AddTransfer(pData, nullptr, NumBytes, Flags);
  }
  void AddWriteEnable() {
    AddWrite(&Info().CmdWriteEnable, 1, SPI_FLAGS_LIST_FRAME);
    if (Info().SendInitCommands != 0) {
      AddWrite(&Info().CmdInitPageProg, 1, SPI_FLAGS_LIST_FRAME);
    }
  }
  void AddPoll(u32 Index, u32 ParaSize) {
    AddWrite(&Info().CmdReadStatus, 1, SPI_FLAGS_LIST_BEGIN);
    m_aStatus[Index] = kNoAnswer;
    SPI_BuildDesc(&m_aList[m_NumRecords++], SPI_TYPE_POLL, &m_Poll, ParaSize, nullptr,
                  &m_aStatus[Index], 8, SPI_FLAGS_END);
  }

 private:
  // Results start as failed, so that what a library leaves alone can't pass. A read's result it may
  // leave alone.
  void AddTransfer(const u8* pWrite, u8* pRead, u32 NumBytes, u32 Flags) {
    SPI_CMD_DESC* pDesc = &m_aList[m_NumRecords++];
    SPI_BuildDesc(pDesc, SPI_TYPE_TRANSFER, nullptr, 0, pWrite, pRead, NumBytes * 8, Flags);
    pDesc->Result = pWrite != nullptr ? -1 : 0;
  }

  void Clear() {
    m_NumPages = 0;
    m_NumRecords = 0;
    if (m_Chip.HasWriteLatch) {
      m_HeadStatus = 0;
      AddWrite(&kCmdReadStatus, 1, SPI_FLAGS_LIST_BEGIN);
      AddTransfer(nullptr, &m_HeadStatus, 1, SPI_FLAGS_END);
    }
    m_NumHead = m_NumRecords;
  }

  void AddTail() {
    if (m_Chip.HasId) {
      m_aId.fill(0);
      AddWrite(&Info().CmdReadID, 1, SPI_FLAGS_LIST_BEGIN);
      AddTransfer(nullptr, m_aId.data(), SPI_ID_BYTES_VERIFY, SPI_FLAGS_END);
    }
    if (m_Chip.HasWriteLatch) {
      AddWrite(&Info().CmdWriteEnable, 1, SPI_FLAGS_LIST_FRAME);
    }
  }

  int ReportListFault(int Result) const {
    switch (Result) {
      case SPI_NO_LIST:
        return ReportError(APP_CAUSE::DriverLibrary, m_aAddr[0], "API function not found");
      case VORTIC_ERR_NO_MEMORY:
        return ReportError(APP_CAUSE::OutOfMemory, m_aAddr[0], "not enough memory");
      case VORTIC_ERR_UNSUPPORTED:
        return ReportError(APP_CAUSE::DriverLibrary, m_aAddr[0], "feature not supported");
      default:
        return ReportError(APP_CAUSE::DriverLibrary, m_aAddr[0], "unspecified error");
    }
  }

  int Check(u32 NumBehindPages) const {
    const u32 recordsPerPage = (NumBehindPages - m_NumHead) / m_NumPages;
    for (u32 i = 0; i < m_NumRecords; ++i) {
      const RecordFault fault = FindRecordFault(m_aList[i]);
      if (fault.sReason != nullptr) {
        const u32 page = i < m_NumHead ? 0 : (i - m_NumHead) / recordsPerPage;
        return ReportError(fault.Cause, m_aAddr[std::min(page, m_NumPages - 1)], fault.sReason);
      }
    }
    if (m_Chip.HasWriteLatch && ((m_HeadStatus & kStatusLatch) == 0 || m_HeadStatus == kNoAnswer)) {
      return ReportError(APP_CAUSE::NoTargetVoltage, m_aAddr[0],
                         "the chip was reset or lost its power");
    }
    for (u32 i = 0; i < m_NumPages; ++i) {
      if (const char* sFault = LINK_FindStatusFault(m_Chip, m_aStatus[i])) {
        const bool isProtected = std::strcmp(sFault, "protected") == 0;
        return ReportError(isProtected ? APP_CAUSE::Protected : APP_CAUSE::ProgramFailed,
                           m_aAddr[i], sFault);
      }
    }
    return CheckId();
  }

  int CheckId() const {
    if (!m_Chip.HasId) {
      return 0;
    }
    std::array<u8, SPI_ID_BYTES_VERIFY> aStripped{};
    SPI_StripIdBytes(m_aId.data(), SPI_ID_BYTES_VERIFY, aStripped.data(), SPI_ID_BYTES_VERIFY);
    return std::equal(m_Chip.abId.begin(), m_Chip.abId.end(), aStripped.begin())
               ? 0
               : ReportError(APP_CAUSE::NoChip, m_aAddr[0], "the chip does not answer any more");
  }

  const FLASH_CHIP& m_Chip;
  const u32 m_PageSize;
  const SPI_POLL_PARA m_Poll;
  std::array<SPI_CMD_DESC, kMaxRecords> m_aList{};
  std::array<u32, kMaxPagesPerBatch> m_aAddr{};
  std::array<u8, kMaxPagesPerBatch> m_aStatus{};
  std::array<u8, SPI_ID_BYTES_VERIFY> m_aId{};
  u8 m_HeadStatus = 0;
  u32 m_NumPages = 0;
  u32 m_NumRecords = 0;
  u32 m_NumHead = 0;
};

// Instruction, address and data in one buffer, as one record.
class SingleList : public BatchList {
 public:
  SingleList(const FLASH_CHIP& Chip, u32 PageSize, u32 NumPages)
      : BatchList(Chip, PageSize),
        m_FrameSize(SPI_GetNumAddrBytes(Chip.Info) + PageSize + 1),
        m_Frames(static_cast<std::size_t>(NumPages) * m_FrameSize) {}

 private:
  void AddPage(u32 Index, u32 Addr, const u8* pPage) override {
    u8* pFrame = &m_Frames[static_cast<std::size_t>(Index) * m_FrameSize];
    const u32 numAddrBytes = SPI_GetNumAddrBytes(Info());
    pFrame[0] = Info().CmdWritePage;
    SPI_StoreAddr(pFrame + 1, Addr, numAddrBytes);
    std::memcpy(pFrame + 1 + numAddrBytes, pPage, PageSize());
    AddWriteEnable();
    AddWrite(pFrame, m_FrameSize, SPI_FLAGS_LIST_FRAME);
    AddPoll(Index, kSinglePollParaSize);
  }

  const u32 m_FrameSize;
  std::vector<u8> m_Frames;
};

// Instruction, address and data have lanes of their own, so a page is a frame of three records; the
// data goes out straight from the caller's block, on four lanes.
class QuadList : public BatchList {
 public:
  using BatchList::BatchList;

 private:
  void AddPage(u32 Index, u32 Addr, const u8* pPage) override {
    const u32 numAddrBytes = SPI_GetNumAddrBytes(Info());
    u8* pAddr = &m_aAddrBytes[Index * std::size_t{4}];
    SPI_StoreAddr(pAddr, Addr, numAddrBytes);
    AddWriteEnable();
    AddWrite(&Info().CmdWritePageQuad, 1,
             Info().WrCmdTransferMode == SPI_LANES_QUAD ? SPI_FLAGS_LIST_BEGIN_QUAD
                                                        : SPI_FLAGS_LIST_BEGIN);
    AddWrite(pAddr, numAddrBytes,
             Info().WrAddrTransferMode == SPI_LANES_QUAD ? SPI_FLAGS_ADDR_QUAD : SPI_FLAGS_ADDR);
    AddWrite(pPage, PageSize(), SPI_FLAGS_DATA_QUAD);
    AddPoll(Index, kQuadPollParaSize);
  }

  std::array<u8, kMaxPagesPerBatch * 4> m_aAddrBytes{};
};

// The frame that both variants share.
i64 ProgramPages(BatchList& List, u32 PageSize, u32 PagesPerBatch, bool SkipBlank, u32 Addr,
                 u32 NumBytes, const u8* pData) {
  i64 numProgrammed = 0;
  for (u32 pos = 0; pos < NumBytes; pos += PageSize) {
    if (!SkipBlank || !IsBlankPage(pData + pos, PageSize)) {
      List.Add(Addr + pos, pData + pos);
      numProgrammed += PageSize;
    }
    const bool isLast = NumBytes - pos <= PageSize;
    if (List.NumPages() != 0 && (List.NumPages() == PagesPerBatch || isLast) && List.Run() != 0) {
      return -1;
    }
  }
  return numProgrammed;
}

// Bounded by the probe's buffers. A page above the bound goes alone.
u32 GetPagesPerBatch(u32 PageSize) {
  return std::clamp<u32>(kMaxBytesPerBatch / PageSize, 1, kMaxPagesPerBatch);
}

// An erased NOR page reads 0xFF, so programming that changes nothing. FRAM and EEPROM have no
// erase: there 0xFF is data like any other.
bool IsSkippingBlank(const FLASH_CHIP& Chip) {
  PROJ_PERFORMANCE performance{};
  PROJECT_GetPerformance(&performance);
  return Chip.IsNor() && performance.DisableSkipBlankDataOnProgram == 0;
}

// A part of a page would be programmed as nothing and pass for done.
int CheckBlock(const SPI_FLASH_INFO& info, u32 Addr, u32 NumBytes) {
  if (info.PageSizeShift > kMaxPageShift) {
    APP_LogErrorf(APP_CAUSE::Project, "Page size of %lu bytes is not supported.",
                  info.PageSizeShift < 64 ? u64{1} << info.PageSizeShift : u64{0});
    return -1;
  }
  if ((NumBytes & ((1u << info.PageSizeShift) - 1)) != 0) {
    return ReportError(APP_CAUSE::Internal, Addr, "program error");
  }
  return NumBytes == 0 ? 0 : SPI_CheckSpan(info, Addr, NumBytes);
}

}  // namespace

i64 SPI_ProgramPagesSingle(const FLASH_CHIP& Chip, u32 Addr, u32 NumBytes, const u8* pData) {
  if (CheckBlock(Chip.Info, Addr, NumBytes) != 0) {
    return -1;
  }
  const u32 pageSize = 1u << Chip.Info.PageSizeShift;
  const u32 pagesPerBatch = GetPagesPerBatch(pageSize);
  SingleList list(Chip, pageSize, pagesPerBatch);
  return ProgramPages(list, pageSize, pagesPerBatch, IsSkippingBlank(Chip), Addr, NumBytes, pData);
}

i64 SPI_ProgramPagesQuad(const FLASH_CHIP& Chip, u32 Addr, u32 NumBytes, const u8* pData) {
  if (CheckBlock(Chip.Info, Addr, NumBytes) != 0) {
    return -1;
  }
  const u32 pageSize = 1u << Chip.Info.PageSizeShift;
  QuadList list(Chip, pageSize);
  return ProgramPages(list, pageSize, GetPagesPerBatch(pageSize), IsSkippingBlank(Chip), Addr,
                      NumBytes, pData);
}
