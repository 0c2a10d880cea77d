#include "console/progress_line.h"

#include <gtest/gtest.h>

TEST(ProgressLine, ShowsShareRateAndRest) {
  struct ROW {
    CONSOLE_PROGRESS Progress;
    u32 ElapsedMs, Columns;
    const char* sLine;
  };
  const ROW aRows[] = {
      {{"Erasing", "", 0, 0, 0, 0}, 5000, 80, "Erasing    0 %"},
      {{"Erasing", "", 3, 0, 4, 0}, 500, 80, "Erasing   75 %"},
      {{"Erasing", "", 3, 0, 4, 0}, 3000, 80, "Erasing   75 %  1/s  0:01 left"},
      {{"Verify", "@ 0", 1000000, 0, 16000000, PROGRESS_BYTES},
       2000,
       80,
       "Verify    6 %  500.0 kB/s  0:30 left  @ 0"},
      {{"Verify", "", 8000000, 0, 16000000, PROGRESS_BYTES},
       4000,
       80,
       "Verify   50 %  2.0 MB/s  0:04 left"},
      {{"Two\nlines", "", 9, 5, 7, 0}, 0, 80, "Two lines  100 %"},
      {{"Cut it off", "", 0, 0, 9, 0}, 0, 6, "Cut it"},
      {{"Gr\xc3\xbc\xc3\x9f", "", 0, 0, 9, 0}, 0, 5, "Gr\xc3\xbc"},
  };
  for (const ROW& row : aRows) {
    EXPECT_EQ(CONSOLE_FormatProgress(row.Progress, row.ElapsedMs, row.Columns), row.sLine);
  }
}

TEST(ProgressLine, StripsColours) {
  EXPECT_EQ(CONSOLE_StripColours("\x1b[1;31mERROR: x\x1b[0m\n"), "ERROR: x\n");
  EXPECT_EQ(CONSOLE_StripColours("cut \x1b["), "cut ");
}
