#pragma once

#include <cstddef>

#include "sys/types.h"

// One entry for each reader: takes any bytes as a file, and ends the program when a promise is
// broken. Always 0.
//
// Readers of image files: a failure has a cause, ranges are in order, and an image is no larger
// than the file could make it.
int FUZZ_Hex(const u8* pData, std::size_t NumBytes);
int FUZZ_Mot(const u8* pData, std::size_t NumBytes);
int FUZZ_TiTxt(const u8* pData, std::size_t NumBytes);
int FUZZ_Elf(const u8* pData, std::size_t NumBytes);
// All of them one after the other, on a file whose name tells nothing.
int FUZZ_Detect(const u8* pData, std::size_t NumBytes);

// What a project file says survives being saved and read again.
int FUZZ_Project(const u8* pData, std::size_t NumBytes);
// A key that is written reads back, and all others keep their values. The first two of these work
// on text in memory, the third on a registry file and the recent lists in it.
int FUZZ_Settings(const u8* pData, std::size_t NumBytes);
int FUZZ_Registry(const u8* pData, std::size_t NumBytes);
int FUZZ_Recent(const u8* pData, std::size_t NumBytes);
// A probe configuration is refused with file, line and reason, or is sound.
int FUZZ_Config(const u8* pData, std::size_t NumBytes);
// Serial number file and, behind a NUL, the list: a number is stamped only if the files say so
// without doubt, and counts on.
int FUZZ_Serial(const u8* pData, std::size_t NumBytes);
// A listing of a programmer's folder: no name leaves its folder, and every record is accounted for.
int FUZZ_Listing(const u8* pData, std::size_t NumBytes);
// Any text in the log view, in parts that NULs separate: lines, colours, search. The first byte
// selects the mode.
int FUZZ_Log(const u8* pData, std::size_t NumBytes);
// Numbers, tokens, strings and formats against slow and simple doubles. The first byte selects.
int FUZZ_Text(const u8* pData, std::size_t NumBytes);
