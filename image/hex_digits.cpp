#include "image/hex_digits.h"

#include <cstring>

#if defined(__SSE2__)
#include <emmintrin.h>
#endif

namespace {

constexpr u8 INVALID = 0xFF;
constexpr u32 BLOCK = 16;

constexpr std::array<u8, 256> MakeValues() {
  std::array<u8, 256> values{};
  values.fill(INVALID);
  for (u8 i = 0; i < 10; ++i) {
    values['0' + i] = i;
  }
  for (u8 i = 0; i < 6; ++i) {
    values['A' + i] = static_cast<u8>(10 + i);
    values['a' + i] = static_cast<u8>(10 + i);
  }
  return values;
}

constexpr char DIGITS[] = "0123456789ABCDEF";

#if defined(__SSE2__)

__m128i Load(const u8* p) {
  return _mm_loadu_si128(reinterpret_cast<const __m128i*>(p));
}

void Store(u8* p, __m128i x) {
  _mm_storeu_si128(reinterpret_cast<__m128i*>(p), x);
}

// All ones in each byte that is at most Max, unsigned.
__m128i IsAtMost(__m128i x, char Max) {
  return _mm_cmpeq_epi8(_mm_min_epu8(x, _mm_set1_epi8(Max)), x);
}

u32 SumBytes(__m128i x) {
  const __m128i sums = _mm_sad_epu8(x, _mm_setzero_si128());
  return static_cast<u32>(_mm_cvtsi128_si32(sums) +
                          _mm_cvtsi128_si32(_mm_unpackhi_epi64(sums, sums)));
}

// Values of 16 characters, and in *pValid zeros for those that are no digits.
__m128i DigitValues(__m128i text, __m128i* pValid) {
  const __m128i digit = _mm_sub_epi8(text, _mm_set1_epi8('0'));
  const __m128i lower = _mm_or_si128(text, _mm_set1_epi8(0x20));
  const __m128i letter = _mm_sub_epi8(lower, _mm_set1_epi8('a'));
  const __m128i isDigit = IsAtMost(digit, 9);
  const __m128i isLetter = IsAtMost(letter, 5);
  *pValid = _mm_and_si128(*pValid, _mm_or_si128(isDigit, isLetter));
  const __m128i letterValue = _mm_add_epi8(letter, _mm_set1_epi8(10));
  return _mm_or_si128(_mm_and_si128(isDigit, digit), _mm_andnot_si128(isDigit, letterValue));
}

// The first digit of a pair is the low byte of its 16-bit lane.
__m128i JoinPairs(__m128i values) {
  const __m128i joined = _mm_or_si128(_mm_slli_epi16(values, 4), _mm_srli_epi16(values, 8));
  return _mm_and_si128(joined, _mm_set1_epi16(0xFF));
}

// 32 digits. False if any is none.
bool DecodeBlock(u8* pData, const u8* pText, u32* pSum) {
  __m128i valid = _mm_set1_epi8(-1);
  const __m128i first = JoinPairs(DigitValues(Load(pText), &valid));
  const __m128i second = JoinPairs(DigitValues(Load(pText + BLOCK), &valid));
  const __m128i data = _mm_packus_epi16(first, second);
  Store(pData, data);
  *pSum += SumBytes(data);
  return _mm_movemask_epi8(valid) == 0xFFFF;
}

__m128i ToDigits(__m128i values) {
  const __m128i isLetter = _mm_cmpgt_epi8(values, _mm_set1_epi8(9));
  const __m128i step = _mm_and_si128(isLetter, _mm_set1_epi8('A' - '0' - 10));
  return _mm_add_epi8(_mm_add_epi8(values, _mm_set1_epi8('0')), step);
}

u32 EncodeBlock(u8* pText, const u8* pData) {
  const __m128i mask = _mm_set1_epi8(0x0F);
  const __m128i data = Load(pData);
  const __m128i high = ToDigits(_mm_and_si128(_mm_srli_epi16(data, 4), mask));
  const __m128i low = ToDigits(_mm_and_si128(data, mask));
  Store(pText, _mm_unpacklo_epi8(high, low));
  Store(pText + BLOCK, _mm_unpackhi_epi8(high, low));
  return SumBytes(data);
}

#endif

}  // namespace

constexpr std::array<u8, 256> HEX_VALUES = MakeValues();

bool HEX_Decode(u8* pData, const u8* pText, u32 NumBytes, u32* pSum) {
#if defined(__SSE2__)
  for (; NumBytes >= BLOCK; NumBytes -= BLOCK, pData += BLOCK, pText += 2 * BLOCK) {
    if (!DecodeBlock(pData, pText, pSum)) {
      return false;
    }
  }
#endif
  u32 seen = 0;
  for (; NumBytes != 0; --NumBytes, pText += 2) {
    const u32 high = HEX_VALUES[pText[0]];
    const u32 low = HEX_VALUES[pText[1]];
    seen |= high | low;
    *pData = static_cast<u8>(high << 4 | low);
    *pSum += *pData++;
  }
  return seen <= 15;
}

u32 HEX_Encode(u8* pText, const u8* pData, u32 NumBytes) {
  u32 sum = 0;
#if defined(__SSE2__)
  for (; NumBytes >= BLOCK; NumBytes -= BLOCK, pData += BLOCK, pText += 2 * BLOCK) {
    sum += EncodeBlock(pText, pData);
  }
#endif
  for (; NumBytes != 0; --NumBytes, ++pData) {
    sum += *pData;
    *pText++ = static_cast<u8>(DIGITS[*pData >> 4]);
    *pText++ = static_cast<u8>(DIGITS[*pData & 15]);
  }
  return sum;
}
