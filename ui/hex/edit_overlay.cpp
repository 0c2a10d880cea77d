#include "ui/hex/edit_overlay.h"

// Without a menu of its own: undo and paste of a line edit would go past the rules of an item.
CEditOverlay::CEditOverlay(QWidget* pParent) : QLineEdit(pParent) {
  setObjectName("CEditOverlay");
  setAccessibleName("Item value");
  setStyleSheet("QLineEdit {border: 1px solid dark gray; border-radius: 0px;}");
  setContextMenuPolicy(Qt::NoContextMenu);
  hide();
  installEventFilter(this);
  connect(this, &QLineEdit::cursorPositionChanged, this, &CEditOverlay::OnCursorPosChanged);
  connect(this, &QLineEdit::textChanged, this, &CEditOverlay::OnTextChanged);
  connect(this, &QLineEdit::editingFinished, this, &CEditOverlay::OnEditingFinished);
}

// The mask makes digits replace each other and keeps everything else out.
void CEditOverlay::Open(u64 ItemAddr, u32 ItemSize, const std::string& ItemText, u32 Place,
                        char Typed, const QRect& Rect) {
  const u32 numDigits = 2 * ItemSize;
  const OverlayState::BOX box = m_State.Open(ItemAddr, numDigits, ItemText, Place, Typed);
  setInputMask(QString(static_cast<qsizetype>(numDigits), 'H'));
  setMaxLength(static_cast<int>(numDigits));
  setText(QString::fromStdString(box.Text));
  setCursorPosition(static_cast<int>(box.Cursor));
  setGeometry(Rect);
  show();
  // A reason that moves neither cursor nor selection.
  setFocus(Qt::OtherFocusReason);
}

void CEditOverlay::Abandon() {
  m_State.Reset();
  hide();
}

// Handlers were silent since the box closed the last time, and while it was filled.
void CEditOverlay::showEvent(QShowEvent* pEvent) {
  QLineEdit::showEvent(pEvent);
  m_State.OnShown();
}

bool CEditOverlay::eventFilter(QObject* pWatched, QEvent* pEvent) {
  if (pEvent->type() == QEvent::KeyPress) {
    return OnKeyPressed(static_cast<QKeyEvent*>(pEvent));
  }
  // The toolkit tells the end of an edit only for a complete text.
  if (pEvent->type() == QEvent::FocusOut &&
      static_cast<QFocusEvent*>(pEvent)->reason() != Qt::PopupFocusReason) {
    Finish();
  }
  return QLineEdit::eventFilter(pWatched, pEvent);
}

// Up, Down and Return are not consumed: what the editor makes of the keys is up to it, with the box
// closed already.
bool CEditOverlay::OnKeyPressed(QKeyEvent* pEvent) {
  switch (pEvent->key()) {
    case Qt::Key_Escape:
    case Qt::Key_Up:
    case Qt::Key_Down:
      m_State.Discard();
      Finish();
      return pEvent->key() == Qt::Key_Escape;
    case Qt::Key_Return:
    case Qt::Key_Enter:
      m_State.Accept();
      Finish();
      return false;
    default:
      return false;
  }
}

// Moving the cursor here comes back as a move to the left, which changes nothing.
void CEditOverlay::OnCursorPosChanged(int OldPos, int NewPos) {
  if (m_State.OnCursorMoved(static_cast<u32>(OldPos), static_cast<u32>(NewPos),
                            text().toStdString())) {
    setCursorPosition(maxLength() - 1);
  }
}

// Putting the saved text back is no edit.
void CEditOverlay::OnTextChanged(const QString& sText) {
  if (!m_State.OnTextEdited(static_cast<u32>(cursorPosition()), sText.toStdString())) {
    return;
  }
  if (!m_State.GetSavedText().empty()) {
    const QSignalBlocker blocker(this);
    setText(QString::fromStdString(m_State.GetSavedText()));
  }
  Finish();
}

// Also when the focus goes elsewhere.
void CEditOverlay::OnEditingFinished() {
  Finish();
}

// The focus is looked at before hiding, which hands it to whatever widget comes next.
void CEditOverlay::Finish() {
  if (m_State.BeginClose()) {
    m_HadFocus = hasFocus();
    hide();
    Q_EMIT Closed();
  }
}
