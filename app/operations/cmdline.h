#pragma once

#include <string>

#include "sys/types.h"

// The command line: a list of options, run in order, inside the Init job.
//
// It is read twice: the pre-parse takes what must be known before the log starts and a project is
// open, the execute pass does the work. While options run SuppressGUI is set, so that no box stops
// the run. An option word is followed by its value directly or as the next argument.

constexpr u32 CMDLINE_PASS_EXECUTE = 1;
constexpr u32 CMDLINE_PASS_PREPARSE = 2;

// One row of the option table. The handler takes the text behind the word and the pass; its result
// is below 0 for a failure, 1 to stop the pass, 0 to go on.
struct CMDLINE_OPTION {
  const char* sWord;
  u32 PassMask;
  int (*pfnHandler)(const char* sText, u32 WordLen, u32 Pass);
  const char* sHelp;
};
constexpr u32 CMDLINE_NUM_OPTIONS = 34;
const CMDLINE_OPTION* CMDLINE_GetOptions();
// The first row whose word begins the argument, ignoring case, or null.
const CMDLINE_OPTION* CMDLINE_FindOption(const char* sArg);

// -1 failure, 0 done, 1 stopped by "-exit".
int CMDLINE_Parse(u32 argc, char** argv, u32 Pass);

// Reads a name, quoted or up to a comma, and moves the text pointer behind it. 0, or -1 with the
// exit code set. A name of more than half of BufSize is refused.
int CMDLINE_GetString(const char** ppText, char* pBuf, u32 BufSize);
// Text of the help box.
std::string CMDLINE_GetHelp();
// True when there are options and all of them ask for help.
bool CMDLINE_IsHelpOnly(u32 argc, char** argv);
