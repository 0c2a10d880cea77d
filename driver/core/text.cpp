#include "driver/core/text.h"

#include <charconv>
#include <cstdarg>
#include <cstdio>

namespace vortic {

namespace {

// A message quotes so much of a line, whoever wrote it.
constexpr std::size_t kMaxShown = 80;

char LowerAscii(char c) {
  return c >= 'A' && c <= 'Z' ? static_cast<char>(c + ('a' - 'A')) : c;
}

bool IsBlank(char c) {
  return c == ' ' || c == '\t' || c == '\r';
}

}  // namespace

std::string Format(const char* sFormat, ...) {
  va_list args;
  va_start(args, sFormat);
  va_list again;
  va_copy(again, args);
  const int numChars = std::vsnprintf(nullptr, 0, sFormat, args);
  va_end(args);
  std::string text;
  if (numChars > 0) {
    text.resize(static_cast<std::size_t>(numChars));
    std::vsnprintf(text.data(), text.size() + 1, sFormat, again);
  }
  va_end(again);
  return text;
}

std::string_view Trim(std::string_view text) {
  while (!text.empty() && IsBlank(text.front())) {
    text.remove_prefix(1);
  }
  while (!text.empty() && IsBlank(text.back())) {
    text.remove_suffix(1);
  }
  return text;
}

bool EqualNoCase(std::string_view a, std::string_view b) {
  if (a.size() != b.size()) {
    return false;
  }
  for (std::size_t i = 0; i < a.size(); ++i) {
    if (LowerAscii(a[i]) != LowerAscii(b[i])) {
      return false;
    }
  }
  return true;
}

std::vector<std::string_view> Split(std::string_view text, char separator) {
  std::vector<std::string_view> parts;
  if (Trim(text).empty()) {
    return parts;
  }
  for (std::size_t start = 0;;) {
    const std::size_t end = text.find(separator, start);
    parts.push_back(Trim(text.substr(start, end - start)));
    if (end == std::string_view::npos) {
      return parts;
    }
    start = end + 1;
  }
}

std::optional<u64> ParseNumber(std::string_view text, u64 max) {
  int base = 10;
  if (text.size() > 2 && text[0] == '0' && (text[1] == 'x' || text[1] == 'X')) {
    text.remove_prefix(2);
    base = 16;
  }
  u64 value = 0;
  const char* pEnd = text.data() + text.size();
  const auto [pStop, error] = std::from_chars(text.data(), pEnd, value, base);
  if (error != std::errc() || pStop != pEnd || text.empty() || value > max) {
    return std::nullopt;
  }
  return value;
}

std::optional<std::vector<u8>> ParseHexBytes(std::string_view text) {
  std::vector<u8> bytes;
  for (std::string_view part : Split(text, ' ')) {
    if (part.empty()) {
      continue;  // more than one blank between two bytes
    }
    u8 value = 0;
    const char* pEnd = part.data() + part.size();
    const auto [pStop, error] = std::from_chars(part.data(), pEnd, value, 16);
    if (error != std::errc() || pStop != pEnd) {
      return std::nullopt;
    }
    bytes.push_back(value);
  }
  return bytes;
}

std::string Printable(std::string_view text) {
  const bool isCut = text.size() > kMaxShown;
  if (isCut) {
    std::size_t end = kMaxShown;
    while (end > 0 && (static_cast<u8>(text[end]) & 0xC0) == 0x80) {
      --end;  // never in the middle of a character
    }
    text = text.substr(0, end);
  }
  std::string shown(text);
  for (char& c : shown) {
    if (static_cast<u8>(c) < 0x20 || c == 0x7F) {
      c = '?';
    }
  }
  return isCut ? shown + "..." : shown;
}

}  // namespace vortic
