#pragma once

#include <string>
#include <string_view>

#include "image/file_input.h"
#include "image/file_report.h"
#include "image/memarea.h"
#include "image/range_list.h"

// The readers of the text formats, and what they do alike around their format.

// What a reader found wrong, and where. A line of 0 means that the text stands for the whole file.
struct TEXT_ERROR {
  int Line = 1;
  char acText[128] = "";
  // For a text that reads well but looks wrong.
  std::string Warnings[4];
  u32 NumWarnings = 0;

  int Set(int Result, const char* sText);
  void Warn(std::string_view Text);
};

// Reads a whole input into the ranges; what came ahead of an error stays there. 0 or the format's
// negative result; an empty text means a failure that has none.
using READ_TEXT_FUNC = int(FileInput& Input, RangeList& Ranges, TEXT_ERROR* pError);
READ_TEXT_FUNC HEX_Read;
READ_TEXT_FUNC MOT_Read;
READ_TEXT_FUNC TITXT_Read;

// Reads a file into an area under its lock, and reports. The reader's result, or -1 when the file
// couldn't be read.
int LOAD_Text(MEMAREA* pArea, const char* sFileName, const FileReport& Report,
              READ_TEXT_FUNC* pfRead);
