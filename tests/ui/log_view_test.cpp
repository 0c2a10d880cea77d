#include <gtest/gtest.h>

#include <QtTest/QtTest>
#include <QtWidgets>
#include <memory>
#include <thread>

#include "tests/support/wait_for.h"
#include "ui/log/text_view.h"

namespace {

constexpr int kMargin = 5;

// A shown view of 400 by 200 that has the focus.
class LogView : public testing::Test {
 protected:
  void SetUp() override {
    View.resize(400, 200);
    View.SetLocal8Bit(true);
    View.show();
    View.activateWindow();
    View.setFocus();
    ASSERT_TRUE(QTest::qWaitForWindowActive(&View));
    QApplication::clipboard()->setText("untouched");
  }
  // As another thread would, and lets the view follow.
  void Add(const QByteArray& text) {
    std::thread([&] { View.AddTextFromThread(text.constData()); }).join();
    QCoreApplication::processEvents();
  }
  QPoint At(double col, double line) const {
    const QFontMetricsF metrics(View.GetArea()->font());
    return QPointF(kMargin + (col + 0.1) * metrics.horizontalAdvance('x'),
                   kMargin + (line + 0.5) * metrics.lineSpacing())
        .toPoint();
  }
  void Drag(QPoint from, QPoint to) {
    QTest::mousePress(View.GetArea(), Qt::LeftButton, {}, from);
    QTest::mouseMove(View.GetArea(), to);
    QTest::mouseRelease(View.GetArea(), Qt::LeftButton, {}, to);
  }
  QString Copied() {
    QTest::keyClick(QApplication::focusWidget(), Qt::Key_C, Qt::ControlModifier);
    return QApplication::clipboard()->text();
  }
  QColor ColorAt(QPoint pos) { return View.GetArea()->grab().toImage().pixelColor(pos); }
  QWidget* Bar() { return View.findChild<QWidget*>("FindBar"); }
  QLineEdit* Edit() { return View.findChild<QLineEdit*>("FindText"); }

