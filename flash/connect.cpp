#include "flash/connect.h"

#include "app/engine/frontend.h"
#include "app/engine/log.h"
#include "catalogue/catalogue.h"
#include "flash/connect_internal.h"
#include "flash/custom.h"
#include "project/project.h"
#include "project/settings.h"

namespace {

// In force unless the project overrides the two of erasing.
constexpr u32 kTimeoutBlockProtMs = 5000;
constexpr u32 kTimeoutEraseSectorMs = 5000;
constexpr u32 kTimeoutEraseChipMs = 400000;

constexpr FLASH_CONNECTION kClosed = {.ProbeIsOpen = 0,
                                      .ProbeIsGang = 0,
                                      .IsConnected = 0,
                                      .BlockProtectionRemoved = 0,
                                      .FastMode = 0,
                                      .TimeoutBlockProtMs = kTimeoutBlockProtMs,
                                      .TimeoutEraseSectorMs = kTimeoutEraseSectorMs,
                                      .TimeoutEraseChipMs = kTimeoutEraseChipMs,
                                      .TargetPowerOn = 0,
                                      .TargetPowerDelayMs = 0,
                                      .FixedVTrefOn = 0,
                                      .FixedVTrefMv = 0};

// Errors of the library when the connection came up.
u32 NumErrorsAtConnect;

void DoNothing() {}

// An error that the library told while no operation ran: a link that broke then may say so only
// once, and an operation on it would wait for a chip that doesn't answer. (One that an operation
// saw has ended that operation, and the connection with it.)
bool HasComplainedIdle() {
  const bool isOperationFailing = APP_GetLogDepth() != 0 && APP_GetErrorCount() != 0;
  return !isOperationFailing && DRIVER_GetNumErrors() != NumErrorsAtConnect;
}

// On every call, so that a changed setting counts from the next operation.
void RefreshTimeouts() {
  PROJ_PRODUCTION production{};
  PROJECT_GetProduction(&production);
  const bool isOverridden = production.OverrideTimeouts != 0;
  FLASH_CONNECTION& state = FLASH_State();
  state.TimeoutBlockProtMs = kTimeoutBlockProtMs;
  state.TimeoutEraseSectorMs = isOverridden ? production.TimeoutEraseSect : kTimeoutEraseSectorMs;
  state.TimeoutEraseChipMs = isOverridden ? production.TimeoutEraseChip : kTimeoutEraseChipMs;
}

// A library without the function has nothing to leave.
void LeaveFastMode() {
  FLASH_CONNECTION& state = FLASH_State();
  if (state.FastMode == 0) {
    return;
  }
  if (auto* pf = VORTIC_GetFunctionAs<VORTIC_LEAVE_FAST>(VORTIC_FUNC_LEAVE_FAST)) {
    pf();
  }
  state.FastMode = 0;
}

void ShowNotConnected() {
  CONNECT_SetStatusText("Not connected", 1);
  CONNECT_SetStatusText("", 2);
}

int RunCustomSteps(std::span<const CUSTOM_STEP> Steps, const char* sName) {
  if (CUSTOM_RunSteps(Steps, sName) == 0) {
    return 0;
  }
  APP_LogErrorf("Could not perform custom %s.", sName);
  return -1;
}

// The probe level in a section of its own. Reset is held within it, so that an error there is told
// with it.
bool ConnectProbe() {
  APP_LOG_SECTION section("Connecting to probe/ programmer...");
  if (!PROBE_Open(true, true)) {
    section.SetEnd("Failed to connect");
    return false;
  }
  FLASH_HoldReset();
  section.SetEnd("Connected successfully");
  return true;
}

// Before the chip is addressed at all: the board may have to make way first.
bool RunInitSequence() {
  PROJ_CPU cpu{};
  PROJECT_GetCpu(&cpu);
  return RunCustomSteps(cpu.aInitSteps, "init sequence") == 0;
}

// Identification may have made another device of the chip: what was set up before it follows.
bool FollowIdentification() {
  SPI_RefreshInfo();
  if (FLASH_State().ProbeIsGang == 0 && CONNECT_GetInterface() != CONNECT_SelectedInterface() &&
      CONNECT_SelectInterface() != 0) {
    return false;
  }
  const SPI_FLASH_INFO& info = SPI_Info();
  return info.UseQuadMode == 0 || info.FlashType != FLASH_TYPE_NOR ||
         RunCustomSteps(info.aQuadEnableInitSteps, "quad enable init sequence") == 0;
}

// NumErrors: errors of the library before the connect. One that came meanwhile means that some step
// without a result has failed.
bool ConnectFlash(u32 NumErrors) {
  APP_LOG_SECTION section("Connecting to SPI Flash...");
  bool isReached = FLASH_ConnectChip() == 0 && FollowIdentification();
  if (isReached) {
    SPI_EnterFastMode();
    isReached = DRIVER_GetNumErrors() == NumErrors;
  }
  section.SetEnd(isReached ? "Connected successfully" : "Failed to connect");
  return isReached;
}

}  // namespace

