#pragma once

#include <QtWidgets>

#include "app/engine/frontend.h"

// The message box that every message of the program goes through. Stays on top, modal; shown by
// its constructor, deletes itself on close. The record is the caller's and must live until then:
// Result, CheckResult and Rejected are written at closing.
class DIALOG_CustMsgBox : public QDialog {
  Q_OBJECT

 public:
  DIALOG_CustMsgBox(QWidget* pParent, MSGBOX_INFO* pInfo);

 public Q_SLOTS:
  void reject() override;

 protected:
  void closeEvent(QCloseEvent* pEvent) override;
  bool event(QEvent* pEvent) override;

 private Q_SLOTS:
  void _SlotOnBtn0();
  void _SlotOnBtn1();
  void _SlotOnTimer();
  void _SlotOnCopy();

 private:
  void AddIcon(QGridLayout* pGrid);
  void AddText(QGridLayout* pGrid);
  QWidget* FitText();
  void AddButtons(QGridLayout* pGrid);
  void CloseWith(u32 Result);
  void FitTitle();

  MSGBOX_INFO* m_pInfo;
  QString m_sTitle;
  QLabel* m_pText = nullptr;
  QCheckBox* m_pCheckBox = nullptr;
  QTimer* m_pTimer = nullptr;
  QList<QPushButton*> m_Buttons;
  bool m_IsAnswered = false;  // a button or the timer closes, not the frame
};
