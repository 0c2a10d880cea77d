#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "sys/types.h"

// Text helpers of the driver library. It is loaded by programs that it knows nothing of, so it
// brings its own instead of leaning on theirs.

namespace vortic {

// As printf; never fails but for lack of memory.
[[gnu::format(printf, 1, 2)]] std::string Format(const char* sFormat, ...);

// Without blanks, tabs and carriage returns at both ends.
std::string_view Trim(std::string_view text);

// ASCII only, whatever the locale of the host program is.
bool EqualNoCase(std::string_view a, std::string_view b);

// The parts between the separators, trimmed. An empty text has no parts.
std::vector<std::string_view> Split(std::string_view text, char separator);

// Decimal, or hexadecimal behind 0x. The whole text has to be the number.
std::optional<u64> ParseNumber(std::string_view text, u64 max);

// Bytes in hexadecimal without prefix, separated by blanks: "EF 40 18".
std::optional<std::vector<u8>> ParseHexBytes(std::string_view text);

// What a person sees of a text that came from outside: bounded, control characters replaced.
std::string Printable(std::string_view text);

}  // namespace vortic
