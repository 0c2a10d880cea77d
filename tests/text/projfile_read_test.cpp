#include "sys/file.h"
#include "tests/text/text_test.h"

namespace {

TEST_F(ProjFile, NumbersAndTheirFailures) {
  const struct {
    const char *sText, *sSection;
    int Result;
    u32 Value;
    const char* sShown;
  } rows[] = {
      {"  Key = 0x10\r\n", nullptr, 0, 0x10, ""},
      {"Key=-1\n", nullptr, 0, 0xFFFFFFFF, ""},
      {"Key = 5", nullptr, 0, 5, ""},
      {"Key = \r\n", nullptr, PROJFILE_NO_NUMBER, 0, ""},
      {"Key = 4294967296\n", nullptr, -1, 0, "Expected a value <= 4294967295"},
      {"Key = 0X10\n", nullptr, 0, 16, ""},
      {"Key = Yes ; c\n", nullptr, 0, 1, ""},
      {"Key = OFF\r\n", nullptr, 0, 0, ""},
      {"Key = 10 000\n", nullptr, PROJFILE_PARTLY, 10, ""},
      {"Key = 0x\n", nullptr, PROJFILE_NO_NUMBER, 0, ""},
      {"Key = -0x10\n", nullptr, PROJFILE_PARTLY, 0, ""},
      {"Key = -\n", nullptr, PROJFILE_NO_NUMBER, 0, ""},
      {"Key = +7g\n", nullptr, PROJFILE_PARTLY, 7, ""},
      {"Key = \"a\"\n", nullptr, PROJFILE_NO_NUMBER, 0, ""},
      {"KEY = 5\n", nullptr, -1, 0, "Expected \"Key\""},
      {"Key2 = 5\nKeyX[1] = 6\n Key 3 = 1\n", nullptr, -1, 0, ""},
      {"Key = 1\nKey = 2\n", nullptr, 0, 1, ""},
      {"Key[2] = 7\n", nullptr, 0, 7, ""},
      {"Key[2 = 7\n", nullptr, -1, 0, "Expected ']', got '='"},
      {"Key[x] = 7\n", nullptr, -1, 0, "Expecting a number"},
      {"[S]\nKey = 3\n", nullptr, -1, 0, ""},
      {"Key = 1\n \t[s]\r\n\tKey\t=\t3\n", "S", 0, 3, ""},
      {"[S]x\nKey = 3\n", "S", 0, 3, ""},
      {"[S]\n[T]\nKey = 3\n", "S", -1, 0, ""},
      {"[S]\n[broken\nKey = 3\n", "S", -1, 0, ""},
      {"[S]\nA = 1\n[S]\nKey = 3\n", "S", -1, 0, ""},
      {"[S]", "S", -1, 0, ""},
      {"[S]\nKey = 3", "S", 0, 3, ""},
      {"[S ]\nKey = 3\n", "S", -1, 0, ""},
      {"", "S", -1, 0, ""},
      {"\n\n\r\r\n=\n[\n]\nKey", nullptr, -1, 0, ""},
  };
  for (const auto& row : rows) {
    Open(row.sText);
    u32 value = 9;
    EXPECT_EQ(PROJFILE_ReadU32(row.sSection, "Key", &value), row.Result) << row.sText;
    EXPECT_EQ(value, row.Value) << row.sText;
    EXPECT_EQ(Shown(), row.sShown) << row.sText;
  }
  const std::pair<std::string, const char*> refused[] = {
      {std::string("Key = 4\n\0[S]\n", 13), "line 2 holds a NUL."},
      {std::string("\xFF\xFEK\0", 4), "It is in UTF-16. Save it as UTF-8."}};
  for (const auto& [text, sSays] : refused) {
    WriteFile(Name(), text);
    EXPECT_EQ(PROJFILE_Open(Name().c_str()), -1);
    EXPECT_NE((Shown() + ShownWhere()).find(sSays), std::string::npos) << sSays;
  }
  Open("\xEF\xBB\xBF[S]\r\n\r\nKey = 5\r\n");
  EXPECT_EQ(PROJFILE_GetLine("S", "Key"), 3u);
}

TEST_F(ProjFile, Strings) {
  const struct {
    const char* sText;
    int Result;
    const char *sValue, *sShown;
  } rows[] = {{"Key = \"abc\"\n", 0, "abc", ""},
              {"Key = \"a=[b]\"\n", 0, "a=[b]", ""},
              {"Key = \"1234567\"\n", 0, "1234567", ""},
              {"Key = \"12345678\"\n", -1, "1234567", "Failed to read 'Key' in section 'S'."},
              {"Key = \"123456\xC3\xA4\"\n", -1, "123456", "Failed to read 'Key' in section 'S'."},
              {"Key = \"\"\n", 0, "", ""},
              {"Key = abc\"\n", -1, "", "Failed to read 'Key' in section 'S'."},
              {"Key = \"a\nb\"\n", 0, "a\nb", ""},
              {"Key = \"a\n[T]\n\"\n", 0, "a\n[T]\n", ""},
              {"Key = abc\n", -1, "", "Failed to read 'Key' in section 'S'."},
              {"Key = \"abc", -1, "abc", "Failed to read 'Key' in section 'S'."},
              {"kEY = \"abc\"\n", -1, "", "Expected \"Key\""}};
  for (const auto& row : rows) {
    Open(std::string("[S]\r\n") + row.sText);
    char acValue[8] = "?";
    EXPECT_EQ(PROJFILE_ReadString("S", "Key", acValue, sizeof(acValue)), row.Result) << row.sText;
    EXPECT_STREQ(acValue, row.sValue);
    EXPECT_EQ(Shown(), row.sShown);
  }
}

// What one way of reading an array of four gives: the bytes, and the message of a failure.
using READ = int(const char*, const char*, u8*);
std::string ReadBytes(READ* pfRead) {
  u8 aData[4] = {9, 9, 9, 9};
  const int result = pfRead(nullptr, "K", aData);
  std::string text = result == 0 ? "" : "failed ";
  for (const u8 byte : aData) {
    text += std::to_string(byte) + " ";
  }
  return text;
}

TEST_F(ProjFile, ByteArrays) {
  const struct {
    const char *sText, *sHex, *sDec, *sShown;
  } rows[] = {{"K[3] = 1,2,3\r\n", "1 2 3 0 ", "1 2 3 0 ", ""},
              {"K[3] = 0x01 , 0xFF,7\n", "1 255 7 0 ", "failed 0 0 0 0 ", "Expected ',', got 'x'"},
              {"K[3] = 1 2 3\n", "1 2 3 0 ", "failed 1 0 0 0 ", "Expected ',', got '2'"},
              {"K[2] = 1,x\n", "1 0 0 0 ", "failed 1 0 0 0 ", "Expecting a number"},
              {"K = 1,2\n", "0 0 0 0 ", "0 0 0 0 ", ""},
              {"K[9] = 1,2,3,4,5\n", "1 2 3 4 ", "1 2 3 4 ", ""},
              {"K[4] = 1,2\r\n", "1 2 0 0 ", "failed 1 2 0 0 ", "Expected ',', got '\r'"},
              {"K[-3] = 1,2,3\n", "0 0 0 0 ", "0 0 0 0 ", ""},
              {"", "failed 0 0 0 0 ", "failed 0 0 0 0 ", ""}};
  for (const auto& row : rows) {
    Open(row.sText);
    EXPECT_EQ(ReadBytes([](auto s, auto k, u8* p) { return PROJFILE_ReadHexBytes(s, k, p, 4); }),
              row.sHex);
    EXPECT_EQ(Shown(), "");
    EXPECT_EQ(ReadBytes([](auto s, auto k, u8* p) { return PROJFILE_ReadDecBytes(s, k, p, 4); }),
              row.sDec);
    EXPECT_EQ(Shown(), row.sShown);
  }
  Open("K[2] = 256,-99999999999999999999999\nL[99999] = 1\n");
  u8 aData[2] = {9, 9};
  u32 numInFile = 0;
  EXPECT_EQ(PROJFILE_ReadHexBytes(nullptr, "K", aData, 2), -1);
  EXPECT_EQ(Shown(), "Expected a value <= 255");
  EXPECT_EQ(ShownWhere(), "File [" + Name() + "], section '', key 'K'");
  EXPECT_EQ(PROJFILE_ReadDecBytes(nullptr, "K", aData, 2), 0);
  EXPECT_EQ(aData[0] << 8 | aData[1], 0xFF01);  // cut by magnitude
  EXPECT_EQ(PROJFILE_ReadHexBytes(nullptr, "L", aData, 2, &numInFile), 0);
  EXPECT_EQ(numInFile, 32767u);
}

TEST_F(ProjFile, OpenFailures) {
  EXPECT_EQ(PROJFILE_Open(nullptr), -1);
  EXPECT_EQ(Shown(), "Unable to open project file. No filename specified.");
  EXPECT_EQ(PROJFILE_Open(Name().c_str()), -1);
  EXPECT_EQ(Shown(), "Could not open file [" + Name() + "]\nFile not found!");
  EXPECT_EQ(PROJFILE_Open(std::string(SYS_MAX_PATH, 'n').c_str()), -1);
  EXPECT_EQ(Shown(), "Insufficient memory for filename.");
  EXPECT_EQ(PROJFILE_IsOpen(), 0);
  u32 value = 0;
  EXPECT_EQ(PROJFILE_ReadU32(nullptr, "K", &value), -1);
  EXPECT_EQ(Shown(), "No project file opened.");
  Open("K = 1\n");
  EXPECT_EQ(PROJFILE_IsOpen(), 1);
  EXPECT_EQ(PROJFILE_Open((m_Dir / "none").c_str()), -1);
  EXPECT_EQ(PROJFILE_IsOpen(), 0);
  EXPECT_STREQ(PROJFILE_GetName(), "");
  PROJFILE_Shutdown();
  EXPECT_EQ(PROJFILE_IsOpen(), -1);
  EXPECT_EQ(PROJFILE_GetName(), nullptr);
  EXPECT_EQ(PROJFILE_Open(Name().c_str()), -1);
  EXPECT_EQ(PROJFILE_Save(Name().c_str()), -1);
}

// Look-ups that walked this file would be 20 GB of text, which no time limit of the tests allows.
TEST_F(ProjFile, ThousandsOfLookUpsInAHugeFile) {
  std::string text;
  for (u32 i = 0; text.size() < 10'000'000; ++i) {
    text += "junk" + std::to_string(i) + (i % 7 == 0 ? " = 1\r\n" : "\r\n");
    text += i % 1000 == 0 ? "[Junk" + std::to_string(i) + "]\r\n" : "";
  }
  Open(text + "[Last]\r\n  Key = 7\r\n");
  for (u32 i = 0; i < 3000; ++i) {
    u32 value = 0;
    ASSERT_EQ(PROJFILE_ReadU32("Last", ("None" + std::to_string(i)).c_str(), &value), -1);
    ASSERT_EQ(PROJFILE_ReadU32("Last", "Key", &value), 0);
    ASSERT_EQ(value, 7u);
  }
}

}  // namespace
