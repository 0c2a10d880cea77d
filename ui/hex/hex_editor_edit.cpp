// Typing, writing and the clipboard of the hex editor.
#include <cctype>
#include <cstring>

#include "ui/hex/addr_history.h"
#include "ui/hex/edit_overlay.h"
#include "ui/hex/hex_copy.h"
#include "ui/hex/hex_editor.h"
#include "ui/hex/hex_view.h"
#include "ui/hex/mem_write.h"

namespace {

// What the digits in the box stand right of its edge: border and inner margin.
constexpr int BOX_INSET = 3;
constexpr int BOX_MARGIN = 2;

// Until a busy area is tried again.
constexpr int BUSY_MS = 50;

// The longest stretch of a copy without a look at other events.
constexpr qint64 COPY_SLICE_MS = 15;

struct COPY_ROW {
  const char* sMimeType;  // null: plain text as the toolkit sets it
  const char* sMessage;
};

// In the order of HEX_COPY.
constexpr COPY_ROW COPIES[] = {
    {nullptr, "Memory selection copied to the clipboard (format=hex)"},
    {nullptr, "Memory selection copied to the clipboard (format=text)"},
    {"application/octet-stream", "Memory selection copied to the clipboard (format=binary)"},
    {"text/plain", "Memory selection copied to the clipboard (format=hex as C initializer)"},
};

}  // namespace

// ---- Typing ----

// A digit over an item opens the box on it; in the text column each character is a write of its
// own. Combinations with Ctrl and the like are commands that nobody took, not text.
void CHexEditor::OnKeyOtherPressed(QKeyEvent* pEvent) {
  constexpr auto COMMANDS = Qt::ControlModifier | Qt::AltModifier | Qt::MetaModifier;
  const bool isBackspace = pEvent->key() == Qt::Key_Backspace;
  const QString sText = pEvent->text();
  if (m_IsReadOnly || (pEvent->modifiers() & COMMANDS) != 0 || (sText.isEmpty() && !isBackspace)) {
    return;
  }
  const QChar c = isBackspace ? QChar(0) : sText[0];
  if (!m_pView->IsCursorInText()) {
    const bool isDigit = c.unicode() < 128 && std::isxdigit(c.unicode()) != 0;
    if (isDigit || isBackspace) {
      OpenOverlay(m_pView->GetCursorAddr(), m_pView->GetCursorNibble(),
                  isBackspace ? ' ' : c.toUpper().toLatin1());
    }
    return;
  }
  // A character that a byte can't hold is no value to write.
  if ((!isBackspace && !c.isPrint()) || c.unicode() > 255) {
    return;
  }
  const u64 addr = m_pView->GetCursorAddr();
  if (isBackspace) {
    m_pView->KeyLeft();
  } else {
    m_pView->KeyRight();
  }
  QueueWrite(addr, {static_cast<u8>(c.unicode())});
}

// The item is scrolled into view first, since that closes the box. An item that isn't in the cache
// starts with the typed digit alone.
void CHexEditor::OpenOverlay(u64 Addr, u8 Nibble, char Typed) {
  const HexGeometry& geometry = m_pView->GetGeometry();
  const MEM_CACHE& cache = m_pView->GetCache();
  if (geometry.GetBytesPerScreen() == 0) {
    return;
  }
  m_pView->BringIntoView(Addr);
  Apply();
  const u64 itemAddr = geometry.GetItemStart(Addr);
  std::string text;
  if (cache.Contains(itemAddr, geometry.ItemSize)) {
    text = HEX_ItemText(geometry, cache.GetData() + cache.GetOffset(itemAddr));
  }
  const int charWidth = static_cast<int>(m_CharWidth);
  const int column =
      static_cast<int>(m_pView->AddrToColumn(geometry.GetAddrInItem(itemAddr, 0), 0));
  const QPoint origin = m_pTextEditor->viewport()->pos();
  const QRect rect(
      origin.x() + BOX_MARGIN + column * charWidth - BOX_INSET,
      origin.y() + static_cast<int>(m_pView->AddrToRow(itemAddr)) * static_cast<int>(m_RowHeight) -
          2,
      2 * (static_cast<int>(geometry.ItemSize) * charWidth + m_pOverlay->textMargins().left()) +
          2 * BOX_INSET,
      static_cast<int>(m_RowHeight) + 4);
  m_pOverlay->Open(itemAddr, geometry.ItemSize, text, 2 * geometry.GetPlaceInItem(Addr) + Nibble,
                   Typed, rect);
}

