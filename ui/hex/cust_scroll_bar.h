#pragma once

#include <QtWidgets>

#include "ui/hex/scroll_scale.h"

// A scroll bar with a logical range and value of 32 bits, which may be wider than a slider's. Value
// and range are those of ScrollScale; the toolkit's own are the slider's. Its signals rangeChanged
// and valueChanged tell the logical ones, actionTriggered what the user did, with the value already
// changed.
class CustScrollBar : public QScrollBar {
  Q_OBJECT

 public:
  explicit CustScrollBar(QWidget* pParent);

  void SetRange(int Min, int Max);
  void SetValue(i64 Value);
  int GetValue() const { return m_Scale.GetValue(); }

 protected:
  void sliderChange(SliderChange Change) override;

 private Q_SLOTS:
  void _SlotOnActionTriggered(int Action);

 private:
  ScrollScale m_Scale;
  bool m_IsInternalUpdate = false;
};
