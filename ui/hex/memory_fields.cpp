#include "ui/hex/memory_fields.h"

#include "sys/util_format.h"
#include "sys/util_number.h"

namespace {

std::string Format(const char* sFormat, u64 value) {
  char ac[32];
  UTIL_snprintf(ac, sizeof(ac), sFormat, value);
  return ac;
}

// The end of a range, empty when it would pass the last address there is.
std::string FormatEnd(u64 start, u64 size) {
  if (start >= static_cast<u64>(-2) - size) {
    return {};
  }
  return Format("%.08llX", start + size - 1);
}

}  // namespace

u64 HEX_ParseField(const std::string& text) {
  const bool hasPrefix = text.size() > 1 && text[0] == '0' && (text[1] | 0x20) == 'x';
  size_t i = hasPrefix ? 2 : 0;
  u64 value = 0;
  bool isNumber = i < text.size();
  for (; i < text.size() && isNumber; ++i) {
    const int digit = UTIL_HexDigit(text[i]);
    isNumber = digit >= 0 && value >> 60 == 0;
    value = value << 4 | static_cast<u64>(digit);
  }
  return isNumber ? value : 0;
}

u64 MEMORY_FIELDS::GetStart() const {
  return HEX_ParseField(Start);
}

u64 MEMORY_FIELDS::GetSize() const {
  return HEX_ParseField(Size);
}

void MEMORY_FIELDS::SetStart(const std::string& text) {
  Start = text;
  End = GetSize() != 0 ? FormatEnd(GetStart(), GetSize()) : std::string();
}

void MEMORY_FIELDS::SetSize(const std::string& text) {
  Size = text;
  End = GetSize() != 0 ? FormatEnd(GetStart(), GetSize()) : Format("%.08llX", GetStart());
}

void MEMORY_FIELDS::SetEnd(const std::string& text) {
  End = text;
  const u64 start = GetStart();
  const u64 end = HEX_ParseField(End);
  Size = start <= end ? Format("%.08llX", end - start + 1) : std::string();
}

void MEMORY_FIELDS::SetRange(u64 start, u64 numBytes) {
  Start = Format("%.08llX", start);
  SetSize(Format("%llX", numBytes));
}
