#include "project/settings_text.h"

#include "sys/util_string.h"

namespace {

constexpr std::size_t kNone = std::string::npos;

}  // namespace

std::size_t SettingsText::SkipBlanks(std::size_t Pos) const {
  const std::size_t pos = m_Text.find_first_not_of(" \t", Pos);
  return pos == kNone ? m_Text.size() : pos;
}

std::size_t SettingsText::NextLine(std::size_t Pos) const {
  const std::size_t end = m_Text.find('\n', Pos);
  return end == kNone ? m_Text.size() : end + 1;
}

bool SettingsText::StartsWithFolded(std::size_t Pos, std::string_view Name) const {
  return m_Text.size() - Pos >= Name.size() &&
         UTIL_strnicmp(m_Text.c_str() + Pos, Name.data(), static_cast<u32>(Name.size())) == 0;
}

// Offset of the line behind the header, or none.
std::size_t SettingsText::FindSection(std::string_view Section) const {
  for (std::size_t line = 0; line < m_Text.size(); line = NextLine(line)) {
    const std::size_t pos = SkipBlanks(line);
    if (pos < m_Text.size() && m_Text[pos] == '[' && StartsWithFolded(pos + 1, Section) &&
        m_Text[pos + 1 + Section.size()] == ']') {
      return NextLine(pos);
    }
  }
  return kNone;
}

std::size_t SettingsText::FindOrAddSection(std::string_view Section) {
  const std::size_t body = FindSection(Section);
  // A header that ends the file without a line end has no place for a key yet.
  const bool isUnended = !m_Text.empty() && m_Text.back() != '\n';
  if (body != kNone && !(isUnended && body == m_Text.size())) {
    return body;
  }
  if (isUnended) {
    m_Text += "\r\n";
  }
  if (body == kNone) {
    m_Text.append("[").append(Section).append("]\r\n");
  }
  return FindSection(Section);
}

// Offset of the key's line, or none. A blank or the equals sign has to follow, so that no longer
// key is taken for this one; a tab doesn't do.
std::size_t SettingsText::FindKey(std::size_t Body, std::string_view Key) const {
  for (std::size_t line = Body; line < m_Text.size(); line = NextLine(line)) {
    const std::size_t pos = SkipBlanks(line);
    if (pos < m_Text.size() && m_Text[pos] == '[') {
      return kNone;
    }
    if (StartsWithFolded(pos, Key)) {
      const char next = m_Text[pos + Key.size()];
      if (next == ' ' || next == '=') {
        return line;
      }
    }
  }
  return kNone;
}

const char* SettingsText::FindValue(std::string_view Section, std::string_view Key) {
  const std::size_t line = FindKey(FindOrAddSection(Section), Key);
  if (line == kNone) {
    return nullptr;
  }
  return m_Text.c_str() + SkipBlanks(SkipBlanks(line) + Key.size());
}

void SettingsText::WriteLine(std::string_view Section, std::string_view Key,
                             std::string_view Line) {
  const std::size_t body = FindOrAddSection(Section);
  const std::size_t old = FindKey(body, Key);
  if (old != kNone) {
    // Empty lines behind it go with it.
    std::size_t end = NextLine(old);
    const std::size_t filled = m_Text.find_first_not_of("\r\n", end);
    end = filled == kNone ? m_Text.size() : m_Text.rfind('\n', filled) + 1;
    m_Text.erase(old, end - old);
  }
  m_Text.insert(body, std::string(Line).append("\r\n"));
}
