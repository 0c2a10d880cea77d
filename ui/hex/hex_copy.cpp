#include "ui/hex/hex_copy.h"

#include <algorithm>

#include "ui/hex/clipboard_text.h"

namespace {

// About a millisecond's work.
constexpr u64 STEP_BYTES = 16 << 10;

}  // namespace

// Geometry and selection are those of the moment of the command, whatever the user does while a
// long copy goes on. Without a selection there is nothing to read, and the result is empty.
HexCopy::HexCopy(HexView* pView, HEX_COPY Format)
    : m_pView(pView), m_Format(Format), m_Geometry(pView->GetGeometry()) {
  if (pView->GetSelLen() == 0 || m_Geometry.BytesPerRow == 0) {
    return;
  }
  m_First = pView->GetSelFirst();
  m_Last = pView->GetSelLast();
  const bool isRows = Format == HEX_COPY::Hex || Format == HEX_COPY::Text;
  m_FirstRow = pView->GetSelFirstRow();
  m_Addr = isRows ? m_FirstRow : m_First;
  m_End = isRows ? pView->GetSelLastRow() + m_Geometry.BytesPerRow : m_Last + 1;
}

// What can't be read shows as it does on the screen, or as 0 in the formats that are numbers.
HexCopy::STEP HexCopy::Step() {
  if (m_Addr < m_End) {
    // Whole rows; a rest goes with the last of them.
    const u64 unit = m_Geometry.BytesPerRow;
    const u64 step = std::max(STEP_BYTES, unit);
    const u64 numBytes = m_End - m_Addr < 2 * step ? m_End - m_Addr : step;
    m_aData.assign(numBytes, 0);
    m_aState.assign(numBytes, MEM_STATE_UNREAD);
    if (m_pView->GetSource().Read(m_Addr, numBytes, m_Geometry.BytesPerRow, m_aData.data(),
                                  m_aState.data()) == MEM_RESULT::Busy) {
      return STEP::Busy;
    }
    if (m_Format == HEX_COPY::Binary || m_Format == HEX_COPY::IntList) {
      m_Result.append(m_aData.begin(), m_aData.end());
    } else {
      for (u64 i = 0; i < numBytes; i += unit) {
        HexRow row;
        row.Format(m_Geometry, m_Addr + i, m_aData.data() + i, m_aState.data() + i);
        m_aRows.emplace_back(m_Format == HEX_COPY::Hex ? row.GetItems() : row.GetChars());
      }
    }
    m_Addr += numBytes;
  }
  if (m_Addr < m_End) {
    return STEP::More;
  }
  Finish();
  return STEP::Done;
}

// Nothing selected gives an empty text.
void HexCopy::Finish() {
  if (!m_aRows.empty()) {
    const u64 lastRow = m_End - m_Geometry.BytesPerRow;
    const HEX_CUT cut{static_cast<u32>(m_First - m_FirstRow),
                      static_cast<u32>(lastRow + m_Geometry.BytesPerRow - 1 - m_Last)};
    m_Result = m_Format == HEX_COPY::Hex
                   ? HEX_MakeItemsText(std::move(m_aRows), m_Geometry.ItemSize, cut)
                   : HEX_MakeCharsText(m_aRows, cut);
    m_aRows.clear();
  } else if (m_Format == HEX_COPY::IntList) {
    const std::vector<u8> bytes(m_Result.begin(), m_Result.end());
    m_Result = HEX_MakeInitializer(bytes, m_Geometry.ItemSize, m_Geometry.BytesPerRow);
  }
}
