#pragma once

#include <unistd.h>

#include <cerrno>
#include <cstdio>

#include "sys/file.h"

// Lets one step of changing files fail with an error, once Room bytes are written or Room flushes
// done.
class FailingOps {
 public:
  enum class Step { Write, Sync, Rename };

  FailingOps(Step Fails, int Error, u64 Room = 0) {
    s_Fails = Fails;
    s_Error = Error;
    s_Room = Room;
    SYS_FILE_SetOps(&kOps);
  }
  ~FailingOps() { SYS_FILE_SetOps(nullptr); }
  FailingOps(const FailingOps&) = delete;
  FailingOps& operator=(const FailingOps&) = delete;

 private:
  static bool Fails(Step Which) {
    errno = s_Error;
    return s_Fails == Which;
  }
  static i64 Write(int Fd, const void* pBuf, u64 NumBytes) {
    if (!Fails(Step::Write)) {
      return write(Fd, pBuf, NumBytes);
    }
    if (s_Room == 0) {
      return -1;
    }
    const u64 n = NumBytes < s_Room ? NumBytes : s_Room;
    s_Room -= n;
    return write(Fd, pBuf, n);
  }
  static int Sync(int Fd) { return Fails(Step::Sync) && s_Room-- == 0 ? -1 : fsync(Fd); }
  static int Rename(const char* sFrom, const char* sTo) {
    return Fails(Step::Rename) ? -1 : std::rename(sFrom, sTo);
  }

  static constexpr SYS_FILE_OPS kOps = {&Write, &Sync, &Rename};
  static inline Step s_Fails = Step::Write;
  static inline int s_Error = 0;
  static inline u64 s_Room = 0;
};
