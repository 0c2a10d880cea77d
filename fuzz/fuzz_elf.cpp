#include "fuzz/entries.h"

extern "C" int LLVMFuzzerTestOneInput(const u8* pData, std::size_t NumBytes) {
  return FUZZ_Elf(pData, NumBytes);
}
