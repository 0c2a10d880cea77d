#include "app/operations/cmdline.h"

#include <vector>

#include "app/engine/app_state.h"
#include "app/engine/log.h"
#include "app/operations/cmdline_numbers.h"
#include "app/operations/cmdline_options.h"
#include "flash/driver.h"
#include "sys/file.h"
#include "sys/path.h"
#include "sys/util_format.h"
#include "sys/util_string.h"

namespace {

constexpr u32 kExecute = CMDLINE_PASS_EXECUTE;
constexpr u32 kPreparse = CMDLINE_PASS_PREPARSE;
constexpr u32 kBoth = kExecute | kPreparse;
constexpr int kStop = 1;
constexpr u32 kMaxName = SYS_MAX_PATH / 2;

// Order matters: the first row whose word begins the argument wins, so that a longer word stands
// before those that it begins with.
constexpr CMDLINE_OPTION kOptions[CMDLINE_NUM_OPTIONS] = {
    {"-openprj", kBoth, CMDLINE_OnOpenPrj,
     "\t\t Opens an existing project\n\t\t   Syntax:\t -openprj<FILENAME>"},
    {"-saveprjas", kExecute, CMDLINE_OnSavePrjAs,
     "  \t Saves current project in a different file\n\t\t   Syntax:\t -saveprjas<FILENAME>"},
    {"-saveprj", kExecute, CMDLINE_OnSavePrj,
     "\t\t Saves current project\n\t\t   Syntax:\t -saveprj"},
    {"-open", kBoth, CMDLINE_OnOpen,
     "\t\t Opens a data file\n\t\t   Syntax:\t -open<FILENAME>[,<SADDR>]"},
    {"-saveas", kExecute, CMDLINE_OnSaveAs,
     "\t\t Saves current data file in a different file\n\t\t   Syntax:\t "
     "-saveas<FILENAME>[,<SADDR>,<EADDR>]"},
    {"-merge", kExecute, CMDLINE_OnMerge,
     "\t\t Merges a given data file with the one currently opened in Korvane\n\t\t   Syntax:\t "
     "-merge<FILENAME> or -merge<FILENAME>.bin,<ADDR>"},
    {"-relocate", kExecute, CMDLINE_OnRelocate,
     "\t\t Relocates data by given offset\n\t\t   Syntax:\t -relocate<OFFSET>"},
    {"-delrange", kExecute, CMDLINE_OnDelRange,
     "  \t Deletes data range\n\t\t   Syntax:\t -delrange<SADDR>,<EADDR>"},
    {"-eliminate", kExecute, CMDLINE_OnEliminate, "  \t Eliminates blank areas in data file"},
    {"-generatetestdata", kExecute, CMDLINE_OnGenerateTestData,
     "  \t Generated test data\n\t\t   Syntax:\t -generatetestdata<SIZE>"},
    {"-connect", kExecute, CMDLINE_OnConnect, "\t\t Connects to target"},
    {"-disconnect", kExecute, CMDLINE_OnDisconnect, "  \t Disconnects from target"},
    {"-erasesectors", kExecute, CMDLINE_OnEraseSectors, "  \t Erases selected sectors"},
    {"-erasechip", kExecute, CMDLINE_OnEraseChip, "  \t Erases entire flash chip"},
    {"-programverify", kExecute, CMDLINE_OnProgramVerify, "  \t Programs and verifies target"},
    {"-program", kExecute, CMDLINE_OnProgram, "\t\t Programs target"},
    {"-auto", kExecute, CMDLINE_OnAuto, "\t\t Erases, programs and verifies target"},
    {"-verify", kExecute, CMDLINE_OnVerify, "\t\t Verifies target program"},
    {"-readchip", kExecute, CMDLINE_OnReadChip, "\t\t Reads the entire flash chip"},
    {"-readrange", kExecute, CMDLINE_OnReadRange,
     "  \t Reads specified range of target memory\n\t\t   Syntax:\t -readrange<SADDR>,<EADDR>"},
    {"-exit", kBoth, CMDLINE_OnExit, "\t\t Terminates application automatically"},
    {"-help", kPreparse, CMDLINE_OnHelp, "\t\t Displays this box"},
    {"-?", kPreparse, CMDLINE_OnHelp, "\t\t Displays this box"},
    {"?", kPreparse, CMDLINE_OnHelp, "\t\t Displays this box"},
    {"-korvanelog", kPreparse, CMDLINE_OnKorvaneLog,
     "\t\t Sets a temporary Korvane log file\n\t\t   Syntax:\t -korvanelog<FILENAME>"},
    {"-vorticlog", kPreparse, CMDLINE_OnVorticLog,
     "\t\t Sets a temporary Vortic log file\n\t\t   Syntax:\t -vorticlog<FILENAME>"},
    {"-usb", kPreparse, CMDLINE_OnUsb,
     "\t\t Overrides connection settings to USB S/N or Nickname\n\t\t   Syntax:\t -USB "
     "<SN>[:<MODULES>] or -USB <Nickname>[:<MODULES>]"},
    {"-ip", kPreparse, CMDLINE_OnIp,
     "\t\t Overrides connection settings to IP\n\t\t   Syntax:\t -IP "
     "<xxx.xxx.xxx.xxx>[:<MODULES>] or -IP <HostName>[:<MODULES>] or -IP <SN>[:<MODULES>] or -IP "
     "<Nickname>[:<MODULES>]"},
    {"-savecfg", kExecute, CMDLINE_OnSaveCfg,
     "\t\t Saves emulator configuration file\n\t\t   Syntax:\t -savecfg<FILENAME>"},
    {"-savedat", kExecute, CMDLINE_OnSaveDat,
     "\t\t Saves emulator data file\n\t\t   Syntax:\t -savedat<FILENAME>"},
    {"-download", kExecute, CMDLINE_OnDownload, "  \t Downloads configuration to emulator"},
    {"-min", kPreparse, CMDLINE_OnMin, "\t\t Starts application minimized"},
    {"-hide", kPreparse, CMDLINE_OnHide, "\t\t Starts application hidden"},
    {"-save", kExecute, CMDLINE_OnSave,
     "\t\t Saves current data file\n\t\t   Syntax:\t -save[<SADDR>,<EADDR>]"},
};

// Undoes the shell's splitting at blanks: everything behind an option that isn't one itself belongs
// to it. Element 0 is the program.
std::vector<std::string> JoinArguments(u32 argc, char** argv) {
  std::vector<std::string> list;
  bool behindOption = false;
  for (u32 i = 0; i < argc; ++i) {
    const bool isOption = i > 0 && CMDLINE_FindOption(argv[i]) != nullptr;
    if (behindOption && !isOption) {
      list.back() += argv[i];
    } else {
      list.emplace_back(argv[i]);
      behindOption = isOption;
    }
  }
  return list;
}

// Whatever failed on the way ends the pass.
int Judge(int result) {
  if (result < 0) {
    APP_State().ExitCode = 1;
  }
  return APP_State().ExitCode != 0 ? -1 : result;
}

int RunHandler(const CMDLINE_OPTION& option, const char* sText, u32 pass) {
  if ((option.PassMask & pass) == 0) {
    return 0;
  }
  const u32 wordLen = static_cast<u32>(UTIL_strlen(option.sWord));
  return Judge(option.pfnHandler(sText, wordLen, pass));
}

int RefuseLongName() {
  return CMDLINE_Fail("CMDLINE_GetString: String to long");
}

// A word that isn't an option ends the pass. A project file counts as opened.
int RunPlainWord(const std::vector<std::string>& list, std::size_t index, u32 pass) {
  const char* sWord = list[index].c_str();
  char acExt[16];
  SYS_PATH_GetExt(sWord, acExt, sizeof acExt);
  if (UTIL_stricmp(acExt, ".korvane") != 0) {
    APP_LogErrorf("CMDLINE: Incorrect command line option [%s] detected!", sWord);
    APP_State().ExitCode = 1;
    return -1;
  }
  if (pass == CMDLINE_PASS_PREPARSE) {
    return RunHandler(kOptions[0], sWord, pass);
  }
  if (index + 1 < list.size()) {
    char acText[1024];
    UTIL_snprintf(acText, sizeof acText,
                  "Options behind the project file [%s] are not run. Use -openprj to go on.",
                  sWord);
    APP_LogWarning(acText);
  }
  // The shell or a file manager gave the name as it is: commas and quotes are part of it.
  return Judge(list[index].size() > kMaxName ? RefuseLongName() : CMDLINE_OpenProject(sWord));
}

int RunList(const std::vector<std::string>& list, u32 pass) {
  for (std::size_t i = 1; i < list.size(); ++i) {
    const CMDLINE_OPTION* pOption = CMDLINE_FindOption(list[i].c_str());
    if (pOption == nullptr) {
      return RunPlainWord(list, i, pass);
    }
    const u32 wordLen = static_cast<u32>(UTIL_strlen(pOption->sWord));
    const int result = RunHandler(*pOption, list[i].c_str() + wordLen, pass);
    if (result < 0) {
      APP_LogInfof("CMDLINE: Stopped at option [%s]", list[i].c_str());
    }
    if (result != 0) {
      return result;
    }
  }
  return 0;
}

void SuppressDriver(bool onOff) {
  char acError[256];
  if (VORTIC_ExecCommand(onOff ? "SuppressGUI = 1" : "SuppressGUI = 0", acError, sizeof acError) <
      0) {
    APP_LogInfof("Driver library: %s", acError);  // its boxes are its own business
  }
}

bool IsQuotedEnd(char c, bool quoted) {
  return c == '\0' || c == '\r' || c == '\n' || (quoted ? c == '"' : c == ',');
}

}  // namespace

