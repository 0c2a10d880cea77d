#include "programmer/data_file.h"

#include <array>

#include "image/crc.h"
#include "image/file_report.h"
#include "programmer/file_header.h"
#include "sys/util_format.h"
#include "sys/util_number.h"

namespace {

constexpr u32 kMaxShift = 11;  // a page has to fit into a block
constexpr u32 kMaxBlock = 1U << kMaxShift;
constexpr u32 kUnit = 2048;
constexpr u32 kEntrySize = 16;

// One build. The image is walked twice in the same way: the first time only to learn how much room
// table and data need.
class DatFileBuilder {
 public:
  explicit DatFileBuilder(const ZELMONT_DAT_FILE_INFO& info) : m_Info(info) {}

  int Build();

 private:
  [[gnu::format(printf, 2, 3)]] int Fail(const char* sFormat, ...) const;
  int FailWrite() const { return Fail("Failed to write DAT file contents to buffer."); }

  template <class ON_BLOCK>
  int Walk(u8* pData, ON_BLOCK OnBlock) const;
  int MakeRoom(u64 numBlocks, u64 numBytes);
  int WriteBlocks();
  int WriteBlock(u64 addr, const u8* pData, u32 numBytes);

  const ZELMONT_DAT_FILE_INFO& m_Info;
  u32 m_DataOffset = 0;
  // Where the next block goes.
  u32 m_TablePos = ZELMONT_HEADER_SIZE;
  u32 m_DataPos = 0;
  u32 m_Crc = 0;
};

int DatFileBuilder::Fail(const char* sFormat, ...) const {
  if (m_Info.pfError != nullptr) {
    char acText[128];
    va_list args;
    va_start(args, sFormat);
    UTIL_vsnprintf64(acText, sizeof(acText), sFormat, args);
    va_end(args);
    m_Info.pfError(m_Info.pContext, "%s", acText);
  }
  return -1;
}

// Calls OnBlock(addr, numBytes) for each block, in ascending order, with its bytes in pData unless
// that is null. A block starts and ends on a page boundary; holes smaller than a page don't end it.
template <class ON_BLOCK>
int DatFileBuilder::Walk(u8* pData, ON_BLOCK OnBlock) const {
  const u64 maxGap = (u64{1} << m_Info.MinAlignShift) - 1;
  const u64 last = MEMAREA_GetMaxAddr(m_Info.pArea);
  u64 first = MEMAREA_GetMinAddr(m_Info.pArea);
  for (;;) {
    if (m_Info.pfKeepGoing != nullptr && m_Info.pfKeepGoing() == 0) {
      return Fail("Preparation of DAT file stopped.");
    }
    u64 addr = 0;
    const u64 numBytes =
        MEMAREA_GetData(m_Info.pArea, first, last, maxGap, m_Info.FillValue, pData, nullptr, &addr,
                        kMaxBlock, m_Info.MinAlignShift, m_Info.MinAlignShift);
    if (numBytes == 0) {
      return 0;
    }
    if (OnBlock(addr, static_cast<u32>(numBytes)) != 0) {
      return -1;
    }
    const u64 lastOfBlock = addr + (numBytes - 1);
    if (lastOfBlock >= last) {
      return 0;
    }
    first = lastOfBlock + 1;
  }
}

// The whole file's room at once: what is too large fails here, and nothing is copied when growing.
int DatFileBuilder::MakeRoom(u64 numBlocks, u64 numBytes) {
  const u64 dataOffset =
      (numBlocks * kEntrySize + ZELMONT_HEADER_SIZE + kEntrySize + kUnit - 1) / kUnit * kUnit;
  if (DYNBUFFER_Ensure(m_Info.pBuffer, dataOffset + numBytes - 1) != 0 ||
      DYNBUFFER_FillAt(m_Info.pBuffer, 0, 0, dataOffset) != 0 ||
      ZELMONT_WriteHeader(m_Info.pBuffer, "Data", m_Info.pProductName) != 0) {
    return FailWrite();
  }
  m_DataOffset = static_cast<u32>(dataOffset);  // the buffer holds no more than 32 bits tell
  m_DataPos = m_DataOffset;
  return 0;
}

int DatFileBuilder::WriteBlock(u64 addr, const u8* pData, u32 numBytes) {
  if (m_Info.pfInfo != nullptr) {
    m_Info.pfInfo(m_Info.pContext, "Preparing DAT file range: 0x%.8X - 0x%.8X (%d bytes).",
                  static_cast<u32>(addr), static_cast<u32>(addr + numBytes - 1), numBytes);
  }
  m_Crc = CRC_Calc32(pData, numBytes, m_Crc);
  std::array<u8, kEntrySize> abEntry{};
  UTIL_StoreU32LE(abEntry.data(), static_cast<u32>(addr));
  UTIL_StoreU32LE(abEntry.data() + 4, numBytes);
  UTIL_StoreU32LE(abEntry.data() + 8, m_DataPos);
  UTIL_StoreU32LE(abEntry.data() + 12, m_Crc);
  if (DYNBUFFER_WriteAt(m_Info.pBuffer, m_DataPos, pData, numBytes) != 0 ||
      DYNBUFFER_WriteAt(m_Info.pBuffer, m_TablePos, abEntry.data(), kEntrySize) != 0) {
    return FailWrite();
  }
  m_DataPos += numBytes;
  m_TablePos += kEntrySize;
  return 0;
}

int DatFileBuilder::WriteBlocks() {
  std::array<u8, kMaxBlock> abData;  // filled by each read
  return Walk(abData.data(),
              [&](u64 addr, u32 numBytes) { return WriteBlock(addr, abData.data(), numBytes); });
}

int DatFileBuilder::Build() {
  if (m_Info.MinAlignShift > kMaxShift) {
    return Fail("Failed to prepare DAT file: Exceeded max. supported PageSize (0x%X bytes).",
                kMaxBlock);
  }
  // Both walks have to see the same image. One that another thread holds would read as empty.
  const MEMAREA_LOCK_GUARD lock(m_Info.pArea);
  if (!lock.Locked()) {
    return Fail("%s", FILE_IN_USE_TEXT);
  }
  // The table has 32 bits for an address. Cut ones would send the data to a wrong place.
  const u64 lastAddr = MEMAREA_GetMaxAddr(m_Info.pArea);
  if (lastAddr > 0xFFFFFFFF) {
    return Fail("Failed to prepare DAT file: Address 0x%lX needs more than 32 bits.", lastAddr);
  }
  u64 numBlocks = 0;
  u64 numBytes = 0;
  const auto count = [&](u64 /*addr*/, u32 numBlockBytes) {
    ++numBlocks;
    numBytes += numBlockBytes;
    return 0;
  };
  if (Walk(nullptr, count) != 0 || MakeRoom(numBlocks, numBytes) != 0 || WriteBlocks() != 0) {
    return -1;
  }
  if (ZELMONT_FinishHeader(m_Info.pBuffer, m_DataOffset, m_DataOffset) != 0) {
    return FailWrite();
  }
  return 0;
}

}  // namespace

int ZELMONT_DAT_FILE_Build(ZELMONT_DAT_FILE_INFO* pInfo) {
  return DatFileBuilder(*pInfo).Build();
}
