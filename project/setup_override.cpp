#include "project/setup_override.h"

#include <cstring>
#include <mutex>

#include "app/engine/app_state.h"
#include "app/engine/log.h"
#include "project/project.h"
#include "project/settings.h"
#include "sys/file.h"
#include "sys/registry.h"
#include "sys/util_string.h"

// What the command line puts in place of stored values, and the one setting kept in the registry.

namespace {

constexpr char kStartActionName[] = "DontShowAgainStartKorvane";
constexpr u32 kMaxStartAction = 2;

struct OVERRIDES {
  std::mutex Lock;  // guards all that follows
  char acKorvaneLog[SYS_MAX_PATH] = {};
  char acVorticLog[SYS_MAX_PATH] = {};
  PROBE_CONNECTION Connection = {};
  bool HasConnection = false;
};

OVERRIDES Overrides;

void SetName(char (&acName)[SYS_MAX_PATH], const char* sName) {
  const std::lock_guard lock(Overrides.Lock);
  acName[0] = '\0';
  if (sName != nullptr && std::strlen(sName) < SYS_MAX_PATH) {
    UTIL_strcpy(acName, sName, SYS_MAX_PATH);
  }
}

bool GetName(const char (&acName)[SYS_MAX_PATH], char* pBuf, u32 BufSize) {
  const std::lock_guard lock(Overrides.Lock);
  if (acName[0] == '\0') {
    return false;
  }
  if (pBuf != nullptr) {
    UTIL_strcpy(pBuf, acName, BufSize);
  }
  return true;
}

// Closes the key at the end of a scope.
class RegistryKey {
 public:
  RegistryKey() : m_Handle(SYS_REG_Open(SYS_REG_CURRENT_USER, APP_GetRegistryRoot())) {}
  ~RegistryKey() { SYS_REG_Close(m_Handle); }
  RegistryKey(const RegistryKey&) = delete;
  RegistryKey& operator=(const RegistryKey&) = delete;
  SYS_HANDLE Get() const { return m_Handle; }

 private:
  SYS_HANDLE m_Handle;
};

}  // namespace

bool SETUP_GetKorvaneLogOverride(char* pBuf, u32 BufSize) {
  return GetName(Overrides.acKorvaneLog, pBuf, BufSize);
}

bool SETUP_GetVorticLogOverride(char* pBuf, u32 BufSize) {
  return GetName(Overrides.acVorticLog, pBuf, BufSize);
}

void SETUP_ClearOverrides() {
  SETUP_OverrideKorvaneLog(nullptr);
  SETUP_OverrideVorticLog(nullptr);
  SETUP_OverrideConnection(nullptr);
}

void SETUP_OverrideKorvaneLog(const char* sName) {
  SetName(Overrides.acKorvaneLog, sName);
}

void SETUP_OverrideVorticLog(const char* sName) {
  SetName(Overrides.acVorticLog, sName);
}

void SETUP_OverrideConnection(const PROBE_CONNECTION* pConnection) {
  const std::lock_guard lock(Overrides.Lock);
  Overrides.HasConnection = pConnection != nullptr;
  if (pConnection != nullptr) {
    Overrides.Connection = *pConnection;
  }
}

void SETUP_GetConnectInfo(PROBE_CONNECTION* pConnection, const PROJ_GENERAL* pGeneral) {
  if (pConnection == nullptr) {
    return;
  }
  std::memset(pConnection, 0, sizeof(*pConnection));
  {
    const std::lock_guard lock(Overrides.Lock);
    if (Overrides.HasConnection) {
      *pConnection = Overrides.Connection;
      return;
    }
  }
  if (pGeneral == nullptr) {
    return;
  }
  pConnection->Mode = pGeneral->ConnectMode;
  pConnection->UseATEModuleSelection = pGeneral->UseATEModuleSelection;
  static_assert(sizeof(pConnection->aATEModuleSel) == sizeof(pGeneral->aATEModuleSel));
  std::memcpy(pConnection->aATEModuleSel, pGeneral->aATEModuleSel,
              sizeof(pConnection->aATEModuleSel));
  switch (pGeneral->ConnectMode) {
    case PROBE_MODE_USB_INDEX:
      pConnection->Number = pGeneral->USBPort;
      break;
    case PROBE_MODE_USB_SN:
      pConnection->Number = pGeneral->USBSerialNo;
      break;
    case PROBE_MODE_IP:
      UTIL_strcpy(pConnection->HostName, pGeneral->HostName, sizeof(pConnection->HostName));
      break;
    default:
      break;
  }
}

u32 SETUP_GetAppStartAction() {
  const RegistryKey key;
  u32 type = 0;
  u32 value = 0;
  u32 size = sizeof(value);
  const bool isFound = SYS_REG_Query(key.Get(), kStartActionName, &type, &value, &size) == 0 &&
                       type == SYS_REG_TYPE_U32;
  return isFound && value <= kMaxStartAction ? value : 0;
}

void SETUP_SetAppStartAction(u32 Action) {
  const RegistryKey key;
  const u32 error =
      SYS_REG_Set(key.Get(), kStartActionName, SYS_REG_TYPE_U32, &Action, sizeof(Action));
  if (error != 0) {
    APP_ShowWarning("Could not store what happens at program start.");
  }
}
