#include "ui/hex/mem_source.h"

#include <algorithm>
#include <cstring>

namespace {

// Long enough for an operation on one range, too short to be felt.
constexpr u32 LOCK_TRY_MS = 2;

// What a row that can't be read is cut into, before single bytes.
constexpr u64 SMALL_PIECE = 4;

}  // namespace

// Bounds of the area before would place the view wrongly while the new one is busy.
void MemSource::SetArea(MEMAREA* pArea) {
  m_pArea = pArea;
  m_pAccess = pArea != nullptr ? MEMAREA_GetAccessTable() : nullptr;
  m_MinAddr = 0;
  m_MaxAddr = 0;
  m_IsModified = false;
  Update();
}

// The lock is held.
void MemSource::FetchBounds() {
  MEMAREA_STATE state{};
  m_MinAddr = m_pAccess->GetMinAddr(m_pArea);
  m_MaxAddr = m_pAccess->GetMaxAddr(m_pArea);
  m_pAccess->GetState(m_pArea, &state);
  m_IsModified = state.IsModified != 0;
}

// A source without an area has no bounds that could be out of date.
bool MemSource::Update() {
  if (m_pArea == nullptr) {
    return true;
  }
  const MEMAREA_LOCK_GUARD lock(m_pArea, LOCK_TRY_MS);
  if (lock.Locked()) {
    FetchBounds();
  }
  return lock.Locked();
}

void MemSource::Report(const std::string& Text, bool IsError) const {
  if (m_Handlers.pfOnMessage) {
    m_Handlers.pfOnMessage(Text, IsError);
  }
}

// The last address of all is a valid one, and nothing is read behind it. A block that is asked for
// beyond it reads at its last byte, as far as its length leaves any.
MEM_RESULT MemSource::Read(u64 Addr, u64 NumBytes, u32 BytesPerRow, u8* pData, u8* pState) {
  MEM_RESULT result = MEM_RESULT::Failed;
  const u64 addr = std::min(Addr, HEX_ADDR_LIMIT - 1);
  const u64 numBytes = std::min(NumBytes, HEX_ADDR_LIMIT - addr);
  if (numBytes == 0) {
    return MEM_RESULT::Done;
  }
  if (m_pArea != nullptr) {
    result = ReadArea(addr, numBytes, BytesPerRow, pData, pState);
  } else if (m_Handlers.pfReadMem) {
    const u64 numWhole = BytesPerRow == 0 ? 0 : numBytes - numBytes % BytesPerRow;
    const bool isDone = ReadBlock(addr, numBytes, pData, pState) ||
                        ReadPieces(addr, numWhole, BytesPerRow, pData, pState);
    result = isDone ? MEM_RESULT::Done : MEM_RESULT::Failed;
  }
  if (result == MEM_RESULT::Failed) {
    Report("Failed to read target memory", true);
  }
  return result;
}

// One attempt at the lock covers bounds and bytes, so that both belong to the same moment. The lock
// is recursive: the area's own functions take it again.
MEM_RESULT MemSource::ReadArea(u64 Addr, u64 NumBytes, u32 BytesPerRow, u8* pData, u8* pState) {
  const MEMAREA_LOCK_GUARD lock(m_pArea, LOCK_TRY_MS);
  if (!lock.Locked()) {
    return MEM_RESULT::Busy;
  }
  FetchBounds();
  if (MEMAREA_ContainsRange(m_pArea, Addr, NumBytes)) {
    const bool isRead = MEMAREA_Read(m_pArea, Addr, NumBytes, pData, 0) == 0;
    std::memset(pState, isRead ? MEM_STATE_VALID : MEM_STATE_NO_DATA, NumBytes);
    return MEM_RESULT::Done;
  }
  const u64 numWhole = BytesPerRow == 0 ? 0 : NumBytes - NumBytes % BytesPerRow;
  std::memset(pState + numWhole, MEM_STATE_UNREAD, NumBytes - numWhole);
  std::memset(pData + numWhole, 0, NumBytes - numWhole);
  return ReadRanges(Addr, numWhole, pData, pState) ? MEM_RESULT::Done : MEM_RESULT::Failed;
}

