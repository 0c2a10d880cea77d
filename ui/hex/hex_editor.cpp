#include "ui/hex/hex_editor.h"

// Life, settings and requests of the hex editor; the other files of the class stand beside this
// one.
//
// The order of work in every slot is the same: tell the view, then Apply.

#include "sys/util_string.h"
#include "ui/common/qt_helper.h"
#include "ui/hex/addr_history.h"
#include "ui/hex/cust_scroll_bar.h"
#include "ui/hex/edit_overlay.h"
#include "ui/hex/hex_actions.h"
#include "ui/hex/hex_copy.h"
#include "ui/hex/hex_view.h"
#include "ui/hex/mem_write.h"

namespace {

constexpr u32 WINDOW_NAME_SIZE = 512;
constexpr int REFRESH_OFF = HEX_NUM_REFRESH - 1;

}  // namespace

CHexEditor::CHexEditor(QWidget* pParent, Qt::WindowFlags WindowFlags)
    : QMainWindow(pParent, WindowFlags),
      m_pView(std::make_unique<HexView>()),
      m_pWriteQueue(std::make_unique<WriteQueue>()),
      m_pAddrHistory(std::make_unique<AddrHistory>()) {
  // A null lock does nothing: the editor works on, unprotected, as memory for one isn't there.
  m_Lock = SYS_MUTEX_Create(nullptr);
  if (m_Lock == nullptr) {
    m_pView->GetSource().Report("Failed to create mutex.", true);
  }
  CreateWidgets();
  CreateActions();
  CreateToolBar();
  CreateTimers();
  // Queued even within the thread: a request never runs inside another one's call.
  connect(this, &CHexEditor::_SignalUpdateGUI, this, &CHexEditor::_SlotOnGUIUpdate,
          Qt::QueuedConnection);
  SetFonts();
  SetScaledSizes();
  m_pView->GoTo(0, true, false);
  ApplyConfig();
  Apply();
}

CHexEditor::~CHexEditor() {
  // Children go after this destructor; what they tell on the way is nobody's business any more.
  m_pTextEditor->removeEventFilter(this);
  m_pTextEditor->viewport()->removeEventFilter(this);
  m_pOverlay->Abandon();
  m_pOverlay->disconnect(this);
  SYS_MUTEX_Destroy(&m_Lock);
}

void CHexEditor::SetConfig(const HEX_EDITOR_CONFIG* pConfig) {
  m_Config = *pConfig;
  ApplyConfig();
}

// What is hidden must not have an effect that nobody can undo: the timer stops, widths go back to
// what they are without a choice.
void CHexEditor::ApplyConfig() {
  for (QAction* pAction : m_apRefreshActions) {
    pAction->setVisible(m_Config.ShowRefresh != 0);
  }
  GetAction(HEX_ACTION_AUTO_REFRESH)->setVisible(m_Config.ShowRefresh != 0);
  if (m_Config.ShowRefresh == 0) {
    SetRefreshIndex(REFRESH_OFF);
    m_pRefreshTimer->stop();
  }
  for (u32 id = HEX_ACTION_VIEW_1; id <= HEX_ACTION_VIEW_4; ++id) {
    GetAction(id)->setVisible(m_Config.ShowViewFormat != 0);
  }
  if (m_Config.ShowViewFormat == 0) {
    OnActionViewFormatTriggered(GetAction(HEX_ACTION_VIEW_1));
  }
  for (u32 id = HEX_ACTION_ACCESS_1; id <= HEX_ACTION_ACCESS_AUTO; ++id) {
    GetAction(id)->setVisible(m_Config.ShowAccessWidth != 0);
  }
  if (m_Config.ShowAccessWidth == 0) {
    OnActionAccessWidthTriggered(GetAction(HEX_ACTION_ACCESS_AUTO));
  }
  GetAction(HEX_ACTION_SAVE)->setVisible(m_Config.ShowSave != 0);
  UpdateReadOnly();
  UpdateTitle();
}

void CHexEditor::SetReadOnly(int OnOff) {
  m_IsReadOnly = OnOff != 0;
  if (m_IsReadOnly) {
    CloseOverlay();
  }
  UpdateReadOnly();
}

// A hidden action is disabled too, so that its shortcut is silent.
void CHexEditor::UpdateReadOnly() {
  GetAction(HEX_ACTION_PASTE)->setEnabled(!m_IsReadOnly);
  const bool canFill = !m_IsReadOnly && m_Config.ShowFill != 0;
  const bool canLoad = !m_IsReadOnly && m_Config.ShowLoad != 0;
  GetAction(HEX_ACTION_FILL)->setVisible(canFill);
  GetAction(HEX_ACTION_LOAD)->setVisible(canLoad);
}

void CHexEditor::SetBigEndian(int OnOff) {
  m_pView->SetBigEndian(OnOff != 0);
  Apply();
}

