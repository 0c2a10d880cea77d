#pragma once

#include "image/elf_file.h"
#include "image/file_report.h"
#include "image/range_list.h"

// Adds all ranges of an open file to the ranges of an area. 0, or -1 reported.
int ELF_LoadRanges(ELF_FILE* pElf, RangeList& Ranges, const FileReport& Report);
