// Cursor, keys, mouse and selection of the view.
// Addresses of targets are computed signed: one item before address 0 is a valid question with the
// answer that there is nothing. Every move ends inside the zone.
#include <algorithm>

#include "ui/hex/hex_view.h"

namespace {

// A drag selects once the mouse has gone further than this.
constexpr u32 DRAG_PIXELS = 5;

}  // namespace

// Division truncates toward 0, so a row above the base needs the one below the quotient.
i64 HexView::AddrToRow(u64 Addr) const {
  const i64 unit = std::max(m_Geometry.BytesPerRow, 1U);
  const i64 distance = static_cast<i64>(Addr - GetBaseAddr());
  return distance < 0 ? distance / unit - 1 : distance / unit;
}

u64 HexView::GetRowStart(u64 Addr) const {
  const u64 unit = std::max(m_Geometry.BytesPerRow, 1U);
  // A base that isn't a multiple of the row, right after a change of size, moves all rows.
  const u64 shift = GetBaseAddr() % unit;
  return Addr < shift ? 0 : Addr - (Addr - shift) % unit;
}

u32 HexView::AddrToColumn(u64 Addr, u8 Nibble) const {
  return m_Geometry.OffsetToColumn(static_cast<u32>(Addr - GetRowStart(Addr)), Nibble);
}

// A click below the last row, or a drag past the edges, means the nearest address.
u64 HexView::CellToAddr(i32 Column, i64 Row) const {
  const i64 rowAddr = static_cast<i64>(GetBaseAddr()) + Row * m_Geometry.BytesPerRow;
  const i64 addr = rowAddr + m_Geometry.ColumnToOffset(Column);
  const i64 first = static_cast<i64>(GetZoneStart());
  return static_cast<u64>(std::clamp(addr, first, static_cast<i64>(GetZoneEnd()) - 1));
}

// Both rows are painted: the one that loses the cursor and the one that gets it.
void HexView::MoveCursor(u64 Addr, u8 Nibble) {
  MarkRow(AddrToRow(m_CursorAddr));
  m_CursorAddr = Addr;
  m_CursorNibble = Nibble;
  MarkRow(AddrToRow(m_CursorAddr));
  m_IsTitleStale = true;
}

// The cursor leaves the top row by moving the rows under it.
void HexView::KeyUp() {
  const u64 unit = m_Geometry.BytesPerRow;
  if (!HasScreen() || m_CursorAddr < GetZoneStart() + unit) {
    return;
  }
  if (AddrToRow(m_CursorAddr) == 0 && CanScrollUp()) {
    ScrollRows(1);
  } else {
    MoveCursor(m_CursorAddr - unit, m_CursorNibble);
  }
}

// The last row on the screen may be cut, and at the end of the image it is the empty one behind it:
// the view scrolls one row before that. Where it can't scroll, the cursor goes on alone.
void HexView::KeyDown() {
  const u64 unit = m_Geometry.BytesPerRow;
  if (!HasScreen() || m_CursorAddr + unit >= GetZoneEnd()) {
    return;
  }
  if (AddrToRow(m_CursorAddr) + 2 >= m_Geometry.NumRows && CanScrollDown()) {
    ScrollRows(-1);
  } else {
    MoveCursor(m_CursorAddr + unit, m_CursorNibble);
  }
}

// A target above the screen scrolls it: the cursor first goes a row down from there, and comes back
// with the rows.
void HexView::MoveLeft(i64 Target, u8 Nibble, bool IsOnScreen) {
  if (IsOnScreen) {
    MoveCursor(static_cast<u64>(Target), Nibble);
  } else if (CanScrollUp()) {
    MoveCursor(static_cast<u64>(Target + m_Geometry.BytesPerRow), Nibble);
    ScrollRows(1);
  }
}

// The way down is the way up mirrored, but for the end of the zone, which may lie on the screen.
void HexView::MoveRight(i64 Target, u8 Nibble) {
  const i64 unit = m_Geometry.BytesPerRow;
  const u64 target = static_cast<u64>(Target);
  if (target >= GetZoneEnd()) {
    return;
  }
  if (Target < static_cast<i64>(m_Cache.GetEnd()) - unit || !CanScrollDown()) {
    MoveCursor(target, Nibble);
  } else {
    MoveCursor(static_cast<u64>(Target - unit), Nibble);
    ScrollRows(-1);
  }
}

// In the items the cursor goes by digits in the order in which they stand, so without the
// big-endian order it runs up through the addresses of an item and then back to the item before.
void HexView::KeyLeft() {
  if (!HasScreen()) {
    return;
  }
  const i64 addr = static_cast<i64>(m_CursorAddr);
  const i64 base = static_cast<i64>(GetBaseAddr());
  if (m_IsCursorInText) {
    MoveLeft(addr - 1, m_CursorNibble, addr > base);
    return;
  }
  if (m_CursorNibble == 1) {
    MoveCursor(m_CursorAddr, 0);
    return;
  }
  const i64 size = m_Geometry.ItemSize;
  i64 target = addr - 1;
  if (!m_Geometry.IsBigEndian) {
    target = m_Geometry.GetPlaceInItem(m_CursorAddr) == 0 ? addr - 2 * size + 1 : addr + 1;
  }
  MoveLeft(target, 1, target >= base);
}

