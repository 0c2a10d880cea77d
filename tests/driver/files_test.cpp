#include <fcntl.h>
#include <sys/stat.h>

#include <cstdlib>
#include <ctime>

#include "tests/driver/probe_fixture.h"

namespace {

namespace fs = std::filesystem;

// A probe with a file system in the folder "fs"; beside it a file that no call may reach.
class FilesTest : public ProbeFixture {
 protected:
  void OpenFiles(const std::string& lines = "") {
    Open("AT25080", "FileSystem = fs\n" + lines);
    WriteFile("secret", "secret");
  }
  void Put(const std::string& name, const std::string& text) {
    fs::create_directories(fs::path(Path("fs/" + name)).parent_path());
    WriteFile("fs/" + name, text);
  }
  static i32 Write(const std::string& name, const std::string& text, u32 offset = 0) {
    return VORTICARM_EMU_FILE_Write(name.c_str(), reinterpret_cast<const u8*>(text.data()), offset,
                                    static_cast<u32>(text.size()));
  }
  static i32 Size(const char* sName) { return VORTICARM_EMU_FILE_GetSize(sName); }
  static int Rename(const char* sNew, const char* sOld) {
    return Lookup<VORTIC_RENAME>(VORTIC_FUNC_RENAME)(sNew, sOld);
  }
  // "A.DAT=5 DIR/ =2": names with sizes, folders with a slash; the count in front if it differs.
  static std::string List(const char* sPath, u32 maxEntries = 100) {
    std::vector<VORTIC_DIR_ENTRY> entries(maxEntries);
    const int count =
        Lookup<VORTIC_LIST_DIR>(VORTIC_FUNC_LIST_DIR)(sPath, entries.data(), maxEntries);
    std::string shown = count < 0 || static_cast<u32>(count) > maxEntries
                            ? std::to_string(count) + ":"
                            : std::string();
    for (int i = 0; i < std::min(count, static_cast<int>(maxEntries)); ++i) {
      const VORTIC_DIR_ENTRY& entry = entries[static_cast<u32>(i)];
      shown += (shown.empty() ? "" : " ") + std::string(entry.acName, strnlen(entry.acName, 256));
      shown += entry.Attributes == VORTIC_DIR_ENTRY_FOLDER ? "/" : "=" + std::to_string(entry.Size);
    }
    return shown;
  }
};

TEST_F(FilesTest, KeepsFilesInTheFolder) {
  OpenFiles();
  EXPECT_EQ(Size("A.DAT"), -1);
  EXPECT_EQ(VORTICARM_EMU_FILE_Delete("DIR\\A.DAT"), -1);
  EXPECT_TRUE(s_Errors.empty());  // both are answers
  EXPECT_EQ(Write("\\DIR\\A.DAT", "stale contents"), 14);
  EXPECT_EQ(VORTICARM_EMU_FILE_Write("DIR\\A.DAT", nullptr, 10, 0), 0);
  EXPECT_EQ(ReadFile("fs/DIR/A.DAT"), std::string(10, '\0'));
  EXPECT_EQ(Write("DIR\\\\A.DAT", "Hello", 5), 5);
  EXPECT_EQ(Write("DIR\\A.DAT", ""), 0);
  u8 data[8] = {};
  EXPECT_EQ(VORTICARM_EMU_FILE_Read("DIR\\A.DAT", data, 6, 8), 4);
  EXPECT_EQ(data[0], 'e');
  EXPECT_EQ(Size("DIR\\A.DAT"), 10);
  EXPECT_EQ(Size("DIR"), -1);
  EXPECT_EQ(Size("\\"), -1);
  EXPECT_EQ(VORTICARM_EMU_FILE_Delete("DIR\\A.DAT"), 0);
  EXPECT_EQ(List(""), "DIR/");  // the folder stays
  EXPECT_EQ(List("DIR"), "");
  EXPECT_TRUE(s_Errors.empty());
}

TEST_F(FilesTest, NamesStayInTheFolder) {
  OpenFiles();
  Put("D/a", "1");
  fs::create_symlink(Path("secret"), Path("fs/link"));
  fs::create_directory_symlink(Path(""), Path("fs/up"));
  ASSERT_EQ(mkfifo(Path("fs/pipe").c_str(), 0600), 0);
  const std::string longName(64, 'n');
  for (const std::string& name : {std::string(),
                                  std::string(".."),
                                  std::string("..\\x"),
                                  std::string("a\\..\\..\\x"),
                                  std::string("/etc/x"),
                                  std::string("a/b"),
                                  std::string("C:\\x"),
                                  std::string("a\\"),
                                  std::string("."),
                                  std::string("a\nb"),
                                  std::string("\x7F"),
                                  std::string("a*"),
                                  longName,
                                  std::string("link"),
                                  std::string("up\\secret"),
                                  std::string("up\\x"),
                                  std::string("pipe"),
                                  std::string("D"),
                                  std::string("D\\a\\b"),
                                  std::string(2000, 'p')}) {
    s_Errors.clear();
    EXPECT_LT(Write(name, "x"), 0) << name;
    EXPECT_EQ(s_Errors.size(), 1u) << name;
    u8 byte = 0;
    EXPECT_LT(VORTICARM_EMU_FILE_Read(name.c_str(), &byte, 0, 1), 0) << name;
    EXPECT_EQ(Rename("new", name.c_str()), name == "D" ? 0 : -1) << name;
    EXPECT_EQ(Rename("D", "new"), name == "D" ? 0 : -1);
  }
  EXPECT_EQ(List("\\"), "D/");  // neither links nor the pipe
  EXPECT_TRUE(List("up").starts_with("-1:"));
  EXPECT_EQ(VORTICARM_EMU_FILE_Delete("link"), -1);
  EXPECT_EQ(VORTICARM_EMU_FILE_Delete("up\\secret"), -1);
  EXPECT_EQ(ReadFile("secret"), "secret");
  EXPECT_FALSE(fs::exists(Path("x")));
  EXPECT_EQ(Write(std::string(63, 'n'), "x"), 1);
}

TEST_F(FilesTest, DeletesAFolderWithAllOfItsContentsAndNothingElse) {
  OpenFiles();
  Put("D/E/a", "1");
  Put("D/b", "2");
  Put("c", "3");
  fs::create_directory_symlink(Path(""), Path("fs/D/E/up"));
  EXPECT_EQ(VORTICARM_EMU_FILE_Delete("D\\"), 0);
  EXPECT_EQ(List(""), "c=1");
  EXPECT_EQ(ReadFile("secret"), "secret");
  EXPECT_TRUE(s_Errors.empty());
  EXPECT_LT(VORTICARM_EMU_FILE_Delete("\\"), 0);
  EXPECT_EQ(s_Errors.at(0), "The programmer's uppermost folder can't be deleted.");
}

TEST_F(FilesTest, ListsAFolder) {
  OpenFiles(
      "ListingExtra = ..\\\\x, \\x1B[2J\nListingExtraFolders=.., a\\x2C\\x3B\nFault = listing=7@4");
  Put("B", "22");
  Put("A", "1");
  Put("D/x", "");
  EXPECT_EQ(List("\\"), "A=1 B=2 D/ ..\\x=16 \x1B[2J=16 ../ a,;/");
  EXPECT_EQ(List("\\D\\", 1), "5: x=0");
  EXPECT_EQ(Lookup<VORTIC_LIST_DIR>(VORTIC_FUNC_LIST_DIR)(nullptr, nullptr, 0), 7);
  EXPECT_EQ(List("D", 6), "7: x=0 ..\\x=16 \x1B[2J=16 ../ a,;/ =0");  // the fault's count
  EXPECT_EQ(List("NO"), "-1:");
  EXPECT_EQ(s_Errors.at(0),
            "Could not list the programmer's folder \"NO\": No such file or directory.");
  EXPECT_LT(Lookup<VORTIC_LIST_DIR>(VORTIC_FUNC_LIST_DIR)("", nullptr, 1), 0);
}

TEST_F(FilesTest, ListedTimesAreLocal) {
  ASSERT_EQ(setenv("TZ", "XXX-2", 1), 0);
  tzset();
  OpenFiles();
  Put("A", "1");
  const timespec times[2] = {{981173106, 0}, {981173106, 0}};  // 2001-02-03 04:05:06 UTC
  ASSERT_EQ(utimensat(AT_FDCWD, Path("fs/A").c_str(), times, 0), 0);
  VORTIC_DIR_ENTRY e = {};
  EXPECT_EQ(Lookup<VORTIC_LIST_DIR>(VORTIC_FUNC_LIST_DIR)("", &e, 1), 1);
  EXPECT_EQ((std::vector<u16>{e.Year, e.Month, e.Day, e.Hour, e.Minute, e.Second}),
            (std::vector<u16>{2001, 2, 3, 6, 5, 6}));
  unsetenv("TZ");
  tzset();
}

TEST_F(FilesTest, RenamesAndMoves) {
  struct Row {
    const char* sNew;
    const char* sOld;
    const char* sError;  // empty: done
  };
  const Row rows[] = {
      {"\\B", "\\A", ""},
      {"B", "B", ""},
      {"D\\B", "B", ""},
      {"A", "NO", "Could not rename the programmer's file \"NO\": No such file or directory."},
      {"NO\\B", "D\\B",
       "Could not rename the programmer's file \"D\\B\": No such file or directory."},
      {"C", "D\\B", "Could not rename the programmer's file \"D\\B\": File exists."},
      {"D\\E\\D", "D", "A folder can't be moved into itself."},
      {"\\", "D", "The programmer's uppermost folder can't be renamed."},
      {"x:y", "D", "\"x:y\" is not a file name of the programmer."},
      {"1\\2\\3\\D", "D", "The programmer's folders are at most 4 deep."},
      {"1\\2\\D", "D", ""},
      {"1\\2\\F", "1\\2\\D", ""},
  };
  OpenFiles();
  Put("A", "a");
  Put("C", "c");
  Put("D/E/x", "");
  Put("1/2/3/x", "");
  for (const Row& row : rows) {
    s_Errors.clear();
    EXPECT_EQ(Rename(row.sNew, row.sOld), *row.sError == '\0' ? 0 : -1) << row.sNew;
    EXPECT_EQ(s_Errors.empty() ? "" : s_Errors[0], row.sError);
  }
  EXPECT_EQ(ReadFile("fs/1/2/F/B"), "a");
  EXPECT_EQ(ReadFile("fs/C"), "c");
  s_Errors.clear();
  EXPECT_EQ(Rename("", ""), -1);
  EXPECT_EQ(Rename(nullptr, nullptr), -1);
  EXPECT_TRUE(s_Errors.empty());  // only asked whether it is there
}

TEST_F(FilesTest, LimitsHoldForWhatIsCreated) {
  OpenFiles("FileSystemKiB = 1");
  Put("OLD/1/2/3/4/5/x", std::string(24, 'x'));
  EXPECT_EQ(Write("a\\b\\c\\d\\x", "x"), 1);
  EXPECT_LT(Write("a\\b\\c\\d\\e\\x", "x"), 0);
  EXPECT_EQ(s_Errors.at(0), "The programmer's folders are at most 4 deep.");
  EXPECT_EQ(Size("OLD\\1\\2\\3\\4\\5\\x"), 24);  // was there

  EXPECT_EQ(VORTICARM_EMU_FILE_Write("A", nullptr, 999, 0), 0);
  EXPECT_EQ(Write("A", std::string(999, 'a')), 999);  // its own room
  EXPECT_LT(Write("A", "ab", 998), 0);
  EXPECT_EQ(s_Errors.at(1), "The programmer's memory is full: 1 bytes are needed, 0 are free.");
  EXPECT_LT(VORTICARM_EMU_FILE_Write("B", nullptr, 0xFFFFFFFF, 0), 0);
  EXPECT_EQ(Size("B"), -1);  // nothing is left of it
  EXPECT_EQ(VORTICARM_EMU_FILE_Delete("OLD"), 0);
  EXPECT_EQ(Write("B", std::string(24, 'b')), 24);
  EXPECT_EQ(VORTICARM_EMU_FILE_Write("A", nullptr, 9, 0), 0);
  EXPECT_EQ(Write("B", std::string(990, 'b'), 24), 990);

  for (int i = 0; i < 62; ++i) {
    EXPECT_EQ(Write("a\\" + std::to_string(i), ""), 0);
  }
  EXPECT_EQ(VORTICARM_EMU_FILE_Write("a\\62", nullptr, 0, 0), 0);
  s_Errors.clear();
  EXPECT_LT(Write("a\\63", ""), 0);
  EXPECT_LT(Write("a\\new\\x", ""), 0);
  EXPECT_LT(Rename("a\\64", "B"), 0);
  EXPECT_EQ(s_Errors,
            std::vector<std::string>(3, "A folder of the programmer has at most 64 entries."));
  EXPECT_EQ(Rename("a\\64", "a\\0"), 0);
  Put("a/more", "");
  EXPECT_TRUE(List("a", 1).starts_with("65:"));  // the host may
}

TEST_F(FilesTest, CapabilitiesAndFaultsHold) {
  struct Row {
    const char* sLines;
    i32 Size;  // of A, which has one byte
    int Entries;
    const char* sError;
  };
  const Row rows[] = {
      {"", 1, 1, ""},
      {"Capabilities = 26", 1, VORTIC_ERR_UNSUPPORTED, ""},
      {"Capabilities = 54", -1, -1, "The probe has no file functions (capability 26)."},
      {"Fault = timeout@3", 1, -1, "The probe did not answer in time (call 3)."},
      {"Fault = nak@2", -1, 1, "The probe refused the call (call 2)."},
      {"Fault = disconnect@2", -1, -1, "Communication with the probe lost (call 2)."},
  };
  for (const Row& row : rows) {
    Put("A", "1");
    s_Errors.clear();
    OpenFiles(row.sLines);
    EXPECT_EQ(Size("A"), row.Size) << row.sLines;
    EXPECT_EQ(Lookup<VORTIC_LIST_DIR>(VORTIC_FUNC_LIST_DIR)("", nullptr, 0), row.Entries);
    EXPECT_EQ(s_Errors.empty() ? "" : s_Errors[0], row.sError);
    VORTICARM_Close();
  }
  Open("AT25080");
  s_Errors.clear();
  EXPECT_EQ(Rename("", ""), VORTIC_ERR_UNSUPPORTED);
  EXPECT_LT(Size("A"), 0);
  EXPECT_EQ(s_Errors.at(0),
            "The simulated probe has no file system (key FileSystem of its section).");
  VORTICARM_Close();
  EXPECT_EQ(TryOpen("AT25080", "FileSystem = secret"),
            "Could not open the file system's folder \"" + Path("secret") + "\": Not a directory.");
}

}  // namespace
