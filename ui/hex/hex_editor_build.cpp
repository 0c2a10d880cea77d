// Widgets, actions and timers of the hex editor.
#include "ui/common/icons.h"
#include "ui/hex/addr_history.h"
#include "ui/hex/cust_scroll_bar.h"
#include "ui/hex/edit_overlay.h"
#include "ui/hex/hex_actions.h"
#include "ui/hex/hex_editor.h"
#include "ui/hex/hex_view.h"
#include "ui/hex/mem_write.h"

namespace {

constexpr int EDIT_MS = 500;
constexpr int SELECTION_MS = 20;
constexpr int RESIZE_MS = 10;
// Until a busy area is tried again.
constexpr int RETRY_MS = 50;

// Copies and the tool bar have none: Count.
constexpr UI_ICON ICONS[HEX_NUM_ACTIONS] = {
    UI_ICON::Items1,     UI_ICON::Items2,     UI_ICON::Items4,     UI_ICON::Access1,
    UI_ICON::Access2,    UI_ICON::Access4,    UI_ICON::AccessAuto, UI_ICON::Fill,
    UI_ICON::LoadMemory, UI_ICON::SaveMemory, UI_ICON::GoTo,       UI_ICON::Refresh,
    UI_ICON::Count,      UI_ICON::Copy,       UI_ICON::Paste,      UI_ICON::Count,
    UI_ICON::Count,      UI_ICON::Count,      UI_ICON::Count,      UI_ICON::GoBack,
};

// What an action's data says: the width it stands for.
u32 GetWidthOf(u32 id) {
  switch (id) {
    case HEX_ACTION_VIEW_1:
    case HEX_ACTION_ACCESS_1:
      return 1;
    case HEX_ACTION_VIEW_2:
    case HEX_ACTION_ACCESS_2:
      return 2;
    case HEX_ACTION_VIEW_4:
    case HEX_ACTION_ACCESS_4:
      return 4;
    default:
      return 0;
  }
}

}  // namespace

void CHexEditor::CreateWidgets() {
  static_assert(NUM_ACTIONS == HEX_NUM_ACTIONS);
  setObjectName("CHexEditor");
  setContextMenuPolicy(Qt::NoContextMenu);
  m_pCentralWidget = new QWidget(this);
  m_pCentralWidget->setObjectName("pCentralWidget");
  auto* pLayout = new QHBoxLayout(m_pCentralWidget);
  pLayout->setObjectName("pHLayout");
  pLayout->setSpacing(0);
  pLayout->setContentsMargins(0, 0, 0, 0);

  // A canvas only: nothing of its own text handling is used.
  m_pTextEditor = new QPlainTextEdit(m_pCentralWidget);
  m_pTextEditor->setObjectName("pTextEditor");
  m_pTextEditor->setAccessibleName("Memory");
  m_pTextEditor->setReadOnly(true);
  m_pTextEditor->setTextInteractionFlags(Qt::NoTextInteraction);
  m_pTextEditor->setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
  m_pTextEditor->setVerticalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
  m_pTextEditor->setFrameShape(QFrame::Box);
  m_pTextEditor->setFocusPolicy(Qt::StrongFocus);
  m_pTextEditor->setContextMenuPolicy(Qt::CustomContextMenu);
  m_pTextEditor->setAcceptDrops(false);
  m_pTextEditor->viewport()->setAcceptDrops(false);
  m_pTextEditor->viewport()->setCursor(Qt::IBeamCursor);
  m_pTextEditor->viewport()->setAttribute(Qt::WA_OpaquePaintEvent);
  m_pTextEditor->installEventFilter(this);
  m_pTextEditor->viewport()->installEventFilter(this);
  pLayout->addWidget(m_pTextEditor);

  m_pScrollBar = new CustScrollBar(m_pCentralWidget);
  m_pScrollBar->setObjectName("pScrollBar");
  m_pScrollBar->setAccessibleName("Address");
  pLayout->addWidget(m_pScrollBar);
  connect(m_pScrollBar, &QAbstractSlider::actionTriggered, this,
          &CHexEditor::OnScrollbarActionTriggered);
  connect(m_pScrollBar, &QAbstractSlider::sliderReleased, this, &CHexEditor::OnScrollbarReleased);

  m_pOverlay = new CEditOverlay(m_pTextEditor);
  connect(m_pOverlay, &CEditOverlay::Closed, this, &CHexEditor::OnItemEditingFinished);
  setCentralWidget(m_pCentralWidget);
  setFocusProxy(m_pTextEditor);
}