const CMDLINE_OPTION* CMDLINE_GetOptions() {
  return kOptions;
}

const CMDLINE_OPTION* CMDLINE_FindOption(const char* sArg) {
  for (const CMDLINE_OPTION& option : kOptions) {
    if (UTIL_strnicmp(sArg, option.sWord, static_cast<u32>(UTIL_strlen(option.sWord))) == 0) {
      return &option;
    }
  }
  return nullptr;
}

int CMDLINE_Parse(u32 argc, char** argv, u32 pass) {
  APP_State().SuppressGUI = 1;
  SuppressDriver(true);
  if (APP_State().ExitCode != 0) {  // no driver library, or settings that cannot be read
    APP_State().SuppressGUI = 0;
    return -1;
  }
  const int result = RunList(JoinArguments(argc, argv), pass);
  if (result < 0) {
    APP_State().SuppressGUI = 0;
  } else if (result != kStop) {
    SuppressDriver(false);
    APP_State().SuppressGUI = 0;
  }
  return result;
}

int CMDLINE_GetString(const char** ppText, char* pBuf, u32 bufSize) {
  UTIL_SkipSpaces(ppText);
  const bool quoted = **ppText == '"';
  if (quoted) {
    ++*ppText;
  }
  const char* sStart = *ppText;
  while (!IsQuotedEnd(**ppText, quoted)) {
    ++*ppText;
  }
  const u32 numChars = static_cast<u32>(*ppText - sStart);
  if (quoted && **ppText == '"') {
    ++*ppText;
  }
  UTIL_SkipSpaces(ppText);
  pBuf[0] = '\0';
  if (numChars > bufSize / 2) {
    return RefuseLongName();
  }
  if (numChars == 0) {
    return CMDLINE_Fail("CMDLINE_GetString:  Missing string");
  }
  UTIL_strcpyN(pBuf, sStart, numChars, bufSize);
  return 0;
}

std::string CMDLINE_GetHelp() {
  std::string help = "Valid command line options:\r\n\r\n";
  for (const CMDLINE_OPTION& option : kOptions) {
    help += option.sWord;
    help += option.sHelp;
    help += "\r\n";
  }
  return help;
}

bool CMDLINE_IsHelpOnly(u32 argc, char** argv) {
  const std::vector<std::string> list = JoinArguments(argc, argv);
  for (std::size_t i = 1; i < list.size(); ++i) {
    const CMDLINE_OPTION* pOption = CMDLINE_FindOption(list[i].c_str());
    if (pOption == nullptr || pOption->pfnHandler != CMDLINE_OnHelp) {
      return false;
    }
  }
  return list.size() > 1;
}