void HexView::KeyRight() {
  if (!HasScreen()) {
    return;
  }
  const i64 addr = static_cast<i64>(m_CursorAddr);
  if (m_IsCursorInText) {
    MoveRight(addr + 1, m_CursorNibble);
    return;
  }
  if (m_CursorNibble == 0) {
    MoveCursor(m_CursorAddr, 1);
    return;
  }
  const i64 size = m_Geometry.ItemSize;
  i64 target = addr + 1;
  if (!m_Geometry.IsBigEndian) {
    target = m_CursorAddr % m_Geometry.ItemSize == 0 ? addr + 2 * size - 1 : addr - 1;
  }
  MoveRight(target, 0);
}

// Rows count from 0 here, not from the base; the two agree but right after a change of size.
void HexView::KeyHome() {
  if (HasScreen()) {
    const u64 start = m_CursorAddr - m_CursorAddr % m_Geometry.BytesPerRow;
    MoveCursor(start + m_Geometry.ItemSize - 1, 0);
  }
}

void HexView::KeyEnd() {
  if (HasScreen()) {
    const u64 start = m_CursorAddr - m_CursorAddr % m_Geometry.BytesPerRow;
    MoveCursor(start + m_Geometry.BytesPerRow - m_Geometry.ItemSize, 1);
  }
}

// The jump and the cursor are two steps: the jump alone would leave the cursor where it was.
void HexView::GoToStart() {
  GoTo(GetZoneStart(), false, false);
  MoveCursor(GetZoneStart() + m_Geometry.ItemSize - 1, 0);
}

void HexView::GoToEnd() {
  GoTo(GetLastTop(), false, false);
  MoveCursor(GetZoneEnd() - m_Geometry.ItemSize, 1);
}

// The cursor goes with the view; at the end of the memory it goes on alone.
void HexView::MovePage(i64 Direction) {
  if (!HasScreen()) {
    return;
  }
  const i64 unit = m_Geometry.BytesPerRow;
  const i64 page = std::max<i64>(m_Geometry.NumRows - 1, 1);
  const u64 oldBase = GetBaseAddr();
  const u64 oldCursor = m_CursorAddr;
  ScrollRows(Direction * page);
  if (GetBaseAddr() != oldBase) {
    return;
  }
  const i64 column = static_cast<i64>(oldCursor % m_Geometry.BytesPerRow);
  const i64 first = static_cast<i64>(GetZoneStart()) + column;
  const i64 last = static_cast<i64>(GetZoneEnd()) - unit + column;
  const i64 target = static_cast<i64>(oldCursor) - Direction * page * unit;
  MoveCursor(static_cast<u64>(std::clamp(target, first, last)), m_CursorNibble);
}

// Typing runs on into rows that aren't on the screen yet. Scrolling takes the cursor along, and
// here it has to stay with its byte.
void HexView::BringIntoView(u64 Addr) {
  const i64 lastRow = static_cast<i64>(m_Geometry.NumRows) - 1;
  if (!HasScreen()) {
    return;
  }
  // A fast wheel may have left the cursor above the screen.
  const i64 row = AddrToRow(Addr);
  const bool isBelow = row >= lastRow && CanScrollDown();
  if (isBelow || row < 0) {
    const u64 cursor = m_CursorAddr;
    ScrollRows(isBelow ? lastRow - 1 - row : -row);
    MoveCursor(cursor, m_CursorNibble);
  }
}

void HexView::ClearSelection() {
  m_SelAnchor = 0;
  m_SelEnd = 0;
  m_SelLen = 0;
  RepaintAll();
}

// The lower end goes down to the start of its item, the upper one to the end of its.
void HexView::Select(u64 Anchor, u64 End) {
  const u64 low = m_Geometry.GetItemStart(std::min(Anchor, End));
  const u64 high = m_Geometry.GetItemStart(std::max(Anchor, End)) + m_Geometry.ItemSize - 1;
  m_SelAnchor = Anchor <= End ? low : high;
  m_SelEnd = Anchor <= End ? high : low;
  m_SelLen = high - low + 1;
  RepaintAll();
}

// The anchor is aligned already; its item stays the same whichever end of it is kept.
void HexView::ExtendToCursor() {
  Select(m_SelLen == 0 ? m_CursorAddr : m_SelAnchor, m_CursorAddr);
}

// A click moves the cursor and no more: the selection stays until a drag or Shift makes another, so
// that it can be filled or copied after a look elsewhere. All rows repaint, for the cursor's column
// may change its kind.
void HexView::PressMouse(i32 Column, i64 Row) {
  if (!HasScreen()) {
    return;
  }
  m_IsCursorInText = m_Geometry.IsTextColumn(Column);
  MoveCursor(CellToAddr(Column, Row), m_Geometry.ColumnToNibble(Column));
  m_PressAddr = m_CursorAddr;
  RepaintAll();
}

// A hand that shakes while it clicks selects nothing.
void HexView::DragMouse(i32 Column, i64 Row, u32 PixelDistance) {
  if (!HasScreen()) {
    return;
  }
  MoveCursor(CellToAddr(Column, Row), m_Geometry.ColumnToNibble(Column));
  if (!m_IsSelecting && PixelDistance > DRAG_PIXELS) {
    m_IsSelecting = true;
    Select(m_PressAddr, m_PressAddr);
  }
  if (m_IsSelecting) {
    Select(m_SelAnchor, m_CursorAddr);
  }
}

// Called while the mouse is held outside: the row at that edge is where the selection goes on.
void HexView::ScrollSelection(int Direction, i32 Column) {
  if (!m_IsSelecting || !HasScreen()) {
    return;
  }
  ScrollRows(Direction);
  const i64 row = Direction > 0 ? 0 : i64{m_Geometry.NumRows} - 1;
  MoveCursor(CellToAddr(Column, row), m_CursorNibble);
  Select(m_SelAnchor, m_CursorAddr);
}
