#include "ui/log/text_buffer.h"

#include <algorithm>
#include <array>
#include <cstdarg>
#include <cstdio>
#include <cstring>
#include <new>

#include "ui/log/text_bytes.h"

namespace {

constexpr u32 kSlack = 257;  // a buffer that has to grow gets so much more than needed
constexpr u32 kInitialAttrs = 5;
constexpr u32 kPrefixChars = 4;
constexpr u32 kSequenceRoom = 32;

}  // namespace

TextBuffer::TextBuffer(u32 TextMode, const TEXT_DEFAULTS& Defaults, u32 NumLinesInitial)
    : m_TextMode(TextMode), m_Defaults(Defaults) {
  ResetAttr();
  m_Sequence.reserve(kSequenceRoom);
  m_apLines.resize(std::clamp(NumLinesInitial, 1U, TEXT_MAX_LINES));
  for (auto& pLine : m_apLines) {
    pLine = std::make_unique<LineContext>();
  }
}

void TextBuffer::SetMessageHandlers(MESSAGE_HANDLER pfOnError, MESSAGE_HANDLER pfOnWarning) {
  const std::lock_guard lock(m_Lock);
  m_pfOnError = std::move(pfOnError);
  m_pfOnWarning = std::move(pfOnWarning);
}

void TextBuffer::SetLineHandler(LINE_HANDLER pfOnLine) {
  const std::lock_guard lock(m_Lock);
  m_pfOnLine = std::move(pfOnLine);
}

void TextBuffer::ResetLineHandler() {
  const std::lock_guard lock(m_Lock);
  if (!m_IsLastLineComplete && m_NumLines != 0) {
    TellLine(GetLine(m_NumLines - 1), false);
  }
  m_pfOnLine = nullptr;
}

void TextBuffer::TellLine(const LineContext& line, bool IsComplete) {
  if (m_pfOnLine) {
    m_pfOnLine(line.pBuf.get(), line.NumChars);
    if (IsComplete) {
      m_pfOnLine("\r\n", 2);
    }
  }
}

void TextBuffer::Report(const MESSAGE_HANDLER& Handler, const char* sFormat, ...) {
  if (Handler) {
    std::array<char, 512> acText{};
    va_list args;
    va_start(args, sFormat);
    std::vsnprintf(acText.data(), acText.size(), sFormat, args);
    va_end(args);
    Handler(acText.data());
  }
}

int TextBuffer::ReportTooLong() const {
  Report(m_pfOnWarning,
         "Line contents exceed maximum of %d characters. Not all content could be displayed!",
         TEXT_MAX_LINE_CHARS);
  return ERR_TOO_LONG;
}

int TextBuffer::ReportNoMemory() const {
  Report(m_pfOnError, "Insufficient memory");
  return ERR_MEMORY;
}

int TextBuffer::AddText(std::string_view Text) {
  const std::lock_guard lock(m_Lock);
  ++m_Version;
  try {
    return m_TextMode == TEXT_MODE_TERMINAL ? AddTerminalText(Text) : AddPlainText(Text);
  } catch (const std::bad_alloc&) {
    return ReportNoMemory();
  }
}

// A line without a tab goes on as it stands in the text; only tabs cost a copy.
int TextBuffer::AddPlainText(std::string_view Text) {
  std::string expanded;
  while (!Text.empty()) {
    size_t length = 0;
    bool hasTab = false;
    while (length < Text.size() && !TEXT_IsBreak(Text[length])) {
      hasTab |= Text[length] == '\t';
      ++length;
    }
    std::string_view line = Text.substr(0, length);
    if (hasTab) {
      expanded = TEXT_ExpandTabs(line);
      line = expanded;
    }
    if (line.size() > TEXT_MAX_LINE_CHARS) {
      return ReportTooLong();
    }
    const bool isAtEnd = length == Text.size() || Text[length] == '\0';
    if (isAtEnd) {
      return line.empty() ? 0 : AddLine(line, false);
    }
    const int result = AddLine(line, true);
    if (result < 0) {
      return result;
    }
    Text.remove_prefix(length + TEXT_GetBreakLength(Text.substr(length)));
  }
  return 0;
}

