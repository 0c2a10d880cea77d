#include <sys/stat.h>

#include <cerrno>

#include "tests/sys/failing_ops.h"
#include "tests/text/text_test.h"

namespace {

TEST_F(ProjFile, LineForms) {
  const u8 aData[] = {0, 10, 255};
  ASSERT_EQ(PROJFILE_Create(Name().c_str()), 0);
  PROJFILE_WriteDec(nullptr, "Version", 93800);
  PROJFILE_WriteDec(nullptr, "Negative", 0xFFFFFFFF);
  PROJFILE_WriteString("S", "a", "text");
  PROJFILE_WriteHex32("S", "b", 0xAB);
  PROJFILE_WriteHex8("S", "c", 0xA);
  PROJFILE_WriteDecBytes("S", "d", aData, 3);
  PROJFILE_WriteHexBytes("S", "e", aData, 3);
  PROJFILE_WriteString("S", "f", nullptr);
  PROJFILE_WriteHexBytes("S", "g", aData, 0);
  PROJFILE_WriteDecBytes("S", "h", nullptr, 3);
  EXPECT_EQ(Saved(),
            "  Version = 93800\r\n  Negative = -1\r\n[S]\r\n  a = \"text\"\r\n  b = 0x000000AB\r\n"
            "  c = 0x0A\r\n  d[3] = 0,10,255\r\n  e[3] = 0x00,0x0A,0xFF\r\n");
}

TEST_F(ProjFile, WhereALineGoes) {
  const struct {
    const char *sOld, *sSection, *sKey, *sNew;
  } rows[] = {
      {"[S]\r\nTimeout = 1\r\n", "S", "SNValue", "[S]\r\n  SNValue = 5\r\nTimeout = 1\r\n"},
      {"[S]\na = 1\nc = 1\n[T]\n", "S", "B", "[S]\na = 1\n  B = 5\r\nc = 1\n[T]\n"},
      {"[S]\na = 1\n[T]\n", "S", "z", "[S]\na = 1\n  z = 5\r\n[T]\n"},
      {"[S]\nab = 1\n", "S", "a", "[S]\n  a = 5\r\nab = 1\n"},
      {"[S]\na = 1\n", "S", "ab", "[S]\na = 1\n  ab = 5\r\n"},
      {"[CPU]\nz = 1\n[T]\n", "CPU", "a", "[CPU]\nz = 1\n  a = 5\r\n[T]\n"},
      {"z = 1\n[T]\n", nullptr, "a", "z = 1\n  a = 5\r\n[T]\n"},
      {"[S]\n A[2] = 1,2\nb = 2\n", "S", "a", "[S]\n  a = 5\r\nb = 2\n"},
      {"x = 1\n", "New", "a", "x = 1\n[New]\r\n  a = 5\r\n"},
      {"x = 1", "New", "a", "x = 1\r\n[New]\r\n  a = 5\r\n"},
      {"x = 1", nullptr, "a", "x = 1\r\n  a = 5\r\n"},
      {"x = 1", nullptr, "x", "  x = 5\r\n"},
      {"[S]", "S", "a", "[S]\r\n  a = 5\r\n"},
      {"[S]\n[bad\n[S]\n", "S", "a", "[S]\n  a = 5\r\n[bad\n[S]\n"},
      {"", "S", "a", "[S]\r\n  a = 5\r\n"},
  };
  for (const auto& row : rows) {
    Open(row.sOld);
    PROJFILE_WriteDec(row.sSection, row.sKey, 5);
    u32 value = 0;
    EXPECT_EQ(PROJFILE_ReadU32(row.sSection, row.sKey, &value), 0) << row.sOld;
    EXPECT_EQ(value, 5u);
    EXPECT_EQ(Saved(), row.sNew);
  }
}

// The index is moved along with the text: what is read must always be what was written last.
TEST_F(ProjFile, ManyChangesInAnyOrder) {
  Open("[S]\r\n  k5 = 1\r\n[T]\r\n  k5 = 2\r\n");
  std::vector<u32> expected(600, 0);
  u32 seed = 7;
  for (u32 i = 0; i < 3000; ++i) {
    seed = seed * 1103515245 + 12345;
    const u32 key = (seed >> 16) % 600;
    expected[key] = (seed >> 8) & (i % 2 != 0 ? 0xFF : 0xFFFFFF);
    PROJFILE_WriteDec("S", ("k" + std::to_string(key)).c_str(), expected[key]);
  }
  expected[5] = expected[5] == 0 ? 1 : expected[5];
  for (u32 k = 0; k < 2 * expected.size(); ++k) {  // as written, and as opened again
    if (k == expected.size()) {
      Open(Saved());
    }
    const u32 i = k % 600;
    u32 value = 0;
    PROJFILE_ReadU32("S", ("k" + std::to_string(i)).c_str(), &value);
    ASSERT_EQ(value, expected[i]) << i;
  }
}

TEST_F(ProjFile, LongLinesAreWhole) {
  ASSERT_EQ(PROJFILE_Create(Name().c_str()), 0);
  const std::vector<u8> data(5000, 0xA5);
  PROJFILE_WriteHexBytes("S", "Data", data.data(), 5000);
  PROJFILE_WriteString("S", "Text", std::string(10000, 't').c_str());
  PROJFILE_WriteString("S", "Lines", "one\n[S]\ntwo");
  std::vector<u8> readData(5000);
  char acText[16];
  EXPECT_EQ(PROJFILE_ReadHexBytes("S", "Data", readData.data(), 5000), 0);
  EXPECT_EQ(readData, data);
  EXPECT_EQ(PROJFILE_ReadString("S", "Lines", acText, sizeof(acText)), 0);
  EXPECT_STREQ(acText, "one\n[S]\ntwo");
}

TEST_F(ProjFile, CreateAndSaveAnswers) {
  EXPECT_EQ(PROJFILE_Create(nullptr), 0);
  EXPECT_EQ(PROJFILE_Save(nullptr), -1);
  EXPECT_EQ(Shown(), "Unable to save project file. No filename specified.");
  EXPECT_EQ(PROJFILE_Save(Name().c_str()), -1);
  EXPECT_EQ(Shown(), "Could not save project file [" + Name() + "]\nInvalid file content buffer!");
  PROJFILE_WriteDec("S", "a", 1);
  EXPECT_EQ(PROJFILE_Save((m_Dir / "no/p.korvane").c_str()), -1);
  EXPECT_EQ(Shown(), "Could not save file [" + (m_Dir / "no/p.korvane") + "]\nPath not found!");
  EXPECT_EQ(PROJFILE_Save(Name().c_str()), 0);
  EXPECT_STREQ(PROJFILE_GetName(), Name().c_str());
  EXPECT_EQ(PROJFILE_Create(Name().c_str()), -1);
  EXPECT_EQ(Shown(), "File already exist:\n" + Name());
  EXPECT_EQ(PROJFILE_Create(std::string(512, 'n').c_str()), -1);
  EXPECT_EQ(Shown(), "Insufficient memory for filename.");
  EXPECT_EQ(PROJFILE_Close(), 0);
  PROJFILE_WriteDec("S", "a", 1);
  EXPECT_EQ(Shown(), "No project file opened.");
}

TEST_F(ProjFile, UnchangedIsNotWritten) {
  Open("a = 1\n");
  WriteFile(Name(), "changed behind its back");
  EXPECT_EQ(PROJFILE_Save(nullptr), 0);
  EXPECT_EQ(ReadFile(Name()), "changed behind its back");
  PROJFILE_BeginRewrite();
  PROJFILE_WriteDec(nullptr, "b", 2);
  EXPECT_EQ(Saved(), "  b = 2\r\n");
}

TEST_F(ProjFile, FailedSaveKeepsTheOldFile) {
  Open("a = 1\n");
  PROJFILE_WriteDec(nullptr, "a", 2);
  {
    const FailingOps ops(FailingOps::Step::Write, ENOSPC, 3);
    EXPECT_EQ(PROJFILE_Save(nullptr), -1);
  }
  EXPECT_EQ(Shown(), "Could not save project file [" + Name() +
                         "]\nFailed to write data! No space left on device.");
  EXPECT_EQ(ReadFile(Name()), "a = 1\n");
  chmod(Name().c_str(), 0444);
  EXPECT_EQ(PROJFILE_Save(nullptr), -2);
  EXPECT_EQ(Shown(), "Could not save file [" + Name() + "]\nFile has read only attribute!");
  chmod(Name().c_str(), 0644);
  EXPECT_EQ(Saved(), "  a = 2\r\n");
}

}  // namespace
