#pragma once

#include <functional>
#include <memory>
#include <mutex>
#include <string>
#include <string_view>
#include <vector>

#include "sys/types.h"

// The lines of a text view: a ring of records in plain memory, the splitter that makes lines of
// text, and the parser of colour sequences. No window.
//
//   "\e[1;31mERROR: x\e[0m\r\n"  ->  "ERROR: x" in bright red
//
// Once the ring is full a new line reuses the record of the oldest one, and a record's buffers are
// replaced only by larger ones. Every change takes the lock, which is recursive; a caller that
// looks at lines or counts them holds it meanwhile.

constexpr u32 TEXT_MAX_LINES = 10000;
constexpr u32 TEXT_MAX_LINE_CHARS = 4096;
constexpr u32 TEXT_MAX_ATTRS = 100;

constexpr u32 TEXT_MODE_PLAIN = 0;
constexpr u32 TEXT_MODE_ANSI = 1;
constexpr u32 TEXT_MODE_TERMINAL = 2;

// Colours of a run of text: from Pos to the next formatter's Pos, or to the line's end.
struct LINE_ATTR {
  u32 Pos;
  u32 FgColor;  // palette index 0 to 7, or the scheme's default
  u32 BgColor;
  u8 FgIntensity;  // 0, or 8 to be added
  u8 BgIntensity;

  u32 Foreground() const { return (FgColor + FgIntensity) & 15; }
  u32 Background() const { return (BgColor + BgIntensity) & 15; }
};

struct LineContext {
  std::unique_ptr<LINE_ATTR[]> paAttr;  // null in TEXT_MODE_PLAIN
  std::unique_ptr<char[]> pBuf;         // without escape sequences, with a NUL behind it
  u32 BufSize = 0;
  u32 NumChars = 0;
  u32 NumAttrs = 0;
  u32 MaxAttrs = 0;
  bool IsAscii = true;  // every byte is a column of its own

  std::string_view Text() const { return {pBuf.get(), NumChars}; }
};

// A place in the text. Lines count from the oldest shown one, columns in bytes.
struct TEXT_POS {
  u32 Line = 0;
  u32 Col = 0;
  bool operator==(const TEXT_POS& other) const = default;
  bool operator<(const TEXT_POS& other) const {
    return Line != other.Line ? Line < other.Line : Col < other.Col;
  }
};

struct TEXT_SELECTION {
  TEXT_POS Start, End;  // in order
  u32 NumLines = 0;     // 0: nothing is selected
};

// The colours that a scheme starts from.
struct TEXT_DEFAULTS {
  u32 FgColor = 0;
  u32 BgColor = 15;
  u32 Terminal1Color = 1;
  u32 OtherTerminalColor = 8;
};

class TextBuffer {
 public:
  // Results of AddText.
  static constexpr int ERR_MEMORY = -1;
  static constexpr int ERR_TOO_LONG = -5;

  using MESSAGE_HANDLER = std::function<void(const char* sText)>;
  using LINE_HANDLER = std::function<void(const char* pText, u32 NumBytes)>;

  TextBuffer(u32 TextMode, const TEXT_DEFAULTS& Defaults, u32 NumLinesInitial);

  std::recursive_mutex& GetLock() const { return m_Lock; }
  // Not while other threads add text. An absent handler drops the message.
  void SetMessageHandlers(MESSAGE_HANDLER pfOnError, MESSAGE_HANDLER pfOnWarning);
  // Gets each completed line, and behind it CR LF, under the lock on the thread that adds it.
  void SetLineHandler(LINE_HANDLER pfOnLine);
  // Gives the handler an open last line and removes it.
  void ResetLineHandler();

  // 0, or a negative result: the rest of the text is lost then. NUL ends the text.
  int AddText(std::string_view Text);
  void Clear();

  u32 GetNumLines() const { return m_NumLines; }
  // Valid under the lock until the next text; Line below GetNumLines.
  const LineContext& GetLine(u32 Line) const { return *m_apLines[GetSlot(Line)]; }
  // Longest line since the last Clear.
  u32 GetMaxLineLen() const { return m_MaxLineLen; }
  // Any text or a Clear changes it: positions in the text from before mean nothing now.
  u64 GetVersion() const { return m_Version; }

  // Orders the ends. Positions behind the text are moved into it.
  TEXT_SELECTION GetSelection(TEXT_POS A, TEXT_POS B) const;
  // Lines joined by CR LF.
  std::string GetText(const TEXT_SELECTION& Selection) const;
  // What a double click at a place selects.
  TEXT_SELECTION GetWord(TEXT_POS Pos) const;
  // Searches in a full circle, without regard to ASCII case. IsAtHit: Pos is an earlier hit.
  bool Find(std::string_view Text, bool Backward, bool IsAtHit, TEXT_POS* pPos) const;

  // How bytes above 127 are read: as UTF-8, or each as a character of its own.
  void SetUtf8(bool OnOff);
  // Columns of bytes to cells, one a character, and back; a cell behind the text is its end.
  u32 ColumnToCell(u32 Line, u32 Col) const;
  u32 CellToColumn(u32 Line, u32 Cell) const;
  // The cell of each column and of the line's end; empty when every column is a cell.
  void GetCells(u32 Line, std::vector<u32>* pCells) const;

 private:
  u32 GetSlot(u32 Line) const { return (m_FirstLine + Line) % static_cast<u32>(m_apLines.size()); }
  int AddPlainText(std::string_view Text);
  int AddTerminalText(std::string_view Text);
  int ChangeTerminal(u32 Terminal, std::string* pGathered);
  int AddLine(std::string_view Text, bool IsComplete);
  int Grow();
  int PrepareLine(LineContext* pLine, u32 NumChars);
  void CopyToLine(LineContext* pLine, std::string_view Text, bool IsFresh);
  void CopyAnsi(LineContext* pLine, std::string_view Text, bool IsFresh);
  void CopyTerminal(LineContext* pLine, std::string_view Text, bool IsFresh);
  void ApplySequence(LineContext* pLine, std::string_view Sequence);
  void ApplySgr(u32 Parameter);
  void AddAttr(LineContext* pLine, u32 Pos);
  void ResetAttr();
  void TellLine(const LineContext& line, bool IsComplete);
  [[gnu::format(printf, 2, 3)]] static void Report(const MESSAGE_HANDLER& Handler,
                                                   const char* sFormat, ...);
  int ReportTooLong() const;
  int ReportNoMemory() const;

  mutable std::recursive_mutex m_Lock;  // guards all that follows
  const u32 m_TextMode;
  const TEXT_DEFAULTS m_Defaults;
  std::vector<std::unique_ptr<LineContext>> m_apLines;
  u32 m_FirstLine = 0;  // slot of the oldest line
  u32 m_NumLines = 0;
  u32 m_MaxLineLen = 0;
  u64 m_Version = 0;
  bool m_IsLastLineComplete = true;
  bool m_IsClearRequested = false;  // a sequence asks for it while its line is stored
  u32 m_CurTerminal = 0;
  bool m_IsUtf8 = true;
  std::string m_Sequence;  // being parsed; has its room from the start
  LINE_ATTR m_CurAttr{};   // lives on from line to line
  MESSAGE_HANDLER m_pfOnError, m_pfOnWarning;
  LINE_HANDLER m_pfOnLine;
};

// The escape sequence at the start of the text, an ESC or CSI byte first: the number of bytes that
// it takes, 0 when it is broken. Its parameter text and final byte go to pSequence, at most 31
// bytes, the final one always last.
size_t TEXT_ParseSequence(std::string_view Text, std::string* pSequence);
