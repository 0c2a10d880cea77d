#pragma once

#include <string>

#include "sys/types.h"

// The command line: a list of options, run in order, inside the Init job.
//
// It is read twice: the pre-parse takes what must be known before the log starts and a project is
// open, the execute pass does the work. While options run SuppressGUI is set, so that no box stops
// the run. An option word is followed by its value directly or as the next argument.

// Its words stand in the table of operations.

constexpr u32 CMDLINE_PASS_EXECUTE = 1;
constexpr u32 CMDLINE_PASS_PREPARSE = 2;

// -1 failure, 0 done, 1 stopped by "-exit".
[[nodiscard]] int CMDLINE_Parse(u32 argc, char** argv, u32 Pass);

// Reads a name, quoted or up to a comma, and moves the text pointer behind it. 0, or -1
// logged. A name of more than half of BufSize is refused.
[[nodiscard]] int CMDLINE_GetString(const char** ppText, char* pBuf, u32 BufSize);
// Text of the help box.
std::string CMDLINE_GetHelp();
// True when there are options and all of them ask for help.
bool CMDLINE_IsHelpOnly(u32 argc, char** argv);

// Pre-parse of the words that choose something for this run: 0, or -1 logged.
int CMDLINE_OnHelp(const char* sText);
int CMDLINE_OnMin(const char* sText);
int CMDLINE_OnHide(const char* sText);
int CMDLINE_OnUsb(const char* sText);
int CMDLINE_OnIp(const char* sText);
int CMDLINE_OnKorvaneLog(const char* sText);
int CMDLINE_OnVorticLog(const char* sText);
