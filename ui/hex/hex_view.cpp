#include "ui/hex/hex_view.h"

// The view's window on memory: reading, scrolling, going to an address, what changed.
//
// Whatever brings bytes into the cache comes through ReloadRange. An operation never repaints by
// itself: it notes rows, and the window takes them when it is through.

#include <algorithm>
#include <utility>

namespace {

// Changes of this age don't get older.
constexpr u8 MAX_AGE = 5;

u64 RoundDown(u64 Addr, u64 Unit) {
  return Unit == 0 ? Addr : Addr - Addr % Unit;
}

}  // namespace

HexView::HexView() = default;

// The cache keeps what it has: the caller decides when the new size is worth a read.
void HexView::SetSize(u32 NumRows, u32 WidthCells) {
  m_WidthCells = WidthCells;
  m_Geometry.NumRows = NumRows;
  m_Geometry.BytesPerRow = HEX_GetBytesPerRow(WidthCells, m_Geometry.ItemSize);
}

// The items of another size may leave room for more or fewer of them.
void HexView::SetItemSize(u32 ItemSize) {
  const u64 oldBytes = m_Geometry.GetBytesPerScreen();
  m_Geometry.ItemSize = HEX_CheckItemSize(ItemSize);
  SetSize(m_Geometry.NumRows, m_WidthCells);
  RepaintAll();
  if (m_SelLen != 0) {
    Select(m_SelAnchor, m_SelEnd);
  }
  if (m_Geometry.GetBytesPerScreen() != oldBytes) {
    GoTo(GetBaseAddr(), false, false);
  }
}

void HexView::SetBigEndian(bool OnOff) {
  m_Geometry.IsBigEndian = OnOff;
  RepaintAll();
}

// An area that lies beyond the addresses that can be shown shows as the last row, empty.
u64 HexView::GetZoneStart() const {
  const u64 first = m_Source.HasArea() ? m_Source.GetMinAddr() : 0;
  return RoundDown(std::min(first, HEX_ADDR_LIMIT - 1), m_Geometry.BytesPerRow);
}

// An area of no bytes has one row, so that there is a place for the cursor.
u64 HexView::GetZoneEnd() const {
  if (!m_Source.HasArea() || m_Source.GetMaxAddr() >= HEX_ADDR_LIMIT - 1) {
    return HEX_ADDR_LIMIT;
  }
  const u64 unit = std::max(m_Geometry.BytesPerRow, 1U);
  return std::min(RoundDown(m_Source.GetMaxAddr() + unit, unit), HEX_ADDR_LIMIT);
}

// Held at or above the start of the zone: an image shorter than the screen has one position only.
// The sum can't wrap, since the padded end lies a row behind 32 bits at most.
u64 HexView::GetLastTop() const {
  const u64 end = GetZoneEndPadded();
  const u64 numBytes = m_Geometry.GetBytesPerScreen();
  const u64 top = end > numBytes ? RoundDown(end - numBytes, m_Geometry.BytesPerRow) : 0;
  return std::max(top, GetZoneStart());
}

void HexView::RepaintAll() {
  m_IsAllDirty = true;
  m_IsRepaintWanted = true;
}

// Rows outside the screen cost nothing; the repaint itself is wanted all the same.
void HexView::MarkRow(i64 Row) {
  m_IsRepaintWanted = true;
  if (Row >= 0 && Row < m_Geometry.NumRows) {
    m_DirtyRows.insert(static_cast<u32>(Row));
  }
}

// Hands over and starts anew. No rows and not all of them is a valid answer: a change off the
// screen leaves nothing to paint.
bool HexView::TakeRepaint(std::set<u32>* pRows, bool* pAll) {
  const bool isWanted = m_IsRepaintWanted;
  *pAll = m_IsAllDirty;
  pRows->swap(m_DirtyRows);
  m_DirtyRows.clear();
  m_IsAllDirty = false;
  m_IsRepaintWanted = false;
  return isWanted;
}

bool HexView::TakeTitleStale() {
  return std::exchange(m_IsTitleStale, false);
}

bool HexView::TakeOverlayClose() {
  return std::exchange(m_IsOverlayToClose, false);
}

u8 HexView::GetChangeAge(u64 Addr) const {
  const auto found = m_ChangedBytes.find(Addr);
  return found == m_ChangedBytes.end() ? 0 : found->second;
}

void HexView::ForgetChanges() {
  m_ChangedBytes.clear();
  RepaintAll();
}

