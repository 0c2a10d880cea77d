#pragma once

#include <QtWidgets>

#include "sys/types.h"

class CHexEditor;
class CustDockWidgetTitleBar;
class DataWindowArea;
class SubMainWindow;

// One data window: a dock around its editor. Owned by the SubMainWindow, deletes itself on close.
class CustDockWidget : public QDockWidget {
  Q_OBJECT

 public:
  // Adds itself at the bottom of pHost, vertically. Takes the editor as its widget.
  CustDockWidget(DataWindowArea* pArea, SubMainWindow* pHost, CHexEditor* pEditor,
                 const QString& sTitle, const QColor& windowColor);

  CHexEditor* GetEditor() const { return m_pEditor; }
  CustDockWidgetTitleBar* GetTitleBar() const { return m_pTitleBar; }
  // The title of the active data window is bold.
  void MarkActive(bool OnOff);

  u32 Order = 0;           // creation number: the newest takes over when the active one closes
  bool IsClosing = false;  // closed, and deleted when the event loop comes to it
  bool IsShownBySystem = false;  // while the window comes back from being minimized

 protected:
  bool event(QEvent* pEvent) override;
  void focusInEvent(QFocusEvent* pEvent) override;
  void closeEvent(QCloseEvent* pEvent) override;

 private Q_SLOTS:
  void _SlotOnHexEditorFocusIn();
  void _SlotOnHexEditorClosed();
  void _SlotOnHexEditorTitleUpdate(const QString& sTitle);

 private:
  DataWindowArea* m_pArea;
  CHexEditor* m_pEditor;
  CustDockWidgetTitleBar* m_pTitleBar;
};
