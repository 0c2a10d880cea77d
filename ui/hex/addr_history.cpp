#include "ui/hex/addr_history.h"

#include <algorithm>
#include <charconv>

#include "sys/util_format.h"

namespace {

constexpr size_t MAX_ENTRIES = 10;

bool HasPrefix(std::string_view text) {
  return text.size() >= 2 && text[0] == '0' && (text[1] == 'x' || text[1] == 'X');
}

// Letters of a number go to upper case, but for the x of its prefix.
std::string Tidy(std::string_view text) {
  std::string tidy(text);
  u64 addr = 0;
  if (HEX_ParseAddr(text, &addr)) {
    std::transform(tidy.begin(), tidy.end(), tidy.begin(),
                   [](char c) { return c >= 'a' && c <= 'f' ? static_cast<char>(c - 32) : c; });
    if (HasPrefix(tidy)) {
      tidy[1] = 'x';
    }
  }
  return tidy;
}

}  // namespace

// Nothing is skipped and nothing may be left over: a slip must not lead somewhere.
bool HEX_ParseAddr(std::string_view Text, u64* pAddr) {
  const std::string_view digits = HasPrefix(Text) ? Text.substr(2) : Text;
  const char* end = digits.data() + digits.size();
  const auto result = std::from_chars(digits.data(), end, *pAddr, 16);
  // A sign is no part of an address.
  return result.ec == std::errc() && result.ptr == end && digits[0] != '-';
}

// Texts that are no address are kept too: the box shows what was typed.
void AddrHistory::Enter(std::string_view Text) {
  if (Text.empty()) {
    return;
  }
  std::string tidy = Tidy(Text);
  const auto found = std::find(m_aEntries.begin(), m_aEntries.end(), tidy);
  if (found != m_aEntries.end()) {
    m_aEntries.erase(found);
  } else if (m_aEntries.size() >= MAX_ENTRIES) {
    m_aEntries.pop_back();
  }
  m_aEntries.insert(m_aEntries.begin(), std::move(tidy));
}

// Names come in the system's code page and stay in it.
std::string HEX_MakeTitle(std::string_view Name, u64 Addr, std::string_view Interval,
                          std::string_view Zone, bool IsModified) {
  char acAddr[24];
  UTIL_snprintf64(acAddr, sizeof(acAddr), "%.08llX", static_cast<unsigned long long>(Addr));
  std::string title(Name.empty() ? "Memory" : Name);
  title.append(" @ ").append(acAddr);
  if (!Interval.empty()) {
    title.append(", ").append(Interval).append(" refresh");
  }
  if (!Zone.empty()) {
    title.append(", Zone: ").append(Zone);
  }
  if (IsModified) {
    title.append(" (*)");
  }
  return title;
}
