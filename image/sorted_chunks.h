#pragma once

#include <algorithm>
#include <cstddef>
#include <new>
#include <utility>
#include <vector>

#include "sys/types.h"

// A list of records sorted by their member Addr, for lists of millions that change in the middle.
//
// The records lie in chunks of at most CHUNK_SIZE, none of them empty, so that an insert or a
// removal moves a part of one chunk instead of the whole list. Looking up by address is a binary
// search over chunks, then within one. Looking up by index uses the number of records in front of
// each chunk, counted anew only after a change.
//
// Keeping the order is the caller's part: it inserts at the position it looked up. A position is
// valid until the next change. Records must move without throwing. No lock of its own.
template <class T>
class SortedChunks {
 public:
  struct Pos {
    std::size_t Chunk = 0;
    std::size_t Slot = 0;
    bool operator==(const Pos&) const = default;
  };

  bool IsEmpty() const { return m_Chunks.empty(); }
  std::size_t GetSize() const { return m_Size; }
  Pos Begin() const { return {0, 0}; }
  Pos End() const { return {m_Chunks.size(), 0}; }
  bool IsEnd(Pos pos) const { return pos.Chunk == m_Chunks.size(); }
  T& At(Pos pos) { return m_Chunks[pos.Chunk].Items[pos.Slot]; }
  const T& At(Pos pos) const { return m_Chunks[pos.Chunk].Items[pos.Slot]; }
  T& First() { return m_Chunks.front().Items.front(); }
  const T& First() const { return m_Chunks.front().Items.front(); }
  const T& Last() const { return m_Chunks.back().Items.back(); }

  Pos Next(Pos pos) const {
    if (++pos.Slot == m_Chunks[pos.Chunk].Items.size()) {
      pos = {pos.Chunk + 1, 0};
    }
    return pos;
  }
  // Not of the first position.
  Pos Prev(Pos pos) const {
    if (pos.Slot == 0) {
      --pos.Chunk;
      pos.Slot = m_Chunks[pos.Chunk].Items.size();
    }
    --pos.Slot;
    return pos;
  }

  // First record with an address at or above Addr, or above it.
  Pos LowerBound(u64 Addr) const {
    return Search([Addr](const T& item) { return item.Addr < Addr; });
  }
  Pos UpperBound(u64 Addr) const {
    return Search([Addr](const T& item) { return item.Addr <= Addr; });
  }

  Pos FromIndex(std::size_t Index) const {
    if (Index >= m_Size) {
      return End();
    }
    CountIndices();
    auto it = std::upper_bound(
        m_Chunks.begin(), m_Chunks.end(), Index,
        [](std::size_t value, const Chunk& chunk) { return value < chunk.FirstIndex; });
    --it;
    return {static_cast<std::size_t>(it - m_Chunks.begin()), Index - it->FirstIndex};
  }

  // Inserts in front of *pPos and lets it stand for the new record. False when memory is out;
  // nothing has changed then.
  bool Insert(Pos* pPos, T&& Item) noexcept {
    try {
      *pPos = MakeRoom(*pPos);
    } catch (const std::bad_alloc&) {
      return false;
    }
    auto& items = m_Chunks[pPos->Chunk].Items;
    items.insert(items.begin() + static_cast<std::ptrdiff_t>(pPos->Slot), std::move(Item));
    ++m_Size;
    m_IndicesValid = false;
    return true;
  }

  // Removes the records from first up to last, which stays, and returns where that stands now.
  Pos Erase(Pos first, Pos last) noexcept {
    if (first == last) {
      return last;
    }
    m_IndicesValid = false;
    auto& items = m_Chunks[first.Chunk].Items;
    if (first.Chunk == last.Chunk) {
      EraseSlots(items, first.Slot, last.Slot);
      return first;
    }
    EraseSlots(items, first.Slot, items.size());
    if (!IsEnd(last)) {
      EraseSlots(m_Chunks[last.Chunk].Items, 0, last.Slot);
    }
    const std::size_t firstChunk = first.Slot == 0 ? first.Chunk : first.Chunk + 1;
    for (std::size_t i = first.Chunk + 1; i < last.Chunk; ++i) {
      m_Size -= m_Chunks[i].Items.size();
    }
    m_Chunks.erase(m_Chunks.begin() + static_cast<std::ptrdiff_t>(firstChunk),
                   m_Chunks.begin() + static_cast<std::ptrdiff_t>(last.Chunk));
    return {firstChunk, 0};
  }