void CHexEditor::SetWindowName(const char* sName) {
  {
    const SYS_LOCK_GUARD lock(m_Lock);
    m_sWindowName.assign(sName != nullptr ? sName : "");
    if (m_sWindowName.size() >= WINDOW_NAME_SIZE) {
      m_sWindowName.resize(UTIL_CutUtf8(m_sWindowName.c_str(), WINDOW_NAME_SIZE - 1));
    }
  }
  UpdateTitle();
}

// Writes that wait were meant for the area before.
void CHexEditor::SetMemArea(MEMAREA* pArea) {
  CloseOverlay();
  m_pEditTimer->stop();
  m_pCopy.reset();
  m_aPendingWrites.clear();
  *m_pWriteQueue = WriteQueue();
  m_pArea.store(pArea);
  m_pView->GetSource().SetArea(pArea);
  m_pView->Forget();
  Apply();
}

MEMAREA* CHexEditor::GetMemArea() const {
  return m_pArea.load();
}

void CHexEditor::SetHandlers(const HEX_HANDLERS& Handlers) {
  m_pView->GetSource().SetHandlers(Handlers);
  m_pView->Forget();
  OnShow();
}

// The name is the only text that two threads share.
void CHexEditor::GetFileName(char* pBuf, u32 BufSize) const {
  const SYS_LOCK_GUARD lock(m_Lock);
  UTIL_strcpy(pBuf, m_sWindowName.c_str(), BufSize);
}

// ---- From other threads ----

// Sets what is asked for, and sees that one signal is under way.
template <class Fn>
void CHexEditor::Request(CHexEditor* pEditor, Fn Change) {
  if (pEditor == nullptr) {
    return;
  }
  const SYS_LOCK_GUARD lock(pEditor->m_Lock);
  Change(pEditor);
  if (pEditor->m_UpdatePending == 0) {
    pEditor->m_UpdatePending = 1;
    Q_EMIT pEditor->_SignalUpdateGUI();
  }
}

void CHexEditor::RequestReload(CHexEditor* pEditor) {
  Request(pEditor, [](CHexEditor* p) { p->m_IsReloadRequested = true; });
}

void CHexEditor::RequestBigEndian(CHexEditor* pEditor, int OnOff) {
  Request(pEditor, [OnOff](CHexEditor* p) { p->m_RequestedBigEndian = OnOff != 0 ? 1 : 0; });
}

void CHexEditor::RequestReadOnly(CHexEditor* pEditor, int OnOff) {
  Request(pEditor, [OnOff](CHexEditor* p) { p->m_RequestedReadOnly = OnOff != 0 ? 1 : 0; });
}

// Cut before the lock is taken.
void CHexEditor::RequestWindowName(CHexEditor* pEditor, const char* sName) {
  char acName[WINDOW_NAME_SIZE];
  UTIL_strcpy(acName, sName != nullptr ? sName : "", sizeof(acName));
  Request(pEditor, [&acName](CHexEditor* p) { p->m_sWindowName = acName; });
}

// Asks the area itself and not the view, which knows only what it has read. The pointer is read
// once: the window may be detached meanwhile, but an area outlives the requests about it.
int CHexEditor::IsModified(CHexEditor* pEditor) {
  if (pEditor == nullptr) {
    return -1;
  }
  MEMAREA* pArea = pEditor->m_pArea.load();
  if (pArea == nullptr) {
    return 0;
  }
  MEMAREA_STATE state{};
  MEMAREA_GetAccessTable()->GetState(pArea, &state);
  return state.IsModified != 0 ? 1 : 0;
}

// Takes the requests under the lock and works on them without it: no thread waits for a repaint.
void CHexEditor::_SlotOnGUIUpdate() {
  int bigEndian = -1;
  int readOnly = -1;
  bool isReload = false;
  {
    const SYS_LOCK_GUARD lock(m_Lock);
    bigEndian = std::exchange(m_RequestedBigEndian, -1);
    readOnly = std::exchange(m_RequestedReadOnly, -1);
    isReload = std::exchange(m_IsReloadRequested, false);
    m_UpdatePending = 0;
  }
  if (bigEndian >= 0) {
    m_pView->SetBigEndian(bigEndian != 0);
  }
  if (isReload) {
    UpdateSize();
    m_pView->ReloadAll();
  }
  if (readOnly >= 0) {
    SetReadOnly(readOnly);
  }
  Apply();
  UpdateTitle();
}

// ---- Title, size, timers ----

// Called often: after each move of the cursor, for the address. Only a text that differs travels to
// the dock's title.
void CHexEditor::UpdateTitle() {
  std::string name;
  {
    const SYS_LOCK_GUARD lock(m_Lock);
    name = m_sWindowName;
  }
  const MemSource& source = m_pView->GetSource();
  const bool isRefreshing = m_pRefreshTimer->isActive();
  const u64 base = m_pView->GetBaseAddr();
  const QString sTitle = QTHelper_FromLocal8Bit(
      HEX_MakeTitle(name, base != 0 ? base : m_pView->GetScrollTarget(),
                    isRefreshing ? HEX_REFRESH[m_pRefreshBox->currentIndex()].sText : "",
                    source.sZoneName, source.IsModified())
          .c_str());
  if (sTitle != windowTitle()) {
    setWindowTitle(sTitle);
    Q_EMIT SignalTitleUpdate(sTitle);
  }
}

