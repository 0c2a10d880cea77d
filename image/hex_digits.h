#pragma once

#include <array>

#include "sys/types.h"

// Conversion between bytes and pairs of hexadecimal digits by table.

namespace hex_digits {

// Value of a digit of either case, or HEX_INVALID, which no combination of values gives.
constexpr u8 HEX_INVALID = 0xFF;

constexpr std::array<u8, 256> MakeValues() {
  std::array<u8, 256> values{};
  values.fill(HEX_INVALID);
  for (u8 i = 0; i < 10; ++i) {
    values['0' + i] = i;
  }
  for (u8 i = 0; i < 6; ++i) {
    values['A' + i] = static_cast<u8>(10 + i);
    values['a' + i] = static_cast<u8>(10 + i);
  }
  return values;
}

using PAIR = std::array<u8, 2>;

constexpr std::array<PAIR, 256> MakePairs() {
  constexpr char digits[] = "0123456789ABCDEF";
  std::array<PAIR, 256> pairs{};
  for (u32 i = 0; i < 256; ++i) {
    pairs[i] = {static_cast<u8>(digits[i >> 4]), static_cast<u8>(digits[i & 15])};
  }
  return pairs;
}

inline constexpr std::array<u8, 256> VALUES = MakeValues();
inline constexpr std::array<PAIR, 256> PAIRS = MakePairs();

}  // namespace hex_digits
