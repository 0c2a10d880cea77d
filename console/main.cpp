// The console program: runs the command line on the core and ends with its exit status.
#include "app/engine/app_state.h"
#include "app/operations/cmdline.h"
#include "app/operations/jobs.h"
#include "console/console_frontend.h"
#include "sys/interrupts.h"

namespace {

void OnInterrupt(void* pContext, INTERRUPT kind) {
  static_cast<CONSOLE_FRONTEND*>(pContext)->OnInterrupt(kind);
}

// Help needs no probe, no project and no log.
int ShowHelp(CONSOLE_FRONTEND* pFrontEnd) {
  const std::string help = CMDLINE_GetHelp();
  MSGBOX_INFO box = {};
  box.sText = help.c_str();
  pFrontEnd->ShowMsgBox(&box);
  return 0;
}

}  // namespace

int main(int argc, char** argv) {
  CONSOLE_FRONTEND frontEnd;
  const auto numArgs = static_cast<u32>(argc);
  if (numArgs < 2 || CMDLINE_IsHelpOnly(numArgs, argv)) {
    return ShowHelp(&frontEnd);
  }
  INTERRUPTS interrupts(OnInterrupt, &frontEnd);
  APP_SetUp(&frontEnd);
  APP_START_INFO start = {};
  start.argv = argv;
  start.argc = numArgs;
  start.ShowCmd = 1;
  if (APP_PostInit(&start) != 0) {
    APP_TearDown();
    return 1;  // memory is out: nobody would end the wait
  }
  frontEnd.WaitInit();
  if (APP_State().ExitRequested == 0) {
    // Nobody can answer what a close would ask; changes that were not saved are dropped.
    APP_State().ExitRequested = 1;
    APP_State().SuppressGUI = 1;
  }
  static_cast<void>(APP_ShutDown(nullptr, nullptr));  // with ExitRequested nothing refuses it
  APP_TearDown();
  return APP_State().ExitCode;
}
