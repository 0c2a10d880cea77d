#include "ui/log/text_view.h"

#include "ui/common/icons.h"
#include "ui/common/qt_helper.h"

namespace {

constexpr int kFontSize = 8;
constexpr int kMaxFindChars = 255;
constexpr int kFindBarMargin = 5;
constexpr int kFindBarSpace = 3;
constexpr size_t kMaxName = 63;
constexpr int kMidLightness = 128;
const QColor kFindFailed(244, 208, 63);

}  // namespace

struct CustTextView::MENU_ROW {
  const char* sText;      // null: not in the menu
  const char* sShortcut;  // null: none
  void (CustTextView::*pfSlot)();
};

const CustTextView::MENU_ROW CustTextView::aMenuRows[] = {
    {"&Copy", "Ctrl+C", &CustTextView::_OnCopy},
    {"", nullptr, nullptr},
    {"Select All", "Ctrl+A", &CustTextView::_OnSelectAll},
    {"Find...", "Ctrl+F", &CustTextView::_SlotOnActFind},
    {"Clear All", nullptr, &CustTextView::_SlotOnClearAll},
    {nullptr, "Home", &CustTextView::_OnScrollToTop},
    {nullptr, "End", &CustTextView::_OnScrollToBottom},
    {nullptr, "Shift+Ctrl+G", &CustTextView::_SlotOnActFindPrev},
    {nullptr, "Ctrl+G", &CustTextView::_SlotOnActFindNext},
    {nullptr, "Escape", &CustTextView::_SlotOnEscape},
};

CustTextView::CustTextView(QWidget* pParent, const CUST_TEXT_VIEW_CONFIG& Config)
    : QScrollArea(pParent), m_sName(Config.sName != nullptr ? Config.sName : "") {
  m_sName.resize(std::min(m_sName.size(), kMaxName));
  setObjectName("CustTextView");
  setAccessibleName("Log");
  m_pArea = new CustTextArea(this, Config.TextMode, Config.ColorScheme, Config.NumLinesInitial);
  SetFontSize(kFontSize);
  setWidget(m_pArea);
  setWidgetResizable(true);
  setFocusPolicy(Qt::StrongFocus);
  if (m_pArea->GetBackground().alpha() != 0) {
    QPalette colors = palette();
    colors.setColor(QPalette::Window, m_pArea->GetBackground());
    viewport()->setPalette(colors);
  }
  CreateMenu(Config.ShowClearAll != 0);
  CreateFindBar();
  connect(this, &CustTextView::SignalRequestGUIUpdate, this, &CustTextView::_OnUpdateGUI,
          Qt::QueuedConnection);
  connect(m_pArea, &CustTextArea::SignalTextUpdated, this, &CustTextView::_OnTextUpdated);
  // A horizontal bar that appears later takes height from the view: its bottom stays the bottom.
  QScrollBar* pBar = verticalScrollBar();
  connect(pBar, &QScrollBar::valueChanged, this,
          [this, pBar](int Value) { m_IsAtBottom = Value == pBar->maximum(); });
  connect(pBar, &QScrollBar::rangeChanged, this, [this, pBar](int, int Maximum) {
    if (m_IsAtBottom) {
      pBar->setValue(Maximum);
    }
  });
}

CustTextView::~CustTextView() = default;

void CustTextView::CreateMenu(bool ShowClearAll) {
  m_pMenu = new QMenu(this);
  for (const MENU_ROW& row : aMenuRows) {
    if (row.pfSlot == nullptr) {
      m_pMenu->addSeparator();
      continue;
    }
    if (row.sText != nullptr) {
      QAction* pAction = m_pMenu->addAction(row.sText, this, row.pfSlot);
      pAction->setVisible(row.pfSlot != &CustTextView::_SlotOnClearAll || ShowClearAll);
      m_pCopyAction = row.pfSlot == &CustTextView::_OnCopy ? pAction : m_pCopyAction;
      // Only shown: no window has this menu, so the key below is the one that counts.
      pAction->setShortcut(row.sShortcut != nullptr ? QKeySequence(row.sShortcut) : QKeySequence());
      pAction->setShortcutContext(Qt::WidgetShortcut);
      pAction->setShortcutVisibleInContextMenu(true);
    }
    if (row.sShortcut != nullptr) {
      auto* pShortcut = new QShortcut(QKeySequence(row.sShortcut), this);
      pShortcut->setContext(Qt::WidgetWithChildrenShortcut);
      connect(pShortcut, &QShortcut::activated, this, row.pfSlot);
    }
  }
}