// The base goes to 0 with the cache; the scroll target remembers where the view was.
void HexView::Forget() {
  m_Cache.Clear();
  ForgetChanges();
}

// Bytes that have faded stay in the table at their last age, so that they are told from bytes that
// never changed, but their rows aren't painted again.
void HexView::Age() {
  for (auto& [addr, age] : m_ChangedBytes) {
    if (age < MAX_AGE) {
      ++age;
    }
    if (age < MAX_AGE && m_Cache.Contains(addr, 1)) {
      MarkRow(AddrToRow(addr));
    }
  }
  Refresh();
}

// The window moves over the memory, and the cursor with it, as far as there is memory.
void HexView::MoveWithCache(i64 NumRows) {
  const i64 distance = NumRows * m_Geometry.BytesPerRow;
  m_Cache.Scroll(distance);
  const i64 column = static_cast<i64>(m_CursorAddr % m_Geometry.BytesPerRow);
  const i64 cursor = static_cast<i64>(m_CursorAddr) - distance;
  m_CursorAddr = cursor < 0 ? static_cast<u64>(column) : static_cast<u64>(cursor);
  ClampCursor();
}

// Keeps the column of a cursor that left the zone.
void HexView::ClampCursor() {
  const u64 column = m_CursorAddr % m_Geometry.BytesPerRow;
  if (m_CursorAddr >= GetZoneEnd()) {
    m_CursorAddr = GetZoneEnd() - m_Geometry.BytesPerRow + column;
  }
  if (m_CursorAddr < GetZoneStart()) {
    m_CursorAddr = GetZoneStart() + column;
  }
}

// A scroll is recognised by its range: exactly the rows that a scroll in progress brings in. It
// moves the cache and reads those rows; everything else reads within the window as it stands. A
// change of the screen's size comes first, because the cache has to hold what is read.
void HexView::ReloadRange(u64 Addr, u64 NumBytes) {
  if (!HasScreen()) {
    m_Cache.Clear();
    ForgetChanges();
    return;
  }
  const u64 scrollBytes = static_cast<u64>(std::abs(m_PendingRows)) * m_Geometry.BytesPerRow;
  bool isScroll = m_PendingRows != 0 && NumBytes == scrollBytes &&
                  (m_PendingRows < 0 ? Addr == m_Cache.GetEnd() : Addr + NumBytes == GetBaseAddr());
  if (m_Cache.GetNumBytes() != m_Geometry.GetBytesPerScreen()) {
    m_Cache.Resize(m_Geometry.GetBytesPerScreen());
    RepaintAll();
    isScroll = false;
  } else if (isScroll) {
    MoveWithCache(m_PendingRows);
  }
  // Whole rows, cut to what is shown: anything else would be read for nothing.
  const u64 first = std::max({GetRowStart(std::max(Addr, GetBaseAddr())), GetZoneStart()});
  const u64 end = std::min(m_Cache.GetEnd(), GetZoneEnd());
  const u64 unit = m_Geometry.BytesPerRow;
  const u64 last = NumBytes > end || Addr > end - NumBytes
                       ? end
                       : std::min(end, GetRowStart(Addr + NumBytes + unit - 1));
  if (first < last) {
    ReadIntoCache(first, last - first, isScroll);
  }
  if (isScroll) {
    RepaintAll();
    m_IsTitleStale = true;
  }
  m_PendingRows = 0;
}

// Reads beside the cache first: a busy area must not cost what is on the screen, and only a
// comparison tells which rows need paint.
void HexView::ReadIntoCache(u64 Addr, u64 NumBytes, bool IsScroll) {
  m_aNewData.assign(NumBytes, 0);
  m_aNewState.assign(NumBytes, MEM_STATE_UNREAD);
  const MEM_RESULT result =
      m_Source.Read(Addr, NumBytes, m_Geometry.BytesPerRow, m_aNewData.data(), m_aNewState.data());
  if (result == MEM_RESULT::Busy) {
    m_IsReloadPending = true;
    return;
  }
  if (!IsScroll) {
    MarkChangedRows(Addr, NumBytes, m_aNewData.data(), m_aNewState.data());
  }
  NoteChanges(Addr, NumBytes, m_aNewData.data(), m_aNewState.data());
  m_Cache.Store(Addr, NumBytes, m_aNewData.data(), m_aNewState.data());
}

