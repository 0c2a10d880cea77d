#pragma once

#include <atomic>

#include "sys/types.h"

// State of the whole program. Written on the application thread unless said otherwise.
struct APP_STATE {
  std::atomic<u32> ExitState{0};   // 1 close in progress, 2 the program may end, 0 Exit refused
  std::atomic<u8> ExitCode{0};     // the process's exit status
  std::atomic<u8> SuppressGUI{0};  // 1 while the command line runs: no message box is shown
  // The system told the program to end: what runs is cancelled, nothing starts any more. Any
  // thread.
  std::atomic<bool> IsEndAsked{false};
  u8 ExitRequested = 0;     // "-exit" was given
  u8 OpenPrjGiven = 0;      // "-openprj" was given, or a bare project file
  u8 OpenDataGiven = 0;     // "-open" was given
  u8 VisibilityForced = 0;  // "-hide" or "-min" was given
};
APP_STATE& APP_State();
// For tests.
void APP_ResetState();

// Name strings of the program.
constexpr u32 APP_VERSION_MAJOR = 9;
constexpr u32 APP_VERSION_MINOR = 38;
const char* APP_GetName();          // "Korvane SPI"
const char* APP_GetVersion();       // "V9.38"
const char* APP_GetTitle();         // "TARVEX Korvane SPI V9.38"
const char* APP_GetShortTitle();    // "Korvane SPI V9.38"
const char* APP_GetRegistryRoot();  // "Software\\TARVEX\\Korvane SPI"
