#pragma once

#include "sys/types.h"

// Formats behind the extensions, for the dispatch of readers and writers.
enum class FILE_FORMAT {
  Project,
  MotorolaS,
  IntelHex,
  Mcs,
  Binary,
  CSource,
  Elf,
  TiTxt,
  ByContent,
};

// Of the row of the file name's extension; false for an unknown one.
bool FILE_FindFormat(const char* sFileName, FILE_FORMAT* pFormat);
