#include "ui/hex/memory_fields.h"

#include "sys/util_number.h"

namespace {

// Upper-case, with at least so many digits.
std::string Format(u64 value, u32 minDigits) {
  char ac[17];
  u32 pos = sizeof(ac);
  do {
    ac[--pos] = UTIL_HexChar(static_cast<u32>(value & 15), 0);
    value >>= 4;
  } while (value != 0 || sizeof(ac) - pos < minDigits);
  return {ac + pos, sizeof(ac) - pos};
}

constexpr u32 kAddrDigits = 8;

// The end of a range, empty when it would pass the last address there is.
std::string FormatEnd(u64 start, u64 size) {
  if (start >= static_cast<u64>(-2) - size) {
    return {};
  }
  return Format(start + size - 1, kAddrDigits);
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
  End = GetSize() != 0 ? FormatEnd(GetStart(), GetSize()) : Format(GetStart(), kAddrDigits);
}

void MEMORY_FIELDS::SetEnd(const std::string& text) {
  End = text;
  const u64 start = GetStart();
  const u64 end = HEX_ParseField(End);
  Size = start <= end ? Format(end - start + 1, kAddrDigits) : std::string();
}

void MEMORY_FIELDS::SetRange(u64 start, u64 numBytes) {
  Start = Format(start, kAddrDigits);
  SetSize(Format(numBytes, 1));
}