  void Clear() noexcept {
    m_Chunks.clear();
    m_Chunks.shrink_to_fit();
    m_Size = 0;
    m_IndicesValid = false;
  }

  // Lets a chunk start at this position, which stays where it is in the order. False when memory is
  // out.
  bool SplitAt(Pos pos) noexcept {
    if (IsEnd(pos) || pos.Slot == 0) {
      return true;
    }
    try {
      SplitChunk(pos);
    } catch (const std::bad_alloc&) {
      return false;
    }
    return true;
  }

  // Turns the order round so that the record at this position comes first. The caller has called
  // SplitAt for it, and changes the addresses to fit the new order.
  void Rotate(Pos newFirst) noexcept {
    std::rotate(m_Chunks.begin(), m_Chunks.begin() + static_cast<std::ptrdiff_t>(newFirst.Chunk),
                m_Chunks.end());
    m_IndicesValid = false;
  }

  template <class Fn>
  void ForEach(Fn&& fn) {
    for (Chunk& chunk : m_Chunks) {
      for (T& item : chunk.Items) {
        fn(item);
      }
    }
  }

 private:
  static constexpr std::size_t CHUNK_SIZE = 256;

  struct Chunk {
    std::vector<T> Items;
    mutable std::size_t FirstIndex = 0;
  };

  template <class IsBefore>
  Pos Search(IsBefore&& isBefore) const {
    const auto chunk = std::partition_point(
        m_Chunks.begin(), m_Chunks.end(), [&](const Chunk& c) { return isBefore(c.Items.back()); });
    if (chunk == m_Chunks.end()) {
      return End();
    }
    const auto item = std::partition_point(chunk->Items.begin(), chunk->Items.end(), isBefore);
    return {static_cast<std::size_t>(chunk - m_Chunks.begin()),
            static_cast<std::size_t>(item - chunk->Items.begin())};
  }

  // An empty chunk in front of Index; the caller fills it at once.
  Chunk& NewChunk(std::size_t Index) {
    Chunk chunk;
    chunk.Items.reserve(CHUNK_SIZE);
    return *m_Chunks.insert(m_Chunks.begin() + static_cast<std::ptrdiff_t>(Index),
                            std::move(chunk));
  }

  void SplitChunk(Pos pos) {
    Chunk& upper = NewChunk(pos.Chunk + 1);
    auto& lower = m_Chunks[pos.Chunk].Items;
    const auto from = lower.begin() + static_cast<std::ptrdiff_t>(pos.Slot);
    std::move(from, lower.end(), std::back_inserter(upper.Items));
    lower.erase(from, lower.end());
    m_IndicesValid = false;
  }

  // A position for an insert into a chunk with room. A full last chunk that is appended to is left
  // full: lists mostly grow upwards.
  Pos MakeRoom(Pos pos) {
    if (pos.Slot == 0 && pos.Chunk > 0) {
      pos = {pos.Chunk - 1, m_Chunks[pos.Chunk - 1].Items.size()};
    }
    if (m_Chunks.empty()) {
      NewChunk(0);
    } else if (m_Chunks[pos.Chunk].Items.size() == CHUNK_SIZE) {
      if (pos.Slot == CHUNK_SIZE && pos.Chunk + 1 == m_Chunks.size()) {
        NewChunk(pos.Chunk + 1);
        return {pos.Chunk + 1, 0};
      }
      SplitChunk({pos.Chunk, CHUNK_SIZE / 2});
      if (pos.Slot > CHUNK_SIZE / 2) {
        pos = {pos.Chunk + 1, pos.Slot - CHUNK_SIZE / 2};
      }
    }
    return pos;
  }

  void EraseSlots(std::vector<T>& items, std::size_t first, std::size_t last) {
    items.erase(items.begin() + static_cast<std::ptrdiff_t>(first),
                items.begin() + static_cast<std::ptrdiff_t>(last));
    m_Size -= last - first;
  }

  void CountIndices() const {
    if (m_IndicesValid) {
      return;
    }
    std::size_t index = 0;
    for (const Chunk& chunk : m_Chunks) {
      chunk.FirstIndex = index;
      index += chunk.Items.size();
    }
    m_IndicesValid = true;
  }

  std::vector<Chunk> m_Chunks;
  std::size_t m_Size = 0;
  mutable bool m_IndicesValid = false;
};
