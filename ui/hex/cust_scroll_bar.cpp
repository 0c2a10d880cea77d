#include "ui/hex/cust_scroll_bar.h"

// The own slot is connected first, so that everybody else finds the value changed.
CustScrollBar::CustScrollBar(QWidget* pParent) : QScrollBar(Qt::Vertical, pParent) {
  const QSignalBlocker blocker(this);
  m_IsInternalUpdate = true;
  setRange(m_Scale.GetSliderMin(), m_Scale.GetSliderMax());
  setValue(m_Scale.GetSliderValue());
  m_IsInternalUpdate = false;
  connect(this, &QAbstractSlider::actionTriggered, this, &CustScrollBar::_SlotOnActionTriggered);
}

// The toolkit would tell the slider's numbers: its signals are held back, and the logical values
// are told instead.
void CustScrollBar::SetRange(int Min, int Max) {
  const int oldValue = m_Scale.GetValue();
  if (!m_Scale.SetRange(Min, Max)) {
    return;
  }
  {
    const QSignalBlocker blocker(this);
    m_IsInternalUpdate = true;
    setRange(m_Scale.GetSliderMin(), m_Scale.GetSliderMax());
    setValue(m_Scale.GetSliderValue());
    m_IsInternalUpdate = false;
  }
  Q_EMIT rangeChanged(m_Scale.GetMin(), m_Scale.GetMax());
  if (m_Scale.GetValue() != oldValue) {
    Q_EMIT valueChanged(m_Scale.GetValue());
  }
}

void CustScrollBar::SetValue(i64 Value) {
  const bool isNew = m_Scale.SetValue(Value);
  {
    // The slider may stand elsewhere though the value is the same: it is dragged between rows.
    const QSignalBlocker blocker(this);
    m_IsInternalUpdate = true;
    setValue(m_Scale.GetSliderValue());
    m_IsInternalUpdate = false;
  }
  if (isNew) {
    Q_EMIT valueChanged(m_Scale.GetValue());
  }
}

// The slider was moved by other means than SetValue.
// Programs that set the slider directly are heard too, but not the class itself.
void CustScrollBar::sliderChange(SliderChange Change) {
  if (Change == SliderValueChange && !m_IsInternalUpdate && value() != m_Scale.GetSliderValue()) {
    m_Scale.SetFromSlider(value());
    Q_EMIT actionTriggered(SliderMove);
  }
  QScrollBar::sliderChange(Change);
}

// The toolkit tells an action before it takes the position into the value.
void CustScrollBar::_SlotOnActionTriggered(int Action) {
  if (Action == SliderMove) {
    m_Scale.SetFromSlider(sliderPosition());
  } else {
    SetValue(m_Scale.GetStepped(Action, singleStep(), pageStep()));
  }
}
