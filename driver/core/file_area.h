#pragma once

#include <optional>
#include <string>
#include <vector>

#include "driver/core/file_path.h"
#include "driver/core/host_dir.h"
#include "sys/types.h"

namespace vortic {

// A folder of the host that stands for the file system of a stand-alone programmer. Names never
// lead out of it, neither by their parts nor through symbolic links, which count as not there.
//
// What is in the folder when a probe is opened is the programmer's contents, whoever put it there.
// Limits of depth, entries and size hold for what the calls create. Used room is counted once and
// kept up to date by the calls, so that a job of many files doesn't count them all again each time.
class FileArea {
 public:
  // An empty folder's name: there is no file system, and every call says so.
  FileArea(std::string folder, u64 capacity) : m_Folder(std::move(folder)), m_Capacity(capacity) {}

  // Creates the folder when it is missing. Empty: done; else the reason.
  std::string Open();

  // Bytes moved, or the size; negative on failure. Something that isn't there, and a folder where
  // a file's size is asked for, are answers, not errors: pError stays empty then.
  // Null data makes the file anew, offset bytes long, so that its room is there before the first
  // piece comes.
  i32 Write(const char* sFile, const u8* pData, u32 offset, u32 numBytes, std::string* pError);
  i32 Read(const char* sFile, u8* pData, u32 offset, u32 numBytes, std::string* pError);
  i32 GetSize(const char* sFile, std::string* pError);
  i32 Delete(const char* sFile, std::string* pError);
  // False: pError.
  bool List(const char* sPath, std::vector<HostEntry>* pEntries, std::string* pError);
  bool Rename(const char* sNewPath, const char* sOldPath, std::string* pError);

 private:
  enum class Want { File, Any };

  bool Parse(const char* sPath, Want want, FilePath* pPath, std::string* pError) const;
  // The folder that holds the path's last part.
  Descriptor OpenParent(const FilePath& path) const;
  Descriptor MakeParent(const FilePath& path, std::string* pError) const;
  bool Find(const FilePath& path, Descriptor* pParent, HostEntry* pEntry) const;
  bool CheckRename(const FilePath& to, const Descriptor& toFolder, const FilePath& from,
                   const Descriptor& fromFolder, const HostEntry& entry, std::string* pError) const;
  // Room for a file that grows.
  bool Reserve(u64 numBytes, std::string* pError);
  Descriptor OpenForWrite(const FilePath& path, bool isNew, u64 size, std::string* pError);

  const std::string m_Folder;
  const u64 m_Capacity;
  Descriptor m_Root;
  std::optional<u64> m_Used;  // none: to be counted
};

}  // namespace vortic
