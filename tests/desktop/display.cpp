#include "tests/desktop/display.h"

#include <fcntl.h>
#include <signal.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cstdlib>
#include <stdexcept>

namespace {

// The child's end of the pipe becomes its descriptor childFd, if that is given.
pid_t Start(const std::vector<std::string>& args, int pipeFd, int childFd,
            bool withOutput = false) {
  std::vector<char*> pointers;
  for (const std::string& arg : args) {
    pointers.push_back(const_cast<char*>(arg.c_str()));
  }
  pointers.push_back(nullptr);
  const pid_t parent = getpid();
  const pid_t pid = fork();
  if (pid != 0) {
    return pid;
  }
  prctl(PR_SET_PDEATHSIG, SIGKILL);
  const int null = open("/dev/null", O_RDWR);
  dup2(null, STDIN_FILENO);
  if (!withOutput) {
    dup2(null, STDOUT_FILENO);
    dup2(null, STDERR_FILENO);
  }
  if (childFd >= 0) {
    dup2(pipeFd, childFd);
  }
  if (getppid() == parent) {
    execvp(pointers[0], pointers.data());
  }
  _exit(127);
}

std::string ReadAll(int fd, bool isLineOnly) {
  std::string text;
  std::array<char, 4096> buffer;
  ssize_t numRead = 0;
  while ((numRead = read(fd, buffer.data(), buffer.size())) > 0) {
    text.append(buffer.data(), static_cast<std::size_t>(numRead));
    if (isLineOnly && text.back() == '\n') {
      break;
    }
  }
  return text;
}

}  // namespace

pid_t StartTool(const std::vector<std::string>& args) {
  return Start(args, -1, -1);
}

void StopTool(pid_t pid) {
  if (pid > 0) {
    kill(pid, SIGKILL);
    waitpid(pid, nullptr, 0);
  }
}

void WaitTool(pid_t pid) {
  if (pid > 0) {
    waitpid(pid, nullptr, 0);
  }
}

bool RunTool(const std::vector<std::string>& args, std::string* pOut) {
  std::array<int, 2> aPipe{};
  if (pipe2(aPipe.data(), O_CLOEXEC) != 0) {
    return false;
  }
  const pid_t pid = Start(args, aPipe[1], STDOUT_FILENO);
  close(aPipe[1]);
  const std::string out = ReadAll(aPipe[0], false);
  close(aPipe[0]);
  int status = -1;
  waitpid(pid, &status, 0);
  if (pOut != nullptr) {
    *pOut = out;
  }
  return WIFEXITED(status) && WEXITSTATUS(status) == 0;
}

bool RunToolVisibly(const std::vector<std::string>& args) {
  const pid_t pid = Start(args, -1, -1, true);
  int status = -1;
  waitpid(pid, &status, 0);
  return WIFEXITED(status) && WEXITSTATUS(status) == 0;
}

DISPLAY_SERVER::DISPLAY_SERVER() {
  // The server picks a free number and tells it.
  constexpr int kDisplayFd = 9;
  std::array<int, 2> aPipe{};
  if (pipe2(aPipe.data(), O_CLOEXEC) != 0) {
    throw std::runtime_error("no pipe");
  }
  m_Server = Start({"Xvfb", "-displayfd", std::to_string(kDisplayFd), "-screen", "0", "1280x900x24",
                    "-nolisten", "tcp"},
                   aPipe[1], kDisplayFd);
  close(aPipe[1]);
  const std::string number = ReadAll(aPipe[0], true);
  close(aPipe[0]);
  if (number.empty()) {
    throw std::runtime_error("Xvfb did not start");
  }
  setenv("DISPLAY", (":" + number.substr(0, number.size() - 1)).c_str(), 1);
  // Only a running window manager answers this. One that came before the server was ready for it
  // has ended and is started again.
  constexpr int kMaxLooks = 500;
  for (int i = 0; !RunTool({"xdotool", "get_desktop"}); ++i) {
    if (i == kMaxLooks) {
      throw std::runtime_error("openbox did not start");
    }
    if (m_Manager < 0 || waitpid(m_Manager, nullptr, WNOHANG) != 0) {
      m_Manager = StartTool({"openbox"});
    }
    usleep(20000);
  }
}

DISPLAY_SERVER::~DISPLAY_SERVER() {
  StopTool(m_Manager);
  StopTool(m_Server);
}
