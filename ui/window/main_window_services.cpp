// The services of the main window for the application thread: store, send a signal, perhaps wait.
//
// What a request points to belongs to the waiting job, so the GUI thread uses it without a copy
// until it has set the event, and not any more afterwards.
#include <cstdio>
#include <cstring>

#include "app/engine/log_internal.h"
#include "project/proj_info.h"
#include "sys/time.h"
#include "ui/log/text_view.h"
#include "ui/window/data_window_handle.h"
#include "ui/window/main_window.h"

namespace {

constexpr u32 kMailRetryMs = 1;
constexpr std::size_t kStartLogSize = 4096;  // of a failed start: what fits into a box

// The core's lists may change as soon as the call has returned.
void CopyPaths(const char* const (&apPaths)[APP_NUM_RECENT],
               std::array<std::string, APP_NUM_RECENT>* pCopies) {
  for (u32 i = 0; i < APP_NUM_RECENT; ++i) {
    (*pCopies)[i] = apPaths[i] != nullptr ? apPaths[i] : "";
  }
}

}  // namespace

void MainWindow::AskGui(SYS_HANDLE* phDone, const std::function<void()>& fill,
                        SIGNAL_FUNC pfSignal) {
  const SYS_HANDLE hDone = SYS_CreateEvent(false, false);
  {
    SYS_LOCK_GUARD lock(m_Lock);
    fill();
    if (m_HasEnded || hDone == 0) {
      SYS_CloseHandle(hDone);
      return;
    }
    *phDone = hDone;
  }
  Q_EMIT(this->*pfSignal)();
  SYS_WaitForObject(hDone, SYS_INFINITE);
  SYS_LOCK_GUARD lock(m_Lock);
  *phDone = 0;
  SYS_CloseHandle(hDone);
}

// The preset answer is that of a box closed by its frame: the caller's RejectResult.
void MainWindow::ShowMsgBox(MSGBOX_INFO* pInfo) {
  if (m_IsUnattended) {
    AnswerUnattended(pInfo);
    return;
  }
  if (IsGuiThread()) {
    RunMsgBox(pInfo, nullptr);
    return;
  }
  AskGui(
      &m_Request.MsgBox.hDone,
      [&] {
        pInfo->Result = pInfo->DefaultBtn;
        pInfo->Rejected = 1;
        m_Request.MsgBox.pInfo = pInfo;
      },
      &MainWindow::_SignalShowCustMsgBox);
}

// Without a person the values stay as they are, and no file is chosen.
int MainWindow::ShowEditValDialog(const char* sTitle, EDIT_VALUE_ITEM* pItems, u32 NumItems) {
  if (m_IsUnattended) {
    return 0;
  }
  auto& request = m_Request.EditVal;
  AskGui(
      &request.hDone,
      [&] {
        request.sTitle = sTitle;
        request.pItems = pItems;
        request.NumItems = NumItems;
        request.Result = -1;
      },
      &MainWindow::_SignalShowEditValDialog);
  SYS_LOCK_GUARD lock(m_Lock);
  return request.Result;
}

int MainWindow::AskFile(SIGNAL_FUNC pfSignal, const char* sTitle, const char* sFilters,
                        const char* sSelected, char* pBuf, u32 BufSize) {
  if (m_IsUnattended) {
    return -1;
  }
  auto& request = m_Request.FileDialog;
  AskGui(
      &request.hDone,
      [&] {
        request.sTitle = sTitle;
        request.sFilters = sFilters;
        request.sSelected = sSelected;
        request.pBuf = pBuf;
        request.BufSize = BufSize;
        request.Result = -1;
      },
      pfSignal);
  SYS_LOCK_GUARD lock(m_Lock);
  return request.Result;
}

int MainWindow::ShowFileDialogOpen(const char* sTitle, const char* sFilters, const char* sSelected,
                                   char* pBuf, u32 BufSize) {
  return AskFile(&MainWindow::_SignalShowFileDialogOpen, sTitle, sFilters, sSelected, pBuf,
                 BufSize);
}

int MainWindow::ShowFileDialogSave(const char* sTitle, const char* sFilters, const char* sSelected,
                                   char* pBuf, u32 BufSize) {
  return AskFile(&MainWindow::_SignalShowFileDialogSave, sTitle, sFilters, sSelected, pBuf,
                 BufSize);
}

// The core holds APP_LOCK meanwhile, which no slot takes.
APP_DATA_WINDOW* MainWindow::CreateDataWindow(MEMAREA* pArea, const char* sTitle, bool ReadOnly,
                                              bool BigEndian) {
  auto& request = m_Request.CreateWindow;
  AskGui(
      &request.hDone,
      [&] {
        request.pArea = pArea;
        request.sTitle = sTitle;
        request.ReadOnly = ReadOnly;
        request.BigEndian = BigEndian;
        request.pResult = nullptr;
      },
      &MainWindow::_SignalCreateDataWindow);
  SYS_LOCK_GUARD lock(m_Lock);
  return request.pResult;
}

void MainWindow::UpdateDataWindow(APP_DATA_WINDOW* pWindow, MEMAREA* pArea) {
  auto& request = m_Request.UpdateWindow;
  AskGui(
      &request.hDone,
      [&] {
        request.pWindow = pWindow;
        request.pArea = pArea;
      },
      &MainWindow::_SignalUpdateDataWindow);
}

// With its argument in the signal: a job may close several windows in a row.
void MainWindow::CloseDataWindow(APP_DATA_WINDOW* pWindow) {
  Q_EMIT _SignalCloseDataWindow(pWindow);
}

