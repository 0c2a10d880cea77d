// Walks both device tables: each part as a simulated chip, connected, erased, programmed, verified,
// read back and compared with the chip's own file, on the list path, in fast mode and, where the
// part allows, on quad lanes. The simulator counts what the program does wrong: nothing.
#include <gtest/gtest.h>

#include <cstring>
#include <filesystem>
#include <fstream>
#include <map>
#include <random>

#include "catalogue/catalogue.h"
#include "flash/connect_internal.h"
#include "flash/driver.h"
#include "flash/erase.h"
#include "flash/program.h"
#include "flash/spi.h"
#include "flash/verify.h"
#include "project/project.h"
#include "sys/util_number.h"
#include "tests/operations/core_scope.h"

namespace {

struct PART {
  u32 Index;
  bool IsEEPROM;
  FLASH_DEVICE Row;
  std::string ChipName;  // for the driver library: the n-th row of a name is NAME#n
};

std::vector<PART> AllParts() {
  std::vector<PART> parts;
  std::map<std::string, u32> seen;
  for (u32 i = 0; i < FLASH_NUM_DEVICES + FLASH_NUM_EEPROMS; ++i) {
    PART part = {};
    part.IsEEPROM = i >= FLASH_NUM_DEVICES;
    part.Index = part.IsEEPROM ? i - FLASH_NUM_DEVICES : i;
    if (part.IsEEPROM) {
      FLASH_GetEEPROMRow(part.Index, &part.Row);
    } else {
      FLASH_GetDeviceRow(part.Index, &part.Row);
    }
    if (part.Row.sVendor == nullptr) {
      continue;
    }
    const u32 n = ++seen[part.Row.sDevice];
    part.ChipName = part.Row.sDevice + (n > 1 ? "#" + std::to_string(n) : std::string());
    parts.push_back(part);
  }
  return parts;
}

// The ID as the chip gives it, as far as identification looks.
bool IsReachedByItsID(const PART& part) {
  u8 abId[32] = {part.Row.IdByte(0), part.Row.IdByte(1), part.Row.IdByte(2)};
  if (const FLASH_ID_MATCH* pMatch = part.Row.pIdMatch; pMatch != nullptr) {
    std::memcpy(abId, pMatch->pBytes, pMatch->NumBytes);
  }
  i32 found = FLASH_IdentifyDevice(UTIL_LoadU32(abId, false), abId, sizeof abId);
  return !part.IsEEPROM && found == static_cast<i32>(part.Index);
}

// A project for this part: identification where the ID reaches the row, else a description.
void MakeProject(const PART& part, bool quad) {
  ASSERT_EQ(PROJECT_New(nullptr), 0);
  static SPI_FLASH_INFO info;
  if (part.IsEEPROM) {
    PROJECT_GetFlash(&info);
    info.FlashType = FLASH_TYPE_EEPROM;
    info.EEPROMIndex = part.Index;
    ASSERT_EQ(FLASH_ApplyEEPROM(&info), 0);
    FLASH_SelectDevice(-1, false);
  } else if (!IsReachedByItsID(part)) {
    ASSERT_EQ(FLASH_SelectDevice(static_cast<i32>(part.Index), true), 0);
    PROJECT_GetFlash(&info);
    info.AutoDetect = 0;
    for (u32 i = 0; i < 3; ++i) {
      info.abID[i] = part.Row.IdByte(i);
    }
    info.FlashType = static_cast<u32>(part.Row.FlashType);
  } else {
    FLASH_SelectDevice(-1, false);
    PROJECT_GetFlash(&info);
    info.FlashType = static_cast<u32>(part.Row.FlashType);
  }
  info.DataTransferMode = quad ? SPI_LANES_QUAD : SPI_LANES_SINGLE;
  info.UseQuadMode = 0;
  PROJECT_SetFlash(&info);
  // A selection is that of a description: another one ends it.
  if (!part.IsEEPROM && info.AutoDetect == 0) {
    ASSERT_EQ(FLASH_SelectDevice(static_cast<i32>(part.Index), false), 0);
  }
}

// The speed and the interface are chosen before the part is known, so quad needs a project that
// says so from the start, as it does once the part was identified.
void UseQuad(const PART& part) {
  static SPI_FLASH_INFO info;
  ASSERT_EQ(FLASH_SelectDevice(static_cast<i32>(part.Index), true), 0);
  PROJECT_GetFlash(&info);
  ASSERT_EQ(info.UseQuadMode, 1);
}

// Touches the first and the last page and crosses a boundary of sectors, with holes between.
MEMAREA_PTR MakeImage(const PART& part, u32 seed) {
  const u64 total = u64{1} << part.Row.TotalSizeShift();
  const u64 sector = u64{1} << part.Row.SectorSizeShift();
  std::mt19937 random(seed);
  MEMAREA_PTR pArea(MEMAREA_Create());
  const auto add = [&](u64 addr, u64 numBytes) {
    std::vector<u8> data(numBytes);
    for (u8& byte : data) {
      byte = static_cast<u8>(random());
    }
    EXPECT_EQ(MEMAREA_AddRange(pArea.get(), addr, numBytes, data.data()), 0);
  };
  add(3, 300);
  if (sector >= 2048 && total > 2 * sector) {
    add(sector - 500, 1000);
  }
  add(total - 200, 200);
  return pArea;
}

std::vector<u8> Expected(MEMAREA* pArea, u64 addr, u64 numBytes) {
  std::vector<u8> data(numBytes);
  MEMAREA_Read(pArea, addr, numBytes, data.data(), 0xFF);
  return data;
}

// The chip's file holds the image and is blank elsewhere.
void CompareFile(const std::string& fileName, MEMAREA* pArea, u64 total) {
  constexpr u64 kBlock = 0x100000;
  ASSERT_EQ(std::filesystem::file_size(fileName), total);
  std::ifstream file(fileName, std::ios::binary);
  std::vector<u8> block(std::min(kBlock, total));
  std::vector<u8> image(block.size());
  for (u64 addr = 0; addr < total; addr += block.size()) {
    file.read(reinterpret_cast<char*>(block.data()), static_cast<std::streamsize>(block.size()));
    MEMAREA_Read(pArea, addr, block.size(), image.data(), 0xFF);
    ASSERT_EQ(UTIL_FindDiff(block.data(), image.data(), block.size()), -1) << "block " << addr;
  }
}

void ReadBackAndCompare(MEMAREA* pImage) {
  const MEMAREA_PTR pRead(FLASH_ReadAffected(pImage));
  ASSERT_NE(pRead, nullptr);
  for (u32 i = 0; i < MEMAREA_GetNumRanges(pImage); ++i) {
    u64 addr = 0;
    u64 numBytes = 0;
    MEMAREA_GetRange(pImage, i, &addr, &numBytes);
    ASSERT_EQ(Expected(pRead.get(), addr, numBytes), Expected(pImage, addr, numBytes));
  }
}

void ExpectNoClientFault(CORE_SCOPE& core) {
  char acStats[256] = "";
  ASSERT_GE(VORTIC_ExecCommand("SimGetStats", acStats, sizeof acStats), 0);
  EXPECT_NE(std::strstr(acStats, "Faults=0"), nullptr) << acStats;
  FLASH_Disconnect();
  EXPECT_FALSE(core.FrontEnd().HasLog("Simulated chip")) << core.FrontEnd().GetLog();
}

// How a part is worked with in one pass.
struct PASS {
  bool WholeChip;  // erased by one instruction, else what the data touches
  bool Quad;
  bool Fast;  // EEPROMs are not in the table that fast mode needs
};

// One pass over a part: everything must end without an error.
void RunPart(CORE_SCOPE& core, const PART& part, const PASS& pass, u32 seed) {
  const u64 total = u64{1} << part.Row.TotalSizeShift();
  MakeProject(part, pass.Quad);
  if (pass.Quad) {
    UseQuad(part);
  }
  const MEMAREA_PTR pImage = MakeImage(part, seed);
  ASSERT_EQ(FLASH_Connect(), 0) << core.FrontEnd().GetLog();
  EXPECT_EQ(CONNECT_GetChip()->HasFastMode, pass.Fast && !part.IsEEPROM);
  if (part.Row.FlashType == FLASH_TYPE_NOR) {
    pass.WholeChip ? FLASH_EraseChip() : FLASH_EraseAffected(pImage.get());
  }
  FLASH_ProgramVerify(pImage.get());
  ReadBackAndCompare(pImage.get());
  const bool passed = core.FrontEnd().HasLog("Target programmed and verified successfully.");
  ASSERT_TRUE(passed && !core.FrontEnd().HasLog("ERROR")) << core.FrontEnd().GetLog();
  ExpectNoClientFault(core);
  CompareFile(core.Path("chip.bin"), pImage.get(), total);
}

#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
constexpr u64 kLargest = u64{2} << 20;  // one small part of each kind is enough there
#else
constexpr u64 kLargest = u64{1} << 30;
#endif
constexpr u64 kEraseWholeUpTo = u64{32} << 20;

TEST(EveryDevice, ProgramsVerifiesAndReadsBackWithoutAClientFault) {
  u32 numParts = 0;
  for (const PART& part : AllParts()) {
    const u64 total = u64{1} << part.Row.TotalSizeShift();
    if (total > kLargest) {
      continue;
    }
    SCOPED_TRACE(std::string(part.Row.sVendor) + " " + part.ChipName);
    ++numParts;
    CORE_SCOPE core;
    const bool isLarge = total > kEraseWholeUpTo;
    core.SetProbe({{"Chip", part.ChipName}});
    RunPart(core, part, {!isLarge, false, true}, part.Index);
    if (testing::Test::HasFatalFailure() || testing::Test::HasNonfatalFailure()) {
      return;  // one part's log is enough
    }
    core.FrontEnd().ClearLog();
    std::filesystem::remove(core.Path("chip.bin"));
    core.SetProbe({{"Chip", part.ChipName}, {"DisableFunctions", "45,72"}});
    RunPart(core, part, {false, false, false}, part.Index + 1000);
    if (part.Row.pQuadConfig != nullptr) {
      for (const bool fast : {false, true}) {
        core.FrontEnd().ClearLog();
        std::filesystem::remove(core.Path("chip.bin"));
        core.SetProbe({{"Chip", part.ChipName}, {"DisableFunctions", fast ? "51" : "45,72"}});
        RunPart(core, part, {true, true, fast}, part.Index + 2000);
      }
    }
    if (testing::Test::HasFatalFailure() || testing::Test::HasNonfatalFailure()) {
      return;
    }
  }
  if (kLargest >= u64{1} << 28) {
    EXPECT_EQ(numParts, FLASH_NUM_DEVICES - 1 + FLASH_NUM_EEPROMS);
  }
}

}  // namespace
