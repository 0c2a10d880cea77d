#pragma once

#include <gtest/gtest.h>

#include <initializer_list>
#include <string>
#include <vector>

#include "image/datafile.h"
#include "image/memarea.h"
#include "tests/sys/temp_dir.h"

struct PIECE {
  u64 Addr;
  std::vector<u8> Data;
};

// Bytes that count up from First.
std::vector<u8> Counting(std::size_t NumBytes, u8 First = 0);
MEMAREA_PTR MakeArea(std::initializer_list<PIECE> pieces);
// "100:0A0B 200:FF", an address-only range as "100+20"; addresses and lengths in hexadecimal.
std::string Dump(MEMAREA* pArea);

// Gathers what a reader or writer reports, as "2:text|" each.
struct REPORTS {
  std::string Text;
  static void Add(void* pContext, int Level, const char* sText) {
    static_cast<REPORTS*>(pContext)->Text += std::to_string(Level) + ":" + sText + "|";
  }
};
