// Local folders to a programmer and back, with names, sizes and counts that nobody can trust.
#include "programmer/transfer.h"

#include <sys/stat.h>

#include <filesystem>

#include "programmer/modules.h"
#include "tests/programmer/device_scope.h"

namespace {

// A programmer that is open, in a log section.
struct TransferScope : DeviceScope {
  explicit TransferScope(const Keys& keys = {}) : DeviceScope(keys) { Begin(); }
  ~TransferScope() { APP_LogEnd(); }
  void Begin() {
    APP_LogBegin("Test");
    EXPECT_EQ(ZELMONT_Connect(), 0);
  }
  int Send(const std::string& name, const char* sDir = "") {
    return APP_SendLocalFiles(Dir.file(name).c_str(), 1, sDir);
  }
  int Fetch(const std::string& name, u32 depth = ZELMONT_MAX_FOLDER_DEPTH, const char* sDir = "/") {
    return APP_UploadFiles("Programmer", nullptr, Dir.file("out").c_str(), sDir, name.c_str(), 1,
                           depth);
  }
};

const std::string kLong(64, 'n');

TEST(SendLocalFiles, AcceptsAndRefuses) {
  const struct {
    const char* sDrop;
    std::vector<std::string> Files;  // their content is their name
    const char* sDir;
    std::vector<std::string> Sent;
    std::string Says;  // empty: all is sent
  } cases[] = {
      {"a.txt", {"a.txt"}, "/DIR/", {"DIR/a.txt"}, ""},
      {"t/", {"t/a", "t/b/c", "t/b/d/e/f"}, "", {"t/a", "t/b/c", "t/b/d/e/f"}, ""},
      {"t", {"t/a", "t/1/2/3/4/f"}, "", {}, "exceeded max. folder depth (4)."},
      {"t", {"t/a", "t/b\\c"}, "", {}, "A programmer takes no name such as \"t/b\\c\"."},
      {"t", {"t/a", "t/\x1B[2J"}, "", {}, "takes no name such as \"t/\\x1B[2J\"."},
      {"t", {"t/a", "t/" + kLong.substr(2)}, "", {}, "\" is too long for a programmer."},
      {"none", {"a.txt"}, "", {}, "File not found!"},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.sDrop + c.Says);
    TransferScope scope;
    for (const std::string& file : c.Files) {
      WriteFile(scope.Dir.file(file), file);
    }
    ASSERT_EQ(mkfifo(scope.Dir.file("pipe").c_str(), 0666), 0);
    std::filesystem::create_directory(scope.Dir.file("t"));
    std::filesystem::rename(scope.Dir.file("pipe"), scope.Dir.file("t/pipe"));
    EXPECT_EQ(scope.Send(c.sDrop, c.sDir), c.Says.empty() ? 0 : -1) << scope.FrontEnd.GetLog();
    EXPECT_TRUE(scope.FrontEnd.HasLog(c.Says)) << scope.FrontEnd.GetLog();
    EXPECT_EQ(scope.FrontEnd.HasLog("Downloading"), c.Says.empty());
    for (const std::string& file : c.Sent) {
      EXPECT_TRUE(ReadFile(scope.OnDevice(file))
                      .ends_with(std::filesystem::path(file).filename().string()));
    }
    EXPECT_FALSE(std::filesystem::exists(scope.OnDevice("t/pipe")));
  }
}

TEST(SendLocalFiles, LosesNoOtherFile) {
  TransferScope scope;
  WriteFile(scope.OnDevice("a.txt/kept"), "x");
  for (const char* sName : {"a.txt", "t/b", "t/B"}) {
    WriteFile(scope.Dir.file(sName), "new");
  }
  EXPECT_EQ(scope.Send("a.txt"), -1);
  EXPECT_EQ(ReadFile(scope.OnDevice("a.txt/kept")), "x");
  EXPECT_EQ(scope.Send("t"), -1);
  EXPECT_TRUE(scope.FrontEnd.HasLog("would both be \"t\\")) << scope.FrontEnd.GetLog();
  EXPECT_FALSE(std::filesystem::exists(scope.OnDevice("t")));
}

