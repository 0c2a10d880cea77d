#include <array>
#include <cstring>

#include "app/engine/log.h"
#include "flash/connect_internal.h"
#include "flash/operation.h"
#include "flash/spi.h"
#include "project/project.h"
#include "project/settings.h"
#include "sys/file.h"
#include "sys/thread.h"
#include "sys/util_format.h"

// The probe level: the library open on a probe, the target's interface set and its power checked.

namespace {

constexpr u32 kMinTargetMv = 1000;
constexpr u32 kResetHoldMs = 10;
constexpr u32 kResetReleaseMs = 20;
constexpr int kNoPower = -259;

// State of the probe level. Application thread only.
struct ProbeState {
  bool IsOpen = false;
  bool IsGang = false;
  int Interface = 0;  // the one selected
  u32 TargetPowerOn = 0;
  u32 TargetPowerDelayMs = 0;
  u32 FixedVTrefOn = 0;
  u32 FixedVTrefMv = 0;
};

ProbeState& Probe() {
  static ProbeState state;
  return state;
}

// While it lives no data window asks for attention: a job that connects must not be interrupted.
class OpeningNotice {
 public:
  OpeningNotice() { FLASH_Hooks.pfOnProbeOpening(true); }
  ~OpeningNotice() { FLASH_Hooks.pfOnProbeOpening(false); }
  OpeningNotice(const OpeningNotice&) = delete;
  OpeningNotice& operator=(const OpeningNotice&) = delete;
};

// Products that hold several programmer modules and have no target interface of their own.
bool IsGangProduct(i32 ProductId) {
  switch (ProductId) {
    case 27:
    case 30:
    case 41:
    case 42:
    case 48:
    case 49:
      return true;
    default:
      return false;
  }
}

// Before each selection, so that the library's log holds the opening too.
void SetLogFile() {
  if (SETUP_GetEnableVorticLog(true) == 0) {
    VORTIC_SetLogFile(nullptr);
    return;
  }
  std::array<char, SYS_MAX_PATH> acName{};
  SETUP_GetVorticLogFile(acName.data(), acName.size(), true);
  VORTIC_SetLogFile(acName.data());
}

// The command line's choice wins over the project's; without a project there is device 0.
void GetConnection(PROBE_CONNECTION* pConnection) {
  PROJ_GENERAL general{};
  if (PROJECT_IsOpen() != 0) {
    PROJECT_GetGeneral(&general);
  }
  *pConnection = {};
  SETUP_GetConnectInfo(pConnection, &general);
  pConnection->HostName[sizeof(pConnection->HostName) - 1] = '\0';
  pConnection->Nickname[sizeof(pConnection->Nickname) - 1] = '\0';
}

// Writes how the probe is reached.
void LogConnection(const PROBE_CONNECTION& connection) {
  switch (connection.Mode) {
    case PROBE_MODE_USB_SN:
      APP_LogInfof("Connecting via USB to probe/ programmer with SN %u", connection.Number);
      break;
    case PROBE_MODE_IP:
      APP_LogInfof("Connecting via TCP/IP to %s", connection.HostName);
      break;
    case PROBE_MODE_USB_NICKNAME:
      APP_LogInfof("Connecting via USB to probe/ programmer with nickname \"%s\"",
                   connection.Nickname);
      break;
    default:
      APP_LogInfof("Connecting via USB to probe/ programmer device %u", connection.Number);
  }
}

// A target whose supply the probe can't sense: the level is given to it instead.
int SetFixedVTref() {
  const ProbeState& state = Probe();
  if (state.FixedVTrefOn == 0) {
    return 0;
  }
  std::array<char, 64> acCommand{};
  std::array<char, 128> acError{};
  UTIL_snprintf(acCommand.data(), acCommand.size(), "SetVTrefTmp %u", state.FixedVTrefMv);
  const int result = VORTIC_ExecCommand(acCommand.data(), acError.data(), acError.size());
  if (result < 0) {
    APP_LogError(APP_CAUSE::DriverLibrary, acError.data());
  }
  return result;
}

// A probe that can't supply power doesn't matter as long as the target has some, which is measured.
void RunCommand(const char* sCommand) {
  std::array<char, 128> acError{};
  VORTIC_ExecCommand(sCommand, acError.data(), acError.size());
}

// Both after switching on and after switching off, for the capacitors of the board.
void WaitTargetPower() {
  if (Probe().TargetPowerOn != 0) {
    FLASH_SleepAlive(Probe().TargetPowerDelayMs);
  }
}

// 0, or -259 with the library closed.
// An unpowered chip answers with whatever the lines float to, which may look like data.
int CheckPower() {
  if (Probe().TargetPowerOn != 0) {
    RunCommand("SupplyPower = 1");
    WaitTargetPower();
  }
  u32 millivolts = 0;
  VORTIC_GetTargetVoltage(&millivolts);
  if (millivolts >= kMinTargetMv) {
    FLASH_HoldReset();
    return 0;
  }
  APP_LogError(APP_CAUSE::NoTargetVoltage, "Target system has no power");
  if (Probe().TargetPowerOn != 0) {
    RunCommand("DisablePowerSupplyOnClose");
  }
  VORTIC_Close();
  WaitTargetPower();
  return kNoPower;
}

// Closes the library when it fails.
bool SetUpTarget(bool PowerCheck) {
  SPI_FLASH_INFO info{};
  PROJECT_GetFlash(&info);
  if (SetFixedVTref() < 0 || CONNECT_SelectInterface(info) != 0) {
    VORTIC_Close();
    return false;
  }
  return !PowerCheck || CheckPower() == 0;
}

// From here on every way out that fails has to close the library again, or the next attempt would
// find it open on a probe that nobody knows of. NumErrors: of the library, before the selection.
bool OpenLibrary(bool PowerCheck, u32 NumErrors) {
  // What the probe says of itself is shown whatever the log level.
  if (const char* sError = VORTIC_OpenEx(AddLogLine)) {
    const bool isBusy = std::strstr(sError, "is in use") != nullptr;
    APP_LogError(isBusy ? APP_CAUSE::ProbeBusy : APP_CAUSE::NoProbe, sError);
    return false;
  }
  Probe().Interface = 0;
  Probe().IsGang = IsGangProduct(VORTIC_GetProductId());
  if (PROJECT_IsOpen() != 0 && !Probe().IsGang && !SetUpTarget(PowerCheck)) {
    return false;
  }
  if (DRIVER_GetNumErrors() != NumErrors) {
    VORTIC_Close();
    return false;
  }
  return true;
}

}  // namespace

