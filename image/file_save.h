#pragma once

#include "image/file_report.h"
#include "image/memarea.h"
#include "text/filewr.h"

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
  // For a format of 32-bit addresses. False when there is data beyond, which has been reported.
  bool CheckAddresses(const char* sFormat);
  // For a format that holds a span without its holes left out. False when the file would fill any
  // disk, which has been reported; a large one that is nearly all filling is warned about.
  bool CheckFileSize(u64 FirstAddr, u64 LastAddr, u64 CharsPerByte, const char* sFormat);
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