// Title and texts change many times in one turn of the event loop, and one look at them is enough.
void MainWindow::RequestGuiUpdate() {
  if (!m_IsUpdatePending.exchange(true)) {
    Q_EMIT _SignalUpdateGUI();
  }
}

void MainWindow::UpdateGUI(const APP_RECENT_LISTS& lists) {
  {
    SYS_LOCK_GUARD lock(m_Lock);
    CopyPaths(lists.apDataFiles, &m_Request.apRecentData);
    CopyPaths(lists.apProjects, &m_Request.apRecentProj);
  }
  RequestGuiUpdate();
}

void MainWindow::SetWindowTitleText(const char* sText) {
  {
    SYS_LOCK_GUARD lock(m_Lock);
    m_Request.sTitle = sText;
  }
  RequestGuiUpdate();
}

void MainWindow::SetStatusText(const char* sText, u32 Index) {
  if (Index >= APP_NUM_STATUS_TEXTS) {
    return;
  }
  {
    SYS_LOCK_GUARD lock(m_Lock);
    m_Request.asStatus[Index] = sText != nullptr ? sText : "";
  }
  RequestGuiUpdate();
}

void MainWindow::UpdateMenuBar(const MENU_STATE& state) {
  {
    SYS_LOCK_GUARD lock(m_Lock);
    m_Request.MenuState = state;
  }
  Q_EMIT _SignalUpdateMenuBar();
}

void MainWindow::SetVisibility(u32 Visibility) {
  {
    SYS_LOCK_GUARD lock(m_Lock);
    m_Request.Visibility = Visibility;
  }
  Q_EMIT _SignalUpdateVisibility();
}

void MainWindow::UpdateProjectInfo(const PROJ_INFO& info) {
  {
    SYS_LOCK_GUARD lock(m_Lock);
    *m_pProjInfo = info;
  }
  Q_EMIT _SignalUpdateProjectInfo();
}

void MainWindow::EnableGUI(bool OnOff) {
  {
    SYS_LOCK_GUARD lock(m_Lock);
    m_Request.EnableGUI = OnOff;
  }
  Q_EMIT _SignalEnableGUI();
}

void MainWindow::EnableDataWindowCheck(bool OnOff) {
  {
    SYS_LOCK_GUARD lock(m_Lock);
    m_Request.EnableDataWindowCheck = OnOff;
  }
  Q_EMIT _SignalEnableDataWindowCheck();
}

void MainWindow::PostClose() {
  Q_EMIT _SignalClose();
}

void MainWindow::FinishAsyncInit() {
  Q_EMIT _SignalFinAsyncAppInit();
}

// The record is the job's at once. Its dialog follows as soon as the GUI thread reads the mail and
// starts with whatever the job has written by then.
PROGRESS_INFO* MainWindow::CreateProgressDialog(const char* sTitle, const char* sText, u32 Flags) {
  {
    SYS_LOCK_GUARD lock(m_Lock);
    if (m_Request.Visibility == 0) {
      Flags |= PROGRESS_HIDDEN;
    } else if (m_Request.Visibility == 2) {
      Flags |= PROGRESS_MINIMIZED;
    }
  }
  PROGRESS_INFO* pInfo = PROGRESS_Create(sTitle, sText, Flags);
  if (pInfo != nullptr) {
    SYS_MUTEX_Lock(m_Lock, SYS_INFINITE);
    const bool isInterrupted = m_IsInterrupted;
    SYS_MUTEX_Unlock(m_Lock);
    if (isInterrupted) {
      PROGRESS_Cancel(pInfo);
    }
    SendMail({pInfo, 0, GUI_MAIL_CREATE_PROGRESS});
  }
  return pInfo;
}

void MainWindow::CloseProgressDialog(PROGRESS_INFO** ppInfo) {
  if (*ppInfo != nullptr) {
    SendMail({*ppInfo, 0, GUI_MAIL_CLOSE_PROGRESS});
    *ppInfo = nullptr;
  }
}

// A full ring empties as soon as the GUI thread gets to it, or never again once that has ended.
void MainWindow::SendMail(const GUI_MAIL& mail) {
  while (!m_Mail.Put(mail)) {
    if (m_HasEnded) {
      return;
    }
    SYS_Sleep(kMailRetryMs);
  }
  Q_EMIT _SignalOnNewMail();
}

// Printed when nobody sees the window, kept while nobody has seen it yet.
void MainWindow::KeepLogLine(const std::string& plain) {
  if (m_IsUnattended) {
    std::fputs(plain.c_str(), stdout);
    std::fflush(stdout);
    return;
  }
  SYS_LOCK_GUARD lock(m_Lock);
  m_StartLog += plain;
  if (m_StartLog.size() > kStartLogSize) {
    m_StartLog.erase(0, m_StartLog.find('\n', m_StartLog.size() - kStartLogSize) + 1);
  }
}

// Any thread. The view has its own locked buffer and asks the GUI thread to follow by itself.
void MainWindow::AddLogLine(const char* sText) {
  SYS_MUTEX_Lock(m_Lock, SYS_INFINITE);
  const bool isStarting = m_IsStarting;
  SYS_MUTEX_Unlock(m_Lock);
  if (m_IsUnattended || isStarting) {
    std::string plain(std::strlen(sText) + 1, '\0');
    plain.resize(LOG_StripColours(sText, plain.data()));
    KeepLogLine(plain);
  }
  m_pLogView->AddTextFromThread(sText);
}

APP_DATA_WINDOW* MainWindow::GetFocusedDataWindow() {
  SYS_LOCK_GUARD lock(m_Lock);
  return m_Request.pFocusedDataWindow;
}
