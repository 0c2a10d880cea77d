// Context menu, address box, display options of the hex editor.
#include "ui/common/own_dialog.h"
#include "ui/common/qt_helper.h"
#include "ui/hex/addr_history.h"
#include "ui/hex/hex_actions.h"
#include "ui/hex/hex_editor.h"
#include "ui/hex/hex_view.h"
#include "ui/hex/mem_write.h"

namespace {

constexpr u32 ZONES_SIZE = 256;
// A click on the chevron that closed the menu doesn't open it again.
constexpr qint64 REOPEN_MS = 501;

}  // namespace

// ---- Menus ----

// Made anew each time, as what is in it depends on the moment. It pops up without waiting for an
// answer, so that timers and requests go on.
void CHexEditor::OnContextMenuRequested(QPoint Pos) {
  auto* pMenu = new QMenu(this);
  pMenu->setObjectName("HexEditorMenu");
  pMenu->setAttribute(Qt::WA_DeleteOnClose);
  connect(pMenu, &QMenu::aboutToHide, this, [this] { m_MenuClosed.start(); });
  pMenu->addAction(GetAction(HEX_ACTION_COPY));
  QMenu* pSpecial = pMenu->addMenu("Copy &Special");
  pSpecial->setEnabled(GetAction(HEX_ACTION_COPY)->isEnabled());
  for (const u32 id : {HEX_ACTION_COPY_TEXT, HEX_ACTION_COPY_HEX, HEX_ACTION_COPY_INT_LIST,
                       HEX_ACTION_COPY_BINARY}) {
    pSpecial->addAction(GetAction(id));
  }
  pMenu->addSeparator();
  for (u32 id = HEX_ACTION_VIEW_1; id <= HEX_ACTION_VIEW_4; ++id) {
    pMenu->addAction(GetAction(id));
  }
  pMenu->addSeparator();
  for (u32 id = HEX_ACTION_ACCESS_1; id <= HEX_ACTION_ACCESS_AUTO; ++id) {
    pMenu->addAction(GetAction(id));
  }
  CreateZoneMenu(pMenu);
  pMenu->addSeparator();
  for (const u32 id : {HEX_ACTION_FILL, HEX_ACTION_SAVE, HEX_ACTION_LOAD}) {
    pMenu->addAction(GetAction(id));
  }
  pMenu->addSeparator();
  if (GetAction(HEX_ACTION_GO_BACK)->isEnabled()) {
    pMenu->addAction(GetAction(HEX_ACTION_GO_BACK));
  }
  pMenu->addAction(GetAction(HEX_ACTION_GOTO));
  pMenu->addAction(GetAction(HEX_ACTION_AUTO_REFRESH));
  pMenu->addSeparator();
  pMenu->addAction(GetAction(HEX_ACTION_SHOW_TOOLBAR));
  pMenu->popup(m_pTextEditor->viewport()->mapToGlobal(Pos));
}

// A submenu if the owner knows of zones.
QMenu* CHexEditor::CreateZoneMenu(QMenu* pParent) {
  const MemSource& source = m_pView->GetSource();
  char acZones[ZONES_SIZE] = "";
  if (!source.GetHandlers().pfGetZones ||
      source.GetHandlers().pfGetZones(acZones, sizeof(acZones)) <= 0) {
    return nullptr;
  }
  QMenu* pMenu = pParent->addMenu("Memory &Zone");
  const QStringList zones = QTHelper_FromLocal8Bit(acZones).split(',');
  const QString sCurrent = QTHelper_FromLocal8Bit(source.sZoneName.c_str());
  for (qsizetype i = 0; i < zones.size(); ++i) {
    QAction* pAction = pMenu->addAction(" " + zones[i]);
    pAction->setCheckable(true);
    pAction->setChecked(sCurrent.isEmpty() ? i == 0 : zones[i] == sCurrent);
  }
  connect(pMenu, &QMenu::triggered, this, &CHexEditor::OnMemZoneMenuActionTriggered);
  return pMenu;
}

// Another zone is other memory: what changed in the one before says nothing here.
void CHexEditor::OnMemZoneMenuActionTriggered(QAction* pAction) {
  const QString sZone = pAction->text().mid(1);
  m_pView->GetSource().sZoneName = sZone == "Default" ? "" : sZone.toStdString();
  m_pView->ForgetChanges();
  m_pView->Refresh();
  Apply();
  UpdateTitle();
}

void CHexEditor::OnToolbarChevronClicked() {
  if (!m_MenuClosed.isValid() || m_MenuClosed.hasExpired(REOPEN_MS - 1)) {
    OnContextMenuRequested(m_pTextEditor->viewport()->mapFromGlobal(m_ChevronPos));
  }
}

