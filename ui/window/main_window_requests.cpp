// The GUI thread's side of the services: slots of the signals that the application thread sends.
#include <cstdio>
#include <utility>

#include "project/proj_info.h"
#include "sys/memory.h"
#include "ui/common/edit_value_dialog.h"
#include "ui/common/msg_box.h"
#include "ui/common/progress_dialog.h"
#include "ui/common/qt_helper.h"
#include "ui/hex/hex_editor.h"
#include "ui/window/data_window_area.h"
#include "ui/window/data_window_handle.h"
#include "ui/window/main_window.h"
#include "ui/window/proj_info_tree.h"

namespace {

// Tells that a dialog has closed, at once: its deletion may wait until an outer event loop runs
// again, and that may be waiting for the answer. A window manager hides windows, too (spontaneous).
class HIDE_WATCH : public QObject {
 public:
  HIDE_WATCH(QDialog* pDialog, std::function<void()> done)
      : QObject(pDialog), m_Done(std::move(done)) {
    pDialog->installEventFilter(this);
  }
  bool eventFilter(QObject* pWatched, QEvent* pEvent) override {
    if (pEvent->type() == QEvent::Hide && !pEvent->spontaneous() && m_Done != nullptr) {
      std::exchange(m_Done, nullptr)();
    }
    return QObject::eventFilter(pWatched, pEvent);
  }

 private:
  std::function<void()> m_Done;
};

}  // namespace

bool MainWindow::IsRequested(const SYS_HANDLE* phDone) const {
  SYS_LOCK_GUARD lock(m_Lock);
  return *phDone != 0 && !m_HasEnded;
}

void MainWindow::FinishRequest(SYS_HANDLE* phDone) {
  SYS_LOCK_GUARD lock(m_Lock);
  SYS_SetEvent(*phDone);
}

void MainWindow::RunMsgBox(MSGBOX_INFO* pInfo, const std::function<void()>& done) {
  pInfo->Rejected = 0;
  auto* pBox = new DIALOG_CustMsgBox(this, pInfo);
  if (done == nullptr) {
    pBox->exec();
  } else {
    new HIDE_WATCH(pBox, done);  // belongs to the box
  }
}

// Nobody can press a button: the text goes where the log goes, the default counts.
void MainWindow::AnswerUnattended(MSGBOX_INFO* pInfo) {
  AddLogLine((std::string(pInfo->sText != nullptr ? pInfo->sText : "") + "\n").c_str());
  pInfo->Result = pInfo->DefaultBtn;
  pInfo->CheckResult = pInfo->CheckState != 0 ? 1 : 0;
  pInfo->Rejected = 0;
}

void MainWindow::_SlotOnShowCustMsgBox() {
  if (IsRequested(&m_Request.MsgBox.hDone)) {
    RunMsgBox(m_Request.MsgBox.pInfo, [this] { FinishRequest(&m_Request.MsgBox.hDone); });
  }
}

void MainWindow::_SlotOnShowEditValDialog() {
  auto& request = m_Request.EditVal;
  if (!IsRequested(&request.hDone)) {
    return;
  }
  auto* pDialog = new EditValueDialog(this, request.sTitle, request.pItems, request.NumItems);
  connect(pDialog, &QDialog::finished, pDialog, &QObject::deleteLater);
  connect(pDialog, &QDialog::finished, this, [this, &request](int result) {
    SYS_MUTEX_Lock(m_Lock, SYS_INFINITE);
    request.Result = result == QDialog::Accepted ? 0 : -1;
    SYS_MUTEX_Unlock(m_Lock);
    FinishRequest(&request.hDone);
  });
  pDialog->open();
}

void MainWindow::_SlotOnShowFileDialogOpen() {
  ServeFileDialog(true);
}

void MainWindow::_SlotOnShowFileDialogSave() {
  ServeFileDialog(false);
}

// The platform's dialog runs an event loop of its own, below which nothing can wait for the job.
void MainWindow::ServeFileDialog(bool IsOpen) {
  auto& request = m_Request.FileDialog;
  if (!IsRequested(&request.hDone)) {
    return;
  }
  const auto ask = IsOpen ? QTHelper_GetOpenFileName : QTHelper_GetSaveFileName;
  const std::string start = request.pBuf;
  m_IsInFileDialog = true;
  const int result = ask(this, request.pBuf, request.BufSize, request.sTitle, start.c_str(),
                         request.sFilters, request.sSelected);
  m_IsInFileDialog = false;
  {
    SYS_LOCK_GUARD lock(m_Lock);
    request.Result = result;
  }
  FinishRequest(&request.hDone);
  CloseIfAsked();
}

