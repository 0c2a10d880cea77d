#include "text/projfile_text.h"

#include <algorithm>
#include <cstring>

namespace {

constexpr std::string_view kLineEnd = "\r\n";
constexpr std::string_view kUnsortedSection = "CPU";

char Fold(char c) {
  return c >= 'A' && c <= 'Z' ? static_cast<char>(c | 0x20) : c;
}

std::string Folded(std::string_view Text) {
  std::string result(Text);
  std::transform(result.begin(), result.end(), result.begin(), Fold);
  return result;
}

std::string_view SkipBlanks(std::string_view Text) {
  return Text.substr(std::min(Text.find_first_not_of(" \t"), Text.size()));
}

// With its line feed.
std::string_view FirstLine(std::string_view Text) {
  const std::size_t end = Text.find('\n');
  return end == std::string_view::npos ? Text : Text.substr(0, end + 1);
}

// Compares over the length of the key; a shorter line is less.
bool IsAtOrBehind(std::string_view Line, std::string_view FoldedKey) {
  for (std::size_t i = 0; i < FoldedKey.size(); ++i) {
    if (i == Line.size()) {
      return false;
    }
    const u8 a = static_cast<u8>(Fold(Line[i]));
    const u8 b = static_cast<u8>(FoldedKey[i]);
    if (a != b) {
      return a > b;
    }
  }
  return true;
}

}  // namespace

ProjText::ProjText() {
  m_Pieces.emplace_back().IsFindable = true;
}

void ProjText::Parse(std::string Text) {
  *this = ProjText();
  Text.resize(std::min(Text.find('\0'), Text.size()));
  std::string_view rest(Text);
  // Runs of ordinary lines are copied at once, not line by line.
  std::size_t runSize = 0;
  while (runSize < rest.size()) {
    const std::string_view line = FirstLine(rest.substr(runSize));
    if (!SkipBlanks(line).starts_with('[')) {
      runSize += line.size();
      continue;
    }
    AddText(rest.substr(0, runSize));
    AddHeader(line);
    rest.remove_prefix(runSize + line.size());
    runSize = 0;
  }
  AddText(rest);
}

void ProjText::AddText(std::string_view Text) {
  m_Pieces.back().Text += Text;
}

void ProjText::AddHeader(std::string_view Line) {
  const std::string_view head = SkipBlanks(Line);
  const std::size_t end = head.find(']');
  const bool isSound = end != std::string_view::npos && Line.ends_with('\n');
  const bool isNew =
      isSound && m_Sections.try_emplace(Folded(head.substr(1, end - 1)), m_Pieces.size()).second;
  if (isNew || m_Pieces.back().IsFindable) {
    m_Pieces.emplace_back().IsFindable = isNew;
    m_Pieces.back().Body = Line.size();
  }
  AddText(Line);
}

std::string ProjText::Format() const {
  std::string text;
  for (const Piece& piece : m_Pieces) {
    text += piece.Text;
  }
  return text;
}

std::size_t ProjText::FindPiece(const char* pSection) const {
  if (pSection == nullptr) {
    return 0;
  }
  const auto it = m_Sections.find(Folded(pSection));
  return it != m_Sections.end() ? it->second : kNoPiece;
}

// A last line without an end is ended first: the new header would be a part of it. That may turn a
// header at the very end of the text into one that counts.
std::size_t ProjText::FindOrAddPiece(const char* pSection, bool* pIsAdded) {
  std::size_t index = FindPiece(pSection);
  if (index != kNoPiece) {
    return index;
  }
  if (const std::string& last = m_Pieces.back().Text; !last.empty() && last.back() != '\n') {
    Parse(Format().append(kLineEnd));
    index = FindPiece(pSection);
  }
  if (index == kNoPiece) {
    AddHeader("[" + std::string(pSection) + "]" + std::string(kLineEnd));
    *pIsAdded = true;
    index = FindPiece(pSection);
  }
  // A name that no header can hold, such as one with a bracket.
  return index != kNoPiece ? index : m_Pieces.size() - 1;
}

