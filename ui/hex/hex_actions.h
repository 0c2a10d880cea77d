#pragma once

#include "sys/types.h"

// The actions of the hex editor. No window.
enum HEX_ACTION : u32 {
  HEX_ACTION_VIEW_1,
  HEX_ACTION_VIEW_2,
  HEX_ACTION_VIEW_4,
  HEX_ACTION_ACCESS_1,
  HEX_ACTION_ACCESS_2,
  HEX_ACTION_ACCESS_4,
  HEX_ACTION_ACCESS_AUTO,
  HEX_ACTION_FILL,
  HEX_ACTION_LOAD,
  HEX_ACTION_SAVE,
  HEX_ACTION_GOTO,
  HEX_ACTION_AUTO_REFRESH,
  HEX_ACTION_SHOW_TOOLBAR,
  HEX_ACTION_COPY,
  HEX_ACTION_PASTE,
  HEX_ACTION_COPY_TEXT,
  HEX_ACTION_COPY_HEX,
  HEX_ACTION_COPY_BINARY,
  HEX_ACTION_COPY_INT_LIST,
  HEX_ACTION_GO_BACK,
  HEX_NUM_ACTIONS,
};

struct HEX_ACTION_ROW {
  const char* sObjectName;
  const char* sText;
  const char* sShortcut;  // null: none
  bool IsCheckable;
  const char* sToolTip;
  const char* sStatusTip;
};

// In the order of HEX_ACTION.
extern const HEX_ACTION_ROW HEX_ACTIONS[HEX_NUM_ACTIONS];

// Entries of the refresh box; an interval of 0 stops the refresh.
struct HEX_REFRESH_ROW {
  const char* sText;
  u32 IntervalMs;
};
constexpr u32 HEX_NUM_REFRESH = 7;
extern const HEX_REFRESH_ROW HEX_REFRESH[HEX_NUM_REFRESH];
