// Menus of the main window: built from the table, enabled by its rules, kept up to date.
#include "ui/common/qt_helper.h"
#include "ui/hex/hex_editor.h"
#include "ui/window/data_window_handle.h"
#include "ui/window/main_window.h"
#include "ui/window/window_rules.h"

namespace {

constexpr int kSettleMs = 10;  // between two looks whether all is written

}  // namespace

void MainWindow::CreateMenus() {
  m_pDataMapper = new QSignalMapper(this);
  m_pProjMapper = new QSignalMapper(this);
  connect(m_pDataMapper, &QSignalMapper::mappedString, this, &MainWindow::_SlotOnActMRUDataFile);
  connect(m_pProjMapper, &QSignalMapper::mappedString, this, &MainWindow::_SlotOnActMRUProjFile);
  for (u32 i = 0; i < UI_NUM_TOP_MENUS; ++i) {
    m_apMenu[i] = QTHelper_CreateMenu(menuBar(), UI_GetMenuRow(i).sText);
    connect(m_apMenu[i], &QMenu::hovered, this, &MainWindow::_SlotOnHoverMenu);
  }
  for (const UI_PLACE& place : UI_GetPlaces()) {
    CreateMenuRow(place);
  }
  for (u32 i = 0; i < UI_NUM_MENUS; ++i) {
    m_apMenu[i]->setObjectName(UI_GetMenuRow(i).sName);
    connect(m_apMenu[i], &QMenu::aboutToHide, this, &MainWindow::_SlotOnMenuHide);
  }
}

// What is seen in the data windows is what is saved or programmed: a byte in the edit box and a
// paste that is still under way come first. Those may have to wait for the job that has the image.
void MainWindow::RunAction(u32 Action) {
  if (m_IsClosing || m_HasEnded) {
    return;  // a key must not start anything behind the last job
  }
  // A write posts a job, and windows may come and go while that waits for a slot.
  QList<QPointer<CHexEditor>> editors;
  for (const auto& pHandle : m_Handles) {
    editors.append(pHandle->GetEditor());
  }
  bool isSettled = true;
  for (const QPointer<CHexEditor>& pEditor : editors) {
    isSettled = (pEditor == nullptr || pEditor->Settle()) && isSettled;
  }
  if (isSettled) {
    StartAction(Action);
  } else {
    QTimer::singleShot(kSettleMs, this, [this, Action] { RunAction(Action); });
  }
}

// A menu's rows come behind the row that opens it.
void MainWindow::CreateMenuRow(const UI_PLACE& place) {
  QMenu* pMenu = m_apMenu[place.Menu];
  if (place.Action == UI_ACT_SEPARATOR) {
    pMenu->addSeparator();
    return;
  }
  const APP_MENU_TEXT text = UI_GetActionRow(place.Action).Text;
  const bool isCheckable = UI_GetActionRow(place.Action).IsCheckable;
  if (text.sTip == nullptr) {
    QMenu* pSubMenu = QTHelper_CreateSubMenu(pMenu, text.sText);
    m_apMenu[UI_FindMenu(place.Action)] = pSubMenu;
    m_apAction[place.Action] = pSubMenu->menuAction();
    return;
  }
  QAction* pAction = QTHelper_CreateActionTip(pMenu, text.sText, text.sShortcut, text.sTip,
                                              [this, action = place.Action] { RunAction(action); });
  pAction->setObjectName(text.sName);
  pAction->setAutoRepeat(false);  // a key that is held is one unit
  pAction->setCheckable(isCheckable);
  pAction->setChecked(isCheckable);
  if (UI_IsActionMissing(place.Action)) {
    pAction->setToolTip(QString(text.sTip) + " (not available in this version)");
    pMenu->setToolTipsVisible(true);
  }
  m_apAction[place.Action] = pAction;
}

