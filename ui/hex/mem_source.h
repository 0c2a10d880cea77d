#pragma once

#include <string>

#include "image/access_table.h"
#include "ui/hex/hex_types.h"

enum class MEM_RESULT {
  Done,
  Failed,
  // The area's lock is taken by somebody else. Nothing was done; worth another try a little later.
  Busy,
};

// Where an editor's bytes come from: a memory area, or handlers for target memory.
//
// An area's lock is tried for a moment only, since the application thread may hold it for long.
// Bounds and state of the area are those of the last time that the lock was free. GUI thread only.
class MemSource {
 public:
  void SetArea(MEMAREA* pArea);
  MEMAREA* GetArea() const { return m_pArea; }
  void SetHandlers(const HEX_HANDLERS& Handlers) { m_Handlers = Handlers; }
  const HEX_HANDLERS& GetHandlers() const { return m_Handlers; }
  bool HasArea() const { return m_pArea != nullptr; }
  u64 GetMinAddr() const { return m_MinAddr; }
  u64 GetMaxAddr() const { return m_MaxAddr; }
  bool IsModified() const { return m_IsModified; }

  // Fetches bounds and state. False when the area is busy.
  bool Update();

  // Reads as much as there is; what is missing is told by the states. A block that can't be read as
  // a whole is read in rows of BytesPerRow; a rest shorter than a row isn't tried again. Fails,
  // with a message, when nothing at all could be read.
  MEM_RESULT Read(u64 Addr, u64 NumBytes, u32 BytesPerRow, u8* pData, u8* pState);
  // An area takes bytes only where one range holds all of them. A failure is reported.
  MEM_RESULT Write(u64 Addr, u64 NumBytes, const u8* pData);
  // Whether Write would find all bytes in place. Always Done for handlers.
  MEM_RESULT CheckWritable(u64 Addr, u64 NumBytes);
  void Report(const std::string& Text, bool IsError) const;

  u8 AccessWidth = 0;     // for handlers: 1, 2, 4 or 0 for automatic
  std::string sZoneName;  // for handlers: empty is the default zone

 private:
  void FetchBounds();
  MEM_RESULT ReadArea(u64 Addr, u64 NumBytes, u32 BytesPerRow, u8* pData, u8* pState);
  bool ReadRanges(u64 Addr, u64 NumBytes, u8* pData, u8* pState);
  bool ReadBlock(u64 Addr, u64 NumBytes, u8* pData, u8* pState);
  bool ReadPieces(u64 Addr, u64 NumBytes, u64 PieceSize, u8* pData, u8* pState);

  MEMAREA* m_pArea = nullptr;
  const MEMAREA_ACCESS_TABLE* m_pAccess = nullptr;
  HEX_HANDLERS m_Handlers;
  u64 m_MinAddr = 0;
  u64 m_MaxAddr = 0;
  bool m_IsModified = false;
};
