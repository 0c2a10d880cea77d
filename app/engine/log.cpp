#include "app/engine/log.h"

#include <algorithm>
#include <atomic>
#include <cstdio>
#include <cstring>
#include <string>
#include <string_view>
#include <vector>

#include "app/engine/frontend.h"
#include "app/engine/log_internal.h"
#include "app/engine/report_internal.h"
#include "sys/file.h"
#include "sys/time.h"
#include "sys/util_format.h"
#include "sys/util_number.h"
#include "sys/util_string.h"

namespace {

constexpr const char* COLOUR_ERROR = "\033[1;31m";
constexpr const char* COLOUR_WARNING = "\033[2;33m";
constexpr const char* COLOUR_OFF = "\033[0m";
constexpr u32 COLOUR_OFF_LEN = 4;
constexpr u32 COLOURED_SIZE = 2048;
constexpr u32 RESULT_TEXT_SIZE = 4096;
// Far deeper than sections nest; keeps room for text in a line.
constexpr u32 MAX_INDENT = 256;
constexpr u32 LEVEL_ALL = 9;

// Belongs to the application thread, but for the two counters, which any thread may read.
struct OpenStep {
  std::string Name;
  u32 StartMs;
};
struct SectionState {
  std::atomic<u32> Depth{0};
  std::atomic<u32> NumErrors{0};
  u32 StartMs = 0;             // tick when the outermost section was opened
  std::vector<OpenStep> Open;  // the sections within it
  char acResultText[RESULT_TEXT_SIZE] = {};
};
SectionState Section;

// Levels of a line of detail and of a line that tells how the section goes, which shows one level
// earlier. Outside any section both are 0, so that an error there is never hidden.
u32 GetDetailLevel() {
  return 2 * Section.Depth;
}

u32 GetOutcomeLevel() {
  const u32 depth = Section.Depth;
  return depth != 0 ? 2 * depth - 1 : 0;
}

// A marked text such as "ERROR: ..." in its colour. What doesn't fit is cut, the colour's end too;
// AddLogLine puts that back.
void AddColouredLine(const char* sColour, const char* sMark, const char* sText) {
  char acLine[COLOURED_SIZE];
  UTIL_strcpy(acLine, sColour, COLOURED_SIZE);
  UTIL_strcat(acLine, sMark, COLOURED_SIZE);
  UTIL_strcat(acLine, sText, COLOURED_SIZE);
  UTIL_strcat(acLine, COLOUR_OFF, COLOURED_SIZE);
  AddLogLine(acLine);
}

// Depth 1 gives " - ", each further one a blank in front of it. The length.
u32 WritePrefix(char* pLine, u32 Depth) {
  if (Depth == 0) {
    return 0;
  }
  const u32 numBlanks = std::min(Depth - 1, MAX_INDENT);
  std::memset(pLine, ' ', numBlanks);
  UTIL_strcpy(pLine + numBlanks, " - ", sizeof(" - "));
  return numBlanks + 3;
}

void WriteToConsole(const char* sLine) {
  char acPlain[LOG_LINE_SIZE];
  LOG_StripColours(sLine, acPlain);
  std::fputs(acPlain, stderr);
}

// The outermost section has closed: one box tells how it went.
void ShowOutcome() {
  if (Section.acResultText[0] == 0) {
    return;
  }
  if (Section.NumErrors == 0) {
    APP_MsgBox(Section.acResultText, "OK", nullptr, 0, APP_ICON_INFORMATION, 0);
    return;
  }
  LOG_ShowErrorBox(Section.acResultText);  // each of its errors is in the outcome already
}

// The readers tell what is wrong in words: whether the file is there at all, or can be read, is
// asked anew.
APP_CAUSE FindFileCause(const APP_FILE_JOB& job) {
  if (job.IsSaving) {
    return APP_CAUSE::FileNotWritten;
  }
  if (SYS_FILE_Exists(job.sFile) == 0) {
    return APP_CAUSE::FileNotFound;
  }
  const SYS_HANDLE hFile = SYS_FILE_Open(job.sFile, SYS_FILE_READ | SYS_FILE_SHARE_READ);
  if (hFile == SYS_INVALID_FILE) {
    return APP_CAUSE::FileNotRead;
  }
  SYS_FILE_Close(hFile);
  return APP_CAUSE::FileDamaged;
}

// "... line 12 ..." is line 12 of the file.
u32 FindLine(const char* sText) {
  constexpr std::string_view word = "line ";
  const char* sLine = sText != nullptr ? std::strstr(sText, word.data()) : nullptr;
  u32 line = 0;
  return sLine != nullptr && UTIL_ParseU32(sLine + word.size(), &line) == 0 ? line : 0;
}

APP_ERROR MakeFileError(const APP_FILE_JOB* pJob, const char* sText) {
  if (pJob == nullptr) {
    return APP_CAUSE::FileDamaged;
  }
  return APP_ERROR(FindFileCause(*pJob)).In(pJob->sFile, FindLine(sText));
}

u32 GetDefaultLogLevel() {
  return 3;
}
bool GetDefaultLogFileEnabled() {
  return false;
}
void GetDefaultLogFileName(char* pBuf, u32 BufSize) {
  UTIL_strcpy(pBuf, "", BufSize);
}

}  // namespace

