#pragma once

#include <gtest/gtest.h>

#include <initializer_list>
#include <string>
#include <vector>

#include "image/datafile.h"
#include "image/memarea.h"
#include "tests/support/temp_dir.h"

struct PIECE {
  u64 Addr;
  std::vector<u8> Data;
};

// Bytes that count up from First.
std::vector<u8> Counting(std::size_t NumBytes, u8 First = 0);
MEMAREA_PTR MakeArea(std::initializer_list<PIECE> pieces);
// "100:0A0B 200:FF", an address-only range as "100+20"; addresses and lengths in hexadecimal.
std::string Dump(MEMAREA* pArea);

// Pieces of random bytes and lengths with small and large holes, from Addr on; they start at
// multiples of Align.
MEMAREA_PTR MakeScattered(u64 Addr, u64 NumBytes, u64 Align = 1);
// All from the first to the last address, holes as FF.
std::string MakeBinary(MEMAREA* pArea);
// Runs a shell command; true when it succeeds.
bool RunShell(const std::string& Command);

// Gathers what a reader or writer reports, as "2:text|" each.
struct REPORTS {
  std::string Text;
  static void Add(void* pContext, int Level, const char* sText) {
    static_cast<REPORTS*>(pContext)->Text += std::to_string(Level) + ":" + sText + "|";
  }
};