// Addr starts a row, and the range is made of rows.
void HexView::MarkChangedRows(u64 Addr, u64 NumBytes, const u8* pData, const u8* pState) {
  const u64 offset = m_Cache.GetOffset(Addr);
  for (u64 i = 0; i < NumBytes; i += m_Geometry.BytesPerRow) {
    const u64 end = std::min<u64>(i + m_Geometry.BytesPerRow, NumBytes);
    const bool isSame = std::equal(pData + i, pData + end, m_Cache.GetData() + offset + i) &&
                        std::equal(pState + i, pState + end, m_Cache.GetState() + offset + i);
    if (!isSame) {
      MarkRow(AddrToRow(Addr + i));
    }
  }
}

// Only bytes known before and now can have changed: what comes into view for the first time is not
// news.
void HexView::NoteChanges(u64 Addr, u64 NumBytes, const u8* pData, const u8* pState) {
  const u8* oldData = m_Cache.GetData() + m_Cache.GetOffset(Addr);
  const u8* oldState = m_Cache.GetState() + m_Cache.GetOffset(Addr);
  for (u64 i = 0; i < NumBytes; ++i) {
    if (pState[i] == MEM_STATE_VALID && oldState[i] == MEM_STATE_VALID && pData[i] != oldData[i]) {
      m_ChangedBytes[Addr + i] = 1;
    }
  }
}

// A screen that is read as a whole leaves nothing of an earlier failure behind.
void HexView::Refresh() {
  m_IsReloadPending = m_IsForgetPending;  // that asks for more than the screen
  ReloadRange(GetBaseAddr(), m_Geometry.GetBytesPerScreen());
}

// What is shown stays until there is something to replace it.
void HexView::ReloadAll() {
  m_IsForgetPending = !m_Source.Update();
  if (m_IsForgetPending) {
    m_IsReloadPending = true;
    return;
  }
  Forget();
  Show();
  ForgetChanges();
}

// Called again and again while the area is busy, so it has to be cheap: one attempt at the lock.
void HexView::Retry() {
  if (!m_IsReloadPending) {
    return;
  }
  m_IsReloadPending = false;
  // Before the first look at an area nothing is known of where it lies.
  if (m_IsForgetPending) {
    ReloadAll();
  } else if (m_Source.Update()) {
    Show();
  } else {
    m_IsReloadPending = true;
  }
}

// Of two scrolls at once the second would count its rows from a base that is about to move.
bool HexView::CanScrollUp() const {
  return m_PendingRows == 0 && GetBaseAddr() > GetZoneStart();
}

bool HexView::CanScrollDown() const {
  return m_PendingRows == 0 && m_Cache.GetEnd() < GetZoneEndPadded();
}

// Rows are signed: up and down differ by their sign only, and a view that stands past an end, after
// its image shrank, must not turn into a huge distance. Short ways read just the rows that come in;
// longer ones than the screen have nothing to keep.
void HexView::ScrollRows(i64 NumRows) {
  if (!HasScreen()) {
    return;
  }
  if (m_Cache.GetNumBytes() != m_Geometry.GetBytesPerScreen()) {
    Refresh();
  }
  m_IsOverlayToClose = true;
  const i64 unit = m_Geometry.BytesPerRow;
  const i64 base = static_cast<i64>(GetBaseAddr());
  const i64 above = (base - static_cast<i64>(GetZoneStart())) / unit;
  const i64 below = static_cast<i64>(GetZoneEndPadded() - m_Cache.GetEnd()) / unit;
  const i64 rows = std::clamp(NumRows, std::min<i64>(-below, 0), std::max<i64>(above, 0));
  if (rows == 0) {
    return;
  }
  m_PendingRows = rows;
  m_ScrollTarget = static_cast<u64>(base - rows * unit);
  if (std::abs(rows) > m_Geometry.NumRows) {
    GoTo(m_ScrollTarget, false, false);
    return;
  }
  const u64 numBytes = static_cast<u64>(std::abs(rows) * unit);
  ReloadRange(rows > 0 ? GetBaseAddr() - numBytes : m_Cache.GetEnd(), numBytes);
}

