// The hex editor's window, by real key and mouse events.
#include "ui/hex/hex_editor.h"

#include <gtest/gtest.h>

#include <QtTest/QtTest>
#include <algorithm>
#include <functional>
#include <thread>

#include "image/memarea.h"
#include "tests/support/temp_dir.h"
#include "tests/support/wait_for.h"
#include "ui/hex/cust_scroll_bar.h"
#include "ui/hex/edit_overlay.h"

namespace {

constexpr u64 BASE = 0x1000;

// An editor as the program sets it up for a data file: counting bytes at 0x1000, 16 a row.
struct Window {
  MEMAREA_PTR pArea{MEMAREA_Create()};
  std::unique_ptr<CHexEditor> pEditor = std::make_unique<CHexEditor>();
  QPlainTextEdit* pText = pEditor->findChild<QPlainTextEdit*>("pTextEditor");
  CEditOverlay* pOverlay = pEditor->findChild<CEditOverlay*>();
  QComboBox* pAddrBox = pEditor->findChild<QComboBox*>("pAddrBox");

  explicit Window(u64 numBytes = 0x400) {
    std::vector<u8> bytes(numBytes);
    for (u64 i = 0; i < numBytes; ++i) {
      bytes[i] = static_cast<u8>(i);
    }
    MEMAREA_AddRange(pArea.get(), BASE, bytes.size(), bytes.data());
    MEMAREA_SetNumChanges(pArea.get(), 0);
    pEditor->SetMemArea(pArea.get());
    Start();
  }
  explicit Window(const HEX_HANDLERS& handlers) {
    pEditor->SetHandlers(handlers);
    Start();
  }
  void Start() {
    HEX_EDITOR_CONFIG config;
    config.ShowRefresh = config.ShowAccessWidth = config.ShowLoad = 0;
    config.ScrollWhileDragging = 1;
    pEditor->SetConfig(&config);
    pEditor->SetWindowName("a.hex");
    pEditor->resize(pEditor->sizeHint());
    pEditor->show();
    ASSERT_TRUE(QTest::qWaitForWindowExposed(pEditor.get()));
    pEditor->activateWindow();
    pText->setFocus();
    // The size has settled when the timer that waits for it has run.
    const QList<QTimer*> apTimers = pEditor->findChildren<QTimer*>();
    ASSERT_TRUE(QTest::qWaitFor([&] {
      return std::ranges::none_of(
          apTimers, [](QTimer* pTimer) { return pTimer->interval() == 10 && pTimer->isActive(); });
    }));
  }
  QPoint GetCell(int column, int row) const {
    const QFontMetrics metrics(pText->font());
    return {2 + column * metrics.horizontalAdvance('0') + 2, row * metrics.height() + 2};
  }
  void Click(int column, int row) const {
    QTest::mouseClick(pText->viewport(), Qt::LeftButton, {}, GetCell(column, row));
  }
  // Until the condition holds, then releases.
  void Drag(int column, int row, const QPoint& to, const std::function<bool()>& isEnough) const {
    QWidget* pViewport = pText->viewport();
    QTest::mousePress(pViewport, Qt::LeftButton, {}, GetCell(column, row));
    QMouseEvent move(QEvent::MouseMove, to, pViewport->mapToGlobal(to), Qt::NoButton,
                     Qt::LeftButton, {});
    QApplication::sendEvent(pViewport, &move);
    EXPECT_TRUE(QTest::qWaitFor(isEnough));
    QTest::mouseRelease(pViewport, Qt::LeftButton, {}, to);
  }
  void Drag(int column, int row, int toColumn, int toRow) const {
    Drag(column, row, GetCell(toColumn, toRow), [] { return true; });
  }
  static std::string GetClipboard(const char* sType) {
    return QApplication::clipboard()->mimeData()->data(sType).toStdString();
  }
  // To whatever has the focus.
  static void Type(const char* sKeys) {
    for (; *sKeys != '\0'; ++sKeys) {
      QTest::keyClick(QApplication::focusWidget(), *sKeys);
    }
  }
  static void Press(Qt::Key key, Qt::KeyboardModifiers modifiers = {}) {
    QTest::keyClick(QApplication::focusWidget(), key, modifiers);
  }
  void Trigger(const char* sAction) const { pEditor->findChild<QAction*>(sAction)->trigger(); }
  std::string Read(u64 addr, u64 numBytes) const {
    std::vector<u8> bytes(numBytes);
    MEMAREA_Read(pArea.get(), addr, numBytes, bytes.data(), 0xEE);
    return QByteArray(reinterpret_cast<const char*>(bytes.data()), static_cast<qsizetype>(numBytes))
        .toHex()
        .toStdString();
  }
};

TEST(HexEditor, TypingRunsFromItemToItem) {
  const struct {
    const char* sAction;
    int Column;
    const char* sKeys;
    int LastKey;         // 0: none
    const char* sBytes;  // 8 from the start of row 1
    bool IsOpen;
  } rows[] = {
      {"1", 11, "ABC", 0, "AB11121314151617", true},
      {"1", 11, "ABCD", Qt::Key_Return, "ABCD121314151617", false},
      {"1", 11, "A", Qt::Key_Return, "A011121314151617", false},
      {"1", 11, "A", Qt::Key_Escape, "1011121314151617", false},
      {"1", 11, "AB", Qt::Key_Down, "1011121314151617", false},
      {"1", 11, "xz", 0, "1011121314151617", false},
      {"4", 11, "123456789", Qt::Key_Return, "7856341214151697", false},
  };
  for (const auto& row : rows) {
    Window window;
    window.Trigger((std::string("pActionMemoryView") + row.sAction + "ByteItems").c_str());
    window.Click(row.Column, 1);
    Window::Type(row.sKeys);
    if (row.LastKey != 0) {
      Window::Press(static_cast<Qt::Key>(row.LastKey));
    }
    const QString sBytes = QString::fromStdString(window.Read(BASE + 0x10, 8)).toUpper();
    const QString sLabel = QString("%1 in items of %2").arg(row.sKeys, row.sAction);
    EXPECT_EQ(sBytes.toStdString(), row.sBytes) << sLabel.toStdString();
    EXPECT_EQ(window.pOverlay->isVisible(), row.IsOpen) << sLabel.toStdString();
    const bool isChanged = sBytes != "1011121314151617";
    EXPECT_EQ(window.pEditor->windowTitle().endsWith(" (*)"), isChanged) << sLabel.toStdString();
    if (!row.IsOpen) {
      EXPECT_EQ(QApplication::focusWidget(), window.pText) << sLabel.toStdString();
    }
  }
}

// A click or another widget with the focus; what got the focus keeps it.
TEST(HexEditor, LeavingTheBoxCommitsOnlyAWholeItem) {
  for (const bool isWhole : {false, true}) {
    Window window;
    window.Click(11, 1);
    Window::Type(isWhole ? "AB" : "A");
    window.Click(11 + 9, 2);
    EXPECT_FALSE(window.pOverlay->isVisible());
    EXPECT_EQ(window.Read(BASE + 0x10, 1), isWhole ? "ab" : "10");
    Window::Type("7");  // goes to the byte that was clicked
    Window::Press(Qt::Key_Return);
    EXPECT_EQ(window.Read(BASE + 0x23, 1), "73");
    window.Click(11, 3);
    Window::Press(Qt::Key_Backspace);
    EXPECT_TRUE(window.pOverlay->isVisible());
    window.pAddrBox->setFocus();
    EXPECT_FALSE(window.pOverlay->isVisible());
    EXPECT_EQ(QApplication::focusWidget(), window.pAddrBox);
    EXPECT_EQ(window.Read(BASE + 0x30, 1), "30");
  }
}

TEST(HexEditor, TypingInTheTextColumn) {
  Window window;
  window.Click(61, 1);
  Window::Type("Az");
  QTest::sendKeyEvent(QTest::Click, QApplication::focusWidget(), Qt::Key_unknown,
                      QString(QChar(0x20AC)),
                      Qt::NoModifier);  // no byte holds it
  QTest::sendKeyEvent(QTest::Click, QApplication::focusWidget(), Qt::Key_unknown,
                      QString(QChar(0xE4)), Qt::NoModifier);
  Window::Press(Qt::Key_Backspace);
  EXPECT_EQ(window.Read(BASE + 0x10, 5), "417ae40014");
}

TEST(HexEditor, EndOfTheZoneTakesTheLastItemOnly) {
  Window window(0x100);
  Window::Press(Qt::Key_End, Qt::ControlModifier);
  Window::Press(Qt::Key_Left);
  Window::Type("ABC");
  EXPECT_FALSE(window.pOverlay->isVisible());
  EXPECT_EQ(window.Read(BASE + 0xFE, 3), "feabee");
}

TEST(HexEditor, ReadOnlyChangesNothing) {
  Window window;
  window.pEditor->SetReadOnly(1);
  QApplication::clipboard()->setText("zz");
  window.Click(11, 1);
  Window::Type("A");
  Window::Press(Qt::Key_V, Qt::ControlModifier);
  window.Click(61, 1);
  Window::Type("A");
  window.Trigger("pActionMemoryPaste");
  EXPECT_FALSE(window.pOverlay->isVisible());
  EXPECT_FALSE(window.pEditor->findChild<QAction*>("pActionMemoryFill")->isVisible());
  EXPECT_EQ(window.Read(BASE + 0x10, 4), "10111213");
  CHexEditor::RequestReadOnly(window.pEditor.get(), 0);
  EXPECT_TRUE(QTest::qWaitFor(
      [&] { return window.pEditor->findChild<QAction*>("pActionMemoryFill")->isVisible(); }));
  EXPECT_FALSE(window.pEditor->findChild<QAction*>("pActionMemoryLoad")->isVisible());
}

TEST(HexEditor, CopyAndPaste) {
  Window window;
  QApplication::clipboard()->setText("before");
  window.Trigger("pActionMemoryCopyBinary");  // nothing selected: an error
  EXPECT_EQ(Window::GetClipboard("text/plain"), "before");
  window.Drag(11 + 15, 4, 11 + 6, 5);
  Window::Press(Qt::Key_C, Qt::ControlModifier);
  EXPECT_EQ(Window::GetClipboard("text/plain"), "45 46 47  48 49 4A 4B 4C 4D 4E 4F\n50 51 52");
  window.Trigger("pActionMemoryCopyBinary");
  EXPECT_EQ(Window::GetClipboard("application/octet-stream"), "EFGHIJKLMNOPQR");
  window.Click(11 + 6, 0);
  Window::Press(Qt::Key_V, Qt::ControlModifier);
  // Too long for its range: nothing is written.
  QApplication::clipboard()->setText(QString(0x400, 'x'));
  Window::Press(Qt::Key_V, Qt::ControlModifier);
  EXPECT_EQ(window.Read(BASE, 4), "00014546");
  EXPECT_EQ(window.Read(BASE + 0xF, 2), "5210");
}

TEST(HexEditor, HandlersGetOneWriteForWhatWasTyped) {
  std::vector<std::pair<u64, u64>> writes;
  HEX_HANDLERS handlers;
  handlers.pfReadMem = [](u64, u64 n, u8, const char*, u8* pData, u8* pState) {
    std::fill_n(pData, n, u8{0x41});
    std::fill_n(pState, n, MEM_STATE_VALID);
    return 0;
  };
  handlers.pfWriteMem = [&writes](u64 addr, u64 n, u8, const char*, const u8*) {
    writes.emplace_back(addr, n);
    return 0;
  };
  Window window(handlers);
  QSignalSpy done(window.pEditor.get(), &CHexEditor::SignalEditingFinished);
  window.Click(61, 2);
  Window::Type("abc");
  EXPECT_TRUE(writes.empty());
  EXPECT_TRUE(done.wait());
  using Write = std::pair<u64, u64>;
  EXPECT_EQ(writes, (std::vector<Write>{{0x20, 3}}));
}

TEST(HexEditor, GoesToAddressesAndBack) {
  Window window(0x10000);
  const struct {
    const char* sText;
    const char* sTitle;
  } rows[] = {
      {"5678", "a.hex @ 00005670"},
      {"0", "a.hex @ 00001000"},
      {"FFFFFFFFFFFFFFFFF", "a.hex @ 00001000"},  // no number: stays
      {"5678", "a.hex @ 00005670"},
  };
  for (const auto& row : rows) {
    window.pAddrBox->setFocus();
    window.pAddrBox->lineEdit()->selectAll();
    Window::Type(row.sText);
    Window::Press(Qt::Key_Return);
    EXPECT_EQ(QApplication::focusWidget(), window.pText);
    EXPECT_EQ(window.pEditor->windowTitle(), row.sTitle);
    EXPECT_EQ(window.pAddrBox->itemText(0), row.sText);
  }
  EXPECT_EQ(window.pAddrBox->count(), 3) << "known already: once, not twice";
  // The box gives up the focus without going where its text says.
  window.pAddrBox->setFocus();
  window.pAddrBox->lineEdit()->setText("0");
  window.pText->setFocus();
  EXPECT_EQ(window.pEditor->windowTitle(), "a.hex @ 00005670");
  Window::Press(Qt::Key_Left, Qt::AltModifier);
  EXPECT_EQ(window.pEditor->windowTitle(), "a.hex @ 00001000");
}

TEST(HexEditor, ScrollBarAndWheel) {
  Window window(0x10000);
  auto* pBar = window.pEditor->findChild<CustScrollBar*>();
  const auto getBase = [&] {
    return window.pEditor->windowTitle().section(" @ ", 1).toUInt(nullptr, 16);
  };
  pBar->triggerAction(QAbstractSlider::SliderSingleStepAdd);
  EXPECT_EQ(getBase(), BASE + 0x10);
  pBar->setSliderDown(true);
  pBar->setSliderPosition(HEX_AddrToScroll(0x8128));
  EXPECT_EQ(getBase(), 0x8120U);
  pBar->setSliderDown(false);
  // Half a notch waits for its other half.
  for (const auto& [delta, base] : {std::pair(-120, 0x8150U), {60, 0x8150U}, {60, 0x8120U}}) {
    const QPoint pos = window.GetCell(20, 2);
    QWheelEvent event(pos, window.pText->viewport()->mapToGlobal(pos), {}, {0, delta}, Qt::NoButton,
                      Qt::NoModifier, Qt::NoScrollPhase, false);
    QApplication::sendEvent(window.pText->viewport(), &event);
    EXPECT_EQ(getBase(), base);
  }
  pBar->triggerAction(QAbstractSlider::SliderToMaximum);
  EXPECT_EQ(pBar->GetValue(), pBar->maximum());
}

TEST(HexEditor, DragBelowTheRowsScrolls) {
  Window window(0x10000);
  window.Drag(11, 2, {30, window.pText->height() + 20},
              [&] { return window.pEditor->windowTitle() > "a.hex @ 00001040"; });
  window.Trigger("pActionMemoryCopyBinary");
  const std::string bytes = Window::GetClipboard("application/octet-stream");
  EXPECT_GT(bytes.size(), 0x200U);
  EXPECT_EQ(bytes.substr(0, 2), " !");
}

// What the handlers are asked with, and the refresh that turns changed bytes red.
TEST(HexEditor, ZonesWidthsAndPeriodicRefresh) {
  u8 lastWidth = 99;
  std::string sLastZone;
  u32 numReads = 0;
  HEX_HANDLERS handlers;
  handlers.pfReadMem = [&](u64, u64 n, u8 width, const char* sZone, u8* pData, u8* pState) {
    lastWidth = width;
    sLastZone = sZone;
    std::fill_n(pData, n, static_cast<u8>(++numReads));
    std::fill_n(pState, n, MEM_STATE_VALID);
    return 0;
  };
  handlers.pfGetZones = [](char* pBuf, u32 size) {
    return std::snprintf(pBuf, size, "Default,IO");
  };
  Window window(handlers);
  const HEX_EDITOR_CONFIG config;
  window.pEditor->SetConfig(&config);
  EXPECT_EQ(lastWidth, 0);
  window.Trigger("pActionMemoryAccess2ByteItems");
  EXPECT_EQ(lastWidth, 2);
  QContextMenuEvent event(QContextMenuEvent::Mouse, {20, 20}, {20, 20});
  for (const char* sZone : {" IO", " Default"}) {
    QApplication::sendEvent(window.pText->viewport(), &event);
    QPointer<QMenu> pMenu = window.pEditor->findChild<QMenu*>("HexEditorMenu");
    for (QAction* pAction : pMenu->findChildren<QAction*>()) {
      if (pAction->text() == sZone) {
        pAction->trigger();
      }
    }
    pMenu->close();
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    EXPECT_EQ(sLastZone, QString(sZone) == " IO" ? "IO" : "");
  }
  window.pEditor->resize(1200, 300);
  auto* pBox = window.pEditor->findChild<QComboBox*>("pRefreshBox");
  ASSERT_TRUE(QTest::qWaitFor([pBox] { return pBox->isVisible(); }));
  pBox->setCurrentIndex(0);
  EXPECT_TRUE(window.pEditor->windowTitle().endsWith(", 100 ms refresh"));
  const u32 oldReads = numReads;
  EXPECT_TRUE(QTest::qWaitFor([&] { return numReads >= oldReads + 2; }));
  pBox->setCurrentIndex(pBox->count() - 1);
  EXPECT_FALSE(window.pEditor->windowTitle().contains("refresh"));
}

// The application thread asks for things while keys are typed and it works on the image.
TEST(HexEditor, RequestsFromAnotherThread) {
  Window window(0x1000);
  CHexEditor* pEditor = window.pEditor.get();
  EXPECT_EQ(CHexEditor::IsModified(nullptr), -1);
  CHexEditor::RequestReload(nullptr);
  std::atomic<bool> isDone = false;
  std::thread worker([&] {
    for (int i = 0; i < 200; ++i) {
      const u8 value = static_cast<u8>(i);
      MEMAREA_Write(window.pArea.get(), BASE, 1, &value);
      CHexEditor::RequestReload(pEditor);
      CHexEditor::RequestBigEndian(pEditor, i & 1);
      CHexEditor::RequestWindowName(pEditor, i & 1 ? "b.hex" : "c.hex");
      CHexEditor::IsModified(pEditor);
    }
    isDone = true;
  });
  EXPECT_TRUE(WaitFor([&] {
    Window::Press(Qt::Key_PageDown);
    Window::Press(Qt::Key_Up);
    QCoreApplication::processEvents();
    return isDone.load();
  }));
  worker.join();
  EXPECT_TRUE(QTest::qWaitFor([&] { return pEditor->windowTitle().startsWith("b.hex"); }));
  EXPECT_EQ(CHexEditor::IsModified(pEditor), 1);
}

// Fill takes the low 8 bits; Save goes by the extension.
TEST(HexEditor, FillAndSave) {
  TempDir dir;
  Window window;
  const auto run = [&](const char* sAction, const QString& sValue) {
    QTimer::singleShot(0, window.pEditor.get(), [&] {
      auto* pDialog = qobject_cast<QDialog*>(QApplication::activeModalWidget());
      ASSERT_NE(pDialog, nullptr);
      pDialog->findChild<QLineEdit*>("pEditBoxGenVal")->setText(sValue);
      pDialog->accept();
    });
    window.Trigger(sAction);
  };
  window.Drag(11 + 15, 1, 11 + 21, 1);
  run("pActionMemoryFill", "1FF");
  EXPECT_EQ(window.Read(BASE + 0x14, 5), "14ffffff18");
  const std::filesystem::path name = dir.file("out.BIN");
  run("pActionMemorySave", QString::fromStdString(name.string()));
  EXPECT_EQ(std::filesystem::file_size(name), 3U);
  run("pActionMemorySave", QString::fromStdString(dir.file("out.txt")));
  EXPECT_FALSE(std::filesystem::exists(dir.file("out.txt")));
}

}  // namespace
