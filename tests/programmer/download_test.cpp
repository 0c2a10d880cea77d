// Config, data and serial number files on their way to a programmer and to the modules of a gang.
#include "programmer/download.h"

#include <sys/stat.h>

#include <filesystem>

#include "app/engine/progress.h"
#include "flash/connect.h"
#include "programmer/modules.h"
#include "tests/programmer/device_scope.h"

namespace {

constexpr char kDone[] = "Successfully downloaded files to Zelmont.";
constexpr char kFailed[] = "Failed to download files to probe / programmer.";
constexpr char kOldHardware[] =
    "Zelmont V4 or earlier detected. Storing *.pex files in the config file requires a Zelmont V5 "
    "or newer.";
const DeviceScope::Keys kGang = {{"ProductId", "30"}, {"DeadModules", "3"}, {"Modules", "8"}};

// Two pieces and a half on the programmer.
MEMAREA_PTR MakeImage() {
  MEMAREA_PTR area(MEMAREA_Create());
  EXPECT_EQ(MEMAREA_Write(area.get(), 0, 0x50000, Bytes(0x50000, 0x5A).data()), 0);
  return area;
}

struct DownloadScope : DeviceScope {
  explicit DownloadScope(const Keys& keys = {}) : DeviceScope(keys) {
    PROJECT_New(Dir.file("p.korvane").c_str());
    Blocks blocks;
    blocks.Flash->AutoDetect = 0;
    blocks.Flash->NumPages = 65536;
    blocks.Flash->PageSizeShift = 8;
    blocks.Production->SNValue = 5;
    blocks.Store();
  }
  // An empty list: selection is off.
  void SelectModules(const std::vector<u32>& modules) {
    auto pGeneral = GetBlock(PROJECT_GetGeneral);
    pGeneral->UseATEModuleSelection = modules.empty() ? 0 : 1;
    for (const u32 module : modules) {
      if (module != 0) {
        pGeneral->aATEModuleSel[module - 1] = 1;
      }
    }
    PROJECT_SetGeneral(pGeneral.get());
  }
  int Run() { return APP_DownloadConfigFiles(MakeImage().get()); }
  // "both", "none", "data" or "config": which whole files lie in a folder of the programmer.
  std::string Found(const std::string& folder) {
    const auto read = [&](const char* sName) {
      const std::string file = ReadFile(OnDevice(folder + sName));
      return Bytes(file.begin(), file.end());
    };
    const Bytes data = read("Zelmont.dat"), config = read("Zelmont.cfg");
    if (!data.empty()) {
      EXPECT_EQ(ReadData(data).Blocks.size(), 0x50000u / 2048);
    }
    if (!config.empty()) {
      ReadConfig(config);
    }
    return data.empty() ? (config.empty() ? "none" : "config") : config.empty() ? "data" : "both";
  }
};

DeviceScope::Keys With(DeviceScope::Keys keys, const std::string& key, const std::string& value) {
  keys[key] = value;
  return keys;
}

TEST(Download, TellsWhatHasArrived) {
  const struct {
    DeviceScope::Keys Keys;
    std::vector<u32> Modules;                  // empty: selection is off
    std::map<std::string, std::string> Found;  // behind it, by folder
    std::vector<std::string> Says;
  } cases[] = {
      {{}, {}, {{"", "both"}}, {kDone, "Downloading file to Programmer [Zelmont.dat] ..."}},
      {{{"HardwareVersion", "1049999"}}, {}, {{"", "both"}}, {kDone, kOldHardware}},
      {kGang,
       {2, 5},
       {{"module2/", "both"}, {"module5/", "both"}, {"module1/", "none"}},
       {kDone, "Connecting to module 2...", "Downloading file to Module 5 [Zelmont.dat]"}},
      {kGang,
       {},
       {{"module0/", "none"}},
       {"Gang programmer module selection inactive.\nSet gang programmer module selection "
        "at\nProject Settings -> General\n"}},
      {kGang,
       {0},
       {{"module0/", "none"}},
       {"No gang programmer modules selected at\nProject Settings -> General\n"}},
      {{},
       {2},
       {{"", "none"}},
       {"The connected probe/ programmer is not a gang programmer,\nbut the gang programmer module "
        "selection is checked at\nProject Settings -> General\n"}},
      {kGang,
       {2, 3, 5},
       {{"module2/", "both"}, {"module5/", "none"}},
       {"Module 3 of the gang programmer does not answer.",
        "Failed to connect to gang programmer module #3.",
        "Modules that have their files: 2. Failed: 3. Not tried: 5."}},
      {kGang,
       {9, 10},
       {},
       {"The gang programmer has modules 1 to 8, not 9.",
        "Failed to select gang programmer module #9.",
        "Modules that have their files: none. Failed: 9. Not tried: 10."}},
      {{{"Capabilities", "54,72"}},
       {},
       {{"", "none"}},
       {"Connected programmer does not support file download."}},
      {{{"Capabilities", "26,54"}},
       {},
       {{"", "none"}},
       {"Connected programmer does not support SPI in stand-alone mode."}},
      {With(kGang, "FileSystemKiB", "300"),
       {2, 5},
       {{"module2/", "none"}, {"module5/", "none"}},
       {"Could not create \"Zelmont.dat\" (331776 bytes) on Module 2.", "Failed to download files",
        "State of Module 2: 0 of 2 files done, \"Zelmont.dat\" is missing, or incomplete"}},
      {{{"FileSystemKiB", "325"}},
       {},
       {{"", "data"}},
       {"Could not create \"Zelmont.cfg\" (2049 bytes) on Programmer.",
        "State of Programmer: 1 of 2 files done, \"Zelmont.cfg\" is missing, or incomplete"}},
      {{{"FileSystem", "Vortic.ini"}}, {}, {}, {"Vortic.ini"}},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.Says.back());
    DownloadScope scope(c.Keys);
    scope.SelectModules(c.Modules);
    if (c.Keys.count("Modules") != 0) {
      WriteFile(scope.OnDevice("module0/hub"), "x");
    }
    const bool isDone = c.Says[0] == kDone;
    EXPECT_EQ(scope.Run(), isDone ? 0 : -1);
    for (const std::string& text : c.Says) {
      EXPECT_TRUE(scope.FrontEnd.HasLog(text)) << text << "\n in " << scope.FrontEnd.GetLog();
    }
    EXPECT_EQ(scope.FrontEnd.HasLog(kFailed), !isDone);
    EXPECT_EQ(scope.FrontEnd.HasLog(kOldHardware), c.Says.back() == kOldHardware);
    EXPECT_EQ(APP_GetNumRunErrors() == 0, isDone);
    for (const auto& [folder, found] : c.Found) {
      EXPECT_EQ(scope.Found(folder), found) << folder;
    }
    EXPECT_FALSE(PROBE_IsOpen());
    EXPECT_EQ(scope.FrontEnd.GetNumOpenProgress(), 0u);
    // Whatever connects next meets the hub, not the module that failed.
    EXPECT_TRUE(c.Modules.empty() || c.Keys.count("Modules") == 0 ||
                (PROBE_Open(false, true) && VORTIC_FileGetSize("hub") == 1));
  }
}

