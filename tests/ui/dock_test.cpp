// Data windows side by side, as tabs and floating: which of them counts as focused.
#include <gtest/gtest.h>

#include <QtTest/QtTest>
#include <QtWidgets>

#include "ui/hex/hex_editor.h"
#include "ui/window/cust_dock_widget.h"
#include "ui/window/data_window_area.h"
#include "ui/window/sub_main_window.h"

namespace {

constexpr u32 kMaxWindows = 32;

// The area in a window, with so many data windows.
struct DESK {
  QMainWindow Window;
  DataWindowArea* pArea = new DataWindowArea(&Window, "Drag & Drop data file here");
  SubMainWindow* pHost = pArea->findChild<SubMainWindow*>();
  QSignalSpy Focus{pArea, &DataWindowArea::SignalDataWinInFocus};
  QList<QPointer<CustDockWidget>> Docks;

  explicit DESK(u32 numWindows) {
    Window.setCentralWidget(pArea);
    Window.resize(700, 900);
    Window.show();
    EXPECT_TRUE(QTest::qWaitForWindowExposed(&Window));
    for (u32 i = 0; i < numWindows; ++i) {
      Docks.append(pArea->AddWindow(new CHexEditor(&Window), "Memory window"));
    }
    QCoreApplication::processEvents();
  }
  void Tabify() {
    for (int i = 1; i < Docks.size(); ++i) {
      pHost->tabifyDockWidget(Docks[0], Docks[i]);
    }
    QCoreApplication::processEvents();
  }
  CHexEditor* LastSignal() const {
    return Focus.isEmpty() ? nullptr : Focus.last()[0].value<CHexEditor*>();
  }
  // Position of the one with the bold title, which has to be the only one; -1 for none.
  int FindActive() const {
    int active = -1;
    for (int i = 0; i < Docks.size(); ++i) {
      if (!Docks[i].isNull() && !Docks[i]->IsClosing &&
          Docks[i]->findChild<QLabel*>("Title")->font().bold()) {
        EXPECT_EQ(active, -1) << "two active data windows";
        active = i;
      }
    }
    CHexEditor* pEditor = active >= 0 ? Docks[active]->GetEditor() : nullptr;
    EXPECT_EQ(pArea->GetFocused(), pEditor);
    EXPECT_EQ(LastSignal(), pEditor);
    return active;
  }
};

// An operation that works on an image which the user doesn't see as the focused one is the fault.
TEST(DataWindows, TheNewestOfTheOthersTakesOver) {
  struct ROW {
    const char* sName;
    bool IsTabbed;
    int Before;
    QList<int> Closed;  // in one turn of the event loop
    int Active;
  };
  const ROW rows[] = {
      {"the newest", false, 2, {2}, 1},         {"one that isn't active", false, 2, {0}, 2},
      {"two at once", false, 2, {2, 1}, 0},     {"two at once, active last", false, 2, {1, 2}, 0},
      {"all", false, 1, {0, 1, 2}, -1},         {"the newest tab", true, 2, {2}, 1},
      {"a tab behind others", true, 2, {0}, 2}, {"the first tab", true, 0, {0}, 2},
      {"the middle tab", true, 1, {1}, 2},      {"two tabs", true, 0, {0, 2}, 1},
  };
  for (const ROW& row : rows) {
    SCOPED_TRACE(row.sName);
    DESK desk(3);
    if (row.IsTabbed) {
      desk.Tabify();
      desk.Docks[row.Before]->raise();
    }
    desk.pArea->SetActive(desk.Docks[row.Before]);
    desk.Docks[row.Before]->GetEditor()->setFocus();
    for (const int index : row.Closed) {
      desk.Docks[index]->close();
    }
    EXPECT_EQ(desk.FindActive(), row.Active);
    for (const int index : row.Closed) {
      EXPECT_TRUE(QTest::qWaitFor([&] { return desk.Docks[index].isNull(); }));
    }
    EXPECT_EQ(desk.FindActive(), row.Active) << "once it is deleted";
    if (row.Active >= 0) {
      const CustDockWidget* pActive = desk.Docks[row.Active];
      EXPECT_FALSE(pActive->visibleRegion().isEmpty()) << "hidden behind another tab";
      EXPECT_TRUE(pActive->isAncestorOf(QApplication::focusWidget())) << "keys go elsewhere";
    }
  }
}

TEST(DataWindows, EveryWayToCloseTellsOnce) {
  using CLOSE = std::function<void(CustDockWidget*)>;
  const std::vector<CLOSE> ways = {
      [](auto* pDock) {
        QTest::mouseClick(pDock->template findChild<QToolButton*>("CloseButton"), Qt::LeftButton);
      },
      [](auto* pDock) { pDock->GetEditor()->close(); },
      [](auto* pDock) {
        pDock->setFloating(true);
        pDock->close();
      },
      [](auto* pDock) {  // again before it is deleted
        pDock->close();
        pDock->close();
        pDock->GetEditor()->close();
      },
  };
  for (const CLOSE& close : ways) {
    SCOPED_TRACE(&close - ways.data());
    DESK desk(2);
    QTest::mouseClick(desk.Docks[0]->findChild<QLabel*>("Title"), Qt::LeftButton);
    EXPECT_EQ(desk.FindActive(), 0) << "a click on the title";
    QPointer<CHexEditor> pEditor = desk.Docks[0]->GetEditor();
    QSignalSpy closed(pEditor, &CHexEditor::SignalClosed);
    close(desk.Docks[0]);
    EXPECT_TRUE(QTest::qWaitFor([&] { return desk.Docks[0].isNull() && pEditor.isNull(); }));
    EXPECT_EQ(closed.size(), 1);
    EXPECT_EQ(desk.FindActive(), 1);
  }
}

TEST(DataWindows, AClickedTabIsTheFocusedOne) {
  DESK desk(3);
  desk.Tabify();
  QTabBar* pTabs = nullptr;
  for (QTabBar* pBar : desk.pHost->findChildren<QTabBar*>()) {
    pTabs = pBar->count() == 3 ? pBar : pTabs;
  }
  ASSERT_NE(pTabs, nullptr);
  for (const int tab : {0, 2, 1}) {
    desk.Focus.clear();
    QTest::mouseClick(pTabs, Qt::LeftButton, {}, pTabs->tabRect(tab).center());
    EXPECT_TRUE(QTest::qWaitFor([&] { return !desk.Focus.isEmpty(); }));
    EXPECT_EQ(desk.FindActive(), tab);
  }
}

TEST(DataWindows, TheHintShowsWhileNoneIsDocked) {
  DESK desk(0);
  const QImage hint = desk.pArea->grab().toImage();
  for (int i = 0; i < 2; ++i) {
    desk.Docks.append(desk.pArea->AddWindow(new CHexEditor(&desk.Window), "Memory window"));
  }
  const auto showsHint = [&] { return desk.pArea->grab().toImage() == hint; };
  EXPECT_FALSE(showsHint());
  desk.Docks[0]->setFloating(true);
  EXPECT_FALSE(showsHint());
  desk.Docks[1]->setFloating(true);
  EXPECT_TRUE(QTest::qWaitFor(showsHint)) << "all float";
  desk.Docks[0]->setFloating(false);
  EXPECT_TRUE(QTest::qWaitFor([&] { return !showsHint(); })) << "docked again";
  desk.Docks[0]->close();
  EXPECT_TRUE(QTest::qWaitFor(showsHint)) << "closed";
  EXPECT_EQ(desk.FindActive(), 1);
}

// The window opens as large as one data window wants to be, with 16 bytes a row; its host stays.
TEST(DataWindows, OneFitsIntoItsOwnSizeAndTheHostStays) {
  const QSize wanted = CHexEditor().sizeHint();
  DESK desk(1);
  desk.pArea->setFixedSize(wanted);
  const CHexEditor* pEditor = desk.Docks[0]->GetEditor();
  EXPECT_TRUE(QTest::qWaitFor([&] { return pEditor->width() >= wanted.width(); }));
  EXPECT_FALSE(desk.pHost->close());
  desk.pArea->closeAllSubWindows();
  EXPECT_TRUE(desk.pHost->isVisible());
  EXPECT_EQ(desk.FindActive(), 0);
}

TEST(DataWindows, ThirtyTwoOfThemWithTitles) {
  DESK desk(kMaxWindows);
  EXPECT_EQ(desk.FindActive(), 31);
  desk.Docks[5]->GetEditor()->SetWindowName("/data/a.hex");
  EXPECT_TRUE(QTest::qWaitFor([&] { return desk.Docks[5]->windowTitle().contains("a.hex"); }));
  desk.Docks[7]->setFloating(true);  // still floating when all of it goes
  for (int i = kMaxWindows - 1; i > 8; --i) {
    desk.Docks[i]->close();
    EXPECT_EQ(desk.FindActive(), i - 1);
  }
}

}  // namespace
