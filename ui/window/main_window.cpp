#include "ui/window/main_window.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <string_view>
#include <utility>

#include "app/engine/app_state.h"
#include "project/proj_info.h"
#include "ui/common/msg_box.h"
#include "ui/common/progress_dialog.h"
#include "ui/common/qt_helper.h"
#include "ui/hex/hex_editor.h"
#include "ui/log/text_view.h"
#include "ui/window/data_window_area.h"
#include "ui/window/data_window_handle.h"
#include "ui/window/proj_info_tree.h"

// Construction, life and end of the main window.

namespace {

constexpr int kLogLines = 10;  // the least that the log shows
// Longest time in pending events: between two looks at the ring, and while the last jobs run.
constexpr int kPollMs = 1;
constexpr int kPumpMs = 10;

// For polls and boxes, which know no object. Set on the GUI thread before the first post.
MainWindow* g_pMainWindow = nullptr;

// A box with its texts, which it needs as long as it is shown.
struct SHOWN_BOX {
  std::string Title, Text;
  MSGBOX_INFO Info{};
};

}  // namespace

void MainWindow_ShowBox(const char* sTitle, const char* sText, bool Modal) {
  const auto pShown = std::make_shared<SHOWN_BOX>();
  pShown->Title = sTitle != nullptr ? sTitle : APP_GetTitle();
  pShown->Text = sText;
  pShown->Info.sTitle = pShown->Title.c_str();
  pShown->Info.sText = pShown->Text.c_str();
  pShown->Info.sBtn0 = "O.K.";
  pShown->Info.Icon = APP_ICON_WARNING;
  auto* pBox = new DIALOG_CustMsgBox(g_pMainWindow, &pShown->Info);
  if (Modal) {
    pBox->exec();
    return;
  }
  QObject::connect(pBox, &QObject::destroyed, [pShown] {});
  pBox->show();
}

bool MainWindow_HasOption(int argc, char** argv, const char* sWord) {
  for (int i = 1; i < argc; ++i) {
    const APP_OPERATION* pOption = APP_FindWord(argv[i]);
    if (pOption != nullptr && std::string_view(pOption->Word.sText) == sWord) {
      return true;
    }
  }
  return false;
}

MainWindow::MainWindow(int argc, char** argv, u32 ShowCmd, bool IsUnattended)
    : m_GuiThreadId(SYS_GetCurrentThreadId()),
      m_Lock(SYS_MUTEX_Create(nullptr)),
      m_pProjInfo(std::make_unique<PROJ_INFO>()),
      m_IsUnattended(IsUnattended),
      m_IsScript(MainWindow_HasOption(argc, argv, "-hide") ||
                 MainWindow_HasOption(argc, argv, "-exit")) {
  g_pMainWindow = this;
  APP_SetUp(this);
  WORKER_SetDefaultPoll(PollGui);
  setObjectName("MainWindow");
  hide();
  CreateMenus();
  CreateCenter();
  CreateDocks();
  CreateStatusBar();
  setAcceptDrops(true);
  m_Request.sTitle = APP_GetName();
  ConnectSignals();
  _SlotOnGUIUpdate();
  _SlotOnMenuBarUpdate();
  m_Start.argc = static_cast<u32>(argc);
  m_Start.argv = argv;
  m_Start.ShowCmd = ShowCmd;
  if (APP_PostInit(&m_Start) != 0) {
    PostClose();  // nobody else will
  }
  setFocusPolicy(Qt::ClickFocus);
}

MainWindow::~MainWindow() {
  m_Owner.Leave();
  EndGui();
  WORKER_SetDefaultPoll(nullptr);
  // Children go before the members that their signals would reach.
  for (const auto& pHandle : m_Handles) {
    if (CHexEditor* pEditor = pHandle->GetEditor(); pEditor != nullptr) {
      pHandle->Detach();
      disconnect(pEditor, nullptr, this, nullptr);
    }
  }
  for (const QObject* pSender :
       std::initializer_list<const QObject*>{m_pArea, m_pProjDock, m_pLogDock}) {
    disconnect(pSender, nullptr, this, nullptr);
  }
  qDeleteAll(m_Progress);
  delete takeCentralWidget();
  SYS_MUTEX_Destroy(&m_Lock);
  g_pMainWindow = nullptr;
}

void MainWindow::CreateCenter() {
  m_pProjTree = new ProjInfoTree(this);
  m_pProjTree->setObjectName("ProjInfoTree");
  m_pProjTree->setAccessibleName("Project information");
  m_pArea = new DataWindowArea(this, "Drag & Drop data file here");
  connect(m_pArea, &DataWindowArea::SignalDataWinInFocus, this,
          &MainWindow::_SlotOnDataWindowInFocus);
  // The first window fits one data window.
  m_pArea->setFixedSize(CHexEditor().sizeHint());
}

