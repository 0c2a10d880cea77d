#pragma once

#include <QtWidgets>
#include <atomic>

#include "app/engine/progress.h"

// Runs beside a job and can be cancelled. Owns its record from now on and frees it. Cancel hides
// the dialog at once; it lives until the job closes it. GUI thread only, except for the refresh
// that the record asks for.
class ProgressDialog : public QDialog {
  Q_OBJECT

 public:
  ProgressDialog(QWidget* pParent, PROGRESS_INFO* pInfo);
  ~ProgressDialog() override;

 Q_SIGNALS:
  void _SignalUpdateGUI();

 private Q_SLOTS:
  void _SlotOnUpdateGUI();
  void _SlotOnRejected();

 private:
  // What is shown: a copy, so that painting takes no lock.
  struct SNAPSHOT {
    char sSubText[256];
    char sText[256];
    u32 Value, Min, Max;
    u32 Flags;
  };
  void ShowBar();
  static void OnRefresh(PROGRESS_INFO* pInfo, void* pContext);

  PROGRESS_INFO* m_pInfo;
  SNAPSHOT m_Shown = {};
  QElapsedTimer m_SinceStart;           // of the present range
  std::atomic<bool> m_IsAsked = false;  // a refresh is on its way: one signal serves many changes
  QLabel* m_pText;
  QLabel* m_pSubText;
  QProgressBar* m_pBar;
  QSize m_Largest;
};
