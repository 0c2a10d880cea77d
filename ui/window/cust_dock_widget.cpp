#include "ui/window/cust_dock_widget.h"

#include "ui/common/dock_title_bar.h"
#include "ui/hex/hex_editor.h"
#include "ui/window/data_window_area.h"
#include "ui/window/sub_main_window.h"

CustDockWidget::CustDockWidget(DataWindowArea* pArea, SubMainWindow* pHost, CHexEditor* pEditor,
                               const QString& sTitle, const QColor& windowColor)
    : QDockWidget(sTitle, pHost), m_pArea(pArea), m_pEditor(pEditor) {
  setObjectName("DataWindow");
  setFocusPolicy(Qt::ClickFocus);
  setAutoFillBackground(true);
  QPalette colors = palette();
  colors.setColor(QPalette::Window, windowColor);
  setPalette(colors);
  setWidget(pEditor);
  setAllowedAreas(Qt::AllDockWidgetAreas);
  pHost->addDockWidget(Qt::BottomDockWidgetArea, this, Qt::Vertical);
  m_pTitleBar = new CustDockWidgetTitleBar(this);
  m_pTitleBar->SetTitle(sTitle);
  setTitleBarWidget(m_pTitleBar);
  connect(pEditor, &CHexEditor::SignalClosed, this, &CustDockWidget::_SlotOnHexEditorClosed);
  connect(pEditor, &CHexEditor::SignalFocusIn, this, &CustDockWidget::_SlotOnHexEditorFocusIn);
  connect(pEditor, &CHexEditor::SignalTitleUpdate, this,
          &CustDockWidget::_SlotOnHexEditorTitleUpdate);
}

void CustDockWidget::MarkActive(bool OnOff) {
  m_pTitleBar->SetActive(OnOff);
}

// A window that comes back shows all its docks, and the toolkit tells so as if tabs were clicked.
bool CustDockWidget::event(QEvent* pEvent) {
  if (pEvent->type() != QEvent::Show || !pEvent->spontaneous()) {
    return QDockWidget::event(pEvent);  // of some events the dock isn't there any more
  }
  IsShownBySystem = true;
  const bool result = QDockWidget::event(pEvent);
  IsShownBySystem = false;
  return result;
}

void CustDockWidget::focusInEvent(QFocusEvent* pEvent) {
  QDockWidget::focusInEvent(pEvent);
  m_pArea->SetActive(this);
}

void CustDockWidget::_SlotOnHexEditorFocusIn() {
  m_pArea->SetActive(this);
}

void CustDockWidget::_SlotOnHexEditorClosed() {
  close();
}

void CustDockWidget::_SlotOnHexEditorTitleUpdate(const QString& sTitle) {
  setWindowTitle(sTitle);
  m_pTitleBar->SetTitle(sTitle);
}

// The editor says that it closes, which asks this dock to close: the connection goes first. A
// second close can come before the event loop deletes the dock.
void CustDockWidget::closeEvent(QCloseEvent* pEvent) {
  if (IsClosing) {
    pEvent->accept();
    return;
  }
  disconnect(m_pEditor, &CHexEditor::SignalClosed, this, &CustDockWidget::_SlotOnHexEditorClosed);
  m_pEditor->close();
  m_pArea->OnDockClosed(this);
  pEvent->accept();
}
