#pragma once

#include "sys/types.h"

// Handlers of the option table. Each takes the text behind the word, the word's length and the
// pass.
#define CMDLINE_HANDLER(name) int CMDLINE_On##name(const char* sText, u32 WordLen, u32 Pass)
CMDLINE_HANDLER(OpenPrj);
CMDLINE_HANDLER(SavePrjAs);
CMDLINE_HANDLER(SavePrj);
CMDLINE_HANDLER(Open);
CMDLINE_HANDLER(SaveAs);
CMDLINE_HANDLER(Save);
CMDLINE_HANDLER(Connect);
CMDLINE_HANDLER(Disconnect);
CMDLINE_HANDLER(EraseSectors);
CMDLINE_HANDLER(EraseChip);
CMDLINE_HANDLER(ProgramVerify);
CMDLINE_HANDLER(Program);
CMDLINE_HANDLER(Auto);
CMDLINE_HANDLER(Verify);
CMDLINE_HANDLER(ReadChip);
CMDLINE_HANDLER(ReadRange);
CMDLINE_HANDLER(Merge);
CMDLINE_HANDLER(Relocate);
CMDLINE_HANDLER(DelRange);
CMDLINE_HANDLER(Eliminate);
CMDLINE_HANDLER(GenerateTestData);
CMDLINE_HANDLER(SaveCfg);
CMDLINE_HANDLER(SaveDat);
CMDLINE_HANDLER(Download);
CMDLINE_HANDLER(Exit);
CMDLINE_HANDLER(Help);
CMDLINE_HANDLER(KorvaneLog);
CMDLINE_HANDLER(VorticLog);
CMDLINE_HANDLER(Usb);
CMDLINE_HANDLER(Ip);
CMDLINE_HANDLER(Min);
CMDLINE_HANDLER(Hide);
// Opens a project that is named on the line, and fails when its data file isn't the one in work.
int CMDLINE_OpenProject(const char* sFile);
#undef CMDLINE_HANDLER
