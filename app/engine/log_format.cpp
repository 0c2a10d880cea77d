#include "app/engine/log.h"
#include "app/engine/log_internal.h"

// The formatting forms of the log functions. A list of variable arguments can only be started in
// the function that got them, hence the repeats.

void APP_LogBeginf(const char* sFormat, ...) {
  char acText[LOG_LINE_SIZE];
  va_list args;
  va_start(args, sFormat);
  LOG_Format(acText, sFormat, args);
  va_end(args);
  APP_LogBegin(acText);
}

void APP_LogInfof(const char* sFormat, ...) {
  char acText[LOG_LINE_SIZE];
  va_list args;
  va_start(args, sFormat);
  LOG_Format(acText, sFormat, args);
  va_end(args);
  APP_LogInfo(acText);
}

void APP_LogErrorf(const APP_ERROR& Error, const char* sFormat, ...) {
  char acText[LOG_LINE_SIZE];
  va_list args;
  va_start(args, sFormat);
  LOG_Format(acText, sFormat, args);
  va_end(args);
  APP_LogError(Error, acText);
}

void APP_LogInfoCb(void* /*pContext*/, const char* sFormat, ...) {
  char acText[LOG_LINE_SIZE];
  va_list args;
  va_start(args, sFormat);
  LOG_Format(acText, sFormat, args);
  va_end(args);
  APP_LogInfo(acText);
}

void APP_LogErrorCb(void* /*pContext*/, const char* sFormat, ...) {
  char acText[LOG_LINE_SIZE];
  va_list args;
  va_start(args, sFormat);
  LOG_Format(acText, sFormat, args);
  va_end(args);
  APP_LogError(APP_CAUSE::Programmer, acText);
}

void APP_ShowErrorf(const APP_ERROR& Error, const char* sFormat, ...) {
  char acText[LOG_LINE_SIZE];
  va_list args;
  va_start(args, sFormat);
  LOG_Format(acText, sFormat, args);
  va_end(args);
  APP_ShowError(Error, acText);
}
