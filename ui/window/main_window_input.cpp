// Data windows, focus, drag and drop, size and place of the main window.
#include <algorithm>
#include <utility>

#include "app/operations/data_watch.h"
#include "app/operations/data_windows.h"
#include "app/operations/jobs.h"
#include "app/operations/status.h"
#include "ui/common/qt_helper.h"
#include "ui/hex/hex_editor.h"
#include "ui/window/data_window_area.h"
#include "ui/window/data_window_handle.h"
#include "ui/window/main_window.h"
#include "ui/window/window_rules.h"

namespace {

constexpr int kNoMaximum = 0xFFFFFF;

UI_SIZE ToSize(const QSize& size) {
  return {size.width(), size.height()};
}

}  // namespace

DataWindowHandle* MainWindow::FindHandle(const CHexEditor* pEditor) const {
  const auto it = std::find_if(m_Handles.begin(), m_Handles.end(), [pEditor](const auto& pHandle) {
    return pHandle->GetEditor() == pEditor;
  });
  return pEditor == nullptr || it == m_Handles.end() ? nullptr : it->get();
}

DataWindowHandle* MainWindow::FindHandle(const APP_DATA_WINDOW* pWindow) const {
  const auto it = std::find_if(m_Handles.begin(), m_Handles.end(),
                               [pWindow](const auto& pHandle) { return pHandle.get() == pWindow; });
  return it == m_Handles.end() ? nullptr : it->get();
}

// Looks whether files were changed by other programs. Not while the window closes, since a question
// about a file would be the last thing to see.
void MainWindow::CheckFocus(APP_DATA_WINDOW* pWindow) {
  if (isEnabled() && m_DataWindowCheckOn && !m_IsClosing && !m_HasEnded && !m_IsCreatingWindow) {
    if (std::find(m_FocusChecks.begin(), m_FocusChecks.end(), pWindow) == m_FocusChecks.end()) {
      m_FocusChecks.push_back(pWindow);
    }
    RequestPosts();
  }
}

void MainWindow::RequestPosts() {
  m_IsMenuPostWanted = true;
  QMetaObject::invokeMethod(this, &MainWindow::PostUpdates, Qt::QueuedConnection);
}

// Nothing of a data window is below in the stack: a post that waits for a slot of the ring lets
// keys and mouse through, so that a window may change or go. What comes meanwhile is done by the
// call that waits.
void MainWindow::PostUpdates() {
  if (m_IsPosting) {
    return;
  }
  m_IsPosting = true;
  while (m_IsMenuPostWanted && !m_IsClosing && !m_HasEnded) {
    m_IsMenuPostWanted = false;
    for (APP_DATA_WINDOW* pWindow : std::exchange(m_FocusChecks, {})) {
      APP_Post(APP_JOB_CHECK_FILES, [pWindow] { APP_CheckFileModifications(pWindow); });
    }
    APP_PostUpdateMenuBar();
  }
  m_IsPosting = false;
}

void MainWindow::focusInEvent(QFocusEvent* pEvent) {
  QMainWindow::focusInEvent(pEvent);
  CheckFocus(nullptr);
}

// Stored before anything is posted: a job that waits for its new window goes on with that window.
void MainWindow::_SlotOnDataWindowInFocus(CHexEditor* pEditor) {
  DataWindowHandle* pHandle = FindHandle(pEditor);
  {
    SYS_LOCK_GUARD lock(m_Lock);
    m_Request.pFocusedDataWindow = pHandle;
  }
  if (pHandle != nullptr) {
    CheckFocus(pHandle);
  }
}

