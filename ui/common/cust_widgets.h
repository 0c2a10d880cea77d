#pragma once

#include <QtWidgets>

// Widgets of their own type, so that style sheets and screen readers tell them apart.

class CustProgBar : public QProgressBar {
  Q_OBJECT

 public:
  using QProgressBar::QProgressBar;
};

class CustLineEdit : public QLineEdit {
  Q_OBJECT

 public:
  using QLineEdit::QLineEdit;
};
