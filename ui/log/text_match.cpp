#include "ui/log/text_match.h"

namespace {

constexpr char Fold(char c) {
  return c >= 'A' && c <= 'Z' ? static_cast<char>(c + 32) : c;
}

}  // namespace

TextMatcher::TextMatcher(std::string_view Text) : m_Text(Text), m_Fallback(Text.size() + 1, 0) {
  u32 len = 0;
  for (std::size_t i = 1; i < Text.size(); ++i) {
    while (len != 0 && Fold(Text[i]) != Fold(Text[len])) {
      len = m_Fallback[len];
    }
    len += Fold(Text[i]) == Fold(Text[len]) ? 1 : 0;
    m_Fallback[i + 1] = len;
  }
}

std::optional<u32> TextMatcher::Find(std::string_view Line, bool IsLast) const {
  std::optional<u32> hit;
  if (m_Text.empty() || Line.size() < m_Text.size()) {
    return hit;
  }
  u32 len = 0;
  for (std::size_t i = 0; i < Line.size(); ++i) {
    while (len != 0 && (len == m_Text.size() || Fold(Line[i]) != Fold(m_Text[len]))) {
      len = m_Fallback[len];
    }
    len += Fold(Line[i]) == Fold(m_Text[len]) ? 1 : 0;
    if (len == m_Text.size()) {
      hit = static_cast<u32>(i + 1 - len);
      if (!IsLast) {
        break;
      }
    }
  }
  return hit;
}