// The editor lets go of its image, and the handle of the editor, before the core may delete the
// image. The handle stays until the core has done so.
void MainWindow::_SlotOnDataWindowClose() {
  auto* pEditor = qobject_cast<CHexEditor*>(sender());
  DataWindowHandle* pHandle = FindHandle(pEditor);
  if (pHandle == nullptr) {
    return;
  }
  disconnect(pEditor, nullptr, this, nullptr);
  pHandle->Detach();
  pEditor->SetMemArea(nullptr);
  {
    SYS_LOCK_GUARD lock(m_Lock);
    if (m_Request.pFocusedDataWindow == pHandle) {
      m_Request.pFocusedDataWindow = nullptr;
    }
  }
  APP_Post(APP_JOB_DATA_WINDOW_CLOSE,
           [this, pWindow = static_cast<APP_DATA_WINDOW*>(pHandle), owner = m_Owner.GetRef()] {
             APP_RemoveDataWindow(pWindow);
             APP_UpdateMenuBar();
             owner.Tell([&] { Q_EMIT _SignalDataWindowForgotten(pWindow); });
           });
  APP_PostUpdateMenuBar();
}

// An edited image has unsaved changes now.
void MainWindow::_SlotOnDataWindowUpdate() {
  RequestPosts();
}

void MainWindow::dragEnterEvent(QDragEnterEvent* pEvent) {
  if (pEvent->mimeData()->hasUrls()) {
    pEvent->acceptProposedAction();
  }
}

void MainWindow::dragMoveEvent(QDragMoveEvent* pEvent) {
  pEvent->acceptProposedAction();
}

// The modification check sleeps until the last file is open.
void MainWindow::dropEvent(QDropEvent* pEvent) {
  const QList<QUrl> urls = pEvent->mimeData()->urls();
  APP_Post(APP_JOB_FILE_DROP, [] { APP_GetFrontEnd()->EnableDataWindowCheck(false); });
  for (const QUrl& url : urls) {
    const std::string file = QFile::encodeName(url.toLocalFile()).toStdString();
    const std::string refusal =
        UI_CheckDroppedFile(file, file.empty() ? url.toString().toStdString() : file);
    if (refusal.empty()) {
      APP_PostOperation(APP_OP_OPEN_DATA, {.Text = {}, .File = file});
    } else {
      MainWindow_ShowBox(nullptr, refusal.c_str(), false);
    }
  }
  APP_Post(APP_JOB_FILE_DROP, [] { APP_GetFrontEnd()->EnableDataWindowCheck(true); });
  pEvent->acceptProposedAction();
}

// The first time the window takes the size that its parts would like to have, and the area is free
// from then on.
void MainWindow::FitWindow() {
  const QSize area = m_pArea->size();
  const bool isFirst = m_FirstResize;
  if (m_FirstResize) {
    m_pArea->setMinimumSize(0, 0);
    m_pArea->setMaximumSize(kNoMaximum, kNoMaximum);
    m_FirstResize = false;
  }
  std::vector<UI_DOCK_EXTENT> docks;
  for (QDockWidget* pDock : {m_pProjDock, m_pLogDock}) {
    const Qt::DockWidgetArea side = dockWidgetArea(pDock);
    const bool isBeside = side == Qt::LeftDockWidgetArea || side == Qt::RightDockWidgetArea;
    QSize extent = pDock->size();
    if (isFirst && isBeside) {
      // The toolkit shows a new window at two thirds of the screen at most and squeezes its docks.
      extent.setWidth(std::max(extent.width(), pDock->sizeHint().width()) +
                      style()->pixelMetric(QStyle::PM_DockWidgetSeparatorExtent, nullptr, this));
    }
    docks.push_back({ToSize(extent),
                     isBeside ? UI_DOCK_SIDE::LeftOrRight : UI_DOCK_SIDE::TopOrBottom,
                     pDock->isVisible() && !pDock->isFloating()});
  }
  const UI_SIZE size = UI_GetWindowSize(ToSize(area), docks);
  resize(size.Width, size.Height);
}

void MainWindow::CenterWindow() {
  if (screen() == nullptr) {
    return;
  }
  const UI_POINT at = UI_CenterFrame(ToSize(frameGeometry().size()), ToSize(screen()->size()));
  move(at.X, at.Y);
}
