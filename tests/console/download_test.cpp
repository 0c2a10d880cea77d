// The files of a stand-alone programmer from a shell: written to disk, sent to a programmer and to
// the modules of a gang.
#include <gtest/gtest.h>

#include <filesystem>

#include "tests/console/program.h"

namespace {

constexpr char kProject[] =
    "[FLASH]\r\n  AutoDetect = 0\r\n  abID[3] = 0xEF,0x40,0x18\r\n  NumPages = 65536\r\n"
    "  PageSizeShift = 8\r\n";

std::string Drop(std::string text) {  // the time in the header
  return text.size() < 248 ? text : text.substr(256);
}

TEST(DownloadLine, SendsWhatTheSaveOptionsWrite) {
  const struct {
    std::map<std::string, std::string> Keys;
    const char* sProbe;
    int Status;
    const char* sSays;
    std::vector<std::string> Folders;  // that get both files; no other file is made
  } cases[] = {
      {{}, "-usb0", 0, "Successfully downloaded files to Zelmont.", {""}},
      {{{"ProductId", "30"}},
       "-ipbench.local:2,5",
       0,
       "Downloading file to Module 5 [Zelmont.cfg] ...",
       {"module2/", "module5/"}},
      {{{"ProductId", "30"}, {"DeadModules", "5"}},
       "-usb0:2,5,7",
       1,
       "Modules that have their files: 2. Failed: 5. Not tried: 7.",
       {"module2/"}},
      {{}, "-usb0:1", 1, "is not a gang programmer", {}},
      {{{"Fault", "disconnect@1"}}, "-usb0", 1, "Communication with the probe lost", {}},
      {{}, "-usb3", 1, "Failed to download files to probe / programmer.", {}},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.sProbe + std::string(c.sSays));
    BENCH bench;
    auto keys = c.Keys;
    keys["FileSystem"] = "fs";
    bench.SetProbe(keys);
    bench.Write("p.korvane", kProject);
    bench.Write("a.hex", ":0400100001020304E2\n:00000001FF\n");
    const PROGRAM_RESULT result = bench.Run({"-openprjp.korvane", "-opena.hex", "-savecfgx.cfg",
                                             "-savedatx.dat", c.sProbe, "-download", "-exit"});
    EXPECT_EQ(result.Status, c.Status) << result.Out;
    EXPECT_NE(result.Out.find(c.sSays), std::string::npos) << result.Out;
    for (const std::string& folder : c.Folders) {
      EXPECT_EQ(Drop(bench.Read("fs/" + folder + "Zelmont.dat")), Drop(bench.Read("x.dat")));
      EXPECT_EQ(Drop(bench.Read("fs/" + folder + "Zelmont.cfg")), Drop(bench.Read("x.cfg")));
    }
    std::size_t numFiles = 0;
    std::error_code error;  // a programmer that was never opened has no folder
    for (const auto& entry :
         std::filesystem::recursive_directory_iterator(bench.Path("fs"), error)) {
      numFiles += entry.is_regular_file() ? 1 : 0;
    }
    EXPECT_EQ(numFiles, 2 * c.Folders.size());
  }
}

}  // namespace
