#include "app/operations/cmdline.h"

#include <cstring>
#include <string>
#include <vector>

#include "app/engine/app_state.h"
#include "app/engine/log.h"
#include "app/operations/cmdline_numbers.h"
#include "app/operations/operation_table.h"
#include "flash/driver.h"
#include "sys/file.h"
#include "sys/path.h"
#include "sys/util_format.h"
#include "sys/util_string.h"

namespace {

constexpr int kStop = 1;
constexpr u32 kMaxName = SYS_MAX_PATH / 2;

// An element of the line, and the words that were joined to it behind its value.
struct ARGUMENT {
  std::string Text;
  std::vector<std::string> Joined;
};

// Undoes the shell's splitting at blanks: everything behind an option that isn't one itself belongs
// to it. Element 0 is the program.
std::vector<ARGUMENT> JoinArguments(u32 argc, char** argv) {
  std::vector<ARGUMENT> list;
  const APP_OPERATION* pOption = nullptr;  // that of the last element
  for (u32 i = 0; i < argc; ++i) {
    const APP_OPERATION* pNext = i > 0 ? APP_FindWord(argv[i]) : nullptr;
    if (pOption == nullptr || pNext != nullptr) {
      list.push_back({argv[i], {}});
      pOption = pNext;
      continue;
    }
    // An offset is the one value that may have a minus sign.
    const bool isValue = pOption->Id == APP_OP_RELOCATE &&
                         list.back().Text.size() == std::strlen(pOption->Word.sText);
    list.back().Text += argv[i];
    if (!isValue) {
      list.back().Joined.emplace_back(argv[i]);
    }
  }
  return list;
}

// A slip of the pen in an option must not vanish in the value before it.
void WarnOfJoinedWords(const ARGUMENT& argument) {
  for (const std::string& word : argument.Joined) {
    if (word.front() == '-') {
      APP_LogWarning(
          ("[" + word + "] is no option, it was taken as part of [" + argument.Text + "]").c_str());
    }
  }
}

// Whatever failed on the way ends the pass, also what was recorded outside of any option.
int Judge(int result) {
  return APP_GetNumRunErrors() != 0 ? -1 : result;
}

int RunOption(const APP_OPERATION& option, const char* sText, u32 pass) {
  if (pass == CMDLINE_PASS_PREPARSE) {
    return Judge(option.pfnPreparse != nullptr ? option.pfnPreparse(sText) : 0);
  }
  return Judge(option.pfnRun != nullptr ? APP_RunOperation(option, {.Text = sText, .File = {}})
                                        : 0);
}

int RefuseLongName() {
  return CMDLINE_Fail("CMDLINE_GetString: String to long");
}

// A word that isn't an option ends the pass. A project file counts as opened.
int RunPlainWord(const std::vector<ARGUMENT>& list, std::size_t index, u32 pass) {
  const std::string& word = list[index].Text;
  char acExt[16];
  SYS_PATH_GetExt(word.c_str(), acExt, sizeof acExt);
  if (UTIL_stricmp(acExt, ".korvane") != 0) {
    APP_LogErrorf(APP_CAUSE::Usage, "CMDLINE: Incorrect command line option [%s] detected!",
                  word.c_str());
    return -1;
  }
  const APP_OPERATION& open = APP_GetOperation(APP_OP_OPEN_PROJECT);
  if (pass == CMDLINE_PASS_PREPARSE) {
    return RunOption(open, word.c_str(), pass);
  }
  if (index + 1 < list.size()) {
    char acText[1024];
    UTIL_snprintf(acText, sizeof acText,
                  "Options behind the project file [%s] are not run. Use -openprj to go on.",
                  word.c_str());
    APP_LogWarning(acText);
  }
  if (word.size() > kMaxName) {
    return RefuseLongName();
  }
  // The shell or a file manager gave the name as it is.
  return Judge(APP_RunOperation(open, {.Text = "", .File = word}));
}

int RunArgument(const std::vector<ARGUMENT>& list, std::size_t index, u32 pass) {
  if (APP_State().IsEndAsked) {
    return CMDLINE_Fail(APP_CAUSE::Canceled, "The program was told to end.");
  }
  const std::string& text = list[index].Text;
  const APP_OPERATION* pOption = APP_FindWord(text.c_str());
  if (pOption == nullptr) {
    return RunPlainWord(list, index, pass);
  }
  if (pass == CMDLINE_PASS_EXECUTE) {
    WarnOfJoinedWords(list[index]);
  }
  const int result = RunOption(*pOption, text.c_str() + std::strlen(pOption->Word.sText), pass);
  if (result < 0) {
    APP_LogInfof("CMDLINE: Stopped at option [%s]", text.c_str());
  }
  return result;
}

int RunList(const std::vector<ARGUMENT>& list, u32 pass) {
  int result = 0;
  bool goesOn = true;
  for (std::size_t i = 1; i < list.size() && goesOn && result == 0; ++i) {
    goesOn = APP_FindWord(list[i].Text.c_str()) != nullptr;
    result = RunArgument(list, i, pass);
  }
  return result;
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

int CMDLINE_Parse(u32 argc, char** argv, u32 pass) {
  APP_State().SuppressGUI = 1;
  SuppressDriver(true);
  if (APP_GetNumRunErrors() != 0) {  // no driver library, or settings that cannot be read
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
  for (const APP_OPERATION& option : APP_GetOperations().first(APP_NUM_WORDS)) {
    help += option.Word.sText;
    help += option.Word.sHelp;
    help += "\r\n";
  }
  return help;
}

bool CMDLINE_IsHelpOnly(u32 argc, char** argv) {
  const std::vector<ARGUMENT> list = JoinArguments(argc, argv);
  for (std::size_t i = 1; i < list.size(); ++i) {
    const APP_OPERATION* pOption = APP_FindWord(list[i].Text.c_str());
    if (pOption == nullptr || pOption->pfnPreparse != CMDLINE_OnHelp) {
      return false;
    }
  }
  return list.size() > 1;
}
