#include "ui/log/text_area.h"

#include <algorithm>
#include <cmath>

#include "ui/common/qt_helper.h"
#include "ui/log/text_bytes.h"
#include "ui/log/text_view.h"

namespace {

constexpr int kMargin = 5;
constexpr int kMaxPointSize = 64;
const QColor kHighlight(255, 165, 0, 127);

TEXT_DEFAULTS GetDefaults(u32 ColorScheme) {
  return ColorScheme == COLOR_SCHEME_DARK ? TEXT_DEFAULTS{15, 0, 9, 7} : TEXT_DEFAULTS{0, 15, 1, 8};
}

std::array<QColor, 16> MakePalette() {
  std::array<QColor, 16> colors;
  for (u32 i = 0; i < 8; ++i) {
    const auto part = [i](int bit, int on) { return (i >> bit & 1) != 0 ? on : 0; };
    colors[i] = QColor(part(0, 136), part(1, 136), part(2, 136));
    colors[i + 8] = QColor(part(0, 255), part(1, 255), part(2, 255));
  }
  colors[7] = QColor(204, 204, 204);
  colors[8] = QColor(136, 136, 136);
  return colors;
}

}  // namespace

CustTextArea::CustTextArea(CustTextView* pView, u32 TextMode, u32 ColorScheme, u32 NumLinesInitial)
    : QWidget(pView),
      m_pView(pView),
      m_TextMode(TextMode),
      m_aPalette(MakePalette()),
      m_Defaults(GetDefaults(ColorScheme)),
      m_Buffer(TextMode, m_Defaults, NumLinesInitial) {
  setObjectName("CustTextArea");
  setCursor(Qt::IBeamCursor);
  setFocusPolicy(Qt::NoFocus);
  SetColors(ColorScheme);
  m_Buffer.SetUtf8(false);
}

void CustTextArea::SetColors(u32 ColorScheme) {
  m_SelFocus = {QColor(0, 0, 255), QColor(255, 255, 255)};
  m_SelNoFocus = {QColor(128, 128, 128), QColor(255, 255, 255)};
  if (ColorScheme == COLOR_SCHEME_DARK) {
    m_SelNoFocus = {QColor(255, 255, 255), QColor(0, 0, 0)};
  } else if (ColorScheme == COLOR_SCHEME_SYSTEM) {
    const QPalette colors = QApplication::palette();
    m_SelFocus = {colors.color(QPalette::Highlight), colors.color(QPalette::HighlightedText)};
  }
  m_Background =
      ColorScheme == COLOR_SCHEME_SYSTEM ? QColor(Qt::transparent) : m_aPalette[m_Defaults.BgColor];
}

void CustTextArea::SetFontSize(int PointSize) {
  if (PointSize > kMaxPointSize || PointSize < 1) {
    return;
  }
  for (QWidget* pWidget : {static_cast<QWidget*>(m_pView), static_cast<QWidget*>(this)}) {
    QTHelper_SetFixedFont(pWidget);
    QFont sized = pWidget->font();
    sized.setPointSize(PointSize);
    sized.setStyleStrategy(QFont::PreferDefault);
    pWidget->setFont(sized);
  }
  const QFontMetricsF metrics(font());
  m_LineHeight = metrics.lineSpacing();
  m_CharWidth = metrics.horizontalAdvance('x');
  m_Descent = metrics.descent();
  MakeGlyphs();
}

// Control characters come out as blanks.
void CustTextArea::MakeGlyphs() {
  m_RawFont = QRawFont::fromFont(font());
  std::array<QChar, kNumAscii> characters;
  for (u32 i = 0; i < kNumAscii; ++i) {
    characters[i] = QChar(i < ' ' || i == 0x7F ? ' ' : i);
  }
  int numGlyphs = kNumAscii;
  m_aGlyphs.fill(0);
  if (m_RawFont.isValid()) {
    m_RawFont.glyphIndexesForChars(characters.data(), kNumAscii, m_aGlyphs.data(), &numGlyphs);
  }
}

