#pragma once

#include "sys/thread.h"

// Interrupts of the user (Ctrl+C, a request to end, a lost terminal) as calls on a thread of their
// own. Created before any other thread, so that all of them have the signals blocked; programs that
// are started from here on get them unblocked. One object at a time.
//
// A file that grows beyond the limit of the process is a failed write from here on, and no end.
enum class INTERRUPT {
  Cancel,  // Ctrl+C
  End,     // the system wants the program gone, or its terminal is
};

class INTERRUPTS {
 public:
  using HANDLER = void(void* pContext, INTERRUPT Kind);
  INTERRUPTS(HANDLER* pfHandler, void* pContext);
  // The signals stay blocked: nothing may cut the end of the program short.
  ~INTERRUPTS();
  INTERRUPTS(const INTERRUPTS&) = delete;
  INTERRUPTS& operator=(const INTERRUPTS&) = delete;

 private:
  static void Run(void* pContext);

  HANDLER* m_pfHandler;
  void* m_pContext;
  SYS_HANDLE m_hThread = 0;
};
