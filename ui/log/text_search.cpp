// Looking at the lines of a text buffer: selections, words, search, cells.
#include <algorithm>

#include "ui/log/text_buffer.h"
#include "ui/log/text_bytes.h"
#include "ui/log/text_match.h"

namespace {

bool IsDelimiter(char c) {
  return c == ' ' || c == '\'' || c == ',' || c == '.';
}

}  // namespace

TEXT_SELECTION TextBuffer::GetSelection(TEXT_POS A, TEXT_POS B) const {
  const std::lock_guard lock(m_Lock);
  if (m_NumLines == 0) {
    return {};
  }
  const auto limit = [&](TEXT_POS pos) {
    if (pos.Line >= m_NumLines) {
      return TEXT_POS{m_NumLines - 1, GetLine(m_NumLines - 1).NumChars};
    }
    pos.Col = std::min(pos.Col, GetLine(pos.Line).NumChars);
    return pos;
  };
  TEXT_SELECTION selection{limit(A), limit(B), 0};
  if (selection.End < selection.Start) {
    std::swap(selection.Start, selection.End);
  }
  selection.NumLines =
      selection.Start == selection.End ? 0 : selection.End.Line - selection.Start.Line + 1;
  return selection;
}

std::string TextBuffer::GetText(const TEXT_SELECTION& Selection) const {
  const std::lock_guard lock(m_Lock);
  std::string text;
  for (u32 i = 0; i < Selection.NumLines; ++i) {
    const u32 line = Selection.Start.Line + i;
    if (line >= m_NumLines) {
      break;
    }
    const std::string_view whole = GetLine(line).Text();
    const size_t begin = i == 0 ? Selection.Start.Col : 0;
    const size_t end = line == Selection.End.Line ? Selection.End.Col : whole.size();
    if (begin < end) {
      text += whole.substr(std::min(begin, whole.size()), end - begin);
    }
    if (line != Selection.End.Line) {
      text += "\r\n";
    }
  }
  return text;
}

TEXT_SELECTION TextBuffer::GetWord(TEXT_POS Pos) const {
  const std::lock_guard lock(m_Lock);
  if (m_NumLines == 0) {
    return {};
  }
  const u32 line = std::min(Pos.Line, m_NumLines - 1);
  const std::string_view text = GetLine(line).Text();
  const u32 hit = std::min(Pos.Col, static_cast<u32>(text.size()));
  u32 end = hit;
  while (end < text.size() && !IsDelimiter(text[end])) {
    ++end;
  }
  u32 begin = hit;
  if (hit < text.size() && IsDelimiter(text[hit])) {
    end = hit + 1;
  } else {
    while (begin > 0 && !IsDelimiter(text[begin - 1])) {
      --begin;
    }
  }
  return GetSelection({line, begin}, {line, end});
}

bool TextBuffer::Find(std::string_view Text, bool Backward, bool IsAtHit, TEXT_POS* pPos) const {
  const std::lock_guard lock(m_Lock);
  if (Text.empty() || m_NumLines == 0) {
    return false;
  }
  const TextMatcher matcher(Text);
  TEXT_POS start{std::min(pPos->Line, m_NumLines - 1), pPos->Col};
  const u32 numVisits = m_NumLines + 1;  // the start line comes twice: behind and before the start
  if (IsAtHit && !Backward) {
    // One character on, so that the present hit is passed.
    ++start.Col;
    if (start.Col >= GetLine(start.Line).NumChars) {
      start = {(start.Line + 1) % m_NumLines, 0};
    }
  }
  for (u32 i = 0; i < numVisits; ++i) {
    const u32 step = i % m_NumLines;
    const u32 line = (start.Line + (Backward ? m_NumLines - step : step)) % m_NumLines;
    std::string_view whole = GetLine(line).Text();
    size_t skipped = 0;
    if (i == 0 && Backward) {
      whole = start.Col >= whole.size() ? std::string_view() : whole.substr(0, start.Col);
    } else if (i == 0) {
      skipped = std::min<size_t>(start.Col, whole.size());
      whole.remove_prefix(skipped);
    }
    if (const auto at = Backward ? matcher.FindLast(whole) : matcher.FindFirst(whole)) {
      *pPos = {line, static_cast<u32>(*at + skipped)};
      return true;
    }
  }
  return false;
}

void TextBuffer::SetUtf8(bool OnOff) {
  const std::lock_guard lock(m_Lock);
  m_IsUtf8 = OnOff;
}

void TextBuffer::GetCells(u32 Line, std::vector<u32>* pCells) const {
  const LineContext& line = GetLine(Line);
  pCells->clear();
  if (line.IsAscii || !m_IsUtf8) {
    return;
  }
  u32 cell = 0;
  for (std::string_view rest = line.Text(); !rest.empty(); ++cell) {
    const u32 numBytes = TEXT_DecodeChar(rest).NumBytes;
    pCells->insert(pCells->end(), numBytes, cell);
    rest.remove_prefix(numBytes);
  }
  pCells->push_back(cell);
}

u32 TextBuffer::ColumnToCell(u32 Line, u32 Col) const {
  std::vector<u32> cells;
  GetCells(Line, &cells);
  return cells.empty() ? Col : cells[std::min<size_t>(Col, cells.size() - 1)];
}

u32 TextBuffer::CellToColumn(u32 Line, u32 Cell) const {
  std::vector<u32> cells;
  GetCells(Line, &cells);
  const u32 numChars = GetLine(Line).NumChars;
  if (cells.empty()) {
    return std::min(Cell, numChars);
  }
  const auto it = std::lower_bound(cells.begin(), cells.end(), Cell);
  return std::min(static_cast<u32>(it - cells.begin()), numChars);
}
