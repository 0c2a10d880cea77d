#pragma once

#include <memory>
#include <string>

#include "driver/core/backend.h"
#include "driver/core/config.h"
#include "driver/core/reporter.h"

namespace vortic {

// State of the library between its calls: which probe was chosen, and the one that is open. All
// calls come from one thread.
// The one object of the library that lives between calls. A choice is kept until the next one, so
// that closing and opening again reaches the same probe.
class Session {
 public:
  static Session& Get();

  Reporter& TheReporter() { return m_Reporter; }
  // Null while no probe is open.
  Backend* OpenProbe() { return m_pBackend.get(); }

  // Choices are checked when the probe is opened: the configuration may change until then.
  void SelectIndex(u32 index);
  // False: there is no such probe. It stays chosen all the same, and opening tells why it can't be.
  bool SelectSerial(u32 serialNumber);
  bool SelectNickname(const char* sNickname);
  bool SelectHost(const char* sHost);

  // Which module of the chosen gang programmer is opened from now on; 0 is its hub. False: pError.
  bool SelectModule(u32 module, std::string* pError);

  // Null: open; else a text that stays valid until the next call.
  const char* Open(VORTIC_TEXT_HANDLER* pfLog);
  void Close();
  void SetSupplyOffOnClose() { m_SupplyOffOnClose = true; }

 private:
  enum class By { Index, Serial, Nickname, Host };

  bool IsChosen(const ProbeConfig& probe) const;
  // Reads the configuration and finds the chosen probe in it. Null: pError.
  const ProbeConfig* FindChosen(std::string* pError);
  bool CheckChosen();
  std::string DescribeChoice() const;

  Reporter m_Reporter;
  By m_By = By::Index;
  u32 m_Number = 0;
  std::string m_Name;
  // Kept when a probe is chosen again, which a client does before each opening. Counts for the
  // probe only that was chosen when the module was.
  u32 m_Module = 0;
  u32 m_ModuleOf = 0;  // its index
  Config m_Config;
  std::unique_ptr<Backend> m_pBackend;
  bool m_SupplyOffOnClose = false;
  // Kept for the caller until the next opening.
  std::string m_Text;
};

// Runs a command text: "Name", "Name = value" or "Name value". 0, or negative; pText gets what is
// to be told about it.
int ExecCommand(Session& session, const char* sCommand, std::string* pText);

}  // namespace vortic
