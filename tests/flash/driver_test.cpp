#include "flash/driver.h"

#include <gtest/gtest.h>

#include <filesystem>

#include "app/engine/app_state.h"
#include "sys/registry.h"
#include "tests/flash/flash_scope.h"

namespace {

int NumFatal;

struct FatalScope {
  FatalScope() : Saved(FLASH_DriverHooks) {
    NumFatal = 0;
    FLASH_DriverHooks.pfOnFatal = [](int ExitCode) { NumFatal += ExitCode; };
  }
  ~FatalScope() {
    FLASH_DriverHooks = Saved;
    DRIVER_SetLibraryPath(nullptr);
  }
  const FLASH_DRIVER_HOOKS Saved;
};

TEST(Driver, WithoutALibraryNothingCountsAsSuccess) {
  FlashScope scope;
  FatalScope fatal;
  DRIVER_SetLibraryPath("/nowhere/libVortic_x64.so");
  EXPECT_EQ(FLASH_Connect(), -1);
  EXPECT_GE(NumFatal, 1);
  EXPECT_EQ(APP_GetRunCause(), APP_CAUSE::DriverLibrary);
  const SCRIPTED_BOX box = scope.FrontEnd().GetBoxes().front();
  EXPECT_EQ(box.Title, "Vortic Error");
  EXPECT_EQ(box.Text, "Target DLL /nowhere/libVortic_x64.so not found !");
  EXPECT_NE(VORTIC_OpenEx(nullptr), nullptr);
  EXPECT_FALSE(DRIVER_Load());
  EXPECT_EQ(VORTIC_GetFunction(1), nullptr);
  EXPECT_EQ(VORTIC_GetInterfaces(), 0u);
  u32 millivolts = 5;
  EXPECT_NE(VORTIC_GetTargetVoltage(&millivolts), 0);
  EXPECT_EQ(millivolts, 0u);
}

TEST(Driver, AFileThatIsNoLibraryIsNamedWithTheReason) {
  FlashScope scope;
  FatalScope fatal;
  WriteFile(scope.Path("bad.so"), "no library");
  DRIVER_SetLibraryPath(scope.Path("bad.so").c_str());
  EXPECT_FALSE(DRIVER_Load());
  EXPECT_NE(scope.FrontEnd().GetBoxTexts().find("bad.so ("), std::string::npos);
}

TEST(Driver, InstallPathOfTheRegistryIsSearched) {
  struct Row {
    const char* sKey;
    const char* sDir;
    bool IsFound;
  };
  for (const Row& row : {Row{"Software\\TARVEX\\Vortic", "/inst/", true},
                         Row{"Software\\TARVEX\\Vortic", "/inst/bin_x64/", true},
                         Row{"Software\\TARVEX\\Zelmont", "/inst/bin_x64/", true},
                         Row{"Software\\TARVEX\\Vortic", "/inst/elsewhere/", false}}) {
    SCOPED_TRACE(std::string(row.sKey) + row.sDir);
    FlashScope scope;
    FatalScope fatal;
    DRIVER_SetLibraryPath(nullptr);
    std::filesystem::create_directories(scope.Path("") + row.sDir);
    std::filesystem::copy(KORVANE_DRIVER, scope.Path("") + row.sDir + "libVortic_x64.so");
    const std::string install = scope.Path("inst");
    const SYS_HANDLE hKey = SYS_REG_Open(SYS_REG_CURRENT_USER, row.sKey);
    ASSERT_EQ(SYS_REG_Set(hKey, "InstallPath", SYS_REG_TYPE_STRING, install.c_str(),
                          static_cast<u32>(install.size() + 1)),
              0u);
    SYS_REG_Close(hKey);
    EXPECT_EQ(DRIVER_Load(), row.IsFound);
    DRIVER_SetLibraryPath(nullptr);
  }
}

TEST(Driver, AMissingNameFailsWhatNeedsIt) {
  for (const char* sName :
       {"VORTICARM_OpenEx", "VORTIC_SPI_Transfer", "VORTIC_GetpFunc", "VORTICARM_GetHWStatus",
        "VORTICARM_TIF_GetAvailable", "VORTICARM_ClrRESET", "VORTICARM_EMU_GetProductId"}) {
    SCOPED_TRACE(sName);
    FlashScope scope;
    FakeDriver fake;
    fake.Missing = {sName};
    fake.Status = {0xFF, 0};
    APP_LogBegin("Operation");
    EXPECT_TRUE(FLASH_Connect() != 0 || (VORTIC_ActivateCS(), SPI_SendCmd(6), true));
    EXPECT_GT(APP_GetErrorCount(), 0u);
    APP_LogEnd();
    EXPECT_NE(scope.FrontEnd().GetBoxTexts().find(std::string("DLL function ") + sName +
                                                  "(...) not found !"),
              std::string::npos);
  }
}

TEST(Driver, HostileAnswersAreTamed) {
  FlashScope scope;
  FakeDriver fake;
  fake.ExecResult = -5;  // with no text
  char acError[16] = "stale";
  EXPECT_LT(VORTIC_ExecCommand("X", acError, sizeof(acError)), 0);
  EXPECT_STREQ(acError, "The driver libr");
  EXPECT_LT(VORTIC_ExecCommand("X", nullptr, 0), 0);
  EXPECT_STREQ(VORTIC_GetCompileDateTime(), "");
  EXPECT_EQ(VORTIC_GetSpeed(), 4000u);
  APP_LogBegin("Operation");
  DRIVER_GetErrorHandler()(nullptr);
  EXPECT_EQ(APP_GetErrorCount(), 1u);
  APP_LogEnd();
}

// A programmer's answer to whatever file call.
i32 FileAnswer;

void* LookUpFileCall(const char* sName) {
  if (FileAnswer == 0) {
    return nullptr;
  }
  const std::string name = sName;
  if (name == "VORTICARM_EMU_FILE_Write") {
    return reinterpret_cast<void*>(
        +[](const char*, const u8*, u32, u32) -> i32 { return FileAnswer; });
  }
  if (name == "VORTICARM_EMU_FILE_Read") {
    return reinterpret_cast<void*>(+[](const char*, u8*, u32, u32) -> i32 { return FileAnswer; });
  }
  return reinterpret_cast<void*>(+[](const char*) -> i32 { return FileAnswer; });
}

TEST(Driver, FileCallsTakeNoCountThatCannotBe) {
  struct Row {
    i32 Answer;  // 0: there is no such function
    i32 Count;   // of 4 bytes to write or read
    i32 Other;   // of a file made, its size, a deletion
  };
  FlashScope scope;
  for (const Row& row : {Row{0, -1, -1}, Row{4, 4, 4}, Row{1, 1, 1}, Row{5, -1, 5},
                         Row{0x7FFFFFFF, -1, 0x7FFFFFFF}, Row{-262, -262, -262}}) {
    FileAnswer = row.Answer;
    DRIVER_SetLookup(LookUpFileCall);
    u8 data[4] = {};
    EXPECT_EQ(VORTIC_FileWrite("A", data, 0, 4), row.Count) << row.Answer;
    EXPECT_EQ(VORTIC_FileRead("A", data, 0, 4), row.Count) << row.Answer;
    EXPECT_EQ(VORTIC_FileWrite("A", nullptr, 4, 0), row.Other) << row.Answer;
    EXPECT_EQ(VORTIC_FileGetSize("A"), row.Other) << row.Answer;
    EXPECT_EQ(VORTIC_FileDelete("A"), row.Other) << row.Answer;
  }
  DRIVER_SetLookup(nullptr);
}

}  // namespace
