#include "sys/registry_text.h"

#include <algorithm>
#include <charconv>
#include <utility>

#include "sys/registry.h"
#include "sys/util_string.h"

namespace {

struct EscapePair {
  char Plain, Letter;
};
constexpr EscapePair kEscapes[] = {{'\\', '\\'}, {'\r', 'r'}, {'\n', 'n'}, {'\0', '0'}};

std::string Escape(std::string_view Text) {
  std::string result;
  result.reserve(Text.size());
  for (const char c : Text) {
    const auto* const pPair = std::find_if(std::begin(kEscapes), std::end(kEscapes),
                                           [c](const EscapePair& Pair) { return Pair.Plain == c; });
    if (pPair != std::end(kEscapes)) {
      result += {'\\', pPair->Letter};
    } else {
      result += c;
    }
  }
  return result;
}

// Nothing for an unknown or unfinished escape.
std::optional<std::string> Unescape(std::string_view Text) {
  std::string result;
  result.reserve(Text.size());
  for (std::size_t i = 0; i < Text.size(); ++i) {
    if (Text[i] != '\\') {
      result += Text[i];
      continue;
    }
    const char letter = ++i < Text.size() ? Text[i] : '\x01';
    const auto* const pPair =
        std::find_if(std::begin(kEscapes), std::end(kEscapes),
                     [letter](const EscapePair& Pair) { return Pair.Letter == letter; });
    if (pPair == std::end(kEscapes)) {
      return std::nullopt;
    }
    result += pPair->Plain;
  }
  return result;
}

std::optional<RegistryValue> ParseValue(std::string_view Text) {
  RegistryValue value;
  if (Text.starts_with("s:")) {
    auto text = Unescape(Text.substr(2));
    if (!text) {
      return std::nullopt;
    }
    value.Type = SYS_REG_TYPE_STRING;
    value.Text = std::move(*text);
    return value;
  }
  if (!Text.starts_with("d:")) {
    return std::nullopt;
  }
  Text.remove_prefix(2);
  const auto [pEnd, error] =
      std::from_chars(Text.data(), Text.data() + Text.size(), value.Number, 10);
  if (error != std::errc{} || pEnd != Text.data() + Text.size()) {
    return std::nullopt;
  }
  value.Type = SYS_REG_TYPE_U32;
  return value;
}

std::string FormatValue(std::string_view Name, const RegistryValue& Value) {
  const std::string head = std::string(Name) + "=";
  return Value.Type == SYS_REG_TYPE_U32 ? head + "d:" + std::to_string(Value.Number)
                                        : head + "s:" + Escape(Value.Text);
}

char Fold(char c) {
  return c >= 'A' && c <= 'Z' ? static_cast<char>(c | 0x20) : c;
}

bool IsSameName(std::string_view a, std::string_view b) {
  return std::equal(a.begin(), a.end(), b.begin(), b.end(),
                    [](char x, char y) { return Fold(x) == Fold(y); });
}

bool HasControls(std::string_view Name) {
  return std::any_of(Name.begin(), Name.end(), [](char c) { return c >= 0 && c < 0x20; });
}

}  // namespace

bool RegistryIsKeyName(std::string_view Name) {
  return !Name.empty() && !HasControls(Name) && Name.find(']') == std::string_view::npos;
}

bool RegistryIsValueName(std::string_view Name) {
  return !Name.empty() && !HasControls(Name) && Name.find('=') == std::string_view::npos &&
         Name.front() != '[' && Name.front() != ';';
}

RegistryText::RegistryText(std::string_view Content,
                           const std::function<void(u32, std::string_view)>& pfReport) {
  while (!Content.empty()) {
    const std::size_t end = std::min(Content.find('\n'), Content.size());
    const std::string_view raw = Content.substr(0, end);
    Content.remove_prefix(std::min(end + 1, Content.size()));
    const std::string_view line = raw.substr(0, raw.size() - (raw.ends_with('\r') ? 1 : 0));
    bool isSound = true;
    m_Lines.push_back(ParseLine(line, &isSound));
    m_Lines.back().Raw = raw;
    if (!isSound) {
      pfReport(static_cast<u32>(m_Lines.size()), line);
    }
  }
}

