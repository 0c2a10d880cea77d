// Menus of the main window: built from the table, enabled by its rules, kept up to date.
#include "ui/common/qt_helper.h"
#include "ui/hex/hex_editor.h"
#include "ui/window/data_window_handle.h"
#include "ui/window/main_window.h"
#include "ui/window/window_rules.h"

namespace {

constexpr int kSettleMs = 10;  // between two looks whether all is written

}  // namespace

MainWindow::SLOT MainWindow::GetActionSlot(u32 Action) {
  using W = MainWindow;
  // By UI_ACTION. Submenus have none.
  static constexpr SLOT kSlots[] = {
      &W::_SlotOnActOpenDataFile,
      &W::_SlotOnActMergeDataFile,
      &W::_SlotOnActSaveDataFile,
      &W::_SlotOnActSaveDataFileAs,
      &W::_SlotOnActShowFilesOnZelmont,
      &W::_SlotOnActNewProj,
      &W::_SlotOnActOpenProj,
      &W::_SlotOnActSaveProjFile,
      &W::_SlotOnActSaveProjFileAs,
      &W::_SlotOnActCloseProject,
      &W::_SlotOnActSaveFlashConfFile,
      &W::_SlotOnActSaveFlashDataFile,
      &W::_SlotOnActDownloadConfigFiles,
      &W::_SlotOnActDownloadSNFiles,
      nullptr,
      nullptr,
      &W::_SlotOnActExit,
      &W::_SlotOnActRelocate,
      &W::_SlotOnActDelRange,
      &W::_SlotOnActElimBlank,
      &W::_SlotOnActConnection,
      nullptr,
      &W::_SlotOnActEraseSectors,
      &W::_SlotOnActEraseChip,
      &W::_SlotOnActProgram,
      &W::_SlotOnActProgramNVerify,
      &W::_SlotOnActProdProg,
      &W::_SlotOnActVerify,
      nullptr,
      &W::_SlotOnActGenerateTestData,
      &W::_SlotOnActReadChip,
      &W::_SlotOnActReadRange,
      &W::_SlotOnActProjSettings,
      &W::_SlotOnActGlobalSettings,
      &W::_SlotOnActShowProjInfo,
      &W::_SlotOnActShowLog,
      &W::_SlotOnActWikiKorvaneSPI,
      &W::_SlotOnActWikiVortic,
      &W::_SlotOnActWikiZelmont,
      &W::_SlotOnActWikiZelmontHub,
      &W::_SlotOnActManualKorvane,
      &W::_SlotOnActAbout,
  };
  static_assert(std::size(kSlots) == UI_NUM_ACTIONS);
  return kSlots[Action];
}

void MainWindow::CreateMenus() {
  m_pDataMapper = new QSignalMapper(this);
  m_pProjMapper = new QSignalMapper(this);
  connect(m_pDataMapper, &QSignalMapper::mappedString, this, &MainWindow::_SlotOnActMRUDataFile);
  connect(m_pProjMapper, &QSignalMapper::mappedString, this, &MainWindow::_SlotOnActMRUProjFile);
  for (u32 i = 0; i < UI_NUM_TOP_MENUS; ++i) {
    m_apMenu[i] = QTHelper_CreateMenu(menuBar(), UI_GetMenuRow(i).sText);
    connect(m_apMenu[i], &QMenu::hovered, this, &MainWindow::_SlotOnHoverMenu);
  }
  for (const UI_ACTION_ROW& row : UI_GetActionRows()) {
    CreateMenuRow(row);
  }
  for (u32 i = 0; i < UI_NUM_MENUS; ++i) {
    m_apMenu[i]->setObjectName(UI_GetMenuRow(i).sName);
    connect(m_apMenu[i], &QMenu::aboutToHide, this, &MainWindow::_SlotOnMenuHide);
  }
}

// What is seen in the data windows is what is saved or programmed: a byte in the edit box and a
// paste that is still under way come first. Those may have to wait for the job that has the image.
void MainWindow::RunAction(SLOT pfSlot) {
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
    (this->*pfSlot)();
  } else {
    QTimer::singleShot(kSettleMs, this, [this, pfSlot] { RunAction(pfSlot); });
  }
}

// A menu's rows come behind the row that opens it.
void MainWindow::CreateMenuRow(const UI_ACTION_ROW& row) {
  QMenu* pMenu = m_apMenu[row.Menu];
  if (row.Action == UI_ACT_SEPARATOR) {
    pMenu->addSeparator();
    return;
  }
  if (row.sTip == nullptr) {
    QMenu* pSubMenu = QTHelper_CreateSubMenu(pMenu, row.sText);
    m_apMenu[UI_FindMenu(row.Action)] = pSubMenu;
    m_apAction[row.Action] = pSubMenu->menuAction();
    return;
  }
  QAction* pAction =
      QTHelper_CreateActionTip(pMenu, row.sText, row.sShortcut, row.sTip,
                               [this, slot = GetActionSlot(row.Action)] { RunAction(slot); });
  pAction->setObjectName(row.sName);
  pAction->setAutoRepeat(false);  // a key that is held is one unit
  pAction->setCheckable(row.IsCheckable);
  pAction->setChecked(row.IsCheckable);
  if (UI_IsActionMissing(row.Action)) {
    pAction->setToolTip(QString(row.sTip) + " (not available in this version)");
    pMenu->setToolTipsVisible(true);
  }
  m_apAction[row.Action] = pAction;
}

// Also when a dock was shown or hidden by other means than its row.
void MainWindow::_SlotOnMenuBarUpdate() {
  SYS_MUTEX_Lock(m_Lock, SYS_INFINITE);
  const MENU_STATE state = m_Request.MenuState;
  SYS_MUTEX_Unlock(m_Lock);
  const u64 enabled = UI_GetEnabledActions(state);
  for (u32 i = 0; i < UI_NUM_ACTIONS; ++i) {
    m_apAction[i]->setEnabled((enabled >> i & 1) != 0);
  }
  m_apAction[UI_ACT_CONNECTION]->setText(UI_GetConnectionText(state));
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

void MainWindow::_SlotOnActShowProjInfo() {
  ShowDock(m_pProjDock, m_apAction[UI_ACT_SHOW_PROJ_INFO]->isChecked());
}

void MainWindow::_SlotOnActShowLog() {
  ShowDock(m_pLogDock, m_apAction[UI_ACT_SHOW_LOG]->isChecked());
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
