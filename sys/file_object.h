#pragma once

#include <string>

#include "sys/file.h"
#include "sys/object.h"

// An open file, whether in place or as the new content of another. Internal to this layer.
class FileObject : public SysObject {
 public:
  explicit FileObject(int Fd) : SysObject(SysKind::File), m_Fd(Fd) {}
  // Throws an unfinished replacement away.
  ~FileObject() override;

  int Fd() const { return m_Fd; }

  // Remembers the first failed write, so that a short file is never put in place of a whole one.
  void NoteWriteError(int Error) { m_WriteError = m_WriteError != 0 ? m_WriteError : Error; }
  int WriteError() const { return m_WriteError; }

  void SetReplace(std::string TempName, std::string TargetName) {
    m_TempName = std::move(TempName);
    m_TargetName = std::move(TargetName);
  }
  // Flushes the new file and renames it over its target, with SYS_REPLACE_ flags. 0, or the errno
  // value of the failed step.
  int PutInPlace(u32 Flags);
  // 0 or the errno value.
  int Close();
  // Lets the disk begin with what was written so far, so that the flush at the end of a large
  // replacement doesn't start from nothing.
  void NoteWritten(u64 NumBytes);

 private:
  int m_Fd;
  int m_WriteError = 0;
  u64 m_NumWritten = 0;    // of a replacement
  u64 m_NumStarted = 0;    // handed to the disk already
  std::string m_TempName;  // empty for a file that is written in place
  std::string m_TargetName;
};

// The operations in force, never null.
const SYS_FILE_OPS& SysFileOps();
