#include "programmer/config_file.h"

#include <cstddef>

#include "tests/programmer/file_reader.h"

namespace {

Bytes BuildConfig() {
  DYNBUFFER buffer;
  EXPECT_EQ(ZELMONT_CFG_Build(&buffer), 0);
  EXPECT_EQ(ReadConfig(Content(buffer)).Text,
            "Zelmont Config File V1.0 - Generated 2024-01-02 03:04 with Korvane SPI V9.38");
  return Content(buffer);
}

CUSTOM_STEP MakeStep(u32 action, u32 value0, u32 value1) {
  CUSTOM_STEP step{{}, {}, value0, value1, action};
  for (u8 i = 0; i < 16; ++i) {
    step.abData[i] = static_cast<u8>(0xA0 + i);
  }
  return step;
}

// Fills bytes of a record so that every field has a value of its own.
template <class BLOCK>
void Count(BLOCK* pBlock, size_t offset, size_t numBytes, u8 first) {
  for (size_t i = 0; i < numBytes; ++i) {
    reinterpret_cast<u8*>(pBlock)[offset + i] = static_cast<u8>(first + i);
  }
}

Blocks FillProject() {
  Blocks blocks;
  blocks.Cpu->Speed0 = 4000;
  blocks.Cpu->aInitSteps = {MakeStep(CUSTOM_DELAY, 0x1122, 0x33445566),
                            MakeStep(CUSTOM_COMMENT, 0, 0)};
  blocks.Cpu->aExitSteps = {MakeStep(CUSTOM_WRITE_DATA, 5, 0xFFFFFFFF)};
  SPI_FLASH_INFO* pFlash = blocks.Flash.get();
  Count(pFlash, 0, 20, 0x10);
  pFlash->aQuadEnableInitSteps = {MakeStep(CUSTOM_WRITE_DATA, 2, 0)};
  Count(pFlash, offsetof(SPI_FLASH_INFO, WrCmdTransferMode), 6, 0x31);
  pFlash->NumPages = 0x12345678;
  pFlash->SectorSizeShift = 32;
  Count(pFlash, offsetof(SPI_FLASH_INFO, abID), 3, 0x41);
  pFlash->UseQuadMode = 1;
  Count(blocks.Production.get(), offsetof(PROJ_PRODUCTION, TargetPowerDelay), 58, 0x01);
  blocks.Store();
  return blocks;
}

}  // namespace

TEST(ConfigFile, EveryItemInOrder) {
  ProgrammerScope scope;
  FillProject();
  EXPECT_EQ(ReadConfig(BuildConfig()).Print(),
            "100:00093D00 101:02000000 102:010000002211000066554433 102:000000000000000000000000 "
            "103:01000000 104:0400000005000000A0A1A2A3A4 201:00000000 201:01000000 "
            "216:101112131415161718191A1B1C1D1E1F20 202:414243 205:08 206:20 204:78563412 207:35 "
            "217:36 218:36 208:01 209:212223 210:01000000 212:32 213:34 214:31 215:33 "
            "211:0400000002000000A0A10000 300:36 301:01020304 302:37 304:34 305:35 306:32 307:38 "
            "308:21222324 309:25262728 310:2D2E2F30 311:3A 312:05060708 313:090A0B0C "
            "314:0D0E0F10 315:11121314 316:39 317:15161718 318:191A1B1C 319:1D1E1F20 400:01 "
            "0:00000000");
}

TEST(ConfigFile, ItemsThatDepend) {
  const struct {
    void (*pfChange)(Blocks& b);
    u32 FirstTag, LastTag;
    const char* sItems;
  } cases[] = {
      {[](Blocks& b) { b.Production->EnableTargetPower = 0; }, 301, 301, "301:00000000"},
      {[](Blocks& b) { b.Production->AutoPerformsErase = 0; }, 306, 306, "306:00"},
      {[](Blocks& b) { b.Production->EnableFixedVTref = 0; }, 319, 319, "319:00000000"},
      {[](Blocks& b) { b.Performance->DisableSkipBlankDataOnProgram = 1; }, 400, 400, "400:00"},
      {[](Blocks& b) { b.Flash->UseQuadMode = 0; }, 208, 215, ""},
      {[](Blocks& b) { b.Flash->FlashType = 3; }, 208, 215, ""},
      {[](Blocks& b) { b.Cpu->aInitSteps = b.Cpu->aExitSteps = {}; }, 101, 104,
       "101:00000000 103:00000000"},
      {[](Blocks& b) { b.Cpu->aExitSteps[0].Value0 = 4; }, 104, 104,
       "104:0400000004000000A0A1A2A3"},
      // Values that no file can hold.
      {[](Blocks& b) { b.Cpu->aExitSteps[0].Value0 = 17; }, 104, 104,
       "104:0400000010000000A0A1A2A3A4A5A6A7A8A9AAABACADAEAF"},
      {[](Blocks& b) { b.Cpu->aExitSteps[0].Value0 = ~0u; }, 104, 104,
       "104:0400000010000000A0A1A2A3A4A5A6A7A8A9AAABACADAEAF"},
      {[](Blocks& b) { b.Flash->aQuadEnableInitSteps.resize(257); }, 210, 210, "210:00010000"},
      {[](Blocks& b) { b.Cpu->Speed0 = ~0u, b.Cpu->aInitSteps.resize(300); }, 100, 101,
       "100:FFFFFFFF 101:00010000"},
  };
  for (const auto& c : cases) {
    ProgrammerScope scope;
    Blocks blocks = FillProject();
    c.pfChange(blocks);
    blocks.Store();
    EXPECT_EQ(ReadConfig(BuildConfig()).Print(c.FirstTag, c.LastTag), c.sItems);
  }
}

// Steps of 20 and 21 bytes bring the end of the items to any place.
TEST(ConfigFile, Padding) {
  const struct { u32 LastOfItems, NumBytes; } cases[] = {{2047, 2049}, {2048, 2049}, {2049, 4097}};
  for (const auto& c : cases) {
    ProgrammerScope scope;
    const u32 missing = c.LastOfItems + 1 - ReadConfig(BuildConfig()).End;
    Blocks blocks;
    for (u32 i = 0; i < missing / 20; ++i) {
      blocks.Cpu->aInitSteps.push_back(MakeStep(CUSTOM_WRITE_DATA, i < missing % 20 ? 5 : 4, 0));
    }
    blocks.Store();
    const Bytes file = BuildConfig();
    EXPECT_EQ(ReadConfig(file).End, c.LastOfItems + 1);
    EXPECT_EQ(file.size(), c.NumBytes);
    EXPECT_EQ(file, BuildConfig());
  }
}