APP_ENGINE_HOOKS APP_EngineHooks = {GetDefaultLogLevel, GetDefaultLogFileEnabled,
                                    GetDefaultLogFileName};

void LOG_Format(char (&pBuf)[LOG_LINE_SIZE], const char* sFormat, va_list Args) {
  // Some bytes more than fit, so that the cut sees whether a character goes on behind it.
  char acText[LOG_LINE_SIZE + 8];
  const char* pEnd = UTIL_vsnprintf64(acText, sizeof(acText), sFormat, Args);
  u32 numBytes = static_cast<u32>(pEnd - acText);
  if (numBytes >= LOG_LINE_SIZE) {
    numBytes = UTIL_CutUtf8(acText, LOG_LINE_SIZE - 1);
  }
  std::memcpy(pBuf, acText, numBytes);
  pBuf[numBytes] = 0;
}

bool APP_LogLevelPass(u32 Level) {
  const u32 logLevel = APP_EngineHooks.pfGetLogLevel();
  return logLevel >= Level || logLevel == LEVEL_ALL;
}

void AddLogLine(const char* sText) {
  if (sText == nullptr) {
    return;
  }
  char acLine[LOG_LINE_SIZE];
  u32 pos = WritePrefix(acLine, Section.Depth);
  const u32 room = LOG_LINE_SIZE - 2 - pos;  // less LF and terminator
  const std::size_t length = std::strlen(sText);
  if (length <= room) {
    std::memcpy(acLine + pos, sText, length);
    pos += static_cast<u32>(length);
  } else {
    // A colour that is switched on in the kept part must not run on into the lines behind.
    const bool isColoured = std::memchr(sText, 27, room) != nullptr;
    const u32 numKept = UTIL_CutUtf8(sText, isColoured ? room - COLOUR_OFF_LEN : room);
    std::memcpy(acLine + pos, sText, numKept);
    pos += numKept;
    if (isColoured) {
      std::memcpy(acLine + pos, COLOUR_OFF, COLOUR_OFF_LEN);
      pos += COLOUR_OFF_LEN;
    }
  }
  acLine[pos] = '\n';
  acLine[pos + 1] = 0;
  if (APP_FRONTEND* pFrontEnd = APP_GetFrontEnd()) {
    pFrontEnd->AddLogLine(acLine);
  } else {
    WriteToConsole(acLine);
  }
  LOG_WriteToFile(acLine);
}

