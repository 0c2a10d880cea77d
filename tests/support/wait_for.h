#pragma once

#include <chrono>
#include <thread>

// True as soon as the condition holds, false when it never does: a test that waits for another
// thread fails then, and doesn't hang. round is called between two looks.
template <class CONDITION, class ROUND = void (*)()>
[[nodiscard]] bool WaitFor(
    CONDITION condition, ROUND round = [] { std::this_thread::yield(); }) {
  constexpr auto kPatience = std::chrono::minutes(2);
  const auto start = std::chrono::steady_clock::now();
  while (!condition()) {
    if (std::chrono::steady_clock::now() - start > kPatience) {
      return false;
    }
    round();
  }
  return true;
}