// 0: the font lacks it.
quint32 CustTextArea::GetGlyph(char32_t Code) const {
  constexpr char32_t kFirstPrintable = 0xA0;  // behind the second block of control characters
  if (Code < kFirstPrintable) {
    return m_aGlyphs[Code < kNumAscii ? Code : ' '];
  }
  quint32 glyph = 0;
  int numGlyphs = 1;
  const QChar character(Code <= 0xFFFF ? static_cast<char16_t>(Code) : u'\0');
  if (!m_RawFont.isValid() || character.isNull() ||
      !m_RawFont.glyphIndexesForChars(&character, 1, &glyph, &numGlyphs)) {
    return 0;
  }
  return glyph;
}

bool CustTextArea::SetLocal8Bit(bool OnOff) {
  const bool old = m_UseLocal8Bit;
  m_UseLocal8Bit = OnOff;
  m_Buffer.SetUtf8(OnOff);
  repaint();
  return old;
}

int CustTextArea::GetLineHeight() const {
  return static_cast<int>(std::ceil(m_LineHeight));
}

void CustTextArea::OnNewText() {
  u32 numLines = 0;
  u32 maxLen = 0;
  {
    const std::lock_guard lock(m_Buffer.GetLock());
    numLines = m_Buffer.GetNumLines();
    maxLen = m_Buffer.GetMaxLineLen();
  }
  ClearSelection();
  setMinimumSize(static_cast<int>(std::ceil(maxLen * m_CharWidth)) + 2 * kMargin,
                 static_cast<int>(std::ceil(numLines * m_LineHeight)) + 2 * kMargin);
  Q_EMIT SignalTextUpdated();
  update();
}

// A selection of lines that have moved on since points at nothing.
TEXT_SELECTION CustTextArea::GetSelection() const {
  const std::lock_guard lock(m_Buffer.GetLock());
  return m_SelVersion == m_Buffer.GetVersion() ? m_Buffer.GetSelection(m_SelStart, m_SelEnd)
                                               : TEXT_SELECTION{};
}

std::string CustTextArea::GetSelectedText() const {
  const std::lock_guard lock(m_Buffer.GetLock());
  return m_Buffer.GetText(GetSelection());
}

void CustTextArea::SetSelection(TEXT_POS Start, TEXT_POS End) {
  const std::lock_guard lock(m_Buffer.GetLock());
  m_SelStart = Start;
  m_SelEnd = End;
  m_SelVersion = m_Buffer.GetVersion();
  update();
}

void CustTextArea::SelectAll() {
  const std::lock_guard lock(m_Buffer.GetLock());
  const u32 numLines = m_Buffer.GetNumLines();
  if (numLines != 0) {
    SetSelection({}, {numLines - 1, m_Buffer.GetLine(numLines - 1).NumChars});
  }
  repaint();
}

void CustTextArea::ClearSelection() {
  m_SelStart = m_SelEnd = {};
  m_HighlightLen = 0;
  update();
}

void CustTextArea::SetHighlight(TEXT_POS Pos, u32 Length) {
  m_Highlight = Pos;
  m_HighlightLen = Length;
  update();
}

QPoint CustTextArea::PosToPoint(TEXT_POS Pos) const {
  const std::lock_guard lock(m_Buffer.GetLock());
  const u32 cell =
      Pos.Line < m_Buffer.GetNumLines() ? m_Buffer.ColumnToCell(Pos.Line, Pos.Col) : Pos.Col;
  return {static_cast<int>(cell * m_CharWidth) + kMargin,
          static_cast<int>(Pos.Line * m_LineHeight) + kMargin};
}

// Under the buffer's lock.
TEXT_POS CustTextArea::PosToLineCol(QPointF Pos) const {
  const u32 numLines = m_Buffer.GetNumLines();
  if (numLines == 0) {
    return {};
  }
  const auto line = static_cast<u32>(std::max(Pos.y() - kMargin, 0.0) / m_LineHeight);
  const auto cell = static_cast<u32>(std::max(Pos.x() - kMargin, 0.0) / m_CharWidth);
  const u32 shown = std::min(line, numLines - 1);
  return {shown, m_Buffer.CellToColumn(shown, cell)};
}

QString CustTextArea::Decode(std::string_view Text) const {
  const QByteArrayView bytes(Text.data(), static_cast<qsizetype>(Text.size()));
  return m_UseLocal8Bit ? QString::fromLocal8Bit(bytes) : QString::fromLatin1(bytes);
}

