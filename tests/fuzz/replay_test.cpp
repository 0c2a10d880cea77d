#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>

#include "fuzz/entries.h"

namespace {

// Every file of the corpus goes once through its reader; a broken promise ends the program.
TEST(FuzzCorpus, KeepsAllPromises) {
  const struct {
    const char* sFolder;
    int (*pfRun)(const u8* pData, std::size_t NumBytes);
  } rows[] = {{"hex", FUZZ_Hex},           {"mot", FUZZ_Mot},           {"titxt", FUZZ_TiTxt},
              {"elf", FUZZ_Elf},           {"detect", FUZZ_Detect},     {"project", FUZZ_Project},
              {"settings", FUZZ_Settings}, {"registry", FUZZ_Registry}, {"recent", FUZZ_Recent},
              {"serial", FUZZ_Serial},     {"listing", FUZZ_Listing},   {"text", FUZZ_Text},
              {"log", FUZZ_Log},           {"config", FUZZ_Config}};
  for (const auto& row : rows) {
    int numFiles = 0;
    const std::filesystem::path folder = std::filesystem::path(KORVANE_CORPUS) / row.sFolder;
    for (const auto& entry : std::filesystem::directory_iterator(folder)) {
      std::ifstream file(entry.path(), std::ios::binary);
      const std::string data{std::istreambuf_iterator<char>(file), {}};
      EXPECT_EQ(row.pfRun(reinterpret_cast<const u8*>(data.data()), data.size()), 0)
          << entry.path();
      ++numFiles;
    }
    EXPECT_GT(numFiles, 0) << row.sFolder;
  }
}

}  // namespace
