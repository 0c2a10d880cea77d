// Painting of the hex editor.
//
// The canvas isn't erased by the toolkit: rows that nobody asked for keep their pixels. A row is a
// string of cells; everything in it is placed by its column.
#include "ui/hex/addr_history.h"
#include "ui/hex/hex_editor.h"
#include "ui/hex/hex_view.h"
#include "ui/hex/mem_write.h"

namespace {

constexpr int MARGIN = 2;

// Colours of changed bytes by age, from 1.
constexpr QRgb AGE_COLORS[] = {0xFFFF0000, 0xFFAA0000, 0xFF770000};

// Darkens the selection against a row that it shares its background with.
constexpr int SELECTION_DARKER = 105;

// Draws by cells. A character beyond ASCII may come from another font, with a width of its own: it
// is put to its cell, and so are all behind it.
class CellPainter {
 public:
  CellPainter(QWidget* pCanvas, const QFont& font, int charWidth, int rowHeight)
      : m_Painter(pCanvas), m_CharWidth(charWidth), m_RowHeight(rowHeight) {
    QFont spaced(font);
    // Cells have a whole number of pixels; the difference to the font's advance goes between them.
    const double advance = QFontMetricsF(font).horizontalAdvance(QString(64, '0')) / 64;
    spaced.setLetterSpacing(QFont::AbsoluteSpacing, charWidth - advance);
    m_Painter.setFont(spaced);
    m_Ascent = QFontMetrics(font).ascent();
  }

  QPainter& Get() { return m_Painter; }
  QRect GetRect(u32 column, i64 row, u32 length) const {
    return {static_cast<int>(column) * m_CharWidth + MARGIN, static_cast<int>(row) * m_RowHeight,
            static_cast<int>(length) * m_CharWidth, m_RowHeight};
  }
  void DrawText(u32 column, i64 row, std::string_view text) {
    const auto isAscii = [](char c) { return static_cast<unsigned char>(c) < 128; };
    for (size_t i = 0; i < text.size();) {
      size_t end = i + 1;
      while (isAscii(text[i]) && end < text.size() && isAscii(text[end])) {
        ++end;
      }
      const QPoint left = GetRect(column + static_cast<u32>(i), row, 1).topLeft();
      m_Painter.drawText(left + QPoint(0, m_Ascent),
                         QString::fromLatin1(text.data() + i, static_cast<qsizetype>(end - i)));
      i = end;
    }
  }