// Also when a dock was shown or hidden by other means than its row.
void MainWindow::_SlotOnMenuBarUpdate() {
  SYS_MUTEX_Lock(m_Lock, SYS_INFINITE);
  const MENU_STATE state = m_Request.MenuState;
  SYS_MUTEX_Unlock(m_Lock);
  const u64 enabled = UI_GetEnabledActions(state);
  for (u32 i = 0; i < UI_NUM_ACTIONS; ++i) {
    if (m_apAction[i] != nullptr) {  // else it stands in no menu
      m_apAction[i]->setEnabled((enabled >> i & 1) != 0);
    }
  }
  m_apAction[APP_OP_CONNECT]->setText(UI_GetConnectionText(state));
  // Hidden with the whole window is not hidden by the user.
  m_apAction[UI_ACT_SHOW_PROJ_INFO]->setChecked(m_pProjDock != nullptr && !m_pProjDock->isHidden());
  m_apAction[UI_ACT_SHOW_LOG]->setChecked(m_pLogDock != nullptr && !m_pLogDock->isHidden());
}

void MainWindow::_SlotOnHoverMenu(QAction* pAction) {
  m_apStatusLabel[0]->setText(pAction->toolTip());
}

void MainWindow::_SlotOnMenuHide() {
  _SlotOnGUIUpdate();
}

void MainWindow::_SlotOnGUIUpdate() {
  m_IsUpdatePending = false;  // first: what is stored from here on sends anew
  SYS_LOCK_GUARD lock(m_Lock);
  setWindowTitle(QTHelper_FromLocal8Bit(m_Request.sTitle.c_str()));
  for (u32 i = 0; i < APP_NUM_STATUS_TEXTS; ++i) {
    m_apStatusLabel[i]->setText(QTHelper_FromLocal8Bit(m_Request.asStatus[i].c_str()));
  }
  // Status texts change often, the lists hardly ever; a menu that is open stays as it is.
  if (m_ShownData != m_Request.apRecentData) {
    m_ShownData = m_Request.apRecentData;
    ShowRecent(UI_MENU_RECENT_FILES, m_ShownData, m_pDataMapper, false);
  }
  if (m_ShownProj != m_Request.apRecentProj) {
    m_ShownProj = m_Request.apRecentProj;
    ShowRecent(UI_MENU_RECENT_PROJECTS, m_ShownProj, m_pProjMapper, true);
  }
}

void MainWindow::ShowRecent(UI_MENU Menu, const std::array<std::string, APP_NUM_RECENT>& paths,
                            QSignalMapper* pMapper, bool IsProject) {
  QMenu* pMenu = m_apMenu[Menu];
  pMenu->clear();  // deletes the actions, and with them their mappings
  for (const std::string& path : paths) {
    if (path.empty()) {
      continue;
    }
    const UI_RECENT_TEXT texts = UI_GetRecentText(path, IsProject);
    QAction* pAction = pMenu->addAction(QTHelper_FromLocal8Bit(texts.Text.c_str()));
    pAction->setToolTip(QTHelper_FromLocal8Bit(texts.Tip.c_str()));
    pMapper->setMapping(pAction, QTHelper_FromLocal8Bit(path.c_str()));
    connect(pAction, &QAction::triggered, pMapper, qOverload<>(&QSignalMapper::map));
  }
}

// A dock behind another one comes to the front.
void MainWindow::ShowDock(QDockWidget* pDock, bool OnOff) {
  pDock->setVisible(OnOff);
  if (OnOff) {
    pDock->raise();
    pDock->activateWindow();
  }
}

void MainWindow::_SlotOnVisibilityUpdate() {
  SYS_MUTEX_Lock(m_Lock, SYS_INFINITE);
  const u32 visibility = m_Request.Visibility;
  SYS_MUTEX_Unlock(m_Lock);
  switch (visibility) {
    case 1:
      show();
      break;
    case 2:
      showMinimized();
      break;
    case 3:
      showMaximized();
      break;
    default:
      hide();
      return;
  }
  FitWindow();
  CenterWindow();
}