void APP_LogBegin(const char* sText) {
  if (APP_LogLevelPass(GetDetailLevel())) {
    AddLogLine(sText);
  }
  if (Section.Depth++ == 0) {
    Section.acResultText[0] = 0;
    Section.NumErrors = 0;
    Section.StartMs = SYS_GetTickMs();
    PROGRESS_BeginOperation();
    REPORT_Begin(sText != nullptr ? sText : "");
  } else {
    Section.Open.push_back({sText != nullptr ? sText : "", SYS_GetTickMs()});
  }
}

void APP_LogEnd() {
  APP_LogEndEx(nullptr);
}

void APP_LogEndEx(const char* sText) {
  if (Section.Depth == 0) {
    return;
  }
  const bool hasText = sText != nullptr && sText[0] != 0;
  if (hasText && Section.NumErrors == 0 && APP_LogLevelPass(GetOutcomeLevel())) {
    AddLogLine(sText);
  }
  const u32 nowMs = SYS_GetTickMs();
  if (!Section.Open.empty()) {
    OpenStep& step = Section.Open.back();
    REPORT_AddStep({std::move(step.Name), Section.Depth - 1, nowMs - step.StartMs});
    Section.Open.pop_back();
  }
  if (--Section.Depth == 0) {
    REPORT_End(nowMs - Section.StartMs);
    ShowOutcome();
  }
}

void APP_LogCompleted(const char* sText) {
  if (sText == nullptr || Section.NumErrors != 0) {
    return;
  }
  if (Section.Depth == 1) {
    const u32 elapsedMs = SYS_GetTickMs() - Section.StartMs;
    UTIL_snprintf(Section.acResultText, RESULT_TEXT_SIZE, "%s - Completed after %d.%03d sec", sText,
                  elapsedMs / 1000, elapsedMs % 1000);
    REPORT_SetSummary(Section.acResultText);
    AddLogLine(Section.acResultText);
  } else if (APP_LogLevelPass(GetOutcomeLevel())) {
    AddLogLine(sText);
  }
}

void APP_LogOutcome(const char* sText) {
  if (APP_LogLevelPass(GetOutcomeLevel())) {
    AddLogLine(sText);
  }
}

void APP_LogInfo(const char* sText) {
  if (APP_LogLevelPass(GetDetailLevel())) {
    AddLogLine(sText);
  }
}

void APP_LogError(const APP_ERROR& Error, const char* sText) {
  if (sText == nullptr) {
    return;
  }
  REPORT_AddError(Error, sText);
  if (APP_LogLevelPass(GetOutcomeLevel())) {
    AddColouredLine(COLOUR_ERROR, "ERROR: ", sText);
  }
  char* pResult = Section.acResultText;
  const std::size_t length = std::strlen(pResult);
  if (length != 0 && pResult[length - 1] != '\n') {
    UTIL_strcat(pResult, "\n", RESULT_TEXT_SIZE);
  }
  UTIL_strcat(pResult, sText, RESULT_TEXT_SIZE);
  ++Section.NumErrors;
}

void APP_LogWarning(const char* sText) {
  if (sText == nullptr) {
    return;
  }
  AddColouredLine(COLOUR_WARNING, "WARNING: ", sText);
  APP_ShowWarning(sText);
}

void APP_OnFileReport(void* pContext, int Level, const char* pText) {
  if (Level == 1) {
    APP_LogWarning(pText);
  } else if (Level == 2) {
    APP_LogError(MakeFileError(static_cast<const APP_FILE_JOB*>(pContext), pText), pText);
  } else {
    AddLogLine(pText);
  }
}

u32 APP_GetErrorCount() {
  return Section.NumErrors;
}

u32 APP_GetLogDepth() {
  return Section.Depth;
}

void APP_LogReset() {
  APP_EnableLogFile(false);
  Section.Depth = 0;
  Section.NumErrors = 0;
  Section.StartMs = 0;
  Section.Open.clear();
  REPORT_Begin("");
  APP_ForgetErrors();
  Section.acResultText[0] = 0;
}