// Whatever call fails, in whatever way: no file on the programmer passes for a whole one without
// being it, and what is left is told.
TEST(Download, AFailureAtAnyCallLeavesNoHalfFileUnnamed) {
  for (const std::string fault : {"disconnect", "timeout", "nak"}) {
    u32 numFailed = 0, numThirdPiece = 0;
    for (u32 call = 1;; ++call) {
      SCOPED_TRACE(fault + "@" + std::to_string(call));
      DownloadScope scope({{"Fault", fault + "@" + std::to_string(call)}});
      WriteFile(scope.OnDevice("Zelmont.dat"), "old");
      WriteFile(scope.OnDevice("Zelmont.cfg"), "old");
      const int result = scope.Run();
      const std::string log = scope.FrontEnd.GetLog();
      const std::string data = ReadFile(scope.OnDevice("Zelmont.dat"));
      const std::string config = ReadFile(scope.OnDevice("Zelmont.cfg"));
      if (result == 0) {
        EXPECT_EQ(scope.Found(""), "both");
        // Calls behind the last piece are the close, which has nothing to say.
        EXPECT_EQ(log.find("ERROR"), std::string::npos);
        break;
      }
      ++numFailed;
      numThirdPiece += scope.FrontEnd.HasLog(
          "Error while writing file content to Programmer. Offset: 262144. NumBytes Remaining: "
          "69632 FileName: Zelmont.dat.");
      EXPECT_NE(APP_GetNumRunErrors(), 0u);
      EXPECT_NE(log.find(kFailed), std::string::npos);
      const bool isNamed = log.find("is incomplete and must not be used.") != std::string::npos;
      if (!isNamed && data != "old" && config != "old") {
        scope.Found("");  // what is there is whole
      } else if (!isNamed && data != "old" && !data.empty()) {
        ReadData(Bytes(data.begin(), data.end()));
      }
      const bool isTouched = data != "old" || config != "old";
      EXPECT_TRUE(!isTouched || log.find("State of Programmer: ") != std::string::npos ||
                  log.find("All files were written before ") != std::string::npos)
          << log;
      ASSERT_LT(call, 100u);
    }
    EXPECT_GT(numFailed, 8u);
    EXPECT_EQ(numThirdPiece, 1u);
  }
}