// ---- Going to an address ----

// Filling the list and leafing through it is no wish to go anywhere.
void CHexEditor::OnAddrBoxEditingFinished() {
  if (!m_IsAddrBoxEnabled || m_pAddrBox->view()->isVisible()) {
    return;
  }
  GoToText(m_pAddrBox->currentText());
}

// The memory gets the focus even for a text that leads nowhere: the edit is over.
void CHexEditor::GoToText(const QString& sText) {
  m_pTextEditor->setFocus();
  m_pAddrHistory->Enter(sText.toStdString());
  FillAddrBox();
  u64 addr = 0;
  if (HEX_ParseAddr(sText.toStdString(), &addr)) {
    m_pView->GoTo(addr, true, true);
    m_pView->RepaintAll();
  }
  Apply();
}

// The entry that was typed stays in the box, as the list's first.
void CHexEditor::FillAddrBox() {
  m_IsAddrBoxEnabled = false;
  m_pAddrBox->clear();
  for (const std::string& entry : m_pAddrHistory->GetEntries()) {
    m_pAddrBox->addItem(QString::fromStdString(entry));
  }
  m_pAddrBox->setCurrentIndex(0);
  m_IsAddrBoxEnabled = true;
}

void CHexEditor::OnActionGotoTriggered() {
  OWN_DIALOG<QInputDialog> dialog(this);
  dialog->setObjectName("HexEditorGoTo");
  dialog->setWindowTitle("Go To");
  dialog->setWindowIcon(GetAction(HEX_ACTION_GOTO)->icon());
  dialog->setLabelText("Memory Location (hexadecimal):");
  u32 value = 0;
  dialog->setTextValue(m_pView->GetShownU32(m_pView->GetSelAnchor(), &value)
                           ? QString::asprintf("0x%.08X", value)
                           : m_sLastGoToText);
  // As in the box, but for the prefix that the proposal comes with.
  if (auto* pEdit = dialog->findChild<QLineEdit*>()) {
    pEdit->setValidator(
        new QRegularExpressionValidator(QRegularExpression("^(0[xX])?[0-9A-Fa-f]+$"), pEdit));
  }
  if (dialog.Exec() && !dialog->textValue().isEmpty()) {
    m_sLastGoToText = dialog->textValue();
    GoToText(m_sLastGoToText);
  }
}

void CHexEditor::OnActionGoBackTriggered() {
  m_pView->GoBack();
  Apply();
}

// ---- Display options ----

// By way of the box, which is the one place that knows the interval.
void CHexEditor::OnActionAutoRefreshTriggered() {
  QAction* pAction = GetAction(HEX_ACTION_AUTO_REFRESH);
  OWN_DIALOG<QInputDialog> dialog(this);
  dialog->setObjectName("HexEditorRefresh");
  dialog->setWindowTitle(pAction->text().remove("...").remove('&'));
  dialog->setLabelText("Interval");
  QStringList entries;
  for (int i = 0; i < m_pRefreshBox->count(); ++i) {
    entries << m_pRefreshBox->itemText(i);
  }
  dialog->setComboBoxItems(entries);
  dialog->setComboBoxEditable(false);
  dialog->setTextValue(m_pRefreshBox->currentText());
  if (dialog.Exec()) {
    const int index = m_pRefreshBox->findText(dialog->textValue());
    SetRefreshIndex(index >= 0 ? index : m_pRefreshBox->count() - 1);
  }
}

void CHexEditor::SetRefreshIndex(int Index) {
  m_pRefreshBox->setCurrentIndex(Index);
}

void CHexEditor::OnActionShowToolbarTriggered() {
  m_pToolBar->setVisible(GetAction(HEX_ACTION_SHOW_TOOLBAR)->isChecked());
  // The layout follows at the next event; the rows have to fit already.
  layout()->activate();
  OnShow();
}

void CHexEditor::OnActionViewFormatTriggered(QAction* pAction) {
  pAction->setChecked(true);
  CloseOverlay();
  m_pView->SetItemSize(pAction->data().toUInt());
  OnItemFormatChanged();
}

// The view has read the screen again if it takes another number of bytes now.
void CHexEditor::OnItemFormatChanged() {
  m_pView->RepaintAll();
  Apply();
}

void CHexEditor::OnActionAccessWidthTriggered(QAction* pAction) {
  pAction->setChecked(true);
  const u32 width = pAction->data().toUInt();
  m_pView->GetSource().AccessWidth =
      width == 1 || width == 2 || width == 4 ? static_cast<u8>(width) : 0;
  m_pView->Refresh();
  Apply();
}
