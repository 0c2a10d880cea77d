#include "ui/hex/mem_write.h"

#include <algorithm>
#include <cstring>
#include <memory>

namespace {

// Bytes of one piece, and of all pieces of one step: a few milliseconds.
constexpr u64 PIECE_BYTES = 1 << 20;
constexpr u64 STEP_BYTES = 16 << 20;
// Handlers get what belongs together in one call, up to this.
constexpr u64 HANDLER_BYTES = 64 << 20;

}  // namespace

// A group grows as long as the next write starts at or before its end. Addresses stay below 2^33,
// so that the end never wraps.
std::vector<MEM_WRITE> HEX_MergeWrites(std::vector<MEM_WRITE> Writes) {
  std::stable_sort(Writes.begin(), Writes.end(),
                   [](const MEM_WRITE& a, const MEM_WRITE& b) { return a.Addr < b.Addr; });
  std::vector<MEM_WRITE> merged;
  for (MEM_WRITE& write : Writes) {
    if (merged.empty() || write.Addr > merged.back().Addr + merged.back().Data.size()) {
      merged.push_back(std::move(write));
      continue;
    }
    MEM_WRITE& group = merged.back();
    const u64 offset = write.Addr - group.Addr;
    group.Data.resize(std::max<u64>(group.Data.size(), offset + write.Data.size()));
    std::copy(write.Data.begin(), write.Data.end(),
              group.Data.begin() + static_cast<std::ptrdiff_t>(offset));
  }
  return merged;
}

// The function object may be copied; the bytes are not.
void WriteQueue::Add(MEM_WRITE Write) {
  const u64 numBytes = Write.Data.size();
  auto data = std::make_shared<std::vector<u8>>(std::move(Write.Data));
  Add(Write.Addr, numBytes, [data](u64 offset, std::span<u8> buffer) {
    std::memcpy(buffer.data(), data->data() + offset, buffer.size());
    return true;
  });
}

void WriteQueue::Add(u64 Addr, u64 NumBytes, FETCH Fetch) {
  m_aJobs.push_back({Addr, NumBytes, std::move(Fetch), 0, false});
}

// A range that can't take the bytes refuses them all, with the message of a failed write.
MEM_RESULT WriteQueue::WritePiece(JOB& job, MemSource* pSource) {
  if (!job.IsChecked) {
    const MEM_RESULT result = pSource->CheckWritable(job.Addr, job.NumBytes);
    if (result != MEM_RESULT::Done) {
      if (result == MEM_RESULT::Failed) {
        pSource->Report("Failed to write target memory", true);
      }
      return result;
    }
    job.IsChecked = true;
  }
  const u64 left = job.NumBytes - job.NumWritten;
  m_aPiece.resize(std::min(left, pSource->HasArea() ? PIECE_BYTES : HANDLER_BYTES));
  if (!job.Fetch(job.NumWritten, m_aPiece)) {
    pSource->Report("Failed to write target memory", true);
    return MEM_RESULT::Failed;
  }
  const MEM_RESULT result =
      pSource->Write(job.Addr + job.NumWritten, m_aPiece.size(), m_aPiece.data());
  job.NumWritten += result == MEM_RESULT::Done ? m_aPiece.size() : 0;
  return result;
}

// Stops for an area that is busy with the write in front still in place, so that the order holds.
// A failed write is over and is told like one that succeeded: what is shown has to be read again.
WriteQueue::STEP WriteQueue::Step(MemSource* pSource, std::vector<DONE>* pDone) {
  u64 numBytes = 0;
  while (!m_aJobs.empty()) {
    JOB& job = m_aJobs.front();
    const MEM_RESULT result = WritePiece(job, pSource);
    if (result == MEM_RESULT::Busy) {
      return STEP::Busy;
    }
    numBytes += m_aPiece.size();
    if (result == MEM_RESULT::Failed || job.NumWritten == job.NumBytes) {
      pDone->push_back({job.Addr, job.NumBytes});
      m_aJobs.pop_front();
    } else if (numBytes >= STEP_BYTES) {
      return STEP::More;
    }
  }
  m_aPiece = {};
  return STEP::Idle;
}
