#include "project/recent.h"

#include <gtest/gtest.h>

#include <filesystem>

#include "tests/project/project_scope.h"

namespace {

constexpr char kRoot[] = "Software\\TARVEX\\Korvane SPI\\";

// Names are kept absolute; a relative one stood in the working directory.
std::string Entries(u32 ListIndex) {
  const std::string folder = std::filesystem::current_path().string() + "/";
  std::string text;
  for (u32 i = 0; RECENT_GetEntry(ListIndex, i) != nullptr; ++i) {
    const std::string name = RECENT_GetEntry(ListIndex, i);
    EXPECT_TRUE(name.starts_with('/')) << name;
    text += (name.starts_with(folder) ? name.substr(folder.size()) : name) + " ";
  }
  return text;
}

}  // namespace

TEST(Recent, Add) {
  const struct {
    const char* sName;
    std::vector<std::string> Adds;
    const char* sExpected;
  } cases[] = {
      {"newest first", {"a", "b", "c"}, "c b a "},
      {"third moves to the head", {"a", "b", "c", "a"}, "a c b "},
      {"another case replaces", {"/x/Ab", "/y", "/X/aB"}, "/X/aB /y "},
      {"eleventh drops the oldest",
       {"1", "2", "3", "4", "5", "6", "7", "8", "9", "10", "11"},
       "11 10 9 8 7 6 5 4 3 2 "},
      {"no name", {"a", "", std::string(600, 'x')}, "a "},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.sName);
    ProjectScope scope;
    EXPECT_EQ(RECENT_Load(RECENT_PROJECTS, kRoot, 10), -2);
    for (const std::string& name : c.Adds) {
      RECENT_Add(RECENT_PROJECTS, name.c_str());
    }
    EXPECT_EQ(Entries(RECENT_PROJECTS), c.sExpected);
    EXPECT_EQ(Entries(RECENT_DATA_FILES), "");
    // The next start finds the same.
    RECENT_Reset();
    const bool isFull = c.Adds.size() > 10;
    EXPECT_EQ(RECENT_Load(RECENT_PROJECTS, kRoot, 10), isFull ? 0 : -2);
    EXPECT_EQ(Entries(RECENT_PROJECTS), c.sExpected);
  }
}