void CustTextView::CreateFindBar() {
  m_pFindBar = QTHelper_CreateFrame(this, QFrame::StyledPanel);
  m_pFindBar->setObjectName("FindBar");
  m_pFindBar->setAutoFillBackground(true);
  QGridLayout* pGrid =
      QTHelper_CreateGridEx(m_pFindBar, kFindBarSpace, kFindBarSpace, kFindBarSpace, kFindBarSpace);
  pGrid->setSpacing(0);
  m_pFindEdit = QTHelper_CreateLineEdit(m_pFindBar, {});
  m_pFindEdit->setObjectName("FindText");
  m_pFindEdit->setAccessibleName("Find");
  m_pFindEdit->setMaxLength(kMaxFindChars);
  connect(m_pFindEdit, &QLineEdit::returnPressed, this, &CustTextView::_SlotOnActFindNext);
  auto* pToolBar = new QToolBar(m_pFindBar);
  pToolBar->setStyleSheet("QToolBar { border: 0px }");
  const int side = QTHelper_GetFontHeight(this);
  pToolBar->setIconSize(QSize(side, side));
  const auto add = [&](UI_ICON icon, const char* sTip, void (CustTextView::*pfSlot)()) {
    QAction* pAction = pToolBar->addAction(UI_GetIcon(icon), sTip);
    connect(pAction, &QAction::triggered, this, pfSlot);
  };
  add(UI_ICON::FindPrevious, "Previous", &CustTextView::_SlotOnActFindPrev);
  add(UI_ICON::FindNext, "Next", &CustTextView::_SlotOnActFindNext);
  add(UI_ICON::CloseFind, "Close find bar", &CustTextView::_SlotOnActFindExit);
  pGrid->addWidget(m_pFindEdit, 0, 0);
  pGrid->addWidget(pToolBar, 0, 1);
  m_pFindBar->hide();
  ShowFindFailure(false);
}

void CustTextView::SetMessageHandlers(TEXT_HANDLER pfOnError, TEXT_HANDLER pfOnWarning) {
  const auto bind = [this](TEXT_HANDLER handler) -> TextBuffer::MESSAGE_HANDLER {
    if (!handler) {
      return {};
    }
    return [this, handler = std::move(handler)](const char* sText) {
      handler(m_sName.c_str(), sText);
    };
  };
  m_pArea->GetBuffer().SetMessageHandlers(bind(std::move(pfOnError)), bind(std::move(pfOnWarning)));
}

void CustTextView::SetLineHandler(TextBuffer::LINE_HANDLER pfOnLine) {
  m_pArea->GetBuffer().SetLineHandler(std::move(pfOnLine));
}

void CustTextView::ResetLineHandler() {
  m_pArea->GetBuffer().ResetLineHandler();
}

bool CustTextView::SetLocal8Bit(bool OnOff) {
  return m_pArea->SetLocal8Bit(OnOff);
}

// ---- Text ----

int CustTextView::AddTextFromThread(CustTextView* pView, const char* pText) {
  return pView != nullptr ? pView->AddTextFromThread(pText) : 0;
}

// Never touches the toolkit but for the signal, which wakes the GUI thread once for all the text
// that comes until it looks.
int CustTextView::AddTextFromThread(const char* pText) {
  if (pText == nullptr) {
    return 0;
  }
  const int result = m_pArea->GetBuffer().AddText(pText);
  if (!m_IsUpdateRequested.exchange(true)) {
    Q_EMIT SignalRequestGUIUpdate();
  }
  return result;
}

void CustTextView::_OnUpdateGUI() {
  m_IsUpdateRequested = false;
  m_IsFindActive = false;
  m_FindPos = {};
  m_pArea->OnNewText();
  _OnScrollToBottom();
}

void CustTextView::_OnTextUpdated() {
  Q_EMIT SignalTextUpdated();
}

void CustTextView::_SlotOnClearAll() {
  m_pArea->GetBuffer().Clear();
  m_IsFindActive = false;
  m_FindPos = {};
  m_pArea->OnNewText();
}

void CustTextView::_OnScrollToTop() {
  verticalScrollBar()->setValue(verticalScrollBar()->minimum());
}

// The new size of the area reaches the scroll bars with a resize at the latest.
void CustTextView::_OnScrollToBottom() {
  QResizeEvent sized(viewport()->size(), viewport()->size());
  QScrollArea::resizeEvent(&sized);
  m_IsAtBottom = true;
  verticalScrollBar()->setValue(verticalScrollBar()->maximum());
}

// ---- Selection ----

void CustTextView::_OnCopy() {
  const std::string text = m_pArea->GetSelectedText();
  if (!text.empty()) {
    QApplication::clipboard()->setText(m_pArea->Decode(text));
  }
}

void CustTextView::_OnSelectAll() {
  m_pArea->SelectAll();
}

void CustTextView::contextMenuEvent(QContextMenuEvent* pEvent) {
  m_pCopyAction->setEnabled(m_pArea->HasSelection());
  m_pMenu->popup(pEvent->globalPos());
}

