// Preloaded into the program under test: ends it at one of its writes, flushes and renames, without
// a chance to tidy up, as a power failure would. KORVANE_KILL_AT is the number of the call, counted
// from 1; the call itself isn't carried out any more.
#include <sys/syscall.h>
#include <unistd.h>

#include <atomic>
#include <csignal>
#include <cstdlib>

namespace {

void Count() {
  static std::atomic<long> NumCalls{0};
  const char* const sAt = std::getenv("KORVANE_KILL_AT");
  if (sAt != nullptr && ++NumCalls == std::strtol(sAt, nullptr, 10)) {
    raise(SIGKILL);
  }
}

}  // namespace

extern "C" {
ssize_t write(int fd, const void* pData, size_t numBytes) {
  Count();
  return syscall(SYS_write, fd, pData, numBytes);
}
ssize_t pwrite(int fd, const void* pData, size_t numBytes, off_t offset) {
  Count();
  return syscall(SYS_pwrite64, fd, pData, numBytes, offset);
}
int fsync(int fd) {
  Count();
  return static_cast<int>(syscall(SYS_fsync, fd));
}
int rename(const char* sFrom, const char* sTo) noexcept {
  Count();
  return static_cast<int>(syscall(SYS_rename, sFrom, sTo));
}
}
