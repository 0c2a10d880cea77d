#include "ui/log/log_colors.h"

#include <algorithm>
#include <array>

#include "ui/log/log_types.h"

namespace {

constexpr std::array<LOG_RGB, 16> kPalette = {{{0, 0, 0},
                                               {136, 0, 0},
                                               {0, 136, 0},
                                               {136, 136, 0},
                                               {0, 0, 136},
                                               {136, 0, 136},
                                               {0, 136, 136},
                                               {204, 204, 204},
                                               {136, 136, 136},
                                               {255, 0, 0},
                                               {0, 255, 0},
                                               {255, 255, 0},
                                               {0, 0, 255},
                                               {255, 0, 255},
                                               {0, 255, 255},
                                               {255, 255, 255}}};

constexpr LOG_RGB kBlack = {0, 0, 0};
constexpr LOG_RGB kWhite = {255, 255, 255};
constexpr LOG_RGB kBlue = {0, 0, 255};
constexpr LOG_RGB kGrey = {128, 128, 128};

constexpr std::array<LOG_SCHEME, 3> kSchemes = {{
    {0, 15, 0, 1, 8, kBlue, kWhite, kGrey, kWhite},
    {15, 0, 15, 9, 7, kBlue, kWhite, kWhite, kBlack},
    {0, 15, 0, 1, 8, kBlue, kWhite, kGrey, kWhite},
}};

}  // namespace

const LOG_SCHEME& LOG_GetScheme(u32 ColorScheme) {
  return kSchemes[ColorScheme < kSchemes.size() ? ColorScheme : COLOR_SCHEME_LIGHT];
}

LOG_RGB LOG_GetColor(u32 Color, u32 Intensity) {
  return kPalette[std::min<std::size_t>(Color + Intensity, kPalette.size() - 1)];
}
