#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <memory>
#include <mutex>
#include <new>
#include <string>
#include <thread>

#include "sys/os_error.h"
#include "sys/thread.h"
#include "sys/time.h"

// A named lock is a lock on a file of the user's run-time directory, which the platform drops when
// its process ends. It comes behind the lock of this process, which makes it recursive and keeps
// the threads of one process apart.
struct SYS_MUTEX_INFO {
  std::recursive_mutex Local;
  int Fd = -1;       // of the lock file; -1 without a name
  u32 NumHolds = 0;  // how often the holder of Local holds the file; guarded by Local

  ~SYS_MUTEX_INFO() {
    if (Fd >= 0) {
      close(Fd);
    }
  }
};

namespace {

// Turns that a waiting lock takes at full speed before it sleeps in between.
constexpr u64 kSpinUs = 10000;
constexpr u32 kMaxSpins = 2000;

// Ends in a separator; empty when there is no directory that only this user can write to.
std::string RuntimeDir() {
  const char* const sRuntime = std::getenv("XDG_RUNTIME_DIR");
  std::string dir = sRuntime != nullptr && *sRuntime == '/'
                        ? std::string(sRuntime) + "/TARVEX"
                        : "/tmp/TARVEX-" + std::to_string(geteuid());
  struct stat info {};
  if (mkdir(dir.c_str(), 0700) != 0 && errno != EEXIST) {
    return {};
  }
  const bool isOwn = lstat(dir.c_str(), &info) == 0 && S_ISDIR(info.st_mode) &&
                     info.st_uid == geteuid() && (info.st_mode & (S_IWGRP | S_IWOTH)) == 0;
  return isOwn ? dir + "/" : std::string();
}

int OpenLockFile(const char* sName) {
  const std::string dir = RuntimeDir();
  if (dir.empty()) {
    return -1;
  }
  std::string name(sName);
  std::replace(name.begin(), name.end(), '/', '_');
  return open((dir + name + ".lock").c_str(), O_RDWR | O_CREAT | O_CLOEXEC | O_NOFOLLOW, 0600);
}

bool LockFile(int Fd, int Operation) {
  int result = 0;
  do {
    result = flock(Fd, Operation);
  } while (result != 0 && errno == EINTR);
  return result == 0;
}

bool TryLock(SYS_MUTEX_INFO* pInfo) {
  if (!pInfo->Local.try_lock()) {
    return false;
  }
  if (pInfo->Fd >= 0 && pInfo->NumHolds == 0 && !LockFile(pInfo->Fd, LOCK_EX | LOCK_NB)) {
    pInfo->Local.unlock();
    return false;
  }
  ++pInfo->NumHolds;
  return true;
}

// -1 only when the platform refuses the lock.
int LockWithoutLimit(SYS_MUTEX_INFO* pInfo) {
  pInfo->Local.lock();
  if (pInfo->Fd >= 0 && pInfo->NumHolds == 0 && !LockFile(pInfo->Fd, LOCK_EX)) {
    pInfo->Local.unlock();
    return -1;
  }
  ++pInfo->NumHolds;
  return 0;
}

}  // namespace

SYS_MUTEX SYS_MUTEX_Create(const char* sName) {
  auto pInfo = std::unique_ptr<SYS_MUTEX_INFO>(new (std::nothrow) SYS_MUTEX_INFO);
  if (pInfo == nullptr) {
    return nullptr;
  }
  if (sName != nullptr) {
    pInfo->Fd = OpenLockFile(sName);
    if (pInfo->Fd < 0) {
      SysNoteError(errno, nullptr);
      return nullptr;
    }
  }
  return pInfo.release();
}

int SYS_MUTEX_Lock(SYS_MUTEX Mutex, u32 TimeoutMs) {
  if (Mutex == nullptr) {
    return 0;
  }
  if (TimeoutMs == SYS_INFINITE) {
    return LockWithoutLimit(Mutex);
  }
  if (TryLock(Mutex)) {
    return 0;
  }
  const u64 start = SYS_GetPerfTicks();
  for (u32 numSpins = 0; !TryLock(Mutex); ++numSpins) {
    const u64 elapsedUs = SYS_GetElapsedUs(start);
    if (elapsedUs > u64{TimeoutMs} * 1000) {
      return SYS_WAIT_TIMEOUT;
    }
    // Short holds are the rule and a sleep would cost more than they last.
    if (elapsedUs > kSpinUs || numSpins > kMaxSpins) {
      SYS_Sleep(1);
    } else {
      std::this_thread::yield();
    }
  }
  return 0;
}

void SYS_MUTEX_Unlock(SYS_MUTEX Mutex) {
  if (Mutex == nullptr) {
    return;
  }
  --Mutex->NumHolds;
  if (Mutex->NumHolds == 0 && Mutex->Fd >= 0) {
    static_cast<void>(LockFile(Mutex->Fd, LOCK_UN));  // cannot fail on a lock that is held
  }
  Mutex->Local.unlock();
}

void SYS_MUTEX_Destroy(SYS_MUTEX* pMutex) {
  if (pMutex == nullptr) {
    return;
  }
  delete *pMutex;
  *pMutex = nullptr;
}
