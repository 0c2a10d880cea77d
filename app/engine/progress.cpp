#include "app/engine/progress.h"

#include <algorithm>
#include <new>

#include "sys/memory.h"
#include "sys/util_string.h"

namespace {

// Runs Change under the record's lock and asks for a refresh behind it. The refresh runs without
// the lock, so that whatever shows the record may take its own locks before it reads the record.
template <class CHANGE>
void ChangeRecord(PROGRESS_INFO* p, CHANGE change) {
  if (p == nullptr) {
    return;
  }
  void (*pfRefresh)(PROGRESS_INFO*, void*) = nullptr;
  void* pContext = nullptr;
  {
    SYS_LOCK_GUARD guard(p->Lock);
    change(*p);
    pfRefresh = p->pfRefresh;
    pContext = p->pRefreshContext;
  }
  if (pfRefresh != nullptr) {
    pfRefresh(p, pContext);
  }
}

}  // namespace

PROGRESS_INFO* PROGRESS_Create(const char* sTitle, const char* sText, u32 Flags) {
  void* pBlock = SYS_MEM_Alloc(sizeof(PROGRESS_INFO), "ProgressDialog.cpp: Instance");
  if (pBlock == nullptr) {
    return nullptr;
  }
  PROGRESS_INFO* p = new (pBlock) PROGRESS_INFO{};
  p->Lock = SYS_MUTEX_Create(nullptr);
  if (p->Lock == nullptr) {
    SYS_MEM_Free(pBlock);
    return nullptr;
  }
  UTIL_strcpy(p->sTitle, sTitle, sizeof(p->sTitle));
  UTIL_strcpy(p->sText, sText, sizeof(p->sText));
  p->Flags = Flags;
  return p;
}

void PROGRESS_Free(PROGRESS_INFO* p) {
  if (p == nullptr) {
    return;
  }
  SYS_MUTEX_Destroy(&p->Lock);
  SYS_MEM_Free(p);
}

void PROGRESS_SetRefresh(PROGRESS_INFO* p, void (*pfRefresh)(PROGRESS_INFO*, void*),
                         void* pContext) {
  if (p == nullptr) {
    return;
  }
  SYS_LOCK_GUARD guard(p->Lock);
  p->pfRefresh = pfRefresh;
  p->pRefreshContext = pContext;
}

void PROGRESS_SetRange(PROGRESS_INFO* p, u32 Min, u32 Max) {
  ChangeRecord(p, [=](PROGRESS_INFO& info) {
    info.Value = Min;
    info.Min = Min;
    info.Max = std::max(Min, Max);
  });
}

void PROGRESS_SetValue(PROGRESS_INFO* p, u32 Value) {
  ChangeRecord(p, [=](PROGRESS_INFO& info) { info.Value = Value; });
}

void PROGRESS_AddValue(PROGRESS_INFO* p, u32 Delta) {
  // Stays at the largest value rather than starting over at 0: a bar never runs backwards.
  ChangeRecord(p, [=](PROGRESS_INFO& info) { info.Value += std::min(Delta, ~info.Value); });
}

void PROGRESS_SetText(PROGRESS_INFO* p, const char* sText) {
  ChangeRecord(p, [=](PROGRESS_INFO& info) { UTIL_strcpy(info.sText, sText, sizeof(info.sText)); });
}

void PROGRESS_SetSubText(PROGRESS_INFO* p, const char* sText) {
  ChangeRecord(
      p, [=](PROGRESS_INFO& info) { UTIL_strcpy(info.sSubText, sText, sizeof(info.sSubText)); });
}

void PROGRESS_CountBytes(PROGRESS_INFO* p) {
  ChangeRecord(p, [](PROGRESS_INFO& info) { info.Flags |= PROGRESS_BYTES; });
}

int PROGRESS_IsCanceled(PROGRESS_INFO* p) {
  if (p == nullptr) {
    return -1;
  }
  SYS_LOCK_GUARD guard(p->Lock);
  return p->Canceled != 0 ? 1 : 0;
}

void PROGRESS_Cancel(PROGRESS_INFO* p) {
  ChangeRecord(p, [](PROGRESS_INFO& info) { info.Canceled = 1; });
}

u32 PROGRESS_GetShift(u64 Max) {
  u32 shift = 0;
  while ((Max >> shift) > 0xFFFFFFFFu) {
    ++shift;
  }
  return shift;
}