// The focus check of the new window would post while the job waits for this very slot, so that a
// full ring would stop both: it follows when the job has its answer.
void MainWindow::_SlotOnCreateDataWindow() {
  auto& request = m_Request.CreateWindow;
  if (!IsRequested(&request.hDone)) {
    return;
  }
  m_IsCreatingWindow = true;
  auto* pEditor = new CHexEditor(this);
  m_Handles.push_back(std::make_unique<DataWindowHandle>(pEditor));
  DataWindowHandle* pHandle = m_Handles.back().get();
  HEX_EDITOR_CONFIG config;
  config.ShowRefresh = 0;
  config.ShowAccessWidth = 0;
  config.ShowLoad = 0;
  config.ShowSave = 0;
  config.ScrollWhileDragging = 1;
  pEditor->SetMemArea(request.pArea);
  pEditor->SetConfig(&config);
  pEditor->SetReadOnly(request.ReadOnly ? 1 : 0);
  pEditor->SetBigEndian(request.BigEndian ? 1 : 0);
  m_pArea->AddWindow(pEditor, "Memory window");
  connect(pEditor, &CHexEditor::SignalClosed, this, &MainWindow::_SlotOnDataWindowClose);
  connect(pEditor, &CHexEditor::SignalEditingFinished, this, &MainWindow::_SlotOnDataWindowUpdate);
  if (request.sTitle != nullptr) {
    pEditor->SetWindowName(request.sTitle);
  }
  {
    SYS_LOCK_GUARD lock(m_Lock);
    request.pResult = pHandle;
  }
  FinishRequest(&request.hDone);
  m_IsCreatingWindow = false;
  CheckFocus(pHandle);
}

// The job may delete the old image as soon as it has its answer, so everything that shows it lets
// go of it first.
void MainWindow::_SlotOnUpdateDataWindow() {
  auto& request = m_Request.UpdateWindow;
  if (!IsRequested(&request.hDone)) {
    return;
  }
  DataWindowHandle* pHandle = FindHandle(request.pWindow);
  CHexEditor* pEditor = pHandle != nullptr ? pHandle->GetEditor() : nullptr;
  const bool isSame = pEditor != nullptr && pEditor->GetMemArea() == request.pArea;
  if (pEditor != nullptr && !isSame) {
    pEditor->SetMemArea(request.pArea);
  }
  FinishRequest(&request.hDone);
  if (isSame) {
    // What was typed while the job had the image locked still waits to be written.
    CHexEditor::RequestReload(pEditor);
  } else if (pEditor != nullptr) {
    pEditor->OnShow();
  }
  APP_PostUpdateMenuBar();
}

void MainWindow::_SlotOnCloseDataWindow(APP_DATA_WINDOW* pWindow) {
  const DataWindowHandle* pHandle = FindHandle(pWindow);
  if (pHandle != nullptr && pHandle->GetEditor() != nullptr) {
    pHandle->GetEditor()->close();
  }
}

// Signals arrive in order: nothing that a job sent about the window comes later.
void MainWindow::_SlotOnDataWindowForgotten(APP_DATA_WINDOW* pWindow) {
  std::erase_if(m_Handles, [pWindow](const auto& pHandle) { return pHandle.get() == pWindow; });
}

void MainWindow::_SlotOnUpdateProjectInfo() {
  SYS_LOCK_GUARD lock(m_Lock);
  m_pProjTree->Update(m_pProjInfo.get());
}

void MainWindow::_SlotOnEnableGUI() {
  SYS_MUTEX_Lock(m_Lock, SYS_INFINITE);
  const bool onOff = m_Request.EnableGUI;
  SYS_MUTEX_Unlock(m_Lock);
  m_pArea->setEnabled(onOff && !m_IsClosing);
  m_pProjTree->setEnabled(onOff);
  menuBar()->setEnabled(onOff && !m_IsClosing);
}

void MainWindow::_SlotOnEnableDataWindowCheck() {
  SYS_MUTEX_Lock(m_Lock, SYS_INFINITE);
  m_DataWindowCheckOn = m_Request.EnableDataWindowCheck;
  SYS_MUTEX_Unlock(m_Lock);
  if (m_DataWindowCheckOn) {
    CheckFocus(nullptr);
  }
}

void MainWindow::_SlotOnNewMail() {
  GUI_MAIL mail;
  while (m_Mail.Get(&mail)) {
    auto* pInfo = static_cast<PROGRESS_INFO*>(mail.pData);
    if (mail.Type == GUI_MAIL_CREATE_PROGRESS) {
      CreateProgress(pInfo);
    } else if (mail.Type == GUI_MAIL_CLOSE_PROGRESS) {
      CloseProgress(pInfo);
    }
    if (mail.FreeData != 0) {
      SYS_MEM_Free(mail.pData);
    }
  }
}

void MainWindow::CreateProgress(PROGRESS_INFO* pInfo) {
  if (pInfo != nullptr) {
    m_Progress.insert(pInfo, new ProgressDialog(this, pInfo));
  }
}

// The dialog owns the record.
void MainWindow::CloseProgress(PROGRESS_INFO* pInfo) {
  delete m_Progress.take(pInfo);
}
