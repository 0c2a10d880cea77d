#include "sys/thread.h"

#include <pthread.h>

#include <array>
#include <atomic>
#include <chrono>
#include <condition_variable>
#include <memory>
#include <mutex>
#include <new>
#include <string>

#include "sys/object.h"
#include "sys/util_string.h"

namespace {

// What the platform shows of a thread's name, with the terminator.
constexpr u32 kThreadNameSize = 16;

// The state that a wait looks at. Waits use the machine's own clock: another thread ends them, and
// that one runs in real time whatever clock the tests set.
class Signal {
 public:
  Signal(bool ManualReset, bool InitiallySet) : m_IsManual(ManualReset), m_IsSet(InitiallySet) {}

  void Set() {
    // Notified under the lock: whoever wakes may destroy the event at once.
    const std::lock_guard lock(m_Lock);
    m_IsSet = true;
    // An automatic event lets one waiter pass; the others find it reset and go on waiting.
    m_Changed.notify_all();
  }

  int Wait(u32 TimeoutMs) {
    std::unique_lock lock(m_Lock);
    const auto isSet = [this] { return m_IsSet; };
    if (TimeoutMs == SYS_INFINITE) {
      m_Changed.wait(lock, isSet);
    } else if (!m_Changed.wait_for(lock, std::chrono::milliseconds(TimeoutMs), isSet)) {
      return SYS_WAIT_TIMEOUT;
    }
    m_IsSet = m_IsManual;
    return 0;
  }

 private:
  std::mutex m_Lock;  // guards m_IsSet
  std::condition_variable m_Changed;
  const bool m_IsManual;
  bool m_IsSet;
};

class EventObject : public SysObject {
 public:
  EventObject(bool ManualReset, bool InitiallySet)
      : SysObject(SysKind::Event), m_Signal(ManualReset, InitiallySet) {}
  Signal m_Signal;
};

// Shared by the thread and its handle, whichever lives longer.
struct ThreadState {
  Signal Ended{true, false};
  SYS_THREAD_FUNC* pfn = nullptr;
  void* pContext = nullptr;
  u64 Id = 0;
  std::string Name;
};

class ThreadObject : public SysObject {
 public:
  ThreadObject(pthread_t Thread, std::shared_ptr<ThreadState> pState)
      : SysObject(SysKind::Thread), m_Thread(Thread), m_pState(std::move(pState)) {}

  // A thread that still runs goes on without its handle.
  ~ThreadObject() override {
    if (m_pState->Ended.Wait(0) == 0) {
      pthread_join(m_Thread, nullptr);
    } else {
      pthread_detach(m_Thread);
    }
  }

  const pthread_t m_Thread;
  const std::shared_ptr<ThreadState> m_pState;
};

std::atomic<u64> g_NextThreadId{1};
thread_local u64 tl_ThreadId = 0;

int NameThread(pthread_t Thread, const char* sName) {
  std::array<char, kThreadNameSize> acName{};
  UTIL_strcpy(acName.data(), sName, acName.size());
  return pthread_setname_np(Thread, acName.data()) == 0 ? 0 : -1;
}

void* RunThread(void* pArgument) {
  const std::unique_ptr<std::shared_ptr<ThreadState>> pOwn(
      static_cast<std::shared_ptr<ThreadState>*>(pArgument));
  ThreadState& state = **pOwn;
  tl_ThreadId = state.Id;
  if (!state.Name.empty()) {
    static_cast<void>(NameThread(pthread_self(), state.Name.c_str()));  // only for debuggers
  }
  state.pfn(state.pContext);
  state.Ended.Set();
  return nullptr;
}

}  // namespace

SYS_HANDLE SYS_CreateThread(SYS_THREAD_FUNC* pfn, void* pContext, u64* pThreadId, const char* sName,
                            u32 Flags) {
  if (pfn == nullptr || (Flags & 1) != 0) {
    return 0;
  }
  auto pState = std::make_shared<ThreadState>();
  pState->pfn = pfn;
  pState->pContext = pContext;
  pState->Id = g_NextThreadId.fetch_add(1);
  pState->Name = sName != nullptr ? sName : "";
  // Stored before the thread runs, so that it may read it.
  if (pThreadId != nullptr) {
    *pThreadId = pState->Id;
  }
  auto pArgument = std::make_unique<std::shared_ptr<ThreadState>>(pState);
  pthread_t thread{};
  if (pthread_create(&thread, nullptr, &RunThread, pArgument.get()) != 0) {
    return 0;
  }
  static_cast<void>(pArgument.release());
  return SysToHandle(new ThreadObject(thread, std::move(pState)));
}

int SYS_SetThreadName(SYS_HANDLE hThread, const char* sName) {
  const ThreadObject* const pThread = SysFromHandle<ThreadObject>(hThread);
  return pThread == nullptr || sName == nullptr ? -1 : NameThread(pThread->m_Thread, sName);
}

u64 SYS_GetCurrentThreadId() {
  if (tl_ThreadId == 0) {
    tl_ThreadId = g_NextThreadId.fetch_add(1);
  }
  return tl_ThreadId;
}

SYS_HANDLE SYS_CreateEvent(bool ManualReset, bool InitiallySet) {
  return SysToHandle(new (std::nothrow) EventObject(ManualReset, InitiallySet));
}

void SYS_SetEvent(SYS_HANDLE hEvent) {
  if (EventObject* const pEvent = SysFromHandle<EventObject>(hEvent); pEvent != nullptr) {
    pEvent->m_Signal.Set();
  }
}

int SYS_WaitForObject(SYS_HANDLE h, u32 TimeoutMs) {
  if (EventObject* const pEvent = SysFromHandle<EventObject>(h); pEvent != nullptr) {
    return pEvent->m_Signal.Wait(TimeoutMs);
  }
  if (ThreadObject* const pThread = SysFromHandle<ThreadObject>(h); pThread != nullptr) {
    return pThread->m_pState->Ended.Wait(TimeoutMs);
  }
  return 0;
}

void SYS_CloseHandle(SYS_HANDLE h) {
  SysObject* const pObject = SysFromHandle<SysObject>(h);
  if (pObject != nullptr && pObject->Kind() != SysKind::RegistryKey) {
    delete pObject;
  }
}