void MainWindow::CreateDocks() {
  m_pLogView = new CustTextView(this);
  m_pLogView->SetLocal8Bit(true);
  m_pLogView->setObjectName("LogView");
  m_pLogView->setAccessibleName("Log");
  setDockNestingEnabled(true);
  setCentralWidget(m_pArea);
  m_pProjDock = QTHelper_AddDock(this, "Project information", m_pProjTree, Qt::LeftDockWidgetArea);
  m_pProjDock->setObjectName("DockProjInfo");
  m_pLogDock = QTHelper_AddDock(this, "Log", m_pLogView, Qt::BottomDockWidgetArea);
  m_pLogDock->setObjectName("DockLog");
  m_pLogDock->setMinimumHeight(kLogLines * QFontMetrics(m_pLogView->font()).height());
  for (const QDockWidget* pDock : {m_pProjDock, m_pLogDock}) {
    connect(pDock, &QDockWidget::visibilityChanged, this, &MainWindow::_SlotOnMenuBarUpdate);
  }
}

void MainWindow::CreateStatusBar() {
  constexpr std::array<int, APP_NUM_STATUS_TEXTS> kStretch = {5, 1, 1};
  for (u32 i = 0; i < APP_NUM_STATUS_TEXTS; ++i) {
    auto* pLabel = new QLabel(this);
    pLabel->setObjectName(QString("StatusLabel%1").arg(i));
    // A long tip must not widen the window.
    pLabel->setSizePolicy(QSizePolicy::Ignored, QSizePolicy::Preferred);
    pLabel->setTextFormat(Qt::PlainText);
    statusBar()->addPermanentWidget(pLabel, kStretch[i]);
    m_apStatusLabel[i] = pLabel;
  }
}

// All of them cross from the application thread, and all arrive in the order of sending.
void MainWindow::ConnectSignals() {
  const auto queue = [this](auto signal, auto slot) {
    connect(this, signal, this, slot, Qt::QueuedConnection);
  };
  using W = MainWindow;
  queue(&W::_SignalShowCustMsgBox, &W::_SlotOnShowCustMsgBox);
  queue(&W::_SignalShowEditValDialog, &W::_SlotOnShowEditValDialog);
  queue(&W::_SignalShowFileDialogOpen, &W::_SlotOnShowFileDialogOpen);
  queue(&W::_SignalShowFileDialogSave, &W::_SlotOnShowFileDialogSave);
  queue(&W::_SignalCreateDataWindow, &W::_SlotOnCreateDataWindow);
  queue(&W::_SignalUpdateDataWindow, &W::_SlotOnUpdateDataWindow);
  queue(&W::_SignalCloseDataWindow, &W::_SlotOnCloseDataWindow);
  queue(&W::_SignalDataWindowForgotten, &W::_SlotOnDataWindowForgotten);
  queue(&W::_SignalUpdateGUI, &W::_SlotOnGUIUpdate);
  queue(&W::_SignalUpdateMenuBar, &W::_SlotOnMenuBarUpdate);
  queue(&W::_SignalUpdateVisibility, &W::_SlotOnVisibilityUpdate);
  queue(&W::_SignalUpdateProjectInfo, &W::_SlotOnUpdateProjectInfo);
  queue(&W::_SignalEnableGUI, &W::_SlotOnEnableGUI);
  queue(&W::_SignalEnableDataWindowCheck, &W::_SlotOnEnableDataWindowCheck);
  queue(&W::_SignalClose, &W::_SlotOnClose);
  queue(&W::_SignalFinAsyncAppInit, &W::_SlotOnFinAsyncAppInit);
  queue(&W::_SignalOnNewMail, &W::_SlotOnNewMail);
  queue(&W::_SignalInterrupt, &W::_SlotOnInterrupt);
  // Coming back from another program checks all data files. A click into the window alone gives
  // the focus to one of its children, which focusInEvent doesn't see.
  connect(qApp, &QGuiApplication::applicationStateChanged, this,
          [this](Qt::ApplicationState state) {
            if (state == Qt::ApplicationActive) {
              CheckFocus(nullptr);
            }
          });
}

// Keeps the window alive while a post of the GUI thread waits for a slot of the ring.
int MainWindow::PollGui(void* /*pArg*/) {
  if (g_pMainWindow == nullptr || !g_pMainWindow->IsGuiThread()) {
    return 0;
  }
  // The job that has to end first waits for a dialog below in the stack, or for the new window.
  if (g_pMainWindow->m_IsInFileDialog || g_pMainWindow->m_IsCreatingWindow) {
    return -1;
  }
  ++g_pMainWindow->m_NumPolls;
  QCoreApplication::processEvents(QEventLoop::AllEvents, kPollMs);
  if (--g_pMainWindow->m_NumPolls == 0) {
    g_pMainWindow->CloseIfAsked();
  }
  return 0;
}

