#include <algorithm>
#include <cstring>
#include <memory>
#include <new>

#include "image/blank_runs.h"
#include "image/memarea_impl.h"

// What deals with runs of blank bytes.

u64 BLANK_CountEqual(const u8* p, u64 NumBytes, u8 Value) {
  const u64 pattern = 0x0101010101010101ULL * Value;
  u64 n = 0;
  while (NumBytes - n >= sizeof(u64)) {
    u64 word;
    std::memcpy(&word, p + n, sizeof(word));
    if (word != pattern) {
      break;
    }
    n += sizeof(u64);
  }
  while (n < NumBytes && p[n] == Value) {
    ++n;
  }
  return n;
}

u64 BLANK_FindEqual(const u8* p, u64 NumBytes, u8 Value) {
  if (NumBytes == 0) {
    return 0;
  }
  const auto* hit = static_cast<const u8*>(std::memchr(p, Value, NumBytes));
  return hit != nullptr ? static_cast<u64>(hit - p) : NumBytes;
}

bool MEMAREA_AddNonBlank(MEMAREA* pArea, u64 Addr, u64 NumBytes, const u8* pData, u64 MinRun,
                         u8 BlankValue, bool* pFailed) {
  const MEMAREA_LOCK_GUARD lock(pArea);
  if (pFailed != nullptr) {
    *pFailed = !lock.Locked();
  }
  if (!lock.Locked()) {
    return false;
  }
  const u64 minRun = MinRun != 0 ? MinRun : 1;
  u64 cursor = 0;
  do {
    cursor += BLANK_CountEqual(pData + cursor, NumBytes - cursor, BlankValue);
    if (cursor == NumBytes) {
      return false;
    }
    // The first run that is long enough, or the end of the block; shorter runs belong to the data.
    u64 end = cursor;
    u64 run = 0;
    while (run < minRun && end + run < NumBytes) {
      end += run;
      end += BLANK_FindEqual(pData + end, NumBytes - end, BlankValue);
      run = BLANK_CountEqual(pData + end, std::min(NumBytes - end, minRun), BlankValue);
    }
    if (run < minRun) {
      end = NumBytes;
      run = 0;
    }
    if (MEMAREA_AddRange(pArea, Addr + cursor, end - cursor, pData + cursor) != 0) {
      if (pFailed != nullptr) {
        *pFailed = true;
      }
      return false;
    }
    cursor = end + run;
  } while (cursor < NumBytes);
  return true;
}

namespace {

constexpr u8 BLANK = 0xFF;
constexpr u64 BLOCK_SIZE = 0x10000;
constexpr u64 LAST_ADDR = 0xFFFFFFFF;

// Judges the blocks of a walk. A run carries over from block to block; a hole between them doesn't
// count for its length, so that a run over a hole loses less than its full extent, never more.
class BlankRemover {
 public:
  BlankRemover(MEMAREA* pArea, u64 MinRun) : m_pArea(pArea), m_MinRun(MinRun) {}

  void AddBlock(u64 Addr, const u8* pData, u64 NumBytes) {
    u64 i = 0;
    while (i < NumBytes) {
      if (const u64 numBlank = BLANK_CountEqual(pData + i, NumBytes - i, BLANK)) {
        if (m_NumBytes == 0) {
          m_FirstAddr = Addr + i;
        }
        m_NumBytes += numBlank;
        i += numBlank;
      } else {
        EndRun();
        i += BLANK_FindEqual(pData + i, NumBytes - i, BLANK);
      }
    }
  }
  void EndRun() {
    if (m_NumBytes != 0 && m_NumBytes >= m_MinRun) {
      MEMAREA_RemoveRange(m_pArea, m_FirstAddr, m_FirstAddr + (m_NumBytes - 1));
    }
    m_NumBytes = 0;
  }

 private:
  MEMAREA* m_pArea;
  u64 m_MinRun;
  u64 m_FirstAddr = 0;
  u64 m_NumBytes = 0;
};

}  // namespace

void MEMAREA_EliminateBlank(MEMAREA* pArea, u64 MinRun, u32 AlignStartShift, u32 AlignEndShift) {
  const MEMAREA_LOCK_GUARD lock(pArea);
  // Bytes of address-only ranges would read as blank though nothing says that they are.
  if (!lock.Locked() || pArea->Ranges.IsAddrOnly()) {
    return;
  }
  const std::unique_ptr<u8[]> buffer(new (std::nothrow) u8[BLOCK_SIZE]);
  if (!buffer) {
    return;
  }
  BlankRemover remover(pArea, MinRun);
  u64 next = 0;
  while (next <= LAST_ADDR) {
    u64 addr = 0;
    const u64 numBytes = MEMAREA_GetData(pArea, next, LAST_ADDR, 1, BLANK, buffer.get(), nullptr,
                                         &addr, BLOCK_SIZE, AlignStartShift, AlignEndShift);
    // A start rounded down by more than ends are rounded up shows bytes a second time.
    const u64 numSeen = addr < next ? next - addr : 0;
    if (numBytes <= numSeen) {
      break;
    }
    remover.AddBlock(addr + numSeen, buffer.get() + numSeen, numBytes - numSeen);
    next = addr + numBytes;
  }
  remover.EndRun();
}
