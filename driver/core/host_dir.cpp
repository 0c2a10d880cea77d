#include "driver/core/host_dir.h"

#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <memory>
#include <string_view>

namespace vortic {

namespace {

// Each level of a walk holds a folder open; a tree beyond this is refused.
constexpr u32 kMaxWalkDepth = 32;

struct CloseDir {
  void operator()(DIR* pDir) const { closedir(pDir); }
};

bool FailTooDeep() {
  errno = ENAMETOOLONG;
  return false;
}

bool AddBytes(const Descriptor& folder, u32 depth, u64* pNumBytes) {
  std::vector<HostEntry> entries;
  if (depth > kMaxWalkDepth) {
    return FailTooDeep();
  }
  if (!ReadEntries(folder, &entries)) {
    return false;
  }
  for (const HostEntry& entry : entries) {
    *pNumBytes += entry.Size;
    if (entry.Kind == EntryKind::Folder) {
      const Descriptor sub = OpenFolderAt(folder, entry.Name);
      if (!sub.IsOpen() || !AddBytes(sub, depth + 1, pNumBytes)) {
        return false;
      }
    }
  }
  return true;
}

bool FindDepth(const Descriptor& parent, const std::string& name, u32 level, u32* pDepth) {
  if (level > kMaxWalkDepth) {
    return FailTooDeep();
  }
  const Descriptor folder = OpenFolderAt(parent, name);
  std::vector<HostEntry> entries;
  if (!folder.IsOpen() || !ReadEntries(folder, &entries)) {
    return false;
  }
  *pDepth = std::max(*pDepth, level);
  for (const HostEntry& entry : entries) {
    if (entry.Kind == EntryKind::Folder && !FindDepth(folder, entry.Name, level + 1, pDepth)) {
      return false;
    }
  }
  return true;
}

bool Remove(const Descriptor& parent, const std::string& name, u32 depth, u64* pNumBytes) {
  if (depth > kMaxWalkDepth) {
    return FailTooDeep();
  }
  const Descriptor folder = OpenFolderAt(parent, name);
  std::vector<HostEntry> entries;
  if (!folder.IsOpen() || !ReadEntries(folder, &entries)) {
    return false;
  }
  for (const HostEntry& entry : entries) {
    if (entry.Kind == EntryKind::Folder) {
      if (!Remove(folder, entry.Name, depth + 1, pNumBytes)) {
        return false;
      }
    } else if (unlinkat(folder.Get(), entry.Name.c_str(), 0) != 0) {
      return false;
    }
    *pNumBytes += entry.Size;
  }
  return unlinkat(parent.Get(), name.c_str(), AT_REMOVEDIR) == 0;
}

}  // namespace

Descriptor& Descriptor::operator=(Descriptor&& other) noexcept {
  if (this != &other) {
    Close();
    m_Fd = std::exchange(other.m_Fd, -1);
  }
  return *this;
}

// The reason of a failure before must survive the way out.
void Descriptor::Close() {
  if (m_Fd >= 0) {
    const int error = errno;
    close(m_Fd);
    errno = error;
    m_Fd = -1;
  }
}

Descriptor OpenFolderAt(const Descriptor& folder, const std::string& name) {
  return Descriptor(openat(folder.Get(), name.c_str(),
                           O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC | O_NONBLOCK));
}

bool LookAt(const Descriptor& folder, const std::string& name, HostEntry* pEntry) {
  *pEntry = {};
  pEntry->Name = name;
  struct stat info = {};
  if (fstatat(folder.Get(), name.c_str(), &info, AT_SYMLINK_NOFOLLOW) != 0) {
    return errno == ENOENT;
  }
  pEntry->Modified = info.st_mtime;
  if (S_ISDIR(info.st_mode)) {
    pEntry->Kind = EntryKind::Folder;
  } else if (S_ISREG(info.st_mode)) {
    pEntry->Kind = EntryKind::File;
    pEntry->Size = static_cast<u64>(info.st_size);
  } else {
    pEntry->Kind = EntryKind::Other;
  }
  return true;
}

bool ReadEntries(const Descriptor& folder, std::vector<HostEntry>* pEntries) {
  pEntries->clear();
  // A folder of its own for reading: each has one position only.
  const int fd = openat(folder.Get(), ".", O_RDONLY | O_DIRECTORY | O_CLOEXEC);
  if (fd < 0) {
    return false;
  }
  const std::unique_ptr<DIR, CloseDir> pDir(fdopendir(fd));
  if (!pDir) {
    close(fd);
    return false;
  }
  for (;;) {
    errno = 0;
    const dirent* pFound = readdir(pDir.get());
    if (pFound == nullptr) {
      break;
    }
    const std::string name = pFound->d_name;
    if (name == "." || name == "..") {
      continue;
    }
    HostEntry entry;
    if (!LookAt(folder, name, &entry)) {
      return false;
    }
    if (entry.Kind != EntryKind::None) {  // else gone meanwhile
      pEntries->push_back(std::move(entry));
    }
  }
  if (errno != 0) {
    return false;
  }
  std::sort(pEntries->begin(), pEntries->end(),
            [](const HostEntry& a, const HostEntry& b) { return a.Name < b.Name; });
  return true;
}

bool AddTreeBytes(const Descriptor& folder, u64* pNumBytes) {
  return AddBytes(folder, 0, pNumBytes);
}

bool GetTreeDepth(const Descriptor& parent, const std::string& name, u32* pDepth) {
  *pDepth = 0;
  return FindDepth(parent, name, 0, pDepth);
}

bool RemoveTree(const Descriptor& parent, const std::string& name, u64* pNumBytes) {
  return Remove(parent, name, 0, pNumBytes);
}

}  // namespace vortic
