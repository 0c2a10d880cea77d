#include <gtest/gtest.h>

#include "ui/common/rich_text.h"

namespace {

TEST(RichText, MarkupLineEndsAndLinks) {
  struct ROW {
    const char* sText;
    const char* sExpected;
  };
  const ROW rows[] = {
      {"a<b> & \"c\" 'd'", "a&lt;b&gt; &amp; &quot;c&quot; &apos;d&apos;"},
      {"1\n2\r3\r\n4\r", "1<br>2<br>3<br>4<br>"},
      {"see http://a.b/c, then", "see <a href=\"http://a.b/c\">http://a.b/c</a>, then"},
      {"(https://x)", "(<a href=\"https://x\">https://x</a>)"},
      {"at [http://x/y the wiki] now", "at <a href=\"http://x/y\">the wiki</a> now"},
      {"[http://x]", "<a href=\"http://x\">http://x</a>"},
      {"[see http://x]", "[see <a href=\"http://x]\">http://x]</a>"},
      {"[http://x no end", "[<a href=\"http://x\">http://x</a> no end"},
      {"http://a?b=1&c=<", "<a href=\"http://a?b=1&amp;c=&lt;\">http://a?b=1&amp;c=&lt;</a>"},
      {"http:/x https:x", "http:/x https:x"},
      {"http://a http://b", "<a href=\"http://a\">http://a</a> <a href=\"http://b\">http://b</a>"},
      {"", ""},
  };
  for (const ROW& row : rows) {
    EXPECT_EQ(UI_MakeRichText(row.sText, 32767), row.sExpected);
  }
}

// A cut entity would show as garbage, a cut link would swallow the rest.
TEST(RichText, IsCutBetweenPieces) {
  EXPECT_EQ(UI_MakeRichText("ab&c", 6), "ab");
  EXPECT_EQ(UI_MakeRichText("ab&c", 7), "ab&amp;");
  EXPECT_EQ(UI_MakeRichText("x http://a y", 20), "x ");
  EXPECT_EQ(UI_MakeRichText("x\xC3\xBCy", 2), "x");
  EXPECT_EQ(UI_CutText("x\xC3\xBC", 2), "x");
  EXPECT_EQ(UI_CutText("x\xC3\xBC", 3), "x\xC3\xBC");
}

TEST(RichText, CopiedBox) {
  const std::string line = "---------------------------\r\n";
  EXPECT_EQ(UI_MakeCopyText("T", "Really?", {"Yes", "No"}),
            line + "T\r\n" + line + "Really?\r\n" + line + "Yes   No   \r\n" + line);
  EXPECT_EQ(UI_MakeCopyText("T", "x", {}), line + "T\r\n" + line + "x\r\n" + line);
}

TEST(RichText, ClosingTitle) {
  EXPECT_EQ(UI_MakeClosingTitle("T", 5000), "T (closing in 5 seconds)");
  EXPECT_EQ(UI_MakeClosingTitle("T", 11), "T (closing in 1 seconds)");
  EXPECT_EQ(UI_MakeClosingTitle("T", 10), "T (closing now)");
}

TEST(FileNames, ExtensionOfTheChosenFilter) {
  struct ROW {
    const char* sName;
    const char* sFilter;
    const char* sExpected;
  };
  const ROW rows[] = {
      {"/d/a", "Intel Hex file (*.hex)", "/d/a.hex"},
      {"/d/a.b", "Intel Hex file (*.hex)", "/d/a.b"},
      {"/d.x/a", "Motorola S file (*.mot)", "/d.x/a.mot"},
      {"/d/a.", "Binary file (*.bin)", "/d/a.bin"},
      {"/d/a", "Data files (*.mot *.s19)", "/d/a.s19"},
      {"/d/a", "All files (*.*)", "/d/a"},
      {"/d/a", "", "/d/a"},
  };
  for (const ROW& row : rows) {
    EXPECT_EQ(UI_AddFilterExtension(row.sName, row.sFilter), row.sExpected);
  }
}

}  // namespace
