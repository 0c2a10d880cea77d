#include "ui/common/icons.h"

#include <QtGui>
#include <QtWidgets>
#include <array>

// Each icon is a function that draws into a square of 24 units with a pen of the text's colour.
// Fills and accents take colours that show on light and dark desktops alike.

namespace {

constexpr double kUnits = 24;
constexpr double kPenWidth = 1.8;

// A painter with the colours of the moment. Every shape leaves the plain pen behind.
struct CANVAS {
  QPainter& P;
  QColor Text;
  QColor Good = QColor(0x2E, 0x9E, 0x5B);
  QColor Bad = QColor(0xD2, 0x4A, 0x43);
  QColor Accent = QColor(0x2F, 0x7D, 0xD1);

  void Pen(const QColor& color, double width = kPenWidth) const {
    P.setPen(QPen(color, width, Qt::SolidLine, Qt::RoundCap, Qt::RoundJoin));
    P.setBrush(Qt::NoBrush);
  }
  void Line(double x1, double y1, double x2, double y2) const {
    P.drawLine(QPointF(x1, y1), QPointF(x2, y2));
  }
  void Poly(std::initializer_list<QPointF> points) const {
    P.drawPolyline(points.begin(), static_cast<int>(points.size()));
  }
  void Solid(std::initializer_list<QPointF> points, const QColor& color) const {
    P.setPen(Qt::NoPen);
    P.setBrush(color);
    P.drawPolygon(points.begin(), static_cast<int>(points.size()));
    Pen(Text);
  }
  void Letters(const char* sText, double size, const QColor& color) const {
    QFont font = QApplication::font();
    font.setPixelSize(static_cast<int>(size));
    font.setBold(true);
    P.setFont(font);
    P.setPen(color);
    P.drawText(QRectF(0, 0, kUnits, kUnits), Qt::AlignCenter, sText);
    Pen(Text);
  }
  // A chip seen from above: body and legs.
  void Chip(double left, double top, double side) const {
    P.drawRoundedRect(QRectF(left, top, side, side), 1.5, 1.5);
    for (const double at : {0.25, 0.5, 0.75}) {
      const double y = top + side * at;
      Line(left - 2.5, y, left, y);
      Line(left + side, y, left + side + 2.5, y);
    }
  }
  void Sheet() const {
    Poly({{6, 2.5}, {14, 2.5}, {19, 7.5}, {19, 21.5}, {6, 21.5}, {6, 2.5}});
    Poly({{14, 2.5}, {14, 7.5}, {19, 7.5}});
  }
  void Folder() const {
    Poly({{2.5, 19.5}, {2.5, 5}, {9, 5}, {11, 7.5}, {19, 7.5}, {19, 10.5}});
    Poly({{2.5, 19.5}, {6, 10.5}, {22, 10.5}, {18.5, 19.5}, {2.5, 19.5}});
  }
  void ArrowDown(double x, double y1, double y2, const QColor& color) const {
    Pen(color, 2.2);
    Line(x, y1, x, y2);
    Poly({{x - 3, y2 - 3}, {x, y2}, {x + 3, y2 - 3}});
    Pen(Text);
  }
  void ArrowUp(double x, double y1, double y2, const QColor& color) const {
    Pen(color, 2.2);
    Line(x, y1, x, y2);
    Poly({{x - 3, y2 + 3}, {x, y2}, {x + 3, y2 + 3}});
    Pen(Text);
  }
  void Cross(double x, double y, double r, const QColor& color, double width) const {
    Pen(color, width);
    Line(x - r, y - r, x + r, y + r);
    Line(x - r, y + r, x + r, y - r);
    Pen(Text);
  }
  void Tick(double x, double y, double r, const QColor& color) const {
    Pen(color, 2.6);
    Poly({{x - r, y}, {x - r / 3, y + r * 0.7}, {x + r, y - r * 0.8}});
    Pen(Text);
  }
};

void DrawProgram(const CANVAS& c) {
  c.P.setPen(Qt::NoPen);
  c.P.setBrush(c.Accent);
  c.P.drawRoundedRect(QRectF(1, 1, 22, 22), 4, 4);
  c.Pen(Qt::white, 1.6);
  c.Chip(7.5, 7.5, 9);
  c.Tick(12, 12, 3, Qt::white);
}
// ---- Files and projects ----

void DrawOpen(const CANVAS& c) {
  c.Folder();
}
void DrawSave(const CANVAS& c) {
  c.Poly({{3, 3}, {17, 3}, {21, 7}, {21, 21}, {3, 21}, {3, 3}});
  c.Poly({{7, 3}, {7, 8.5}, {15, 8.5}, {15, 3}});
  c.Poly({{7, 21}, {7, 13.5}, {17, 13.5}, {17, 21}});
}
void DrawMerge(const CANVAS& c) {
  c.Poly({{5, 3}, {5, 8}, {12, 14}});
  c.Poly({{19, 3}, {19, 8}, {12, 14}});
  c.ArrowDown(12, 14, 21, c.Accent);
}
void DrawNewProject(const CANVAS& c) {
  c.Sheet();
  c.Pen(c.Good, 2.2);
  c.Line(12.5, 11.5, 12.5, 18.5);
  c.Line(9, 15, 16, 15);
}
void DrawOpenProject(const CANVAS& c) {
  c.Folder();
  c.Pen(c.Accent, 1.6);
  c.P.drawRoundedRect(QRectF(10, 13, 4, 4), 1, 1);
}
void DrawCloseProject(const CANVAS& c) {
  c.Sheet();
  c.Cross(12.5, 15, 3, c.Bad, 2.2);
}
void DrawExit(const CANVAS& c) {
  c.Poly({{13, 3}, {4, 3}, {4, 21}, {13, 21}});
  c.Pen(c.Accent, 2.2);
  c.Line(9, 12, 20.5, 12);
  c.Poly({{17, 8.5}, {20.5, 12}, {17, 15.5}});
}
// ---- The target: every operation shows the chip ----

// Two halves of a connector, with so much more room between them.
void DrawPlug(const CANVAS& c, double gap) {
  c.P.drawRoundedRect(QRectF(2.5 - gap / 2, 8, 7, 8), 2, 2);
  c.Line(9.5 - gap / 2, 10, 12 - gap / 2, 10);
  c.Line(9.5 - gap / 2, 14, 12 - gap / 2, 14);
  c.P.drawRoundedRect(QRectF(14.5 + gap / 2, 8, 7, 8), 2, 2);
}
void DrawConnect(const CANVAS& c) {
  DrawPlug(c, 0);
  c.Pen(c.Good, 2.2);
  c.Line(12, 10, 14.5, 10);
  c.Line(12, 14, 14.5, 14);
}
void DrawDisconnect(const CANVAS& c) {
  DrawPlug(c, 2);
  c.Pen(c.Bad, 2.2);
  c.Line(14.5, 4, 10.5, 20);
}
void DrawErase(const CANVAS& c) {
  c.Chip(6, 6, 12);
  c.Cross(12, 12, 3, c.Bad, 2.4);
}
void DrawWrite(const CANVAS& c) {
  c.Chip(6, 10, 11);
  c.ArrowDown(11.5, 1.5, 14, c.Accent);
}
void DrawVerify(const CANVAS& c) {
  c.Chip(6, 6, 12);
  c.Tick(12, 12, 3.6, c.Good);
}
void DrawAuto(const CANVAS& c) {
  c.P.drawEllipse(QRectF(2.5, 2.5, 19, 19));
  c.Solid({{9.5, 7.5}, {17, 12}, {9.5, 16.5}}, c.Good);
}
void DrawReadBack(const CANVAS& c) {
  c.Chip(6, 10, 11);
  c.ArrowUp(11.5, 15.5, 1.5, c.Accent);
}
void DrawSettings(const CANVAS& c) {
  const double knobs[] = {15, 8, 13};
  for (int i = 0; i < 3; ++i) {
    const double y = 5 + 7 * i;
    c.Line(3, y, 21, y);
    c.P.setBrush(c.Accent);
    c.P.drawEllipse(QPointF(knobs[i], y), 2.4, 2.4);
    c.P.setBrush(Qt::NoBrush);
  }
}
void DrawHelp(const CANVAS& c) {
  c.P.drawEllipse(QRectF(2.5, 2.5, 19, 19));
  c.Letters("?", 14, c.Accent);
}
// ---- Searching, docks ----

void DrawFindPrevious(const CANVAS& c) {
  c.Poly({{5, 15.5}, {12, 8.5}, {19, 15.5}});
}
void DrawFindNext(const CANVAS& c) {
  c.Poly({{5, 8.5}, {12, 15.5}, {19, 8.5}});
}
void DrawCross(const CANVAS& c) {
  c.Cross(12, 12, 6, c.Text, 2);
}
void DrawFloatDock(const CANVAS& c) {
  c.P.drawRect(QRectF(4, 8, 12, 12));
  c.Poly({{8, 8}, {8, 4}, {20, 4}, {20, 16}, {16, 16}});
}
// ---- The hex editor: bytes of an item, bytes of an access ----

void DrawItems(const CANVAS& c, const char* sText) {
  c.P.drawRoundedRect(QRectF(2, 4, 20, 16), 2, 2);
  c.Letters(sText, 12, c.Text);
}
void DrawItems1(const CANVAS& c) {
  DrawItems(c, "1");
}
void DrawItems2(const CANVAS& c) {
  DrawItems(c, "2");
}
void DrawItems4(const CANVAS& c) {
  DrawItems(c, "4");
}
void DrawAccess(const CANVAS& c, const char* sText) {
  c.Chip(6, 6, 12);
  c.Letters(sText, 10, c.Accent);
}
void DrawAccess1(const CANVAS& c) {
  DrawAccess(c, "1");
}
void DrawAccess2(const CANVAS& c) {
  DrawAccess(c, "2");
}
void DrawAccess4(const CANVAS& c) {
  DrawAccess(c, "4");
}
void DrawAccessAuto(const CANVAS& c) {
  DrawAccess(c, "A");
}
void DrawFill(const CANVAS& c) {
  for (int i = 0; i < 4; ++i) {
    const int column = i % 2;
    const int row = i / 2;
    const QRectF cell(3 + 9.5 * column, 3 + 9.5 * row, 8.5, 8.5);
    c.P.setBrush(i < 3 ? QBrush(c.Accent) : QBrush(Qt::NoBrush));
    c.P.drawRect(cell);
  }
  c.P.setBrush(Qt::NoBrush);
}
// Up is into memory, down is out of it, as on the chips above.
void DrawTray(const CANVAS& c) {
  c.Poly({{3, 14}, {3, 20.5}, {21, 20.5}, {21, 14}});
}
void DrawLoadMemory(const CANVAS& c) {
  DrawTray(c);
  c.ArrowUp(12, 15.5, 3, c.Accent);
}
void DrawSaveMemory(const CANVAS& c) {
  DrawTray(c);
  c.ArrowDown(12, 3, 15.5, c.Accent);
}
// ---- Going places, clipboard ----

void DrawGoTo(const CANVAS& c) {
  c.Line(20, 4, 20, 20);
  c.Pen(c.Accent, 2.2);
  c.Line(3, 12, 16, 12);
  c.Poly({{12, 8}, {16, 12}, {12, 16}});
}
void DrawGoBack(const CANVAS& c) {
  c.Pen(c.Accent, 2.2);
  c.Line(4, 12, 20, 12);
  c.Poly({{9.5, 6.5}, {4, 12}, {9.5, 17.5}});
}
void DrawRefresh(const CANVAS& c) {
  c.P.drawArc(QRectF(4, 4, 16, 16), 40 * 16, 280 * 16);
  c.Solid({{20.5, 3.5}, {20.5, 10.5}, {14, 8.5}}, c.Text);
}
void DrawCopy(const CANVAS& c) {
  c.P.drawRoundedRect(QRectF(3, 3, 12, 14), 1.5, 1.5);
  c.Poly({{18, 7.5}, {21, 7.5}, {21, 21}, {9, 21}, {9, 19.5}});
}
void DrawPaste(const CANVAS& c) {
  c.P.drawRoundedRect(QRectF(4, 4.5, 16, 17), 1.5, 1.5);
  c.P.drawRoundedRect(QRectF(8.5, 2, 7, 5), 1.5, 1.5);
  c.Pen(c.Accent);
  c.Line(8, 12, 16, 12);
  c.Line(8, 16, 16, 16);
}

using DRAW = void (*)(const CANVAS& c);

// In the order of UI_ICON.
constexpr std::array<DRAW, static_cast<size_t>(UI_ICON::Count)> kDraw = {
    DrawProgram,     DrawOpen,         DrawSave,         DrawMerge,      DrawNewProject,
    DrawOpenProject, DrawCloseProject, DrawExit,         DrawConnect,    DrawDisconnect,
    DrawErase,       DrawWrite,        DrawVerify,       DrawAuto,       DrawReadBack,
    DrawSettings,    DrawHelp,         DrawFindPrevious, DrawFindNext,   DrawCross,
    DrawFloatDock,   DrawCross,        DrawItems1,       DrawItems2,     DrawItems4,
    DrawAccess1,     DrawAccess2,      DrawAccess4,      DrawAccessAuto, DrawFill,
    DrawLoadMemory,  DrawSaveMemory,   DrawGoTo,         DrawGoBack,     DrawRefresh,
    DrawCopy,        DrawPaste};

// Draws anew at every size, so that no scale is blurred. A disabled icon has one colour.
class ENGINE : public QIconEngine {
 public:
  explicit ENGINE(UI_ICON icon) : m_Icon(icon) {}

