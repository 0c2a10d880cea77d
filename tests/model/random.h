#pragma once

#include <cstddef>
#include <initializer_list>
#include <vector>

#include "sys/types.h"

namespace model {

// A sequence of numbers that is the same on every machine, unlike the distributions of the library.
class Random {
 public:
  explicit Random(u64 seed) : m_State(seed) {}

  u64 Next() {
    m_State += 0x9E3779B97F4A7C15;
    u64 x = m_State;
    x = (x ^ x >> 30) * 0xBF58476D1CE4E5B9;
    x = (x ^ x >> 27) * 0x94D049BB133111EB;
    return x ^ x >> 31;
  }
  // 0 to n - 1.
  u64 Below(u64 n) { return n == 0 ? 0 : Next() % n; }
  u64 Between(u64 first, u64 last) { return first + Below(last - first + 1); }
  bool Percent(u32 p) { return Below(100) < p; }
  u8 Byte() { return static_cast<u8>(Next()); }
  template <class T>
  const T& Pick(const std::vector<T>& all) {
    return all[Below(all.size())];
  }
  template <class T>
  T Pick(std::initializer_list<T> all) {
    return *(all.begin() + Below(all.size()));
  }
  // Index of a weight, each as likely as it is large.
  std::size_t Weighted(std::initializer_list<u32> weights) {
    u64 sum = 0;
    for (u32 weight : weights) {
      sum += weight;
    }
    u64 at = Below(sum);
    std::size_t index = 0;
    for (u32 weight : weights) {
      if (at < weight) {
        break;
      }
      at -= weight;
      ++index;
    }
    return index;
  }

 private:
  u64 m_State;
};

}  // namespace model
