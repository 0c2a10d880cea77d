#include "sys/file.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <memory>
#include <new>

#include "sys/file_object.h"
#include "sys/os_error.h"
#include "sys/time_parts.h"

namespace {

constexpr int kMaxWaitMs = 10000;
// What one read or write call of the platform takes at most.
constexpr u64 kMaxTransfer = 0x40000000;

int PlatformFlags(u32 Flags) {
  int result = O_CLOEXEC | O_NOCTTY | O_NONBLOCK;  // a pipe without another end
  if ((Flags & SYS_FILE_WRITE) != 0) {
    result |= (Flags & SYS_FILE_READ) != 0 ? O_RDWR : O_WRONLY;
  }
  if ((Flags & SYS_FILE_CREATE) != 0) {
    result |= O_CREAT;
    if ((Flags & SYS_FILE_EXCLUSIVE) != 0) {
      result |= O_EXCL;
    }
  }
  return result;
}

int OpenRetried(const char* sName, int Flags) {
  int fd = -1;
  do {
    fd = open(sName, Flags, 0666);
  } while (fd < 0 && errno == EINTR);
  return fd;
}

// No errno value: the name stands for another file by now.
constexpr int kReplaced = -1;
constexpr u32 kMaxReopens = 100;

bool IsStillNamed(const struct stat& Opened, const char* sName) {
  struct stat named {};
  return stat(sName, &named) == 0 && named.st_dev == Opened.st_dev && named.st_ino == Opened.st_ino;
}

// What stands against using the open file in the way of Flags: an errno value, kReplaced or 0.
int CheckOpened(int Fd, const char* sName, u32 Flags) {
  struct stat info {};
  if (fstat(Fd, &info) != 0) {
    return errno;
  }
  if (S_ISDIR(info.st_mode)) {
    return (Flags & SYS_FILE_DIRECTORY) != 0 ? 0 : EACCES;
  }
  // Reading from a pipe or a device might never end.
  if (!S_ISREG(info.st_mode)) {
    return (Flags & SYS_FILE_READ) != 0 ? ENXIO : 0;
  }
  if ((Flags & SYS_FILE_WRITE) == 0) {
    return 0;
  }
  if (SysIsReadOnly(info)) {
    return EACCES;
  }
  // Two writers of one file, such as two runs with one log file, shut each other out. Not every
  // file system has locks; without one nobody is shut out.
  const bool isShared = (Flags & SYS_FILE_SHARE_WRITE) != 0;
  if (!isShared && flock(Fd, LOCK_EX | LOCK_NB) != 0 && errno == EWOULDBLOCK) {
    return EWOULDBLOCK;
  }
  // The lock of a file that was replaced meanwhile keeps nobody from the new one.
  if (!isShared && !IsStillNamed(info, sName)) {
    return kReplaced;
  }
  // Emptied only now: a file that is refused keeps its content.
  const bool isEmptied = (Flags & SYS_FILE_TRUNCATE) != 0 && info.st_size != 0;
  if (isEmptied && ftruncate(Fd, 0) != 0) {
    return errno;
  }
  return 0;
}

// 0, an errno value or kReplaced.
int OpenOnce(const char* sName, u32 Flags, SYS_HANDLE* pHandle) {
  const int fd = OpenRetried(sName, PlatformFlags(Flags));
  if (fd < 0) {
    return errno;
  }
  auto pFile = std::unique_ptr<FileObject>(new (std::nothrow) FileObject(fd));
  if (pFile == nullptr) {
    close(fd);
    return ENOMEM;
  }
  int error = CheckOpened(fd, sName, Flags);
  if (error == 0 && (Flags & SYS_FILE_APPEND) != 0 && lseek(fd, 0, SEEK_END) < 0) {
    error = errno;
  }
  if (error == 0) {
    *pHandle = SysToHandle(pFile.release());
  }
  return error;
}

SYS_HANDLE TryOpen(const char* sName, u32 Flags) {
  if (!SysCheckName(sName)) {
    return SYS_INVALID_FILE;
  }
  if ((Flags & SYS_FILE_TRUNCATE) != 0 && (Flags & SYS_FILE_WRITE) == 0) {
    SysNoteError(EACCES, sName);
    return SYS_INVALID_FILE;
  }
  SYS_HANDLE h = SYS_INVALID_FILE;
  int error = kReplaced;
  for (u32 i = 0; i < kMaxReopens && error == kReplaced; ++i) {
    error = OpenOnce(sName, Flags, &h);
  }
  if (error != 0) {
    SysNoteError(error == kReplaced ? EWOULDBLOCK : error, sName);
  }
  return h;
}

// Of a pipe.
bool WaitForRoom(int Fd) {
  pollfd entry = {.fd = Fd, .events = POLLOUT, .revents = 0};
  return poll(&entry, 1, kMaxWaitMs) > 0;
}

FileObject* GetFile(SYS_HANDLE h) {
  FileObject* const pFile = SysFromHandle<FileObject>(h);
  if (pFile == nullptr) {
    SysNoteError(EBADF, nullptr);
  }
  return pFile;
}

}  // namespace

SYS_HANDLE SYS_FILE_Open(const char* sName, u32 Flags) {
  return SYS_FILE_OpenEx(sName, Flags, 0, 0);
}