  void paint(QPainter* pPainter, const QRect& rect, QIcon::Mode mode, QIcon::State) override {
    const QPalette colors = QApplication::palette();
    const auto group = mode == QIcon::Disabled ? QPalette::Disabled : QPalette::Active;
    const auto role = mode == QIcon::Selected ? QPalette::HighlightedText : QPalette::WindowText;
    CANVAS canvas{*pPainter, colors.color(group, role)};
    if (mode == QIcon::Disabled) {
      canvas.Good = canvas.Bad = canvas.Accent = canvas.Text;
    }
    const double side = std::min(rect.width(), rect.height());
    pPainter->save();
    pPainter->setRenderHint(QPainter::Antialiasing);
    pPainter->translate(rect.x() + (rect.width() - side) / 2,
                        rect.y() + (rect.height() - side) / 2);
    pPainter->scale(side / kUnits, side / kUnits);
    canvas.Pen(canvas.Text);
    kDraw[static_cast<size_t>(m_Icon)](canvas);
    pPainter->restore();
  }

  QPixmap pixmap(const QSize& size, QIcon::Mode mode, QIcon::State state) override {
    QPixmap pixmap(size);
    pixmap.fill(Qt::transparent);
    QPainter painter(&pixmap);
    paint(&painter, QRect(QPoint(), size), mode, state);
    return pixmap;
  }

  QIconEngine* clone() const override { return new ENGINE(m_Icon); }

 private:
  UI_ICON m_Icon;
};

}  // namespace

QIcon UI_GetIcon(UI_ICON Icon) {
  return QIcon(new ENGINE(Icon));
}
