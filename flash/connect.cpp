#include "flash/connect.h"

#include <algorithm>
#include <optional>

#include "app/engine/frontend.h"
#include "app/engine/log.h"
#include "catalogue/catalogue.h"
#include "flash/connect_internal.h"
#include "flash/custom.h"
#include "flash/link.h"
#include "flash/operation.h"
#include "project/project.h"

// The connection as a whole: when it comes up, what it holds, how it ends.

namespace {

// In force unless the project overrides the two of erasing.
constexpr u32 kTimeoutBlockProtMs = 5000;
constexpr u32 kTimeoutEraseSectorMs = 5000;
constexpr u32 kTimeoutEraseChipMs = 400000;
// At least twice what the slowest family typically takes for a MiB.
constexpr u32 kTimeoutEraseMiBMs = 12500;
// For what a chip still has to do when it is left: longer than any sector or page takes.
constexpr u32 kTimeoutLeaveMs = 3000;

// The connection that stands.
struct Connection {
  FLASH_CHIP Chip;
  SPI_FLASH_INFO Project;  // the project's description behind the connect: another one ends it
  u32 NumErrors = 0;       // of the library, when the connection came up
};
std::optional<Connection>& TheConnection() {
  static std::optional<Connection> connection;
  return connection;
}

// An error that the library told while no operation ran: a link that broke then may say so only
// once, and an operation on it would wait for a chip that doesn't answer. (One that an operation
// saw has ended that operation, and the connection with it.)
bool HasComplainedIdle(const Connection& connection) {
  const bool isOperationFailing = APP_GetLogDepth() != 0 && APP_GetErrorCount() != 0;
  return !isOperationFailing && DRIVER_GetNumErrors() != connection.NumErrors;
}

bool IsOfProject(const Connection& connection) {
  SPI_FLASH_INFO info{};
  if (PROJECT_IsOpen() != 0) {
    PROJECT_GetFlash(&info);
  }
  return info == connection.Project;
}

// On every call, so that a changed setting counts from the next operation.
void RefreshTimeouts(FLASH_CHIP* pChip) {
  PROJ_PRODUCTION production{};
  PROJECT_GetProduction(&production);
  const u64 numMiB = FLASH_InfoTotalSize(pChip->Info) >> 20;
  const u64 eraseChipMs = std::max<u64>(kTimeoutEraseChipMs, numMiB * kTimeoutEraseMiBMs);
  const bool isOverridden = production.OverrideTimeouts != 0;
  pChip->TimeoutBlockProtMs = kTimeoutBlockProtMs;
  pChip->TimeoutEraseSectorMs = isOverridden ? production.TimeoutEraseSect : kTimeoutEraseSectorMs;
  pChip->TimeoutEraseChipMs = isOverridden
                                  ? production.TimeoutEraseChip
                                  : static_cast<u32>(std::min<u64>(eraseChipMs, 0x7FFFFFFF));
}

// A library without the function has nothing to leave.
void LeaveFastMode(FLASH_CHIP* pChip) {
  if (!pChip->HasFastMode) {
    return;
  }
  if (auto* pf = VORTIC_GetFunctionAs<VORTIC_LEAVE_FAST>(VORTIC_FUNC_LEAVE_FAST)) {
    pf();
  }
  pChip->HasFastMode = false;
}

void ShowNotConnected() {
  CONNECT_SetStatusText("Not connected", 1);
  CONNECT_SetStatusText("", 2);
}

int RunCustomSteps(std::span<const CUSTOM_STEP> Steps, const char* sName) {
  if (CUSTOM_RunSteps(Steps, sName) == 0) {
    return 0;
  }
  APP_LogErrorf(APP_IsOperationCanceled() ? APP_CAUSE::Canceled : APP_CAUSE::Project,
                "Could not perform custom %s.", sName);
  return -1;
}

// The probe level in a section of its own. Reset is held within it, so that an error there is told
// with it. Chip select may stand where a client that died has left it.
bool ConnectProbe() {
  APP_LOG_SECTION section("Connecting to probe/ programmer...");
  if (!PROBE_Open(true, true)) {
    section.SetEnd("Failed to connect");
    return false;
  }
  FLASH_HoldReset();
  VORTIC_DeactivateCS();
  section.SetEnd("Connected successfully");
  return APP_GetErrorCount() == 0;
}

// Before the chip is addressed at all: the board may have to make way first.
bool RunInitSequence() {
  PROJ_CPU cpu{};
  PROJECT_GetCpu(&cpu);
  return RunCustomSteps(cpu.aInitSteps, "init sequence") == 0;
}

// Identification may have made another device of the chip: what was set up before it follows.
bool FollowIdentification(FLASH_CHIP* pChip) {
  const SPI_FLASH_INFO& info = pChip->Info;
  if (!PROBE_IsGang() && CONNECT_GetInterface(info) != CONNECT_GetSelectedInterface() &&
      CONNECT_SelectInterface(info) != 0) {
    return false;
  }
  if (info.UseQuadMode == 0 || !pChip->IsNor()) {
    return true;
  }
  return RunCustomSteps(info.aQuadEnableInitSteps, "quad enable init sequence") == 0 &&
         CONNECT_ProveQuad(pChip) == 0;
}

// NumErrors: errors of the library before the connect. One that came meanwhile means that some step
// without a result has failed.
bool ConnectFlash(FLASH_CHIP* pChip, u32 NumErrors) {
  APP_LOG_SECTION section("Connecting to SPI Flash...");
  bool isReached = CONNECT_ReachChip(pChip) == 0 && FollowIdentification(pChip);
  if (isReached) {
    CONNECT_ChooseRead(pChip);
    RefreshTimeouts(pChip);
    SPI_EnterFastMode(pChip);
    isReached = DRIVER_GetNumErrors() == NumErrors;
  }
  section.SetEnd(isReached ? "Connected successfully" : "Failed to connect");
  return isReached;
}

bool IsCanceled() {
  if (!APP_IsOperationCanceled()) {
    return false;
  }
  APP_LogError(APP_CAUSE::Canceled, "Connecting canceled by user");
  return true;
}

// A failure at any step closes the probe, so that the next attempt starts clean.
int MakeConnection() {
  const APP_PROGRESS progress("Connecting ...");
  const u32 numErrors = DRIVER_GetNumErrors();
  Connection connection;
  if (!ConnectProbe() || !RunInitSequence() || !ConnectFlash(&connection.Chip, numErrors) ||
      IsCanceled()) {
    const DRIVER_QUIET quiet;
    LeaveFastMode(&connection.Chip);
    if (PROBE_IsOpen()) {
      CONNECT_LeaveChip(nullptr);
    }
    PROBE_Close();
    CONNECT_SetStatusText("Failed to connect", 0);
    ShowNotConnected();
    return -1;
  }
  connection.NumErrors = numErrors;
  if (PROJECT_IsOpen() != 0) {
    PROJECT_GetFlash(&connection.Project);
  }
  TheConnection() = std::move(connection);
  FLASH_Hooks.pfOnConnectionChanged();
  return 0;
}

}  // namespace