SYS_HANDLE SYS_FILE_OpenEx(const char* sName, u32 Flags, u32 NumRetries, u32 RetryDelayMs) {
  SYS_HANDLE h = TryOpen(sName, Flags);
  for (u32 i = 0; i < NumRetries && h == SYS_INVALID_FILE; ++i) {
    if (RetryDelayMs != 0) {
      SYS_Sleep(RetryDelayMs);
    }
    h = TryOpen(sName, Flags);
  }
  return h;
}

SYS_HANDLE SYS_FILE_OpenCreatePath(const char* sName, u32 Flags) {
  if (!SysCheckName(sName)) {
    return SYS_INVALID_FILE;
  }
  if ((Flags & SYS_FILE_CREATE) != 0 && SYS_DIR_CreatePath(sName) != 0) {
    return SYS_INVALID_FILE;
  }
  return SYS_FILE_Open(sName, Flags);
}

void SYS_FILE_Close(SYS_HANDLE h) {
  delete SysFromHandle<FileObject>(h);
}

i64 SYS_FILE_Read(SYS_HANDLE h, void* pBuf, u64 NumBytes) {
  FileObject* const pFile = GetFile(h);
  if (pFile == nullptr) {
    return -1;
  }
  u64 numDone = 0;
  while (numDone < NumBytes) {
    const u64 numWanted = std::min(NumBytes - numDone, kMaxTransfer);
    const ssize_t n = read(pFile->Fd(), static_cast<u8*>(pBuf) + numDone, numWanted);
    if (n == 0) {
      break;
    }
    if (n > 0) {
      numDone += static_cast<u64>(n);
    } else if (errno != EINTR) {
      SysNoteError(errno, nullptr);
      return -1;
    }
  }
  return static_cast<i64>(numDone);
}

i64 SYS_FILE_Write(SYS_HANDLE h, const void* pBuf, u64 NumBytes) {
  FileObject* const pFile = GetFile(h);
  if (pFile == nullptr) {
    return -1;
  }
  u64 numDone = 0;
  while (numDone < NumBytes) {
    const u64 numWanted = std::min(NumBytes - numDone, kMaxTransfer);
    const i64 n =
        SysFileOps().pfWrite(pFile->Fd(), static_cast<const u8*>(pBuf) + numDone, numWanted);
    if (n > 0) {
      numDone += static_cast<u64>(n);
      pFile->NoteWritten(static_cast<u64>(n));
      continue;
    }
    const int error = n == 0 ? ENOSPC : errno;
    if (error == EINTR || (error == EAGAIN && WaitForRoom(pFile->Fd()))) {
      continue;
    }
    pFile->NoteWriteError(error);
    SysNoteError(error, nullptr);
    return numDone != 0 ? static_cast<i64>(numDone) : -1;
  }
  return static_cast<i64>(numDone);
}

i64 SYS_FILE_Seek(SYS_HANDLE h, i64 Offset, u32 Origin) {
  FileObject* const pFile = GetFile(h);
  if (pFile == nullptr) {
    return -1;
  }
  const int whence = Origin == 1 ? SEEK_CUR : Origin == 2 ? SEEK_END : SEEK_SET;
  const off_t position = lseek(pFile->Fd(), Offset, whence);
  if (position < 0) {
    SysNoteError(errno, nullptr);
  }
  return position;
}

i64 SYS_FILE_GetSize(SYS_HANDLE h) {
  FileObject* const pFile = GetFile(h);
  struct stat info {};
  if (pFile == nullptr) {
    return -1;
  }
  if (fstat(pFile->Fd(), &info) != 0) {
    SysNoteError(errno, nullptr);
    return -1;
  }
  return info.st_size;
}

int SYS_FILE_GetTimes(SYS_HANDLE h, SYS_TIME* pAccessed, SYS_TIME* pWritten) {
  FileObject* const pFile = GetFile(h);
  struct stat info {};
  if (pFile == nullptr || fstat(pFile->Fd(), &info) != 0) {
    return -1;
  }
  if (pAccessed != nullptr) {
    *pAccessed = SysToUtc(info.st_atim);
  }
  if (pWritten != nullptr) {
    *pWritten = SysToUtc(info.st_mtim);
  }
  return 0;
}

u32 SYS_FILE_GetAttributes(const char* sName) {
  struct stat info {};
  if (!SysCheckName(sName)) {
    return SYS_ATTR_INVALID;
  }
  if (stat(sName, &info) != 0) {
    SysNoteError(errno, sName);
    return SYS_ATTR_INVALID;
  }
  return SysAttributesOf(info);
}

int SYS_FILE_Exists(const char* sName) {
  const u32 attributes = SYS_FILE_GetAttributes(sName);
  return attributes != SYS_ATTR_INVALID && (attributes & SYS_ATTR_DIRECTORY) == 0 ? 1 : 0;
}

int SYS_FILE_IsLink(const char* sName) {
  struct stat info {};
  return SysCheckName(sName) && lstat(sName, &info) == 0 && S_ISLNK(info.st_mode) ? 1 : 0;
}

int SYS_FILE_Delete(const char* sName) {
  if (SysCheckName(sName) && unlink(sName) != 0) {
    SysNoteError(errno, sName);
  }
  return 0;
}
