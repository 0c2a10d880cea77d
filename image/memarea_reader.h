#pragma once

#include <optional>

#include "image/memarea.h"

// Walking an area so that nothing can go wrong half-way.
//
// MEMAREA_GetData takes the lock anew for each block: a wait that runs out looks like the end of
// the data, and an edit in between like data that never was. A reader is opened once, and that is
// the only thing that can fail; behind it the image is the same from the first block to the last.

// A copy of the area as it is now, patches included; null when the wait for its lock ran out or
// memory is out.
//
// It costs the list of ranges and patches; the bytes are shared until one of the two areas changes
// them. The first change in a range then copies that range, once (a 256 MiB range takes some 0.1
// s), so an editor goes on as ever while a chip is programmed, and what it changes isn't in the
// copy. An area that is changed between two uses, as a serial number is, is copied behind that.
MEMAREA_PTR MEMAREA_MakeSnapshot(MEMAREA* pArea);

// How to cut an area into blocks; see MEMAREA_GetData.
struct MEMAREA_WALK {
  u64 FirstAddr = 0;
  u64 LastAddr = ~u64{0};
  u64 MaxGap = 0;  // largest hole that a block may cover
  u8 FillValue = 0xFF;
  u64 MaxBytes = 0;         // at least the unit of AlignEndShift
  u32 AlignStartShift = 0;  // up to 63
  u32 AlignEndShift = 0;
};

struct MEMAREA_BLOCK {
  u64 Addr = 0;
  u64 NumBytes = 0;  // not 0

  u64 GetLast() const { return Addr + (NumBytes - 1); }
};

class MEMAREA_READER {
 public:
  enum class Kind {
    // Holds the area's lock, waited for as every operation does, until Release or the end of the
    // reader, on the same thread. Costs nothing; everybody else waits meanwhile, so it is for
    // what takes less than a second.
    Locked,
    // Reads a snapshot. For what takes longer, such as everything that talks to a chip.
    Snapshot
  };

  explicit MEMAREA_READER(MEMAREA* pArea, Kind kind = Kind::Locked);
  ~MEMAREA_READER() { Release(); }
  MEMAREA_READER(const MEMAREA_READER&) = delete;
  MEMAREA_READER& operator=(const MEMAREA_READER&) = delete;

  // False when there is no area, the wait ran out or memory is out. Nothing may be concluded from
  // what the other functions give then: an image that can't be read isn't an empty one.
  bool IsOpen() const { return m_pArea != nullptr; }
  // Ends the reading early; IsOpen is false from then on.
  void Release();

  // The area that is read, for all other questions (MEMAREA_GetNumBytes and so on): they can't
  // fail either. Null when the reader isn't open.
  MEMAREA* Get() const { return m_pArea; }

  // Starts a walk, also anew or another one. False when the reader isn't open or MaxBytes is less
  // than the unit of AlignEndShift: such a walk would end early.
  [[nodiscard]] bool Begin(const MEMAREA_WALK& Walk);
  // The next block; false at the end. Blocks ascend and don't overlap: one whose start would be
  // rounded down into the block before starts behind that. pData and pValid have MaxBytes each, or
  // are null; pValid gets 1 for each byte that exists, 0 for filling.
  [[nodiscard]] bool Next(MEMAREA_BLOCK* pBlock, u8* pData, u8* pValid = nullptr);

 private:
  MEMAREA_PTR m_pSnapshot;
  std::optional<MEMAREA_LOCK_GUARD> m_Lock;
  MEMAREA* m_pArea = nullptr;
  MEMAREA_WALK m_Walk;
  u64 m_Next = 0;
  bool m_IsDone = true;
};