// A change of terminal first ends the line of the one before, so that a line never holds two.
int TextBuffer::ChangeTerminal(u32 Terminal, std::string* pGathered) {
  int result = 0;
  if (Terminal != m_CurTerminal && (!pGathered->empty() || !m_IsLastLineComplete)) {
    result = AddLine(*pGathered, true);
    pGathered->clear();
  }
  m_CurTerminal = Terminal;
  return result;
}

int TextBuffer::AddTerminalText(std::string_view Text) {
  std::string gathered;
  for (size_t i = 0; i < Text.size() && Text[i] != '\0';) {
    const auto byte = static_cast<u8>(Text[i]);
    int result = 0;
    size_t used = 1;
    if (byte == TEXT_IAC) {
      // The last of several changes in a row counts.
      u32 terminal = m_CurTerminal;
      const size_t numBytes = TEXT_ParseTerminalChange(Text.substr(i), &terminal);
      if (numBytes != 0) {
        used = numBytes;
        result = ChangeTerminal(terminal, &gathered);
      } else if (i + 1 < Text.size() && Text[i + 1] != '\0') {
        Report(m_pfOnError,
               "Terminal change character (IAC) followed by invalid character (non-hexadecimal).");
      } else {
        break;
      }
    } else if (TEXT_IsSequenceStart(Text, i)) {
      used = std::max<size_t>(TEXT_ParseSequence(Text.substr(i), &m_Sequence), 1);
    } else if (TEXT_IsBreak(Text[i])) {
      used = TEXT_GetBreakLength(Text.substr(i));
      result = AddLine(gathered, true);
      gathered.clear();
    } else if (byte == '\t') {
      gathered += "  ";
    } else {
      gathered += Text[i];
    }
    if (result == 0 && gathered.size() > TEXT_MAX_LINE_CHARS) {
      result = ReportTooLong();
    }
    if (result < 0) {
      return result;
    }
    i += used;
  }
  return gathered.empty() ? 0 : AddLine(gathered, false);
}

// The ring doubles until it has its final size; its lines stand in order afterwards.
int TextBuffer::Grow() {
  const u32 oldSize = static_cast<u32>(m_apLines.size());
  const u32 newSize = std::min(oldSize * 2, TEXT_MAX_LINES);
  try {
    std::rotate(m_apLines.begin(), m_apLines.begin() + m_FirstLine, m_apLines.end());
    m_FirstLine = 0;
    std::vector<std::unique_ptr<LineContext>> added(newSize - oldSize);
    for (auto& pLine : added) {
      pLine = std::make_unique<LineContext>();
    }
    m_apLines.insert(m_apLines.end(), std::make_move_iterator(added.begin()),
                     std::make_move_iterator(added.end()));
  } catch (const std::bad_alloc&) {
    return ReportNoMemory();
  }
  return 0;
}

int TextBuffer::AddLine(std::string_view Text, bool IsComplete) {
  const bool isFresh = m_IsLastLineComplete || m_NumLines == 0;
  if (isFresh && m_NumLines == m_apLines.size() && m_NumLines < TEXT_MAX_LINES) {
    if (const int result = Grow(); result < 0) {
      return result;
    }
  }
  const u32 slot = GetSlot(isFresh ? m_NumLines : m_NumLines - 1);
  LineContext* pLine = m_apLines[slot].get();
  const u32 prefix = m_TextMode == TEXT_MODE_TERMINAL ? kPrefixChars : 0;
  const u32 oldLength = isFresh ? prefix : pLine->NumChars;
  if (oldLength + Text.size() > TEXT_MAX_LINE_CHARS) {
    return ReportTooLong();
  }
  if (const int result = PrepareLine(pLine, oldLength + static_cast<u32>(Text.size()));
      result < 0) {
    return result;
  }
  if (isFresh) {
    pLine->NumChars = 0;
    pLine->IsAscii = true;
  }
  CopyToLine(pLine, Text, isFresh);
  if (m_IsClearRequested) {
    // The line that asked for it is the first one of the empty view.
    m_IsClearRequested = false;
    m_FirstLine = slot;
    m_NumLines = 1;
    m_MaxLineLen = 0;
  } else if (isFresh && m_NumLines == m_apLines.size()) {
    m_FirstLine = (m_FirstLine + 1) % static_cast<u32>(m_apLines.size());
  } else if (isFresh) {
    ++m_NumLines;
  }
  m_MaxLineLen = std::max(m_MaxLineLen, pLine->NumChars);
  m_IsLastLineComplete = IsComplete;
  if (IsComplete) {
    TellLine(*pLine, true);
  }
  return 0;
}

