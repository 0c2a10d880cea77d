#include <gtest/gtest.h>

#include <QtTest/QtTest>
#include <QtWidgets>

#include "ui/common/dock_title_bar.h"
#include "ui/common/edit_value_dialog.h"
#include "ui/common/icons.h"
#include "ui/common/msg_box.h"
#include "ui/common/progress_dialog.h"
#include "ui/common/qt_helper.h"

namespace {

MSGBOX_INFO MakeBox(const char* sBtn0, const char* sBtn1) {
  MSGBOX_INFO info = {};
  info.sTitle = "Title";
  info.sText = "Erase all of <W25Q128>?\nSee [https://x.y the manual].";
  info.sBtn0 = sBtn0;
  info.sBtn1 = sBtn1;
  info.Icon = APP_ICON_QUESTION;
  info.DefaultBtn = 1;
  info.Result = 99;
  return info;
}

TEST(MsgBox, EveryWayToAnswer) {
  struct ROW {
    const char* sName;
    std::function<void(DIALOG_CustMsgBox*)> Act;
    u32 Result;
    u8 Rejected;
  };
  const auto click = [](const char* sButton) {
    return [sButton](DIALOG_CustMsgBox* pBox) {
      QTest::mouseClick(pBox->findChild<QPushButton*>(sButton), Qt::LeftButton);
    };
  };
  const ROW rows[] = {
      {"first button", click("Button0"), 0, 0},
      {"second button", click("Button1"), 1, 0},
      {"Return takes the default", [](auto* pBox) { QTest::keyClick(pBox, Qt::Key_Return); }, 1, 0},
      {"Esc", [](auto* pBox) { QTest::keyClick(pBox, Qt::Key_Escape); }, 1, 1},
      {"frame", [](auto* pBox) { pBox->close(); }, 1, 1},
      {"by itself", [](auto*) {}, 1, 0},
  };
  for (const ROW& row : rows) {
    SCOPED_TRACE(row.sName);
    MSGBOX_INFO info = MakeBox("Yes", "No");
    info.TimeoutMs = row.sName == std::string("by itself") ? 300 : 0;
    info.sCheckBox = "Do not ask again";
    QPointer<DIALOG_CustMsgBox> pBox = new DIALOG_CustMsgBox(nullptr, &info);
    ASSERT_TRUE(QTest::qWaitForWindowExposed(pBox));
    EXPECT_TRUE(pBox->isModal());
    QTest::mouseClick(pBox->findChild<QCheckBox*>(), Qt::LeftButton, {}, QPoint(8, 8));
    row.Act(pBox);
    EXPECT_TRUE(QTest::qWaitFor([&] { return pBox.isNull(); }));
    EXPECT_EQ(info.Result, row.Result);
    EXPECT_EQ(info.Rejected, row.Rejected);
    EXPECT_EQ(info.CheckResult, 1);
  }
}

TEST(MsgBox, CopiesItsTexts) {
  MSGBOX_INFO info = MakeBox("Yes", "No");
  QPointer<DIALOG_CustMsgBox> pBox = new DIALOG_CustMsgBox(nullptr, &info);
  ASSERT_TRUE(QTest::qWaitForWindowActive(pBox));
  QTest::keyClick(pBox, Qt::Key_C, Qt::ControlModifier);
  const QString text = QApplication::clipboard()->text();
  EXPECT_TRUE(text.contains("Erase all of <W25Q128>?")) << text.toStdString();
  EXPECT_TRUE(text.contains("See the manual."));
  EXPECT_TRUE(text.contains("Yes   No   \r\n"));
  pBox->close();
  EXPECT_TRUE(QTest::qWaitFor([&] { return pBox.isNull(); }));
}

// A box larger than the screen could not be answered.
TEST(MsgBox, StaysOnTheScreen) {
  const std::string wide = "Could not open file " + std::string(3000, 'x') + ".";
  std::string high;
  for (int i = 0; i < 500; ++i) {
    high += "line\n";
  }
  for (const std::string& text : {wide, high}) {
    MSGBOX_INFO info = MakeBox("O.K.", nullptr);
    info.sText = text.c_str();
    QPointer<DIALOG_CustMsgBox> pBox = new DIALOG_CustMsgBox(nullptr, &info);
    ASSERT_TRUE(QTest::qWaitForWindowExposed(pBox));
    const QSize screen = pBox->screen()->availableSize();
    EXPECT_LE(pBox->width(), screen.width());
    EXPECT_LE(pBox->height(), screen.height());
    pBox->close();
    EXPECT_TRUE(QTest::qWaitFor([&] { return pBox.isNull(); }));
  }
}

TEST(Progress, FollowsItsRecordAndCancels) {
  PROGRESS_INFO* pInfo = PROGRESS_Create("Title", "Programming ...", 0);
  ASSERT_NE(pInfo, nullptr);
  // A job changes the record before there is a dialog.
  PROGRESS_SetRange(pInfo, 0, 0xFFFFFFFF);
  PROGRESS_SetValue(pInfo, 0x80000000);
  ProgressDialog dialog(nullptr, pInfo);
  ASSERT_TRUE(QTest::qWaitForWindowExposed(&dialog));
  auto* pBar = dialog.findChild<QProgressBar*>();
  EXPECT_NEAR(100.0 * pBar->value() / pBar->maximum(), 50, 0.1);

  PROGRESS_SetSubText(pInfo,
                      "A rather long second line that makes the dialog wider than it was, "
                      "so wide that it grows");
  EXPECT_TRUE(QTest::qWaitFor([&] { return dialog.findChild<QLabel*>("SubText")->isVisible(); }));
  const QSize largest = dialog.size();
  PROGRESS_SetSubText(pInfo, "");
  EXPECT_TRUE(QTest::qWaitFor([&] { return !dialog.findChild<QLabel*>("SubText")->isVisible(); }));
  EXPECT_EQ(dialog.size(), largest) << "the dialog only grows";

  PROGRESS_SetRange(pInfo, 0, 200);
  PROGRESS_SetValue(pInfo, 201);
  EXPECT_TRUE(QTest::qWaitFor([&] { return pBar->value() == 200; })) << "more than all is all";
  PROGRESS_SetRange(pInfo, 0, 0);
  QCoreApplication::processEvents();
  EXPECT_GT(pBar->maximum(), pBar->minimum()) << "an empty range must not look busy without end";
  EXPECT_EQ(PROGRESS_IsCanceled(pInfo), 0);
  QTest::keyClick(&dialog, Qt::Key_Escape);
  EXPECT_EQ(PROGRESS_IsCanceled(pInfo), 1);
  EXPECT_FALSE(dialog.isVisible());
}

TEST(Progress, StartsHiddenOrMinimized) {
  ProgressDialog hidden(nullptr, PROGRESS_Create("T", "x", PROGRESS_HIDDEN));
  EXPECT_FALSE(hidden.isVisible());
  ProgressDialog minimized(nullptr, PROGRESS_Create("T", "x", PROGRESS_MINIMIZED));
  EXPECT_TRUE(minimized.isMinimized());
}

TEST(EditValues, RowsAndHostileTexts) {
  u64 offset = 0x1234;
  u64 size = 0x100000001;
  EDIT_VALUE_ITEM items[] = {{-0x80000000LL, &offset, "Offset (hex)"}, {0, &size, "Size (hex)"}};
  struct ROW {
    const char* sFirst;
    const char* sSecond;
    u64 First, Second;
  };
  const ROW rows[] = {
      {"-10", "FFFFFFFF", static_cast<u64>(-16), 0xFFFFFFFF},
      {"", "", 0, 0},
      {"-", "1", 0, 1},
      {"zzABCDEF0123", "-5", 0xABCDEF01, 5},  // what isn't a digit can't be typed
  };
  for (const ROW& row : rows) {
    EditValueDialog dialog(nullptr, "Values", items, 2);
    dialog.show();
    auto* pFirst = dialog.findChild<QLineEdit*>("Value0");
    auto* pSecond = dialog.findChild<QLineEdit*>("Value1");
    pFirst->clear();
    pSecond->clear();
    QTest::keyClicks(pFirst, row.sFirst);
    QTest::keyClicks(pSecond, row.sSecond);
    QTest::keyClick(pSecond, Qt::Key_Return);
    EXPECT_EQ(dialog.result(), QDialog::Accepted);
    EXPECT_EQ(offset, row.First) << row.sFirst;
    EXPECT_EQ(size, row.Second) << row.sSecond;
  }
}

TEST(DockTitle, ElidesAndFloats) {
  QMainWindow window;
  window.resize(400, 300);
  auto* pDock = QTHelper_AddDock(&window, QString(300, 'w'), new QLabel, Qt::BottomDockWidgetArea);
  window.show();
  ASSERT_TRUE(QTest::qWaitForWindowExposed(&window));
  auto* pLabel = pDock->findChild<QLabel*>("Title");
  EXPECT_TRUE(pLabel->text().endsWith(QChar(0x2026)));
  EXPECT_LE(window.width(), 500) << "a long title must not widen the window";
  auto* pFloat = pDock->findChild<QToolButton*>("FloatButton");
  QTest::mouseClick(pFloat, Qt::LeftButton);
  EXPECT_TRUE(pDock->isFloating());
  EXPECT_TRUE(QTest::qWaitFor([&] { return !pFloat->isVisible(); }));
  pDock->setFloating(false);
  EXPECT_TRUE(QTest::qWaitFor([&] { return pFloat->isVisible(); }));
  QTest::mouseClick(pDock->findChild<QToolButton*>("CloseButton"), Qt::LeftButton);
  EXPECT_FALSE(pDock->isVisible());
}

// The user types a name into the save dialog; what it asks is answered with Yes.
TEST(FileDialogs, NamesAndTheirEndings) {
  QTemporaryDir folder;
  QFile old(folder.filePath("old.hex"));
  ASSERT_TRUE(old.open(QIODevice::WriteOnly));
  struct ROW {
    const char* sTyped;
    u32 BufSize;
    const char* sExpected;  // empty: none
  };
  const ROW rows[] = {
      {"new", 512, "new.hex"},
      {"new.mot", 512, "new.mot"},
      {"old", 512, "old.hex"},
      {"new", 10, ""},
  };
  for (const ROW& row : rows) {
    QTimer user;
    QObject::connect(&user, &QTimer::timeout, [&] {
      QWidget* pModal = QApplication::activeModalWidget();
      if (auto* pBox = qobject_cast<QMessageBox*>(pModal); pBox != nullptr) {
        pBox->buttons().first()->click();
      } else if (auto* pDialog = qobject_cast<QFileDialog*>(pModal); pDialog != nullptr) {
        pDialog->findChild<QLineEdit*>("fileNameEdit")->setText(row.sTyped);
        QTest::keyClick(pDialog->findChild<QLineEdit*>("fileNameEdit"), Qt::Key_Return);
      }
    });
    user.start(5);
    char ac[512] = "";
    const int result =
        QTHelper_GetSaveFileName(nullptr, ac, row.BufSize, "Save", folder.path().toUtf8(),
                                 "Intel Hex file (*.hex);;Any (*.*)", nullptr);
    const bool isName = row.sExpected[0] != 0;
    EXPECT_EQ(result, isName ? 0 : -1) << row.sTyped;
    EXPECT_EQ(QString(ac), isName ? folder.filePath(row.sExpected) : QString());
  }
}

// Every icon draws something at both scales, and differs from the others.
TEST(Icons, AreDrawnAtEverySize) {
  QSet<QByteArray> pictures;
  for (int i = 0; i < static_cast<int>(UI_ICON::Count); ++i) {
    const QIcon icon = UI_GetIcon(static_cast<UI_ICON>(i));
    for (const int side : {16, 48}) {
      const QImage image = icon.pixmap(QSize(side, side)).toImage();
      EXPECT_EQ(image.width(), side);
      pictures.insert(QByteArray(reinterpret_cast<const char*>(image.constBits()),
                                 static_cast<int>(image.sizeInBytes())));
    }
  }
  // The two crosses are alike.
  EXPECT_EQ(pictures.size(), 2 * (static_cast<int>(UI_ICON::Count) - 1));
}

TEST(Helpers, IconsAreFittedAndNamesBounded) {
  QPixmap pixmap;
  EXPECT_EQ(QTHelper_FitIcon(UI_GetIcon(UI_ICON::Auto), QSize(32, 32), &pixmap), 0);
  EXPECT_EQ(QTHelper_FitIcon(UI_GetIcon(UI_ICON::Auto), QSize(7, 32), &pixmap), -1);
  EXPECT_EQ(QTHelper_FitIcon(QIcon(), QSize(32, 32), &pixmap), -1);
  char ac[8];
  QTHelper_ToLocal8Bit(QString::fromUtf8("abcdef\xC3\xA9"), ac, sizeof(ac));
  EXPECT_STREQ(ac, "abcdef") << "no half character at the end of a buffer";
  const QT_ITEM items[] = {{"a", 7}, {"b", 9}, {nullptr, 0}};
  EXPECT_EQ(APP_FindItemIndex(items, 9, -1), 1);
  EXPECT_EQ(APP_FindItemIndex(items, 8, 5), 5);
  EXPECT_EQ(APP_FindItemIndex(items + 2, 0, 4), 4);
}

}  // namespace