TEST(UploadFiles, BringsATreeAsItIs) {
  TransferScope scope(DeviceScope::Keys{{"FileSystemKiB", "4096"}});
  const std::map<std::string, std::string> files = {
      {"d/empty", ""}, {"d/1/2/3/f", "abc"}, {"d/big", std::string(0x20000 * 2 + 1, 'x')}};
  for (const auto& [name, text] : files) {
    WriteFile(scope.OnDevice(name), text);
  }
  for (u32 i = 0; i < 40; ++i) {  // more than the first listing takes
    WriteFile(scope.OnDevice("d/1/f" + std::to_string(i)), "x");
  }
  EXPECT_EQ(scope.Fetch("d"), 0) << scope.FrontEnd.GetLog();
  for (const auto& [name, text] : files) {
    EXPECT_EQ(ReadFile(scope.Dir.file("out/" + name)), text);
  }
  EXPECT_EQ(ReadFile(scope.Dir.file("out/d/1/f39")), "x");
  EXPECT_TRUE(scope.FrontEnd.HasLog("Uploading \"\\d\\1\\2\\3\\f\" (3 bytes) from Programmer to "));
}

TEST(UploadFiles, Limits) {
  const struct {
    DeviceScope::Keys Keys;
    u32 NumEntries, NumFolders;  // in d, and one below the other
    u32 Depth;
    const char* sSays;  // null: all comes
  } cases[] = {
      {{}, 64, 0, 4, nullptr},
      {{}, 65, 0, 4, "Max. number of entries reached (64)..."},
      {{{"Fault", "listing=2000000000@1"}}, 1, 0, 4, "Max. number of entries reached (64)..."},
      {{{"Fault", "listing=-1@1"}}, 1, 0, 4, "It is neither a file nor a folder."},
      {{{"Fault", "listing=3@1"}}, 1, 0, 4, "2 names on Programmer cannot be used"},
      {{{"DisableFunctions", "50"}}, 1, 0, 4, "It is neither a file nor a folder."},
      {{{"Capabilities", "54,72"}}, 1, 0, 4, "does not support file download."},
      {{}, 1, 3, 4, nullptr},
      {{}, 1, 4, 4, "Max. folder depth reached (4)..."},
      {{}, 1, 0, 0, "Max. folder depth reached (4)..."},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(&c - cases);
    TransferScope scope(c.Keys);
    std::string dir = "d/";
    for (u32 i = 0; i < c.NumEntries; ++i) {
      WriteFile(scope.OnDevice(dir + std::to_string(i)), "x");
    }
    for (u32 i = 0; i < c.NumFolders; ++i) {
      WriteFile(scope.OnDevice((dir += "s/") + "f"), "x");
    }
    EXPECT_EQ(scope.Fetch("d", c.Depth), c.sSays == nullptr ? 0 : -1) << scope.FrontEnd.GetLog();
    EXPECT_TRUE(c.sSays == nullptr || scope.FrontEnd.HasLog(c.sSays)) << scope.FrontEnd.GetLog();
  }
}

