#include "image/text_load.h"

#include "image/memarea_impl.h"
#include "sys/util_format.h"
#include "sys/util_string.h"

namespace {

constexpr int RESULT_NO_FILE = -1;

void ReportText(const FileReport& report, const TEXT_ERROR& error) {
  char text[256];
  if (error.Line != 0) {
    UTIL_snprintf(text, sizeof(text), "Error in line %d: %s", error.Line, error.acText);
  } else {
    UTIL_strcpy(text, error.acText, sizeof(text));
  }
  report.Error(text);
}

}  // namespace

int TEXT_ERROR::Set(int Result, const char* sText) {
  UTIL_strcpy(acText, sText, sizeof(acText));
  return Result;
}

void TEXT_ERROR::Warn(std::string_view Text) {
  if (NumWarnings < std::size(Warnings)) {
    Warnings[NumWarnings++] = Text;
  }
}

int LOAD_Text(MEMAREA* pArea, const char* sFileName, const FileReport& Report,
              READ_TEXT_FUNC* pfRead) {
  const MEMAREA_LOCK_GUARD lock(pArea);
  if (!lock.Locked()) {
    Report.Error(FILE_IN_USE_TEXT);
    return RESULT_NO_FILE;
  }
  pArea->NumChanges = 0;
  const FileHandle file(SYS_FILE_Open(sFileName, SYS_FILE_READ | SYS_FILE_SHARE_READ));
  if (!file.IsOpen()) {
    Report.OpenError(sFileName);
    return RESULT_NO_FILE;
  }
  FileInput input(file.Get());
  TEXT_ERROR error;
  const int result = pfRead(input, pArea->Ranges, &error);
  pArea->Ranges.Shrink();
  // A text that ends too early has faults of its own at the end; the cause is what counts.
  if (input.HasShrunk()) {
    Report.ShrunkError(sFileName);
    return RESULT_NO_FILE;
  }
  if (input.HasFailed() && error.Line != 0) {
    Report.ReadError(sFileName);
    return RESULT_NO_FILE;
  }
  if (result != 0 && error.acText[0] != '\0') {
    ReportText(Report, error);
  } else if (result == 0) {
    for (u32 i = 0; i < error.NumWarnings; ++i) {
      Report.Warning(error.Warnings[i].c_str());
    }
  }
  return result;
}