// The window has F3 for an operation on the target. With the focus in here it must not get there.
bool CustTextView::event(QEvent* pEvent) {
  if (pEvent->type() == QEvent::ShortcutOverride) {
    const auto* pKey = static_cast<QKeyEvent*>(pEvent);
    if (pKey->key() == Qt::Key_F3 && (pKey->modifiers() & ~Qt::ShiftModifier) == 0) {
      pEvent->accept();
      return true;
    }
  }
  return QScrollArea::event(pEvent);
}

void CustTextView::keyPressEvent(QKeyEvent* pEvent) {
  if (pEvent->key() == Qt::Key_F3) {
    Find((pEvent->modifiers() & Qt::ShiftModifier) != 0);
    return;
  }
  QScrollArea::keyPressEvent(pEvent);
}

void CustTextView::focusInEvent(QFocusEvent* pEvent) {
  QScrollArea::focusInEvent(pEvent);
  m_pArea->repaint();
}

void CustTextView::focusOutEvent(QFocusEvent* pEvent) {
  QScrollArea::focusOutEvent(pEvent);
  m_pArea->repaint();
}

// ---- Find bar ----

void CustTextView::resizeEvent(QResizeEvent* pEvent) {
  QScrollArea::resizeEvent(pEvent);
  PlaceFindBar();
}

void CustTextView::showEvent(QShowEvent* pEvent) {
  QScrollArea::showEvent(pEvent);
  PlaceFindBar();
}

void CustTextView::PlaceFindBar() {
  if (m_pFindBar->isVisible()) {
    m_pFindBar->adjustSize();
    const QRect inner = viewport()->geometry();
    m_pFindBar->move(inner.right() + 1 - kFindBarMargin - m_pFindBar->width(),
                     inner.top() + kFindBarMargin);
  }
}

void CustTextView::ShowFindFailure(bool OnOff) {
  QPalette colors = m_pFindBar->palette();
  colors.setColor(QPalette::Window, OnOff ? kFindFailed : palette().color(QPalette::AlternateBase));
  m_pFindBar->setPalette(colors);
  // Light icons of a dark desktop would be lost on the colour.
  QToolBar* pToolBar = m_pFindBar->findChild<QToolBar*>();
  const bool isDark = palette().color(QPalette::Window).lightness() < kMidLightness;
  QPalette plain = colors;
  plain.setColor(QPalette::Window, palette().color(QPalette::AlternateBase));
  pToolBar->setPalette(plain);
  pToolBar->setAutoFillBackground(isDark && OnOff);
}

void CustTextView::_SlotOnActFind() {
  if (m_pArea->HasSelection()) {
    m_pFindEdit->setText(m_pArea->Decode(m_pArea->GetSelectedText()).left(kMaxFindChars));
  }
  m_pFindBar->show();
  m_pFindBar->raise();
  PlaceFindBar();
  m_pFindEdit->setFocus();
  m_pFindEdit->selectAll();
}

void CustTextView::_SlotOnActFindNext() {
  Find(false);
}

void CustTextView::_SlotOnActFindPrev() {
  Find(true);
}

void CustTextView::Find(bool Backward) {
  const QByteArray text = m_pArea->Encode(m_pFindEdit->text());
  const auto length = static_cast<u32>(text.size());
  TextBuffer& buffer = m_pArea->GetBuffer();
  const std::lock_guard lock(buffer.GetLock());
  // The lines have moved on since the last hit.
  if (m_FindVersion != buffer.GetVersion()) {
    m_FindVersion = buffer.GetVersion();
    m_FindPos = {};
    m_IsFindActive = false;
  }
  const bool isFound = buffer.Find(text.toStdString(), Backward, m_IsFindActive, &m_FindPos);
  ShowFindFailure(!isFound);
  m_IsFindActive = isFound;
  if (!isFound) {
    m_FindPos = {};
    m_pArea->SetHighlight({}, 0);
    return;
  }
  m_pArea->SetHighlight(m_FindPos, m_pFindBar->isVisible() ? length : 0);
  m_pArea->SetSelection(m_FindPos, {m_FindPos.Line, m_FindPos.Col + length});
  const QPoint point = m_pArea->PosToPoint(m_FindPos);
  ensureVisible(point.x(), point.y(), kFindBarMargin, GetLineHeight() + kFindBarMargin);
}

void CustTextView::_SlotOnActFindExit() {
  m_pFindBar->hide();
  m_pArea->SetHighlight({}, 0);
  setFocus();
}

void CustTextView::_SlotOnEscape() {
  m_pArea->SetHighlight({}, 0);
  if (!m_pFindBar->isVisible()) {
    m_pArea->ClearSelection();
    m_FindPos = {};
    m_IsFindActive = false;
  }
  m_pFindBar->hide();
  setFocus();
}
