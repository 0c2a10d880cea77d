#include <gtest/gtest.h>

#include "ui/hex/clipboard_text.h"
#include "ui/hex/memory_fields.h"

namespace {

std::vector<u8> Count(size_t num) {
  std::vector<u8> data(num);
  for (size_t i = 0; i < num; ++i) {
    data[i] = static_cast<u8>(i);
  }
  return data;
}

TEST(ClipboardText, Initializer) {
  EXPECT_EQ(HEX_MakeInitializer(Count(11), 4, 8), "0x03020100, 0x07060504\n");
  EXPECT_EQ(HEX_MakeInitializer(Count(3), 2, 2), "0x0100\n");
  EXPECT_EQ(HEX_MakeInitializer(Count(1), 2, 16), "");
}

TEST(ClipboardText, RowsAreCutToTheSelection) {
  EXPECT_EQ(HEX_MakeItemsText({"03020100 07060504  0B0A0908 0F0E0D0C"}, 4, {4, 4}),
            "07060504  0B0A0908");
  EXPECT_EQ(HEX_MakeItemsText({"00 01"}, 1, {9, 9}), "") << "more cut than there is";
  EXPECT_EQ(HEX_MakeItemsText({}, 1, {0, 0}), "");
  EXPECT_EQ(HEX_MakeCharsText({"abcd"}, {1, 1}), "bc");
}

TEST(MemoryFields, FollowEachOther) {
  struct ROW {
    const char* sStart;  // null: not typed
    const char* sEnd;
    const char* sSize;
    const char* sExpected;  // start, end, size
  };
  const ROW rows[] = {
      {"1000", nullptr, nullptr, "1000/0000100F/10"},
      {nullptr, "2F", nullptr, "00000020/2F/00000010"},
      {nullptr, "1F", nullptr, "00000020/1F/"},
      {nullptr, nullptr, "100", "00000020/0000011F/100"},
      {nullptr, nullptr, "0", "00000020/00000020/0"},
      {nullptr, nullptr, "zz", "00000020/00000020/zz"},
      {"FFFFFFFFFFFFFFF0", nullptr, nullptr, "FFFFFFFFFFFFFFF0//10"},
      {"FFFFFFFFFFFFFFED", nullptr, nullptr, "FFFFFFFFFFFFFFED/FFFFFFFFFFFFFFFC/10"},
      {"FFFFFFFFFFFFFFEE", nullptr, nullptr, "FFFFFFFFFFFFFFEE//10"},
      {"1FFFFFFFFFFFFFFFF", nullptr, nullptr, "1FFFFFFFFFFFFFFFF/0000000F/10"},
      {"0x40", nullptr, nullptr, "0x40/0000004F/10"},
  };
  for (const ROW& row : rows) {
    MEMORY_FIELDS fields;
    fields.SetRange(0x20, 0x10);
    if (row.sStart != nullptr) {
      fields.SetStart(row.sStart);
    } else if (row.sEnd != nullptr) {
      fields.SetEnd(row.sEnd);
    } else {
      fields.SetSize(row.sSize);
    }
    EXPECT_EQ(fields.Start + "/" + fields.End + "/" + fields.Size, row.sExpected);
  }
}

}  // namespace
