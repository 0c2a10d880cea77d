#include "ui/hex/scroll_scale.h"

#include <algorithm>
#include <limits>
#include <utility>

namespace {

constexpr i64 VALUE_MIN = std::numeric_limits<i32>::min();
constexpr i64 VALUE_MAX = std::numeric_limits<i32>::max();

// The widest span, as unsigned, that a slider runs on directly.
constexpr i64 MAX_DIRECT_SPAN = 0xFFFFFFFE;

}  // namespace

// A range of its own for the scaled case: it fits any span, whatever the offset is.
i32 ScrollScale::ToSlider(i32 Value) const {
  if (m_Scale == 1.0) {
    return Value;
  }
  const double place = static_cast<double>(i64{Value} - m_Offset) / m_Scale;
  // The slider's own range is signed; a scaled one starts at its lowest value.
  return static_cast<i32>(std::clamp(static_cast<i64>(place) + VALUE_MIN, VALUE_MIN, VALUE_MAX));
}

// An image shorter than the screen has an end before its start: then there is one position.
bool ScrollScale::SetRange(i32 Min, i32 Max) {
  const i32 max = std::max(Min, Max);
  if (Min == m_Min && max == m_Max) {
    return false;
  }
  m_Min = Min;
  m_Max = max;
  const i64 span = i64{m_Max} - m_Min;
  const bool isDirect = span <= MAX_DIRECT_SPAN;
  m_Offset = isDirect ? 0 : m_Min;
  m_Scale = isDirect ? 1.0 : static_cast<double>(span) / static_cast<double>(MAX_DIRECT_SPAN);
  m_Value = std::clamp(m_Value, m_Min, m_Max);
  return true;
}

// Steps are added in 64 bits before this, so that clamping is all that is left to do.
bool ScrollScale::SetValue(i64 Value) {
  const i32 value = static_cast<i32>(std::clamp<i64>(Value, m_Min, m_Max));
  return std::exchange(m_Value, value) != value;
}

// Rounding may lead past the range by one; clamping takes care of that.
void ScrollScale::SetFromSlider(i32 SliderValue) {
  i64 value = SliderValue;
  if (m_Scale != 1.0) {
    value = static_cast<i64>(static_cast<double>(value - VALUE_MIN) * m_Scale) + m_Offset;
  }
  SetValue(value);
}

i64 ScrollScale::GetStepped(int SliderAction, i32 SingleStep, i32 PageStep) const {
  switch (SliderAction) {
    case StepAdd:
      return i64{m_Value} + SingleStep;
    case StepSub:
      return i64{m_Value} - SingleStep;
    case PageAdd:
      return i64{m_Value} + PageStep;
    case PageSub:
      return i64{m_Value} - PageStep;
    case ToMinimum:
      return m_Min;
    case ToMaximum:
      return m_Max;
    default:
      return m_Value;
  }
}

// The end of a zone that reaches to the last address is one more than a value can tell.
i32 HEX_AddrToScroll(u64 Addr) {
  const i64 value = static_cast<i64>(std::min(Addr, u64{1} << 32)) - HEX_SCROLL_BIAS;
  return static_cast<i32>(std::clamp(value, VALUE_MIN, VALUE_MAX));
}

u64 HEX_ScrollToAddr(i32 Value) {
  return static_cast<u64>(std::max<i64>(i64{Value} + HEX_SCROLL_BIAS, 0));
}