// Every action belongs to the window itself: its shortcut works wherever the focus is within it,
// and only there, for there may be many editors side by side.
void CHexEditor::CreateActions() {
  for (u32 id = 0; id < HEX_NUM_ACTIONS; ++id) {
    const HEX_ACTION_ROW& row = HEX_ACTIONS[id];
    auto* pAction = new QAction(row.sText, this);
    if (ICONS[id] != UI_ICON::Count) {
      pAction->setIcon(UI_GetIcon(ICONS[id]));
    }
    pAction->setObjectName(row.sObjectName);
    pAction->setToolTip(row.sToolTip);
    pAction->setStatusTip(row.sStatusTip);
    pAction->setCheckable(row.IsCheckable);
    pAction->setShortcutContext(Qt::WidgetWithChildrenShortcut);
    if (row.sShortcut != nullptr) {
      pAction->setShortcut(QKeySequence(row.sShortcut));
    }
    pAction->setData(GetWidthOf(id));
    addAction(pAction);
    m_apActions[id] = pAction;
  }
  auto* pViewGroup = new QActionGroup(this);
  for (u32 id = HEX_ACTION_VIEW_1; id <= HEX_ACTION_VIEW_4; ++id) {
    pViewGroup->addAction(GetAction(id));
  }
  auto* pAccessGroup = new QActionGroup(this);
  for (u32 id = HEX_ACTION_ACCESS_1; id <= HEX_ACTION_ACCESS_AUTO; ++id) {
    pAccessGroup->addAction(GetAction(id));
  }
  GetAction(HEX_ACTION_VIEW_1)->setChecked(true);
  GetAction(HEX_ACTION_ACCESS_AUTO)->setChecked(true);
  GetAction(HEX_ACTION_SHOW_TOOLBAR)->setChecked(true);
  connect(pViewGroup, &QActionGroup::triggered, this, &CHexEditor::OnActionViewFormatTriggered);
  connect(pAccessGroup, &QActionGroup::triggered, this, &CHexEditor::OnActionAccessWidthTriggered);

  using SLOT_FUNC = void (CHexEditor::*)();
  static constexpr struct {
    u32 Id;
    SLOT_FUNC pfSlot;
  } SLOT_ROWS[] = {
      {HEX_ACTION_FILL, &CHexEditor::OnActionFillTriggered},
      {HEX_ACTION_LOAD, &CHexEditor::OnActionLoadTriggered},
      {HEX_ACTION_SAVE, &CHexEditor::OnActionSaveTriggered},
      {HEX_ACTION_GOTO, &CHexEditor::OnActionGotoTriggered},
      {HEX_ACTION_AUTO_REFRESH, &CHexEditor::OnActionAutoRefreshTriggered},
      {HEX_ACTION_SHOW_TOOLBAR, &CHexEditor::OnActionShowToolbarTriggered},
      {HEX_ACTION_COPY, &CHexEditor::OnActionCopyTriggered},
      {HEX_ACTION_PASTE, &CHexEditor::OnActionPasteTriggered},
      {HEX_ACTION_COPY_TEXT, &CHexEditor::OnActionCopyTextTriggered},
      {HEX_ACTION_COPY_HEX, &CHexEditor::OnActionCopyHexTriggered},
      {HEX_ACTION_COPY_BINARY, &CHexEditor::OnActionCopyBinaryTriggered},
      {HEX_ACTION_COPY_INT_LIST, &CHexEditor::OnActionCopyIntListTriggered},
      {HEX_ACTION_GO_BACK, &CHexEditor::OnActionGoBackTriggered},
  };
  for (const auto& row : SLOT_ROWS) {
    connect(GetAction(row.Id), &QAction::triggered, this, row.pfSlot);
  }
}

QWidget* CHexEditor::CreateToolBarLabel(const QString& sText) {
  auto* pLabel = new QLabel(sText, m_pToolBar);
  pLabel->setObjectName("ToolBarLabel");
  return pLabel;
}

