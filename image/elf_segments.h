#pragma once

#include <vector>

#include "image/elf_impl.h"

// Finds the segment that a section belongs to: the last one in table order, of those with bytes in
// the file, that shares an address with it.
//
// A file may claim 65535 sections and as many segments, so they aren't compared pair by pair. The
// address space is cut where any segment starts or ends; each piece knows the last segment that
// covers it, and a tree over the pieces gives the largest index of any run of them.
class ElfSegmentIndex {
 public:
  explicit ElfSegmentIndex(const std::vector<ELF_SEGMENT>& segments);
  // Index of the segment, or -1. NumBytes is not 0.
  int Find(u64 Addr, u64 NumBytes) const;

 private:
  std::vector<u64> m_Starts;  // first address of each piece, ascending
  std::vector<int> m_Tree;    // the pieces' segments from the middle on, the larger of two below
};
