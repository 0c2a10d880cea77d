#include "driver/core/file_area.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <limits>

#include "driver/core/text.h"

namespace vortic {

namespace {

constexpr u64 kMaxResult = static_cast<u64>(std::numeric_limits<i32>::max());

const char* Reason() {
  return errno == ELOOP ? "Links of the host are not followed" : std::strerror(errno);
}

// From errno.
i32 Fail(const char* sWhat, const char* sFile, std::string* pError) {
  *pError = Format("Could not %s the programmer's file \"%s\": %s.", sWhat,
                   Printable(sFile).c_str(), Reason());
  return -1;
}

bool IsMissing() {
  return errno == ENOENT || errno == ENOTDIR;
}

bool CheckRoom(const Descriptor& folder, std::string* pError) {
  std::vector<HostEntry> entries;
  if (!ReadEntries(folder, &entries)) {
    *pError = Format("Could not read a folder of the programmer: %s.", Reason());
    return false;
  }
  if (entries.size() >= kMaxFolderEntries) {
    *pError = Format("A folder of the programmer has at most %u entries.", kMaxFolderEntries);
    return false;
  }
  return true;
}

bool CheckDepth(std::size_t numFolders, std::string* pError) {
  if (numFolders > kMaxFolderDepth) {
    *pError = Format("The programmer's folders are at most %u deep.", kMaxFolderDepth);
    return false;
  }
  return true;
}

// All of the data, or -1 with errno.
i32 WriteAll(const Descriptor& file, const u8* pData, u32 offset, u32 numBytes) {
  for (u32 done = 0; done < numBytes;) {
    const ssize_t count =
        pwrite(file.Get(), pData + done, numBytes - done, static_cast<off_t>(u64{offset} + done));
    if (count < 0 && errno == EINTR) {
      continue;
    }
    if (count <= 0) {
      return -1;
    }
    done += static_cast<u32>(count);
  }
  return static_cast<i32>(numBytes);
}

// As much as there is, or -1 with errno.
i32 ReadAll(const Descriptor& file, u8* pData, u32 offset, u32 numBytes) {
  if (numBytes > kMaxResult) {
    errno = EINVAL;
    return -1;
  }
  u32 done = 0;
  while (done < numBytes) {
    const ssize_t count =
        pread(file.Get(), pData + done, numBytes - done, static_cast<off_t>(u64{offset} + done));
    if (count < 0 && errno == EINTR) {
      continue;
    }
    if (count < 0) {
      return -1;
    }
    if (count == 0) {
      break;
    }
    done += static_cast<u32>(count);
  }
  return static_cast<i32>(done);
}

}  // namespace

std::string FileArea::Open() {
  std::error_code error;
  std::filesystem::create_directories(m_Folder, error);
  m_Root = Descriptor(open(m_Folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
  m_Used.reset();
  return m_Root.IsOpen() ? std::string()
                         : Format("Could not open the file system's folder \"%s\": %s.",
                                  m_Folder.c_str(), std::strerror(errno));
}

bool FileArea::Parse(const char* sPath, Want want, FilePath* pPath, std::string* pError) const {
  if (!m_Root.IsOpen()) {
    *pError = "The simulated probe has no file system (key FileSystem of its section).";
    return false;
  }
  if (!ParseFilePath(sPath, pPath) || (want == Want::File && pPath->IsFolder)) {
    *pError = Format("\"%s\" is not a file name of the programmer.", Printable(sPath).c_str());
    return false;
  }
  return true;
}

Descriptor FileArea::OpenParent(const FilePath& path) const {
  Descriptor folder = OpenFolderAt(m_Root, ".");
  for (std::size_t i = 0; i < path.NumFolders() && folder.IsOpen(); ++i) {
    folder = OpenFolderAt(folder, path.Parts[i]);
  }
  return folder;
}

// Folders on the way that are missing are made.
Descriptor FileArea::MakeParent(const FilePath& path, std::string* pError) const {
  Descriptor folder = OpenFolderAt(m_Root, ".");
  for (std::size_t i = 0; i < path.NumFolders() && folder.IsOpen(); ++i) {
    const std::string& name = path.Parts[i];
    Descriptor next = OpenFolderAt(folder, name);
    if (!next.IsOpen() && errno == ENOENT) {
      if (!CheckRoom(folder, pError)) {
        return {};
      }
      if (mkdirat(folder.Get(), name.c_str(), 0755) == 0) {
        next = OpenFolderAt(folder, name);
      }
    }
    folder = std::move(next);
  }
  return folder;
}

bool FileArea::Find(const FilePath& path, Descriptor* pParent, HostEntry* pEntry) const {
  *pEntry = {};
  *pParent = OpenParent(path);
  return pParent->IsOpen() ? LookAt(*pParent, path.Name(), pEntry) : IsMissing();
}

bool FileArea::Reserve(u64 numBytes, std::string* pError) {
  if (!m_Used) {
    u64 used = 0;
    if (!AddTreeBytes(m_Root, &used)) {
      *pError = Format("Could not count the programmer's files: %s.", Reason());
      return false;
    }
    m_Used = used;
  }
  const u64 free = m_Capacity - std::min(m_Capacity, *m_Used);
  if (numBytes > free) {
    *pError =
        Format("The programmer's memory is full: %llu bytes are needed, %llu are free.",
               static_cast<unsigned long long>(numBytes), static_cast<unsigned long long>(free));
    return false;
  }
  return true;
}

// Size: what the file has afterwards, at least, or exactly when it is made anew.
Descriptor FileArea::OpenForWrite(const FilePath& path, bool isNew, u64 size, std::string* pError) {
  const Descriptor parent = MakeParent(path, pError);
  HostEntry old;
  if (!parent.IsOpen() || !LookAt(parent, path.Name(), &old)) {
    return {};
  }
  if (old.Kind == EntryKind::Folder || old.Kind == EntryKind::Other) {
    errno = old.Kind == EntryKind::Folder ? EISDIR : ELOOP;
    return {};
  }
  size = isNew ? size : std::max(size, old.Size);
  if ((old.Kind == EntryKind::None && !CheckRoom(parent, pError)) ||
      (size > old.Size && !Reserve(size - old.Size, pError))) {
    return {};
  }
  const int flags = O_WRONLY | O_CREAT | O_NOFOLLOW | O_CLOEXEC | O_NONBLOCK;
  Descriptor file(openat(parent.Get(), path.Name().c_str(), flags, 0644));
  if (!file.IsOpen()) {
    return {};
  }
  // Emptied first: what was there before must not pass for what is sent.
  if (isNew &&
      (ftruncate(file.Get(), 0) != 0 || ftruncate(file.Get(), static_cast<off_t>(size)) != 0)) {
    m_Used.reset();
    return {};
  }
  if (m_Used) {
    *m_Used = *m_Used - std::min(*m_Used, old.Size) + size;
  }
  return file;
}

i32 FileArea::Write(const char* sFile, const u8* pData, u32 offset, u32 numBytes,
                    std::string* pError) {
  FilePath path;
  if (!Parse(sFile, Want::File, &path, pError) || !CheckDepth(path.NumFolders(), pError)) {
    return -1;
  }
  const bool isNew = pData == nullptr;
  const u64 end = u64{offset} + numBytes;
  Descriptor file;
  errno = EFBIG;
  if (end <= kMaxResult) {
    file = OpenForWrite(path, isNew, isNew || numBytes != 0 ? end : 0, pError);
  }
  if (!file.IsOpen()) {
    return pError->empty() ? Fail("write", sFile, pError) : -1;
  }
  const i32 result = WriteAll(file, pData, offset, numBytes);
  if (result < 0) {
    Fail("write", sFile, pError);
    m_Used.reset();
  }
  return result;
}

i32 FileArea::Read(const char* sFile, u8* pData, u32 offset, u32 numBytes, std::string* pError) {
  FilePath path;
  if (!Parse(sFile, Want::File, &path, pError)) {
    return -1;
  }
  Descriptor parent;
  HostEntry entry;
  if (!Find(path, &parent, &entry)) {
    return Fail("read", sFile, pError);
  }
  if (entry.Kind == EntryKind::None || entry.Kind == EntryKind::Other) {
    return -1;
  }
  const int flags = O_RDONLY | O_NOFOLLOW | O_CLOEXEC | O_NONBLOCK;
  const Descriptor file(openat(parent.Get(), path.Name().c_str(), flags));
  if (!file.IsOpen()) {
    return Fail("read", sFile, pError);
  }
  const i32 result = ReadAll(file, pData, offset, numBytes);
  return result < 0 ? Fail("read", sFile, pError) : result;
}

i32 FileArea::GetSize(const char* sFile, std::string* pError) {
  FilePath path;
  if (!Parse(sFile, Want::Any, &path, pError) || path.Parts.empty()) {
    return -1;
  }
  Descriptor parent;
  HostEntry entry;
  if (!Find(path, &parent, &entry)) {
    return Fail("find", sFile, pError);
  }
  return entry.Kind == EntryKind::File && entry.Size <= kMaxResult ? static_cast<i32>(entry.Size)
                                                                   : -1;
}

i32 FileArea::Delete(const char* sFile, std::string* pError) {
  FilePath path;
  if (!Parse(sFile, Want::Any, &path, pError)) {
    return -1;
  }
  if (path.Parts.empty()) {
    *pError = "The programmer's uppermost folder can't be deleted.";
    return -1;
  }
  Descriptor parent;
  HostEntry entry;
  bool isDone = Find(path, &parent, &entry);
  u64 numBytes = entry.Size;
  if (isDone && (entry.Kind == EntryKind::None || entry.Kind == EntryKind::Other)) {
    return -1;
  }
  if (isDone) {
    isDone = entry.Kind == EntryKind::Folder ? RemoveTree(parent, path.Name(), &numBytes)
                                             : unlinkat(parent.Get(), path.Name().c_str(), 0) == 0;
  }
  if (!isDone) {
    m_Used.reset();
    return Fail("delete", sFile, pError);
  }
  if (m_Used) {
    *m_Used -= std::min(*m_Used, numBytes);
  }
  return 0;
}

// Only what the calls can reach: no links and devices, no names that none of them takes.
bool FileArea::List(const char* sPath, std::vector<HostEntry>* pEntries, std::string* pError) {
  FilePath path;
  if (!Parse(sPath, Want::Any, &path, pError)) {
    return false;
  }
  Descriptor folder = OpenParent(path);
  if (folder.IsOpen() && !path.Parts.empty()) {
    folder = OpenFolderAt(folder, path.Name());
  }
  if (!folder.IsOpen() || !ReadEntries(folder, pEntries)) {
    *pError = Format("Could not list the programmer's folder \"%s\": %s.", Printable(sPath).c_str(),
                     Reason());
    return false;
  }
  std::erase_if(*pEntries, [](const HostEntry& entry) {
    return entry.Kind == EntryKind::Other || !IsFileName(entry.Name);
  });
  return true;
}

bool FileArea::CheckRename(const FilePath& to, const Descriptor& toFolder, const FilePath& from,
                           const Descriptor& fromFolder, const HostEntry& entry,
                           std::string* pError) const {
  std::size_t numFolders = to.NumFolders();
  if (entry.Kind == EntryKind::Folder) {
    if (from.Holds(to)) {
      *pError = "A folder can't be moved into itself.";
      return false;
    }
    u32 depth = 0;
    if (!GetTreeDepth(fromFolder, from.Name(), &depth)) {
      *pError = Format("Could not read a folder of the programmer: %s.", Reason());
      return false;
    }
    numFolders += 1 + depth;
  }
  const bool isSameFolder =
      std::equal(to.Parts.begin(), to.Parts.end() - 1, from.Parts.begin(), from.Parts.end() - 1);
  return isSameFolder || (CheckDepth(numFolders, pError) && CheckRoom(toFolder, pError));
}

bool FileArea::Rename(const char* sNewPath, const char* sOldPath, std::string* pError) {
  FilePath to;
  FilePath from;
  if (!Parse(sNewPath, Want::Any, &to, pError) || !Parse(sOldPath, Want::Any, &from, pError)) {
    return false;
  }
  if (to.Parts.empty() || from.Parts.empty()) {
    *pError = "The programmer's uppermost folder can't be renamed.";
    return false;
  }
  Descriptor fromFolder;
  HostEntry entry;
  bool isDone = Find(from, &fromFolder, &entry);
  if (isDone && (entry.Kind == EntryKind::None || entry.Kind == EntryKind::Other)) {
    errno = ENOENT;
    isDone = false;
  }
  const Descriptor toFolder = isDone ? OpenParent(to) : Descriptor();
  if (isDone && to.Parts == from.Parts) {
    return true;
  }
  if (toFolder.IsOpen() && !CheckRename(to, toFolder, from, fromFolder, entry, pError)) {
    return false;
  }
  if (!toFolder.IsOpen() || renameat2(fromFolder.Get(), from.Name().c_str(), toFolder.Get(),
                                      to.Name().c_str(), RENAME_NOREPLACE) != 0) {
    Fail("rename", sOldPath, pError);
    return false;
  }
  return true;
}

}  // namespace vortic
