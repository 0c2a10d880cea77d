#include <gtest/gtest.h>

#include <algorithm>

#include "catalogue/devices/device_table.h"

namespace {

// Row that the raw bytes of an ID lead to.
i32 Identify(std::vector<u8> id) {
  id.resize(42);
  const u32 word = static_cast<u32>(id[0] | id[1] << 8 | id[2] << 16) | static_cast<u32>(id[3])
                                                                            << 24;
  return FLASH_IdentifyDevice(word, id.data(), 32);
}

std::string NameOf(i32 row) {
  FLASH_DEVICE device = {};
  return row >= 0 && FLASH_GetDeviceRow(static_cast<u32>(row), &device) == 0 ? device.sDevice
                                                                             : "none";
}

}  // namespace

TEST(Identify, Rows) {
  const struct {
    std::vector<u8> Id;
    const char* sDevice;
  } cases[] = {
      {{0x20, 0x20, 0x11}, "M25P10-A"},
      {{0x20, 0xBA, 0x19}, "N25Q256A"},  // second byte ignored
      {{0x20, 0xBB, 0x19}, "N25Q256A"},
      {{0xEF, 0x40, 0x18}, "S25FL128K"},  // the same chip under its second maker's name
      {{0xEF, 0x60, 0x18}, "W25Q128FV"},
      {{0x01, 0x02, 0x20, 0x4D, 0x00, 0x80}, "S25FL512S"},  // fourth byte doesn't count
      {{0x01, 0x02, 0x20, 0x4D, 0x00, 0x81}, "S25FS512S"},
      {{0x01, 0x02, 0x20, 0x4D, 0x01, 0x80}, "none"},  // three bytes alone don't decide
      {{0x34, 0x2B, 0x19, 0, 8}, "S25HS256T"},         // the fifth byte is looked at by the caller
      {{0xC8, 0x40, 0x18}, "GD25Q128E"},
      {{0x00, 0x00, 0x00}, "none"},
      {{0xFF, 0xFF, 0xFF}, "none"},
  };
  for (const auto& c : cases) {
    EXPECT_EQ(NameOf(Identify(c.Id)), c.sDevice);
  }
}

// A row that an earlier one hides can be chosen by hand only. A row added or moved must not hide
// others by accident.
TEST(Identify, RowsHiddenByEarlierOnes) {
  std::vector<std::string> hidden;
  FLASH_DEVICE row = {};
  for (u32 i = 0; FLASH_GetDeviceRow(i, &row) == 0; ++i) {
    if (row.sVendor == nullptr) {
      continue;
    }
    std::vector<u8> id = {row.IdByte(0), row.IdByte(1), row.IdByte(2)};
    if (row.pIdMatch != nullptr) {
      id.assign(row.pIdMatch->pBytes, row.pIdMatch->pBytes + row.pIdMatch->NumBytes);
    }
    const i32 found = Identify(id);
    ASSERT_GE(found, 0) << row.sDevice;
    ASSERT_LE(found, static_cast<i32>(i)) << row.sDevice;
    if (found != static_cast<i32>(i)) {
      hidden.push_back(NameOf(found) + " hides " + row.sDevice);
    }
  }
  EXPECT_EQ(hidden.size(), 40u);
  for (const char* sPair :
       {"XM25QH128D hides AS25F3128MQ", "S25HS256T hides S25FS256T", "S25HS256T hides S25HS256T",
        "S25FS512S hides S25FS512S", "AT25SF2561C hides AT25QF2561C"}) {
    EXPECT_NE(std::find(hidden.begin(), hidden.end(), sPair), hidden.end()) << sPair;
  }
}

TEST(Identify, StripIdBytes) {
  const struct {
    std::vector<u8> Src, Dest;
  } cases[] = {
      {{0x7F, 0x7F, 0xC2, 0x7F, 0x22}, {0xC2, 0x22, 0, 0}},
      {{1, 2, 3, 4, 5, 6}, {1, 2, 3, 4}},
      {{0x7F, 0x7F}, {0, 0, 0, 0}},
      {{}, {0, 0, 0, 0}},
  };
  for (const auto& c : cases) {
    std::vector<u8> dest(5, 0xAA);
    SPI_StripIdBytes(c.Src.data(), static_cast<u32>(c.Src.size()), dest.data(), 4);
    EXPECT_EQ(dest.back(), 0xAA);
    dest.pop_back();
    EXPECT_EQ(dest, c.Dest);
  }
}
