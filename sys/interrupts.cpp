#include "sys/interrupts.h"

#include <pthread.h>
#include <signal.h>
#include <unistd.h>

#include <array>

#include "sys/file.h"

namespace {

constexpr int kStopSignal = SIGUSR1;  // ends the thread

sigset_t InterruptSignals() {
  sigset_t set;
  sigemptyset(&set);
  for (const int number : std::array{SIGINT, SIGTERM, SIGHUP}) {
    struct sigaction action = {};
    // What was to be ignored from the start stays so: a run under nohup survives its terminal.
    if (sigaction(number, nullptr, &action) == 0 && action.sa_handler != SIG_IGN) {
      sigaddset(&set, number);
    }
  }
  sigaddset(&set, kStopSignal);
  return set;
}

// A child, such as a browser that shows the manual, would inherit the blocked signals and could
// not be ended by them.
void UnblockInChild() {
  const sigset_t set = InterruptSignals();
  pthread_sigmask(SIG_UNBLOCK, &set, nullptr);
}

}  // namespace

INTERRUPTS::INTERRUPTS(HANDLER* pfHandler, void* pContext)
    : m_pfHandler(pfHandler), m_pContext(pContext) {
  SYS_FILE_IgnoreSizeSignal();
  static const int registered = pthread_atfork(nullptr, nullptr, UnblockInChild);
  static_cast<void>(registered);
  signal(SIGXFSZ, SIG_IGN);  // the write gives an error instead
  const sigset_t set = InterruptSignals();
  pthread_sigmask(SIG_BLOCK, &set, nullptr);
  m_hThread = SYS_CreateThread(Run, this, nullptr, "SIGNALS", 0);
}

INTERRUPTS::~INTERRUPTS() {
  if (m_hThread == 0) {
    return;
  }
  kill(getpid(), kStopSignal);
  SYS_WaitForObject(m_hThread, SYS_INFINITE);
  SYS_CloseHandle(m_hThread);
}

void INTERRUPTS::Run(void* pContext) {
  const auto* pThis = static_cast<INTERRUPTS*>(pContext);
  const sigset_t set = InterruptSignals();
  int number = 0;
  while (sigwait(&set, &number) == 0 && number != kStopSignal) {
    pThis->m_pfHandler(pThis->m_pContext, number == SIGINT ? INTERRUPT::Cancel : INTERRUPT::End);
  }
}