// Takes the span range by range, which costs a step a range however many bytes are missing. False
// when no range holds any byte of it. The lock is held.
bool MemSource::ReadRanges(u64 Addr, u64 NumBytes, u8* pData, u8* pState) {
  std::memset(pData, 0, NumBytes);
  for (u64 i = 0; i < NumBytes;) {
    // Three stretches at most: below, within and above the bounds.
    const u64 addr = Addr + i;
    u64 end = NumBytes;
    const bool isOutside = addr < m_MinAddr || addr > m_MaxAddr;
    if (addr < m_MinAddr) {
      end = std::min(end, m_MinAddr - Addr);
    } else if (addr <= m_MaxAddr) {
      end = std::min(end, m_MaxAddr - addr + 1 + i);
    }
    std::memset(pState + i, isOutside ? MEM_STATE_OUTSIDE : MEM_STATE_NO_DATA, end - i);
    i = end;
  }
  bool hasAny = false;
  for (u64 i = 0; i < NumBytes;) {
    u64 addr = 0;
    // Asks only where the next stretch is: it may start behind this address.
    const u64 found = MEMAREA_GetData(m_pArea, Addr + i, Addr + NumBytes - 1, 0, 0, nullptr,
                                      nullptr, &addr, NumBytes - i, 0, 0);
    if (found == 0) {
      break;
    }
    i = addr - Addr;
    MEMAREA_Read(m_pArea, addr, found, pData + i, 0);
    std::memset(pState + i, MEM_STATE_VALID, found);
    hasAny = true;
    i += found;
  }
  return hasAny;
}

// One call of the handler. A failed block that the handler gave no states has no data.
// The length of one call is the handler's business: it gets the block as it is.
bool MemSource::ReadBlock(u64 Addr, u64 NumBytes, u8* pData, u8* pState) {
  std::memset(pState, MEM_STATE_UNREAD, NumBytes);
  const int result =
      m_Handlers.pfReadMem(Addr, NumBytes, AccessWidth, sZoneName.c_str(), pData, pState);
  if (result < 0) {
    std::replace_if(
        pState, pState + NumBytes,
        [](u8 state) { return state == MEM_STATE_UNREAD || state == MEM_STATE_VALID; },
        MEM_STATE_NO_DATA);
  }
  return result >= 0;
}

// Each piece as a whole, or else in smaller ones: rows, four bytes, halves, single bytes.
// A target that fails at one address fails for every block that holds it. The sizes are chosen so
// that one bad byte in a screen costs some tens of calls and not hundreds.
bool MemSource::ReadPieces(u64 Addr, u64 NumBytes, u64 PieceSize, u8* pData, u8* pState) {
  bool hasAny = false;
  for (u64 i = 0; i < NumBytes; i += PieceSize) {
    const u64 length = std::min(PieceSize, NumBytes - i);
    if (ReadBlock(Addr + i, length, pData + i, pState + i)) {
      hasAny = true;
    } else if (length > 1) {
      const u64 smaller = length > SMALL_PIECE ? SMALL_PIECE : (length + 1) / 2;
      hasAny |= ReadPieces(Addr + i, length, smaller, pData + i, pState + i);
    }
  }
  return hasAny;
}

// Sizes come from a dialog or the clipboard: the sum of both is never formed before this.
MEM_RESULT MemSource::CheckWritable(u64 Addr, u64 NumBytes) {
  if (NumBytes > HEX_ADDR_LIMIT || Addr > HEX_ADDR_LIMIT - NumBytes) {
    return MEM_RESULT::Failed;
  }
  if (m_pArea == nullptr) {
    return m_Handlers.pfWriteMem ? MEM_RESULT::Done : MEM_RESULT::Failed;
  }
  const MEMAREA_LOCK_GUARD lock(m_pArea, LOCK_TRY_MS);
  if (!lock.Locked()) {
    return MEM_RESULT::Busy;
  }
  return MEMAREA_ContainsRange(m_pArea, Addr, NumBytes) ? MEM_RESULT::Done : MEM_RESULT::Failed;
}

// Ranges are never made or joined by an edit: what isn't part of the image stays so. The state is
// fetched under the same lock, since the first change marks the title.
MEM_RESULT MemSource::Write(u64 Addr, u64 NumBytes, const u8* pData) {
  MEM_RESULT result = MEM_RESULT::Failed;
  if (m_pArea != nullptr) {
    const MEMAREA_LOCK_GUARD lock(m_pArea, LOCK_TRY_MS);
    if (!lock.Locked()) {
      return MEM_RESULT::Busy;
    }
    if (MEMAREA_ContainsRange(m_pArea, Addr, NumBytes) &&
        MEMAREA_Write(m_pArea, Addr, NumBytes, pData) >= 0) {
      result = MEM_RESULT::Done;
    }
    FetchBounds();
  } else if (m_Handlers.pfWriteMem &&
             m_Handlers.pfWriteMem(Addr, NumBytes, AccessWidth, sZoneName.c_str(), pData) >= 0) {
    result = MEM_RESULT::Done;
  }
  if (result == MEM_RESULT::Failed) {
    Report("Failed to write target memory", true);
  }
  return result;
}