// The cursor is set before the view, from the address as it was asked for: the view may have to
// stop earlier, at the last top, with the address further down on the screen. It goes to the digit
// on the left of its item, which is the item's last byte.
void HexView::GoTo(u64 Addr, bool SetCursor, bool PushHistory) {
  m_PendingRows = 0;
  if (!HasScreen()) {
    m_ScrollTarget = Addr;
    return;
  }
  m_IsOverlayToClose = true;
  const u64 zoneStart = GetZoneStart();
  const u64 held = std::clamp(Addr, zoneStart, GetLastTop());
  if (SetCursor) {
    u64 addr = held;
    if (m_Source.HasArea()) {
      addr = std::max(std::min(Addr, m_Source.GetMaxAddr()), zoneStart);
    }
    m_CursorAddr =
        std::min(std::min(addr, HEX_ADDR_LIMIT) + m_Geometry.ItemSize - 1, GetZoneEnd() - 1);
    m_CursorNibble = 0;
  }
  if (PushHistory && (m_aGoBack.empty() || m_aGoBack.back() != GetBaseAddr())) {
    m_aGoBack.push_back(GetBaseAddr());
  }
  const u64 top = RoundDown(held, m_Geometry.BytesPerRow);
  m_Cache.Clear();
  m_Cache.SetBaseAddr(top);
  m_ScrollTarget = top;
  RepaintAll();
  Refresh();
  m_IsTitleStale = true;
}

// The base is compared with the target, since the cache may have been emptied or the size unknown
// when the target was set, and the zone may have moved from under the view.
void HexView::Show() {
  m_IsTitleStale = true;
  const u64 base = GetBaseAddr();
  const bool isInZone = base >= GetZoneStart() && base <= GetLastTop();
  if (base == m_ScrollTarget && isInZone && base % std::max(m_Geometry.BytesPerRow, 1U) == 0) {
    Refresh();
  } else {
    // A cursor that stays on the screen stays where it is.
    const u64 bottom = m_ScrollTarget + m_Geometry.GetBytesPerScreen();
    const bool isSeen = m_CursorAddr >= std::max(m_ScrollTarget, GetZoneStart()) &&
                        m_CursorAddr < std::min(bottom, GetZoneEnd());
    GoTo(m_ScrollTarget, !isSeen, false);
  }
}

// Rows of another length start at other addresses: the base is rounded anew.
void HexView::Resettle() {
  GoTo(GetBaseAddr(), false, false);
  if (!HasScreen()) {
    return;
  }
  const u64 bottom = m_ScrollTarget + m_Geometry.GetBytesPerScreen();
  if (m_CursorAddr < m_ScrollTarget || m_CursorAddr >= bottom) {
    m_CursorAddr = GetBaseAddr();
  }
}

// A slow target is not read for places that the slider only passes.
void HexView::Drag(u64 Addr) {
  m_Cache.Clear();
  m_Cache.SetBaseAddr(RoundDown(Addr, m_Geometry.BytesPerRow));
  m_ScrollTarget = GetBaseAddr();
  m_PendingRows = 0;
  m_IsTitleStale = true;
  RepaintAll();
}

// The place left isn't pushed: going back twice leads further back.
void HexView::GoBack() {
  if (!m_aGoBack.empty()) {
    const u64 addr = m_aGoBack.back();
    m_aGoBack.pop_back();
    GoTo(addr, true, false);
  }
}

// A proposal for Go To: an address that stands in memory. Bytes that aren't shown aren't read for
// it.
bool HexView::GetShownU32(u64 Addr, u32* pValue) const {
  if (!m_Cache.IsValid(Addr, sizeof(u32))) {
    return false;
  }
  const u8* bytes = m_Cache.GetData() + m_Cache.GetOffset(Addr);
  u32 value = 0;
  for (u32 i = 0; i < sizeof(u32); ++i) {
    value |= u32{bytes[i]} << (8 * (m_Geometry.IsBigEndian ? sizeof(u32) - 1 - i : i));
  }
  *pValue = value;
  return true;
}

// The zone may end inside the screen, and the cache may be shorter than the screen right after a
// change of size; neither has a row then. Ages are looked up only when anything has changed.
bool HexView::FormatRow(i64 Row, HexRow* pRow) const {
  const u64 unit = m_Geometry.BytesPerRow;
  const u64 addr = GetBaseAddr() + static_cast<u64>(Row) * unit;
  if (Row < 0 || addr < GetZoneStart() || addr >= GetZoneEnd() || !m_Cache.Contains(addr, unit)) {
    return false;
  }
  const u64 offset = m_Cache.GetOffset(addr);
  pRow->Format(m_Geometry, addr, m_Cache.GetData() + offset, m_Cache.GetState() + offset);
  if (!m_ChangedBytes.empty()) {
    u8 aAge[HEX_MAX_ROW_TEXT];
    for (u64 i = 0; i < unit; ++i) {
      aAge[i] = GetChangeAge(addr + i);
    }
    pRow->NoteAges(m_Geometry, aAge);
  }
  return true;
}
