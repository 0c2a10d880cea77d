#pragma once

#include <ctime>
#include <string>
#include <utility>
#include <vector>

#include "sys/types.h"

// Folders of the host, reached from an open one downwards and never through a symbolic link: what
// starts inside of a folder stays there, whatever names it is given and whoever changes the folder
// meanwhile. Functions that fail leave the reason in errno.

namespace vortic {

// An open file or folder; closed on every way out.
class Descriptor {
 public:
  Descriptor() = default;
  explicit Descriptor(int fd) : m_Fd(fd) {}
  ~Descriptor() { Close(); }
  Descriptor(Descriptor&& other) noexcept : m_Fd(std::exchange(other.m_Fd, -1)) {}
  Descriptor& operator=(Descriptor&& other) noexcept;
  Descriptor(const Descriptor&) = delete;
  Descriptor& operator=(const Descriptor&) = delete;

  bool IsOpen() const { return m_Fd >= 0; }
  int Get() const { return m_Fd; }

 private:
  void Close();

  int m_Fd = -1;
};

enum class EntryKind : u8 { None, File, Folder, Other };

struct HostEntry {
  std::string Name;
  EntryKind Kind = EntryKind::None;
  u64 Size = 0;  // of a file
  std::time_t Modified = 0;
};

// A folder inside of another.
Descriptor OpenFolderAt(const Descriptor& folder, const std::string& name);

// What stands behind a name. Kind None without an error: nothing. False: it can't be told.
bool LookAt(const Descriptor& folder, const std::string& name, HostEntry* pEntry);

// All that is in the folder but "." and "..", links and devices included, sorted by name.
bool ReadEntries(const Descriptor& folder, std::vector<HostEntry>* pEntries);

// Adds the sizes of all files below the folder.
bool AddTreeBytes(const Descriptor& folder, u64* pNumBytes);

// How many levels of folders lie in that one: 0 when it holds none.
bool GetTreeDepth(const Descriptor& parent, const std::string& name, u32* pDepth);

// Removes a folder with all of its contents. Links go, what they lead to stays. Adds what the
// files had, also when it fails half way.
bool RemoveTree(const Descriptor& parent, const std::string& name, u64* pNumBytes);

}  // namespace vortic
