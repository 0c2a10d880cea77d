// The main window between a real core on its application thread and a user who presses buttons,
// late, early and at bad moments. This thread is the GUI thread.
#include "ui/window/main_window.h"

#include <gtest/gtest.h>

#include <QtTest>

#include <functional>
#include <thread>

#include "app/engine/app_state.h"
#include "app/engine/log.h"
#include "app/operations/data_windows.h"
#include "app/operations/jobs.h"
#include "flash/driver.h"
#include "image/memarea.h"
#include "project/project.h"
#include "project/recent.h"
#include "project/settings.h"
#include "tests/support/temp_dir.h"
#include "tests/support/wait_for.h"
#include "ui/common/edit_value_dialog.h"
#include "ui/common/msg_box.h"
#include "ui/common/progress_dialog.h"
#include "ui/hex/hex_editor.h"
#include "ui/window/data_window_handle.h"

namespace {

template <class T>
T* FindShown() {
  for (QWidget* pWidget : QApplication::topLevelWidgets()) {
    if (auto* pFound = qobject_cast<T*>(pWidget); pFound != nullptr && pFound->isVisible()) {
      return pFound;
    }
  }
  return nullptr;
}

bool PumpUntil(const std::function<bool()>& condition) {
  return WaitFor(condition, [] {
    QCoreApplication::processEvents(QEventLoop::AllEvents, 5);
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
  });
}

void Press(QWidget* pDialog, const char* sText) {
  for (QPushButton* pButton : pDialog->findChildren<QPushButton*>()) {
    if (pButton->text().remove('&') == sText) {
      pButton->click();
      return;
    }
  }
  ADD_FAILURE() << "no button " << sText;
}

// Presses the button as soon as a box is shown, from a timer: also below a modal loop.
class BOX_USER {
 public:
  explicit BOX_USER(std::function<void(DIALOG_CustMsgBox*)> act) {
    QObject::connect(&m_Timer, &QTimer::timeout, [this, act] {
      if (auto* pBox = FindShown<DIALOG_CustMsgBox>(); pBox != nullptr) {
        ++m_NumSeen;
        act(pBox);
      }
    });
    m_Timer.start(2);
  }
  int NumSeen() const { return m_NumSeen; }

 private:
  QTimer m_Timer;
  int m_NumSeen = 0;
};

// The program in this process, its window on the offscreen platform.
class PROGRAM {
 public:
  explicit PROGRAM(std::vector<std::string> args = {}) : m_Args(std::move(args)) {
    setenv("XDG_CONFIG_HOME", m_Dir.path().c_str(), 1);
    setenv("VORTIC_CONFIG", Path("Vortic.ini").c_str(), 1);
    WriteFile(Path("Vortic.ini"),
              "[Probe0]\nBackend = sim\nChip = W25Q128FV\nImageFile = chip.bin\nTime = virtual\n");
    WORKER_Reset();
    APP_ResetState();
    DRIVER_SetLibraryPath(KORVANE_DRIVER);
    m_Args.insert(m_Args.begin(), "KorvaneSPI");
    for (std::string& arg : m_Args) {
      m_argv.push_back(arg.data());
    }
    m_pWindow = std::make_unique<MainWindow>(static_cast<int>(m_argv.size()), m_argv.data(), 1);
  }
  ~PROGRAM() {
    if (!m_pWindow->HasEnded()) {
      End();
    }
    m_pWindow.reset();
    // The window told the application's event loop to end, and loops of dialogs with it. Only a
    // loop that really ends takes this back.
    QTimer::singleShot(0, qApp, [] { QCoreApplication::exit(0); });
    QApplication::exec();
    APP_TearDown();
    PROJECT_Reset();
    SETUP_Reset();
    RECENT_Reset();
    WORKER_Reset();
  }

  MainWindow& Window() { return *m_pWindow; }
  std::string Path(const std::string& name) const { return m_Dir.file(name); }

