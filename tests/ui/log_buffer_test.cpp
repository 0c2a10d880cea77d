#include <gtest/gtest.h>

#include <atomic>
#include <random>
#include <string>
#include <thread>
#include <vector>

#include "tests/support/wait_for.h"
#include "ui/log/text_buffer.h"

using namespace std::string_literals;

namespace {

constexpr TEXT_DEFAULTS kLight = {};

// A buffer with all that its handlers got.
struct LOG {
  explicit LOG(u32 mode = TEXT_MODE_ANSI) : Buffer(mode, kLight, 1) {
    Buffer.SetMessageHandlers([this](const char* s) { Messages += "E:"s + s + "\n"; },
                              [this](const char* s) { Messages += "W:"s + s + "\n"; });
    Buffer.SetLineHandler([this](const char* p, u32 n) { Mirror.append(p, n); });
  }
  std::string Line(u32 i) const { return std::string(Buffer.GetLine(i).Text()); }
  std::string Lines() const {
    std::string all;
    for (u32 i = 0; i < Buffer.GetNumLines(); ++i) {
      all += Line(i) + "|";
    }
    return all;
  }
  // "column:foreground/background ..." of a line, with the intensities added.
  std::string Attrs(u32 i) const {
    std::string all;
    const LineContext& line = Buffer.GetLine(i);
    for (u32 k = 0; k < line.NumAttrs; ++k) {
      const LINE_ATTR& attr = line.paAttr[k];
      all += (k != 0 ? " " : "") + std::to_string(attr.Pos) + ":" +
             std::to_string(attr.Foreground()) + "/" + std::to_string(attr.Background());
    }
    return all;
  }

  TextBuffer Buffer;
  std::string Messages, Mirror;
};

TEST(LogBuffer, SplitsTextIntoLines) {
  const struct {
    u32 Mode;
    std::vector<std::string> Texts;
    std::string Lines, Mirror;
  } rows[] = {
      {TEXT_MODE_PLAIN, {"a\r\nb\nc\rd"}, "a|b|c|d|", "a\r\nb\r\nc\r\n"},
      {TEXT_MODE_PLAIN, {"a\n\rb\n"}, "a||b|", "a\r\n\r\nb\r\n"},
      {TEXT_MODE_PLAIN, {"ab", "cd", "\n"}, "abcd|", "abcd\r\n"},
      {TEXT_MODE_PLAIN, {"\n\n"}, "||", "\r\n\r\n"},
      {TEXT_MODE_PLAIN, {"", "a\n", ""}, "a|", "a\r\n"},
      {TEXT_MODE_PLAIN, {"\ta\tb"}, "  a  b|", ""},
      {TEXT_MODE_PLAIN, {"a\0b\n"s, "c\n"}, "ac|", "ac\r\n"},
      {TEXT_MODE_PLAIN, {"\x1b[31mx\n"}, "\x1b[31mx|", "\x1b[31mx\r\n"},
      {TEXT_MODE_ANSI, {"\x1b[1;31mERR\x1b[0m\n"}, "ERR|", "ERR\r\n"},
      {TEXT_MODE_TERMINAL, {"a\3771b\n"}, "00> a|01> b|", "00> a\r\n01> b\r\n"},
      {TEXT_MODE_TERMINAL, {"a\3771\3770b\n"}, "00> ab|", "00> ab\r\n"},
      {TEXT_MODE_TERMINAL, {"a", "\377Fb", "c\n"}, "00> a|15> bc|", "00> a\r\n15> bc\r\n"},
      {TEXT_MODE_TERMINAL, {"a\x1b[31mb\x1b[\n"}, "00> ab[|", "00> ab[\r\n"},
      {TEXT_MODE_TERMINAL, {"a\xff\0b"s, "c"}, "00> ac|", ""},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.Lines);
    LOG log(row.Mode);
    for (const std::string& text : row.Texts) {
      EXPECT_EQ(log.Buffer.AddText(text), 0);
    }
    EXPECT_EQ(log.Lines(), row.Lines);
    EXPECT_EQ(log.Mirror, row.Mirror);
    EXPECT_EQ(log.Messages, "");
  }
}

