#pragma once

#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "sys/types.h"

// The text of a project file, cut into pieces at its section headers. Internal to the text store.
//
// A project is read by thousands of look-ups and written by thousands of insertions, so neither may
// walk the text: every piece has its own text and an index of its keys, built at the first look and
// kept up by the changes. The pieces put together are the file, byte for byte; what makes no sense
// stays where it is.
//
// Only the first section of a name is ever found, and lines behind a broken header belong to none.
// Such text is one nameless piece up to the next section that can be found.
class ProjText {
 public:
  ProjText();

  // The text ends at its first NUL.
  void Parse(std::string Text);
  std::string Format() const;

  // The text from the key's line on, at least NumBytes of it when there is as much; empty when the
  // key is missing. A null section stands for the lines ahead of the first one.
  std::string FindKey(const char* pSection, std::string_view Key, std::size_t NumBytes);
  bool HasSection(const char* pSection) const { return FindPiece(pSection) != kNoPiece; }
  // From 1; 0 when the key is missing.
  u32 GetLineNumber(const char* pSection, std::string_view Key);
  // Line has no line end. True when the section had to be added.
  bool WriteKey(const char* pSection, std::string_view Key, std::string Line);

 private:
  static constexpr std::size_t kNoPiece = ~std::size_t{0};

  struct Piece {
    std::string Text;      // with the header's line
    std::size_t Body = 0;  // behind the header's line
    bool IsFindable = false;
    bool IsIndexed = false;
    std::unordered_map<std::string, std::size_t> Keys;  // folded key, offset of its line
  };

  std::size_t FindPiece(const char* pSection) const;
  std::size_t FindOrAddPiece(const char* pSection, bool* pIsAdded);
  void AddText(std::string_view Text);
  void AddHeader(std::string_view Line);
  static void IndexKeys(Piece* pItem);
  static void Splice(Piece* pItem, std::size_t Offset, std::size_t NumBytes, std::string_view New);

  std::vector<Piece> m_Pieces;                              // the first has no header
  std::unordered_map<std::string, std::size_t> m_Sections;  // folded name, index of the piece
};
