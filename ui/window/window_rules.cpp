#include "ui/window/window_rules.h"

#include "image/datafile.h"
#include "sys/util_string.h"
#include "ui/window/action_table.h"

namespace {

constexpr UI_HELP_ROW kHelp[] = {
    {UI_ACT_WIKI_KORVANE_SPI, "Korvane SPI Wiki", "https://wiki.tarvex.example/Korvane_SPI"},
    {UI_ACT_WIKI_VORTIC, "Vortic Wiki", "https://wiki.tarvex.example/Vortic"},
    {UI_ACT_WIKI_ZELMONT, "ZELMONT Wiki", "https://wiki.tarvex.example/Zelmont"},
    {UI_ACT_WIKI_ZELMONT_HUB, "ZELMONT Wiki", "https://wiki.tarvex.example/Zelmont_Hub"},
};

// Half of a length, rounded up.
constexpr i32 HalfUp(i32 length) {
  return length / 2 + length % 2;
}

}  // namespace

UI_RECENT_TEXT UI_GetRecentText(std::string_view path, bool isProject) {
  UI_RECENT_TEXT texts;
  for (const char c : path) {
    texts.Text.append(c == '&' ? 2 : 1, c);
  }
  texts.Tip = isProject ? "Open project file at " : "Open data file at ";
  texts.Tip += path;
  return texts;
}

std::string UI_CheckDroppedFile(const std::string& sFile, const std::string& sShown) {
  const char* sReason = "Unsupported file format.";
  if (sFile.empty()) {
    sReason = "It is not on this computer.";
  } else if (sFile.size() >= UI_FILE_SIZE) {
    sReason = "Its name is too long.";  // cut, it would be that of another file
  } else if (APP_CanOpenExt(sFile.c_str())) {
    return {};
  }
  return "Cannot open file " + sShown + "\n" + sReason;
}

const UI_HELP_ROW* UI_FindHelpRow(u32 action) {
  for (const UI_HELP_ROW& row : kHelp) {
    if (row.Action == action) {
      return &row;
    }
  }
  return nullptr;
}

std::string UI_GetHelpFailure(const UI_HELP_ROW& row) {
  return std::string("Failed to open ") + row.sName + " User Guide at:\n\"" + row.sAddress + "\"";
}

std::string UI_GetManualFailure(bool isFound, std::string_view path) {
  std::string text = isFound ? "Could not open " : "Could not locate ";
  text += UI_MANUAL_NAME;
  text += " :\n(";
  text += path;
  return text + ")";
}

UI_SIZE UI_GetWindowSize(UI_SIZE area, std::span<const UI_DOCK_EXTENT> docks) {
  for (const UI_DOCK_EXTENT& dock : docks) {
    if (!dock.IsShown) {
      continue;
    }
    if (dock.Side == UI_DOCK_SIDE::LeftOrRight) {
      area.Width += dock.Size.Width;
    } else {
      area.Height += dock.Size.Height;
    }
  }
  return area;
}

UI_POINT UI_CenterFrame(UI_SIZE frame, UI_SIZE screen) {
  return {HalfUp(screen.Width) - HalfUp(frame.Width), HalfUp(screen.Height) - HalfUp(frame.Height)};
}
