#include "app/engine/frontend.h"

#include <algorithm>
#include <array>
#include <atomic>

#include "app/engine/app_state.h"
#include "app/engine/log.h"
#include "app/engine/log_internal.h"

namespace {

// Set before the worker starts; atomic because lines come from any thread.
std::atomic<APP_FRONTEND*> FrontEnd{nullptr};

// Progress records of the operation and of the ones that it runs within itself, newest last. All of
// it belongs to the application thread.
struct ProgressStack {
  std::array<PROGRESS_INFO*, 16> apInfo{};
  u32 NumInfos = 0;
  // Cancel was pressed in a record that is closed by now: it was meant for the whole operation.
  bool WasCanceled = false;

  // A record beyond the depth works as any other, but isn't polled.
  void Push(PROGRESS_INFO* p) {
    if (p != nullptr && NumInfos < apInfo.size()) {
      apInfo[NumInfos++] = p;
    }
  }

  // Operations may close their records in any order.
  void Remove(const PROGRESS_INFO* p) {
    u32 numKept = 0;
    for (u32 i = 0; i < NumInfos; ++i) {
      if (apInfo[i] != p) {
        apInfo[numKept++] = apInfo[i];
      }
    }
    NumInfos = numKept;
  }

  // Pressed in any of them: the operation within is part of the one around it.
  bool IsCanceled() const {
    return WasCanceled || std::any_of(apInfo.begin(), apInfo.begin() + NumInfos,
                                      [](PROGRESS_INFO* p) { return PROGRESS_IsCanceled(p) == 1; });
  }
};
ProgressStack Progress;

// What operations ask of the dialog; no front end gives the bit a meaning of its own.
constexpr u32 OPERATION_PROGRESS_FLAGS = 16;

}  // namespace

void APP_SetFrontEnd(APP_FRONTEND* pFrontEnd) {
  FrontEnd = pFrontEnd;
}

APP_FRONTEND* APP_GetFrontEnd() {
  return FrontEnd;
}

PROGRESS_INFO* APP_CreateProgress(const char* sText) {
  APP_FRONTEND* pFrontEnd = APP_GetFrontEnd();
  if (pFrontEnd == nullptr) {
    return nullptr;
  }
  PROGRESS_INFO* p =
      pFrontEnd->CreateProgressDialog(APP_GetName(), sText, OPERATION_PROGRESS_FLAGS);
  Progress.Push(p);
  return p;
}

void APP_CloseProgress(PROGRESS_INFO** ppInfo) {
  if (ppInfo == nullptr || *ppInfo == nullptr) {
    return;
  }
  if (APP_GetLogDepth() != 0 && PROGRESS_IsCanceled(*ppInfo) == 1) {
    Progress.WasCanceled = true;
  }
  Progress.Remove(*ppInfo);
  if (APP_FRONTEND* pFrontEnd = APP_GetFrontEnd()) {
    pFrontEnd->CloseProgressDialog(ppInfo);
  }
  *ppInfo = nullptr;
}

void PROGRESS_BeginOperation() {
  Progress.WasCanceled = false;
}

bool APP_IsOperationCanceled() {
  return Progress.IsCanceled();
}

int APP_IsOperationAlive() {
  if (APP_GetErrorCount() != 0) {
    return 0;
  }
  return Progress.IsCanceled() ? 0 : 1;
}
