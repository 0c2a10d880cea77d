#pragma once

#include "sys/types.h"

// How to reach the probe.
constexpr u8 PROBE_MODE_USB_INDEX = 0;
constexpr u8 PROBE_MODE_USB_SN = 1;
constexpr u8 PROBE_MODE_IP = 2;
constexpr u8 PROBE_MODE_USB_NICKNAME = 4;  // from the command line only

struct PROBE_CONNECTION {
  u8 Mode;
  char HostName[128];
  u32 Number;  // USB device index or serial number
  char Nickname[32];
  u8 UseATEModuleSelection;
  u8 aATEModuleSel[24];
};