void MainWindow::PumpGui(void* /*pArg*/) {
  QCoreApplication::processEvents(QEventLoop::AllEvents, kPumpMs);
}

bool MainWindow::IsGuiThread() const {
  return SYS_GetCurrentThreadId() == m_GuiThreadId;
}

// Init asks for the welcome and the new project dialog here, too. There are none yet: the window
// stays empty until the user opens something.
void MainWindow::_SlotOnFinAsyncAppInit() {
  SYS_MUTEX_Lock(m_Lock, SYS_INFINITE);
  m_IsStarting = false;
  SYS_MUTEX_Unlock(m_Lock);
  if (m_Start.CloseAfterInit != 0) {
    if (APP_State().ExitCode != 0) {
      TellStartFailure();
    }
    close();
    return;
  }
  if (!m_IsClosing) {
    APP_PostUpdateMenuBar();
  }
}

void MainWindow::_SlotOnClose() {
  close();
}

// Whatever asked for it, the window stays until the jobs that were posted before have run. Nothing
// new starts meanwhile.
void MainWindow::closeEvent(QCloseEvent* pEvent) {
  pEvent->ignore();
  if (m_HasEnded) {
    pEvent->accept();
    return;
  }
  if (m_IsClosing) {
    return;
  }
  // The end comes behind all that was posted before: a post below in the stack goes first.
  if (m_IsInFileDialog || m_NumPolls > 0) {
    m_CloseAgain = true;
    return;
  }
  m_IsClosing = true;
  setAcceptDrops(false);
  _SlotOnEnableGUI();
  if (!APP_ShutDown(PumpGui, this)) {
    m_IsClosing = false;
    setAcceptDrops(true);
    _SlotOnEnableGUI();
    SYS_LOCK_GUARD lock(m_Lock);
    m_IsInterrupted = false;
    return;
  }
  _SlotOnNewMail();  // of the last jobs
  EndGui();
  pEvent->accept();
  QCoreApplication::exit(0);
}

void MainWindow::CloseIfAsked() {
  if (std::exchange(m_CloseAgain, false)) {
    Q_EMIT _SignalClose();
  }
}

// From here on nobody answers: whoever asks gets what the request was preset to.
void MainWindow::EndGui() {
  SYS_LOCK_GUARD lock(m_Lock);
  m_HasEnded = true;
  for (const SYS_HANDLE* phDone :
       {&m_Request.MsgBox.hDone, &m_Request.EditVal.hDone, &m_Request.FileDialog.hDone,
        &m_Request.CreateWindow.hDone, &m_Request.UpdateWindow.hDone}) {
    SYS_SetEvent(*phDone);
  }
}

void MainWindow::PostInterrupt() {
  {
    SYS_LOCK_GUARD lock(m_Lock);
    m_IsInterrupted = true;
  }
  Q_EMIT _SignalInterrupt();
}

// Closes like the frame: what runs is cancelled, an open question counts as closed. A question that
// the end itself asks, such as whether to save, stays. Whoever interrupts again means it: what is
// still asked gets its default.
void MainWindow::_SlotOnInterrupt() {
  for (ProgressDialog* pDialog : std::as_const(m_Progress)) {
    pDialog->reject();
  }
  QWidget* pModal = QApplication::activeModalWidget();
  if (pModal != nullptr && qobject_cast<ProgressDialog*>(pModal) == nullptr) {
    const QList<QPushButton*> buttons = pModal->findChildren<QPushButton*>();
    const auto it = std::find_if(buttons.begin(), buttons.end(),
                                 [](const QPushButton* pButton) { return pButton->isDefault(); });
    if (m_IsClosing && it != buttons.end()) {
      (*it)->click();
    } else {
      pModal->close();
    }
  }
  close();
}

// The log of a window that nobody saw would be lost. A run from a script gets it on its terminal
// alone: a box would hold it up.
void MainWindow::TellStartFailure() {
  if (m_IsUnattended) {
    return;  // it was printed line by line
  }
  SYS_MUTEX_Lock(m_Lock, SYS_INFINITE);
  const std::string text = m_StartLog;
  SYS_MUTEX_Unlock(m_Lock);
  std::fputs(text.c_str(), stderr);
  if (m_IsScript) {
    return;
  }
  MSGBOX_INFO info{};
  info.sTitle = APP_GetShortTitle();
  info.sText = text.c_str();
  info.sBtn0 = "OK";
  info.Icon = APP_ICON_CRITICAL;
  info.TextSelectable = 1;
  ShowMsgBox(&info);
}

// There is nothing to go on with, and this is the application thread: no shut-down is possible.
void MainWindow::Terminate(int ExitCode) {
  // Otherwise its box was seen.
  if (APP_State().SuppressGUI != 0) {
    TellStartFailure();
  }
  std::_Exit(ExitCode);
}
