#include "ui/window/sub_main_window.h"

SubMainWindow::SubMainWindow(QWidget* pParent) : QMainWindow(pParent) {
  setObjectName("SubMainWindow");
}

void SubMainWindow::closeEvent(QCloseEvent* pEvent) {
  pEvent->setAccepted(AllowClose);
}

bool SubMainWindow::event(QEvent* pEvent) {
  if (pEvent->type() == QEvent::ChildRemoved || pEvent->type() == QEvent::ChildAdded) {
    Q_EMIT SignalDocksChanged();
  }
  return QMainWindow::event(pEvent);
}