// Without writing.
void CHexEditor::CloseOverlay() {
  const bool hadFocus = m_pOverlay->hasFocus();
  m_pOverlay->Abandon();
  if (hadFocus) {
    m_pTextEditor->setFocus();
  }
}

// The state is copied: opening the box on the next item starts a new one. The cursor moves before
// the bytes are written, so that a repaint in between shows it in its place.
void CHexEditor::OnItemEditingFinished() {
  const HexGeometry geometry = m_pView->GetGeometry();
  const OverlayState state = m_pOverlay->GetState();
  const u32 place = static_cast<u32>(std::max(m_pOverlay->cursorPosition(), 0));
  const u64 itemAddr = state.GetItemAddr();
  const u64 nextItem = itemAddr + geometry.ItemSize;
  const u64 nextAddr = geometry.GetAddrInItem(nextItem, 0);
  const char nextDigit = state.GetNextDigit();
  const bool goesOn = nextDigit != '\0' && nextItem < m_pView->GetZoneEnd();
  m_IsAddrBoxEnabled = false;
  if (goesOn) {
    m_pView->MoveCursor(nextAddr, 0);
  } else {
    const u32 digit = std::min(place, 2 * geometry.ItemSize - 1);
    m_pView->MoveCursor(geometry.GetAddrInItem(itemAddr, digit / 2), static_cast<u8>(digit % 2));
  }
  // A click elsewhere has given the focus away already, a change of windows to nobody here.
  if (m_pOverlay->HadFocus() || QApplication::focusWidget() == nullptr) {
    m_pTextEditor->viewport()->setFocus();
  }
  if (state.IsToBeWritten()) {
    const std::string bytes = HEX_ItemBytes(m_pOverlay->text().toStdString(), geometry.ItemSize);
    QueueWrite(itemAddr, {bytes.begin(), bytes.end()});
  }
  m_pView->RepaintAll();
  Apply();
  if (goesOn) {
    OpenOverlay(nextAddr, 0, nextDigit);
  }
  m_IsAddrBoxEnabled = true;
}

// ---- Writing ----

// An area gets the bytes at once. Handlers get them when the typing pauses.
void CHexEditor::QueueWrite(u64 Addr, std::vector<u8> Data) {
  if (m_IsReadOnly) {
    return;  // since the edit began
  }
  m_aPendingWrites.push_back({Addr, std::move(Data)});
  if (m_pView->GetSource().HasArea()) {
    OnEditUpdateTimerTimeout();
  } else {
    m_pEditTimer->start();
  }
}

// Also called where earlier typing has to be in front of what comes now.
void CHexEditor::OnEditUpdateTimerTimeout() {
  for (MEM_WRITE& write : HEX_MergeWrites(std::exchange(m_aPendingWrites, {}))) {
    m_pWriteQueue->Add(std::move(write));
  }
  RunWrites();
}

// Goes on by a timer when there is more than a slice's work, or when the area is busy. Those who
// show whether an image is modified hear of it after each slice that finished something.
void CHexEditor::RunWrites() {
  std::vector<WriteQueue::DONE> done;
  const WriteQueue::STEP step = m_pWriteQueue->Step(&m_pView->GetSource(), &done);
  for (const WriteQueue::DONE& range : done) {
    m_pView->ReloadRange(range.Addr, range.NumBytes);
  }
  if (step != WriteQueue::STEP::Idle) {
    m_pWriteTimer->start(step == WriteQueue::STEP::Busy ? BUSY_MS : 0);
  }
  Apply();
  if (!done.empty()) {
    UpdateTitle();
    Q_EMIT SignalEditingFinished();
  }
}

bool CHexEditor::Settle() {
  m_pOverlay->End();
  if (m_pEditTimer->isActive()) {
    m_pEditTimer->stop();
    OnEditUpdateTimerTimeout();
  }
  return m_pWriteQueue->IsEmpty();
}

// Where pasted or loaded bytes go.
u64 CHexEditor::GetEditAddr() const {
  const u64 addr = m_pView->GetCursorAddr();
  return m_pView->IsCursorInText() ? addr : m_pView->GetGeometry().GetItemStart(addr);
}

// ---- Clipboard ----

