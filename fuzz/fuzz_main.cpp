#include "fuzz/entries.h"

// One source for all programs: each is built with the name of its entry.
extern "C" int LLVMFuzzerTestOneInput(const u8* pData, std::size_t NumBytes) {
  return KORVANE_FUZZ_ENTRY(pData, NumBytes);
}
