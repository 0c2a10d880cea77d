#include <map>
#include <random>

#include "image/access_table.h"
#include "image/memarea_reader.h"
#include "tests/image/image_test.h"

// Random operations on a small piece of the address space, so that everything collides, against a
// map of bytes and a list of patches. The space is placed in the middle and over both ends.

namespace {

constexpr u64 SPACE = 600;
constexpr int NUM_STEPS = 20000;

struct MODEL {
  std::map<u64, u8> Bytes;
  std::vector<std::pair<u64, u8>> Patches;

  std::string Dump() const {
    const MEMAREA_PTR area(MEMAREA_Create());
    for (const auto& [addr, value] : Bytes) {
      MEMAREA_Write(area.get(), addr, 1, &value);
    }
    return ::Dump(area.get());
  }
  // The value with 0x100 for a patched byte, -1 for none.
  int Read(u64 Addr) const {
    for (auto it = Patches.rbegin(); it != Patches.rend(); ++it) {
      if (it->first == Addr) {
        return it->second | 0x100;
      }
    }
    const auto byte = Bytes.find(Addr);
    return byte != Bytes.end() ? byte->second : -1;
  }
};

class ModelTest : public testing::TestWithParam<u64> {
 protected:
  u64 AnyAddr() { return GetParam() + m_Random() % SPACE; }
  // A span that ends within the space of all addresses.
  void AnySpan(u64* pAddr, u64* pNumBytes, u64 maxBytes) {
    *pAddr = AnyAddr();
    *pNumBytes = std::min(m_Random() % maxBytes, ~*pAddr);
  }
  void AddOrWrite(bool isAdd);
  void Remove();
  void Relocate();
  void Patch();
  void Commit();
  void CompareBytes();
  void CompareWalk();
  void Copy();

