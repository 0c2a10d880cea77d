// Words that choose something for this run, without a trace in the settings: probe, log files, what
// is seen of the program.
#include <cstring>
#include <string>

#include "app/engine/app_state.h"
#include "app/engine/frontend.h"
#include "app/engine/log.h"
#include "app/operations/cmdline.h"
#include "project/settings.h"
#include "sys/util_number.h"
#include "sys/util_string.h"

namespace {

constexpr u32 kMaxProbeName = 63;
constexpr u32 kNumModules = sizeof(PROBE_CONNECTION::aATEModuleSel);
constexpr u32 kLastUsbIndex = 3;

int Fail(const char* sWhat, const char* sText) {
  APP_LogErrorf(APP_CAUSE::Usage, "%s: %s", sWhat, sText);
  return -1;
}

// Numbers 1 to 24 in one or two digits, separated by commas.
int ParseModules(const char* sList, u8* aSelection) {
  do {
    u32 number = 0;
    u32 numDigits = 0;
    for (; *sList >= '0' && *sList <= '9' && numDigits < 3; ++sList, ++numDigits) {
      number = number * 10 + static_cast<u32>(*sList - '0');
    }
    if (numDigits == 0 || numDigits > 2 || number == 0 || number > kNumModules) {
      return -1;
    }
    aSelection[number - 1] = 1;
  } while (*sList++ == ',');
  return sList[-1] == '\0' ? 0 : -1;
}

// Splits "<name>[:<modules>]". The name goes to pName.
int SplitModules(const char* sText, char* pName, u32 nameSize, PROBE_CONNECTION* pConnection) {
  UTIL_SkipSpaces(&sText);
  const i32 colon = UTIL_strchr(sText, ':');
  const u32 nameLen = colon < 0 ? static_cast<u32>(UTIL_strlen(sText)) : static_cast<u32>(colon);
  if (nameLen > kMaxProbeName) {
    return Fail("The name of the probe is too long", sText);
  }
  if (nameLen == 0) {
    return Fail("The name of the probe is missing", sText);
  }
  UTIL_strcpyN(pName, sText, nameLen, nameSize);
  if (colon < 0) {
    return 0;
  }
  pConnection->UseATEModuleSelection = 1;
  return ParseModules(sText + colon + 1, pConnection->aATEModuleSel) == 0
             ? 0
             : Fail("Module list is wrong", sText + colon + 1);
}

// Digits name a USB device index up to 3 and a serial number above; anything else is a nickname.
int SetUsbTarget(const char* sName, PROBE_CONNECTION* pConnection) {
  if (UTIL_IsAllDigits(sName) == 0) {
    pConnection->Mode = PROBE_MODE_USB_NICKNAME;
    if (std::strlen(sName) >= sizeof pConnection->Nickname) {
      return Fail("The nickname of the probe is too long", sName);
    }
    UTIL_strcpy(pConnection->Nickname, sName, sizeof pConnection->Nickname);
    return 0;
  }
  u64 number = 0;
  for (const char* p = sName; *p != '\0'; ++p) {
    number = number * 10 + static_cast<u64>(*p - '0');
    if (number > 0xFFFFFFFF) {
      return Fail("The serial number of the probe is too large", sName);
    }
  }
  pConnection->Number = static_cast<u32>(number);
  pConnection->Mode = number > kLastUsbIndex ? PROBE_MODE_USB_SN : PROBE_MODE_USB_INDEX;
  return 0;
}

}  // namespace

int CMDLINE_OnUsb(const char* sText) {
  PROBE_CONNECTION connection = {};
  char acName[kMaxProbeName + 1];
  if (SplitModules(sText, acName, sizeof acName, &connection) != 0 ||
      SetUsbTarget(acName, &connection) != 0) {
    return -1;
  }
  SETUP_OverrideConnection(&connection);
  return 0;
}

int CMDLINE_OnIp(const char* sText) {
  PROBE_CONNECTION connection = {};
  connection.Mode = PROBE_MODE_IP;
  char acName[kMaxProbeName + 1];
  if (SplitModules(sText, acName, sizeof acName, &connection) != 0) {
    return -1;
  }
  UTIL_strcpy(connection.HostName, acName, sizeof connection.HostName);
  SETUP_OverrideConnection(&connection);
  return 0;
}

int CMDLINE_OnKorvaneLog(const char* sText) {
  SETUP_OverrideKorvaneLog(sText);
  return 0;
}

int CMDLINE_OnVorticLog(const char* sText) {
  SETUP_OverrideVorticLog(sText);
  return 0;
}

int CMDLINE_OnHelp(const char* /*sText*/) {
  const std::string help = CMDLINE_GetHelp();
  APP_MSGBOX_ARGS args;
  args.sTitle = "Commandline";
  args.sText = help.c_str();
  args.sBtn0 = "OK";
  args.Icon = APP_ICON_INFORMATION;
  APP_MsgBoxAlways(args);
  return 0;
}

int CMDLINE_OnMin(const char* /*sText*/) {
  APP_State().VisibilityForced = 1;
  APP_GetFrontEnd()->SetVisibility(2);
  return 0;
}

int CMDLINE_OnHide(const char* /*sText*/) {
  APP_State().VisibilityForced = 1;
  APP_GetFrontEnd()->SetVisibility(0);
  return 0;
}
