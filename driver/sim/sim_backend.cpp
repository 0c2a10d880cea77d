#include "driver/sim/sim_backend.h"

#include <algorithm>
#include <cstring>

#include "driver/core/list_runner.h"
#include "driver/core/text.h"

namespace vortic {

namespace {

constexpr u32 kMinMilliVolts = 1000;
constexpr u32 kSupplyMilliVolts = 3300;
// A look at a fast mode that never ends.
constexpr u64 kFastBusyNs = 10000000;
constexpr u32 kConfigMemBytes = 256;
constexpr u32 kNicknameOffset = 80;
constexpr u32 kNicknameBytes = 32;

constexpr i32 kFunctions[] = {
    VORTIC_FUNC_RUN_LIST,   VORTIC_FUNC_WAIT,          VORTIC_FUNC_LEAVE_FAST,
    VORTIC_FUNC_ENTER_FAST, VORTIC_FUNC_FAST_PROGRAM,  VORTIC_FUNC_FAST_VERIFY,
    VORTIC_FUNC_FAST_ERASE, VORTIC_FUNC_ENTER_FAST_EX, VORTIC_FUNC_LIST_DIR,
    VORTIC_FUNC_RENAME,
};

ChipTraits MakeSimTraits(const ProbeConfig& config) {
  ChipTraits traits = MakeChipTraits(config.Row);
  const std::vector<u8>& id = config.Faults.Id;
  traits.Id.resize(std::max(traits.Id.size(), id.size()));
  std::copy(id.begin(), id.end(), traits.Id.begin());
  return traits;
}

}  // namespace

std::unique_ptr<Backend> MakeBackend(const ProbeConfig& config, Reporter& reporter) {
  return config.Backend == "sim" ? std::make_unique<SimBackend>(config, reporter) : nullptr;
}

SimBackend::SimBackend(const ProbeConfig& config, Reporter& reporter)
    : m_Config(config),
      m_Reporter(reporter),
      m_Clock(config.RealTime),
      m_Link(m_Config.Faults, config.CallLatencyNs, m_Clock, m_Stats, reporter),
      m_Store(u64{1} << config.Row.TotalSizeShift()),
      m_Chip(MakeSimTraits(config), m_Store, m_Clock),
      m_Bus(m_Chip, m_Clock, m_Stats),
      m_Fast(m_Bus),
      m_Files(config.FileSystem, u64{config.FileSystemKiB} * 1024),
      m_PowerDips(m_Config.Faults.Dips, false) {
  const FaultPlan& plan = m_Config.Faults;
  // These are there from the start, and whatever the client sees may come of them.
  m_Stats.Struck =
      !plan.Id.empty() || !plan.Flipped.empty() || !plan.Stuck.empty() || plan.Slow != 1.0;
  m_Chip.SetFloat(config.Float);
  m_Bus.SetNoise(plan.NoiseEvery);
  m_Bus.SetOnTime([this] { return UpdatePower(); });
  m_Store.SetDefects(config.Faults.Flipped, config.Faults.Stuck);
  m_Chip.SetSlowFactor(config.Faults.Slow);
  m_Chip.SetStatusRegister(config.StatusRegister);
}

// A module that is dead is found out when it is opened, as with one that has lost its cable.
std::string SimBackend::Open() {
  const auto& dead = m_Config.DeadModules;
  if (m_Config.Module != 0 &&
      std::find(dead.begin(), dead.end(), static_cast<i32>(m_Config.Module)) != dead.end()) {
    return Format("Module %u of the gang programmer does not answer.", m_Config.Module);
  }
  if (!m_Config.FileSystem.empty()) {
    std::string reason = m_Files.Open();
    if (!reason.empty()) {
      return reason;
    }
  }
  if (!m_Config.ImageFile.empty()) {
    std::string reason = m_Store.OpenImage(m_Config.ImageFile);
    if (!reason.empty()) {
      return reason;
    }
  }
  UpdatePower();
  m_Reporter.Log(Introduction());
  return {};
}

// Nobody may take a simulated run for a programmed board: the first line of the log says it.
std::string SimBackend::Introduction() const {
  const std::string name =
      m_Config.Nickname.empty() ? "" : Format(" (%s)", m_Config.Nickname.c_str());
  const std::string image =
      m_Config.ImageFile.empty()
          ? "contents in memory only"
          : "image " + m_Config.ImageFile.substr(m_Config.ImageFile.rfind('/') + 1);
  const std::string chip = "hip " + m_Chip.Traits().Name + ", " + image;
  std::string target = "C" + chip;
  if (m_Config.IsHub()) {
    target = Format("Hub of a gang programmer with %u modules", m_Config.Modules);
  } else if (m_Config.Module != 0) {
    target = Format("Module %u, c", m_Config.Module) + chip;
  }
  return Format("*** SIMULATED PROBE S/N %u%s: no hardware is programmed. %s ***",
                m_Config.SerialNumber, name.c_str(), target.c_str());
}

// Goes through on a dead link as well: it is the simulation that is closed.
void SimBackend::Close() {
  if (m_Chip.IsSelected()) {
    m_Chip.AddFault(ClientFault::ChipSelectLeftActive);
  }
  // The target keeps its power: what runs on the chip comes to its end.
  m_Chip.FinishOperation();
  const std::string reason = m_Store.Flush();
  if (!reason.empty()) {
    m_Reporter.Error(reason);
  }
  ReportClientFaults();
}

// What was done wrong behind an injected fault is told, but fails nothing: such a client may have
// been misled.
void SimBackend::ReportClientFaults() {
  if (m_Stats.Struck == 0) {
    m_OwnFaults = m_Chip.Faults();
  }
  std::string own;
  for (std::size_t i = 0; i < kNumClientFaults; ++i) {
    const auto kind = static_cast<ClientFault>(i);
    if (const unsigned long long numOwn = m_OwnFaults.Count(kind); numOwn != 0) {
      own += Format("%s%llu x %s", own.empty() ? "" : ", ", numOwn, ClientFaultName(kind));
    }
    const unsigned long long count = m_Chip.Faults().Count(kind);
    if (count != 0) {
      m_Reporter.Log(Format("Simulated chip %s: %llu x %s", m_Chip.Traits().Name.c_str(), count,
                            ClientFaultName(kind)));
    }
  }
  if (m_Config.StrictClient && !own.empty()) {
    m_Reporter.Error(Format("The client of the simulated chip %s made faults: %s.",
                            m_Chip.Traits().Name.c_str(), own.c_str()));
  }
}

bool SimBackend::HasFunction(i32 index) const {
  const auto& off = m_Config.DisabledFunctions;
  return std::find(std::begin(kFunctions), std::end(kFunctions), index) != std::end(kFunctions) &&
         std::find(off.begin(), off.end(), index) == off.end();
}

bool SimBackend::HasCapability(i32 capability) const {
  const auto& all = m_Config.Capabilities;
  return std::find(all.begin(), all.end(), capability) != all.end();
}

bool SimBackend::BeginCall() {
  if (m_Stats.Struck == 0) {
    m_OwnFaults = m_Chip.Faults();
  }
  m_PowerDips.BeginCall(m_Link.CallNumber() + 1, m_Clock.Now());
  UpdatePower();
  if (!m_Link.BeginCall()) {
    return false;
  }
  const FaultPlan& plan = m_Config.Faults;
  const u64 call = m_Link.CallNumber();
  if (plan.BusyForeverAt != 0 && call >= plan.BusyForeverAt) {
    m_Chip.StayBusy();
    ++m_Stats.Struck;
  }
  if (plan.PowerAt != 0 && call >= plan.PowerAt && !m_HasPowerFault) {
    m_HasPowerFault = true;
    ++m_Stats.Struck;
    UpdatePower();
  }
  if (plan.CutPowerAt != 0 && call >= plan.CutPowerAt && !m_WasCutAsked) {
    m_WasCutAsked = true;
    ++m_Stats.Struck;
    m_Chip.CutPower();
  }
  return true;
}

// The image is as new as the last call that returned.
bool SimBackend::EndCall() {
  const std::string reason = m_Store.Flush();
  if (!reason.empty()) {
    m_Reporter.Error(reason);
  }
  return m_Link.EndCall() && reason.empty();
}

// Faults win over the supply, the supply over the board. A hub has no board.
u32 SimBackend::MilliVolts() const {
  if (m_Chip.IsCut() || m_Config.IsHub() || m_IsInDip) {
    return 0;
  }
  if (m_HasPowerFault) {
    return m_Config.Faults.PowerMilliVolts;
  }
  return m_IsSupplied ? std::max(m_Config.TargetMilliVolts, kSupplyMilliVolts)
                      : m_Config.TargetMilliVolts;
}

u64 SimBackend::UpdatePower() {
  const u64 nowNs = m_Clock.Now();
  m_IsInDip = m_PowerDips.IsOff(nowNs);
  m_Stats.Struck += m_IsInDip ? 1 : 0;
  m_Chip.SetPower(MilliVolts() >= kMinMilliVolts);
  return m_PowerDips.NextChangeNs(nowNs);
}

bool SimBackend::GetInterfaces(u32* pMask) {
  *pMask = m_Config.InterfaceMask;
  return BeginCall();
}

bool SimBackend::SelectInterface(i32 interface) {
  if (interface < 0 || interface > 31 || (m_Config.InterfaceMask >> interface & 1) == 0) {
    m_Reporter.Error(Format("The probe has no target interface %d.", interface));
    return false;
  }
  if (!BeginCall()) {
    return false;
  }
  m_Interface = interface;
  m_Bus.SetQuadLines(interface == VORTIC_TIF_QSPI);
  return true;
}

void SimBackend::SetSpeed(u32 kHz) {
  if (BeginCall()) {
    m_Bus.SetSpeed(kHz);
  }
}

bool SimBackend::GetHwStatus(VORTIC_HW_STATUS* pStatus) {
  if (!BeginCall()) {
    return false;
  }
  *pStatus = {};
  pStatus->VTarget = static_cast<u16>(m_FixedVTref != 0 ? m_FixedVTref : MilliVolts());
  // Levels of clock, data in, data out, chip select, reset and a pin that the board lacks.
  pStatus->abPins[3] = m_Chip.IsSelected() ? 0 : 1;
  pStatus->abPins[4] = m_IsResetLow ? 0 : 1;
  return true;
}

bool SimBackend::SetSupply(bool isOn) {
  if (!BeginCall()) {
    return false;
  }
  m_IsSupplied = isOn;
  UpdatePower();
  return EndCall();
}

// Only what the probe reports changes; the chip lives on what the board has.
bool SimBackend::SetFixedVTref(u32 milliVolts) {
  m_FixedVTref = milliVolts;
  return BeginCall();
}

void SimBackend::SetReset(bool isLow) {
  if (BeginCall()) {
    m_IsResetLow = isLow;
  }
}

void SimBackend::SetChipSelect(bool isActive) {
  if (BeginCall()) {
    m_Bus.SetChipSelect(isActive);
    EndCall();
  }
}

bool SimBackend::ReadConfigMem(u32 offset, std::span<u8> data) {
  if (!BeginCall()) {
    return false;
  }
  if (offset > kConfigMemBytes || data.size() > kConfigMemBytes - offset) {
    m_Reporter.Error("The probe's configuration memory has 256 bytes.");
    return false;
  }
  u8 memory[kConfigMemBytes];
  std::memset(memory, 0xFF, sizeof(memory));
  std::memset(memory + kNicknameOffset, 0, kNicknameBytes);
  std::memcpy(memory + kNicknameOffset, m_Config.Nickname.data(),
              std::min<std::size_t>(m_Config.Nickname.size(), kNicknameBytes - 1));
  std::memcpy(data.data(), memory + offset, data.size());
  return true;
}

// The line as the probe finds it when nothing was moved.
void SimBackend::FillUnread(const Phase& phase) const {
  if (phase.pRead != nullptr) {
    m_Chip.FillFloating({phase.pRead, (std::size_t{phase.NumBits} + 7) / 8});
  }
}

bool SimBackend::Transfer(const Phase& phase) {
  if (!BeginCall()) {
    FillUnread(phase);
    return false;
  }
  m_Bus.Shift(phase);
  if (phase.pRead != nullptr) {
    m_Link.Answer({phase.pRead, (std::size_t{phase.NumBits} + 7) / 8}, 0xFF);
  }
  const bool isGood = EndCall();
  if (!isGood) {
    FillUnread(phase);
  }
  return isGood;
}

int SimBackend::RunList(std::span<VORTIC_SPI_CMD> list) {
  ++m_NumListRuns;
  if (!BeginCall()) {
    return VORTIC_ERR_GENERAL;
  }
  for (const FaultPlan::ListResult& asked : m_Config.Faults.ListResults) {
    if (asked.Run == m_NumListRuns) {
      m_Reporter.Error(Format("The list of SPI commands was refused with %d.", asked.Value));
      return asked.Value;
    }
  }
  std::string error;
  const int result = vortic::RunList(m_Bus, list, &error);
  if (!error.empty()) {
    m_Reporter.Error(error);
  }
  for (VORTIC_SPI_CMD& cmd : list) {
    if (cmd.pRead != nullptr) {
      m_Link.Answer({cmd.pRead, (std::size_t{cmd.NumBits} + 7) / 8}, 0xFF);
    }
    m_Link.AnswerValue(&cmd.Result);
  }
  return EndCall() ? result : VORTIC_ERR_GENERAL;
}

bool SimBackend::EnterFast(const FastPara& para) {
  if (!BeginCall()) {
    return false;
  }
  m_Fast.Enter(para);
  return true;
}

bool SimBackend::LeaveFast() {
  if (!BeginCall()) {
    return false;
  }
  const bool isGood = m_Fast.Leave();
  if (!isGood) {
    m_Reporter.Error("Fast mode ended with a failure that nobody had asked for.");
  }
  return EndCall() && isGood;
}

// Queues a request. One that is lost on the cable makes the whole job fail, also when the client
// goes on as if nothing had happened.
template <class F>
bool SimBackend::QueueFast(u64 addr, F&& f) {
  if (!BeginCall()) {
    m_Fast.Fail(addr);
    return false;
  }
  const bool isQueued = f();
  if (!EndCall()) {
    m_Fast.Fail(addr);
    return false;
  }
  return isQueued;
}

bool SimBackend::FastProgram(u64 addr, std::span<const u8> data) {
  return QueueFast(addr, [&] { return m_Fast.Program(addr, data); });
}

bool SimBackend::FastVerify(u64 addr, std::span<const u8> data) {
  return QueueFast(addr, [&] { return m_Fast.Verify(addr, data); });
}

bool SimBackend::FastErase(u64 addr, u64 numBytes) {
  return QueueFast(addr, [&] { return m_Fast.Erase(addr, numBytes); });
}

int SimBackend::FastWait(u32* pFailAddr) {
  if (!BeginCall()) {
    m_Fast.Abandon();  // the job ends here, and nothing of it may run in the next one
    return VORTIC_ERR_GENERAL;
  }
  const u64 busyAt = m_Config.Faults.FastBusyAt;
  if (busyAt != 0 && m_Link.CallNumber() >= busyAt) {
    ++m_Stats.Struck;
    m_Clock.Wait(kFastBusyNs);
    return EndCall() ? 1 : VORTIC_ERR_GENERAL;
  }
  int result = m_Fast.Wait(pFailAddr);
  m_Link.AnswerValue(&result);
  return EndCall() ? result : VORTIC_ERR_GENERAL;
}

std::string SimBackend::Statistics() {
  const auto n = [](u64 value) { return static_cast<unsigned long long>(value); };
  return Format(
      "ClockNs=%llu Calls=%llu RoundTrips=%llu Bits=%llu BusyNs=%llu IdleNs=%llu "
      "Faults=%llu Struck=%llu",
      n(m_Clock.Now()), n(m_Stats.Calls), n(m_Stats.RoundTrips), n(m_Stats.Bits),
      n(m_Chip.BusyTotalNs()), n(m_Clock.IdleNs()), n(m_Chip.Faults().Total()), n(m_Stats.Struck));
}

}  // namespace vortic
