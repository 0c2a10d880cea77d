// Requests of the file browser against the simulated programmer: what each does, what it says when
// it can't, and that nothing a device answers leads elsewhere.
#include "programmer/browser.h"

#include <cstring>
#include <filesystem>
#include <set>

#include "programmer/transfer.h"
#include "sys/util_string.h"
#include "tests/programmer/device_scope.h"

namespace {

using Names = std::vector<std::string>;

// Filled as a device would, which cleans nothing behind the terminator. "NAME/" is a folder.
ZELMONT_DIR_ENTRY Entry(std::string name) {
  ZELMONT_DIR_ENTRY entry;
  std::memset(&entry, 0x5A, sizeof(entry));
  entry.Attributes = name.ends_with('/') ? 1 : 0;
  name.back() = entry.Attributes != 0 ? '\0' : name.back();
  std::memcpy(entry.acName, name.c_str(), std::min<std::size_t>(name.size() + 1, 256));
  return entry;
}

TEST(ParseListing, TakesWhatIsThereAndUsable) {
  std::vector<ZELMONT_DIR_ENTRY> entries;
  for (const char* sName : {"a.txt", "./", "../", "..", "/", "../up", "..\\u", "C:", "a\nb"}) {
    entries.push_back(Entry(sName));
  }
  for (const u32 length : {63u, 64u, 256u}) {
    entries.push_back(Entry(std::string(length, 'n')));
  }
  const u8* pRaw = reinterpret_cast<const u8*>(entries.data());
  const std::size_t all = entries.size() * sizeof(entries[0]);
  const struct {
    i32 Count;
    std::size_t NumBytes, NumEntries;
    u32 NumRefused;
  } cases[] = {{12, all, 2, 8},        {0x7FFFFFFF, all, 2, 8}, {12, all - 1, 2, 7}, {1, all, 1, 0},
               {INT32_MIN, all, 0, 0}, {12, 275, 0, 0},         {12, 0, 0, 0}};
  for (const auto& c : cases) {
    SCOPED_TRACE(&c - cases);
    ZELMONT_LISTING listing;
    ZELMONT_ParseListing({pRaw, c.NumBytes}, c.Count, &listing);
    EXPECT_EQ(listing.Entries.size(), c.NumEntries);
    EXPECT_EQ(listing.NumRefused, c.NumRefused) << listing.Refused;
    for (const ZELMONT_DIR_ENTRY& entry : listing.Entries) {
      const auto numZeros = std::count(entry.acName, entry.acName + 256, '\0');
      EXPECT_EQ(static_cast<std::size_t>(numZeros) + std::strlen(entry.acName), 256u);
    }
  }
  ZELMONT_LISTING listing;
  entries.assign(5000, Entry(std::string(256, 'n')));
  ZELMONT_ParseListing({reinterpret_cast<const u8*>(entries.data()), 5000 * sizeof(entries[0])},
                       5000, &listing);
  EXPECT_EQ(listing.NumRefused, 5000u);
  EXPECT_LT(listing.Refused.size(), 600u);
}

struct BrowserScope : DeviceScope {
  using DeviceScope::DeviceScope;
  ~BrowserScope() { Run(ZELMONT_REQ_CLOSE); }

  ZELMONT_FILE_REQUEST Make(u32 type, const char* sPath = "/", const Names& names = {}) {
    ZELMONT_FILE_REQUEST request;
    request.Type = type;
    UTIL_strcpy(request.acPath, sPath, sizeof(request.acPath));
    for (const std::string& name : names) {
      request.Names.Add(name);
    }
    if (type == ZELMONT_REQ_LIST) {
      request.Params.pList = &List;
    }
    return request;
  }
  i32 Run(ZELMONT_FILE_REQUEST&& request) {
    ZELMONT_ExecRequest(&request);
    Path = request.acPath;
    return request.Result;
  }
  i32 Run(u32 type) { return Run(Make(type)); }
  // Everything on the programmer, "d/ d/f", sorted.
  std::string Tree() const {
    std::set<std::string> names;
    for (const auto& entry : std::filesystem::recursive_directory_iterator(Dir.file("fs"))) {
      names.insert(std::filesystem::relative(entry.path(), Dir.file("fs")).string() +
                   (entry.is_directory() ? "/" : ""));
    }
    std::string text;
    for (const std::string& name : names) {
      text += (text.empty() ? "" : " ") + name;
    }
    return text;
  }

