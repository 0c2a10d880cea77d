#pragma once

#include <memory>

#include "sys/types.h"

// MEMAREA: the one image type of the program, a sparse store of bytes over a 64-bit address space.
//
// Two layers: a list of ranges, sorted by address, that hold the bytes, and above them a list of
// single-byte patches, newest last, which overlay the ranges on reading until they are committed.
// An area whose ranges hold no bytes is a pure set of addresses.
//
// Invariants: ranges don't overlap and never touch (two that would touch are one); all ranges of an
// area hold data, or none does; a patch may lie at an address in no range.
//
// Every operation takes the area's recursive lock, waits at most 10000 ms for it, and is atomic
// under it; one that doesn't get the lock does nothing and gives its failure result. Operations may
// be called from any thread. A null area makes reading operations give 0 and changing ones return.
// A last address is a first address plus a length minus 1. Multi-byte values are little-endian.
struct MEMAREA;

// Null when memory is out. The caller owns the area.
MEMAREA* MEMAREA_Create();
void MEMAREA_Delete(MEMAREA* pArea);

struct MEMAREA_DELETER {
  void operator()(MEMAREA* p) const { MEMAREA_Delete(p); }
};
using MEMAREA_PTR = std::unique_ptr<MEMAREA, MEMAREA_DELETER>;

// Null pData adds an address-only range. 0, or -1 with nothing changed when it would overlap, would
// run past the last address, or memory is out.
int MEMAREA_AddRange(MEMAREA* pArea, u64 Addr, u64 NumBytes, const u8* pData);
// Adds the block without its runs of at least MinRun blank bytes. False if nothing but blank bytes
// remained at the end (also when there was data before) or an add failed; pFailed, which may be
// null, tells the second from the first.
bool MEMAREA_AddNonBlank(MEMAREA* pArea, u64 Addr, u64 NumBytes, const u8* pData, u64 MinRun,
                         u8 BlankValue, bool* pFailed = nullptr);
// Takes the span out of all ranges. Patches stay.
void MEMAREA_RemoveRange(MEMAREA* pArea, u64 FirstAddr, u64 LastAddr);

u64 MEMAREA_GetMinAddr(MEMAREA* pArea);
u64 MEMAREA_GetMaxAddr(MEMAREA* pArea);
u64 MEMAREA_GetNumBytes(MEMAREA* pArea);
u32 MEMAREA_GetNumRanges(MEMAREA* pArea);
// Data of a range, valid until the area changes; outs may be null. Past the end: outs 0, null.
const u8* MEMAREA_GetRange(MEMAREA* pArea, u32 Index, u64* pAddr, u64* pNumBytes);

bool MEMAREA_Overlaps(MEMAREA* pArea, MEMAREA* pOther);
// Copies all ranges and patches of the source. 0; 1 if any overlap exists or an add failed.
int MEMAREA_Merge(MEMAREA* pArea, MEMAREA* pSource);
bool MEMAREA_ContainsRange(MEMAREA* pArea, u64 Addr, u64 NumBytes);
// Index of the first range of pInner that, moved by Offset, isn't contained in pArea; -1 if all
// are.
i64 MEMAREA_FindNotContained(MEMAREA* pArea, MEMAREA* pInner, u64 Offset);

// Index of the patch.
u64 MEMAREA_AddPatch(MEMAREA* pArea, u64 Addr, u8 Value);
u64 MEMAREA_GetNumPatches(MEMAREA* pArea);
// Copies a span, gaps as FillValue, patches overlaid. 0.
int MEMAREA_Read(MEMAREA* pArea, u64 Addr, u64 NumBytes, u8* pDest, u8 FillValue);

// The block reader: delivers at most MaxBytes of the next stretch at or after FirstAddr.
//
// MaxGap: how large a hole may be covered in one block (0: none). pData, pValid: MaxBytes each, or
// null; pValid gets 1 for each byte that exists. AlignStartShift, AlignEndShift: the block starts
// at and ends just before multiples of 1 << shift; 0 for none. pOutAddr, may be null: where it
// starts. Returns the bytes delivered, 0 at the end. Callers walk an area by calling again with
// FirstAddr behind the last block; such a walk is linear in the number of ranges.
u64 MEMAREA_GetData(MEMAREA* pArea, u64 FirstAddr, u64 LastAddr, u64 MaxGap, u8 FillValue,
                    u8* pData, u8* pValid, u64* pOutAddr, u64 MaxBytes, u32 AlignStartShift,
                    u32 AlignEndShift);
// Changes the ranges themselves; missing addresses become ranges. 0, or -1 when memory is out.
int MEMAREA_Write(MEMAREA* pArea, u64 Addr, u64 NumBytes, const u8* pSrc);
// Adds Offset to every range and patch address, modulo 2^64. 0.
int MEMAREA_Relocate(MEMAREA* pArea, i64 Offset);
// Folds the patches into the ranges. 0, or non-zero if one could not be applied.
int MEMAREA_CommitPatches(MEMAREA* pArea);
void MEMAREA_EliminateBlank(MEMAREA* pArea, u64 MinRun, u32 AlignStartShift, u32 AlignEndShift);
// CRC-32 of the range bytes in address order, and CRC-32C through pCRC32C, which may be null.
u32 MEMAREA_CalcCRC(MEMAREA* pArea, u32* pCRC32C);

// Changes since load or save; above 0 means modified.
u32 MEMAREA_GetNumChanges(MEMAREA* pArea);
void MEMAREA_SetNumChanges(MEMAREA* pArea, u32 NumChanges);

// Holds the area's lock over several operations. Locked() is false when the wait ran out.
class MEMAREA_LOCK_GUARD {
 public:
  explicit MEMAREA_LOCK_GUARD(MEMAREA* pArea);
  // With a limit of its own, for a thread that has better things to do than wait.
  MEMAREA_LOCK_GUARD(MEMAREA* pArea, u32 TimeoutMs);
  ~MEMAREA_LOCK_GUARD();
  MEMAREA_LOCK_GUARD(const MEMAREA_LOCK_GUARD&) = delete;
  MEMAREA_LOCK_GUARD& operator=(const MEMAREA_LOCK_GUARD&) = delete;
  bool Locked() const { return m_Locked; }

 private:
  MEMAREA* m_pArea;
  bool m_Locked;
};
