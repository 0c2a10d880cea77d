#include "image/file_save.h"

#include "sys/util_string.h"

FileSave::FileSave(MEMAREA* pArea, const char* sFileName, FileReport Report)
    : m_pArea(pArea), m_sFileName(sFileName), m_Report(Report), m_Lock(pArea) {}

FileSave::~FileSave() {
  FILEWR_Close(m_pWriter);
}

bool FileSave::Begin() {
  if (!m_Lock.Locked()) {
    m_Report.Error(FILE_IN_USE_TEXT);
    return false;
  }
  m_NumChanges = MEMAREA_GetNumChanges(m_pArea);
  if (MEMAREA_CommitPatches(m_pArea) != 0) {
    Fail("Could not apply the changes to the data.");
    return false;
  }
  return true;
}

FILEWR* FileSave::Open() {
  m_pWriter = FILEWR_Open(m_sFileName, m_acError, sizeof(m_acError));
  if (m_pWriter == nullptr) {
    Fail(m_acError);
  }
  return m_pWriter;
}

int FileSave::Finish() {
  FILEWR_Close(m_pWriter);
  m_pWriter = nullptr;
  if (m_acError[0] != '\0') {
    return Fail(m_acError);
  }
  MEMAREA_SetNumChanges(m_pArea, 0);
  return 0;
}

int FileSave::Fail(const char* sText) {
  m_Report.Error(sText);
  MEMAREA_SetNumChanges(m_pArea, m_NumChanges);
  if (m_pWriter != nullptr) {
    // The file writer throws the new file away when its error buffer holds a text.
    UTIL_strcpy(m_acError, sText, sizeof(m_acError));
    FILEWR_Close(m_pWriter);
    m_pWriter = nullptr;
  }
  return -1;
}