int TextBuffer::PrepareLine(LineContext* pLine, u32 NumChars) {
  if (pLine->BufSize < NumChars + 1) {
    const u32 size = std::min(NumChars + kSlack, TEXT_MAX_LINE_CHARS + 1);
    std::unique_ptr<char[]> pBuf(new (std::nothrow) char[size]);
    if (pBuf == nullptr) {
      return ReportNoMemory();
    }
    if (pLine->pBuf != nullptr) {
      std::memcpy(pBuf.get(), pLine->pBuf.get(), pLine->NumChars);
    }
    pLine->pBuf = std::move(pBuf);
    pLine->BufSize = size;
  }
  if (m_TextMode != TEXT_MODE_PLAIN && pLine->paAttr == nullptr) {
    const u32 numAttrs = m_TextMode == TEXT_MODE_ANSI ? kInitialAttrs : 1;
    pLine->paAttr.reset(new (std::nothrow) LINE_ATTR[numAttrs]);
    if (pLine->paAttr == nullptr) {
      return ReportNoMemory();
    }
    pLine->MaxAttrs = numAttrs;
    pLine->paAttr[0] = m_CurAttr;
    pLine->NumAttrs = 1;
  }
  return 0;
}

void TextBuffer::CopyToLine(LineContext* pLine, std::string_view Text, bool IsFresh) {
  switch (m_TextMode) {
    case TEXT_MODE_ANSI:
      CopyAnsi(pLine, Text, IsFresh);
      break;
    case TEXT_MODE_TERMINAL:
      CopyTerminal(pLine, Text, IsFresh);
      break;
    default:
      std::memcpy(pLine->pBuf.get() + pLine->NumChars, Text.data(), Text.size());
      pLine->NumChars += static_cast<u32>(Text.size());
      break;
  }
  pLine->pBuf[pLine->NumChars] = '\0';
  pLine->IsAscii = pLine->IsAscii && TEXT_IsAscii(Text);
}

void TextBuffer::CopyTerminal(LineContext* pLine, std::string_view Text, bool IsFresh) {
  LINE_ATTR& attr = pLine->paAttr[0];
  pLine->NumAttrs = 1;
  attr = {0, m_Defaults.FgColor, m_Defaults.BgColor, 0, 0};
  if (m_CurTerminal != 0) {
    attr.FgColor = m_CurTerminal == 1 ? m_Defaults.Terminal1Color : m_Defaults.OtherTerminalColor;
  }
  char* const pBuf = pLine->pBuf.get();
  if (IsFresh) {
    const char acPrefix[] = {static_cast<char>('0' + m_CurTerminal / 10),
                             static_cast<char>('0' + m_CurTerminal % 10), '>', ' '};
    std::memcpy(pBuf, acPrefix, kPrefixChars);
    pLine->NumChars = kPrefixChars;
  }
  std::memcpy(pBuf + pLine->NumChars, Text.data(), Text.size());
  pLine->NumChars += static_cast<u32>(Text.size());
}

// Stretches without a sequence are copied as blocks.
void TextBuffer::CopyAnsi(LineContext* pLine, std::string_view Text, bool IsFresh) {
  if (IsFresh) {
    pLine->NumAttrs = 1;
    pLine->paAttr[0] = m_CurAttr;
    pLine->paAttr[0].Pos = 0;
  }
  size_t begin = 0;
  const auto copy = [&](size_t end) {
    std::memcpy(pLine->pBuf.get() + pLine->NumChars, Text.data() + begin, end - begin);
    pLine->NumChars += static_cast<u32>(end - begin);
  };
  for (size_t i = 0; i < Text.size(); ++i) {
    if (!TEXT_IsSequenceStart(Text, i)) {
      continue;
    }
    copy(i);
    const size_t numBytes = TEXT_ParseSequence(Text.substr(i), &m_Sequence);
    if (numBytes != 0) {
      ApplySequence(pLine, m_Sequence);
    }
    begin = i + std::max<size_t>(numBytes, 1);  // of a broken one only the first byte is lost
    i = begin - 1;
  }
  copy(Text.size());
}

