#pragma once

#include <span>
#include <string>
#include <vector>

#include "sys/types.h"

struct PROJ_INFO;

// What the project information shows, without a window.

constexpr u32 PROJ_INFO_GENERAL = 0;  // groups
constexpr u32 PROJ_INFO_SETUP = 1;
constexpr u32 PROJ_INFO_FLASH = 2;
constexpr u32 PROJ_INFO_NUM_GROUPS = 3;

struct PROJ_INFO_ROW {
  u32 Group;
  const char* sText;
  // Value of the row, or nothing (false) when it does not apply to the present device.
  bool (*pfGetValue)(const PROJ_INFO& info, std::string* pValue);
};

const char* PROJ_INFO_GetGroupText(u32 Group);
// Every row that there can be, in the order of display, group by group.
std::span<const PROJ_INFO_ROW> PROJ_INFO_GetRows();