// Bad names are named, the good file beside them comes, and nothing lands outside.
TEST(UploadFiles, RefusesNamesThatLeadElsewhere) {
  const struct {
    const char *sKey, *sNames, *sNamed;
  } cases[] = {
      {"ListingExtra", "..\\\\up", "\"..\\up\""},
      {"ListingExtra", "/etc/evil", "\"/etc/evil\""},
      {"ListingExtra", "../../up", "\"../../up\""},
      {"ListingExtra", "a\\x1B[2J\\x0A", "\"a\\x1B[2J\\x0A\""},
      {"ListingExtraFolders", "../.., C:", "\"../..\", \"C:\""},
      {"ListingExtraFolders", "\\\\\\\\host", "\"\\\\host\""},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.sNamed);
    const DeviceScope::Keys keys = {{c.sKey, c.sNames}};
    TransferScope scope(keys);
    WriteFile(scope.OnDevice("d/good"), "x");
    EXPECT_EQ(scope.Fetch("d"), -1);
    EXPECT_TRUE(scope.FrontEnd.HasLog(c.sNamed)) << scope.FrontEnd.GetLog();
    EXPECT_TRUE(scope.FrontEnd.HasLog("cannot be used on this computer and were left out: "));
    EXPECT_EQ(ReadFile(scope.Dir.file("out/d/good")), "x");
    const std::filesystem::directory_iterator entries(scope.Dir.file("out/d"));
    EXPECT_EQ(std::distance(entries, {}), 1);
    EXPECT_FALSE(std::filesystem::exists(scope.Dir.file("out/up")));
    EXPECT_FALSE(std::filesystem::exists(scope.Dir.file("up")));
  }
  TransferScope scope(DeviceScope::Keys{{"ListingExtra", std::string(256, 'n')}});  // no terminator
  WriteFile(scope.OnDevice("d/good"), "x");
  EXPECT_EQ(scope.Fetch("d"), -1);
  EXPECT_TRUE(scope.FrontEnd.HasLog(std::string(80, 'n') + "...\"")) << scope.FrontEnd.GetLog();
  EXPECT_EQ(scope.Fetch("..", 4, "/d/"), -1);  // nor from the caller's own list
}

// At whatever call the link fails: the local file is the old or the new one, whole.
TEST(UploadFiles, AFailureLeavesTheOldFile) {
  const std::string text(0x20000 + 5, 'x');
  for (const std::string fault : {"disconnect", "timeout", "nak"}) {
    u32 numFailed = 0;
    for (u32 call = 1; call < 50; ++call) {
      SCOPED_TRACE(fault + "@" + std::to_string(call));
      TransferScope scope;
      WriteFile(scope.OnDevice("f"), text);
      WriteFile(scope.Dir.file("out/f"), "old");
      ZELMONT_Disconnect();
      scope.SetDevice({{"Fault", fault + "@" + std::to_string(call)}});
      if (ZELMONT_Connect() != 0) {
        continue;
      }
      const int result = scope.Fetch("f");
      const std::string file = ReadFile(scope.Dir.file("out/f"));
      EXPECT_EQ(file, result == 0 ? text : "old");
      EXPECT_EQ(APP_GetErrorCount() == 0, result == 0);
      EXPECT_EQ(std::distance(std::filesystem::directory_iterator(scope.Dir.file("out")), {}), 1);
      if (result == 0) {
        break;
      }
      numFailed +=
          scope.FrontEnd.HasLog("Error while reading file content from Programmer.") ? 1 : 0;
    }
    EXPECT_EQ(numFailed, 2u);  // of the two pieces
  }
}

TEST(UploadFiles, LocalFailuresAndCancel) {
  TransferScope scope;
  WriteFile(scope.OnDevice("f"), std::string(0x20000 + 5, 'x'));
  WriteFile(scope.Dir.file("file"), "x");
  std::filesystem::create_directories(scope.Dir.file("out/f"));
  scope.FrontEnd.OnRefresh = [](PROGRESS_INFO* pInfo) {
    if (pInfo->Value == 0x20000 && pInfo->Canceled == 0) {
      PROGRESS_Cancel(pInfo);
    }
  };
  APP_PROGRESS progress("");
  const std::pair<const char*, std::string> cases[] = {
      {"out", "Could not create \"\\f\" on " + scope.Dir.file("out")},
      {"file/x", "Could not create file ["},
      {"new", "Download canceled by user"}};
  for (const auto& [sDir, text] : cases) {
    EXPECT_EQ(APP_UploadFiles("Programmer", progress.Get(), scope.Dir.file(sDir).c_str(), "\\", "f",
                              1, 4),
              -1);
    EXPECT_TRUE(scope.FrontEnd.HasLog(text)) << scope.FrontEnd.GetLog();
  }
  EXPECT_TRUE(std::filesystem::is_empty(scope.Dir.file("new")));
}

}  // namespace
