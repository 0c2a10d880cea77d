#pragma once

#include <string_view>

#include "sys/types.h"

// Columns of a line are bytes, cells are what they take on the screen. Both are the same but for
// multi-byte characters of the system's code page (UTF-8): such a character takes one cell, a wide
// one of East Asia two, a combining mark none. A byte that is part of no character takes one cell.
// Pure; any thread.

// Bytes of the well-formed character that Text starts with, else 1. Text is not empty.
u32 LOG_GetCharLen(std::string_view Text);
// Cells of the NumBytes bytes that LOG_GetCharLen gave.
u32 LOG_GetCharCells(std::string_view Text, u32 NumBytes);

bool LOG_IsAscii(std::string_view Text);
u32 LOG_GetCells(std::string_view Text);
// Column of the character that covers the cell, or the text's length behind the last one.
u32 LOG_GetColumnOfCell(std::string_view Text, u32 Cell);
