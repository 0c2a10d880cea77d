#pragma once

#include <optional>
#include <string_view>
#include <vector>

#include "sys/types.h"

// Finds a text in lines without regard to ASCII case, in time linear in the line whatever both
// hold. The text is not kept: it has to live as long.
class TextMatcher {
 public:
  explicit TextMatcher(std::string_view Text);

  // Column of the first or last occurrence in Line; an occurrence may overlap another.
  std::optional<u32> FindFirst(std::string_view Line) const { return Find(Line, false); }
  std::optional<u32> FindLast(std::string_view Line) const { return Find(Line, true); }

 private:
  std::optional<u32> Find(std::string_view Line, bool IsLast) const;

  std::string_view m_Text;
  // For each length of a matched beginning: how long a beginning its end is.
  std::vector<u32> m_Fallback;
};