int CONNECT_GetInterface(const SPI_FLASH_INFO& Info) {
  return Info.UseQuadMode != 0 && Info.FlashType == FLASH_TYPE_NOR ? VORTIC_TIF_QSPI
                                                                   : VORTIC_TIF_SPI;
}

int CONNECT_GetSelectedInterface() {
  return Probe().Interface;
}

int CONNECT_SelectInterface(const SPI_FLASH_INFO& Info) {
  const int interface = CONNECT_GetInterface(Info);
  if ((VORTIC_GetInterfaces() >> interface & 1) == 0) {
    APP_LogErrorf(APP_CAUSE::NoProbe,
                  "The connected probe/ programmer (S/N %d) does not support the %s interface",
                  VORTIC_GetSN(), interface == VORTIC_TIF_QSPI ? "QSPI" : "SPI");
    return -1;
  }
  PROJ_CPU cpu{};
  PROJECT_GetCpu(&cpu);
  VORTIC_SelectInterface(interface);
  VORTIC_SetSpeed(cpu.Speed0);
  Probe().Interface = interface;
  return 0;
}

bool PROBE_IsOpen() {
  return Probe().IsOpen;
}

bool PROBE_IsGang() {
  return Probe().IsGang;
}

void FLASH_SetTargetPower(u32 Enable, u32 DelayMs) {
  Probe().TargetPowerOn = Enable;
  Probe().TargetPowerDelayMs = DelayMs;
}

void FLASH_SetFixedVTref(u32 Enable, u32 Millivolts) {
  Probe().FixedVTrefOn = Enable;
  Probe().FixedVTrefMv = Millivolts;
}

int PROBE_Select(bool Announce) {
  SetLogFile();
  PROBE_CONNECTION connection;
  GetConnection(&connection);
  if (Announce && APP_GetLogDepth() != 0) {
    LogConnection(connection);
  }
  switch (connection.Mode) {
    case PROBE_MODE_USB_SN:
      if (VORTIC_SelectBySN(connection.Number) == -1) {
        APP_LogErrorf(
            APP_CAUSE::NoProbe,
            "Probe/ Programmer with SN %u not found.\nCheck the project settings and your "
            "connected probe/ programmer.",
            connection.Number);
        return -1;
      }
      break;
    case PROBE_MODE_IP:
      VORTIC_SelectIP(connection.HostName, 0);
      break;
    case PROBE_MODE_USB_NICKNAME:
      VORTIC_SelectByNickname(connection.Nickname);
      break;
    default:
      VORTIC_SelectUSB(static_cast<int32_t>(connection.Number));
  }
  return 0;
}

bool PROBE_Open(bool CheckPower, bool Announce) {
  const OpeningNotice notice;
  ProbeState& probe = Probe();
  if (probe.IsOpen) {
    return true;
  }
  if (!DRIVER_Load()) {
    return false;
  }
  const u32 numErrors = DRIVER_GetNumErrors();
  VORTIC_SetErrorOutHandler(DRIVER_GetErrorHandler());
  // A selection that the library complains of must not end on whatever probe is there.
  probe.IsOpen = PROBE_Select(Announce) == 0 && DRIVER_GetNumErrors() == numErrors &&
                 OpenLibrary(CheckPower, numErrors);
  probe.IsGang = probe.IsGang && probe.IsOpen;
  return probe.IsOpen;
}

// The supply goes before the reset line: a board that starts to run on a chip that is half written
// could do anything.
void PROBE_Close() {
  ProbeState& probe = Probe();
  if (!probe.IsOpen) {
    return;
  }
  if (!probe.IsGang) {
    if (probe.TargetPowerOn != 0) {
      RunCommand("SupplyPower = 0");
      RunCommand("DisablePowerSupplyOnClose");
    }
    VORTIC_ReleaseResetLine();
    SYS_Sleep(kResetReleaseMs);
  }
  VORTIC_Close();
  if (!probe.IsGang) {
    WaitTargetPower();
  }
  probe.IsOpen = false;
  probe.IsGang = false;
}

// Nothing on the board may talk to the chip while this program does.
void FLASH_HoldReset() {
  VORTIC_HoldResetLine();
  SYS_Sleep(kResetHoldMs);
}

void PROBE_Forget() {
  Probe() = {};
}