FLASH_HOOKS FLASH_Hooks = {.pfOnConnectionChanged = [] {},
                           .pfOnProbeOpening = [](bool) {},
                           .pfSetStatusText = [](const char*, u32) {},
                           .pfOnImageChanged = [](MEMAREA*) {}};

FLASH_CHIP* CONNECT_GetChip() {
  return TheConnection() ? &TheConnection()->Chip : nullptr;
}

void FLASH_ResetConnection() {
  TheConnection().reset();
  PROBE_Forget();
}

void CONNECT_SetStatusText(const char* sText, u32 Index) {
  FLASH_Hooks.pfSetStatusText(sText, Index);
}

int FLASH_Connect() {
  std::optional<Connection>& connection = TheConnection();
  if (connection && (!IsOfProject(*connection) || HasComplainedIdle(*connection))) {
    FLASH_Disconnect();
  }
  if (!connection && MakeConnection() != 0) {
    return -1;
  }
  RefreshTimeouts(&connection->Chip);
  return 0;
}

int FLASH_EnsureConnected() {
  return FLASH_Connect();
}

bool FLASH_IsConnected() {
  return TheConnection().has_value();
}

// The record goes down only behind the library's calls, which need it. The closing line appears
// also behind an operation that has failed, when sections close without theirs.
void FLASH_Disconnect() {
  std::optional<Connection>& connection = TheConnection();
  if (!connection) {
    return;
  }
  const APP_LOG_SECTION section("Disconnecting ...");
  {
    // Behind a failure or a cancel the library's queue has not been asked for its end.
    std::optional<DRIVER_QUIET> quiet;
    if (APP_GetErrorCount() != 0) {
      quiet.emplace();
    }
    LeaveFastMode(&connection->Chip);
    CONNECT_LeaveChip(&connection->Chip);
  }
  PROBE_Close();
  connection.reset();
  ShowNotConnected();
  FLASH_Hooks.pfOnConnectionChanged();
  APP_LogOutcome("Disconnected");
}

// A chip that is still busy would ignore the rest; one that doesn't answer says so to nobody's use
// behind a failure, which has been told.
void CONNECT_LeaveChip(const FLASH_CHIP* pChip) {
  const bool isFailed = APP_GetErrorCount() != 0;
  if (isFailed) {
    VORTIC_DeactivateCS();
  }
  u32 millivolts = 0;
  if (pChip == nullptr || (isFailed && VORTIC_GetTargetVoltage(&millivolts) != 0)) {
    return;
  }
  const SPI_FLASH_INFO& info = pChip->Info;
  if (isFailed && !LINK_IsReadyWithin(*pChip, kTimeoutLeaveMs)) {
    APP_LogInfo("The chip is left busy, or it does not answer: switch the board off and on.");
    return;
  }
  if (CONNECT_Wants4ByteMode(info)) {
    SPI_SendCmd(info.CmdWriteEnable);
    SPI_SendCmd(info.CmdExit4ByteMode);
  }
  if (pChip->HasWriteLatch && (isFailed || CONNECT_Wants4ByteMode(info))) {
    SPI_SendCmd(info.CmdWriteDisable);
  }
}
