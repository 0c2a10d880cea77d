#include "project/settings.h"

#include <gtest/gtest.h>

#include <filesystem>

#include "sys/file.h"
#include "tests/project/project_scope.h"

namespace {

using GETTER = void(char*, u32);

std::string GetText(GETTER* pfGet) {
  char acText[SYS_MAX_PATH] = "stale";
  pfGet(acText, sizeof(acText));
  return acText;
}

}  // namespace

TEST(Settings, ReadForms) {
  const struct {
    const char* sIni;
    u32 LogLevel;
    u32 BlankCheck;
    const char* sReport;
  } cases[] = {
      {"", 3, 1, ""},
      {"[LOG]\r\nLogLevel = 5\r\n[OPERATION]\r\nAutoBlankCheck = 0\r\n", 5, 0, ""},
      {"[log]\nloglevel=5\n\n[Operation]\n  AUTOBLANKCHECK = 0", 5, 0, ""},  // LF, case, no end
      {"[LOG]\r\nLogLevel = 0\r\n", 1, 1, ""},
      {"[LOG]\r\nLogLevel = 12\r\n", 9, 1, ""},
      {"[LOG]\r\nLogLevel = -4\r\n", 4, 1, ""},
      {"[LOG]\r\nLogLevel\t= 5\r\n", 3, 1, ""},
      {"[LOG]\r\nLogLevels = 5\r\n", 3, 1, ""},
      {"[OTHER]\r\nLogLevel = 5\r\n[LOG]\r\n[X]\r\nLogLevel = 6\r\n", 3, 1, ""},
      {"[LOG]\r\nLogLevel = x\r\n", 3, 1, "Expecting a number"},
      {"[LOG]\r\nLogLevel  5\r\n", 3, 1, "Expected '=', got '5'"},
      {"[LOG", 3, 1, ""},
      {"[LOG]", 3, 1, ""},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.sIni);
    ProjectScope scope;
    WriteFile(scope.IniFile(), c.sIni);
    SETUP_Init();
    EXPECT_EQ(SETUP_GetLogLevel(), c.LogLevel);
    EXPECT_EQ(SETUP_GetLogLevel(), c.LogLevel);  // told once, not at each line of the log
    EXPECT_EQ(SETUP_GetAutoBlankCheck(), c.BlankCheck);
    const std::string where = "\nFile [" + scope.IniFile() + "], section 'LOG', key 'LogLevel'\n";
    EXPECT_EQ(scope.FrontEnd.GetBoxTexts(), *c.sReport != '\0' ? c.sReport + where : "");
    EXPECT_EQ(ReadFile(scope.IniFile()), c.sIni);  // reading changes no file
  }
}

TEST(Settings, LastWrittenKeyStandsFirst) {
  ProjectScope scope;
  SETUP_SetAutoMode(1);
  SETUP_SetAutoDisconnect(1);
  SETUP_SetProjectFiles("\\work\\p\\a.korvane");
  SETUP_SetAutoMode(2);
  EXPECT_EQ(ReadFile(scope.IniFile()),
            "[OPERATION]\r\nAutoMode = 2\r\nAutoDisconnect = 1\r\n"
            "[PATH]\r\nProjectFiles=\"/work/p/\"\r\n");
  EXPECT_EQ(SETUP_GetAutoMode(), 2u);
  SETUP_Init();
  EXPECT_EQ(SETUP_GetAutoMode(), 2u);
  EXPECT_EQ(GetText(SETUP_GetProjectFiles), "/work/p/");
}

TEST(Settings, WritingKeepsWhatIsNotKnown) {
  ProjectScope scope;
  const std::string junk(60000, 'x');
  WriteFile(scope.IniFile(), "; " + junk + "\n[LOG]\nLogLevel = 4\n\n\n; kept\n[LAST]");
  SETUP_Init();
  SETUP_SetLogLevel(6);
  EXPECT_EQ(ReadFile(scope.IniFile()), "; " + junk + "\n[LOG]\nLogLevel = 6\r\n; kept\n[LAST]");
  SETTINGS_WriteNumber("last", "a", 1);
  EXPECT_TRUE(ReadFile(scope.IniFile()).ends_with("[LAST]\r\na = 1\r\n"));
}