  // Posts a job that runs the function on the application thread; IsDone tells its end.
  void Post(std::function<void()> job) {
    ++m_NumPosted;
    ASSERT_TRUE(WORKER_PostClosure(APP_JOB_UPDATE_MENU_BAR, [this, job = std::move(job)] {
      job();
      ++m_NumDone;
    }));
  }
  bool IsDone() const { return m_NumDone == m_NumPosted; }
  bool PumpUntilDone() {
    return PumpUntil([this] { return IsDone(); });
  }
  void Run(std::function<void()> job) {
    Post(std::move(job));
    ASSERT_TRUE(PumpUntilDone());
  }
  void End() {
    m_pWindow->close();
    EXPECT_TRUE(m_pWindow->HasEnded());
  }

 private:
  TempDir m_Dir;
  std::vector<std::string> m_Args;
  std::vector<char*> m_argv;
  std::unique_ptr<MainWindow> m_pWindow;
  int m_NumPosted = 0;
  std::atomic<int> m_NumDone{0};
};

MSGBOX_INFO MakeBox() {
  MSGBOX_INFO box{};
  box.sTitle = "Title";
  box.sText = "Text";
  box.sBtn0 = "Left";
  box.sBtn1 = "Right";
  box.DefaultBtn = 1;
  return box;
}

TEST(MainWindow, BoxesGiveTheirAnswersToTheJob) {
  struct ROW {
    const char* sName;
    std::function<void(DIALOG_CustMsgBox*)> Answer;
    u32 Result;
    u8 Rejected;
  };
  const ROW rows[] = {
      {"left", [](DIALOG_CustMsgBox* pBox) { Press(pBox, "Left"); }, 0, 0},
      {"right", [](DIALOG_CustMsgBox* pBox) { Press(pBox, "Right"); }, 1, 0},
      {"Esc", [](DIALOG_CustMsgBox* pBox) { QTest::keyClick(pBox, Qt::Key_Escape); }, 1, 1},
      {"frame", [](DIALOG_CustMsgBox* pBox) { pBox->close(); }, 1, 1},
  };
  PROGRAM program;
  for (const ROW& row : rows) {
    const BOX_USER user(row.Answer);
    MSGBOX_INFO box = MakeBox();
    program.Run([&] { program.Window().ShowMsgBox(&box); });
    EXPECT_EQ(box.Result, row.Result) << row.sName;
    EXPECT_EQ(box.Rejected, row.Rejected) << row.sName;
    // On the GUI thread itself the call returns with the answer.
    box = MakeBox();
    program.Window().ShowMsgBox(&box);
    EXPECT_EQ(box.Result, row.Result) << row.sName;
    EXPECT_EQ(box.Rejected, row.Rejected) << row.sName;
    EXPECT_EQ(user.NumSeen(), 2) << row.sName;
  }
}

TEST(MainWindow, ValueAndFileDialogsGiveTheirAnswersToTheJob) {
  PROGRAM program;
  WriteFile(program.Path("a.hex"), "");
  QTimer user;
  bool accepts = true;
  QObject::connect(&user, &QTimer::timeout, [&] {
    if (auto* pValues = FindShown<EditValueDialog>(); pValues != nullptr) {
      pValues->findChild<QLineEdit*>()->setText("1F");
      Press(pValues, accepts ? "OK" : "Cancel");
    } else if (auto* pFiles = FindShown<QFileDialog>(); pFiles != nullptr) {
      auto* pName = pFiles->findChild<QLineEdit*>("fileNameEdit");
      const bool isOpen = pFiles->acceptMode() == QFileDialog::AcceptOpen;
      pName->setText(QString::fromStdString(program.Path(isOpen ? "a.hex" : "new.hex")));
      QTest::keyClick(pName, accepts ? Qt::Key_Return : Qt::Key_Escape);
    }
  });
  user.start(2);
  for (const bool yes : {true, false}) {
    accepts = yes;
    u64 value = 5;
    EDIT_VALUE_ITEM item{0, &value, "Offset"};
    int result = 7;
    program.Run([&] { result = program.Window().ShowEditValDialog("Values", &item, 1); });
    EXPECT_EQ(result, yes ? 0 : -1);
    EXPECT_EQ(value, yes ? 0x1Fu : 5u);
    for (const bool isOpen : {true, false}) {
      char acFile[512] = "";
      program.Run([&] {
        MainWindow& window = program.Window();
        result = isOpen ? window.ShowFileDialogOpen("Open", "All (*.*)", "", acFile, sizeof acFile)
                        : window.ShowFileDialogSave("Save", "All (*.*)", "", acFile, sizeof acFile);
      });
      EXPECT_EQ(result == 0, yes) << isOpen;
      EXPECT_EQ(std::string(acFile), yes ? program.Path(isOpen ? "a.hex" : "new.hex") : "");
    }
  }
}

MEMAREA* MakeImage(u8 value) {
  MEMAREA* pArea = MEMAREA_Create();
  const std::vector<u8> data(64, value);
  MEMAREA_AddRange(pArea, 0, data.size(), data.data());
  return pArea;
}

// A job closes a data window, or draws its image anew, at a bad moment for its user.
TEST(MainWindow, DataWindowsInUseAreClosedAndDrawnAnew) {
  PROGRAM program;
  MainWindow& window = program.Window();
  APP_DATA_WINDOW* pHandle = nullptr;
  MEMAREA* pImage = MakeImage(1);
  WriteFile(program.Path("a.hex"), ":00000001FF\n");
  program.Run([&] { pHandle = APP_AddDataWindow(program.Path("a.hex").c_str(), pImage, "Image"); });
  CHexEditor* pEditor = static_cast<DataWindowHandle*>(pHandle)->GetEditor();
  // What is typed while the job has the image locked is written when the job has gone.
  const SYS_HANDLE hTyped = SYS_CreateEvent(false, false);
  const SYS_HANDLE hLocked = SYS_CreateEvent(false, false);
  program.Post([&] {
    {
      const MEMAREA_LOCK_GUARD lock(pImage);
      SYS_SetEvent(hLocked);
      SYS_WaitForObject(hTyped, SYS_INFINITE);
    }
    window.UpdateDataWindow(pHandle, pImage);
  });
  EXPECT_EQ(SYS_WaitForObject(hLocked, SYS_INFINITE), 0);
  QApplication::clipboard()->setText("AB");
  pEditor->findChild<QAction*>("pActionMemoryPaste")->trigger();
  // A saved file has it, too, though its job could run before.
  auto* pSave = window.findChild<QAction*>("ActSaveDataFile");
  pSave->setEnabled(true);
  pSave->trigger();
  SYS_SetEvent(hTyped);
  const auto getData = [&] { return ReadFile(program.Path("a.hex")).substr(9, 6); };
  ASSERT_TRUE(PumpUntil([&] { return program.IsDone() && getData() != "FF\n"; }));
  EXPECT_EQ(getData(), "414201");
  // The editor goes with the dialog that it runs.
  const QPointer<CHexEditor> pGuard = pEditor;
  QTimer::singleShot(0, qApp, [&] {
    EXPECT_NE(pEditor->findChild<QDialog*>("HexEditorGoTo"), nullptr);
    program.Post([&] { window.CloseDataWindow(pHandle); });
  });
  pEditor->findChild<QAction*>("pActionMemoryGoto")->trigger();
  EXPECT_TRUE(PumpUntil([&] { return pGuard == nullptr && program.IsDone(); }));
  SYS_CloseHandle(hTyped);
  SYS_CloseHandle(hLocked);
}

TEST(MainWindow, ADataWindowLetsGoOfItsImageAndItsHandleOutlivesIt) {
  PROGRAM program;
  MainWindow& window = program.Window();
  DataWindowHandle* pHandle = nullptr;
  program.Run([&] {
    APP_AddDataWindow(nullptr, MakeImage(1), "First");
    auto* pSecond = APP_AddDataWindow(nullptr, MakeImage(2), "Second");
    EXPECT_EQ(window.GetFocusedDataWindow(), pSecond);  // at once: the job goes on with it
    pHandle = static_cast<DataWindowHandle*>(pSecond);
    MEMAREA* pNew = MakeImage(3);
    window.UpdateDataWindow(pSecond, pNew);
    DATA_WINDOW_INFO* pRow = APP_FindDataWindow(pSecond);
    MEMAREA_Delete(pRow->pArea);  // shown no more
    pRow->pArea = pNew;
    EXPECT_EQ(pHandle->GetEditor()->GetMemArea(), pNew);
  });
  // The user closes the window while a job works with it.
  const SYS_HANDLE hGo = SYS_CreateEvent(false, false);
  std::atomic<int> numModified{0};
  program.Post([&] {
    SYS_WaitForObject(hGo, SYS_INFINITE);
    for (int i = 0; i < 100; ++i) {
      pHandle->RequestReload();
      pHandle->RequestReadOnly(i % 2 == 0);
      numModified += pHandle->IsModified();
    }
    EXPECT_NE(APP_FindDataWindow(pHandle), nullptr);
  });
  CHexEditor* pEditor = pHandle->GetEditor();
  bool isGone = false;
  QObject::connect(pEditor, &QObject::destroyed, [&] { isGone = true; });
  SYS_SetEvent(hGo);
  pEditor->close();
  EXPECT_EQ(pHandle->GetEditor(), nullptr);
  EXPECT_EQ(pHandle->IsModified(), 0);
  ASSERT_TRUE(PumpUntil([&] { return isGone && program.IsDone(); }));
  program.Run([&] {
    ASSERT_EQ(APP_GetNumDataWindows(), 1u);
    APP_DATA_WINDOW* pFirst = APP_ListDataWindows().front();
    EXPECT_EQ(window.GetFocusedDataWindow(), pFirst);
    window.CloseDataWindow(pFirst);
    window.CloseDataWindow(pFirst);  // twice is once
  });
  ASSERT_TRUE(PumpUntil([&] { return window.findChildren<CHexEditor*>().isEmpty(); }));
  program.Run([&] {
    EXPECT_EQ(APP_GetNumDataWindows(), 0u);
    EXPECT_EQ(window.GetFocusedDataWindow(), nullptr);
  });
  SYS_CloseHandle(hGo);
}

TEST(MainWindow, ProgressMailsKeepTheirOrderAndWaitForRoom) {
  PROGRAM program;
  std::atomic<int> numCreated{0};
  program.Post([&] {
    // Closed before the GUI thread looks, several at a time, more than the ring takes.
    for (int round = 0; round < 20; ++round) {
      PROGRESS_INFO* apInfo[3];
      for (PROGRESS_INFO*& pInfo : apInfo) {
        pInfo = program.Window().CreateProgressDialog("Title", "Text", 0);
        ASSERT_NE(pInfo, nullptr);
        PROGRESS_SetRange(pInfo, 0, 10);
        PROGRESS_SetValue(pInfo, 3);
        ++numCreated;
      }
      for (PROGRESS_INFO*& pInfo : apInfo) {
        program.Window().CloseProgressDialog(&pInfo);
        EXPECT_EQ(pInfo, nullptr);
      }
    }
  });
  // The ring is full, and the GUI thread has not looked yet.
  ASSERT_TRUE(WaitFor([&] { return numCreated >= 9; }));
  ASSERT_TRUE(program.PumpUntilDone());
  EXPECT_EQ(numCreated, 60);
  EXPECT_TRUE(
      PumpUntil([&] { return program.Window().findChildren<ProgressDialog*>().isEmpty(); }));
}

TEST(MainWindow, AFullJobRingBehindABoxKeepsTheWindowAlive) {
  PROGRAM program;
  MSGBOX_INFO box = MakeBox();
  int numTicks = 0;
  bool isPosting = false, wasAlive = false;
  QTimer ticks;
  QObject::connect(&ticks, &QTimer::timeout, [&] {
    auto* pBox = FindShown<DIALOG_CustMsgBox>();
    if (isPosting && pBox != nullptr && ++numTicks == 5) {
      wasAlive = true;
      Press(pBox, "Left");
    }
  });
  ticks.start(2);
  program.Post([&] { program.Window().ShowMsgBox(&box); });
  ASSERT_TRUE(PumpUntil([] { return FindShown<DIALOG_CustMsgBox>() != nullptr; }));
  std::vector<int> order;
  // Events are served inside a post only once the ring is full.
  for (int i = 0; i < 40; ++i) {
    isPosting = true;
    program.Post([&order, i] { order.push_back(i); });
    isPosting = false;
  }
  EXPECT_TRUE(wasAlive);
  ASSERT_TRUE(program.PumpUntilDone());
  EXPECT_EQ(box.Result, 0u);
  ASSERT_EQ(order.size(), 40u);
  EXPECT_TRUE(std::is_sorted(order.begin(), order.end()));
}

TEST(MainWindow, AFullJobRingBehindANewWindowComesToAnEnd) {
  PROGRAM program;
  program.Run([] {});
  std::atomic<bool> isFull{false};
  program.Post([&] {
    EXPECT_TRUE(WaitFor([&] { return isFull.load(); }));
    EXPECT_NE(APP_AddDataWindow(nullptr, MakeImage(1), "New"), nullptr);
  });
  for (u32 i = 1; i < WORKER_NUM_SLOTS; ++i) {
    program.Post([] {});
  }
  isFull = true;
  EXPECT_TRUE(program.PumpUntilDone());
}

TEST(MainWindow, ClosesBehindTheJobsAndAnswersNobodyLater) {
  PROGRAM program;
  MainWindow& window = program.Window();
  std::atomic<bool> isReleased{false};
  std::vector<int> order;
  program.Post([&] {
    EXPECT_TRUE(WaitFor([&] { return isReleased.load(); }));
    order.push_back(1);
  });
  program.Post([&] { order.push_back(2); });
  QTimer::singleShot(20, [&] {
    window.close();  // again, from below the first: changes nothing
    EXPECT_FALSE(window.HasEnded());
    isReleased = true;
  });
  program.End();
  EXPECT_EQ(order, (std::vector<int>{1, 2}));
  std::thread late([&] {
    MSGBOX_INFO box = MakeBox();
    window.ShowMsgBox(&box);
    EXPECT_EQ(box.Result, 1u);
    EXPECT_EQ(box.Rejected, 1);
    EXPECT_NE(window.ShowEditValDialog("", nullptr, 0), 0);
    EXPECT_EQ(window.CreateDataWindow(nullptr, "", false, false), nullptr);
  });
  late.join();
}

TEST(MainWindow, AnInterruptCancelsWhatRunsAndCloses) {
  PROGRAM program;
  int numPolls = 0;
  std::atomic<bool> isShown{false};
  program.Post([&] {
    for (int i = 0; i < 2; ++i) {  // what starts behind the interrupt is cancelled, too
      APP_LogBegin("Long");
      APP_PROGRESS progress("Long");
      isShown = true;
      EXPECT_TRUE(WaitFor([] { return APP_IsOperationAlive() != 1; }));
      ++numPolls;
      APP_LogEnd();
    }
  });
  ASSERT_TRUE(PumpUntil([&] { return isShown.load(); }));
  program.Window().PostInterrupt();
  EXPECT_TRUE(PumpUntil([&] { return program.Window().HasEnded(); }));
  EXPECT_EQ(numPolls, 2);
}

TEST(MainWindow, RunsACommandLineAndCloses) {
  TempDir dir;
  const std::string image = dir.file("a.hex");
  WriteFile(image, ":0400100001020304E2\n:00000001FF\n");
  PROGRAM program({"-open" + image, "-erasechip", "-programverify", "-exit"});
  EXPECT_TRUE(PumpUntil([&] { return program.Window().HasEnded(); }));
  EXPECT_EQ(APP_State().ExitCode, 0);
  EXPECT_EQ(ReadFile(program.Path("chip.bin")).substr(0x10, 4), "\x01\x02\x03\x04");
}

TEST(MainWindow, DroppedFilesOpenAndUnknownOnesAreTold) {
  PROGRAM program;
  program.Run([] {});
  QMimeData data;
  QList<QUrl> urls;
  for (const char* sName : {"a.hex", "b.png", "c"}) {
    WriteFile(program.Path(sName), ":0400100001020304E2\n:00000001FF\n");
    urls.append(QUrl::fromLocalFile(QString::fromStdString(program.Path(sName))));
  }
  data.setUrls(urls);
  QDragEnterEvent enter(QPoint(5, 5), Qt::CopyAction, &data, Qt::LeftButton, Qt::NoModifier);
  QApplication::sendEvent(&program.Window(), &enter);
  EXPECT_TRUE(enter.isAccepted());
  QDropEvent drop(QPointF(5, 5), Qt::CopyAction, &data, Qt::LeftButton, Qt::NoModifier);
  QApplication::sendEvent(&program.Window(), &drop);
  auto* pBox = FindShown<DIALOG_CustMsgBox>();
  ASSERT_NE(pBox, nullptr);
  Press(pBox, "O.K.");
  program.Run([] { EXPECT_EQ(APP_GetNumDataWindows(), 2u); });
}

TEST(MainWindow, MenusDocksAndStatusFollow) {
  PROGRAM program;
  MainWindow& window = program.Window();
  bool hasSettled = false;
  program.Run([&] {
    // Behind what Init sent, and without the checks: their jobs would tell the real state.
    window.EnableDataWindowCheck(false);
    window.SetVisibility(1);
    QMetaObject::invokeMethod(
        &window, [&] { hasSettled = true; }, Qt::QueuedConnection);
  });
  ASSERT_TRUE(PumpUntil([&] { return hasSettled && window.isVisible(); }));
  program.Run([&] {
    window.SetStatusText("Ready", 0);
    window.SetStatusText("ignored", 3);
    MENU_STATE state{};
    state.ProjectOpen = 1;
    state.Connected = 1;
    window.UpdateMenuBar(state);
    APP_RECENT_LISTS lists{};
    lists.apDataFiles[0] = "/a/R&D.hex";
    window.UpdateGUI(lists);
  });
  const auto action = [&](const char* sName) { return window.findChild<QAction*>(sName); };
  const auto status = [&] { return window.findChild<QLabel*>("StatusLabel0")->text(); };
  ASSERT_TRUE(PumpUntil([&] { return status() == "Ready"; }));
  EXPECT_TRUE(action("ActCloseProject")->isEnabled());
  EXPECT_FALSE(action("ActProgram")->isEnabled());
  EXPECT_EQ(action("ActConnection")->text(), "&Disconnect");
  const QList<QAction*> recent = window.findChild<QMenu*>("MenuRecentFiles")->actions();
  ASSERT_EQ(recent.size(), 1);
  EXPECT_EQ(recent[0]->text(), "/a/R&&D.hex");
  // A tip as long as a menu shows it.
  auto* pMenu = window.findChild<QMenu*>("MenuTarget");
  Q_EMIT pMenu->hovered(action("ActEraseChip"));
  EXPECT_EQ(status(), "Erase entire chip");
  Q_EMIT pMenu->aboutToHide();
  EXPECT_EQ(status(), "Ready");
  auto* pDock = window.findChild<QDockWidget*>("DockLog");
  EXPECT_TRUE(action("ActShowLog")->isChecked());
  pDock->close();
  EXPECT_FALSE(action("ActShowLog")->isChecked());
  action("ActShowLog")->trigger();
  EXPECT_TRUE(pDock->isVisible());
}

}  // namespace
