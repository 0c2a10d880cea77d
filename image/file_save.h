#pragma once

#include "image/file_report.h"
#include "image/memarea.h"
#include "project/text/filewr.h"

// What all writers of data files do around their format: hold the area's lock, commit the patches,
// write through a FILEWR, and mark the area as saved, or report and give NumChanges its value back.
class FileSave {
 public:
  FileSave(MEMAREA* pArea, const char* sFileName, FileReport Report);
  ~FileSave();
  FileSave(const FileSave&) = delete;
  FileSave& operator=(const FileSave&) = delete;

  // Locks and commits. False when that failed, which has been reported.
  bool Begin();
  // Null when the file can't be written, which has been reported.
  FILEWR* Open();
  // Puts the file in place. 0 or -1, reported.
  int Finish();
  // Reports, leaves the old file in place, and returns -1.
  int Fail(const char* sText);

 private:
  MEMAREA* m_pArea;
  const char* m_sFileName;
  FileReport m_Report;
  MEMAREA_LOCK_GUARD m_Lock;
  FILEWR* m_pWriter = nullptr;
  u32 m_NumChanges = 0;
  char m_acError[FILE_TEXT_SIZE] = "";
};