void CHexEditor::OnActionCopyTriggered() {
  StartCopy(HEX_COPY::Hex);
}

void CHexEditor::OnActionCopyHexTriggered() {
  StartCopy(HEX_COPY::Hex);
}

void CHexEditor::OnActionCopyTextTriggered() {
  StartCopy(HEX_COPY::Text);
}

void CHexEditor::OnActionCopyBinaryTriggered() {
  StartCopy(HEX_COPY::Binary);
}

void CHexEditor::OnActionCopyIntListTriggered() {
  StartCopy(HEX_COPY::IntList);
}

// A small selection is copied before this returns.
void CHexEditor::StartCopy(HEX_COPY Format) {
  const MemSource& source = m_pView->GetSource();
  const bool needsData = Format == HEX_COPY::Binary || Format == HEX_COPY::IntList;
  if (needsData && m_pView->GetSelLen() == 0) {
    source.Report("Copy action could not be performed: no data to copy", true);
    return;
  }
  if (m_pView->GetSelLen() > HexCopy::GetMaxBytes(Format)) {
    static constexpr char TOO_MUCH[] =
        "Copy action could not be performed: too much data for the clipboard";
    source.Report(TOO_MUCH, true);
    // Nobody may listen to the report, and a copy that isn't there is missed too late.
    QToolTip::showText(m_pTextEditor->mapToGlobal(m_pTextEditor->rect().center()), TOO_MUCH, this);
    return;
  }
  m_pCopy = std::make_unique<HexCopy>(m_pView.get(), Format);
  OnCopyTimerTimeout();
}

// A copy that was replaced by another one, or lost its area, is no longer there.
void CHexEditor::OnCopyTimerTimeout() {
  QElapsedTimer elapsed;
  elapsed.start();
  HexCopy::STEP step = HexCopy::STEP::More;
  while (m_pCopy != nullptr && step == HexCopy::STEP::More) {
    step = m_pCopy->Step();
    if (step == HexCopy::STEP::Done) {
      FinishCopy();
    } else if (step == HexCopy::STEP::Busy || elapsed.elapsed() > COPY_SLICE_MS) {
      m_pCopyTimer->start(step == HexCopy::STEP::Busy ? BUSY_MS : 0);
      return;
    }
  }
}

// Out of the member first: the clipboard tells others, who may come back here.
void CHexEditor::FinishCopy() {
  const std::unique_ptr<HexCopy> pCopy = std::move(m_pCopy);
  const COPY_ROW& row = COPIES[static_cast<int>(pCopy->GetFormat())];
  const std::string& result = pCopy->GetResult();
  auto* pMimeData = new QMimeData;  // the clipboard takes it
  if (row.sMimeType == nullptr) {
    pMimeData->setText(QString::fromLatin1(result.data(), static_cast<qsizetype>(result.size())));
  } else {
    pMimeData->setData(row.sMimeType,
                       QByteArray(result.data(), static_cast<qsizetype>(result.size())));
  }
  QApplication::clipboard()->setMimeData(pMimeData);
  m_pView->GetSource().Report(row.sMessage, false);
}

void CHexEditor::OnKeyPastePressed(QKeyEvent* /*pEvent*/) {
  if (!m_IsReadOnly) {
    OnActionPasteTriggered();
  }
}

// Bytes as they are: text isn't taken for hexadecimal digits.
void CHexEditor::OnActionPasteTriggered() {
  const QMimeData* pMimeData = QApplication::clipboard()->mimeData();
  if (pMimeData == nullptr || m_IsReadOnly) {
    return;
  }
  QByteArray bytes;
  if (pMimeData->hasFormat("text/plain")) {
    bytes = pMimeData->data("text/plain");
  } else if (pMimeData->hasFormat("application/octet-stream")) {
    bytes = pMimeData->data("application/octet-stream");
  } else {
    m_pView->GetSource().Report("Cannot paste clipboard contents: unsupported content type", true);
    return;
  }
  if (bytes.isEmpty()) {
    return;
  }
  OnEditUpdateTimerTimeout();  // what was typed before goes first
  const u64 numBytes = static_cast<u64>(bytes.size());
  m_pWriteQueue->Add(GetEditAddr(), numBytes, [bytes](u64 offset, std::span<u8> buffer) {
    std::memcpy(buffer.data(), bytes.constData() + offset, buffer.size());
    return true;
  });
  RunWrites();
}
