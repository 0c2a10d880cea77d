#pragma once

#include <QtWidgets>

#include "ui/hex/overlay_state.h"

// The box over an item that is typed over. Hidden unless in use; lives as long as its parent.
class CEditOverlay : public QLineEdit {
  Q_OBJECT

 public:
  explicit CEditOverlay(QWidget* pParent);

  const OverlayState& GetState() const { return m_State; }
  // Shows the box with the item, its digit at Place replaced by Typed. ItemText is empty when the
  // item's digits aren't known.
  void Open(u64 ItemAddr, u32 ItemSize, const std::string& ItemText, u32 Place, char Typed,
            const QRect& Rect);
  // Whether the edit ended in the box, and not because the focus went elsewhere.
  bool HadFocus() const { return m_HadFocus; }
  // What losing the focus does, if it is in use.
  void End() { Finish(); }
  // Closes without a word and without writing.
  void Abandon();

  bool eventFilter(QObject* pWatched, QEvent* pEvent) override;

 Q_SIGNALS:
  // The edit ended; GetState tells how.
  void Closed();

 protected:
  void showEvent(QShowEvent* pEvent) override;

 private Q_SLOTS:
  void OnCursorPosChanged(int OldPos, int NewPos);
  void OnTextChanged(const QString& sText);
  void OnEditingFinished();

 private:
  bool OnKeyPressed(QKeyEvent* pEvent);
  void Finish();

  OverlayState m_State;
  bool m_HadFocus = false;
};
