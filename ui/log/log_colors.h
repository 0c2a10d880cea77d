#pragma once

#include "sys/types.h"

// The sixteen colours of the log view and the schemes that choose among them.

struct LOG_RGB {
  u8 R = 0;
  u8 G = 0;
  u8 B = 0;
  u8 A = 255;
  friend bool operator==(const LOG_RGB&, const LOG_RGB&) = default;
};

struct LOG_SCHEME {
  u32 DefFg;  // palette indices
  u32 DefBg;
  u32 Terminal0;
  u32 Terminal1;
  u32 OtherTerminals;
  // Selection with and without the focus: background, text. The desktop's scheme takes the first
  // pair from the desktop's palette instead.
  LOG_RGB SelFocusBg;
  LOG_RGB SelFocusFg;
  LOG_RGB SelBg;
  LOG_RGB SelFg;
};

constexpr LOG_RGB LOG_HIGHLIGHT_RGB = {255, 165, 0, 127};
constexpr LOG_RGB LOG_FIND_FAILED_RGB = {244, 208, 63};

// Unknown schemes count as the light one.
const LOG_SCHEME& LOG_GetScheme(u32 ColorScheme);
// Color is 0 to 15. The brightest foreground of the dark scheme has nothing above it and stays.
LOG_RGB LOG_GetColor(u32 Color, u32 Intensity);
