#pragma once

#include <set>
#include <string>
#include <unordered_map>
#include <vector>

#include "ui/hex/hex_geometry.h"
#include "ui/hex/hex_row.h"
#include "ui/hex/mem_cache.h"
#include "ui/hex/mem_source.h"

// What an editor shows and where its cursor and selection are, without a window. GUI thread only.
//
// Addresses run from 0 to HEX_ADDR_LIMIT, exclusive; all arithmetic is done in 64 bits. Rows count
// from the cache's first byte; a row above it is negative.
//
// The window calls an operation and then looks at what it left to do: TakeRepaint, TakeTitleStale,
// TakeOverlayClose, IsReloadPending.
class HexView {
 public:
  HexView();

  MemSource& GetSource() { return m_Source; }
  const MemSource& GetSource() const { return m_Source; }
  const HexGeometry& GetGeometry() const { return m_Geometry; }
  const MEM_CACHE& GetCache() const { return m_Cache; }

  // Size of the window in rows and cells. Nothing is read.
  void SetSize(u32 NumRows, u32 WidthCells);
  void SetItemSize(u32 ItemSize);
  void SetBigEndian(bool OnOff);

  // The addresses of the source, in whole rows; the end is exclusive.
  u64 GetZoneStart() const;
  u64 GetZoneEnd() const;
  u64 GetZoneEndPadded() const { return GetZoneEnd() + m_Geometry.BytesPerRow; }
  // The top row at which the last row of the zone, and one more, is on screen.
  u64 GetLastTop() const;
  u64 GetBaseAddr() const { return m_Cache.GetBaseAddr(); }
  u64 GetScrollTarget() const { return m_ScrollTarget; }

  // The one way in which fresh memory reaches the cache.
  void ReloadRange(u64 Addr, u64 NumBytes);
  // Reads the screen again.
  void Refresh();
  // Whether a busy area left something unread; Retry reads the screen then.
  bool IsReloadPending() const { return m_IsReloadPending; }
  void Retry();
  // The memory may have changed as a whole: forgets it and reads it again, as soon as it can be
  // read.
  void ReloadAll();
  // A tick of the periodic refresh: changes fade by one step.
  void Age();
  // Forgets all that was read and which bytes changed.
  void Forget();
  void ForgetChanges();

  // Positive scrolls toward lower addresses. The cursor keeps its place on the screen.
  void ScrollRows(i64 NumRows);
  void GoTo(u64 Addr, bool SetCursor, bool PushHistory);
  // As the window comes up or its memory changed as a whole.
  void Show();
  // After a change of size.
  void Resettle();
  // Goes there without reading; the rows show that they are unread.
  void Drag(u64 Addr);
  bool CanGoBack() const { return !m_aGoBack.empty(); }
  void GoBack();
  void ForgetHistory() { m_aGoBack.clear(); }

  // Cursor. A nibble of 0 is the high digit of the byte.
  u64 GetCursorAddr() const { return m_CursorAddr; }
  u8 GetCursorNibble() const { return m_CursorNibble; }
  bool IsCursorInText() const { return m_IsCursorInText; }
  void MoveCursor(u64 Addr, u8 Nibble);
  void KeyUp();
  void KeyDown();
  void KeyLeft();
  void KeyRight();
  void KeyHome();
  void KeyEnd();
  void GoToStart();
  void GoToEnd();
  void PageUp() { MovePage(1); }
  void PageDown() { MovePage(-1); }
  // Scrolls by a row if the address stands on the last rows of the screen, so that it can be seen.
  void BringIntoView(u64 Addr);

  // Cells: column and row of the screen; either may lie outside it.
  u64 CellToAddr(i32 Column, i64 Row) const;
  i64 AddrToRow(u64 Addr) const;
  u64 GetRowStart(u64 Addr) const;
  u32 AddrToColumn(u64 Addr, u8 Nibble) const;

  // Selection, aligned to items.
  u64 GetSelLen() const { return m_SelLen; }
  u64 GetSelFirst() const { return std::min(m_SelAnchor, m_SelEnd); }
  u64 GetSelLast() const { return std::max(m_SelAnchor, m_SelEnd); }
  u64 GetSelAnchor() const { return m_SelAnchor; }
  // Start of the first selected row and start of the last.
  u64 GetSelFirstRow() const { return GetRowStart(GetSelFirst()); }
  u64 GetSelLastRow() const { return GetRowStart(GetSelLast()); }
  void ClearSelection();
  void Select(u64 Anchor, u64 End);
  void OnShiftPressed() { Select(m_CursorAddr, m_CursorAddr); }
  // After a key with Shift held: the selection follows the cursor, or starts there.
  void ExtendToCursor();

  // The mouse, in cells. The distance since the press is the sum of both axes in pixels.
  void PressMouse(i32 Column, i64 Row);
  void DragMouse(i32 Column, i64 Row, u32 PixelDistance);
  void ReleaseMouse() { m_IsSelecting = false; }
  bool IsSelecting() const { return m_IsSelecting; }
  // The mouse is held above (1) or below (-1) the rows.
  void ScrollSelection(int Direction, i32 Column);

  // A row as it is painted; false when there is nothing to show in it.
  bool FormatRow(i64 Row, HexRow* pRow) const;
  // The value of 32 bits that stands at an address, if the screen has it.
  bool GetShownU32(u64 Addr, u32* pValue) const;
  u8 GetChangeAge(u64 Addr) const;
  u64 GetNumChanged() const { return m_ChangedBytes.size(); }

  // What is left to do for the window. Rows to repaint; all of them when pAll is set.
  bool TakeRepaint(std::set<u32>* pRows, bool* pAll);
  bool TakeTitleStale();
  bool TakeOverlayClose();
  void RepaintAll();

 private:
  bool HasScreen() const { return m_Geometry.GetBytesPerScreen() != 0; }
  void MarkRow(i64 Row);
  void MarkChangedRows(u64 Addr, u64 NumBytes, const u8* pData, const u8* pState);
  void NoteChanges(u64 Addr, u64 NumBytes, const u8* pData, const u8* pState);
  void ReadIntoCache(u64 Addr, u64 NumBytes, bool IsScroll);
  void MoveWithCache(i64 NumRows);
  void ClampCursor();
  void MovePage(i64 Direction);
  bool CanScrollUp() const;
  bool CanScrollDown() const;
  void MoveLeft(i64 Target, u8 Nibble, bool IsOnScreen);
  void MoveRight(i64 Target, u8 Nibble);

  MemSource m_Source;
  HexGeometry m_Geometry;
  MEM_CACHE m_Cache;
  u32 m_WidthCells = 0;
  u64 m_CursorAddr = 0;
  u8 m_CursorNibble = 0;
  bool m_IsCursorInText = false;
  u64 m_SelAnchor = 0;
  u64 m_SelEnd = 0;
  u64 m_SelLen = 0;  // 0: no selection
  bool m_IsSelecting = false;
  u64 m_PressAddr = 0;
  u64 m_ScrollTarget = 0;
  i64 m_PendingRows = 0;  // of a scroll in progress; positive goes to lower addresses
  std::unordered_map<u64, u8> m_ChangedBytes;
  std::vector<u64> m_aGoBack;
  std::set<u32> m_DirtyRows;
  bool m_IsAllDirty = true;
  bool m_IsRepaintWanted = true;
  bool m_IsTitleStale = true;
  bool m_IsOverlayToClose = false;
  bool m_IsReloadPending = false;
  bool m_IsForgetPending = false;
  std::vector<u8> m_aNewData;  // what a reload reads into
  std::vector<u8> m_aNewState;
};
