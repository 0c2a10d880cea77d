#include "ui/hex/hex_row.h"

#include <algorithm>

namespace {

// Older changes look like no change.
constexpr u8 LAST_SHOWN_AGE = 3;

constexpr u8 SOFT_HYPHEN = 173;

}  // namespace

// Printable characters of ISO 8859-1 without its blanks.
bool HEX_IsShownAsChar(u8 Value, u8 State) {
  return State == MEM_STATE_VALID &&
         ((Value >= 33 && Value <= 126) || (Value >= 161 && Value != SOFT_HYPHEN));
}

// By hand: formatting a screen by the library would cost more than painting it.
void HexRow::AppendHex(u32 Value, u32 NumDigits) {
  while (NumDigits-- > 0) {
    Append("0123456789ABCDEF"[Value >> (4 * NumDigits) & 0xF]);
  }
}

// IsPartOfItem: another byte of the item exists, so that this one is missed.
void HexRow::AppendByte(u8 Value, u8 State, bool IsPartOfItem) {
  char filler = ' ';
  switch (State) {
    case MEM_STATE_VALID:
      AppendHex(Value, 2);
      return;
    case MEM_STATE_NO_DATA:
      filler = '-';
      break;
    case MEM_STATE_UNREAD:
      filler = '.';
      break;
    default:
      filler = IsPartOfItem ? '-' : ' ';
      break;
  }
  Append(filler);
  Append(filler);
}

// Always byte by byte, in the order in which they stand: for an item that is complete the digits
// make up its number all the same. The columns come from the geometry, which is where clicks are
// resolved too, so that both can't drift apart.
void HexRow::Format(const HexGeometry& Geometry, u64 Addr, const u8* pData, const u8* pState) {
  m_Length = 0;
  m_NumRuns = 0;
  m_HexWidth = Geometry.GetHexWidth();
  AppendHex(static_cast<u32>(Addr >> 16) & 0xFFFF, 4);
  Append('_');
  AppendHex(static_cast<u32>(Addr) & 0xFFFF, 4);
  const u32 itemSize = Geometry.ItemSize;
  for (u32 item = 0; item < Geometry.BytesPerRow; item += itemSize) {
    const u32 firstCol = Geometry.OffsetToColumn(item, 0) - 2 * Geometry.GetPlaceInItem(item);
    while (m_Length < firstCol) {
      Append(' ');
    }
    const bool hasValid = std::count(pState + item, pState + item + itemSize, MEM_STATE_VALID) != 0;
    for (u32 place = 0; place < itemSize; ++place) {
      const u64 i = Geometry.GetAddrInItem(item, place);
      AppendByte(pData[i], pState[i], hasValid);
    }
  }
  Append(' ');
  Append(' ');
  for (u32 i = 0; i < Geometry.BytesPerRow; ++i) {
    Append(HEX_IsShownAsChar(pData[i], pState[i]) ? static_cast<char>(pData[i]) : '.');
  }
}

std::string_view HexRow::GetItems() const {
  return GetText().substr(HEX_FIRST_COL, m_HexWidth);
}

std::string_view HexRow::GetChars() const {
  return GetText().substr(HEX_FIRST_COL + m_HexWidth + 2);
}

// Neighbours of one age become one run. What doesn't fit is dropped.
void HexRow::AddRun(u32 Column, u32 Length, u8 Age) {
  if (m_NumRuns > 0) {
    RUN& last = m_aRuns[m_NumRuns - 1];
    if (last.Age == Age && last.Column + last.Length == Column) {
      last.Length += Length;
      return;
    }
  }
  if (m_NumRuns < MAX_RUNS) {
    m_aRuns[m_NumRuns++] = {Column, Length, Age};
  }
}

// Age 0 is no change; otherwise the lowest counts, so a fresh byte is seen even in an item whose
// other bytes have faded.
void HexRow::NoteAges(const HexGeometry& Geometry, const u8* pAge) {
  const u32 itemSize = Geometry.ItemSize;
  for (u32 item = 0; item < Geometry.BytesPerRow; item += itemSize) {
    u8 age = 0;
    for (u32 i = item; i < item + itemSize; ++i) {
      age = age == 0 || (pAge[i] != 0 && pAge[i] < age) ? pAge[i] : age;
    }
    if (age != 0 && age <= LAST_SHOWN_AGE) {
      const u32 place = Geometry.GetPlaceInItem(item);
      AddRun(Geometry.OffsetToColumn(item, 0) - 2 * place, 2 * itemSize, age);
    }
  }
  for (u32 i = 0; i < Geometry.BytesPerRow; ++i) {
    if (pAge[i] != 0 && pAge[i] <= LAST_SHOWN_AGE) {
      AddRun(Geometry.GetTextCol() + i, 1, pAge[i]);
    }
  }
}
