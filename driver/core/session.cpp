#include "driver/core/session.h"

#include "driver/core/text.h"

namespace vortic {

Session& Session::Get() {
  static Session session;
  return session;
}

void Session::SelectIndex(u32 index) {
  m_By = By::Index;
  m_Number = index;
}

bool Session::SelectSerial(u32 serialNumber) {
  m_By = By::Serial;
  m_Number = serialNumber;
  return CheckChosen();
}

bool Session::SelectNickname(const char* sNickname) {
  m_By = By::Nickname;
  m_Name = sNickname;
  return CheckChosen();
}

bool Session::SelectHost(const char* sHost) {
  m_By = By::Host;
  m_Name = sHost;
  return !m_Name.empty();
}

// A caller that is told "not found" only would look for a cable where a line of the configuration
// is wrong.
bool Session::CheckChosen() {
  std::string error;
  Config config;
  if (LoadConfig(&config, &error) == ConfigState::Broken) {
    m_Reporter.Error(error);
    return false;
  }
  for (const ProbeConfig& probe : config.Probes) {
    if (IsChosen(probe)) {
      return true;
    }
  }
  return false;
}

bool Session::IsChosen(const ProbeConfig& probe) const {
  switch (m_By) {
    case By::Index:
      return probe.Index == m_Number;
    case By::Serial:
      return probe.SerialNumber == m_Number;
    case By::Nickname:
      return !m_Name.empty() && probe.Nickname == m_Name;
    case By::Host:
      return !m_Name.empty() && EqualNoCase(probe.Host, m_Name);
  }
  return false;
}

std::string Session::DescribeChoice() const {
  switch (m_By) {
    case By::Index:
      return Format("has no section [Probe%u]", m_Number);
    case By::Serial:
      return Format("has no probe with SerialNumber %u", m_Number);
    case By::Nickname:
      return Format("has no probe with Nickname \"%s\"", Printable(m_Name).c_str());
    case By::Host:
      return Format("has no probe with Host \"%s\"", Printable(m_Name).c_str());
  }
  return {};
}

const ProbeConfig* Session::FindChosen(std::string* pError) {
  if (LoadConfig(&m_Config, pError) != ConfigState::Loaded) {
    return nullptr;
  }
  for (const ProbeConfig& probe : m_Config.Probes) {
    if (IsChosen(probe)) {
      return &probe;
    }
  }
  *pError =
      Format("The probe configuration %s %s.", m_Config.FileName.c_str(), DescribeChoice().c_str());
  return nullptr;
}

// Refused while a probe is open: what is sent next would reach another module than the client
// thinks.
bool Session::SelectModule(u32 module, std::string* pError) {
  if (m_pBackend) {
    *pError = "A probe is open. Close it before selecting a module.";
    return false;
  }
  if (module == 0) {
    m_Module = 0;
    return true;
  }
  const ProbeConfig* pProbe = FindChosen(pError);
  if (pProbe == nullptr) {
    return false;
  }
  if (module > pProbe->Modules) {
    *pError = pProbe->Modules == 0 ? "The probe is no gang programmer and has no modules."
                                   : Format("The gang programmer has modules 1 to %u, not %u.",
                                            pProbe->Modules, module);
    return false;
  }
  m_Module = module;
  m_ModuleOf = pProbe->Index;
  return true;
}

// A probe that is open stays so; the configuration is read anew otherwise.
const char* Session::Open(VORTIC_TEXT_HANDLER* pfLog) {
  if (m_pBackend) {
    m_Text = "A probe is already open. Close it before opening another.";
    return m_Text.c_str();
  }
  m_Reporter.SetLogHandler(pfLog);
  m_SupplyOffOnClose = false;
  std::string error;
  const ProbeConfig* pProbe = FindChosen(&error);
  const u32 module = pProbe != nullptr && pProbe->Index == m_ModuleOf ? m_Module : 0;
  if (pProbe != nullptr && module > pProbe->Modules) {
    error = Format("The probe has no module %u any more.", module);
  } else if (pProbe != nullptr) {
    std::unique_ptr<Backend> pBackend = MakeBackend(ForModule(*pProbe, module), m_Reporter);
    error = pBackend ? pBackend->Open() : "The probe's backend is not available.";
    if (error.empty()) {
      m_pBackend = std::move(pBackend);
      return nullptr;
    }
  }
  m_Text = error;
  m_Reporter.Trace("ERROR: " + error);
  return m_Text.c_str();
}

void Session::Close() {
  if (!m_pBackend) {
    return;
  }
  // Taken out first: whatever goes wrong on the way, the probe is closed afterwards.
  const std::unique_ptr<Backend> pBackend = std::move(m_pBackend);
  if (m_SupplyOffOnClose) {
    pBackend->SetSupply(false);
  }
  pBackend->Close();
}

}  // namespace vortic