// The box doesn't insert what is typed: its history does, tidied. Labels and boxes are hidden
// through the actions that the tool bar makes for them.
void CHexEditor::CreateToolBar() {
  m_pToolBar = new QToolBar(this);
  m_pToolBar->setObjectName("pToolBar");
  m_pToolBar->setMovable(false);
  addToolBar(Qt::TopToolBarArea, m_pToolBar);

  m_pAddrBox = new QComboBox(m_pToolBar);
  m_pAddrBox->setObjectName("pAddrBox");
  m_pAddrBox->setAccessibleName("Address to go to");
  m_pAddrBox->setEditable(true);
  m_pAddrBox->setInsertPolicy(QComboBox::NoInsert);
  m_pAddrBox->setMinimumContentsLength(7);
  m_pAddrBox->completer()->setCaseSensitivity(Qt::CaseSensitive);
  m_pAddrBox->setValidator(
      new QRegularExpressionValidator(QRegularExpression("^(0[xX])?[0-9A-Fa-f]+$"), m_pAddrBox));
  // The box would take a text that it knows for a choice when the focus goes: a click in the memory
  // would land on rows that nobody has seen, and Return would go there twice.
  disconnect(m_pAddrBox->lineEdit(), &QLineEdit::editingFinished, m_pAddrBox, nullptr);
  connect(m_pAddrBox->lineEdit(), &QLineEdit::returnPressed, this,
          &CHexEditor::OnAddrBoxEditingFinished);
  connect(m_pAddrBox, &QComboBox::activated, this, &CHexEditor::OnAddrBoxEditingFinished);

  m_pRefreshBox = new QComboBox(m_pToolBar);
  m_pRefreshBox->setObjectName("pRefreshBox");
  m_pRefreshBox->setAccessibleName("Periodic refresh");
  m_pRefreshBox->setFrame(false);
  for (const HEX_REFRESH_ROW& row : HEX_REFRESH) {
    m_pRefreshBox->addItem(QString(" ") + row.sText);
  }
  m_pRefreshBox->setCurrentIndex(HEX_NUM_REFRESH - 1);
  connect(m_pRefreshBox, &QComboBox::currentIndexChanged, this, &CHexEditor::OnRefreshRateChanged);

  m_pToolBar->addWidget(CreateToolBarLabel("Go To: 0x  "));
  m_pToolBar->addWidget(m_pAddrBox);
  m_pToolBar->addWidget(CreateToolBarLabel(" "));
  m_pToolBar->addAction(GetAction(HEX_ACTION_GO_BACK));
  m_pToolBar->addSeparator();
  for (u32 id = HEX_ACTION_VIEW_1; id <= HEX_ACTION_SAVE; ++id) {
    m_pToolBar->addAction(GetAction(id));
  }
  m_apRefreshActions = {m_pToolBar->addWidget(CreateToolBarLabel(" Periodic Refresh: ")),
                        m_pToolBar->addWidget(m_pRefreshBox)};
  // The chevron of an overflowing tool bar, which the toolkit makes.
  if (auto* pChevron = m_pToolBar->findChild<QToolButton*>("qt_toolbar_ext_button")) {
    pChevron->installEventFilter(this);
  }
}

// All belong to the window and end with it. The refresh interval is set when it is chosen.
void CHexEditor::CreateTimers() {
  const auto create = [this](int interval, bool isSingleShot, void (CHexEditor::*pfSlot)()) {
    auto* pTimer = new QTimer(this);
    pTimer->setInterval(interval);
    pTimer->setSingleShot(isSingleShot);
    connect(pTimer, &QTimer::timeout, this, pfSlot);
    return pTimer;
  };
  m_pRefreshTimer = create(0, false, &CHexEditor::OnAutoUpdateTimerTimeout);
  m_pEditTimer = create(EDIT_MS, true, &CHexEditor::OnEditUpdateTimerTimeout);
  m_pSelectionTimer = create(SELECTION_MS, false, &CHexEditor::OnAutoScrollSelectionTimerTimeout);
  m_pResizeTimer = create(RESIZE_MS, true, &CHexEditor::OnResizeTimerTimeout);
  m_pRetryTimer = create(RETRY_MS, true, &CHexEditor::OnRetryTimerTimeout);
  m_pWriteTimer = create(0, true, &CHexEditor::OnEditUpdateTimerTimeout);
  m_pCopyTimer = create(0, true, &CHexEditor::OnCopyTimerTimeout);
}

// A name that no font has makes the platform choose by the hints.
void CHexEditor::SetFonts() {
  QFont wanted = QApplication::font();
  wanted.setFamily("unknown");
  wanted.setStyleHint(QFont::TypeWriter);
  wanted.setHintingPreference(QFont::PreferFullHinting);
  const QFontInfo found(wanted);
  QFont font(found.family(), found.pointSize(), found.weight(), found.italic());
  font.setStyleName(found.styleName());
  font.setStyleHint(QFont::TypeWriter);
  font.setFixedPitch(true);
  font.setKerning(false);
  font.setHintingPreference(QFont::PreferFullHinting);
  m_pTextEditor->setFont(font);
  m_pOverlay->setFont(font);
  const QFontMetrics metrics(font);
  m_RowHeight = static_cast<u32>(std::max(metrics.height(), 1));
  m_CharWidth = static_cast<u32>(std::max(metrics.horizontalAdvance('0'), 1));
}

// From the font and not in pixels: desktops scale by the font as well as by the screen.
void CHexEditor::SetScaledSizes() {
  const QFontMetrics metrics(m_pToolBar->font());
  const int iconSize = metrics.lineSpacing() * 3 / 2;
  m_pToolBar->setIconSize(QSize(iconSize, iconSize));
  m_pToolBar->setMinimumHeight(metrics.height() * 9 / 5);
  m_pAddrBox->setMinimumWidth(24 * static_cast<int>(m_CharWidth));
}
