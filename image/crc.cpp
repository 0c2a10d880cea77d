#include "image/crc.h"

#include <array>
#include <cstring>

#if defined(__x86_64__)
#include <immintrin.h>
#endif

// Both checksums by the portable way, 16 bytes a step with 16 tables, and by the processor's own
// instructions where it has them: folding with carry-less multiplication for CRC-32, the checksum
// instruction for CRC-32C. Tables are constant, so any number of threads may calculate at once.

namespace {

constexpr u32 POLY_CRC32 = 0xEDB88320;
constexpr u32 POLY_CRC32C = 0x82F63B78;
constexpr u32 NUM_SLICES = 16;

using CRC_TABLES = std::array<std::array<u32, 256>, NUM_SLICES>;

// Table k holds the checksum of a byte that k zero bytes follow.
constexpr CRC_TABLES MakeTables(u32 Poly) {
  CRC_TABLES tables{};
  for (u32 i = 0; i < 256; ++i) {
    u32 crc = i;
    for (int bit = 0; bit < 8; ++bit) {
      crc = (crc >> 1) ^ ((crc & 1) != 0 ? Poly : 0);
    }
    tables[0][i] = crc;
  }
  for (u32 k = 1; k < NUM_SLICES; ++k) {
    for (u32 i = 0; i < 256; ++i) {
      const u32 crc = tables[k - 1][i];
      tables[k][i] = (crc >> 8) ^ tables[0][crc & 0xFF];
    }
  }
  return tables;
}

constexpr CRC_TABLES TABLES_CRC32 = MakeTables(POLY_CRC32);
constexpr CRC_TABLES TABLES_CRC32C = MakeTables(POLY_CRC32C);

u32 CalcByTables(const CRC_TABLES& tables, const u8* p, u64 NumBytes, u32 Crc) {
  while (NumBytes >= NUM_SLICES) {
    std::array<u8, NUM_SLICES> block;
    std::memcpy(block.data(), p, NUM_SLICES);
    u32 crc = 0;
    for (u32 i = 0; i < NUM_SLICES; ++i) {
      const u8 carry = i < 4 ? static_cast<u8>(Crc >> (8 * i)) : u8{0};
      crc ^= tables[NUM_SLICES - 1 - i][block[i] ^ carry];
    }
    Crc = crc;
    p += NUM_SLICES;
    NumBytes -= NUM_SLICES;
  }
  for (; NumBytes != 0; --NumBytes) {
    Crc = (Crc >> 8) ^ tables[0][(Crc ^ *p++) & 0xFF];
  }
  return Crc;
}

#if defined(__x86_64__)

// Below this the set-up of the folding costs more than it saves.
constexpr u64 MIN_FOLD = 128;

__attribute__((target("pclmul,sse2"))) inline __m128i Load(const u8* p) {
  return _mm_loadu_si128(reinterpret_cast<const __m128i*>(p));
}

__attribute__((target("pclmul,sse2"))) inline __m128i Fold(__m128i x, __m128i next,
                                                           __m128i factors) {
  const __m128i low = _mm_clmulepi64_si128(x, factors, 0x00);
  const __m128i high = _mm_clmulepi64_si128(x, factors, 0x11);
  return _mm_xor_si128(_mm_xor_si128(low, high), next);
}

// Four lanes of 16 bytes run side by side, each moved on by 64 bytes a step; the factors are powers
// of x modulo the polynomial, bits reflected. What is left of the lanes, 16 bytes with the same
// checksum as everything before, goes through the tables.
__attribute__((target("pclmul,sse2"))) u32 CalcByFolding(const u8* p, u64 NumBytes, u32 Crc) {
  const __m128i by64 = _mm_set_epi64x(0x00000001C6E41596, 0x0000000154442BD4);
  const __m128i by16 = _mm_set_epi64x(0x00000000CCAA009E, 0x00000001751997D0);
  __m128i a = _mm_xor_si128(Load(p), _mm_cvtsi32_si128(static_cast<int>(Crc)));
  __m128i b = Load(p + 16);
  __m128i c = Load(p + 32);
  __m128i d = Load(p + 48);
  for (p += 64, NumBytes -= 64; NumBytes >= 64; p += 64, NumBytes -= 64) {
    a = Fold(a, Load(p), by64);
    b = Fold(b, Load(p + 16), by64);
    c = Fold(c, Load(p + 32), by64);
    d = Fold(d, Load(p + 48), by64);
  }
  a = Fold(Fold(Fold(a, b, by16), c, by16), d, by16);
  std::array<u8, 16> rest;
  std::memcpy(rest.data(), &a, rest.size());
  const u32 crc = CalcByTables(TABLES_CRC32, rest.data(), rest.size(), 0);
  return CalcByTables(TABLES_CRC32, p, NumBytes, crc);
}

__attribute__((target("sse4.2"))) u32 CalcByInstruction(const u8* p, u64 NumBytes, u32 Crc) {
  u64 crc = Crc;
  for (; NumBytes >= sizeof(u64); NumBytes -= sizeof(u64), p += sizeof(u64)) {
    u64 word;
    std::memcpy(&word, p, sizeof(word));
    crc = _mm_crc32_u64(crc, word);
  }
  u32 rest = static_cast<u32>(crc);
  for (; NumBytes != 0; --NumBytes) {
    rest = _mm_crc32_u8(rest, *p++);
  }
  return rest;
}

#endif

}  // namespace

u32 CRC_Calc32(const void* pData, u64 NumBytes, u32 Crc) {
  const u8* p = static_cast<const u8*>(pData);
#if defined(__x86_64__)
  if (NumBytes >= MIN_FOLD && __builtin_cpu_supports("pclmul")) {
    return CalcByFolding(p, NumBytes, Crc);
  }
#endif
  return CalcByTables(TABLES_CRC32, p, NumBytes, Crc);
}

u32 CRC_Calc32C(const void* pData, u64 NumBytes, u32 Crc) {
  const u8* p = static_cast<const u8*>(pData);
#if defined(__x86_64__)
  if (__builtin_cpu_supports("sse4.2")) {
    return CalcByInstruction(p, NumBytes, Crc);
  }
#endif
  return CalcByTables(TABLES_CRC32C, p, NumBytes, Crc);
}
