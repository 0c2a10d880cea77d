// Mouse, keys and scrolling of the hex editor.
#include "ui/hex/addr_history.h"
#include "ui/hex/cust_scroll_bar.h"
#include "ui/hex/edit_overlay.h"
#include "ui/hex/hex_editor.h"
#include "ui/hex/hex_view.h"
#include "ui/hex/mem_write.h"

namespace {

constexpr int WHEEL_UNIT = 120;
constexpr int WHEEL_ROWS = 3;

}  // namespace

bool CHexEditor::eventFilter(QObject* pWatched, QEvent* pEvent) {
  if (pWatched == m_pTextEditor->viewport()) {
    return FilterViewportEvent(pEvent);
  }
  if (pWatched == m_pTextEditor) {
    return FilterTextEvent(pEvent);
  }
  // What remains is the chevron, which shall not unfold the tool bar.
  if (pEvent->type() == QEvent::MouseButtonPress) {
    m_ChevronPos = static_cast<QMouseEvent*>(pEvent)->globalPosition().toPoint();
    OnToolbarChevronClicked();
    return true;
  }
  return QMainWindow::eventFilter(pWatched, pEvent);
}

// The toolkit goes on with every event but Escape.
bool CHexEditor::FilterViewportEvent(QEvent* pEvent) {
  switch (pEvent->type()) {
    case QEvent::MouseButtonPress:
      OnMouseButtonPressed(static_cast<QMouseEvent*>(pEvent));
      break;
    case QEvent::MouseButtonRelease:
      OnMouseButtonReleased(static_cast<QMouseEvent*>(pEvent));
      break;
    case QEvent::MouseMove:
      OnMouseMoved(static_cast<QMouseEvent*>(pEvent));
      break;
    case QEvent::Wheel:
      OnMouseWheelScrolled(static_cast<QWheelEvent*>(pEvent));
      break;
    case QEvent::ContextMenu:
      OnContextMenuRequested(static_cast<QContextMenuEvent*>(pEvent)->pos());
      break;
    case QEvent::Paint:
      m_PaintRegion = static_cast<QPaintEvent*>(pEvent)->region();
      OnPaint(m_pTextEditor->viewport());
      break;
    default:
      break;
  }
  return false;
}

// Escape is consumed, or it would close a dialog that the editor may stand in.
bool CHexEditor::FilterTextEvent(QEvent* pEvent) {
  switch (pEvent->type()) {
    case QEvent::KeyPress:
    case QEvent::KeyRelease: {
      auto* pKeyEvent = static_cast<QKeyEvent*>(pEvent);
      OnKeyEvent(pKeyEvent);
      return pKeyEvent->type() == QEvent::KeyPress && pKeyEvent->key() == Qt::Key_Escape;
    }
    case QEvent::ContextMenu:
      // The menu key; the mouse's menu is the viewport's business.
      if (static_cast<QContextMenuEvent*>(pEvent)->reason() == QContextMenuEvent::Keyboard) {
        OnContextMenuRequested(GetCursorPoint());
      }
      break;
    case QEvent::Resize:
      OnSizeChanged(width(), height());
      break;
    case QEvent::Show:
      OnShow();
      break;
    default:
      break;
  }
  return false;
}

// ---- Mouse ----

void CHexEditor::OnMouseButtonPressed(QMouseEvent* pEvent) {
  if (pEvent->button() != Qt::LeftButton) {
    return;
  }
  m_PressPos = pEvent->position().toPoint();
  const QPoint cell = PixelToCell(m_PressPos);
  m_pView->PressMouse(cell.x(), cell.y());
  Apply();
  Q_EMIT SignalFocusIn();
}

// While the button is down, moves are told outside the window too.
void CHexEditor::OnMouseMoved(QMouseEvent* pEvent) {
  if ((pEvent->buttons() & Qt::LeftButton) == 0) {
    return;
  }
  m_MousePos = pEvent->position().toPoint();
  const QPoint cell = PixelToCell(m_MousePos);
  m_pView->DragMouse(cell.x(), cell.y(),
                     static_cast<u32>((m_MousePos - m_PressPos).manhattanLength()));
  if (m_pView->IsSelecting() && !m_pSelectionTimer->isActive()) {
    m_pSelectionTimer->start();
  }
  Apply();
}

void CHexEditor::OnMouseButtonReleased(QMouseEvent* pEvent) {
  if (pEvent->button() == Qt::LeftButton) {
    m_pView->ReleaseMouse();
    m_pSelectionTimer->stop();
  }
}

// The mouse may rest outside: rows go on with the timer and not with its moves.
void CHexEditor::OnAutoScrollSelectionTimerTimeout() {
  // The release went to somebody else: a dialog, or a window that popped up.
  if ((QApplication::mouseButtons() & Qt::LeftButton) == 0) {
    m_pView->ReleaseMouse();
    m_pSelectionTimer->stop();
    return;
  }
  const bool isAbove = m_MousePos.y() < 0;
  if (isAbove || m_MousePos.y() > m_pTextEditor->height()) {
    m_pView->ScrollSelection(isAbove ? 1 : -1, PixelToCell(m_MousePos).x());
    Apply();
  }
}

void CHexEditor::OnMouseWheelScrolled(QWheelEvent* pEvent) {
  // A touch pad sends fractions of a notch: they add up to whole ones.
  m_WheelRest += pEvent->angleDelta().y();
  const int notches = m_WheelRest / WHEEL_UNIT;
  m_WheelRest -= notches * WHEEL_UNIT;
  if (notches != 0) {
    m_pView->ScrollRows(i64{notches} * WHEEL_ROWS);
    Apply();
  }
}

// ---- Keys ----

