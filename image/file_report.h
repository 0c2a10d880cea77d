#pragma once

#include "image/datafile.h"

// A reporting function with its context, for the readers and writers of this folder.
class FileReport {
 public:
  FileReport(FILE_REPORT* pfReport, void* pContext) : m_pfReport(pfReport), m_pContext(pContext) {}
  void Info(const char* sText) const { Send(FILE_REPORT_INFO, sText); }
  void Warning(const char* sText) const { Send(FILE_REPORT_WARNING, sText); }
  void Error(const char* sText) const { Send(FILE_REPORT_ERROR, sText); }
  // "Could not open file [...]" with the cause of the last system error.
  void OpenError(const char* sFileName) const;
  void ReadError(const char* sFileName) const;
  void ShrunkError(const char* sFileName) const;

 private:
  void Send(int Level, const char* sText) const {
    if (m_pfReport != nullptr) {
      m_pfReport(m_pContext, Level, sText);
    }
  }

  FILE_REPORT* m_pfReport;
  void* m_pContext;
};

// Room for a text that holds a file name.
constexpr u32 FILE_TEXT_SIZE = 1024;
constexpr const char* FILE_IN_USE_TEXT = "Data is in use by another operation.";
