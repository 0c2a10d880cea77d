#include <algorithm>
#include <string>
#include <vector>

#include "fuzz/entries.h"
#include "fuzz/promise.h"
#include "ui/log/text_buffer.h"

// The lines and colours of the log view.

namespace {

void CheckLine(const LineContext& Line, u32 MaxLineLen) {
  Check(Line.NumChars < Line.BufSize && Line.NumChars <= TEXT_MAX_LINE_CHARS, "a line has room");
  Check(Line.pBuf[Line.NumChars] == '\0', "a line is terminated");
  Check(Line.NumChars <= MaxLineLen, "the longest line is known");
  Check(Line.NumAttrs <= std::min(Line.MaxAttrs, TEXT_MAX_ATTRS), "colours have room");
  Check(Line.NumAttrs == 0 || Line.paAttr[0].Pos == 0, "the first colour is that of the start");
  for (u32 i = 1; i < Line.NumAttrs; ++i) {
    Check(Line.paAttr[i].Pos > Line.paAttr[i - 1].Pos && Line.paAttr[i].Pos <= Line.NumChars,
          "colours stand in order within their line");
  }
}

std::string GetAll(const TextBuffer& Buffer) {
  return Buffer.GetText(Buffer.GetSelection({0, 0}, {TEXT_MAX_LINES, 0}));
}

// Any cell belongs to a character, whose own cell leads back to it.
void CheckPlaces(const TextBuffer& Buffer, u32 Line) {
  constexpr u32 kNumPlaces = 8;
  const u32 numChars = Buffer.GetLine(Line).NumChars;
  for (u32 i = 0; i <= kNumPlaces; ++i) {
    const u32 place = numChars / kNumPlaces * i;
    const u32 col = Buffer.CellToColumn(Line, place);
    const u32 cell = Buffer.ColumnToCell(Line, col);
    Check(col <= numChars && cell <= place, "a cell is covered by a character");
    Check(Buffer.ColumnToCell(Line, Buffer.CellToColumn(Line, cell)) == cell,
          "a character has a cell");
  }
}

void CheckFind(const TextBuffer& Buffer, const std::string& Needle) {
  for (const bool isBackward : {false, true}) {
    TEXT_POS pos;
    if (Buffer.Find(Needle, isBackward, false, &pos)) {
      const auto found = Buffer.GetLine(pos.Line).Text().substr(pos.Col, Needle.size());
      const auto fold = [](char c) { return c >= 'A' && c <= 'Z' ? c | 32 : c; };
      Check(std::equal(found.begin(), found.end(), Needle.begin(), Needle.end(),
                       [&](char a, char b) { return fold(a) == fold(b); }),
            "what is found is there");
    }
  }
}

}  // namespace

int FUZZ_Log(const u8* pData, std::size_t NumBytes) {
  if (NumBytes == 0) {
    return 0;
  }
  const u32 mode = pData[0] % 3;
  TextBuffer buffer(mode, {}, 1);
  TextBuffer byLines(mode, {}, 7);  // gets the same text a line at a time
  std::string mirror;
  buffer.SetLineHandler([&](const char* p, u32 n) { mirror.append(p, n); });
  // The parts between NULs come as texts of their own.
  std::string_view rest = AsText(pData + 1, NumBytes - 1);
  bool isComplete = true;
  std::string lastText;
  while (!rest.empty()) {
    lastText = TakePart(&rest, '\0');
    isComplete = buffer.AddText(lastText) == 0 && isComplete;
    for (std::string_view text = lastText; !text.empty();) {
      const std::size_t end = std::min(text.find('\n'), text.size() - 1) + 1;
      byLines.AddText(text.substr(0, end));
      text.remove_prefix(end);
    }
  }
  Check(buffer.GetNumLines() <= TEXT_MAX_LINES, "the ring has an end");
  for (u32 i = 0; i < buffer.GetNumLines(); ++i) {
    CheckLine(buffer.GetLine(i), buffer.GetMaxLineLen());
    CheckPlaces(buffer, i);
  }
  // Behind a terminal's ESC a line feed may be part of the sequence, and a dropped line drops the
  // rest of its text.
  if (isComplete && mode != TEXT_MODE_TERMINAL) {
    Check(GetAll(buffer) == GetAll(byLines), "text can come in any parts");
  }
  CheckFind(buffer, lastText.substr(0, 5));
  buffer.Clear();
  Check(buffer.GetNumLines() == 0 && GetAll(buffer).empty(), "a cleared view is empty");
  return 0;
}
