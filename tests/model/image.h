#pragma once

#include <map>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include "sys/types.h"

// The model's own sparse bytes, and its own readers and writers of data files. Written from the
// formats, not from the product: what both get wrong in the same way would not be seen.

namespace model {

using Bytes = std::vector<u8>;

class Image {
 public:
  // Replaces what is there.
  void Put(u64 addr, std::span<const u8> data);
  void Cut(u64 first, u64 last);
  // Takes the runs of at least 64 bytes FF out, words of four bytes that hold any data counting as
  // a whole.
  void Eliminate();
  // Each range moved; modulo 2^64.
  Image Moved(u64 offset) const;

  // Ranges that start at an odd address get a byte FF in front, as in saved TI-TXT files.
  Image WithEvenStarts() const;

  bool IsEmpty() const { return m_Ranges.empty(); }
  u64 Min() const { return IsEmpty() ? 0 : m_Ranges.begin()->first; }
  u64 Max() const;
  u64 NumBytes() const;
  // Bytes of the span, open ones FF.
  Bytes Read(u64 first, u64 last) const;
  bool operator==(const Image&) const = default;

  // Neighbouring ranges never touch.
  const std::map<u64, Bytes>& Ranges() const { return m_Ranges; }

 private:
  std::map<u64, Bytes> m_Ranges;
};

// The text of a file, by extension: .hex, .mot, .txt; .bin from the first to the last byte.
std::string Encode(const Image& image, const std::string& extension);
// .hex, .mot, .txt only. None: the text is damaged.
std::optional<Image> Decode(const std::string& text, const std::string& extension);
// The bytes of the array in a C source.
std::optional<Bytes> DecodeC(const std::string& text);
// The blocks of a stand-alone programmer's data file.
std::optional<Image> DecodeProgrammerFile(const std::string& text);
// First difference of two images, for a message; empty when they are equal.
std::string Difference(const Image& expected, const Image& found);

std::string Printf(const char* sFormat, ...) __attribute__((format(printf, 1, 2)));

}  // namespace model