QByteArray CustTextArea::Encode(const QString& Text) const {
  return m_UseLocal8Bit ? Text.toLocal8Bit() : Text.toLatin1();
}

// ---- Painting ----

void CustTextArea::paintEvent(QPaintEvent* pEvent) {
  const std::lock_guard lock(m_Buffer.GetLock());
  QPainter painter(this);
  const QRect& exposed = pEvent->rect();
  if (m_Background.alpha() != 0) {
    painter.fillRect(exposed, m_Background);
  }
  painter.setFont(font());
  const int left = std::max(exposed.left() - kMargin, 0);
  m_ShownBegin = static_cast<u32>(std::max(left / m_CharWidth - 1, 0.0));
  m_ShownEnd = m_ShownBegin + static_cast<u32>(exposed.width() / m_CharWidth) + 4;
  const int top = std::max(exposed.top() - kMargin, 0);
  const auto first = static_cast<u32>(std::max(static_cast<int>(top / m_LineHeight) - 1, 0));
  const auto numShown = static_cast<u32>(exposed.height() / m_LineHeight) + 3;
  const u32 end = std::min(first + numShown, m_Buffer.GetNumLines());
  const TEXT_SELECTION selection = GetSelection();
  for (u32 line = first; line < end; ++line) {
    m_Buffer.GetCells(line, &m_aCells);
    PaintLine(&painter, line);
    if (selection.NumLines != 0) {
      PaintSelection(&painter, line, selection);
    }
  }
  // A place that was found in a text from before means nothing.
  const bool isHighlightValid = m_HighlightLen != 0 && m_SelVersion == m_Buffer.GetVersion();
  if (isHighlightValid && m_Highlight.Line >= first && m_Highlight.Line < end) {
    const u32 begin = m_Buffer.ColumnToCell(m_Highlight.Line, m_Highlight.Col);
    const u32 behind = m_Buffer.ColumnToCell(m_Highlight.Line, m_Highlight.Col + m_HighlightLen);
    painter.fillRect(
        QRectF(begin * m_CharWidth + kMargin, m_Highlight.Line * m_LineHeight + kMargin,
               std::floor((behind - begin) * m_CharWidth), std::floor(m_LineHeight)),
        kHighlight);
  }
}

double CustTextArea::GetX(u32 Col) const {
  const u32 cell = m_aCells.empty() ? Col : m_aCells[std::min<size_t>(Col, m_aCells.size() - 1)];
  return cell * m_CharWidth + kMargin;
}

// pBackground: null leaves what is there.
void CustTextArea::PaintRun(QPainter* pPainter, u32 Line, u32 Begin, u32 End, const QColor& text,
                            const QColor* pBackground) {
  const auto toColumn = [&](u32 cell) {
    return m_aCells.empty()
               ? cell
               : static_cast<u32>(std::lower_bound(m_aCells.begin(), m_aCells.end(), cell) -
                                  m_aCells.begin());
  };
  Begin = std::max(Begin, toColumn(m_ShownBegin));
  End = std::min(End, toColumn(m_ShownEnd));
  if (Begin >= End) {
    return;
  }
  const double y = Line * m_LineHeight + kMargin;
  if (pBackground != nullptr) {
    const double x = GetX(Begin);
    pPainter->fillRect(QRectF(x, y, GetX(End) - x, m_LineHeight), *pBackground);
  }
  pPainter->setPen(text);
  DrawRun(pPainter, y + m_LineHeight - m_Descent, m_Buffer.GetLine(Line).Text(), Begin, End);
}

