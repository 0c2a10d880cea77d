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
pid_t Start(const std::vector<std::string>& args, int pipeFd, int childFd) {
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
  dup2(null, STDOUT_FILENO);
  dup2(null, STDERR_FILENO);
  if (childFd >= 0) {
    dup2(pipeFd, childFd);
  }
  if (getppid() == parent) {
    execvp(pointers[0], pointers.data());
  }
  _exit(127);
}

std::string ReadLine(int fd) {
  std::string text;
  char c = 0;
  while (read(fd, &c, 1) == 1 && c != '\n') {
    text += c;
  }
  return text;
}

void Stop(pid_t pid) {
  if (pid > 0) {
    kill(pid, SIGKILL);
    waitpid(pid, nullptr, 0);
  }
}

}  // namespace

bool RunTool(const std::vector<std::string>& args) {
  int status = -1;
  waitpid(Start(args, -1, -1), &status, 0);
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
  const std::string number = ReadLine(aPipe[0]);
  close(aPipe[0]);
  if (number.empty()) {
    throw std::runtime_error("Xvfb did not start");
  }
  setenv("DISPLAY", (":" + number).c_str(), 1);
  // Only a running window manager answers this. One that came before the server was ready for it
  // has ended and is started again.
  constexpr int kMaxLooks = 500;
  for (int i = 0; !RunTool({"xdotool", "get_desktop"}); ++i) {
    if (i == kMaxLooks) {
      throw std::runtime_error("openbox did not start");
    }
    if (m_Manager < 0 || waitpid(m_Manager, nullptr, WNOHANG) != 0) {
      m_Manager = Start({"openbox"}, -1, -1);
    }
    usleep(20000);
  }
}

DISPLAY_SERVER::~DISPLAY_SERVER() {
  Stop(m_Manager);
  Stop(m_Server);
}
