#include <algorithm>
#include <array>
#include <cstring>
#include <memory>
#include <new>

#include "app/engine/log.h"
#include "flash/spi.h"
#include "project/project.h"

// Page programming: pages become records, records become lists of up to 32 pages, and each list
// runs in one call of the library, the wait for each page included.

namespace {

constexpr u32 kMaxPagesPerBatch = 32;
constexpr u32 kMaxBytesPerBatch = 8192;
constexpr u32 kMaxPageShift = 16;
constexpr u32 kPollTimeout = 100000;  // in the library's unit
constexpr u32 kSinglePollParaSize = 16;
constexpr u32 kQuadPollParaSize = 64;

// The page that the chip refused; what stands before it is programmed.
int ReportError(u32 Addr, const char* sCause) {
  APP_LogErrorf("Programming failed @ address 0x%.8X (%s)", Addr, sCause);
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

// Pages of one list and where they go. Blank pages are left out, so the addresses may have gaps.
struct Batch {
  std::array<u32, kMaxPagesPerBatch> aAddr;
  u32 NumPages = 0;
};

// The fault of one record, or null.
// A record that sends has to have sent all of it.
const char* FindRecordFault(const SPI_CMD_DESC& desc) {
  if (desc.Type == SPI_TYPE_POLL) {
    return desc.Result < 0 ? "timeout occurred" : nullptr;
  }
  if (desc.Result == VORTIC_ERR_NO_MEMORY) {
    return "not enough memory";
  }
  const u32 expected = desc.pWrite != nullptr ? (desc.NumBits + 7) / 8 : 0;
  return desc.Result == static_cast<i32>(expected) ? nullptr : "program error";
}

// The pages of a batch succeed or fail as one call; the records then tell which page was the first
// to fail.
int RunBatch(SPI_CMD_DESC* pList, u32 RecordsPerPage, const Batch& batch) {
  const u32 first = batch.aAddr[0];
  const int result = SPI_RunList(pList, batch.NumPages * RecordsPerPage);
  switch (result) {
    case SPI_NO_LIST:
      return ReportError(first, "API function not found");
    case VORTIC_ERR_NO_MEMORY:
      return ReportError(first, "not enough memory");
    case VORTIC_ERR_UNSUPPORTED:
      return ReportError(first, "feature not supported");
    default:
      break;
  }
  if (result < 0) {
    return ReportError(first, "unspecified error");
  }
  for (u32 i = 0; i < batch.NumPages * RecordsPerPage; ++i) {
    if (const char* sFault = FindRecordFault(pList[i])) {
      return ReportError(batch.aAddr[i / RecordsPerPage], sFault);
    }
  }
  return 0;
}

// What both variants are made of: records of one page at its place in the list.
class PageRecords {
 public:
  PageRecords(const SPI_FLASH_INFO& info, u32 PageSize)
      : m_Info(info), m_PageSize(PageSize), m_Poll(MakePollPara(info)) {}
  virtual ~PageRecords() = default;
  PageRecords(const PageRecords&) = delete;
  PageRecords& operator=(const PageRecords&) = delete;

  virtual bool IsValid() const { return true; }
  virtual SPI_CMD_DESC* GetList() = 0;
  virtual u32 GetRecordsPerPage() const = 0;
  virtual void SetPage(u32 Index, u32 Addr, const u8* pPage) = 0;

 protected:
  const SPI_FLASH_INFO& m_Info;
  const u32 m_PageSize;
  const SPI_POLL_PARA m_Poll;
  u8 m_Status = 0;
};

// Built once; per page only instruction, address and data are copied in, and the results are
// cleared, so that what a library leaves alone can't pass for the page before.
class SingleRecords : public PageRecords {
 public:
  SingleRecords(const SPI_FLASH_INFO& info, u32 PageSize, u32 NumPages)
      : PageRecords(info, PageSize),
        m_FrameSize(SPI_GetNumAddrBytes(info) + PageSize + 1),
        m_pList(new (std::nothrow) SPI_CMD_DESC[NumPages * GetRecordsPerPage()]{}),
        m_pFrames(new (std::nothrow) u8[NumPages * m_FrameSize]) {
    for (u32 i = 0; IsValid() && i < NumPages; ++i) {
      BuildPage(i);
    }
  }
  bool IsValid() const override { return m_pList != nullptr && m_pFrames != nullptr; }
  SPI_CMD_DESC* GetList() override { return m_pList.get(); }
  u32 GetRecordsPerPage() const override { return m_Info.SendInitCommands != 0 ? 5 : 4; }

  void SetPage(u32 Index, u32 Addr, const u8* pPage) override {
    u8* pFrame = &m_pFrames[Index * m_FrameSize];
    const u32 numAddrBytes = SPI_GetNumAddrBytes(m_Info);
    pFrame[0] = m_Info.CmdWritePage;
    SPI_StoreAddr(pFrame + 1, Addr, numAddrBytes);
    std::memcpy(pFrame + 1 + numAddrBytes, pPage, m_PageSize);
    SPI_CMD_DESC* p = &m_pList[Index * GetRecordsPerPage()];
    std::for_each(p, p + GetRecordsPerPage(), [](SPI_CMD_DESC& desc) { desc.Result = 0; });
  }

 private:
  void BuildPage(u32 Index) {
    SPI_CMD_DESC* p = &m_pList[Index * GetRecordsPerPage()];
    SetWrite(p++, &m_Info.CmdWriteEnable, 1, SPI_FLAGS_LIST_FRAME);
    if (m_Info.SendInitCommands != 0) {
      SetWrite(p++, &m_Info.CmdInitPageProg, 1, SPI_FLAGS_LIST_FRAME);
    }
    SetWrite(p++, &m_pFrames[Index * m_FrameSize], m_FrameSize, SPI_FLAGS_LIST_FRAME);
    SetWrite(p++, &m_Info.CmdReadStatus, 1, SPI_FLAGS_LIST_BEGIN);
    p->Type = SPI_TYPE_POLL;
    p->pRead = &m_Status;
    p->NumBits = 8;
    p->Flags = SPI_FLAGS_END;
    p->pPara = &m_Poll;
    p->ParaSize = kSinglePollParaSize;
  }

  static void SetWrite(SPI_CMD_DESC* pDesc, const u8* pData, u32 NumBytes, u32 Flags) {
    pDesc->Type = SPI_TYPE_TRANSFER;
    pDesc->pWrite = pData;
    pDesc->NumBits = NumBytes * 8;
    pDesc->Flags = Flags;
  }

  const u32 m_FrameSize;  // instruction, address, page
  std::unique_ptr<SPI_CMD_DESC[]> m_pList;
  std::unique_ptr<u8[]> m_pFrames;
};

// Built anew for each page: the page goes out straight from the caller's block, on four lanes, and
// only the address needs a place of its own. Instruction, address and data have lanes of their own,
// so a page is a frame of three records.
class QuadRecords : public PageRecords {
 public:
  using PageRecords::PageRecords;
  SPI_CMD_DESC* GetList() override { return m_aList.data(); }
  u32 GetRecordsPerPage() const override { return m_Info.SendInitCommands != 0 ? 7 : 6; }

  void SetPage(u32 Index, u32 Addr, const u8* pPage) override {
    const u32 numAddrBytes = SPI_GetNumAddrBytes(m_Info);
    u8* pAddr = &m_aAddr[Index * 4];
    SPI_StoreAddr(pAddr, Addr, numAddrBytes);
    SPI_CMD_DESC* p = &m_aList[Index * GetRecordsPerPage()];
    AddWrite(&p, &m_Info.CmdWriteEnable, 1, SPI_FLAGS_LIST_FRAME);
    if (m_Info.SendInitCommands != 0) {
      AddWrite(&p, &m_Info.CmdInitPageProg, 1, SPI_FLAGS_LIST_FRAME);
    }
    AddWrite(&p, &m_Info.CmdWritePageQuad, 1,
             m_Info.WrCmdTransferMode == SPI_LANES_QUAD ? SPI_FLAGS_LIST_BEGIN_QUAD
                                                        : SPI_FLAGS_LIST_BEGIN);
    AddWrite(&p, pAddr, numAddrBytes,
             m_Info.WrAddrTransferMode == SPI_LANES_QUAD ? SPI_FLAGS_ADDR_QUAD : SPI_FLAGS_ADDR);
    AddWrite(&p, pPage, m_PageSize, SPI_FLAGS_DATA_QUAD);
    AddWrite(&p, &m_Info.CmdReadStatus, 1, SPI_FLAGS_LIST_BEGIN);
    SPI_BuildDesc(p, SPI_TYPE_POLL, &m_Poll, kQuadPollParaSize, nullptr, &m_Status, 8,
                  SPI_FLAGS_END);
  }

 private:
  static void AddWrite(SPI_CMD_DESC** pp, const u8* pData, u32 NumBytes, u32 Flags) {
    SPI_BuildDesc((*pp)++, SPI_TYPE_TRANSFER, nullptr, 0, pData, nullptr, NumBytes * 8, Flags);
  }

  std::array<SPI_CMD_DESC, 256> m_aList{};
  std::array<u8, kMaxPagesPerBatch * 4> m_aAddr{};
};

// The frame that both variants share.
i64 ProgramPages(PageRecords& Records, u32 PageSize, u32 PagesPerBatch, bool SkipBlank, u32 Addr,
                 u32 NumBytes, const u8* pData) {
  Batch batch;
  i64 numProgrammed = 0;
  for (u32 pos = 0; pos < NumBytes; pos += PageSize) {
    if (!SkipBlank || !IsBlankPage(pData + pos, PageSize)) {
      Records.SetPage(batch.NumPages, Addr + pos, pData + pos);
      batch.aAddr[batch.NumPages++] = Addr + pos;
      numProgrammed += PageSize;
    }
    const bool isFull = batch.NumPages == PagesPerBatch;
    const bool isLast = NumBytes - pos <= PageSize;
    if (batch.NumPages != 0 && (isFull || isLast)) {
      if (RunBatch(Records.GetList(), Records.GetRecordsPerPage(), batch) != 0) {
        return -1;
      }
      batch.NumPages = 0;
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
bool IsSkippingBlank(const SPI_FLASH_INFO& info) {
  PROJ_PERFORMANCE performance{};
  PROJECT_GetPerformance(&performance);
  return info.FlashType == FLASH_TYPE_NOR && performance.DisableSkipBlankDataOnProgram == 0;
}

// A part of a page would be programmed as nothing and pass for done.
int CheckBlock(const SPI_FLASH_INFO& info, u32 Addr, u32 NumBytes) {
  if (info.PageSizeShift > kMaxPageShift) {
    APP_LogErrorf("Page size of %lu bytes is not supported.",
                  info.PageSizeShift < 64 ? u64{1} << info.PageSizeShift : 0);
    return -1;
  }
  if ((NumBytes & ((1u << info.PageSizeShift) - 1)) != 0) {
    return ReportError(Addr, "program error");
  }
  return NumBytes == 0 ? 0 : SPI_CheckSpan(info, Addr, NumBytes);
}

}  // namespace

i64 SPI_ProgramPagesSingle(const SPI_FLASH_INFO* pInfo, u32 Addr, u32 NumBytes, const u8* pData) {
  if (CheckBlock(*pInfo, Addr, NumBytes) != 0) {
    return -1;
  }
  const u32 pageSize = 1u << pInfo->PageSizeShift;
  const u32 pagesPerBatch = GetPagesPerBatch(pageSize);
  SingleRecords records(*pInfo, pageSize, pagesPerBatch);
  if (!records.IsValid()) {
    return ReportError(Addr, "not enough memory");
  }
  return ProgramPages(records, pageSize, pagesPerBatch, IsSkippingBlank(*pInfo), Addr, NumBytes,
                      pData);
}

i64 SPI_ProgramPagesQuad(const SPI_FLASH_INFO* pInfo, u32 Addr, u32 NumBytes, const u8* pData) {
  if (CheckBlock(*pInfo, Addr, NumBytes) != 0) {
    return -1;
  }
  const u32 pageSize = 1u << pInfo->PageSizeShift;
  QuadRecords records(*pInfo, pageSize);
  return ProgramPages(records, pageSize, GetPagesPerBatch(pageSize), IsSkippingBlank(*pInfo), Addr,
                      NumBytes, pData);
}