TEST(Settings, TextsThatCannotBeKept) {
  ProjectScope scope;
  SETUP_SetCurrent("/a/first.korvane");
  for (const char* sName : {"/a/\".korvane", "/a/\r\n[LOG]\r\nLogLevel = 9"}) {
    EXPECT_EQ(SETTINGS_WriteString("PROJECT", "Current", sName), -1);
  }
  EXPECT_EQ(GetText(SETUP_GetCurrent), "/a/first.korvane");
  EXPECT_EQ(scope.FrontEnd.GetBoxes().size(), 2u);
  char acShort[4];
  EXPECT_EQ(SETTINGS_ReadString("PROJECT", "Current", acShort, sizeof(acShort)), -1);
  EXPECT_STREQ(acShort, "");
  EXPECT_EQ(scope.FrontEnd.GetBoxes().back().Text,
            "Error while parsing subkey \"Current\" in settings file. Syntax error.\nFile [" +
                scope.IniFile() + "], section 'PROJECT', key 'Current'");
}

TEST(Settings, FileThatCannotBeWritten) {
  ProjectScope scope;
  SETUP_SetAutoMode(1);
  const std::string before = ReadFile(scope.IniFile());
  std::filesystem::permissions(scope.IniFile(), std::filesystem::perms::owner_read);
  SETUP_SetAutoMode(2);
  EXPECT_EQ(scope.FrontEnd.GetBoxTexts(),
            "Could not save file [" + scope.IniFile() + "]\nFile has read only attribute!\n");
  EXPECT_EQ(ReadFile(scope.IniFile()), before);
  EXPECT_EQ(SETUP_GetAutoMode(), 2u);  // for this run
}

TEST(Settings, Overrides) {
  ProjectScope scope;
  const auto logFile = [](bool allow) {
    char acName[SYS_MAX_PATH];
    SETUP_GetKorvaneLogFile(acName, sizeof(acName), allow);
    return std::string(acName);
  };
  SETUP_SetKorvaneLogFile("/stored.log");
  SETUP_OverrideKorvaneLog("/now.log");
  EXPECT_EQ(SETUP_GetEnableKorvaneLog(true), 1u);
  EXPECT_EQ(SETUP_GetEnableKorvaneLog(false), 0u);
  EXPECT_EQ(SETUP_GetEnableVorticLog(true), 0u);
  EXPECT_EQ(logFile(true), "/now.log");
  EXPECT_EQ(logFile(false), "/stored.log");
  SETUP_OverrideKorvaneLog(std::string(SYS_MAX_PATH, 'x').c_str());
  EXPECT_EQ(SETUP_GetEnableKorvaneLog(true), 0u);
  EXPECT_EQ(logFile(true), "/stored.log");
  EXPECT_EQ(ReadFile(scope.IniFile()).find("now.log"), std::string::npos);
}

TEST(Settings, ConnectInfo) {
  ProjectScope scope;
  PROJ_GENERAL general = {};
  general.USBPort = 2;
  general.USBSerialNo = 4711;
  strcpy(general.HostName, "bench");
  general.UseATEModuleSelection = 1;
  general.aATEModuleSel[23] = 1;
  const struct {
    u8 Mode;
    u32 Number;
    const char* sHost;
  } cases[] = {{0, 2, ""}, {1, 4711, ""}, {2, 0, "bench"}};
  PROBE_CONNECTION connection;
  for (const auto& c : cases) {
    general.ConnectMode = c.Mode;
    SETUP_GetConnectInfo(&connection, &general);
    EXPECT_EQ(connection.Mode, c.Mode);
    EXPECT_EQ(connection.Number, c.Number);
    EXPECT_STREQ(connection.HostName, c.sHost);
    EXPECT_EQ(connection.aATEModuleSel[23], 1);
  }
  PROBE_CONNECTION override = {};
  override.Mode = PROBE_MODE_USB_NICKNAME;
  strcpy(override.Nickname, "Bench");
  SETUP_OverrideConnection(&override);
  SETUP_GetConnectInfo(&connection, &general);
  EXPECT_EQ(memcmp(&connection, &override, sizeof(override)), 0);
}

TEST(Settings, WhatAnotherProgramStoredStays) {
  ProjectScope scope;
  SETUP_SetLogLevel(5);
  WriteFile(scope.IniFile(), "; by hand\r\n[OPERATION]\r\nAutoMode = 2\r\n");
  SETUP_SetAutoDisconnect(1);
  const std::string text = ReadFile(scope.IniFile());
  EXPECT_TRUE(text.starts_with("; by hand\r\n")) << text;
  EXPECT_NE(text.find("AutoMode = 2"), std::string::npos);
  EXPECT_NE(text.find("AutoDisconnect = 1"), std::string::npos);
}
