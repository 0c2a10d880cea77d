#pragma once

#include <memory>
#include <span>
#include <string>
#include <vector>

#include "driver/core/fault_plan.h"
#include "driver/sim/image_file.h"
#include "sys/types.h"

namespace vortic {

// The cells of a simulated memory chip. Blocks that are blank take no memory, so that a chip of any
// size is there at once. Addresses have to lie in the chip: wrapping is the chip's business.
// Contents are in memory as a whole, the file follows: reading never waits for a disk, and a broken
// disk costs the file, not the run.
class ArrayStore {
 public:
  explicit ArrayStore(u64 size);

  // Empty: the contents are those of the file, and go there; else the reason.
  std::string OpenImage(const std::string& fileName);
  // Cells that read inverted, and cells that never become 0.
  void SetDefects(std::vector<FaultPlan::Cell> flipped, std::vector<FaultPlan::Cell> stuck);

  u64 Size() const { return m_Size; }
  void Read(u64 addr, std::span<u8> data) const;
  // Clears bits, as flash cells do. True when the data asked for a 1 where the cell was 0; bytes of
  // 0xFF ask for nothing.
  bool Program(u64 addr, std::span<const u8> data);
  // Replaces bytes, as EEPROM and FRAM cells do.
  void Replace(u64 addr, std::span<const u8> data);
  void Erase(u64 addr, u64 numBytes);

  // Writes what changed since the last call into the file. Empty: done; else the reason.
  std::string Flush();

 private:
  // Large enough that a chip of 256 MiB has 4096 blocks, small enough for one page to be cheap.
  static constexpr u64 kBlockShift = 16;
  static constexpr u64 kBlockBytes = u64{1} << kBlockShift;
  using Block = std::unique_ptr<u8[]>;

  struct Extent {
    u64 Addr;
    u64 NumBytes;
  };

  // Calls f(block, offset in it, count, done before) for the pieces of a range that lie in one
  // block each.
  template <class F>
  static void ForBlocks(std::vector<Block>& blocks, u64 addr, u64 numBytes, F&& f);
  static void Allocate(Block& block);
  // Extents that follow each other become one: a list of pages is one write.
  void MarkDirty(u64 addr, u64 numBytes);
  void HoldStuckBits(u64 addr, u64 numBytes);

  const u64 m_Size;
  std::vector<Block> m_Blocks;  // null: all bytes 0xFF
  ImageFile m_File;
  // In the order of the changes; may overlap. Empty without a file.
  std::vector<Extent> m_Dirty;
  std::vector<FaultPlan::Cell> m_Flipped;
  std::vector<FaultPlan::Cell> m_Stuck;
};

}  // namespace vortic