// Shift alone starts a selection at the cursor; any key with it held takes the selection along,
// after the key has done its work.
void CHexEditor::OnKeyEvent(QKeyEvent* pEvent) {
  if (pEvent->type() == QEvent::KeyRelease) {
    if (pEvent->key() == Qt::Key_PageUp) {
      OnKeyPageUpReleased(pEvent);
    } else if (pEvent->key() == Qt::Key_PageDown) {
      OnKeyPageDownReleased(pEvent);
    }
    return;
  }
  if (pEvent->key() == Qt::Key_Shift) {
    m_pView->OnShiftPressed();
  } else {
    RunKeyPress(pEvent);
    if ((pEvent->modifiers() & Qt::ShiftModifier) != 0 && pEvent->key() != Qt::Key_Escape) {
      m_pView->ExtendToCursor();
    }
  }
  Apply();
}

// Shortcuts that are enabled never arrive here; this is for those that nobody took.
void CHexEditor::RunKeyPress(QKeyEvent* pEvent) {
  using SLOT_FUNC = void (CHexEditor::*)(QKeyEvent*);
  static constexpr struct {
    int Key;
    SLOT_FUNC pfSlot;
  } KEY_ROWS[] = {
      {Qt::Key_Up, &CHexEditor::OnKeyUpPressed},
      {Qt::Key_Down, &CHexEditor::OnKeyDownPressed},
      {Qt::Key_Left, &CHexEditor::OnKeyLeftPressed},
      {Qt::Key_Right, &CHexEditor::OnKeyRightPressed},
      {Qt::Key_Home, &CHexEditor::OnHomeKeyPressed},
      {Qt::Key_End, &CHexEditor::OnEndKeyPressed},
      {Qt::Key_PageUp, &CHexEditor::OnKeyPageUpPressed},
      {Qt::Key_PageDown, &CHexEditor::OnKeyPageDownPressed},
      {Qt::Key_Escape, &CHexEditor::OnEscapeKeyPressed},
  };
  for (const auto& row : KEY_ROWS) {
    if (row.Key == pEvent->key()) {
      (this->*row.pfSlot)(pEvent);
      return;
    }
  }
  if (pEvent->matches(QKeySequence::Copy)) {
    OnActionCopyHexTriggered();
  } else if (pEvent->matches(QKeySequence::Paste)) {
    OnKeyPastePressed(pEvent);
  } else {
    OnKeyOtherPressed(pEvent);
  }
}

void CHexEditor::OnKeyUpPressed(QKeyEvent* /*pEvent*/) {
  m_pView->KeyUp();
}

void CHexEditor::OnKeyDownPressed(QKeyEvent* /*pEvent*/) {
  m_pView->KeyDown();
}

void CHexEditor::OnKeyLeftPressed(QKeyEvent* pEvent) {
  if ((pEvent->modifiers() & Qt::AltModifier) != 0) {
    OnActionGoBackTriggered();
  } else {
    m_pView->KeyLeft();
  }
}

void CHexEditor::OnKeyRightPressed(QKeyEvent* /*pEvent*/) {
  m_pView->KeyRight();
}

void CHexEditor::OnHomeKeyPressed(QKeyEvent* pEvent) {
  if ((pEvent->modifiers() & Qt::ControlModifier) != 0) {
    m_pView->GoToStart();
  } else {
    m_pView->KeyHome();
  }
}

void CHexEditor::OnEndKeyPressed(QKeyEvent* pEvent) {
  if ((pEvent->modifiers() & Qt::ControlModifier) != 0) {
    m_pView->GoToEnd();
  } else {
    m_pView->KeyEnd();
  }
}

void CHexEditor::OnKeyPageUpPressed(QKeyEvent* /*pEvent*/) {
  m_pView->PageUp();
}

void CHexEditor::OnKeyPageDownPressed(QKeyEvent* /*pEvent*/) {
  m_pView->PageDown();
}

// What changed while the pages flew by is seen when they stop.
void CHexEditor::OnKeyPageUpReleased(QKeyEvent* pEvent) {
  if (!pEvent->isAutoRepeat()) {
    m_pView->Refresh();
    Apply();
  }
}

void CHexEditor::OnKeyPageDownReleased(QKeyEvent* pEvent) {
  OnKeyPageUpReleased(pEvent);
}

void CHexEditor::OnEscapeKeyPressed(QKeyEvent* /*pEvent*/) {
  m_pView->ClearSelection();
}

// ---- Scroll bar ----

// A page leaves one row of the last one on the screen, to go on reading from.
void CHexEditor::OnScrollbarActionTriggered(int Action) {
  const i64 page = i64{m_pView->GetGeometry().NumRows} - 1;
  switch (Action) {
    case ScrollScale::StepAdd:
      m_pView->ScrollRows(-1);
      break;
    case ScrollScale::StepSub:
      m_pView->ScrollRows(1);
      break;
    case ScrollScale::PageAdd:
      m_pView->ScrollRows(-page);
      break;
    case ScrollScale::PageSub:
      m_pView->ScrollRows(page);
      break;
    case ScrollScale::ToMinimum:
      m_pView->GoToStart();
      break;
    case ScrollScale::ToMaximum:
      m_pView->GoToEnd();
      break;
    default:
      if (m_Config.ScrollWhileDragging != 0 || !m_pScrollBar->isSliderDown()) {
        OnScrollbarReleased();
      } else {
        m_pView->Drag(HEX_ScrollToAddr(m_pScrollBar->GetValue()));
      }
      break;
  }
  Apply();
}

void CHexEditor::OnScrollbarReleased() {
  m_pView->GoTo(HEX_ScrollToAddr(m_pScrollBar->GetValue()), true, false);
  Apply();
}
