#include "ui/common/dock_title_bar.h"

#include "ui/common/icons.h"
#include "ui/common/qt_helper.h"

namespace {

constexpr int kLabelIndent = 5;
constexpr int kButtonSpace = 4;  // of a button above the font's line height

}  // namespace

CustDockWidgetTitleBar::CustDockWidgetTitleBar(QDockWidget* pDock)
    : QToolBar(pDock), m_pDock(pDock) {
  setObjectName("CustDockWidgetTitleBar");
  setMovable(false);
  setOrientation(pDock->features().testFlag(QDockWidget::DockWidgetVerticalTitleBar)
                     ? Qt::Vertical
                     : Qt::Horizontal);
  m_pLabel = new QLabel(this);
  m_pLabel->setObjectName("Title");
  m_pLabel->setIndent(kLabelIndent);
  // The title never decides how narrow a dock can be.
  m_pLabel->setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Preferred);
  m_pLabel->setMinimumWidth(1);
  addWidget(m_pLabel);
  m_pFloatButton = AddButton("FloatButton", "Float");
  m_pFloatButton->setIcon(UI_GetIcon(UI_ICON::FloatDock));
  connect(m_pFloatButton, &QToolButton::clicked, this, &CustDockWidgetTitleBar::_SlotOnBtnFloat);
  m_pFloatAction = addWidget(m_pFloatButton);
  m_pCloseButton = AddButton("CloseButton", "Close");
  m_pCloseButton->setIcon(UI_GetIcon(UI_ICON::CloseDock));
  connect(m_pCloseButton, &QToolButton::clicked, this, &CustDockWidgetTitleBar::_SlotOnBtnClose);
  addWidget(m_pCloseButton);
  connect(pDock, &QDockWidget::topLevelChanged, this, &CustDockWidgetTitleBar::_SlotOnFloatChange);
  _SlotOnFloatChange(pDock->isFloating());
}

// Square, as high as a line of text: the bar takes no more room than its title.
QToolButton* CustDockWidgetTitleBar::AddButton(const char* sName, const QString& sTip) {
  auto* pButton = new QToolButton(this);
  const int side = fontMetrics().height() + kButtonSpace;
  pButton->setObjectName(sName);
  pButton->setFixedSize(side, side);
  pButton->setIconSize(QSize(side - kButtonSpace, side - kButtonSpace));
  pButton->setToolTip(sTip);
  pButton->setAccessibleName(sTip);
  return pButton;
}

// The tool tip has what is cut off.
void CustDockWidgetTitleBar::SetTitle(const QString& sTitle) {
  m_sTitle = sTitle;
  m_pLabel->setToolTip(sTitle);
  ElideTitle();
}

// Bold letters are wider, so the title is cut anew.
void CustDockWidgetTitleBar::SetActive(bool OnOff) {
  QFont labelFont = m_pLabel->font();
  labelFont.setWeight(OnOff ? QFont::Bold : QFont::Normal);
  m_pLabel->setFont(labelFont);
  ElideTitle();
}

void CustDockWidgetTitleBar::ElideTitle() {
  const QFontMetrics metrics = m_pLabel->fontMetrics();
  const int width = m_pLabel->width() - kLabelIndent - metrics.horizontalAdvance('w');
  m_pLabel->setText(metrics.elidedText(m_sTitle, Qt::ElideRight, std::max(width, 0)));
}

void CustDockWidgetTitleBar::resizeEvent(QResizeEvent* pEvent) {
  QToolBar::resizeEvent(pEvent);
  // The label has its new width only once the layout has run.
  layout()->activate();
  ElideTitle();
}

void CustDockWidgetTitleBar::changeEvent(QEvent* pEvent) {
  QToolBar::changeEvent(pEvent);
  // The desktop went dark or light. It may come while the bar is being built.
  if (pEvent->type() == QEvent::PaletteChange && m_pFloatAction != nullptr) {
    _SlotOnFloatChange(m_pDock->isFloating());
  }
}

// A floating one docks by dragging or a double click, so its button goes.
//
// A docked bar stands out from the window a little, by a shade of the window's own colour.
void CustDockWidgetTitleBar::_SlotOnFloatChange(bool IsFloating) {
  m_pFloatAction->setVisible(!IsFloating);
  const QColor window = QApplication::palette().color(QPalette::Window);
  const bool isDark = window.lightness() < 128;
  const QColor shade = isDark ? window.lighter(150) : window.darker(118);
  const QString sheet =
      IsFloating ? QString("QToolButton {padding: -1px;} QToolBar {border: none;}")
                 : QString(
                       "QToolButton {padding: -1px;} QToolBar {border: none; background-color: "
                       "rgb(%1, %2, %3);}")
                       .arg(shade.red())
                       .arg(shade.green())
                       .arg(shade.blue());
  if (sheet != styleSheet()) {
    setStyleSheet(sheet);
  }
}

void CustDockWidgetTitleBar::_SlotOnBtnFloat() {
  m_pDock->setFloating(!m_pDock->isFloating());
}

void CustDockWidgetTitleBar::_SlotOnBtnClose() {
  m_pDock->close();
}