TEST(LogBuffer, TurnsSequencesIntoColours) {
  const std::string tooMuch = "0123456789;0123456789;012345678901234567;31";
  const struct {
    std::string Text, Line, Attrs, Messages;
  } rows[] = {
      {"\x1b[1;31mERROR\x1b[0m", "ERROR", "0:9/15 5:0/15", ""},
      {"\x1b[2;33mW\2330m", "W", "0:3/15 1:0/15", ""},
      {"\x1b[32m\x1b[ma", "a", "0:2/15", ""},
      {"\x1b[32mb\x1b[0;31ma", "ba", "0:2/15 1:1/15", ""},
      {"\x1b[31m\x1b[32ma", "a", "0:2/15", ""},
      {"\x1b[4;44ma\x1b[24mb\x1b[0Mc", "abc", "0:0/12 1:0/4 2:0/15", ""},
      {"\x1b[31Xa", "a", "0:1/15", ""},
      {"\033x31ma", "a", "0:1/15", ""},
      {"\x1b[64;99999999999;31ma", "a", "0:1/15", ""},
      {"\x1b[ 3 2 ma", "a", "0:0/15", "W:ANSI CSI SGR parameter 3 not supported.\n"},
      {"\x1b[63ma", "a", "0:0/15", "W:ANSI CSI SGR parameter 63 not supported.\n"},
      {"\x1b[31;\200a", "[31;\200a", "0:0/15", ""},
      {"a\x1b", "a", "0:0/15", ""},
      {"a\x1b[", "a[", "0:0/15", ""},
      {"a\x1b[3", "a[3", "0:0/15", ""},
      {"\x1b[" + tooMuch + "ma", "a", "0:0/15", "W:ANSI CSI SGR parameter 12 not supported.\n"},
      // A byte of a character is no sequence, one behind it is.
      {"\xc4\x9b\x9b\x33\x31ma", "\xc4\233a", "0:0/15 2:1/15", ""},
      {"\xc4\x9bta", "\xc4\x9bta", "0:0/15", ""},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.Text);
    LOG log;
    EXPECT_EQ(log.Buffer.AddText(row.Text), 0);
    ASSERT_EQ(log.Buffer.GetNumLines(), 1u);
    EXPECT_EQ(log.Line(0), row.Line);
    if (row.Text.find(tooMuch) == std::string::npos) {
      EXPECT_EQ(log.Messages, row.Messages);
      EXPECT_EQ(log.Attrs(0), row.Attrs);
    } else {
      EXPECT_EQ(log.Attrs(0).find("0:1/"), std::string::npos) << "31 lies behind what is stored";
    }
  }
  LOG log;
  log.Buffer.AddText("\x1b[31ma\nb\nc\x1b[0m\n");
  EXPECT_EQ(log.Attrs(1), "0:1/15");
  log.Buffer.AddText("d");
  log.Buffer.AddText("\x1b[32me\nf");
  EXPECT_EQ(log.Attrs(3), "0:0/15 1:2/15");
  EXPECT_EQ(log.Attrs(4), "0:2/15");
}

TEST(LogBuffer, ColoursOfTerminals) {
  LOG log(TEXT_MODE_TERMINAL);
  log.Buffer.AddText("a\n\3771b\n\377ac\n\377x\n");
  EXPECT_EQ(log.Lines(), "00> a|01> b|10> c|10> x|");
  EXPECT_EQ(log.Attrs(0) + " " + log.Attrs(1) + " " + log.Attrs(2), "0:0/15 0:1/15 0:8/15");
  EXPECT_EQ(log.Messages,
            "E:Terminal change character (IAC) followed by invalid character "
            "(non-hexadecimal).\n");
}

TEST(LogBuffer, BoundsOfALine) {
  const std::string warning =
      "W:Line contents exceed maximum of 4096 characters. Not all content could be displayed!\n";
  const std::string full(4096, 'x');
  const struct {
    u32 Mode;
    std::string First, Second;
    int Result;
    std::string Lines;
  } rows[] = {
      {TEXT_MODE_PLAIN, "", full + "\n", 0, full + "|"},
      {TEXT_MODE_PLAIN, "k\n", full + "x\nlost\n", -5, "k|"},
      {TEXT_MODE_PLAIN, "k\n", full + "x", -5, "k|"},
      {TEXT_MODE_PLAIN, "open", full.substr(4) + "\nn", 0, "open" + full.substr(4) + "|n|"},
      {TEXT_MODE_PLAIN, "open", full.substr(3) + "\nlost\n", -5, "open|"},
      {TEXT_MODE_PLAIN, "", full.substr(1) + "\t", -5, ""},
      {TEXT_MODE_ANSI, "", full.substr(5) + "\x1b[31m\n", 0, full.substr(5) + "|"},
      {TEXT_MODE_ANSI, "", full.substr(4) + "\x1b[31m\n", -5, ""},
      {TEXT_MODE_TERMINAL, "", full.substr(4) + "\n", 0, "00> " + full.substr(4) + "|"},
      {TEXT_MODE_TERMINAL, "", full.substr(3) + "\n", -5, ""},
  };
  for (const auto& row : rows) {
    LOG log(row.Mode);
    log.Buffer.AddText(row.First);
    EXPECT_EQ(log.Buffer.AddText(row.Second), row.Result);
    EXPECT_EQ(log.Lines(), row.Lines);
    EXPECT_EQ(log.Messages, row.Result == 0 ? "" : warning);
  }
  LOG log;
  std::string text;
  for (u32 i = 0; i < 120; ++i) {
    text += "x\x1b[3" + std::to_string(i % 8) + "m";
  }
  EXPECT_EQ(log.Buffer.AddText(text), 0);
  EXPECT_EQ(log.Line(0), std::string(120, 'x'));
  EXPECT_EQ(log.Buffer.GetLine(0).NumAttrs, 100u);
  EXPECT_NE(log.Messages.find("exceeded (100 formatters)"), std::string::npos);
}

