#include "image/elf_segments.h"

#include <algorithm>
#include <set>

namespace {

constexpr int NO_SEGMENT = -1;

// A span that would run past the last address ends there.
u64 GetLast(u64 Addr, u64 NumBytes) {
  return NumBytes - 1 > ~Addr ? ~u64{0} : Addr + (NumBytes - 1);
}

// A place where a segment starts or where it is no more.
struct EDGE {
  u64 Addr;
  int Segment;
  bool IsStart;
};

std::vector<EDGE> MakeEdges(const std::vector<ELF_SEGMENT>& segments) {
  std::vector<EDGE> edges;
  edges.reserve(2 * segments.size());
  for (std::size_t i = 0; i < segments.size(); ++i) {
    const ELF_SEGMENT& segment = segments[i];
    if (segment.p_filesz == 0 || segment.p_memsz == 0) {
      continue;
    }
    edges.push_back({segment.p_vaddr, static_cast<int>(i), true});
    const u64 last = GetLast(segment.p_vaddr, segment.p_memsz);
    if (last != ~u64{0}) {
      edges.push_back({last + 1, static_cast<int>(i), false});
    }
  }
  std::sort(edges.begin(), edges.end(),
            [](const EDGE& a, const EDGE& b) { return a.Addr < b.Addr; });
  return edges;
}

}  // namespace

ElfSegmentIndex::ElfSegmentIndex(const std::vector<ELF_SEGMENT>& segments) {
  const std::vector<EDGE> edges = MakeEdges(segments);
  std::vector<int> owners;
  std::set<int> active;
  for (std::size_t i = 0; i < edges.size(); ++i) {
    if (edges[i].IsStart) {
      active.insert(edges[i].Segment);
    } else {
      active.erase(edges[i].Segment);
    }
    if (i + 1 == edges.size() || edges[i + 1].Addr != edges[i].Addr) {
      m_Starts.push_back(edges[i].Addr);
      owners.push_back(active.empty() ? NO_SEGMENT : *active.rbegin());
    }
  }
  m_Tree.resize(owners.size());
  m_Tree.insert(m_Tree.end(), owners.begin(), owners.end());
  for (std::size_t i = owners.size(); i-- > 1;) {
    m_Tree[i] = std::max(m_Tree[2 * i], m_Tree[2 * i + 1]);
  }
}

int ElfSegmentIndex::Find(u64 Addr, u64 NumBytes) const {
  const auto getPiecesUpTo = [this](u64 addr) {
    const auto end = std::upper_bound(m_Starts.begin(), m_Starts.end(), addr);
    return static_cast<std::size_t>(end - m_Starts.begin());
  };
  // The piece that holds the first address counts, unless that lies in front of all.
  const std::size_t numBefore = getPiecesUpTo(Addr);
  std::size_t from = m_Starts.size() + (numBefore != 0 ? numBefore - 1 : 0);
  std::size_t to = m_Starts.size() + getPiecesUpTo(GetLast(Addr, NumBytes));
  int found = NO_SEGMENT;
  for (; from < to; from /= 2, to /= 2) {
    if (from % 2 != 0) {
      found = std::max(found, m_Tree[from++]);
    }
    if (to % 2 != 0) {
      found = std::max(found, m_Tree[--to]);
    }
  }
  return found;
}
