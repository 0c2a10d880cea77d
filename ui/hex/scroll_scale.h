#pragma once

#include "sys/types.h"

// A logical range and value of 32 bits beside a slider, whose own span may be smaller. No window.
//
// The hex editor's values are addresses less HEX_SCROLL_BIAS, which gives all of its addresses a
// signed value of 32 bits.
constexpr i64 HEX_SCROLL_BIAS = 0x7FFFFFFF;

class ScrollScale {
 public:
  // What a scroll bar reports, numbered as the toolkit does.
  enum Action { StepAdd = 1, StepSub, PageAdd, PageSub, ToMinimum, ToMaximum, Move };

  // False when nothing changed. The value is clamped to the new range.
  bool SetRange(i32 Min, i32 Max);
  bool SetValue(i64 Value);
  // As the user left the slider.
  void SetFromSlider(i32 SliderValue);
  // The value after a step action; Move and anything else leave it.
  i64 GetStepped(int SliderAction, i32 SingleStep, i32 PageStep) const;

  i32 GetMin() const { return m_Min; }
  i32 GetMax() const { return m_Max; }
  i32 GetValue() const { return m_Value; }
  i32 GetSliderMin() const { return ToSlider(m_Min); }
  i32 GetSliderMax() const { return ToSlider(m_Max); }
  i32 GetSliderValue() const { return ToSlider(m_Value); }

 private:
  i32 ToSlider(i32 Value) const;

  i32 m_Min = -0x7FFFFFFF;
  i32 m_Max = 0x7FFFFFFF;
  i32 m_Value = -0x7FFFFFFF;
  i64 m_Offset = 0;
  double m_Scale = 1.0;
};

// Between addresses and values of the hex editor's scroll bar.
i32 HEX_AddrToScroll(u64 Addr);
u64 HEX_ScrollToAddr(i32 Value);
