#include "ui/window/data_window_area.h"

#include "ui/hex/hex_editor.h"
#include "ui/window/cust_dock_widget.h"
#include "ui/window/sub_main_window.h"

namespace {

constexpr int kHintPointSize = 20;

}  // namespace

DataWindowArea::DataWindowArea(QWidget* pParent, const QString& sHintText)
    : QMdiArea(pParent), m_sHintText(sHintText), m_HintFont(font()) {
  hide();
  setObjectName("DataWindowArea");
  m_HintFont.setPointSize(kHintPointSize);
  setFrameShape(QFrame::NoFrame);  // its size is that of the data windows
  TakeColors();
  m_pSubMainWindow = new SubMainWindow(this);
  QMdiSubWindow* pSubWindow = addSubWindow(m_pSubMainWindow, Qt::FramelessWindowHint);
  m_pSubMainWindow->setFocusPolicy(Qt::NoFocus);
  pSubWindow->setFocusPolicy(Qt::NoFocus);
  m_pSubMainWindow->setDockNestingEnabled(true);
  pSubWindow->showMaximized();
  setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
  setVerticalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
  connect(m_pSubMainWindow, &SubMainWindow::SignalDocksChanged, viewport(),
          qOverload<>(&QWidget::update));
  const QFontMetrics metrics(m_HintFont);
  setMinimumSize(metrics.horizontalAdvance(m_sHintText) + 1, metrics.height());
  show();
}

DataWindowArea::~DataWindowArea() {
  m_pSubMainWindow->AllowClose = true;
  m_pSubMainWindow->close();
}

// The empty area looks like the dock area, on a light and on a dark desktop.
void DataWindowArea::TakeColors() {
  QPalette colors = QApplication::palette(this);
  m_WindowColor = colors.color(QPalette::Window);
  m_FillColor = colors.color(QPalette::Midlight);
  m_HintColor = colors.color(QPalette::WindowText);
  colors.setColor(QPalette::Window, Qt::transparent);
  setPalette(colors);
}

void DataWindowArea::changeEvent(QEvent* pEvent) {
  if (pEvent->type() == QEvent::ApplicationPaletteChange && m_pSubMainWindow != nullptr) {
    TakeColors();
    viewport()->update();
  }
  QMdiArea::changeEvent(pEvent);
}

QList<CustDockWidget*> DataWindowArea::GetDocks() const {
  QList<CustDockWidget*> docks =
      m_pSubMainWindow->findChildren<CustDockWidget*>(QString(), Qt::FindDirectChildrenOnly);
  docks.removeIf([](const CustDockWidget* pDock) { return pDock->IsClosing; });
  return docks;
}

CustDockWidget* DataWindowArea::AddWindow(CHexEditor* pEditor, const QString& sTitle) {
  auto* pDock = new CustDockWidget(this, m_pSubMainWindow, pEditor, sTitle, m_WindowColor);
  pDock->setFocus();
  pDock->Order = m_NextOrder++;
  pDock->setAttribute(Qt::WA_DeleteOnClose);
  connect(pDock, &QDockWidget::visibilityChanged, this,
          &DataWindowArea::_SlotOnDockWidgetVisibilityChanged);
  connect(pDock, &QDockWidget::topLevelChanged, m_pSubMainWindow,
          &SubMainWindow::SignalDocksChanged);
  SetActive(pDock);
  return pDock;
}

CHexEditor* DataWindowArea::GetFocused() const {
  return m_pActiveDock != nullptr ? m_pActiveDock->GetEditor() : nullptr;
}

void DataWindowArea::SetActive(CustDockWidget* pDock) {
  if (pDock != m_pActiveDock || pDock == nullptr) {
    CustDockWidget* pNewest = nullptr;
    for (CustDockWidget* pOther : GetDocks()) {
      if (pOther == pDock) {
        continue;
      }
      pOther->MarkActive(false);
      if (pOther != m_pActiveDock && (pNewest == nullptr || pOther->Order > pNewest->Order)) {
        pNewest = pOther;
      }
    }
    if (pDock == nullptr) {
      pDock = pNewest;
    }
    if (pDock != nullptr) {
      pDock->MarkActive(true);
    }
  }
  m_pActiveDock = pDock;
  Q_EMIT SignalDataWinInFocus(pDock != nullptr ? pDock->GetEditor() : nullptr);
}

void DataWindowArea::OnDockClosed(CustDockWidget* pDock) {
  pDock->IsClosing = true;
  disconnect(pDock, nullptr, this, nullptr);
  if (pDock != m_pActiveDock) {
    return;
  }
  // Before the closing tab goes: the toolkit would show its neighbour, which would become the
  // focused one. The keys go where the operations go.
  const bool hadKeys = pDock->isAncestorOf(QApplication::focusWidget());
  SetActive(nullptr);
  if (m_pActiveDock != nullptr) {
    m_pActiveDock->raise();
    if (hadKeys) {
      m_pActiveDock->GetEditor()->setFocus();
    }
  }
}

// A clicked tab is a change of the focused data window.
void DataWindowArea::_SlotOnDockWidgetVisibilityChanged(bool IsVisible) {
  auto* pDock = qobject_cast<CustDockWidget*>(sender());
  if (IsVisible && pDock != nullptr && !pDock->IsShownBySystem &&
      !m_pSubMainWindow->tabifiedDockWidgets(pDock).isEmpty()) {
    SetActive(pDock);
  }
  viewport()->update();
}

// The hint shows while no data window is docked, floating ones do not count.
void DataWindowArea::paintEvent(QPaintEvent* pEvent) {
  QMdiArea::paintEvent(pEvent);
  QPainter painter(viewport());
  painter.fillRect(viewport()->rect(), m_FillColor);
  const QList<CustDockWidget*> docks = GetDocks();
  if (std::all_of(docks.begin(), docks.end(),
                  [](const CustDockWidget* pDock) { return pDock->isFloating(); })) {
    painter.setFont(m_HintFont);
    painter.setPen(m_HintColor);
    painter.drawText(viewport()->rect(), Qt::AlignCenter, m_sHintText);
  }
}
