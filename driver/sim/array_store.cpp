#include "driver/sim/array_store.h"

#include <algorithm>
#include <cstring>

namespace vortic {

namespace {

u64 LoadWord(const u8* p) {
  u64 word;
  std::memcpy(&word, p, sizeof(word));
  return word;
}

bool IsBlank(std::span<const u8> data) {
  std::size_t i = 0;
  for (; i + sizeof(u64) <= data.size(); i += sizeof(u64)) {
    if (LoadWord(&data[i]) != ~u64{0}) {
      return false;
    }
  }
  return std::all_of(data.begin() + static_cast<std::ptrdiff_t>(i), data.end(),
                     [](u8 byte) { return byte == 0xFF; });
}

// A byte of 0xFF is padding, and asks for nothing.
bool AsksForOnes(const u8* pCells, const u8* pData, std::size_t numBytes) {
  for (std::size_t i = 0; i < numBytes; ++i) {
    if (pData[i] != 0xFF && (pData[i] & ~pCells[i]) != 0) {
      return true;
    }
  }
  return false;
}

// Clears the cells' bits that are 0 in the data; words at a time, bytes at the end.
bool ClearBits(u8* pCells, const u8* pData, std::size_t numBytes) {
  bool asked = false;
  std::size_t i = 0;
  for (; i + sizeof(u64) <= numBytes; i += sizeof(u64)) {
    const u64 old = LoadWord(pCells + i);
    const u64 data = LoadWord(pData + i);
    if ((data & ~old) != 0) {
      asked = asked || AsksForOnes(pCells + i, pData + i, sizeof(u64));
    }
    const u64 result = old & data;
    std::memcpy(pCells + i, &result, sizeof(result));
  }
  for (; i < numBytes; ++i) {
    asked = asked || AsksForOnes(pCells + i, pData + i, 1);
    pCells[i] &= pData[i];
  }
  return asked;
}

}  // namespace

ArrayStore::ArrayStore(u64 size)
    : m_Size(size), m_Blocks((size + kBlockBytes - 1) >> kBlockShift) {}

template <class F>
void ArrayStore::ForBlocks(std::vector<Block>& blocks, u64 addr, u64 numBytes, F&& f) {
  for (u64 done = 0; done < numBytes;) {
    const u64 offset = (addr + done) & (kBlockBytes - 1);
    const u64 count = std::min(numBytes - done, kBlockBytes - offset);
    f(blocks[(addr + done) >> kBlockShift], offset, count, done);
    done += count;
  }
}

void ArrayStore::Allocate(Block& block) {
  if (!block) {
    block = std::make_unique_for_overwrite<u8[]>(kBlockBytes);
    std::memset(block.get(), 0xFF, kBlockBytes);
  }
}

// Blank blocks of the file take no memory either.
std::string ArrayStore::OpenImage(const std::string& fileName) {
  return m_File.Open(fileName, m_Size, [this](u64 addr, std::span<const u8> data) {
    ForBlocks(m_Blocks, addr, data.size(), [&](Block& block, u64 offset, u64 count, u64 done) {
      const std::span<const u8> piece = data.subspan(done, count);
      if (block || !IsBlank(piece)) {
        Allocate(block);
        std::memcpy(&block[offset], piece.data(), count);
      }
    });
  });
}

void ArrayStore::SetDefects(std::vector<FaultPlan::Cell> flipped,
                            std::vector<FaultPlan::Cell> stuck) {
  m_Flipped = std::move(flipped);
  m_Stuck = std::move(stuck);
}

void ArrayStore::Read(u64 addr, std::span<u8> data) const {
  for (u64 done = 0; done < data.size();) {
    const u64 offset = (addr + done) & (kBlockBytes - 1);
    const u64 count = std::min<u64>(data.size() - done, kBlockBytes - offset);
    const Block& block = m_Blocks[(addr + done) >> kBlockShift];
    if (block) {
      std::memcpy(&data[done], &block[offset], count);
    } else {
      std::memset(&data[done], 0xFF, count);
    }
    done += count;
  }
  for (const FaultPlan::Cell& cell : m_Flipped) {
    if (cell.Addr >= addr && cell.Addr - addr < data.size()) {
      data[cell.Addr - addr] ^= static_cast<u8>(1U << cell.Bit);
    }
  }
}

bool ArrayStore::Program(u64 addr, std::span<const u8> data) {
  bool asked = false;
  ForBlocks(m_Blocks, addr, data.size(), [&](Block& block, u64 offset, u64 count, u64 done) {
    const std::span<const u8> piece = data.subspan(done, count);
    if (!IsBlank(piece)) {
      Allocate(block);
      asked = ClearBits(&block[offset], piece.data(), count) || asked;
      MarkDirty(addr + done, count);
    }
  });
  HoldStuckBits(addr, data.size());
  return asked;
}

void ArrayStore::Replace(u64 addr, std::span<const u8> data) {
  ForBlocks(m_Blocks, addr, data.size(), [&](Block& block, u64 offset, u64 count, u64 done) {
    const std::span<const u8> piece = data.subspan(done, count);
    if (block || !IsBlank(piece)) {
      Allocate(block);
      std::memcpy(&block[offset], piece.data(), count);
      MarkDirty(addr + done, count);
    }
  });
  HoldStuckBits(addr, data.size());
}

// A block that goes as a whole goes back to being none.
void ArrayStore::Erase(u64 addr, u64 numBytes) {
  ForBlocks(m_Blocks, addr, numBytes, [&](Block& block, u64 offset, u64 count, u64 done) {
    if (!block) {
      return;
    }
    if (count == kBlockBytes) {
      block.reset();
    } else {
      std::memset(&block[offset], 0xFF, count);
    }
    MarkDirty(addr + done, count);
  });
}

// After every change: that is when such a cell would have become 0.
void ArrayStore::HoldStuckBits(u64 addr, u64 numBytes) {
  for (const FaultPlan::Cell& cell : m_Stuck) {
    Block& block = m_Blocks[cell.Addr >> kBlockShift];
    if (cell.Addr >= addr && cell.Addr - addr < numBytes && block) {
      block[cell.Addr & (kBlockBytes - 1)] |= static_cast<u8>(1U << cell.Bit);
    }
  }
}

void ArrayStore::MarkDirty(u64 addr, u64 numBytes) {
  if (!m_File.IsOpen()) {
    return;
  }
  if (!m_Dirty.empty() && m_Dirty.back().Addr + m_Dirty.back().NumBytes == addr) {
    m_Dirty.back().NumBytes += numBytes;
    return;
  }
  m_Dirty.push_back({addr, numBytes});
}

std::string ArrayStore::Flush() {
  std::vector<Extent> dirty;
  dirty.swap(m_Dirty);
  static const std::vector<u8> blank(kBlockBytes, 0xFF);
  for (const Extent& extent : dirty) {
    std::string reason;
    ForBlocks(m_Blocks, extent.Addr, extent.NumBytes,
              [&](const Block& block, u64 offset, u64 count, u64 done) {
                const u8* pBlock = block ? block.get() : blank.data();
                if (reason.empty()) {
                  reason = m_File.Write(extent.Addr + done, std::span(pBlock + offset, count));
                }
              });
    if (!reason.empty()) {
      m_Dirty.swap(dirty);  // tried again with the next change: the contents are still here
      return reason;
    }
  }
  return {};
}

}  // namespace vortic
