#pragma once

#include <string>

#include "sys/types.h"

namespace vortic {

// A folder of the host that stands for the file system of a stand-alone programmer. Names have
// backslashes between their parts and never lead out of the folder.
class FileArea {
 public:
  explicit FileArea(std::string folder) : m_Folder(std::move(folder)) {}

  // Bytes moved, or the size; negative on failure. A file that isn't there, and a folder where a
  // file is asked for, are answers, not errors: pError stays empty then.
  // Null data with no count makes the file exactly offset bytes long, so that its room is there
  // before the first piece comes.
  i32 Write(const char* sFile, const u8* pData, u32 offset, u32 numBytes, std::string* pError);
  i32 Read(const char* sFile, u8* pData, u32 offset, u32 numBytes, std::string* pError);
  i32 GetSize(const char* sFile, std::string* pError);
  i32 Delete(const char* sFile, std::string* pError);

 private:
  // The host's name of the file. False: pError.
  bool Resolve(const char* sFile, std::string* pPath, std::string* pError) const;

  const std::string m_Folder;
};

}  // namespace vortic