// A clear in the middle of the ring: what was before never comes back.
TEST(LogBuffer, TheRingTurns) {
  LOG log;
  const auto add = [&](u32 i) { log.Buffer.AddText(std::to_string(i) + "\n"); };
  for (const u32 numBefore : {0u, 500u, 9499u}) {
    for (u32 i = 0; i < numBefore; ++i) {
      add(i);
    }
    log.Buffer.Clear();
    EXPECT_EQ(log.Buffer.GetNumLines(), 0u);
    for (u32 i = 0; i < 25000; ++i) {
      add(i);
      ASSERT_EQ(log.Buffer.GetNumLines(), std::min(i + 1, 10000u));
      ASSERT_EQ(log.Line(0), std::to_string(i < 10000 ? 0 : i - 9999));
      ASSERT_EQ(log.Line(std::min(i, 9999u)), std::to_string(i));
    }
  }
}

TEST(LogBuffer, Clearing) {
  LOG log;
  log.Buffer.AddText("long line\nopen");
  log.Buffer.Clear();
  EXPECT_EQ(log.Mirror, "long line\r\nopen");
  EXPECT_EQ(log.Buffer.GetMaxLineLen(), 0u);
  log.Buffer.AddText("new\n");
  EXPECT_EQ(log.Lines(), "new|");
  log.Buffer.AddText("b\x1b[2Ja\nz");
  EXPECT_EQ(log.Lines(), "ba|z|") << "the line of the sequence is the first one";
  log.Buffer.AddText("y\x1b[2jx\nw");
  EXPECT_EQ(log.Lines(), "zyx|w|") << "so is one that was open";
  log.Mirror.clear();
  log.Buffer.ResetLineHandler();
  log.Buffer.AddText("v\n");
  EXPECT_EQ(log.Mirror, "w");
}

TEST(LogBuffer, WordsOfADoubleClick) {
  LOG log;
  log.Buffer.AddText("Flash 'W25Q', 12.5 MHz (quad)\n\nend ");
  const struct {
    TEXT_POS Pos;
    std::string Word;
  } rows[] = {{{0, 0}, "Flash"},   {{0, 4}, "Flash"},   {{0, 5}, " "},   {{0, 6}, "'"},
              {{0, 8}, "W25Q"},    {{0, 12}, ","},      {{0, 15}, "12"}, {{0, 16}, "."},
              {{0, 26}, "(quad)"}, {{0, 99}, "(quad)"}, {{1, 0}, ""},    {{9, 1}, "end"},
              {{2, 4}, ""}};
  for (const auto& row : rows) {
    EXPECT_EQ(log.Buffer.GetText(log.Buffer.GetWord(row.Pos)), row.Word) << row.Pos.Col;
  }
}

TEST(LogBuffer, SelectedText) {
  LOG log;
  log.Buffer.AddText("first\nsecond\n\nlast");
  const struct {
    TEXT_POS A, B;
    std::string Text;
  } rows[] = {{{0, 1}, {0, 3}, "ir"},
              {{0, 3}, {0, 1}, "ir"},
              {{0, 5}, {1, 0}, "\r\n"},
              {{1, 3}, {0, 2}, "rst\r\nsec"},
              {{0, 0}, {3, 4}, "first\r\nsecond\r\n\r\nlast"},
              {{2, 0}, {99, 99}, "\r\nlast"},
              {{1, 99}, {3, 0}, "\r\n\r\n"},
              {{1, 2}, {1, 2}, ""}};
  for (const auto& row : rows) {
    EXPECT_EQ(log.Buffer.GetText(log.Buffer.GetSelection(row.A, row.B)), row.Text);
  }
  log.Buffer.Clear();
  EXPECT_EQ(log.Buffer.GetSelection({0, 0}, {5, 5}).NumLines, 0u);
}

