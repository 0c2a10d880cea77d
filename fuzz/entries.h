#pragma once

#include <cstddef>

#include "sys/types.h"

// One entry for each reader of image files: takes any bytes as a file, and ends the program when a
// promise is broken, be it that a failure gives no cause, that ranges are out of order, or that an
// image is larger than the file could make it. Always 0.
int FUZZ_Hex(const u8* pData, std::size_t NumBytes);
int FUZZ_Mot(const u8* pData, std::size_t NumBytes);
int FUZZ_TiTxt(const u8* pData, std::size_t NumBytes);
int FUZZ_Elf(const u8* pData, std::size_t NumBytes);
// All of them one after the other, on a file whose name tells nothing.
int FUZZ_Detect(const u8* pData, std::size_t NumBytes);