  std::mt19937_64 m_Random{42};
  MODEL m_Model;
  MEMAREA_PTR m_Area{MEMAREA_Create()};
  MODEL m_ModelOfCopy;
  MEMAREA_PTR m_Copy{MEMAREA_Create()};
};

void ModelTest::AddOrWrite(bool isAdd) {
  u64 addr = 0;
  u64 numBytes = 0;
  AnySpan(&addr, &numBytes, 24);
  const std::vector<u8> data = Counting(numBytes + 1, static_cast<u8>(m_Random()));
  bool isFree = true;
  for (u64 i = 0; i < numBytes; ++i) {
    isFree = isFree && m_Model.Bytes.count(addr + i) == 0;
  }
  if (isAdd) {
    ASSERT_EQ(MEMAREA_AddRange(m_Area.get(), addr, numBytes, data.data()), isFree ? 0 : -1);
  } else {
    ASSERT_EQ(MEMAREA_Write(m_Area.get(), addr, numBytes, data.data()), 0);
  }
  for (u64 i = 0; (isFree || !isAdd) && i < numBytes; ++i) {
    m_Model.Bytes[addr + i] = data[i];
  }
}

void ModelTest::Remove() {
  u64 addr = 0;
  u64 numBytes = 0;
  AnySpan(&addr, &numBytes, m_Random() % 20 == 0 ? SPACE : 20);
  MEMAREA_RemoveRange(m_Area.get(), addr, addr + numBytes);
  for (u64 i = 0; i <= numBytes; ++i) {
    m_Model.Bytes.erase(addr + i);
  }
}

void ModelTest::Relocate() {
  const u64 offset = m_Random() % 100 - 50;
  for (const u64 step : {offset, u64{0} - offset}) {
    ASSERT_EQ(MEMAREA_Relocate(m_Area.get(), static_cast<i64>(step)), 0);
    MODEL moved;
    for (const auto& [addr, value] : m_Model.Bytes) {
      moved.Bytes[addr + step] = value;
    }
    for (const auto& [addr, value] : m_Model.Patches) {
      moved.Patches.emplace_back(addr + step, value);
    }
    m_Model = std::move(moved);
    ASSERT_EQ(Dump(m_Area.get()), m_Model.Dump());
  }
}

void ModelTest::Patch() {
  const MEMAREA_ACCESS_TABLE* table = MEMAREA_GetAccessTable();
  const u64 addr = AnyAddr();
  const u64 kind = m_Random() % 8;
  if (kind == 0) {
    table->UndoLast(m_Area.get());
    if (!m_Model.Patches.empty()) {
      m_Model.Patches.pop_back();
    }
  } else if (kind <= 2) {
    table->RevertAddr(m_Area.get(), addr);
    std::erase_if(m_Model.Patches, [addr](const auto& patch) { return patch.first == addr; });
  } else {
    const u8 value = static_cast<u8>(m_Random());
    ASSERT_EQ(MEMAREA_AddPatch(m_Area.get(), addr, value), m_Model.Patches.size());
    m_Model.Patches.emplace_back(addr, value);
  }
}

void ModelTest::Commit() {
  ASSERT_EQ(MEMAREA_CommitPatches(m_Area.get()), 0);
  for (const auto& [addr, value] : m_Model.Patches) {
    m_Model.Bytes[addr] = value;
  }
  m_Model.Patches.clear();
}

void ModelTest::CompareBytes() {
  const MEMAREA_ACCESS_TABLE* table = MEMAREA_GetAccessTable();
  ASSERT_EQ(Dump(m_Area.get()), m_Model.Dump());
  ASSERT_EQ(MEMAREA_GetNumBytes(m_Area.get()), m_Model.Bytes.size());
  ASSERT_EQ(MEMAREA_GetNumPatches(m_Area.get()), m_Model.Patches.size());
  for (u64 i = 0; i < SPACE; ++i) {
    u8 value = 0;
    const int source = table->ReadU8(m_Area.get(), GetParam() + i, &value);
    ASSERT_EQ(source < 0 ? source : value | source << 8, m_Model.Read(GetParam() + i));
  }
}

// A walk delivers each byte of its span once and in order, and nothing that isn't there.
void ModelTest::CompareWalk() {
  const u32 shift = static_cast<u32>(m_Random() % 4);
  const MEMAREA_WALK walk = {
      AnyAddr(), m_Random() % 2 == 0 ? AnyAddr() : ~u64{0}, m_Random() % 8,
      0xEE,      (u64{1} << shift) + m_Random() % 60,       static_cast<u32>(m_Random() % 4),
      shift};
  MEMAREA_READER reader(m_Area.get(), m_Random() % 2 == 0 ? MEMAREA_READER::Kind::Locked
                                                          : MEMAREA_READER::Kind::Snapshot);
  ASSERT_TRUE(reader.Begin(walk));
  u8 data[68];
  u8 valid[68];
  MEMAREA_BLOCK block;
  const u64 numInFirst =
      MEMAREA_GetData(m_Area.get(), walk.FirstAddr, walk.LastAddr, walk.MaxGap, 0, nullptr, nullptr,
                      nullptr, walk.MaxBytes, walk.AlignStartShift, walk.AlignEndShift);
  u64 numSeen = 0;
  u64 next = 0;
  bool isFirst = true;
  for (; reader.Next(&block, data, valid); isFirst = false, next = block.GetLast() + 1) {
    ASSERT_TRUE(isFirst ? block.NumBytes == numInFirst : block.Addr >= next);
    ASSERT_LE(block.NumBytes, walk.MaxBytes);
    for (u64 i = 0; i < block.NumBytes; ++i) {
      const u64 addr = block.Addr + i;
      const int expected = m_Model.Read(addr);
      ASSERT_EQ(valid[i], expected >= 0 ? 1 : 0);
      ASSERT_EQ(data[i], expected >= 0 ? expected & 0xFF : 0xEE);
      numSeen += addr >= walk.FirstAddr && addr <= walk.LastAddr ? m_Model.Bytes.count(addr) : 0;
    }
  }
  ASSERT_EQ(isFirst, numInFirst == 0);
  const auto first = m_Model.Bytes.lower_bound(walk.FirstAddr);
  const auto end = m_Model.Bytes.upper_bound(std::max(walk.FirstAddr, walk.LastAddr));
  const bool isEmpty = walk.FirstAddr > walk.LastAddr;
  ASSERT_EQ(numSeen, isEmpty ? 0 : static_cast<u64>(std::distance(first, end)));
}

// What was a copy some changes ago still is what it was; from then on it may be the area itself.
void ModelTest::Copy() {
  CompareBytes();
  std::swap(m_Area, m_Copy);
  std::swap(m_Model, m_ModelOfCopy);
  CompareBytes();
  if (m_Random() % 3 != 0) {
    m_Copy = MEMAREA_MakeSnapshot(m_Area.get());
    m_ModelOfCopy = m_Model;
  }
}

TEST_P(ModelTest, RandomOperations) {
  for (int i = 0; i < NUM_STEPS && !HasFatalFailure(); ++i) {
    const u64 kind = m_Random() % 100;
    if (kind < 35) {
      AddOrWrite(true);
    } else if (kind < 45) {
      AddOrWrite(false);
    } else if (kind < 60) {
      Remove();
    } else if (kind < 85) {
      Patch();
    } else if (kind == 85) {
      Commit();
    } else if (kind == 86) {
      Relocate();
    } else if (kind == 87) {
      CompareBytes();
    } else if (kind <= 90) {
      Copy();
    } else {
      CompareWalk();
    }
  }
}

INSTANTIATE_TEST_SUITE_P(Places, ModelTest,
                         testing::Values(u64{0}, u64{0x10000}, ~u64{0} - SPACE + 1));

// Enough ranges that the list is split and joined inside.
TEST(MemAreaList, ManyRangesInAnyOrder) {
  std::vector<u64> order(5000);
  for (u64 i = 0; i < order.size(); ++i) {
    order[i] = 4 * i;
  }
  std::shuffle(order.begin(), order.end(), std::mt19937(7));
  const MEMAREA_PTR area(MEMAREA_Create());
  MODEL model;
  for (const u64 addr : order) {
    const u8 data[] = {static_cast<u8>(addr), static_cast<u8>(addr >> 8)};
    ASSERT_EQ(MEMAREA_AddRange(area.get(), addr, 2, data), 0);
    model.Bytes[addr] = data[0];
    model.Bytes[addr + 1] = data[1];
  }
  MEMAREA_RemoveRange(area.get(), 999, 9001);
  model.Bytes.erase(model.Bytes.lower_bound(999), model.Bytes.upper_bound(9001));
  EXPECT_EQ(Dump(area.get()), model.Dump());
  u64 addr = 0;
  MEMAREA_GetRange(area.get(), 2990, &addr, nullptr);
  EXPECT_EQ(addr, 4 * (2990U + 2001U));
}

}  // namespace