 private:
  QPainter m_Painter;
  int m_CharWidth;
  int m_RowHeight;
  int m_Ascent = 0;
};

// The selected part of a row, in the items and in the text column.
void PaintSelection(CellPainter& painter, const HexView& view, i64 row, const QColor& color) {
  const HexGeometry& geometry = view.GetGeometry();
  const u64 rowStart = view.GetBaseAddr() + static_cast<u64>(row) * geometry.BytesPerRow;
  const u64 rowLast = rowStart + geometry.BytesPerRow - 1;
  if (view.GetSelLen() == 0 || view.GetSelLast() < rowStart || view.GetSelFirst() > rowLast) {
    return;
  }
  const u32 first = static_cast<u32>(std::max(view.GetSelFirst(), rowStart) - rowStart);
  const u32 last = static_cast<u32>(std::min(view.GetSelLast(), rowLast) - rowStart);
  // Both ends stand at items: the leftmost digit of the first, the last digit of the last.
  const u32 left = geometry.OffsetToColumn(
      static_cast<u32>(geometry.GetAddrInItem(geometry.GetItemStart(first), 0)), 0);
  const u32 right = geometry.OffsetToColumn(
      static_cast<u32>(geometry.GetAddrInItem(geometry.GetItemStart(last), geometry.ItemSize - 1)),
      1);
  painter.Get().fillRect(painter.GetRect(left, row, right - left + 1), color);
  painter.Get().fillRect(painter.GetRect(geometry.GetTextCol() + first, row, last - first + 1),
                         color);
}

// Twice: the digit among the items, and the byte among the characters.
void PaintCursor(CellPainter& painter, const HexView& view, i64 row, const HexRow& text,
                 const QPalette& palette) {
  if (view.AddrToRow(view.GetCursorAddr()) != row) {
    return;
  }
  const HexGeometry& geometry = view.GetGeometry();
  const u32 offset =
      static_cast<u32>(view.GetCursorAddr() - view.GetRowStart(view.GetCursorAddr()));
  painter.Get().setPen(palette.color(QPalette::HighlightedText));
  for (const u32 column :
       {geometry.OffsetToColumn(offset, view.GetCursorNibble()), geometry.GetTextCol() + offset}) {
    painter.Get().fillRect(painter.GetRect(column, row, 1), palette.color(QPalette::Highlight));
    painter.DrawText(column, row, text.GetText().substr(column, 1));
  }
}

// From the back to the front: selection, text, changed bytes, cursor.
void PaintRow(CellPainter& painter, const HexView& view, i64 row, const QPalette& palette) {
  static HexRow text;  // too large for the stack of a paint event; this thread's alone
  if (!view.FormatRow(row, &text)) {
    return;
  }
  PaintSelection(painter, view, row,
                 palette.color(QPalette::AlternateBase).darker(SELECTION_DARKER));
  painter.Get().setPen(palette.color(QPalette::Text));
  painter.DrawText(0, row, text.GetText());
  for (const HexRow::RUN& run : text.GetRuns()) {
    // Drawn anew, or the pixels that two colours share would show a seam.
    painter.Get().fillRect(painter.GetRect(run.Column, row, run.Length),
                           palette.color(QPalette::Base));
    painter.Get().setPen(QColor(AGE_COLORS[run.Age - 1]));
    painter.DrawText(run.Column, row, text.GetText().substr(run.Column, run.Length));
  }
  PaintCursor(painter, view, row, text, palette);
}

}  // namespace

// The region is what the dirty rows asked for and what else came into view.
void CHexEditor::OnPaint(QWidget* pWidget) {
  const QPalette& palette = m_pTextEditor->palette();
  const int height = static_cast<int>(m_RowHeight);
  CellPainter painter(pWidget, m_pTextEditor->font(), static_cast<int>(m_CharWidth), height);
  for (const QRect& rect : m_PaintRegion) {
    painter.Get().fillRect(rect, palette.color(QPalette::Base));
  }
  if (m_pView->GetGeometry().GetBytesPerScreen() == 0) {
    return;
  }
  const QRect bounds = m_PaintRegion.boundingRect();
  for (int row = bounds.top() / height; row <= bounds.bottom() / height; ++row) {
    if (m_PaintRegion.intersects(QRect(0, row * height, pWidget->width(), height))) {
      PaintRow(painter, *m_pView, row, palette);
    }
  }
}

// A position left of the first cell is column -1; one above the rows counts as the first.
QPoint CHexEditor::PixelToCell(QPoint Pos) const {
  const int x = Pos.x() - MARGIN;
  return {x < 0 ? -1 : x / static_cast<int>(m_CharWidth),
          Pos.y() < 0 ? 0 : Pos.y() / static_cast<int>(m_RowHeight)};
}

// Below the cell of the cursor, on the screen or at its edge.
QPoint CHexEditor::GetCursorPoint() const {
  const u64 addr = m_pView->GetCursorAddr();
  const i64 row = std::clamp<i64>(m_pView->AddrToRow(addr), 0, m_pView->GetGeometry().NumRows);
  const u32 column = m_pView->AddrToColumn(addr, m_pView->GetCursorNibble());
  return {static_cast<int>(column * m_CharWidth) + MARGIN,
          static_cast<int>(row + 1) * static_cast<int>(m_RowHeight)};
}