// Each character in its cell, without text layout. One that the font lacks is left to the toolkit,
// which borrows it from another.
void CustTextArea::DrawRun(QPainter* pPainter, double Baseline, std::string_view Line, u32 Begin,
                           u32 End) const {
  constexpr size_t kChunk = 512;
  std::array<quint32, kChunk> aGlyphs;
  std::array<QPointF, kChunk> aPositions;
  size_t numGlyphs = 0;
  const auto flush = [&] {
    QGlyphRun glyphs;
    glyphs.setRawFont(m_RawFont);
    glyphs.setRawData(aGlyphs.data(), aPositions.data(), static_cast<int>(numGlyphs));
    pPainter->drawGlyphRun(QPointF(0, Baseline), glyphs);
    numGlyphs = 0;
  };
  for (u32 col = Begin; col < End;) {
    const TEXT_CHAR character = m_aCells.empty() ? TEXT_CHAR{static_cast<u8>(Line[col]), 1}
                                                 : TEXT_DecodeChar(Line.substr(col, End - col));
    const quint32 glyph = GetGlyph(character.Code);
    if (glyph == 0) {
      pPainter->drawText(QPointF(GetX(col), Baseline), QString::fromUcs4(&character.Code, 1));
    } else {
      aGlyphs[numGlyphs] = glyph;
      aPositions[numGlyphs++] = QPointF(GetX(col), 0);
    }
    col += character.NumBytes;
    if (numGlyphs == kChunk || (col >= End && numGlyphs != 0)) {
      flush();
    }
  }
}

void CustTextArea::PaintLine(QPainter* pPainter, u32 Line) {
  const LineContext& line = m_Buffer.GetLine(Line);
  if (line.paAttr == nullptr) {
    PaintRun(pPainter, Line, 0, line.NumChars, m_aPalette[m_Defaults.FgColor], nullptr);
    return;
  }
  for (u32 i = 0; i < line.NumAttrs; ++i) {
    const LINE_ATTR& attr = line.paAttr[i];
    const u32 end = i + 1 < line.NumAttrs ? line.paAttr[i + 1].Pos : line.NumChars;
    const bool hasBackground = attr.Background() != m_Defaults.BgColor;
    PaintRun(pPainter, Line, attr.Pos, std::min(end, line.NumChars), m_aPalette[attr.Foreground()],
             hasBackground ? &m_aPalette[attr.Background()] : nullptr);
  }
}

void CustTextArea::PaintSelection(QPainter* pPainter, u32 Line, const TEXT_SELECTION& selection) {
  if (Line < selection.Start.Line || Line > selection.End.Line) {
    return;
  }
  const u32 begin = Line == selection.Start.Line ? selection.Start.Col : 0;
  const u32 end = Line == selection.End.Line ? selection.End.Col : m_Buffer.GetLine(Line).NumChars;
  const SELECTION_COLORS& colors = m_pView->hasFocus() ? m_SelFocus : m_SelNoFocus;
  PaintRun(pPainter, Line, begin, end, colors.Text, &colors.Background);
}

// ---- Mouse ----

void CustTextArea::mousePressEvent(QMouseEvent* pEvent) {
  if (pEvent->button() != Qt::LeftButton) {
    return;
  }
  const std::lock_guard lock(m_Buffer.GetLock());
  const TEXT_POS pos = PosToLineCol(pEvent->position());
  SetSelection(pos, pos);
  m_IsSelecting = true;
}

void CustTextArea::mouseReleaseEvent(QMouseEvent* pEvent) {
  if (pEvent->button() == Qt::LeftButton) {
    m_IsSelecting = false;
  }
}

void CustTextArea::mouseMoveEvent(QMouseEvent* pEvent) {
  if (!m_IsSelecting) {
    return;
  }
  const QPointF pos(std::max(pEvent->position().x(), 0.0), std::max(pEvent->position().y(), 0.0));
  {
    const std::lock_guard lock(m_Buffer.GetLock());
    // New text has taken the selection away: it starts anew from here.
    const TEXT_POS end = PosToLineCol(pos);
    SetSelection(m_SelVersion == m_Buffer.GetVersion() ? m_SelStart : end, end);
  }
  m_pView->ensureVisible(static_cast<int>(pos.x()), static_cast<int>(pos.y()), 0, 0);
}

void CustTextArea::mouseDoubleClickEvent(QMouseEvent* pEvent) {
  const QPointF pos = pEvent->position();
  if (pEvent->button() != Qt::LeftButton || pos.x() < kMargin || pos.y() < kMargin) {
    return;
  }
  const std::lock_guard lock(m_Buffer.GetLock());
  if (m_Buffer.GetNumLines() != 0) {
    const TEXT_SELECTION word = m_Buffer.GetWord(PosToLineCol(pos));
    SetSelection(word.Start, word.End);
  }
}
