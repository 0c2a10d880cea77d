#pragma once

#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "sys/types.h"

// The text of one hive, line by line. Internal to this layer; the format stands in sys/registry.h.
// Every line is kept as it came, those that make no sense included, so that a change touches
// nothing but its own line.

struct RegistryValue {
  u32 Type = 0;
  std::string Text;  // of a string
  u32 Number = 0;
};

class RegistryText {
 public:
  // Calls pfReport with number and text of each line that makes no sense.
  explicit RegistryText(std::string_view Content,
                        const std::function<void(u32, std::string_view)>& pfReport);

  std::optional<RegistryValue> Find(std::string_view Key, std::string_view Name) const;
  void Set(std::string_view Key, std::string_view Name, const RegistryValue& Value);
  // False when there was none.
  bool Delete(std::string_view Key, std::string_view Name);
  std::string Format() const;

 private:
  enum class LineKind : u8 { Header, Value, Other };

  struct Line {
    std::string Raw;  // without its line feed
    LineKind Kind = LineKind::Other;
    std::string Name;  // of the key or of the value
    RegistryValue Value;
  };

  static Line ParseLine(std::string_view Raw, bool* pIsSound);
  std::size_t FindLine(std::string_view Key, std::string_view Name) const;
  std::size_t FindKeyEnd(std::string_view Key) const;

  std::vector<Line> m_Lines;
};

// Whether Name can stand in a file as it is.
bool RegistryIsKeyName(std::string_view Name);
bool RegistryIsValueName(std::string_view Name);
