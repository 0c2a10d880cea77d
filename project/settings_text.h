#pragma once

#include <string>
#include <string_view>

#include "sys/types.h"

// The text of the settings file and the walk over it. Lines end in CR LF when written; LF alone is
// read as well. The key written last stands first in its section. No locks, no files.
class SettingsText {
 public:
  void Assign(std::string Text) { m_Text = std::move(Text); }
  const std::string& Text() const { return m_Text; }

  // What follows the key's name and blanks, NUL-terminated and valid until the next change, or null
  // when there is no such key. A section that isn't there is added, empty.
  const char* FindValue(std::string_view Section, std::string_view Key);
  // Replaces the key's line by Line, which is given without its end, and puts it at the top of the
  // section.
  void WriteLine(std::string_view Section, std::string_view Key, std::string_view Line);

 private:
  std::size_t FindSection(std::string_view Section) const;
  std::size_t FindOrAddSection(std::string_view Section);
  std::size_t FindKey(std::size_t Body, std::string_view Key) const;
  std::size_t SkipBlanks(std::size_t Pos) const;
  std::size_t NextLine(std::size_t Pos) const;
  bool StartsWithFolded(std::size_t Pos, std::string_view Name) const;

  std::string m_Text;
};
