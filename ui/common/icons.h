#pragma once

#include <QIcon>

// Icons of the program, own work, drawn as vectors: crisp at every scale, in the colours of the
// desktop's palette at the time of drawing. GUI thread only.

enum class UI_ICON {
  Program,  // of the program's own windows
  Open,
  Save,
  Merge,
  NewProject,
  OpenProject,
  CloseProject,
  Exit,
  Connect,
  Disconnect,
  Erase,
  Write,
  Verify,
  Auto,
  ReadBack,
  Settings,
  Help,
  FindPrevious,
  FindNext,
  CloseFind,
  FloatDock,
  CloseDock,
  Items1,
  Items2,
  Items4,
  Access1,
  Access2,
  Access4,
  AccessAuto,
  Fill,
  LoadMemory,
  SaveMemory,
  GoTo,
  GoBack,
  Refresh,
  Copy,
  Paste,
  Count
};

QIcon UI_GetIcon(UI_ICON Icon);
