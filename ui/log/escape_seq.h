#pragma once

#include <array>
#include <string_view>

#include "sys/types.h"
#include "ui/log/log_types.h"

// Escape sequences of terminals, as far as the log view knows them:
//
//   ESC any-byte parameters final-byte
//   CSI parameters final-byte
//
// with parameters of bytes 32 to 63 and a final byte of 64 to 126. Pure; any thread.

constexpr char LOG_CHAR_ESC = 27;
constexpr char LOG_CHAR_CSI = static_cast<char>(155);
constexpr char LOG_CHAR_IAC = static_cast<char>(255);  // changes the terminal

struct ESCAPE_SEQ {
  u32 NumBytes = 0;  // of the whole sequence; 0: it is broken
  u32 Len = 0;
  std::array<char, 31> acText;  // parameters, as far as they fit, and the final byte

  std::string_view GetText() const { return {acText.data(), Len}; }
};

// Text starts with ESC or CSI.
ESCAPE_SEQ LOG_ParseEscape(std::string_view Text);

// What a sequence asks for.
enum class ESCAPE_ACTION { Reset, ClearView, Attributes };
ESCAPE_ACTION LOG_GetEscapeAction(std::string_view Seq);

// The number at *pPos, moving behind it; -1, moving by one, where there is none. Numbers that no
// attribute has come out as ESCAPE_MAX_PARAM + 1 at most, however many digits they have.
constexpr int ESCAPE_MAX_PARAM = 63;
int LOG_ReadEscapeParam(std::string_view Seq, std::size_t* pPos);

// Colours that a reset brings back.
struct LOG_DEFAULT_COLORS {
  u32 FgColor;
  u32 BgColor;
};
// Applies one parameter of 0 to 63; false when it has no meaning here.
bool LOG_ApplyEscapeParam(LINE_ATTR* pAttr, int Param, const LOG_DEFAULT_COLORS& Defaults);