  ZELMONT_FILE_LIST List;
  std::string Path;  // of the last request, as it came back
};

TEST(Browser, Check) {
  const char* sMissing = "The connected probe/ programmer does not support file I/O.";
  const struct {
    DeviceScope::Keys Keys;
    const char* sName;
    const char* sSays;  // null: succeeds
  } cases[] = {
      {{{"SerialNumber", "4711"}}, "S/N 4711", nullptr},
      {{{"Nickname", "Bench"}}, "'Bench'", nullptr},
      {{{"Nickname", "\xFF"}, {"SerialNumber", "5"}}, "S/N 5", nullptr},
      {{{"Capabilities", "54,72"}}, "", sMissing},
      {{{"Capabilities", "26,72"}}, "", sMissing},
      {{{"DisableFunctions", "50"}}, "", sMissing},
      {{{"DisableFunctions", "51"}}, "", sMissing},
      {{{"Fault", "listing=-262@1"}}, "", sMissing},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(&c - cases);
    BrowserScope scope(c.Keys);
    EXPECT_EQ(scope.Run(ZELMONT_REQ_CHECK), c.sSays == nullptr ? 0 : -1) << scope.FrontEnd.GetLog();
    EXPECT_EQ(scope.Path, c.sName);
    EXPECT_EQ(APP_GetNumRunErrors() == 0, c.sSays == nullptr);
    EXPECT_TRUE(c.sSays == nullptr || scope.FrontEnd.HasLog(c.sSays)) << scope.FrontEnd.GetLog();
    EXPECT_EQ(PROBE_IsOpen(), c.sSays == nullptr);
  }
}

TEST(Browser, EachRequest) {
  const char* sTree = "d/ d/e/ d/e/g d/f f";
  const struct {
    u32 Type;
    const char* sPath;
    Names List;
    const char *sOld, *sNew;  // sNew: a move's target too
    const char* sSays;        // null: succeeds
    const char* sTree;
  } cases[] = {
      {ZELMONT_REQ_NEW_FOLDER, "/n", {}, "", "", nullptr, "d/ d/e/ d/e/g d/f f n/"},
      {ZELMONT_REQ_NEW_FOLDER, "d\\n", {}, "", "", nullptr, "d/ d/e/ d/e/g d/f d/n/ f"},
      {ZELMONT_REQ_NEW_FOLDER, "/D", {}, "", "", "'\\D' exists already.", sTree},
      {ZELMONT_REQ_NEW_FOLDER, "/", {}, "", "", "'' is no plain file name.", sTree},
      {ZELMONT_REQ_NEW_FOLDER, "/x/n", {}, "", "", "Failed to list '\\x\\'.", sTree},
      {ZELMONT_REQ_NEW_FOLDER, "/../n", {}, "", "", "'/../n' is no folder of a programmer.", sTree},
      {ZELMONT_REQ_DELETE, "/", {"f", "d"}, "", "", nullptr, ""},
      {ZELMONT_REQ_DELETE, "/d/", {"x"}, "", "", "Failed to delete '\\d\\x'.", sTree},
      {ZELMONT_REQ_DELETE, "/d/", {"f", "x"}, "", "", "1 of 2 entries del", "d/ d/e/ d/e/g f"},
      {ZELMONT_REQ_DELETE, "/d/", {"f", ""}, "", "", "'' is no plain file name.", sTree},
      {ZELMONT_REQ_DELETE, "/d/", {".."}, "", "", "'..' is no plain file name.", sTree},
      {ZELMONT_REQ_MOVE, "/", {"f"}, "", "d/e", nullptr, "d/ d/e/ d/e/f d/e/g d/f"},
      {ZELMONT_REQ_MOVE, "/", {"f"}, "", "d", "Failed to rename '\\f' to '\\d\\f'.", sTree},
      {ZELMONT_REQ_MOVE, "/", {"d"}, "", "d", "A folder can't be moved into itself.", sTree},
      {ZELMONT_REQ_MOVE, "/", {"f"}, "", "..", "'..' is no folder of a programmer.", sTree},
      {ZELMONT_REQ_RENAME, "/d/", {}, "e", "h", nullptr, "d/ d/f d/h/ d/h/g f"},
      {ZELMONT_REQ_RENAME, "/d/", {}, "e", "f", "Failed to rename '\\d\\e' to", sTree},
      {ZELMONT_REQ_RENAME, "/d/", {}, "e", "a:b", "'a:b' is no plain file name.", sTree},
      {99, "/", {}, "", "", "Unknown file request 99.", sTree},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(&c - cases);
    BrowserScope scope;
    for (const char* sFile : {"f", "d/f", "d/e/g"}) {
      WriteFile(scope.OnDevice(sFile), "x");
    }
    ASSERT_EQ(scope.Run(ZELMONT_REQ_CHECK), 0);
    ZELMONT_FILE_REQUEST request = scope.Make(c.Type, c.sPath, c.List);
    if (c.Type == ZELMONT_REQ_MOVE) {
      UTIL_strcpy(request.Params.acTargetDir, c.sNew, 256);
    } else {
      UTIL_strcpy(request.Params.Rename.acOldName, c.sOld, 64);
      UTIL_strcpy(request.Params.Rename.acNewName, c.sNew, 64);
    }
    EXPECT_EQ(scope.Run(std::move(request)), c.sSays == nullptr ? 0 : -1);
    EXPECT_TRUE(c.sSays == nullptr || scope.FrontEnd.HasLog(c.sSays)) << scope.FrontEnd.GetLog();
    EXPECT_EQ(scope.Tree(), c.sTree);
    EXPECT_EQ(scope.Run(ZELMONT_REQ_LIST), 0) << "the session goes on";
  }
}

TEST(Browser, List) {
  const struct {
    u32 NumFiles;
    DeviceScope::Keys Keys;
    i32 Result;
    std::size_t NumShown;
    u32 Capacity;
    const char* sSays;
  } cases[] = {
      {16, {}, 0, 16, 16, "Listing folder..."},
      {17, {}, 0, 17, 34, "Listing folder..."},
      {3,
       {{"Fault", "listing=9999@2,listing=9999@3"}},
       0,
       3,
       4096,
       "more entries than can be shown"},
      {3, {{"Fault", "listing=2000000000@2"}}, 0, 3, 4096, "Listing folder..."},
      {3, {{"Fault", "listing=-1@2"}}, -1, 1, 16, "Failed to list '\\'."},
      {3, {{"Fault", "listing=9@2"}}, 0, 3, 16, "Not shown, no plain file names: \"\", \"\""},
      {3, {{"ListingExtra", "../up"}}, 0, 3, 16, "Not shown, no plain file names: \"../up\""},
      {3, {{"ListingExtraFolders", "., .."}}, 0, 3, 16, "Listing folder..."},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(&c - cases);
    BrowserScope scope(c.Keys);
    for (u32 i = 0; i < c.NumFiles; ++i) {
      WriteFile(scope.OnDevice("f" + std::to_string(i)), "");
    }
    scope.List.aEntries.push_back(Entry("old"));  // stays when the listing fails
    ASSERT_EQ(scope.Run(ZELMONT_REQ_CHECK), 0);
    EXPECT_EQ(scope.Run(ZELMONT_REQ_LIST), c.Result);
    EXPECT_EQ(scope.List.aEntries.size(), c.NumShown);
    EXPECT_EQ(scope.List.EntryCapacity, c.Capacity);
    EXPECT_TRUE(scope.FrontEnd.HasLog(c.sSays)) << scope.FrontEnd.GetLog();
  }
}

TEST(Browser, TransfersTreesAndTellsOfAFullStore) {
  BrowserScope scope(DeviceScope::Keys{{"FileSystemKiB", "64"}});
  const std::string half(40 << 10, 'h');
  WriteFile(scope.Dir.file("t/half"), half);
  WriteFile(scope.Dir.file("t/s/small"), "abc");
  ASSERT_EQ(scope.Run(ZELMONT_REQ_CHECK), 0);
  EXPECT_EQ(scope.Run(scope.Make(ZELMONT_REQ_NEW_FOLDER, "/in")), 0);
  EXPECT_EQ(scope.Run(scope.Make(ZELMONT_REQ_DOWNLOAD, "/in/", {scope.Dir.file("t")})), 0);
  EXPECT_EQ(scope.Tree(), "in/ in/t/ in/t/half in/t/s/ in/t/s/small");
  ZELMONT_FILE_REQUEST request = scope.Make(ZELMONT_REQ_UPLOAD, "/in/", {"t"});
  EXPECT_EQ(scope.Run(ZELMONT_FILE_REQUEST(request)), -1);
  EXPECT_TRUE(scope.FrontEnd.HasLog("No destination directory."));
  UTIL_strcpy(request.Params.acLocalDir, scope.Dir.file("back").c_str(), 512);
  EXPECT_EQ(scope.Run(std::move(request)), 0) << scope.FrontEnd.GetLog();
  EXPECT_EQ(ReadFile(scope.Dir.file("back/t/half")), half);
  EXPECT_EQ(ReadFile(scope.Dir.file("back/t/s/small")), "abc");
  // 40 of 64 KiB are used.
  EXPECT_EQ(scope.Run(scope.Make(ZELMONT_REQ_DOWNLOAD, "/2/", {scope.Dir.file("t/half")})), -1);
  EXPECT_TRUE(scope.FrontEnd.HasLog("Could not create \"\\2\\half\" (40960 bytes) on Programmer."));
  WriteFile(scope.OnDevice("rest"), std::string((24 << 10) - 3, 'r'));
  EXPECT_EQ(scope.Run(ZELMONT_REQ_CHECK), 0);
  EXPECT_EQ(scope.Run(scope.Make(ZELMONT_REQ_NEW_FOLDER, "/n")), -1);
  EXPECT_TRUE(scope.FrontEnd.HasLog("Failed to create folder '\\n'."));
}

// A link in the chosen folder is not what the user chose: neither a file nor a folder goes through.
TEST(Browser, FetchesNothingThroughLinks) {
  BrowserScope scope;
  WriteFile(scope.OnDevice("f"), "new");
  WriteFile(scope.OnDevice("d/g"), "new");
  WriteFile(scope.OnDevice("plain"), "new");
  WriteFile(scope.Dir.file("secret"), "old");
  std::filesystem::create_directories(scope.Dir.file("out"));
  std::filesystem::create_directories(scope.Dir.file("else"));
  std::filesystem::create_symlink(scope.Dir.file("secret"), scope.Dir.file("out/f"));
  std::filesystem::create_symlink(scope.Dir.file("else"), scope.Dir.file("out/d"));
  ZELMONT_FILE_REQUEST request = scope.Make(ZELMONT_REQ_UPLOAD, "/", {"f", "d", "plain"});
  UTIL_strcpy(request.Params.acLocalDir, scope.Dir.file("out").c_str(), 512);
  EXPECT_EQ(scope.Run(std::move(request)), -1);
  EXPECT_EQ(ReadFile(scope.Dir.file("secret")), "old");
  EXPECT_TRUE(std::filesystem::is_empty(scope.Dir.file("else")));
  EXPECT_EQ(ReadFile(scope.Dir.file("out/plain")), "new");
  EXPECT_TRUE(scope.FrontEnd.HasLog("Refused: \"f\" is a symbolic link in "));
  EXPECT_TRUE(scope.FrontEnd.HasLog("were left out: \"f\", \"d\"")) << scope.FrontEnd.GetLog();
}

TEST(Browser, CancelStopsBetweenEntries) {
  BrowserScope scope;
  for (const char* sName : {"a", "b", "c"}) {
    WriteFile(scope.OnDevice(sName), "x");
  }
  ASSERT_EQ(scope.Run(ZELMONT_REQ_CHECK), 0);
  scope.FrontEnd.OnRefresh = [](PROGRESS_INFO* pInfo) {
    if (pInfo->Value == 1 && pInfo->Canceled == 0) {
      PROGRESS_Cancel(pInfo);
    }
  };
  EXPECT_EQ(scope.Run(scope.Make(ZELMONT_REQ_DELETE, "/", {"a", "b", "c"})), -1);
  EXPECT_TRUE(scope.FrontEnd.HasLog("Canceled by user"));
  EXPECT_TRUE(scope.FrontEnd.HasLog("1 of 3 entries deleted."));
  EXPECT_EQ(scope.Tree(), "b c");
}

// At whatever call the cable is pulled, the request fails, and the next one works again, but only
// on the same programmer.
TEST(Browser, CablePulled) {
  for (const u32 type : {ZELMONT_REQ_LIST, ZELMONT_REQ_NEW_FOLDER, ZELMONT_REQ_DELETE}) {
    u32 numFailed = 0;
    for (u32 call = 1; call < 60; ++call) {
      SCOPED_TRACE(std::to_string(type) + "@" + std::to_string(call));
      const DeviceScope::Keys keys = {{"Fault", "disconnect@" + std::to_string(call)}};
      BrowserScope scope(keys);
      WriteFile(scope.OnDevice("f"), "x");
      if (scope.Run(ZELMONT_REQ_CHECK) != 0) {
        EXPECT_NE(APP_GetNumRunErrors(), 0u);
        continue;
      }
      const char* sPath = type == ZELMONT_REQ_NEW_FOLDER ? "/n" : "/";
      if (scope.Run(scope.Make(type, sPath, {"f"})) == 0) {
        break;
      }
      ++numFailed;
      EXPECT_NE(APP_GetNumRunErrors(), 0u) << scope.FrontEnd.GetLog();
      scope.SetDevice({});
      EXPECT_EQ(scope.Run(ZELMONT_REQ_LIST), 0) << scope.FrontEnd.GetLog();
    }
    EXPECT_GE(numFailed, 1u);
  }
  BrowserScope scope(DeviceScope::Keys{{"SerialNumber", "1"}});
  WriteFile(scope.OnDevice("f"), "x");
  ASSERT_EQ(scope.Run(ZELMONT_REQ_CHECK), 0);
  PROBE_Close();
  scope.SetDevice({{"SerialNumber", "2"}});
  EXPECT_EQ(scope.Run(scope.Make(ZELMONT_REQ_DELETE, "/", {"f"})), -1);
  EXPECT_TRUE(scope.FrontEnd.HasLog("Another programmer is connected now (S/N 2 instead of 1)."));
  EXPECT_EQ(scope.Tree(), "f");
}

}  // namespace