// A key is what stands ahead of the first equal sign or bracket of a line, less the blanks around.
void ProjText::IndexKeys(Piece* pItem) {
  if (pItem->IsIndexed) {
    return;
  }
  pItem->IsIndexed = true;
  for (std::size_t offset = pItem->Body; offset < pItem->Text.size();) {
    const std::string_view line = FirstLine(std::string_view(pItem->Text).substr(offset));
    const std::string_view head = SkipBlanks(line);
    const std::size_t end = head.find_first_of("=[\n");
    if (end != std::string_view::npos && head[end] != '\n') {
      std::string_view key = head.substr(0, end);
      key = key.substr(0, key.find_last_not_of(" \t") + 1);
      pItem->Keys.try_emplace(Folded(key), offset);
    }
    offset += line.size();
  }
}

std::string ProjText::FindKey(const char* pSection, std::string_view Key, std::size_t NumBytes) {
  std::size_t index = FindPiece(pSection);
  if (index == kNoPiece) {
    return {};
  }
  Piece& piece = m_Pieces[index];
  IndexKeys(&piece);
  const auto it = piece.Keys.find(Folded(Key));
  if (it == piece.Keys.end()) {
    return {};
  }
  const std::string_view line = FirstLine(std::string_view(piece.Text).substr(it->second));
  std::string result = piece.Text.substr(it->second, std::max(line.size(), NumBytes));
  while (result.size() < NumBytes && ++index < m_Pieces.size()) {
    result += std::string_view(m_Pieces[index].Text).substr(0, NumBytes - result.size());
  }
  return result;
}

u32 ProjText::GetLineNumber(const char* pSection, std::string_view Key) {
  const std::size_t index = FindPiece(pSection);
  if (index == kNoPiece) {
    return 0;
  }
  IndexKeys(&m_Pieces[index]);
  const auto it = m_Pieces[index].Keys.find(Folded(Key));
  if (it == m_Pieces[index].Keys.end()) {
    return 0;
  }
  const auto countLines = [](std::string_view text) {
    return static_cast<u32>(std::count(text.begin(), text.end(), '\n'));
  };
  u32 line = 1 + countLines(std::string_view(m_Pieces[index].Text).substr(0, it->second));
  for (std::size_t i = 0; i < index; ++i) {
    line += countLines(m_Pieces[i].Text);
  }
  return line;
}

// Replaces a stretch that begins at the start of a line, and moves the index with the text.
void ProjText::Splice(Piece* pItem, std::size_t Offset, std::size_t NumBytes,
                      std::string_view New) {
  pItem->Text.replace(Offset, NumBytes, New);
  if (Offset + New.size() == pItem->Text.size() || New.size() == NumBytes) {
    return;
  }
  for (auto& [key, offset] : pItem->Keys) {
    // The replaced line itself stays where it was.
    if (offset > Offset || (offset == Offset && NumBytes == 0)) {
      offset += New.size() - NumBytes;
    }
  }
}

bool ProjText::WriteKey(const char* pSection, std::string_view Key, std::string Line) {
  bool isAdded = false;
  Piece& piece = m_Pieces[FindOrAddPiece(pSection, &isAdded)];
  IndexKeys(&piece);
  const bool isOneLine = Line.find('\n') == std::string::npos;
  Line += kLineEnd;
  const std::string folded = Folded(Key);
  if (const auto it = piece.Keys.find(folded); it != piece.Keys.end()) {
    const std::size_t offset = it->second;
    Splice(&piece, offset, FirstLine(std::string_view(piece.Text).substr(offset)).size(), Line);
  } else {
    std::size_t offset = piece.Text.size();
    if (pSection != nullptr && pSection != kUnsortedSection) {
      offset = piece.Body;
      while (offset < piece.Text.size()) {
        const std::string_view line = FirstLine(std::string_view(piece.Text).substr(offset));
        if (IsAtOrBehind(SkipBlanks(line), folded)) {
          break;
        }
        offset += line.size();
      }
    }
    if (offset == piece.Text.size() && offset != 0 && piece.Text.back() != '\n') {
      piece.Text += kLineEnd;
      offset = piece.Text.size();
    }
    Splice(&piece, offset, 0, Line);
    piece.Keys[folded] = offset;
  }
  if (!isOneLine) {
    Parse(Format());  // a value of several lines may hold anything, a header too
  }
  return isAdded;
}