// A cancel keeps what is whole, the old file that it came before included.
TEST(Download, CanceledByUser) {
  const struct {
    u32 Max, Value;  // of the progress at which Cancel is pressed
    const char* sState;
    std::string Data, Config;  // sizes behind it
  } cases[] = {
      {331776, 0x20000, "0 of 2 files done, \"Zelmont.dat\" is removed.", "", "old"},
      {331776, 331776, "1 of 2 files done, \"Zelmont.dat\" is complete.", "new", "old"},
      {2049, 0, "1 of 2 files done, \"Zelmont.cfg\" is unchanged.", "new", "old"},
  };
  for (const auto& c : cases) {
    DownloadScope scope;
    WriteFile(scope.OnDevice("Zelmont.dat"), "old");
    WriteFile(scope.OnDevice("Zelmont.cfg"), "old");
    scope.FrontEnd.OnRefresh = [&](PROGRESS_INFO* pInfo) {
      if (pInfo->Max == c.Max && pInfo->Value == c.Value && pInfo->Canceled == 0) {
        PROGRESS_Cancel(pInfo);
      }
    };
    EXPECT_EQ(scope.Run(), -1);
    EXPECT_TRUE(scope.FrontEnd.HasLog("Download canceled by user")) << scope.FrontEnd.GetLog();
    EXPECT_TRUE(scope.FrontEnd.HasLog(c.sState)) << scope.FrontEnd.GetLog();
    const std::string data = ReadFile(scope.OnDevice("Zelmont.dat"));
    EXPECT_EQ(data.size() == c.Max || data.size() > 3 ? "new" : data, c.Data);
    EXPECT_EQ(ReadFile(scope.OnDevice("Zelmont.cfg")), c.Config);
  }
}

TEST(Download, NegativeLengthRemoves) {
  DownloadScope scope;
  WriteFile(scope.OnDevice("SNList.txt"), "01");
  ZELMONT_FILE_INFO file{};
  std::copy_n("SNList.txt", 11, file.acName);
  file.NumBytes = -1;
  APP_LogBegin("Test");
  for (int i = 0; i < 2; ++i) {  // what isn't there is as good as removed
    EXPECT_EQ(APP_DownloadFiles(&file, 1), 0);
    EXPECT_FALSE(std::filesystem::exists(scope.OnDevice("SNList.txt")));
  }
  EXPECT_EQ(scope.FrontEnd.CountLog("Removing \"SNList.txt\" from Programmer..."), 2u);
  APP_LogEnd();
}

const std::string kNul(1, '\0');

// What the serial number files become, from what lies beside the project. "dir": a folder lies
// there, which cannot be read as a file.
TEST(Download, SerialNumbers) {
  const struct {
    const char *sSerial, *sList;       // null: no such file
    std::string Sent, SentList, Says;  // Says empty: done
  } cases[] = {
      {"7", nullptr, "7" + kNul, "", ""},
      {"", nullptr, "", "", ""},
      {nullptr, nullptr, "5" + kNul, "", ""},
      {"7", "0102\n", "7" + kNul, "0102\n", ""},
      {"dir", nullptr, "", "", "Could not open file ["},
      {"7", "dir", "", "", "Could not open file ["},
      {"pipe", nullptr, "", "", "It is a device or a pipe."},
      {"7", "pipe", "", "", "It is a device or a pipe."},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(&c - cases);
    DownloadScope scope;
    const std::pair<const char*, std::string> files[] = {
        {c.sSerial, scope.Dir.file("p_Serial.txt")}, {c.sList, scope.Dir.file("p_SNList.txt")}};
    for (const auto& [sText, name] : files) {
      if (sText != nullptr && std::string(sText) == "dir") {
        std::filesystem::create_directory(name);
      } else if (sText != nullptr && std::string(sText) == "pipe") {
        ASSERT_EQ(mkfifo(name.c_str(), 0666), 0);
      } else if (sText != nullptr) {
        WriteFile(name, sText);
      }
    }
    EXPECT_EQ(APP_DownloadSNFiles(), c.Says.empty() ? 0 : -1) << scope.FrontEnd.GetLog();
    EXPECT_EQ(ReadFile(scope.OnDevice("Serial.txt")), c.Sent);
    EXPECT_EQ(std::filesystem::exists(scope.OnDevice("Serial.txt")), c.Says.empty());
    EXPECT_EQ(ReadFile(scope.OnDevice("SNList.txt")), c.SentList);
    EXPECT_TRUE(scope.FrontEnd.HasLog(c.Says.empty() ? kDone : c.Says)) << scope.FrontEnd.GetLog();
    if (c.sSerial == nullptr) {
      EXPECT_EQ(ReadFile(scope.Dir.file("p_Serial.txt")), c.Sent);
    }
  }
  DownloadScope scope;
  PROJECT_Reset();
  EXPECT_EQ(APP_DownloadSNFiles(), -1);
  EXPECT_TRUE(scope.FrontEnd.HasLog("Failed to get S/N file name."));
}

}  // namespace
