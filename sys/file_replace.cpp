#include "sys/file_replace.h"

#include <fcntl.h>
#include <sys/random.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <atomic>
#include <cerrno>
#include <climits>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <new>

#include "sys/file_object.h"
#include "sys/os_error.h"
#include "sys/util_string.h"

// A target is replaced in these steps: a new file beside it, so that both are on one file system;
// write; flush the file; rename; flush the directory. Only the rename touches the old file.

namespace {

constexpr SYS_FILE_OPS kPlatformOps = {
    [](int Fd, const void* pBuf, u64 NumBytes) -> i64 { return write(Fd, pBuf, NumBytes); },
    [](int Fd) { return fsync(Fd); },
    [](const char* sFrom, const char* sTo) { return std::rename(sFrom, sTo); },
};

std::atomic<const SYS_FILE_OPS*> g_pOps = &kPlatformOps;

constexpr u64 kWriteBackStep = u64{8} << 20;
constexpr u32 kMaxLinks = 40;
constexpr u32 kMaxNameTries = 100;
constexpr u32 kSuffixSize = 6;

// What a replacement writes to.
struct Target {
  std::string Name;  // behind all symbolic links
  bool IsThere = false;
  struct stat Info {};
};

// 0 or an errno value. A link without a file behind it stands for the file that it names.
int ResolveTarget(const char* sName, Target* pTarget) {
  pTarget->Name = sName;
  for (u32 i = 0; i < kMaxLinks; ++i) {
    if (lstat(pTarget->Name.c_str(), &pTarget->Info) != 0) {
      return errno == ENOENT ? 0 : errno;
    }
    if (!S_ISLNK(pTarget->Info.st_mode)) {
      pTarget->IsThere = true;
      return 0;
    }
    std::array<char, PATH_MAX> acLink{};
    const ssize_t n = readlink(pTarget->Name.c_str(), acLink.data(), acLink.size());
    if (n < 0) {
      return errno;
    }
    const std::string link(acLink.data(), static_cast<std::size_t>(n));
    const bool isAbs = !link.empty() && link.front() == '/';
    pTarget->Name = isAbs ? link : std::string(SysDirPart(pTarget->Name)) + link;
  }
  return ELOOP;
}

// An open for writing in place is what tells whether this user may change the file; nothing is
// changed by it. The file descriptor or the negative errno value.
int OpenForWrite(const Target& Where) {
  if (S_ISDIR(Where.Info.st_mode) || (S_ISREG(Where.Info.st_mode) && SysIsReadOnly(Where.Info))) {
    return -EACCES;
  }
  int fd = -1;
  do {
    fd = open(Where.Name.c_str(), O_WRONLY | O_CLOEXEC | O_NOCTTY | O_NONBLOCK);
  } while (fd < 0 && errno == EINTR);
  return fd < 0 ? -errno : fd;
}

std::string RandomSuffix() {
  static constexpr char kLetters[] = "abcdefghijklmnopqrstuvwxyz012345";
  std::array<u8, kSuffixSize> aRandom{};
  if (getrandom(aRandom.data(), aRandom.size(), GRND_NONBLOCK) < 0) {
    static std::atomic<u32> Counter{0};
    aRandom[0] = static_cast<u8>(Counter.fetch_add(1));
    aRandom[1] = static_cast<u8>(getpid());
  }
  std::string suffix;
  for (const u8 byte : aRandom) {
    suffix += kLetters[byte % 32];
  }
  return suffix;
}

// Creates ".<name>.<six letters>" beside the target with the mode that the result will have, so
// that nobody reads in between what the old file kept from him. The file descriptor or the negative
// errno value.
int CreateTemp(const Target& Where, std::string* pTempName) {
  std::string dir(SysDirPart(Where.Name));
  std::string name = Where.Name.substr(dir.size());
  if (name.size() > NAME_MAX - kSuffixSize - 2) {
    name.resize(UTIL_CutUtf8(name.c_str(), NAME_MAX - kSuffixSize - 2));
  }
  const std::string stem = dir.append(".").append(name).append(".");
  const mode_t mode = Where.IsThere ? Where.Info.st_mode & 0777 : 0666;
  for (u32 i = 0; i < kMaxNameTries; ++i) {
    *pTempName = stem + RandomSuffix();
    const int fd = open(pTempName->c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, mode);
    if (fd >= 0) {
      return fd;
    }
    if (errno != EEXIST && errno != EINTR) {
      return -errno;
    }
  }
  return -EEXIST;
}

// Owner first: changing it may clear bits of the mode. Only the superuser can give a file away, so
// a failure there is none. 0 or an errno value.
int CopyOwnerAndMode(int Fd, const struct stat& Old) {
  const bool isOwnerKept = fchown(Fd, Old.st_uid, Old.st_gid) == 0;
  const mode_t mask = isOwnerKept ? 07777 : 0777;
  return fchmod(Fd, Old.st_mode & mask) == 0 ? 0 : errno;
}

SYS_HANDLE Fail(int Error, const char* sName) {
  SysNoteError(Error, sName);
  return SYS_INVALID_FILE;
}

SYS_HANDLE MakeHandle(int Fd, std::string TempName, std::string TargetName) {
  auto* const pFile = new (std::nothrow) FileObject(Fd);
  if (pFile == nullptr) {
    close(Fd);
    if (!TempName.empty()) {
      unlink(TempName.c_str());
    }
    return Fail(ENOMEM, nullptr);
  }
  pFile->SetReplace(std::move(TempName), std::move(TargetName));
  return SysToHandle(pFile);
}

int SyncRetried(int Fd) {
  int result = 0;
  do {
    result = SysFileOps().pfSync(Fd);
  } while (result != 0 && errno == EINTR);
  return result == 0 ? 0 : errno;
}

// Makes the rename last over a loss of power. A file system that knows no flush of a directory is
// no failure. 0 or the errno value.
int SyncDirectory(const std::string& FileName) {
  const std::string dir(SysDirPart(FileName));
  const int fd = open(dir.empty() ? "." : dir.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
  if (fd < 0) {
    return errno;
  }
  const int error = SyncRetried(fd);
  close(fd);
  return error == EINVAL || error == ENOSYS || error == EOPNOTSUPP ? 0 : error;
}

// 0 or the errno value.
int RenameNew(const char* sFrom, const char* sTo) {
  if (renameat2(AT_FDCWD, sFrom, AT_FDCWD, sTo, RENAME_NOREPLACE) == 0) {
    return 0;
  }
  // Some network file systems don't know this rename, but have links.
  if ((errno != EINVAL && errno != ENOSYS) || link(sFrom, sTo) != 0) {
    return errno;
  }
  unlink(sFrom);
  return 0;
}

int Rename(const char* sFrom, const char* sTo) {
  return SysFileOps().pfRename(sFrom, sTo) == 0 ? 0 : errno;
}

}  // namespace

const SYS_FILE_OPS& SysFileOps() {
  return *g_pOps.load(std::memory_order_acquire);
}

const SYS_FILE_OPS* SYS_FILE_SetOps(const SYS_FILE_OPS* pOps) {
  return g_pOps.exchange(pOps != nullptr ? pOps : &kPlatformOps);
}

FileObject::~FileObject() {
  static_cast<void>(Close());
  if (!m_TempName.empty()) {
    unlink(m_TempName.c_str());
  }
}

int FileObject::Close() {
  if (m_Fd < 0) {
    return 0;
  }
  // The descriptor is gone after an interrupted close as well.
  const int result = close(m_Fd);
  m_Fd = -1;
  return result == 0 || errno == EINTR ? 0 : errno;
}

void FileObject::NoteWritten(u64 NumBytes) {
  m_NumWritten += NumBytes;
  if (m_TempName.empty() || m_NumWritten - m_NumStarted < kWriteBackStep) {
    return;
  }
  // Only a hint: whether everything reached the disk is what the flush tells.
  static_cast<void>(sync_file_range(m_Fd, static_cast<off64_t>(m_NumStarted),
                                    static_cast<off64_t>(m_NumWritten - m_NumStarted),
                                    SYNC_FILE_RANGE_WRITE));
  m_NumStarted = m_NumWritten;
}

int FileObject::PutInPlace(u32 Flags) {
  if (m_WriteError != 0) {
    return m_WriteError;
  }
  if (m_TempName.empty()) {
    return Close();
  }
  if (const int error = SyncRetried(m_Fd); error != 0) {
    return error;
  }
  if (const int error = Close(); error != 0) {
    return error;
  }
  const auto pfRename = (Flags & SYS_REPLACE_NEW) != 0 ? RenameNew : Rename;
  if (const int error = pfRename(m_TempName.c_str(), m_TargetName.c_str()); error != 0) {
    return error;
  }
  m_TempName.clear();
  // The new content is in place already, which is enough for most files.
  const int error = SyncDirectory(m_TargetName);
  return (Flags & SYS_REPLACE_LASTING) != 0 ? error : 0;
}

SYS_HANDLE SYS_FILE_BeginReplace(const char* sName, bool CreatePath) {
  if (!SysCheckName(sName) || (CreatePath && SYS_DIR_CreatePath(sName) != 0)) {
    return SYS_INVALID_FILE;
  }
  Target where;
  if (const int error = ResolveTarget(sName, &where); error != 0) {
    return Fail(error, sName);
  }
  if (where.IsThere) {
    const int fd = OpenForWrite(where);
    if (fd < 0) {
      return Fail(-fd, where.Name.c_str());
    }
    if (!S_ISREG(where.Info.st_mode)) {
      return MakeHandle(fd, {}, {});
    }
    close(fd);
  }
  std::string tempName;
  const int fd = CreateTemp(where, &tempName);
  if (fd < 0) {
    return Fail(-fd, where.Name.c_str());
  }
  if (where.IsThere) {
    if (const int error = CopyOwnerAndMode(fd, where.Info); error != 0) {
      close(fd);
      unlink(tempName.c_str());
      return Fail(error, where.Name.c_str());
    }
  }
  return MakeHandle(fd, std::move(tempName), std::move(where.Name));
}

int SYS_FILE_EndReplace(SYS_HANDLE h, bool Keep) {
  if (Keep) {
    return SYS_FILE_EndReplaceEx(h, 0);
  }
  const bool isOpen = SysFromHandle<FileObject>(h) != nullptr;
  SYS_FILE_Close(h);
  if (!isOpen) {
    SysNoteError(EBADF, nullptr);
  }
  return isOpen ? 0 : -1;
}

int SYS_FILE_EndReplaceEx(SYS_HANDLE h, u32 Flags) {
  const std::unique_ptr<FileObject> pFile(SysFromHandle<FileObject>(h));
  const int error = pFile == nullptr ? EBADF : pFile->PutInPlace(Flags);
  if (error != 0) {
    SysNoteError(error, nullptr);
  }
  return error == 0 ? 0 : -1;
}
