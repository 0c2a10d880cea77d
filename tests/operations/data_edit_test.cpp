// Operations that change an image, from the command line's side and from the user's.
#include <gtest/gtest.h>

#include "app/engine/app_state.h"
#include "app/operations/data_edit.h"
#include "app/operations/data_ops.h"
#include "app/operations/data_watch.h"
#include "app/operations/data_windows.h"
#include "project/project.h"
#include "tests/operations/core_scope.h"

namespace {

APP_DATA_WINDOW* Show(u64 addr, const std::string& data) {
  MEMAREA_PTR pArea(MEMAREA_Create());
  MEMAREA_AddRange(pArea.get(), addr, data.size(), reinterpret_cast<const u8*>(data.data()));
  return APP_AddDataWindow(nullptr, pArea.release(), "w");
}

std::string Bytes(u64 addr, u64 numBytes) {
  std::string data(numBytes, '\0');
  MEMAREA_Read(APP_GetFocusedImage(), addr, numBytes, reinterpret_cast<u8*>(data.data()), '.');
  return data;
}

TEST(DataEdit, MergeKeepsWhatTheSecondFileSays) {
  struct ROW {
    u64 Addr;
    std::vector<u32> Answers;  // of the question about an overlap
    int Result;
    const char* sBytes;
  };
  const ROW aRows[] = {{0x14, {}, 0, "abcdXYZ."},
                       {0x12, {0}, 0, "abXYZ..."},
                       {0x12, {1}, -2, "abcd...."},
                       {0x10, {0}, 0, "XYZd...."}};
  for (const ROW& row : aRows) {
    SCOPED_TRACE(row.Addr);
    CORE_SCOPE core;
    WriteFile(core.Path("m.bin"), "XYZ");
    APP_DATA_WINDOW* pWindow = Show(0x10, "abcd");
    MEMAREA_AddPatch(APP_GetFocusedImage(), 0x12, 'c');  // an edit below the overlap
    for (const u32 answer : row.Answers) {
      core.FrontEnd().AnswerBox(answer);
    }
    EXPECT_EQ(APP_MergeDataFile(pWindow, core.Path("m.bin").c_str(), &row.Addr), row.Result);
    EXPECT_EQ(core.FrontEnd().GetBoxes().size(), row.Answers.size());
    EXPECT_EQ(core.FrontEnd().GetStatusText(0), "Ready");
    EXPECT_EQ(Bytes(0x10, 8), row.sBytes);
  }
}

TEST(DataEdit, MergeOfAMissingFileIsTold) {
  CORE_SCOPE core;
  APP_DATA_WINDOW* pWindow = Show(0, "a");
  EXPECT_EQ(APP_MergeDataFile(pWindow, core.Path("none.hex").c_str(), nullptr), -1);
  EXPECT_NE(core.FrontEnd().GetBoxTexts().find("File not found!"), std::string::npos);
}

TEST(DataEdit, DeleteIsExactAtTheEndsOfTheAddressSpace) {
  struct ROW {
    u64 Addr;
    const char* sArgs;
    int Result;
    u64 NumBytes;
    const char* sSays;
  };
  const ROW aRows[] = {
      {0, "0,1", 0, 6, ""},
      {0xFFFFFFFC, "0xfffffffe , ffffffff", 0, 6, ""},
      {0xFFFFFFFFFFFFFFF8, "FFFFFFFFFFFFFFFE,FFFFFFFFFFFFFFFF", 0, 6, ""},
      {0x100000000, "0,7", 0, 8, ""},  // not the same address modulo 32 bits
      {0, "3,3", -1, 8,
       "End address (0x00000003) has to be greater than start address (0x00000003)"},
      {0, "3 5", -1, 8, "Separator has to be ','"},
      {0, "x,5", -1, 8, "Start address is missing"},
      {0, "1,", -1, 8, "End address is missing"},
  };
  for (const ROW& row : aRows) {
    SCOPED_TRACE(row.sArgs);
    CORE_SCOPE core;
    Show(row.Addr, "01234567");
    EXPECT_EQ(APP_DeleteRange(row.sArgs), row.Result);
    EXPECT_EQ(MEMAREA_GetNumBytes(APP_GetFocusedImage()), row.NumBytes);
    EXPECT_TRUE(core.FrontEnd().HasLog(row.sSays)) << core.FrontEnd().GetLog();
    EXPECT_EQ(APP_GetNumRunErrors(), row.Result == 0 ? 0u : 1u);
  }
}

TEST(DataEdit, RelocateTakesSigned64BitsAndWraps) {
  CORE_SCOPE core;
  Show(0x10, "ab");
  const i64 aOffsets[] = {-0x10, -1, 0x7FFFFFFF};
  const u64 aExpected[] = {0, 0xFFFFFFFFFFFFFFFF, 0x7FFFFFFE};
  for (u32 i = 0; i < 3; ++i) {
    EXPECT_EQ(APP_RelocateData(&aOffsets[i]), 0);
    EXPECT_EQ(Bytes(aExpected[i], 1), "a");
  }
  core.FrontEnd().AnswerValues({static_cast<u64>(-2)});
  EXPECT_EQ(APP_RelocateData(nullptr), 0);
  EXPECT_EQ(Bytes(0x7FFFFFFC, 2), "ab");
}

TEST(DataEdit, TestDataIsACounter) {
  CORE_SCOPE core;
  ASSERT_EQ(APP_ShowTestData(0x20006), 0);
  EXPECT_EQ(Bytes(0, 8), std::string("\0\0\0\0\1\0\0\0", 8));
  EXPECT_EQ(Bytes(0x20000, 7), std::string("\0\x80\0\0\1\x80.", 7));  // the last word is cut
  EXPECT_TRUE(core.FrontEnd().HasLog("Test data generated successfully. (131078 bytes, 1 range)"));
  core.FrontEnd().CancelOnText("Range 1/1");
  EXPECT_NE(APP_ShowTestData(0x20000), 0);
  EXPECT_TRUE(core.FrontEnd().HasLog("Generation of test data canceled by user"));
  EXPECT_EQ(APP_GetNumDataWindows(), 1u);
}

TEST(DataEdit, EliminateTakesBlankRunsOut) {
  CORE_SCOPE core;
  EXPECT_EQ(APP_EliminateBlank(), -1);
  EXPECT_TRUE(core.FrontEnd().HasLog("No data file open."));
  Show(0, "head" + std::string(64, '\xff') + "tail" + std::string(63, '\xff') + "end!");
  EXPECT_EQ(APP_EliminateBlank(), 0);
  EXPECT_EQ(MEMAREA_GetNumBytes(APP_GetFocusedImage()), 4u + 4 + 63 + 4);
  EXPECT_TRUE(core.FrontEnd().HasLog("139 bytes (1 ranges) before eliminate operation"));
  EXPECT_TRUE(core.FrontEnd().HasLog("75 bytes (2 ranges) after eliminate operation"));
}

TEST(DataEdit, FitCheckOffersToMoveTheData) {
  struct ROW {
    u64 Addr;
    u64 NumBytes;
    std::vector<u32> Answers;
    int Result;
    u64 MinAddr;
  };
  const ROW aRows[] = {
      {0x100, 8, {}, 0, 0x100},
      {0x1FFFC, 8, {}, -1, 0x1FFFC},  // the first sectors are not among those that it touches
      {0x4, 0x20000, {0}, 0, 0},      // one range, 4 bytes past the end
      {0x4, 0x20000, {1}, -1, 0x4},
      {0x4, 0x20001, {}, -1, 0x4},
  };
  for (const ROW& row : aRows) {
    SCOPED_TRACE(row.Addr + row.NumBytes);
    CORE_SCOPE core;
    PROJECT_New(nullptr);
    static SPI_FLASH_INFO info;
    PROJECT_GetFlash(&info);
    info.AutoDetect = 0;
    info.NumPages = 0x200;  // 128 KiB of 64 KiB sectors
    info.PageSizeShift = 8;
    info.SectorSizeShift = 16;
    PROJECT_SetFlash(&info);
    Show(row.Addr, std::string(row.NumBytes, 'x'));
    for (const u32 answer : row.Answers) {
      core.FrontEnd().AnswerBox(answer);
    }
    EXPECT_EQ(APP_CheckDataFits(APP_GetFocusedImage()), row.Result) << core.FrontEnd().GetLog();
    EXPECT_EQ(MEMAREA_GetMinAddr(APP_GetFocusedImage()), row.MinAddr);
    EXPECT_EQ(core.FrontEnd().GetWindows()[0]->NumUpdates, row.Addr == row.MinAddr ? 0u : 1u);
  }
}

TEST(DataWatch, ChangedAndLostFilesAreAskedAboutOnce) {
  CORE_SCOPE core;
  const std::string file = core.Path("a.hex");
  WriteFile(file,
            ":0100000061"
            "9E\n:00000001FF\n");
  ASSERT_EQ(APP_OpenFile(file.c_str(), 0, true), 0);
  APP_GetFocusedDataWindow()->FileTime.Year = 1999;
  core.FrontEnd().AnswerBox(0);  // reload
  WriteFile(file,
            ":0100000062"
            "9D\n:00000001FF\n");
  APP_CheckFileModifications(nullptr);
  EXPECT_EQ(Bytes(0, 1), "b");
  APP_CheckFileModifications(nullptr);
  EXPECT_EQ(core.FrontEnd().GetBoxes().size(), 1u);

  APP_GetFocusedDataWindow()->FileTime.Year = 1999;
  core.FrontEnd().AnswerBox(1);  // do not reload
  APP_CheckFileModifications(nullptr);
  APP_CheckFileModifications(nullptr);
  EXPECT_EQ(core.FrontEnd().GetBoxes().size(), 2u);
  core.FrontEnd().RejectBox();  // a later save asks, and is given up
  APP_SaveDataWindow(APP_GetFocusedDataWindow()->hWindow, "", false);
  EXPECT_EQ(core.FrontEnd().GetBoxes().back().Title, "Save modified data file");
  core.FrontEnd().AnswerBox(0);
  APP_SaveDataWindow(APP_GetFocusedDataWindow()->hWindow, "", false);
  EXPECT_EQ(APP_GetFocusedDataWindow()->IgnoreFileChange, 0);

  std::remove(file.c_str());
  core.FrontEnd().AnswerBox(0);  // keep the window
  APP_CheckFileModifications(nullptr);
  APP_CheckFileModifications(nullptr);
  EXPECT_EQ(core.FrontEnd().GetBoxes().size(), 5u);
  EXPECT_EQ(APP_GetNumDataWindows(), 1u);
  core.FrontEnd().AnswerFile(core.Path("b.hex"));  // it is a window without a file now
  APP_SaveDataWindow(APP_GetFocusedDataWindow()->hWindow, "", false);
  EXPECT_EQ(ReadFile(core.Path("b.hex")).substr(0, 13), ":01000000629D");
}

}  // namespace