RegistryText::Line RegistryText::ParseLine(std::string_view Raw, bool* pIsSound) {
  Line line;
  line.Raw = Raw;
  if (Raw.empty() || Raw.front() == ';') {
    return line;
  }
  if (Raw.size() > 2 && Raw.front() == '[' && Raw.back() == ']') {
    line.Kind = LineKind::Header;
    line.Name = Raw.substr(1, Raw.size() - 2);
    return line;
  }
  const std::size_t equal = Raw.find('=');
  auto value = equal == std::string_view::npos || equal == 0 ? std::nullopt
                                                             : ParseValue(Raw.substr(equal + 1));
  if (!value) {
    *pIsSound = false;
    return line;
  }
  line.Kind = LineKind::Value;
  line.Name = Raw.substr(0, equal);
  line.Value = std::move(*value);
  return line;
}

// The number of lines when there is none. A key may stand in the file twice, after a merge by hand;
// the first value wins.
std::size_t RegistryText::FindLine(std::string_view Key, std::string_view Name) const {
  bool isInKey = false;
  for (std::size_t i = 0; i < m_Lines.size(); ++i) {
    const Line& line = m_Lines[i];
    if (line.Kind == LineKind::Header) {
      isInKey = IsSameName(line.Name, Key);
    } else if (isInKey && line.Kind == LineKind::Value && IsSameName(line.Name, Name)) {
      return i;
    }
  }
  return m_Lines.size();
}

// Where a new value goes: behind the last value of the key's first section; 0 when the key is
// missing.
std::size_t RegistryText::FindKeyEnd(std::string_view Key) const {
  const auto it = std::find_if(m_Lines.begin(), m_Lines.end(), [Key](const Line& line) {
    return line.Kind == LineKind::Header && IsSameName(line.Name, Key);
  });
  if (it == m_Lines.end()) {
    return 0;
  }
  std::size_t end = static_cast<std::size_t>(it - m_Lines.begin()) + 1;
  for (std::size_t i = end; i < m_Lines.size() && m_Lines[i].Kind != LineKind::Header; ++i) {
    if (m_Lines[i].Kind == LineKind::Value) {
      end = i + 1;
    }
  }
  return end;
}

std::optional<RegistryValue> RegistryText::Find(std::string_view Key, std::string_view Name) const {
  const std::size_t i = FindLine(Key, Name);
  return i < m_Lines.size() ? std::optional(m_Lines[i].Value) : std::nullopt;
}

void RegistryText::Set(std::string_view Key, std::string_view Name, const RegistryValue& Value) {
  const Line line{FormatValue(Name, Value), LineKind::Value, std::string(Name), Value};
  if (const std::size_t i = FindLine(Key, Name); i < m_Lines.size()) {
    m_Lines[i] = line;
    return;
  }
  std::size_t end = FindKeyEnd(Key);
  if (end == 0) {
    m_Lines.push_back(
        {"[" + std::string(Key) + "]", LineKind::Header, std::string(Key), RegistryValue{}});
    end = m_Lines.size();
  }
  m_Lines.insert(m_Lines.begin() + static_cast<std::ptrdiff_t>(end), line);
}

bool RegistryText::Delete(std::string_view Key, std::string_view Name) {
  bool isFound = false;
  for (std::size_t i = FindLine(Key, Name); i < m_Lines.size(); i = FindLine(Key, Name)) {
    m_Lines.erase(m_Lines.begin() + static_cast<std::ptrdiff_t>(i));
    isFound = true;
  }
  return isFound;
}

std::string RegistryText::Format() const {
  std::string text;
  for (const Line& line : m_Lines) {
    text += line.Raw;
    text += '\n';
  }
  return text;
}
