#pragma once

#include <compare>
#include <memory>

#include "sys/types.h"

// What the log view is set up with, and the records its text is kept in.

constexpr u32 TEXT_MODE_PLAIN = 0;
constexpr u32 TEXT_MODE_ANSI = 1;      // colours by escape sequences
constexpr u32 TEXT_MODE_TERMINAL = 2;  // 16 terminals in one view, each line with its number

constexpr u32 COLOR_SCHEME_LIGHT = 0;
constexpr u32 COLOR_SCHEME_DARK = 1;
constexpr u32 COLOR_SCHEME_SYSTEM = 2;

struct CUST_TEXT_VIEW_CONFIG {
  const char* sName = nullptr;  // handed to the error and warning handlers; may be null
  u32 TextMode = TEXT_MODE_ANSI;
  u32 ColorScheme = COLOR_SCHEME_LIGHT;
  u32 NumLinesInitial = 100;  // line records allocated at start
  u32 ShowClearAll = 0;       // the context menu offers to clear the view
};

constexpr u32 LOG_MAX_LINES = 10000;    // size of the ring once it has grown
constexpr u32 LOG_MAX_LINE_LEN = 4096;  // bytes
constexpr u32 LOG_MAX_ATTRS = 100;      // formatters a line
constexpr u32 LOG_MAX_FIND_LEN = 255;   // characters
constexpr u32 LOG_NAME_SIZE = 64;       // with terminator
constexpr u32 LOG_MESSAGE_SIZE = 512;   // with terminator
constexpr u32 LOG_NUM_TERMINALS = 16;

// Results of adding text.
constexpr int LOG_ERR_MEMORY = -1;
constexpr int LOG_ERR_TOO_LONG = -5;
constexpr int LOG_ERR_NO_LINE = -6;

// The text from Pos to the next formatter, or to the line's end, takes these colours.
struct LINE_ATTR {
  u32 Pos = 0;
  u32 FgColor = 0;  // palette index
  u32 BgColor = 0;
  u8 FgIntensity = 0;  // 0, or 8: added to FgColor on painting
  u8 BgIntensity = 0;
};

// One line of text. The record is allocated once and then reused by later lines.
struct LineContext {
  std::unique_ptr<LINE_ATTR[]> paAttr;  // null in plain mode
  std::unique_ptr<char[]> pBuf;         // without escape sequences, NUL-terminated
  u32 BufSize = 0;
  u32 NumChars = 0;
  u32 NumAttrs = 0;
  u32 MaxAttrs = 0;
  u8 IsAllocated = 0;  // the other fields mean nothing before
};

// Lines count from the oldest shown one, columns are bytes of the line.
struct TEXT_POS {
  u32 Line = 0;
  u32 Col = 0;
  friend auto operator<=>(const TEXT_POS&, const TEXT_POS&) = default;
};
