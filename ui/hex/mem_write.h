#pragma once

#include <deque>
#include <functional>
#include <span>
#include <vector>

#include "ui/hex/mem_source.h"

// One pending write.
struct MEM_WRITE {
  u64 Addr = 0;
  std::vector<u8> Data;
};

// Writes of one batch: sorted by address, adjacent and overlapping ones joined. Where two overlap,
// the one that stands later after sorting wins; equal addresses keep their order.
std::vector<MEM_WRITE> HEX_MergeWrites(std::vector<MEM_WRITE> Writes);

// Writes on their way to memory, oldest first. GUI thread only.
//
// A write goes out in pieces, so that a long one leaves the thread to others in between, and what
// finds its area busy waits for the next step. Whether all of a write has its place is known before
// its first piece goes out.
class WriteQueue {
 public:
  // Copies the bytes from Offset on into the buffer. False ends the write.
  using FETCH = std::function<bool(u64 Offset, std::span<u8> Buffer)>;
  struct DONE {
    u64 Addr;
    u64 NumBytes;
  };
  enum class STEP { Idle, More, Busy };

  void Add(MEM_WRITE Write);
  void Add(u64 Addr, u64 NumBytes, FETCH Fetch);
  bool IsEmpty() const { return m_aJobs.empty(); }
  // Writes for a short while. pDone gets what has been tried since.
  STEP Step(MemSource* pSource, std::vector<DONE>* pDone);

 private:
  struct JOB {
    u64 Addr;
    u64 NumBytes;
    FETCH Fetch;
    u64 NumWritten;
    bool IsChecked;
  };
  MEM_RESULT WritePiece(JOB& job, MemSource* pSource);

  std::deque<JOB> m_aJobs;
  std::vector<u8> m_aPiece;
};
