// What an engineer does in a day, by keys and mouse.
#include <gtest/gtest.h>

#include "app/engine/app_state.h"
#include "tests/desktop/desktop.h"

namespace {

constexpr char kMainWindow[] = "MainWindow";
constexpr char kEditor[] = "CHexEditor";
constexpr char kBox[] = "DIALOG_CustMsgBox";
constexpr char kProgress[] = "ProgressDialog";

QList<QWidget*> Shown(const char* sClass) {
  QList<QWidget*> shown;
  for (QWidget* pWidget : QApplication::allWidgets()) {
    if (pWidget->isVisible() && pWidget->inherits(sClass)) {
      shown.append(pWidget);
    }
  }
  return shown;
}

// The widget that shows the memory of the editor whose window title holds the text.
QRect MemoryOf(const QString& sTitle) {
  for (QWidget* pEditor : Shown(kEditor)) {
    if (pEditor->parentWidget()->windowTitle().contains(sTitle)) {
      QWidget* pView = pEditor->findChild<QPlainTextEdit*>()->viewport();
      return {pView->mapToGlobal(QPoint()), pView->size()};
    }
  }
  return {};
}

// A bench with the sample project, its data and a project of the probe's own time.
struct ENGINEER : DESKTOP {
  ENGINEER() {
    WriteFile(Path("demo.korvane"), ReadFile(KORVANE_SAMPLES "/demo.korvane"));
    WriteFile(Path("demo.hex"), ReadFile(KORVANE_SAMPLES "/demo.hex"));
  }
  void StartWithProject(std::vector<std::string> more = {}) {
    std::vector<std::string> args{Option("-korvanelog", "log.txt"),
                                  Option("-openprj", "demo.korvane")};
    args.insert(args.end(), more.begin(), more.end());
    Start(args);
    WaitFor("the project",
            [] { return FindWidget(kMainWindow)->windowTitle().contains("demo.korvane"); });
  }
  std::string Option(std::string text, const char* sFile) const { return text.append(Path(sFile)); }
  std::string OpenOption(const char* sFile) const { return Option("-open", sFile).append(",0"); }
  bool WaitLog(const std::string& text) {
    return WaitFor("the log's " + text, [&] { return Log().find(text) != std::string::npos; });
  }
  bool WaitEnabled(const char* sAction) {
    return WaitFor(sAction, [&] {
      auto* pAction = FindWidget(kMainWindow)->findChild<QAction*>(sAction);
      return pAction != nullptr && pAction->isEnabled();
    });
  }
  bool WaitNoDialog() {
    return WaitFor("no dialog", [] { return QApplication::activeModalWidget() == nullptr; });
  }
  // A window manager may leave nobody with the keys when a window goes: the title bar takes them.
  void Activate() {
    EXPECT_TRUE(WaitFor("the main window with the keys", [&] {
      QWidget* pWindow = FindWidget(kMainWindow);
      Click(pWindow->frameGeometry().topLeft() + QPoint(pWindow->width() / 3, 8));
      return pWindow->isActiveWindow();
    }));
  }
  // Until the program ends: questions with No.
  void AnswerAllBoxes() {
    while (WaitOver([] { return FindWidget(kBox) != nullptr; })) {
      WaitOver([this] {
        QWidget* pBox = FindWidget(kBox);
        if (pBox == nullptr) {
          return true;
        }
        QWidget* pButton = pBox->findChild<QPushButton*>("Button1");
        pButton = pButton != nullptr ? pButton : pBox->findChild<QPushButton*>("Button0");
        Click(pButton->mapToGlobal(pButton->rect().center()));
        return false;
      });
    }
  }
  // The project now names the last data file: whether to save that is asked.
  // By the frame's button, as long as nobody has seen that.
  int Close() {
    WaitOver([this] {
      QWidget* pWindow = FindWidget(kMainWindow);
      if (pWindow == nullptr || FindWidget(kBox) != nullptr || APP_State().ExitState != 0) {
        return true;
      }
      Click(pWindow->frameGeometry().topRight() + QPoint(-11, 10));
      return false;
    });
    AnswerAllBoxes();
    return WaitEnd();
  }
};

// A cancelled job, one that runs to its end, and one that the window is closed under.
TEST(Desktop, CancelsProgramsAndClosesBehindTheJob) {
  ENGINEER me;
  WriteFile(me.Path("big.bin"), std::string(0x200000, '\x5A'));
  me.SetProbe("Time = real\n");
  me.StartWithProject({me.OpenOption("big.bin")});
  ASSERT_TRUE(me.WaitEnabled("ActProgram"));
  me.Key("F5");
  ASSERT_TRUE(me.WaitWidget(kProgress));
  ASSERT_TRUE(me.WaitFor("pages on the chip", [] {
    auto* pDialog = FindWidget(kProgress);
    return pDialog != nullptr && pDialog->findChild<QProgressBar*>()->value() > 0 &&
           pDialog->findChild<QLabel*>("Text")->text().contains("rogram");
  }));
  ASSERT_TRUE(me.Press(kProgress, "Cancel"));
  ASSERT_TRUE(me.WaitWidget(kBox));
  const QString text = me.Ui([] { return FindWidget(kBox)->findChild<QLabel*>("Text")->text(); });
  EXPECT_TRUE(text.contains("cancel")) << text.toStdString();
  me.Shot("desktop-cancelled");
  ASSERT_TRUE(me.Press(kBox, "OK"));
  me.Activate();
  me.Key("F8");
  ASSERT_TRUE(me.WaitWidget(kBox)) << "an unfinished chip must not verify";
  EXPECT_FALSE(me.Log().find("verified OK") != std::string::npos);
  ASSERT_TRUE(me.Press(kBox, "OK"));
  ASSERT_TRUE(me.WaitNoDialog());
  me.Activate();
  me.Key("F7");
  ASSERT_TRUE(me.WaitWidget(kProgress));
  int lowest = 1 << 30;
  int highest = 0;
  me.WaitFor("progress that counts up", [&] {
    auto* pDialog = FindWidget(kProgress);
    if (pDialog != nullptr) {
      const int value = pDialog->findChild<QProgressBar*>()->value();
      lowest = std::min(lowest, value);
      highest = std::max(highest, value);
    }
    return highest > lowest;
  });
  me.Shot("desktop-progress");
  // The dialog is modal: the frame's button of the window below it is what closes.
  me.Ui([] { QMetaObject::invokeMethod(FindWidget(kMainWindow), "close", Qt::QueuedConnection); });
  ASSERT_TRUE(me.WaitLog("Target erased, programmed and verified successfully."));
  me.AnswerAllBoxes();
  EXPECT_EQ(me.WaitEnd(), 0);
  const std::string chip = ReadFile(me.Path("chip.bin"));
  ASSERT_EQ(chip.size(), 16U << 20);
  EXPECT_EQ(chip.find_first_not_of('\x5A'), 0x200000U);
  EXPECT_EQ(chip.find_first_not_of('\xFF', 0x200000), std::string::npos);
}

TEST(Desktop, ReadBackEditSaveAndAChangeFromOutside) {
  ENGINEER me;
  std::string chip(16U << 20, '\xFF');
  chip.replace(0, 8, "KORVANE!");
  WriteFile(me.Path("chip.bin"), chip);
  WriteFile(me.Path("edit.bin"), std::string(0x100, '\0'));
  me.StartWithProject({me.OpenOption("edit.bin")});
  ASSERT_TRUE(me.WaitEnabled("ActReadChip"));
  me.Key("F10");
  ASSERT_TRUE(me.Press(kBox, "OK"));
  ASSERT_TRUE(me.WaitFor("the data window of the chip", [] { return Shown(kEditor).size() == 2; }));
  ASSERT_TRUE(me.WaitNoDialog());
  me.Shot("desktop-read-back");

  // Typing over the first bytes of the file, by mouse and keys.
  const QRect memory = me.Ui([] { return MemoryOf("edit.bin"); });
  const int cell = me.Ui([] {
    return QFontMetrics(Shown(kEditor)[0]->findChild<QPlainTextEdit*>()->font())
        .horizontalAdvance('0');
  });
  me.Click(memory.topLeft() + QPoint(2 + 11 * cell + cell / 2, 4));
  me.Type("C0FFEE");
  me.Key("Return");
  ASSERT_TRUE(me.WaitEnabled("ActSaveDataFile"));
  me.Shot("desktop-edit");
  me.Key("ctrl+s");
  ASSERT_TRUE(me.Press("EditValueDialog", "OK")) << "a binary file asks for the range";
  ASSERT_TRUE(me.WaitFor("the bytes on disk", [&] {
    return ReadFile(me.Path("edit.bin")).substr(0, 3) == "\xC0\xFF\xEE";
  }));
  EXPECT_EQ(ReadFile(me.Path("edit.bin")).size(), 0x100U);
  ASSERT_TRUE(me.WaitLog("Data file saved successfully"));
  me.WaitNoDialog();

  // Somebody else writes the file; coming back to the window asks.
  WriteFile(me.Path("edit.bin"), std::string(0x100, '\x77'));
  std::filesystem::last_write_time(
      me.Path("edit.bin"), std::filesystem::file_time_type::clock::now() + std::chrono::hours(1));
  me.Click(memory.center());
  ASSERT_TRUE(me.WaitWidget(kBox));
  EXPECT_TRUE(me.Ui(
      [] { return FindWidget(kBox)->findChild<QLabel*>("Text")->text().contains("edit.bin"); }));
  me.Shot("desktop-changed-outside");
  ASSERT_TRUE(me.Press(kBox, "Reload"));
  ASSERT_TRUE(me.Press("EditValueDialog", "OK")) << "a binary file asks for its address";
  ASSERT_TRUE(me.WaitNoDialog());
  EXPECT_EQ(me.Close(), 0);
}

}  // namespace
