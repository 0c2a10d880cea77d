#include "flash/side_file.h"

#include "app/engine/files.h"
#include "app/engine/log.h"
#include "project/project.h"
#include "text/file_error.h"

SideFile::SideFile(const char* sSuffix) {
  if (PROJECT_GetSideFileName(sSuffix, m_acName.data(), SYS_MAX_PATH) == 0) {
    Open();
  }
}

SideFile::~SideFile() {
  if (m_hFile != SYS_INVALID_FILE) {
    SYS_FILE_Close(m_hFile);
  }
}

// A pipe or a device might never answer, or never end.
void SideFile::Open() {
  m_State = State::Failed;
  const u32 attributes = SYS_FILE_GetAttributes(GetName());
  if (attributes != SYS_ATTR_INVALID && (attributes & SYS_ATTR_DEVICE) != 0) {
    APP_LogErrorf(APP_CAUSE::SerialNumber, "Could not open file [%s]\nIt is a device or a pipe.",
                  GetName());
    return;
  }
  m_hFile = SYS_FILE_Open(GetName(), SYS_FILE_READ | SYS_FILE_SHARE_READ);
  if (m_hFile != SYS_INVALID_FILE) {
    m_State = State::Open;
  } else if (SYS_GetLastError() == SYS_ERROR_FILE_NOT_FOUND) {
    m_State = State::Missing;
  } else {
    char acError[1024];
    APP_FormatOpenError(GetName(), acError, sizeof(acError));
    APP_LogError(APP_CAUSE::FileNotRead, acError);
  }
}

i64 SideFile::Read(void* pBuf, u64 NumBytes) {
  return APP_ReadFile(m_hFile, GetName(), pBuf, NumBytes);
}

int SideFile::Seek(i64 Offset) {
  if (SYS_FILE_Seek(m_hFile, Offset, 0) < 0) {
    APP_LogErrorf(APP_CAUSE::SerialNumber, "Could not open file [%s]\nFailed to read data!",
                  GetName());
    return -1;
  }
  return 0;
}