TEST(LogBuffer, FindsInAFullCircle) {
  LOG log;
  log.Buffer.AddText("Alpha beta alpha\nx\naaaa\nBETA\n");
  const struct {
    std::string Text;
    bool Backward;
    std::vector<TEXT_POS> Hits;  // one after the other from the top; none: a miss
  } rows[] = {
      {"alpha", false, {{0, 0}, {0, 11}, {0, 0}}},
      {"alpha", true, {{0, 11}, {0, 0}, {0, 11}}},
      {"beta", false, {{0, 6}, {3, 0}, {0, 6}}},
      {"aa", false, {{2, 0}, {2, 1}, {2, 2}, {2, 0}}},
      {"aa", true, {{2, 2}, {2, 0}, {2, 2}}},
      {"x", true, {{1, 0}, {1, 0}}},
      {"none", false, {}},
      {"none", true, {}},
      {"", false, {}},
  };
  for (const auto& row : rows) {
    TEXT_POS pos;
    bool isAtHit = false;
    for (const TEXT_POS& hit : row.Hits) {
      EXPECT_TRUE(log.Buffer.Find(row.Text, row.Backward, isAtHit, &pos));
      EXPECT_EQ(pos, hit) << row.Text << row.Backward;
      isAtHit = true;
    }
    EXPECT_EQ(log.Buffer.Find(row.Text, row.Backward, isAtHit, &pos), isAtHit) << row.Text;
  }
}

TEST(LogBuffer, CellsOfCharacters) {
  LOG log;
  // The third line: bytes that begin no character, an overlong form, a surrogate, one cut off.
  log.Buffer.AddText("a\xc3\xa9z\nabc\n\x80\xc0\x80\xed\xa0\x80\xe2\x82|\n\xf0\x9f\x98\x80|");
  const struct {
    u32 Line, Col, Cell;
  } rows[] = {{0, 0, 0}, {0, 1, 1}, {0, 3, 2}, {0, 4, 3}, {1, 2, 2}, {2, 8, 8}, {3, 4, 1}};
  for (const auto& row : rows) {
    EXPECT_EQ(log.Buffer.ColumnToCell(row.Line, row.Col), row.Cell);
    EXPECT_EQ(log.Buffer.CellToColumn(row.Line, row.Cell), row.Col);
  }
  EXPECT_EQ(log.Buffer.CellToColumn(0, 99), 4u);
  log.Buffer.SetUtf8(false);
  EXPECT_EQ(log.Buffer.ColumnToCell(0, 3), 3u);
}

// Any bytes: bounds hold, formatters stand in order within their line.
TEST(LogBuffer, AnyBytes) {
  std::mt19937 random(7);
  const std::string likely = "\x1b\x9b\xff[;0123456789mJ\r\n\t ab\xc3";
  for (const u32 mode : {TEXT_MODE_PLAIN, TEXT_MODE_ANSI, TEXT_MODE_TERMINAL}) {
    LOG log(mode);
    for (u32 round = 0; round < 3000; ++round) {
      std::string text(random() % 200, ' ');
      for (char& c : text) {
        c = random() % 4 != 0 ? likely[random() % likely.size()] : static_cast<char>(random());
      }
      log.Buffer.AddText(text);
    }
    const u32 numLines = log.Buffer.GetNumLines();
    ASSERT_LE(numLines, 10000u);
    for (u32 i = 0; i < numLines; ++i) {
      const LineContext& line = log.Buffer.GetLine(i);
      ASSERT_EQ(line.pBuf[line.NumChars], '\0');
      ASSERT_LE(line.NumChars, 4096u);
      ASSERT_LE(line.NumAttrs, 100u);
      for (u32 k = 1; k < line.NumAttrs; ++k) {
        ASSERT_GT(line.paAttr[k].Pos, line.paAttr[k - 1].Pos);
        ASSERT_LE(line.paAttr[k].Pos, line.NumChars);
      }
    }
  }
}

TEST(LogBuffer, TextFromThreadsWhileOthersLook) {
  LOG log;
  std::atomic<u32> numRunning = 2;
  std::vector<std::thread> writers;
  for (u32 k = 0; k < 2; ++k) {
    writers.emplace_back([&] {
      for (u32 i = 0; i < 8000; ++i) {
        log.Buffer.AddText(i % 1000 == 0 ? "\x1b[2Jx\n" : "\x1b[31mabcdefgh\x1b[0m\n");
      }
      --numRunning;
    });
  }
  EXPECT_TRUE(WaitFor([&] {
    const std::lock_guard lock(log.Buffer.GetLock());
    const std::string all = log.Buffer.GetText(log.Buffer.GetSelection({0, 0}, {0xFFFFFFFF, 0}));
    EXPECT_EQ(all.find('\x1b'), std::string::npos);
    TEXT_POS pos;
    log.Buffer.Find("nowhere", true, false, &pos);
    return numRunning == 0;
  }));
  for (std::thread& writer : writers) {
    writer.join();
  }
  EXPECT_EQ(static_cast<u32>(std::count(log.Mirror.begin(), log.Mirror.end(), '\n')), 16000u);
}

}  // namespace
