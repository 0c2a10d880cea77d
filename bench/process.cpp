#include <fcntl.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <time.h>
#include <unistd.h>

#include <algorithm>
#include <filesystem>

#include "bench/bench.h"

namespace {

double ToSeconds(const timeval& t) {
  return static_cast<double>(t.tv_sec) + static_cast<double>(t.tv_usec) / 1e6;
}

double GetSeconds(clockid_t Clock) {
  timespec t{};
  clock_gettime(Clock, &t);
  return static_cast<double>(t.tv_sec) + static_cast<double>(t.tv_nsec) / 1e9;
}

[[noreturn]] void Exec(const std::vector<std::string>& args) {
  std::vector<char*> argv;
  for (const std::string& arg : args) {
    argv.push_back(const_cast<char*>(arg.c_str()));
  }
  argv.push_back(nullptr);
  execvp(argv[0], argv.data());
  _exit(127);
}

}  // namespace

double BENCH_GetCpuSeconds() {
  return GetSeconds(CLOCK_PROCESS_CPUTIME_ID);
}

BENCH_PROCESS BENCH_RunProcess(const std::vector<std::string>& Args, int NumRuns) {
  BENCH_PROCESS best;
  for (int i = 0; i < NumRuns; ++i) {
    // Data that an earlier run left unwritten must not slow this one down.
    sync();
    const double start = GetSeconds(CLOCK_MONOTONIC);
    const pid_t pid = fork();
    if (pid == 0) {
      Exec(Args);
    }
    int status = 0;
    rusage usage{};
    if (pid < 0 || wait4(pid, &status, 0, &usage) != pid || !WIFEXITED(status) ||
        WEXITSTATUS(status) != 0) {
      return {};
    }
    const double wall = GetSeconds(CLOCK_MONOTONIC) - start;
    const double cpu = ToSeconds(usage.ru_utime) + ToSeconds(usage.ru_stime);
    best.WallSeconds = i == 0 ? wall : std::min(best.WallSeconds, wall);
    best.CpuSeconds = i == 0 ? cpu : std::min(best.CpuSeconds, cpu);
    best.PeakMegabytes =
        std::max(best.PeakMegabytes, static_cast<double>(usage.ru_maxrss) / 1024.0);
    best.IsDone = true;
  }
  return best;
}

std::string BENCH_GetSelf() {
  return std::filesystem::read_symlink("/proc/self/exe").string();
}
