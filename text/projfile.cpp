#include "text/projfile.h"

#include <cstdlib>
#include <memory>

#include "text/projfile_store.h"

PROJFILE_HOOKS PROJFILE_Hooks = {[](const char*) {}};

namespace {

enum class InitState : u8 { NotSetUp, Ready, ShutDown };

// All three live as long as the process, so that an operation at its very end finds the state.
std::mutex g_Lock;  // guards the two below and the store
InitState g_State = InitState::NotSetUp;
ProjStore* g_pStore = nullptr;

void FreeStore(InitState NewState) {
  const std::lock_guard lock(g_Lock);
  delete g_pStore;
  g_pStore = nullptr;
  g_State = NewState;
}

}  // namespace

ProjAccess::ProjAccess() : m_Lock(g_Lock) {
  static bool IsAtExitSet = false;
  if (g_State == InitState::NotSetUp) {
    g_pStore = new ProjStore;
    g_State = InitState::Ready;
    if (!IsAtExitSet) {
      IsAtExitSet = std::atexit(&PROJFILE_Shutdown) == 0;
    }
  }
  m_pStore = g_pStore;
}

ProjAccess::~ProjAccess() {
  m_Lock.unlock();
  if (!m_Message.empty()) {
    PROJFILE_Hooks.pfShowError(m_Message.c_str());
  }
}

ProjStore* ProjAccess::GetOpen() {
  if (m_pStore == nullptr) {
    return nullptr;
  }
  if (!m_pStore->IsOpen) {
    Fail("No project file opened.");
    return nullptr;
  }
  return m_pStore;
}

int PROJFILE_Close() {
  const ProjAccess access;
  ProjStore* const pStore = access.Get();
  if (pStore == nullptr) {
    return -1;
  }
  *pStore = ProjStore();
  return 0;
}

void PROJFILE_BeginRewrite() {
  const ProjAccess access;
  if (ProjStore* const pStore = access.Get(); pStore != nullptr) {
    pStore->Content.reset();
    ++pStore->NumChanges;
  }
}

const char* PROJFILE_GetName() {
  const ProjAccess access;
  return access.Get() != nullptr ? access.Get()->acFileName : nullptr;
}

int PROJFILE_IsOpen() {
  const ProjAccess access;
  if (access.Get() == nullptr) {
    return -1;
  }
  return access.Get()->IsOpen ? 1 : 0;
}

int PROJFILE_HasSection(const char* pSection) {
  const ProjAccess access;
  const ProjStore* const pStore = access.Get();
  return pStore != nullptr && pStore->Content && pStore->Content->HasSection(pSection) ? 1 : 0;
}

u32 PROJFILE_GetLine(const char* pSection, const char* pKey) {
  const ProjAccess access;
  ProjStore* const pStore = access.Get();
  return pStore != nullptr && pStore->Content ? pStore->Content->GetLineNumber(pSection, pKey) : 0;
}

void PROJFILE_Shutdown() {
  FreeStore(InitState::ShutDown);
}

void PROJFILE_Reset() {
  FreeStore(InitState::NotSetUp);
}
