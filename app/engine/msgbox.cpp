#include <cstdio>

#include "app/engine/app_state.h"
#include "app/engine/frontend.h"
#include "app/engine/log.h"
#include "app/engine/log_internal.h"
#include "app/engine/report_internal.h"
#include "sys/util_string.h"

namespace {

constexpr u32 TITLE_SIZE = 256;

bool IsGiven(const char* s) {
  return s != nullptr && s[0] != 0;
}

// Both titles with a blank between them; empty when none is given.
void JoinTitles(const APP_MSGBOX_ARGS& args, char (&pTitle)[TITLE_SIZE]) {
  UTIL_strcpy(pTitle, args.sTitle != nullptr ? args.sTitle : "", TITLE_SIZE);
  if (args.sTitle2 != nullptr) {
    UTIL_strcat(pTitle, " ", TITLE_SIZE);
    UTIL_strcat(pTitle, args.sTitle2, TITLE_SIZE);
  }
}

// "title: text", cut between characters to a line.
void MakeTitledLine(const char* sTitle, const char* sText, char (&pLine)[LOG_LINE_SIZE]) {
  UTIL_strcpy(pLine, sTitle, LOG_LINE_SIZE);
  UTIL_strcat(pLine, ": ", LOG_LINE_SIZE);
  UTIL_strcat(pLine, sText, LOG_LINE_SIZE);
}

// What a box leaves behind when nobody is there to see it.
void LogSuppressedBox(const APP_MSGBOX_ARGS& args, bool AtAnyLevel) {
  if (args.sText == nullptr) {
    return;
  }
  char acTitle[TITLE_SIZE];
  JoinTitles(args, acTitle);
  if (!IsGiven(acTitle)) {
    AddLogLine(args.sText);
    return;
  }
  char acLine[LOG_LINE_SIZE];
  MakeTitledLine(acTitle, args.sText, acLine);
  if (AtAnyLevel) {
    AddLogLine(acLine);
  } else {
    APP_LogInfo(acLine);
  }
}

u32 ShowWithoutFrontEnd(const char* sTitle, const char* sText, u32 DefaultBtn) {
  std::fprintf(stderr, "%s: %s\n", sTitle, sText);
  return DefaultBtn;
}

APP_MSGBOX_ARGS MakeOkBox(const char* sText, u32 Icon) {
  APP_MSGBOX_ARGS args;
  args.sTitle = APP_GetShortTitle();
  args.sText = sText;
  args.sBtn0 = "OK";
  args.Icon = Icon;
  return args;
}

}  // namespace

u32 APP_MsgBoxAlways(const APP_MSGBOX_ARGS& args) {
  char acTitle[TITLE_SIZE];
  JoinTitles(args, acTitle);
  const char* sTitle = IsGiven(acTitle) ? acTitle : APP_GetShortTitle();
  const char* sText = args.sText != nullptr ? args.sText : "";
  APP_FRONTEND* pFrontEnd = APP_GetFrontEnd();
  if (pFrontEnd == nullptr) {
    return ShowWithoutFrontEnd(sTitle, sText, args.DefaultBtn);
  }
  MSGBOX_INFO info{};
  info.sTitle = sTitle;
  info.sText = sText;
  info.sBtn0 = args.sBtn0;
  info.sBtn1 = args.sBtn1;
  info.sCheckBox = args.sCheckBox;
  info.CheckState = args.pCheckState != nullptr ? *args.pCheckState : 0;
  info.CheckResult = info.CheckState != 0 ? 1 : 0;
  info.DefaultBtn = args.DefaultBtn;
  info.Result = args.DefaultBtn;
  info.Icon = args.Icon;
  info.TimeoutMs = args.TimeoutMs;
  info.TextSelectable = 1;  // so that an error can be copied into a mail
  pFrontEnd->ShowMsgBox(&info);
  if (args.pCheckState != nullptr) {
    *args.pCheckState = info.CheckResult;
  }
  return info.Rejected != 0 ? args.RejectResult : info.Result;
}

u32 APP_MsgBoxEx(const APP_MSGBOX_ARGS& args) {
  if (APP_State().SuppressGUI != 0) {
    LogSuppressedBox(args, false);
    return args.DefaultBtn;
  }
  return APP_MsgBoxAlways(args);
}

u32 APP_MsgBox(const char* sText, const char* sBtn0, const char* sBtn1, u32 DefaultBtn, u32 Icon,
               u32 RejectResult) {
  APP_MSGBOX_ARGS args;
  args.sTitle = APP_GetShortTitle();
  args.sText = sText;
  args.sBtn0 = sBtn0;
  args.sBtn1 = sBtn1;
  args.DefaultBtn = DefaultBtn;
  args.Icon = Icon;
  args.RejectResult = RejectResult;
  return APP_MsgBoxEx(args);
}

void LOG_ShowErrorBox(const char* sText) {
  const APP_MSGBOX_ARGS args = MakeOkBox(sText, APP_ICON_WARNING);
  if (APP_State().SuppressGUI == 0) {
    APP_MsgBoxAlways(args);
  } else {
    // A failure without its cause would help nobody, so the line isn't left to the log level.
    LogSuppressedBox(args, true);
  }
}

void APP_ShowError(const APP_ERROR& Error, const char* sText) {
  REPORT_AddError(Error, sText != nullptr ? sText : "");
  LOG_ShowErrorBox(sText);
}

void APP_ShowWarning(const char* sText) {
  APP_MsgBoxEx(MakeOkBox(sText, APP_ICON_WARNING));
}
