#pragma once

#include "app/engine/report.h"
#include "sys/types.h"

// Log sections, lines and message boxes: the one way in which an operation reports.
//
// An operation opens a section, writes its steps, logs errors, closes the section. When the
// outermost section closes, one box shows either the summary or all errors. The section state
// belongs to the application thread; lines may come from any thread. A null text is ignored by
// every line function.
//
// Colours are escape sequences: bold red "\e[1;31m" for errors, dim yellow "\e[2;33m" for warnings.

// What the engine needs of the layers above it; filled once at start-up.
struct APP_ENGINE_HOOKS {
  u32 (*pfGetLogLevel)();                             // 1 to 9
  bool (*pfGetLogFileEnabled)();                      // with the command line's override
  void (*pfGetLogFileName)(char* pBuf, u32 BufSize);  // the same
};
extern APP_ENGINE_HOOKS APP_EngineHooks;

void APP_LogBegin(const char* sText);
[[gnu::format(printf, 1, 2)]] void APP_LogBeginf(const char* sFormat,
                                                 ...);  // format of UTIL_snprintf64
void APP_LogEnd();
// A null or empty text closes without a line.
void APP_LogEndEx(const char* sText);
void APP_LogCompleted(const char* sText);
// A line at the level of closing lines, whether or not an error was logged.
void APP_LogOutcome(const char* sText);
void APP_LogInfo(const char* sText);
// Formats of UTIL_snprintf64, into 1024 bytes.
[[gnu::format(printf, 1, 2)]] void APP_LogInfof(const char* sFormat, ...);
// An error goes into the log and into the outcome of the operation by one call.
void APP_LogError(const APP_ERROR& Error, const char* sText);
[[gnu::format(printf, 2, 3)]] void APP_LogErrorf(const APP_ERROR& Error, const char* sFormat, ...);
void APP_LogWarning(const char* sText);
[[gnu::format(printf, 2, 3)]] void APP_LogInfoCb(void* pContext, const char* sFormat, ...);
[[gnu::format(printf, 2, 3)]] void APP_LogErrorCb(void* pContext, const char* sFormat, ...);
// The pfReport of the data file readers and writers.
// pContext: the file that is read or written, or null. An error's cause, and the line that its text
// names, go with it.
struct APP_FILE_JOB {
  const char* sFile;
  bool IsSaving;
};
void APP_OnFileReport(void* pContext, int Level, const char* pText);
// Formats with the indentation of the open sections and hands the line to front end and log file,
// at any log level. A text of several lines, or longer than a line's 1024 bytes, is split or cut
// between characters. Any thread.
void AddLogLine(const char* sText);
bool APP_LogLevelPass(u32 Level);

u32 APP_GetErrorCount();
u32 APP_GetLogDepth();
// The poll of every long loop: 0 when the running operation has logged an error or was cancelled.
int APP_IsOperationAlive();
bool APP_IsOperationCanceled();

// Closes the section at the end of a scope. SetEnd gives the closing line.
class APP_LOG_SECTION {
 public:
  explicit APP_LOG_SECTION(const char* sText) { APP_LogBegin(sText); }
  ~APP_LOG_SECTION() { APP_LogEndEx(m_sEnd); }
  APP_LOG_SECTION(const APP_LOG_SECTION&) = delete;
  APP_LOG_SECTION& operator=(const APP_LOG_SECTION&) = delete;
  // A string literal.
  void SetEnd(const char* sEnd) { m_sEnd = sEnd; }

 private:
  const char* m_sEnd = nullptr;
};

// Opens or closes the log file by name of the hooks. Nothing happens if the state doesn't change.
void APP_EnableLogFile(bool OnOff);

// ---- Message boxes. The result is the button index. In SuppressGUI mode the text goes to the log
// and the default button counts as pressed. ----
struct APP_MSGBOX_ARGS {
  const char* sTitle = nullptr;
  const char* sTitle2 = nullptr;
  const char* sText = nullptr;
  const char* sBtn0 = nullptr;
  const char* sBtn1 = nullptr;
  u32 DefaultBtn = 0;
  const char* sCheckBox = nullptr;
  u32* pCheckState = nullptr;
  u32 Icon = 0;
  u32 RejectResult = 0;
  i32 TimeoutMs = 0;
};
u32 APP_MsgBoxEx(const APP_MSGBOX_ARGS& args);
// Shows the box even in SuppressGUI mode.
u32 APP_MsgBoxAlways(const APP_MSGBOX_ARGS& args);
// Title: product name with version.
u32 APP_MsgBox(const char* sText, const char* sBtn0, const char* sBtn1, u32 DefaultBtn, u32 Icon,
               u32 RejectResult);
// The error is one of the run, whatever section is open.
void APP_ShowError(const APP_ERROR& Error, const char* sText);
[[gnu::format(printf, 2, 3)]] void APP_ShowErrorf(const APP_ERROR& Error, const char* sFormat, ...);
void APP_ShowWarning(const char* sText);

// Back to a fresh start: no section, no errors, no log file. For tests.
void APP_LogReset();
