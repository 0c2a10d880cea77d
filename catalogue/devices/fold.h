#pragma once

// Equality without regard to ASCII case, of two texts that aren't null. Stands here since the
// tables link nothing.
inline bool DEVICES_EqualFolded(const char* a, const char* b) {
  const auto fold = [](char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c + 32) : c; };
  while (*a != '\0' && fold(*a) == fold(*b)) {
    ++a;
    ++b;
  }
  return fold(*a) == fold(*b);
}
