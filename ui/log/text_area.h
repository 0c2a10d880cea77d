#pragma once

#include <QtWidgets>
#include <array>

#include "ui/log/text_buffer.h"

class CustTextView;

constexpr u32 COLOR_SCHEME_LIGHT = 0;
constexpr u32 COLOR_SCHEME_DARK = 1;
constexpr u32 COLOR_SCHEME_SYSTEM = 2;

// The scrolled content of a text view: paints the visible lines of its buffer with fixed-pitch
// arithmetic, and selects with the mouse. GUI thread only, but for the buffer.
class CustTextArea : public QWidget {
  Q_OBJECT

 public:
  CustTextArea(CustTextView* pView, u32 TextMode, u32 ColorScheme, u32 NumLinesInitial);

  TextBuffer& GetBuffer() { return m_Buffer; }
  void SetFontSize(int PointSize);
  bool SetLocal8Bit(bool OnOff);
  QColor GetBackground() const { return m_Background; }
  int GetLineHeight() const;

  // After new text: sizes anew, forgets what pointed into the old text.
  void OnNewText();
  bool HasSelection() const { return GetSelection().NumLines != 0; }
  std::string GetSelectedText() const;
  // Bytes of the log as text, and back, as SetLocal8Bit says.
  QString Decode(std::string_view Text) const;
  QByteArray Encode(const QString& Text) const;
  void SelectAll();
  void SetSelection(TEXT_POS Start, TEXT_POS End);
  void ClearSelection();
  // The found place, painted over the text; Length 0 takes it away.
  void SetHighlight(TEXT_POS Pos, u32 Length);
  // Where a place stands, in pixels of the area.
  QPoint PosToPoint(TEXT_POS Pos) const;

 Q_SIGNALS:
  void SignalTextUpdated();

 protected:
  void paintEvent(QPaintEvent* pEvent) override;
  void mousePressEvent(QMouseEvent* pEvent) override;
  void mouseReleaseEvent(QMouseEvent* pEvent) override;
  void mouseMoveEvent(QMouseEvent* pEvent) override;
  void mouseDoubleClickEvent(QMouseEvent* pEvent) override;

 private:
  static constexpr int kNumAscii = 128;
  struct SELECTION_COLORS {
    QColor Background, Text;
  };
  void SetColors(u32 ColorScheme);
  TEXT_SELECTION GetSelection() const;
  TEXT_POS PosToLineCol(QPointF Pos) const;
  void PaintLine(QPainter* pPainter, u32 Line);
  void PaintRun(QPainter* pPainter, u32 Line, u32 Begin, u32 End, const QColor& text,
                const QColor* pBackground);
  void MakeGlyphs();
  double GetX(u32 Col) const;
  quint32 GetGlyph(char32_t Code) const;
  void DrawRun(QPainter* pPainter, double Baseline, std::string_view Line, u32 Begin,
               u32 End) const;
  void PaintSelection(QPainter* pPainter, u32 Line, const TEXT_SELECTION& selection);

  CustTextView* m_pView;
  const u32 m_TextMode;
  std::array<QColor, 16> m_aPalette;
  TEXT_DEFAULTS m_Defaults;
  QColor m_Background;
  SELECTION_COLORS m_SelFocus, m_SelNoFocus;
  TextBuffer m_Buffer;
  TEXT_POS m_SelStart, m_SelEnd;
  u64 m_SelVersion = 0;  // of the text that the selection points into
  bool m_IsSelecting = false;
  TEXT_POS m_Highlight;
  u32 m_HighlightLen = 0;
  double m_CharWidth = 1;
  double m_LineHeight = 1;
  double m_Descent = 0;
  bool m_UseLocal8Bit = false;
  QRawFont m_RawFont;
  std::array<quint32, kNumAscii> m_aGlyphs{};
  u32 m_ShownBegin = 0;  // cells that are being painted
  u32 m_ShownEnd = 0;
  std::vector<u32> m_aCells;  // of the line that is being painted
};
