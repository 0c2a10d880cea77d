#pragma once

#include <QtWidgets>

// Title bar of every dock: title, float and close button. The title of the active data window is
// bold.
class CustDockWidgetTitleBar : public QToolBar {
  Q_OBJECT

 public:
  // Belongs to the dock; the caller hands it to setTitleBarWidget.
  explicit CustDockWidgetTitleBar(QDockWidget* pDock);

  void SetTitle(const QString& sTitle);
  void SetActive(bool OnOff);

 protected:
  void resizeEvent(QResizeEvent* pEvent) override;
  void changeEvent(QEvent* pEvent) override;

 private Q_SLOTS:
  void _SlotOnFloatChange(bool IsFloating);
  void _SlotOnBtnFloat();
  void _SlotOnBtnClose();

 private:
  QToolButton* AddButton(const char* sName, const QString& sTip);
  void ElideTitle();

  QString m_sTitle;
  QDockWidget* m_pDock;
  QLabel* m_pLabel;
  QToolButton* m_pFloatButton;
  QAction* m_pFloatAction = nullptr;
  QToolButton* m_pCloseButton;
};