  CustTextView View{nullptr};
};

TEST_F(LogView, SelectsByMouseAndCopies) {
  Add("first line\nsecond l\xc3\xa9ne 'x', end\nthird\n");
  EXPECT_EQ(Copied(), "untouched");
  Drag(At(3, 2), At(7, 1));
  EXPECT_EQ(Copied(), QString::fromUtf8("l\xc3\xa9ne 'x', end\r\nthi"));
  Drag(At(0, 0), QPoint(-50, 190));
  EXPECT_TRUE(Copied().endsWith("end\r\n")) << Copied().toStdString();
  QTest::mouseDClick(View.GetArea(), Qt::LeftButton, {}, At(8, 1));
  EXPECT_EQ(Copied(), QString::fromUtf8("l\xc3\xa9ne"));
  View.SetLocal8Bit(false);
  Drag(At(8, 1), At(10, 1));
  EXPECT_EQ(Copied(), QString::fromLatin1("\xc3\xa9"));
  QTest::keyClick(&View, Qt::Key_A, Qt::ControlModifier);
  QTest::mousePress(View.GetArea(), Qt::RightButton, {}, At(0, 0));
  EXPECT_TRUE(Copied().startsWith("first line\r\nsecond")) << "other buttons do nothing";
  Add("more\n");
  EXPECT_FALSE(View.GetArea()->HasSelection());
}

TEST_F(LogView, PaintsColoursSelectionAndHighlight) {
  Add("\x1b[41mAAAA\x1b[0m    \xc3\xa9 end\n");
  const QPoint blank = At(4.5, 0);
  EXPECT_EQ(ColorAt(blank), QColor(255, 255, 255));
  EXPECT_EQ(ColorAt(At(0, 0) - QPoint(0, 5)), QColor(136, 0, 0));
  Drag(At(4, 0), At(6, 0));
  EXPECT_EQ(ColorAt(blank), QColor(0, 0, 255));
  QTest::keyClick(&View, Qt::Key_F, Qt::ControlModifier);
  EXPECT_EQ(ColorAt(blank), QColor(128, 128, 128)) << "the find bar has the focus";
  QTest::keyClick(Edit(), Qt::Key_Return);
  const QColor found = ColorAt(blank);
  EXPECT_GT(found.red(), found.blue() + 50);
  QTest::keyClick(Edit(), Qt::Key_Escape);
  EXPECT_EQ(ColorAt(blank), QColor(0, 0, 255)) << "the selection stays, with the focus back";
  QTest::keyClick(&View, Qt::Key_Escape);
  EXPECT_EQ(ColorAt(blank), QColor(255, 255, 255));
}

TEST_F(LogView, FollowsTheTextAndScrollsByKeys) {
  QScrollBar* pBar = View.verticalScrollBar();
  // The last one brings a horizontal scroll bar.
  for (const QByteArray& text : {QByteArray("line\n").repeated(200), QByteArray(500, 'w')}) {
    Add(text);
    EXPECT_GT(pBar->maximum(), 1000);
    EXPECT_EQ(pBar->value(), pBar->maximum());
  }
  for (const auto& [key, value] : {std::pair(Qt::Key_Home, 0),
                                   {Qt::Key_PageDown, pBar->pageStep()},
                                   {Qt::Key_PageUp, 0},
                                   {Qt::Key_End, pBar->maximum()}}) {
    QTest::keyClick(&View, key);
    EXPECT_EQ(pBar->value(), value);
  }
  Add("\x1b[2J");
  EXPECT_EQ(pBar->maximum(), 0);
}

TEST_F(LogView, FindBar) {
  const QByteArray hay = QByteArray("hay\n").repeated(39);
  Add("\n\n\nNeedle here\n" + hay + "Needle here\n" + hay + "Needle here\n" + hay);
  QTest::keyClick(&View, Qt::Key_F, Qt::ControlModifier);
  ASSERT_TRUE(Bar()->isVisible());
  EXPECT_TRUE(Edit()->hasFocus());
  View.resize(500, 220);
  EXPECT_EQ(Bar()->geometry().right() + kMargin, View.viewport()->geometry().right());

  const QColor normal = Bar()->palette().color(QPalette::Window);
  QTest::keyClick(Edit(), Qt::Key_Return);
  EXPECT_EQ(Bar()->palette().color(QPalette::Window), QColor(244, 208, 63)) << "nothing to find";
  QTest::keyClicks(Edit(), "NEEDLE");
  const struct {
    Qt::Key Key;
    Qt::KeyboardModifiers Modifiers;
    int Line;
  } rows[] = {{Qt::Key_Return, {}, 3},
              {Qt::Key_F3, {}, 43},
              {Qt::Key_G, Qt::ControlModifier, 83},
              {Qt::Key_F3, {}, 3},
              {Qt::Key_F3, Qt::ShiftModifier, 83},
              {Qt::Key_G, Qt::ControlModifier | Qt::ShiftModifier, 43}};
  for (const auto& row : rows) {
    QTest::keyClick(Edit(), row.Key, row.Modifiers);
    EXPECT_EQ(Bar()->palette().color(QPalette::Window), normal);
    const double height = QFontMetricsF(View.GetArea()->font()).lineSpacing();
    const int top = View.verticalScrollBar()->value();
    EXPECT_LE(static_cast<int>(top / height), row.Line);
    EXPECT_GE(static_cast<int>((top + View.viewport()->height()) / height), row.Line);
    EXPECT_EQ(View.GetArea()->GetSelectedText(), "Needle");
  }
  QTest::keyClick(Edit(), Qt::Key_Escape);
  EXPECT_FALSE(Bar()->isVisible());
  QTest::keyClick(&View, Qt::Key_F, Qt::ControlModifier);
  EXPECT_EQ(Edit()->selectedText(), "Needle") << "the selection becomes the search text";
}

// A window may have other uses for the same keys; in the log they find.
TEST_F(LogView, KeysOfTheWindowDoNotReachIn) {
  QMainWindow window;
  auto* pView = new CustTextView(&window);
  window.setCentralWidget(pView);
  auto* pErase = new QAction("Erase", &window);
  pErase->setShortcut(QKeySequence("F3"));
  window.addAction(pErase);
  QSignalSpy erased(pErase, &QAction::triggered);
  window.show();
  ASSERT_TRUE(QTest::qWaitForWindowExposed(&window));
  window.activateWindow();
  pView->setFocus();
  pView->AddTextFromThread("needle\nx\nneedle\n");
  QCoreApplication::processEvents();
  QTest::keyClick(pView, Qt::Key_F, Qt::ControlModifier);
  auto* pEdit = pView->findChild<QLineEdit*>("FindText");
  QTest::keyClicks(pEdit, "needle");
  QTest::keyClick(pEdit, Qt::Key_F3);
  EXPECT_EQ(pView->GetArea()->GetSelectedText(), "needle");
  QTest::keyClick(pEdit, Qt::Key_Escape);
  QTest::keyClick(pView, Qt::Key_Escape);
  QTest::keyClick(pView, Qt::Key_F3);
  EXPECT_EQ(pView->GetArea()->GetSelectedText(), "needle");
  EXPECT_EQ(erased.count(), 0);
}

TEST_F(LogView, PaintsAnyBytesWhileTextComes) {
  std::atomic<bool> isDone = false;
  std::thread writer([&] {
    for (int i = 0; i < 6000; ++i) {
      char acText[64] = "";
      for (int k = 0; k < 63; ++k) {
        acText[k] = static_cast<char>(1 + (i * 31 + k * 17 + (i * k) % 7) % 255);
      }
      View.AddTextFromThread(acText);
    }
    isDone = true;
  });
  EXPECT_TRUE(WaitFor([&] {
    QCoreApplication::processEvents();
    View.GetArea()->repaint();
    return isDone.load();
  }));
  writer.join();
  QCoreApplication::processEvents();
  EXPECT_EQ(View.verticalScrollBar()->value(), View.verticalScrollBar()->maximum());
}

TEST(LogViewSchemes, Backgrounds) {
  for (const u32 scheme : {COLOR_SCHEME_LIGHT, COLOR_SCHEME_DARK}) {
    CUST_TEXT_VIEW_CONFIG config = CUST_TEXT_VIEW_LOG;
    config.ColorScheme = scheme;
    CustTextView view(nullptr, config);
    view.resize(100, 60);
    view.AddTextFromThread("\x1b[1m   x\n");  // the brightest colour has none above it
    view.show();
    ASSERT_TRUE(QTest::qWaitForWindowExposed(&view));
    EXPECT_EQ(view.viewport()->grab().toImage().pixelColor(50, 40),
              QColor(scheme == COLOR_SCHEME_LIGHT ? Qt::white : Qt::black));
  }
}

}  // namespace
