#pragma once

#include <QtWidgets>

#include "sys/types.h"

class CHexEditor;
class CustDockWidget;
class SubMainWindow;

// The centre of the main window: data windows side by side, as tabs or floating. Exactly one of
// them counts as focused while there is any, and operations work on its image. GUI thread only.
class DataWindowArea : public QMdiArea {
  Q_OBJECT

 public:
  // sHintText is shown while no data window is docked.
  DataWindowArea(QWidget* pParent, const QString& sHintText);
  ~DataWindowArea() override;

  // Wraps the editor in a dock, which owns it from now on, and makes it active.
  CustDockWidget* AddWindow(CHexEditor* pEditor, const QString& sTitle);
  // The editor of the active dock, or null.
  CHexEditor* GetFocused() const;
  // Makes a dock active; null activates the newest of the others, as after a close.
  void SetActive(CustDockWidget* pDock);
  // A dock that closes tells so, before it goes.
  void OnDockClosed(CustDockWidget* pDock);

 Q_SIGNALS:
  // The focused data window, null when none is left. Also sent when it stays the same.
  void SignalDataWinInFocus(CHexEditor* pEditor);

 protected:
  void paintEvent(QPaintEvent* pEvent) override;
  void changeEvent(QEvent* pEvent) override;

 private Q_SLOTS:
  void _SlotOnDockWidgetVisibilityChanged(bool IsVisible);

 private:
  QList<CustDockWidget*> GetDocks() const;
  void TakeColors();

  QColor m_WindowColor;
  QColor m_FillColor;
  QColor m_HintColor;
  QString m_sHintText;
  QFont m_HintFont;
  SubMainWindow* m_pSubMainWindow = nullptr;
  CustDockWidget* m_pActiveDock = nullptr;
  u32 m_NextOrder = 0;
};
