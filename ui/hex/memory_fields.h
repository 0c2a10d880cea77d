#pragma once

#include <string>

#include "sys/types.h"

// The three fields of the memory dialog, which follow each other: start, inclusive end and size of
// a range, as texts. A text that is no hexadecimal number counts as 0. No window.
struct MEMORY_FIELDS {
  std::string Start;
  std::string End;
  std::string Size;

  // What the user has typed is stored; the field that follows from it is rewritten, or emptied
  // when there is no such range.
  void SetStart(const std::string& text);
  void SetEnd(const std::string& text);
  void SetSize(const std::string& text);
  // From code: both ends and the size.
  void SetRange(u64 start, u64 numBytes);

  u64 GetStart() const;
  u64 GetSize() const;
};

// The number in base 16, with or without "0x"; 0 for anything else or more than 64 bits.
u64 HEX_ParseField(const std::string& text);
