#pragma once

#include "sys/types.h"

// Threads, events and locks. All operations may be called from any thread.

// Opaque handle of a file, event, thread or registry key. 0 stands for no object.
using SYS_HANDLE = std::uintptr_t;

constexpr u32 SYS_INFINITE = 0xFFFFFFFF;
constexpr int SYS_WAIT_TIMEOUT = 258;

// Stands for a recursive lock of this process or, with a name, for one shared by all processes of
// the user. A null lock is valid and does nothing.
struct SYS_MUTEX_INFO;
using SYS_MUTEX = SYS_MUTEX_INFO*;

using SYS_THREAD_FUNC = void(void* pContext);

// Bit 0 of Flags is refused (0): no caller needs a suspended thread. sName and pThreadId may be
// null. The handle is signalled once the thread has ended. 0 on failure.
SYS_HANDLE SYS_CreateThread(SYS_THREAD_FUNC* pfn, void* pContext, u64* pThreadId, const char* sName,
                            u32 Flags);
// Names the thread for debuggers and process lists, cut to what the platform shows. 0 or -1.
int SYS_SetThreadName(SYS_HANDLE hThread, const char* sName);
u64 SYS_GetCurrentThreadId();

SYS_HANDLE SYS_CreateEvent(bool ManualReset, bool InitiallySet);
// 0 is ignored.
void SYS_SetEvent(SYS_HANDLE hEvent);
// Waits for an event or the end of a thread. 0 when signalled or for handle 0, SYS_WAIT_TIMEOUT
// when the time ran out.
int SYS_WaitForObject(SYS_HANDLE h, u32 TimeoutMs);
// Any handle of this layer but a registry key. 0 is ignored.
void SYS_CloseHandle(SYS_HANDLE h);
void SYS_Sleep(u32 Ms);

// Null name: a recursive lock of this process. Otherwise a system-wide lock. Null on failure.
SYS_MUTEX SYS_MUTEX_Create(const char* sName);
// 0 when locked, SYS_WAIT_TIMEOUT when the time ran out.
int SYS_MUTEX_Lock(SYS_MUTEX Mutex, u32 TimeoutMs);
void SYS_MUTEX_Unlock(SYS_MUTEX Mutex);
// Frees and clears the variable. A null variable is ignored.
void SYS_MUTEX_Destroy(SYS_MUTEX* pMutex);

// Holds a lock for a scope, waiting without limit.
class SYS_LOCK_GUARD {
 public:
  explicit SYS_LOCK_GUARD(SYS_MUTEX Mutex) : m_Mutex(Mutex) {
    SYS_MUTEX_Lock(m_Mutex, SYS_INFINITE);
  }
  ~SYS_LOCK_GUARD() { SYS_MUTEX_Unlock(m_Mutex); }
  SYS_LOCK_GUARD(const SYS_LOCK_GUARD&) = delete;
  SYS_LOCK_GUARD& operator=(const SYS_LOCK_GUARD&) = delete;

 private:
  SYS_MUTEX m_Mutex;
};
