#pragma once

#include <QtWidgets>

// Hosts the data windows as its docks. Lives as the one frameless, maximized sub-window of the
// DataWindowArea, which alone may close it.
class SubMainWindow : public QMainWindow {
  Q_OBJECT

 public:
  explicit SubMainWindow(QWidget* pParent);
  bool AllowClose = false;

 Q_SIGNALS:
  // A dock was added, removed, floated or docked: the hint may have to show or go.
  void SignalDocksChanged();

 protected:
  void closeEvent(QCloseEvent* pEvent) override;
  bool event(QEvent* pEvent) override;
};
