#include "console/terminal.h"

#include <signal.h>
#include <sys/ioctl.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>

#include "console/progress_line.h"

namespace {

constexpr u32 kDefaultColumns = 80;

// A reader that has gone away must not end a production run: the rest is dropped.
void WriteAll(int fd, const char* pText, std::size_t numBytes) {
  while (numBytes > 0) {
    const ssize_t written = write(fd, pText, numBytes);
    if (written < 0 && errno == EINTR) {
      continue;
    }
    if (written <= 0) {
      return;
    }
    pText += written;
    numBytes -= static_cast<std::size_t>(written);
  }
}

}  // namespace

TERMINAL::TERMINAL()
    : m_Lock(SYS_MUTEX_Create(nullptr)),
      m_OutIsTerminal(isatty(STDOUT_FILENO) == 1),
      m_ErrIsTerminal(isatty(STDERR_FILENO) == 1) {
  signal(SIGPIPE, SIG_IGN);
}

TERMINAL::~TERMINAL() {
  ClearProgress();
  SYS_MUTEX_Destroy(&m_Lock);
}

void TERMINAL::Print(const char* sText) {
  SYS_LOCK_GUARD lock(m_Lock);
  EraseLine();
  if (m_OutIsTerminal) {
    WriteAll(STDOUT_FILENO, sText, std::strlen(sText));
  } else {
    const std::string plain = CONSOLE_StripColours(sText);
    WriteAll(STDOUT_FILENO, plain.data(), plain.size());
  }
}

void TERMINAL::PrintNotice(const char* sText) {
  SYS_LOCK_GUARD lock(m_Lock);
  EraseLine();
  const std::string line = std::string(sText) + "\n";
  WriteAll(STDERR_FILENO, line.data(), line.size());
}

u32 TERMINAL::GetColumns() const {
  winsize size = {};
  if (ioctl(STDERR_FILENO, TIOCGWINSZ, &size) != 0 || size.ws_col == 0) {
    return kDefaultColumns;
  }
  return size.ws_col;
}

void TERMINAL::DrawProgress(const std::string& line) {
  SYS_LOCK_GUARD lock(m_Lock);
  const std::string text = "\r" + line + "\x1b[K";
  WriteAll(STDERR_FILENO, text.data(), text.size());
  m_LineShown = true;
}

void TERMINAL::ClearProgress() {
  SYS_LOCK_GUARD lock(m_Lock);
  EraseLine();
}

void TERMINAL::EraseLine() {
  if (m_LineShown) {
    WriteAll(STDERR_FILENO, "\r\x1b[K", 4);
    m_LineShown = false;
  }
}

void TERMINAL_EndProcess(int exitCode) {
  _exit(exitCode);
}
