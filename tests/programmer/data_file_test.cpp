#include "programmer/data_file.h"

#include <cstdarg>
#include <map>
#include <random>

#include "sys/util_format.h"
#include "tests/programmer/file_reader.h"

namespace {

using Spans = std::vector<std::pair<u64, u64>>;  // address and length

MEMAREA_PTR MakeArea(const Spans& spans) {
  MEMAREA_PTR area(MEMAREA_Create());
  for (const auto& [addr, numBytes] : spans) {
    EXPECT_EQ(MEMAREA_AddRange(area.get(), addr, numBytes, Bytes(numBytes, 0x5A).data()), 0);
  }
  return area;
}

void Note(void* pContext, const char* sFormat, ...) {
  char acText[256];
  va_list args;
  va_start(args, sFormat);
  UTIL_vsnprintf64(acText, sizeof acText, sFormat, args);
  va_end(args);
  *static_cast<std::string*>(pContext) += std::string(acText) + "|";
}

struct Request {
  Request(MEMAREA* pArea, u32 shift, u32 maxSize = ZELMONT_DAT_MAX_SIZE) {
    EXPECT_EQ(DYNBUFFER_Init(&Buffer, nullptr, maxSize, ZELMONT_DAT_BUFFER_SIZE, 0), 0);
    Info = {shift, 0xFF, nullptr, nullptr, Note, &Messages, &Buffer, "Tool V1", pArea};
  }
  int Build() { return ZELMONT_DAT_FILE_Build(&Info); }
  DataFile Read() {
    EXPECT_EQ(Build(), 0);
    const DataFile file = ReadData(Content(Buffer));
    EXPECT_EQ(Messages, "");
    EXPECT_EQ(file.Text, "Zelmont Data File V1.0 - Generated 2024-01-02 03:04 with Tool V1");
    return file;
  }

  DYNBUFFER Buffer;
  std::string Messages;
  ZELMONT_DAT_FILE_INFO Info{};
};

}  // namespace

TEST(DataFile, Blocks) {
  const struct {
    u32 Shift;
    Spans Image, Blocks;
  } cases[] = {
      {8, {}, {}},
      {8, {{0x1010, 17}}, {{0x1000, 256}}},
      {8, {{0x1000, 5000}}, {{0x1000, 2048}, {0x1800, 2048}, {0x2000, 1024}}},
      {8, {{0x10FF, 2048}}, {{0x1000, 2048}, {0x1800, 256}}},
      {8, {{0x1000, 1}, {0x1100, 1}}, {{0x1000, 512}}},
      {8, {{0x1000, 1}, {0x1101, 1}}, {{0x1000, 256}, {0x1100, 256}}},
      {0, {{5, 1}, {7, 2}}, {{5, 1}, {7, 2}}},
      {11, {{0x7FF, 2}}, {{0, 2048}, {0x800, 2048}}},
      {4, {{0, 1}, {0xFFFFFFFF, 1}}, {{0, 16}, {0xFFFFFFF0, 16}}},
  };
  ProgrammerScope scope;
  for (const auto& c : cases) {
    Spans found;
    for (const auto& [addr, data] : Request(MakeArea(c.Image).get(), c.Shift).Read().Blocks) {
      found.emplace_back(addr, data.size());
    }
    EXPECT_EQ(found, c.Blocks);
  }
}

TEST(DataFile, RoomForTheTable) {
  ProgrammerScope scope;
  const MEMAREA_PTR area(MEMAREA_Create());
  for (u32 numBlocks = 0; numBlocks <= 240; ++numBlocks) {
    const DataFile file = Request(area.get(), 2).Read();
    EXPECT_EQ(file.Blocks.size(), numBlocks);
    EXPECT_EQ(file.DataOffset, numBlocks < 112 ? 2048u : numBlocks < 240 ? 4096u : 6144u);
    ASSERT_EQ(MEMAREA_Write(area.get(), u64{numBlocks} * 8, 1, Bytes(1).data()), 0);
  }
}