// True when the number of bytes on screen has changed.
// The last row counts though it is cut. A window that isn't visible has no rows, so that nothing is
// read for it.
bool CHexEditor::UpdateSize() {
  const u64 oldBytes = m_pView->GetGeometry().GetBytesPerScreen();
  const u32 height = static_cast<u32>(std::max(m_pTextEditor->height() - 1, 0));
  const u32 numRows = m_pTextEditor->isVisible() ? (height + m_RowHeight - 1) / m_RowHeight : 0;
  m_pView->SetSize(numRows, static_cast<u32>(m_pTextEditor->width()) / m_CharWidth);
  return m_pView->GetGeometry().GetBytesPerScreen() != oldBytes;
}

void CHexEditor::OnShow() {
  UpdateSize();
  m_pView->Show();
  Apply();
}

// A drag of the window's edge comes as a burst of sizes: the rows follow once it pauses. The
// address box gives way in a narrow window.
void CHexEditor::OnSizeChanged(int Width, int /*Height*/) {
  CloseOverlay();
  const int wanted = 24 * static_cast<int>(m_CharWidth);
  m_pAddrBox->setMinimumWidth(std::min(wanted, std::max(Width / 3, 1)));
  m_pResizeTimer->start();
}

void CHexEditor::OnResizeTimerTimeout() {
  UpdateSize();
  m_pView->Resettle();
  Apply();
}

void CHexEditor::OnAutoUpdateTimerTimeout() {
  m_pView->Age();
  Apply();
}

void CHexEditor::OnRetryTimerTimeout() {
  m_pView->Retry();
  Apply();
}

// A box that is hidden with its tool bar keeps its entry but starts nothing.
void CHexEditor::OnRefreshRateChanged() {
  if (!m_pRefreshBox->isVisible()) {
    return;
  }
  const u32 interval = HEX_REFRESH[std::max(m_pRefreshBox->currentIndex(), 0)].IntervalMs;
  if (interval != 0) {
    m_pRefreshTimer->start(static_cast<int>(interval));
  } else {
    m_pRefreshTimer->stop();
  }
  UpdateTitle();
}

// The steps serve the length of the handle and the toolkit's own arithmetic; what a step does is
// decided by the rows.
void CHexEditor::UpdateScrollBar() {
  const HexGeometry& geometry = m_pView->GetGeometry();
  m_pScrollBar->setSingleStep(static_cast<int>(std::max(geometry.BytesPerRow, 1U)));
  m_pScrollBar->setPageStep(static_cast<int>(std::max<u64>(geometry.GetBytesPerScreen(), 1)));
  m_pScrollBar->SetRange(HEX_AddrToScroll(m_pView->GetZoneStart()),
                         HEX_AddrToScroll(m_pView->GetLastTop()));
  const int value = HEX_AddrToScroll(m_pView->GetBaseAddr());
  if (value != m_pScrollBar->GetValue()) {
    m_pScrollBar->SetValue(value);
  }
}

// Repaints exactly the rows that the view named. Order matters: an overlay that has to close is
// closed before anything else is looked at.
void CHexEditor::Apply() {
  if (m_pView->TakeOverlayClose()) {
    CloseOverlay();
  }
  std::set<u32> rows;
  bool isAll = false;
  if (m_pView->TakeRepaint(&rows, &isAll)) {
    QWidget* pViewport = m_pTextEditor->viewport();
    if (isAll) {
      pViewport->update();
    }
    for (const u32 row : rows) {
      const int height = static_cast<int>(m_RowHeight);
      pViewport->update(0, static_cast<int>(row) * height, pViewport->width(), height);
    }
  }
  UpdateScrollBar();
  GetAction(HEX_ACTION_GO_BACK)->setEnabled(m_pView->CanGoBack());
  if (m_pView->TakeTitleStale()) {
    UpdateTitle();
  }
  if (m_pView->IsReloadPending() && !m_pRetryTimer->isActive()) {
    m_pRetryTimer->start();
  }
}

// The dock asks for the close, or follows it; nothing here may refuse. Told once: whoever listens
// gives the area away.
void CHexEditor::closeEvent(QCloseEvent* pEvent) {
  if (!m_HasClosed) {
    m_HasClosed = true;
    Q_EMIT SignalClosed();
  }
  pEvent->accept();
}

// Room for 16 bytes a row and some 32 rows.
QSize CHexEditor::sizeHint() const {
  static const QString MODEL_LINE =
      "0000_0000  00 11 22 33 44 55 66 77  88 99 AA BB CC DD EE FF  wwwwwwwwwwwwwwww ";
  const QFontMetrics metrics(m_pTextEditor->font());
  const int width = static_cast<int>(MODEL_LINE.size()) * static_cast<int>(m_CharWidth);
  return {width + m_pScrollBar->sizeHint().width(),
          m_pToolBar->sizeHint().height() + 32 * metrics.lineSpacing()};
}
