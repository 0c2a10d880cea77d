// Serial numbers: what their files may hold, and what must never go on from there.
#include "flash/serial_number.h"

#include <gtest/gtest.h>
#include <sys/stat.h>

#include <cstdio>
#include <filesystem>

#include "flash/auto.h"
#include "flash/connect.h"
#include "image/memarea.h"
#include "sys/file.h"
#include "tests/operations/auto_scope.h"

namespace {

MEMAREA_PTR MakeImage() {
  MEMAREA_PTR pArea(MEMAREA_Create());
  MEMAREA_AddRange(pArea.get(), 1, 5, reinterpret_cast<const u8*>("image"));
  return pArea;
}

TEST(SerialNumber, DataOfEveryForm) {
  const std::string noLines(40000, '\n'), longLine(300000, 'A'), zeros(63, '0'),
      notNumber = "p_Serial.txt], line 1: not a serial number.";
  const struct {
    const char* sSerial;  // null: no file
    std::string List;     // empty: no file
    u32 Len, Addr;
    std::string Stamped;  // hexadecimal; else the error
  } rows[] = {
      {nullptr, "", 4, 0, "00000000"},
      {"5", "", 8, 0, "05000000FAFFFFFF"},
      {"0x10", "", 4, 0, "10000000"},
      {"4294967295 ", "", 8, 0, "FFFFFFFF00000000"},
      {"abc", "", 4, 0, notNumber},
      {"", "", 4, 0, notNumber},
      {" 7", "", 4, 0, notNumber},
      {"1", "", 12, 0, "01000000FEFFFFFF00000000"},
      {"255", "", 1, 0, "FF"},
      {"256", "", 1, 0, "Serial number 256 does not fit into 1 bytes."},
      {"16777216", "", 3, 0, "Serial number 16777216 does not fit into 3 bytes."},
      {"256", noLines + "77", 1, 0, "line 257: the line is empty."},
      {"1", "", 40, 0, "01000000FEFFFFFF" + std::string(48, '0')},
      {"4294967296", "", 4, 0, notNumber},
      {"0x", "", 4, 0, notNumber},
      {"12O4", "", 4, 0, notNumber},
      {"\xFE\xFF\x31", "", 4, 0, notNumber},
      {"7\r\nabc", "", 4, 0, "07000000"},
      {zeros.c_str(), "", 4, 0, notNumber},  // cut behind 63 characters, it may be any
      {"1", "", 0, 0, "The serial number has a length of 0 bytes."},
      {"1", "", 8, 0x3FFF8, "01000000FEFFFFFF"},
      {"1", "", 8, 0x3FFF9, "(0x3FFF9 - 0x40000) does not fit into flash chip."},
      {"1", "", 32, 0xFFFFFFFF, "(0xFFFFFFFF - 0x10000001E) does not fit into flash chip."},
      {"0", "0aFf12\n", 2, 0, "0AFF"},
      {"1", "00\nAABB", 4, 0, "AABB0000"},
      {"1", "00\r\nAABB\r\nCC", 4, 0, "AABB0000"},
      {"40000", noLines + "77", 1, 0, "77"},
      {"1", "00\nAABBC", 4, 0, "AABB0000"},
      {"1", "00\nAABBC\n", 4, 0, "line 2, column 6: half a byte at the end of the line."},
      {"1", "00\n\nBB", 1, 0, "p_SNList.txt], line 2: the line is empty."},
      {"1", "00\n", 1, 0, "line 2: the list ends before this line."},
      {"7", "00\n11", 1, 0, "line 8: the list ends before this line."},
      {"0", "\xEF\xBB\xBF", 1, 0, "line 1, column 1: not a hexadecimal digit."},
      {"0", "0 11", 2, 0, "line 1, column 2: not a hexadecimal digit."},
      {"0", longLine, 32, 0, std::string(64, 'A')},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(testing::Message() << row.Stamped << " of " << row.List.substr(0, 20));
    AutoScope core;
    std::filesystem::remove(core.Path("p_Serial.txt"));
    row.sSerial != nullptr ? core.SetSerial(row.sSerial) : void();
    row.List.empty() ? void() : WriteFile(core.Path("p_SNList.txt"), row.List);
    SetProduction([&](PROJ_PRODUCTION& p) { p.SNLen = row.Len, p.SNAddr = row.Addr; });
    ASSERT_EQ(FLASH_Connect(), 0);
    const MEMAREA_PTR pArea(MEMAREA_Create());
    MEMAREA_AddPatch(pArea.get(), row.Addr, 0xEE);  // typed over the place, not saved
    const int result = SN_Prepare(pArea.get());
    std::string stamped;
    for (u64 i = 0; i < MEMAREA_GetNumBytes(pArea.get()); ++i) {
      u8 value = 0;
      MEMAREA_Read(pArea.get(), row.Addr + i, 1, &value, 0);
      char ac[3];
      std::snprintf(ac, sizeof ac, "%02X", value);
      stamped += ac;
    }
    EXPECT_TRUE(result == 0 ? stamped == row.Stamped : core.FrontEnd().HasLog(row.Stamped))
        << stamped << core.FrontEnd().GetLog();
    EXPECT_EQ(result == 0, stamped != "");
    EXPECT_EQ(core.FrontEnd().HasLog("Could not read data for SN="),
              row.Stamped.find("line ") != std::string::npos && row.Stamped != notNumber);
    const bool isFetched = result == 0 || row.Stamped.find(" bytes.") != std::string::npos;
    EXPECT_EQ(core.FrontEnd().HasLog("No SN list file detected."),
              isFetched && row.List.empty() && row.Len != 0);
  }
}

// Whatever a file is that isn't what it should be: the chip isn't touched, and the file named.
TEST(SerialNumber, NoGuesses) {
  const struct {
    const char* sName;
    mode_t Mode;  // of a pipe, a folder, or a file of that mode
    const char* sSays;
  } rows[] = {
      {"p_Serial.txt", S_IFDIR, "Access is denied!"},
      {"p_SNList.txt", S_IFDIR, "Access is denied!"},
      {"p_Serial.txt", S_IFIFO, "It is a device or a pipe."},
      {"p_SNList.txt", S_IFIFO, "It is a device or a pipe."},
      {"p_Serial.txt", 0444, "File has read only attribute!"},
      {"p_Serial.txt", 0644, "is in use: another run"},  // by another run
      {"p_SNList.txt", 0644, "line 6: the list ends before this line."},
  };
  for (const auto& row : rows) {
    AutoScope core;
    const std::string name = core.Path(row.sName);
    std::filesystem::remove(name);
    if (row.Mode < S_IFIFO) {
      WriteFile(name, "5");
      chmod(name.c_str(), row.Mode);
    } else if (row.Mode == S_IFDIR) {
      std::filesystem::create_directory(name);
    } else {
      ASSERT_EQ(mkfifo(name.c_str(), 0666), 0);
    }
    const bool isHeld = row.sSays == std::string("is in use: another run");
    const SYS_HANDLE hOther =
        isHeld ? SYS_FILE_Open(name.c_str(), SYS_FILE_READ | SYS_FILE_WRITE | SYS_FILE_SHARE_READ)
               : SYS_INVALID_FILE;
    FLASH_Auto(MakeImage().get());
    EXPECT_TRUE(core.FrontEnd().HasBox("Could not prepare data for serial number programming"));
    EXPECT_TRUE(core.FrontEnd().HasBox(name) && core.FrontEnd().HasBox(row.sSays))
        << core.FrontEnd().GetLog();
    EXPECT_FALSE(core.FrontEnd().HasLog("Reading affected sectors"));
    isHeld ? SYS_FILE_Close(hOther) : void();
  }
}

// Going on behind the last number would give away the first one again; so would counting on from a
// number that another run has given away meanwhile.
TEST(SerialNumber, NeverTwice) {
  const struct {
    const char *sBefore, *sMeanwhile, *sAfter, *sSays;  // empty: no file
    u32 SNInc = 1;
  } rows[] = {
      {"5", "5", "6", kPassed},
      {"", "0", "1", kPassed},
      {"5", "", "", "has changed during the run: serial number 5"},
      {"5", "6", "6", "has changed during the run: serial number 5"},
      {"5", "x", "x", "has changed during the run"},
      {"4294967295", "4294967295", "4294967295", "There is no further serial number."},
      {"5", "5", "5", "The increment of the serial number is 0", 0},
  };
  for (const auto& row : rows) {
    AutoScope core;
    const std::string name = core.Path("p_Serial.txt");
    const auto set = [&](const char* s) {
      *s != 0 ? core.SetSerial(s) : void(std::filesystem::remove(name));
    };
    set(row.sBefore);
    SetProduction([&](PROJ_PRODUCTION& p) { p.SNInc = row.SNInc; });
    bool isHeld = false;
    core.FrontEnd().OnRefresh = [&](PROGRESS_INFO*) {
      isHeld = isHeld || SYS_FILE_Open(name.c_str(), 0x006) == SYS_INVALID_FILE;
      set(row.sMeanwhile);
    };
    FLASH_Auto(MakeImage().get());
    EXPECT_TRUE(core.FrontEnd().HasBox(row.sSays)) << core.FrontEnd().GetLog();
    EXPECT_EQ(core.HasPassed(), row.sSays == kPassed);
    EXPECT_EQ(isHeld, row.SNInc != 0);
    EXPECT_EQ(core.Serial(), row.sAfter);
    FLASH_Auto(MakeImage().get());  // the file isn't held any more
    EXPECT_FALSE(core.FrontEnd().HasLog("is in use: another run"));
  }
}

// The window shows the image as soon as it holds the number, and takes edits from then on.
TEST(SerialNumber, EditedBehindTheStamp) {
  AutoScope core;
  const FLASH_HOOKS hooks = FLASH_Hooks;
  FLASH_Hooks.pfOnImageChanged = [](MEMAREA* pArea) { MEMAREA_AddPatch(pArea, kSNAddr, 0xEE); };
  FLASH_Auto(MakeImage().get());
  FLASH_Hooks = hooks;
  EXPECT_TRUE(core.HasPassed()) << core.FrontEnd().GetLog();
  FLASH_Disconnect();
  EXPECT_EQ(ReadFile(core.Path("chip.bin")).substr(kSNAddr, 4), std::string("\5\0\0\0", 4));
}

}  // namespace
