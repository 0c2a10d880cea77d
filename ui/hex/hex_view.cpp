#include "ui/hex/hex_view.h"

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

u64 HexView::GetZoneEnd() const {
  if (!m_Source.HasArea() || m_Source.GetMaxAddr() >= HEX_ADDR_LIMIT - 1) {
    return HEX_ADDR_LIMIT;
  }
  const u64 unit = std::max(m_Geometry.BytesPerRow, 1U);
  return std::min(RoundDown(m_Source.GetMaxAddr() + unit, unit), HEX_ADDR_LIMIT);
}

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

void HexView::MarkRow(i64 Row) {
  m_IsRepaintWanted = true;
  if (Row >= 0 && Row < m_Geometry.NumRows) {
    m_DirtyRows.insert(static_cast<u32>(Row));
  }
}

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

void HexView::Forget() {
  m_Cache.Clear();
  ForgetChanges();
}

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

void HexView::NoteChanges(u64 Addr, u64 NumBytes, const u8* pData, const u8* pState) {
  const u8* oldData = m_Cache.GetData() + m_Cache.GetOffset(Addr);
  const u8* oldState = m_Cache.GetState() + m_Cache.GetOffset(Addr);
  for (u64 i = 0; i < NumBytes; ++i) {
    if (pState[i] == MEM_STATE_VALID && oldState[i] == MEM_STATE_VALID && pData[i] != oldData[i]) {
      m_ChangedBytes[Addr + i] = 1;
    }
  }
}

void HexView::Refresh() {
  m_IsReloadPending = false;
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

bool HexView::CanScrollUp() const {
  return m_PendingRows == 0 && GetBaseAddr() > GetZoneStart();
}

bool HexView::CanScrollDown() const {
  return m_PendingRows == 0 && m_Cache.GetEnd() < GetZoneEndPadded();
}

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
    m_CursorAddr = std::min(addr + m_Geometry.ItemSize - 1, GetZoneEnd() - 1);
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

void HexView::Drag(u64 Addr) {
  m_Cache.Clear();
  m_Cache.SetBaseAddr(RoundDown(Addr, m_Geometry.BytesPerRow));
  m_ScrollTarget = GetBaseAddr();
  m_PendingRows = 0;
  m_IsTitleStale = true;
  RepaintAll();
}

void HexView::GoBack() {
  if (!m_aGoBack.empty()) {
    const u64 addr = m_aGoBack.back();
    m_aGoBack.pop_back();
    GoTo(addr, true, false);
  }
}

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
