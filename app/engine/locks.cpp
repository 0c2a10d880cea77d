#include "app/engine/locks.h"

namespace {

// Created, used and destroyed on the application thread.
SYS_MUTEX AppLock = nullptr;

}  // namespace

SYS_MUTEX APP_GetLock() {
  return AppLock;
}

bool APP_CreateLock() {
  if (AppLock == nullptr) {
    AppLock = SYS_MUTEX_Create(nullptr);
  }
  return AppLock != nullptr;
}

void APP_DestroyLock() {
  SYS_MUTEX_Destroy(&AppLock);
}