// What a programmer would write, against a map of the image: every page that data touches, patches
// above ranges, all else as fill, nothing twice.
TEST(DataFile, SparseImages) {
  ProgrammerScope scope;
  std::mt19937 random(1);
  for (u32 shift = 0; shift <= 11; ++shift) {
    const MEMAREA_PTR area(MEMAREA_Create());
    std::map<u64, u8> expected;
    const u64 mask = (u64{1} << shift) - 1;
    u64 addr = random() % 5000;
    for (u8 i = 0; i < 120; ++i) {
      const Bytes data(1 + random() % (i % 20 == 0 ? 6000 : 40), static_cast<u8>(random()));
      ASSERT_EQ(MEMAREA_AddRange(area.get(), addr, data.size(), data.data()), 0);
      for (u64 pos = addr & ~mask; pos <= ((addr + data.size() - 1) | mask); ++pos) {
        expected.emplace(pos, 0xFF);
      }
      for (u8 byte : data) {
        expected[addr++] = byte;
      }
      MEMAREA_AddPatch(area.get(), addr - 1, i);
      expected[addr - 1] = i;
      addr += 1 + random() % (i % 3 == 0 ? 5000 : 20);
    }
    u64 next = 0;
    for (const auto& [first, data] : Request(area.get(), shift).Read().Blocks) {
      ASSERT_GE(first, next);
      next = first + data.size();
      for (u64 i = 0; i < data.size(); ++i) {
        const auto byte = expected.extract(first + i);
        ASSERT_EQ(data[i], byte.empty() ? 0xFF : byte.mapped()) << shift << " " << first + i;
      }
    }
    EXPECT_TRUE(expected.empty()) << shift;
  }
}

TEST(DataFile, Refused) {
  const MEMAREA_PTR small = MakeArea({{0, 3000}});
  const MEMAREA_PTR far = MakeArea({{0, 1}, {0x100000000, 1}});
  const MEMAREA_PTR huge(MEMAREA_Create());
  ASSERT_EQ(MEMAREA_AddRange(huge.get(), 0, 0x100000000, nullptr), 0);
  constexpr char kPageSize[] =
      "Failed to prepare DAT file: Exceeded max. supported PageSize (0x800 bytes).|";
  constexpr char kWrite[] = "Failed to write DAT file contents to buffer.|";
  const struct {
    MEMAREA* pArea;
    u32 Shift, MaxSize;
    const char* sMessages;
  } cases[] = {
      {small.get(), 12, ~0u, kPageSize},
      {small.get(), 32, ~0u, kPageSize},
      {small.get(), ~0u, ~0u, kPageSize},
      {small.get(), 8, 2048 + 3071, kWrite},
      {small.get(), 8, 2047, kWrite},
      {huge.get(), 8, ~0u, kWrite},
      {far.get(), 8, ~0u,
       "Failed to prepare DAT file: Address 0x100000000 needs more than 32 bits.|"},
  };
  for (const auto& c : cases) {
    Request request(c.pArea, c.Shift, c.MaxSize);
    EXPECT_EQ(request.Build(), -1);
    EXPECT_EQ(request.Messages, c.sMessages);
    EXPECT_LE(request.Buffer.AllocSize, 4096u);
  }
  EXPECT_EQ(Request(small.get(), 8, 2048 + 3072).Build(), 0);
}

TEST(DataFile, StopsWhenAsked) {
  static int numLeft;
  numLeft = 3;  // the second of the two blocks is still to be written
  const MEMAREA_PTR area = MakeArea({{0x10, 3000}});
  Request request(area.get(), 8);
  request.Info.pfKeepGoing = [] { return numLeft--; };
  request.Info.pfInfo = Note;
  EXPECT_EQ(request.Build(), -1);
  EXPECT_EQ(request.Messages,
            "Preparing DAT file range: 0x00000000 - 0x000007FF (2048 bytes).|"
            "Preparation of DAT file stopped.|");
}