void TextBuffer::ResetAttr() {
  m_CurAttr = {0, m_Defaults.FgColor, m_Defaults.BgColor, 0, 0};
}

// Any final byte but that of the clear sequence acts as "m".
void TextBuffer::ApplySequence(LineContext* pLine, std::string_view Sequence) {
  if (Sequence == "0m" || Sequence == "0M") {
    ResetAttr();
  } else if (Sequence == "2J" || Sequence == "2j") {
    m_IsClearRequested = true;
  } else {
    constexpr u32 kNumParameters = 64;
    for (size_t i = 0; i < Sequence.size();) {
      u32 number = 0;
      size_t numDigits = 0;
      for (; i < Sequence.size() && TEXT_IsDigit(Sequence[i]); ++i, ++numDigits) {
        number = std::min(number * 10 + static_cast<u32>(Sequence[i] - '0'), kNumParameters);
      }
      if (numDigits == 0) {
        ++i;
      } else if (number < kNumParameters) {
        ApplySgr(number);
      }
    }
  }
  AddAttr(pLine, pLine->NumChars);
}

void TextBuffer::ApplySgr(u32 Parameter) {
  constexpr u8 kBright = 8;
  if (Parameter == 0) {
    ResetAttr();
  } else if (Parameter == 1 || Parameter == 2) {
    m_CurAttr.FgIntensity = Parameter == 1 ? kBright : 0;
  } else if (Parameter == 4 || Parameter == 24) {
    m_CurAttr.BgIntensity = Parameter == 4 ? kBright : 0;
  } else if (Parameter >= 30 && Parameter <= 37) {
    m_CurAttr.FgColor = Parameter - 30;
  } else if (Parameter >= 40 && Parameter <= 47) {
    m_CurAttr.BgColor = Parameter - 40;
  } else {
    Report(m_pfOnWarning, "ANSI CSI SGR parameter %d not supported.", Parameter);
  }
}

void TextBuffer::AddAttr(LineContext* pLine, u32 Pos) {
  LINE_ATTR attr = m_CurAttr;
  attr.Pos = Pos;
  if (pLine->paAttr[pLine->NumAttrs - 1].Pos == Pos) {
    pLine->paAttr[pLine->NumAttrs - 1] = attr;
    return;
  }
  if (pLine->NumAttrs == pLine->MaxAttrs) {
    if (pLine->MaxAttrs >= TEXT_MAX_ATTRS) {
      Report(m_pfOnWarning,
             "Maximum number of formatters per line exceeded (%d formatters). Not all formatters "
             "could be applied!",
             TEXT_MAX_ATTRS);
      return;
    }
    const u32 maxAttrs = std::min(pLine->MaxAttrs * 2, TEXT_MAX_ATTRS);
    std::unique_ptr<LINE_ATTR[]> paAttr(new (std::nothrow) LINE_ATTR[maxAttrs]);
    if (paAttr == nullptr) {
      ReportNoMemory();
      return;
    }
    std::copy_n(pLine->paAttr.get(), pLine->NumAttrs, paAttr.get());
    pLine->paAttr = std::move(paAttr);
    pLine->MaxAttrs = maxAttrs;
  }
  pLine->paAttr[pLine->NumAttrs++] = attr;
}

// The records stay allocated.
void TextBuffer::Clear() {
  const std::lock_guard lock(m_Lock);
  if (!m_IsLastLineComplete && m_NumLines != 0) {
    TellLine(GetLine(m_NumLines - 1), false);
  }
  m_FirstLine = m_NumLines != 0 ? GetSlot(m_NumLines) : m_FirstLine;
  m_NumLines = 0;
  m_MaxLineLen = 0;
  m_IsLastLineComplete = true;
  ++m_Version;
}