FLASH_HOOKS FLASH_Hooks = {DoNothing, [](MEMAREA*) {}};

FLASH_CONNECTION& FLASH_State() {
  static FLASH_CONNECTION state = kClosed;
  return state;
}

void FLASH_ResetConnection() {
  FLASH_State() = kClosed;
}

void FLASH_SetTargetPower(u32 Enable, u32 DelayMs) {
  FLASH_State().TargetPowerOn = Enable;
  FLASH_State().TargetPowerDelayMs = DelayMs;
}

void FLASH_SetFixedVTref(u32 Enable, u32 Millivolts) {
  FLASH_State().FixedVTrefOn = Enable;
  FLASH_State().FixedVTrefMv = Millivolts;
}

void CONNECT_SetStatusText(const char* sText, u32 Index) {
  if (APP_FRONTEND* pFrontEnd = APP_GetFrontEnd()) {
    pFrontEnd->SetStatusText(sText, Index);
  }
}

// A failure at any step closes the probe, so that the next attempt starts clean.
int FLASH_Connect() {
  FLASH_CONNECTION& state = FLASH_State();
  RefreshTimeouts();
  if (state.IsConnected != 0) {
    if (!HasComplainedIdle()) {
      return 0;
    }
    FLASH_Disconnect();
  }
  state.FastMode = 0;
  const u32 numErrors = DRIVER_GetNumErrors();
  if (!ConnectProbe() || !RunInitSequence() || !ConnectFlash(numErrors)) {
    LeaveFastMode();
    PROBE_Close();
    CONNECT_SetStatusText("Failed to connect", 0);
    ShowNotConnected();
    return -1;
  }
  state.BlockProtectionRemoved = 0;
  state.IsConnected = 1;
  NumErrorsAtConnect = numErrors;
  FLASH_Hooks.pfOnConnectionChanged();
  return 0;
}

int FLASH_EnsureConnected() {
  return FLASH_Connect();
}

bool FLASH_IsConnected() {
  return FLASH_State().IsConnected != 0;
}

// Reached from everywhere, and also as the end of each failed operation. The flags go down only
// behind the library's calls, which need them.
void FLASH_Disconnect() {
  FLASH_CONNECTION& state = FLASH_State();
  if (state.IsConnected == 0) {
    return;
  }
  APP_LOG_SECTION section("Disconnecting ...");
  section.SetEnd("Disconnected");
  LeaveFastMode();
  PROBE_Close();
  state.IsConnected = 0;
  state.BlockProtectionRemoved = 0;
  ShowNotConnected();
  FLASH_Hooks.pfOnConnectionChanged();
}

void FLASH_EndOperation() {
  if (SETUP_GetAutoDisconnect() != 0) {
    FLASH_Disconnect();
  }
}
