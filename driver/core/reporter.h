#pragma once

#include <cstdio>
#include <memory>
#include <string>

#include "driver/abi/vortic.h"
#include "sys/types.h"

namespace vortic {

// Where texts leave the library: the caller's two handlers, and the library's own log file.
// The handlers stay the caller's; null drops the text. A fault of the log file never fails a call.
class Reporter {
 public:
  void SetErrorHandler(VORTIC_TEXT_HANDLER* pfError) { m_pfError = pfError; }
  void SetLogHandler(VORTIC_TEXT_HANDLER* pfLog) { m_pfLog = pfLog; }

  // Something failed; the text says what a person can do about it.
  void Error(const std::string& text);
  // A line for the user's log, whatever its level.
  void Log(const std::string& text);

  // Null: no file. False: the file could not be opened; there is none then.
  bool SetLogFile(const char* sFileName);
  bool HasLogFile() const { return m_pFile != nullptr; }
  // A line of the log file only.
  void Trace(const std::string& text);

 private:
  struct CloseFile {
    void operator()(std::FILE* pFile) const { std::fclose(pFile); }
  };

  VORTIC_TEXT_HANDLER* m_pfError = nullptr;
  VORTIC_TEXT_HANDLER* m_pfLog = nullptr;
  std::unique_ptr<std::FILE, CloseFile> m_pFile;
  std::string m_FileName;
  // Written since the file was opened.
  u64 m_FileBytes = 0;
};

}  // namespace vortic
