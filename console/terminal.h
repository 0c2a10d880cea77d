#pragma once

#include <string>

#include "sys/thread.h"
#include "sys/types.h"

// The terminal of the console program: log on standard output as it comes, one progress line on
// standard error when that is a terminal. Any thread.
class TERMINAL {
 public:
  TERMINAL();
  ~TERMINAL();
  TERMINAL(const TERMINAL&) = delete;
  TERMINAL& operator=(const TERMINAL&) = delete;

  // Text with line feeds and colour sequences; colours are dropped unless standard output is a
  // terminal.
  void Print(const char* sText);
  // One line for the person in front of it, on standard error.
  void PrintNotice(const char* sText);
  bool ShowsProgress() const { return m_ErrIsTerminal; }
  u32 GetColumns() const;
  void DrawProgress(const std::string& line);
  void ClearProgress();

 private:
  void EraseLine();  // with the lock held

  SYS_MUTEX m_Lock;  // guards m_LineShown and the order of what is written
  bool m_OutIsTerminal;
  bool m_ErrIsTerminal;
  bool m_LineShown = false;
};

// Ends the process at once.
[[noreturn]] void TERMINAL_EndProcess(int ExitCode);
