#include <optional>

#include "driver/core/session.h"
#include "driver/core/text.h"

namespace vortic {

namespace {

constexpr u64 kMaxMilliVolts = 0xFFFF;
constexpr u64 kMaxModule = 255;

struct CommandArgs {
  Session& TheSession;
  Backend* pProbe;  // null: none is open
  u64 Value;
  std::string& Text;
};

// Names are compared without regard to case.
struct CommandRow {
  std::string_view Name;
  bool HasValue;
  bool NeedsProbe;
  u64 Max;
  bool (*pfRun)(const CommandArgs&);
};

bool ShowStatistics(const CommandArgs& args) {
  args.Text = args.pProbe->Statistics();
  if (args.Text.empty()) {
    args.Text = "The probe keeps no statistics.";
    return false;
  }
  return true;
}

constexpr CommandRow kCommands[] = {
    // This library shows no windows of its own.
    {"SuppressGUI", true, false, 1, [](const CommandArgs&) { return true; }},
    {"SelectModule", true, false, kMaxModule,
     [](const CommandArgs& a) {
       return a.TheSession.SelectModule(static_cast<u32>(a.Value), &a.Text);
     }},
    {"SupplyPower", true, true, 1,
     [](const CommandArgs& a) { return a.pProbe->SetSupply(a.Value != 0); }},
    {"SetVTrefTmp", true, true, kMaxMilliVolts,
     [](const CommandArgs& a) { return a.pProbe->SetFixedVTref(static_cast<u32>(a.Value)); }},
    {"DisablePowerSupplyOnClose", false, true, 0,
     [](const CommandArgs& a) {
       a.TheSession.SetSupplyOffOnClose();
       return true;
     }},
    {"SimGetStats", false, true, 0, ShowStatistics},
};

bool RunCommand(const CommandRow& row, Session& session, std::string_view value,
                std::string* pText) {
  CommandArgs args = {session, session.OpenProbe(), 0, *pText};
  if (row.HasValue || !value.empty()) {
    const std::optional<u64> number = ParseNumber(value, row.Max);
    if (!number || !row.HasValue) {
      *pText = Format("Command %s: \"%s\" is not a value that it takes.",
                      std::string(row.Name).c_str(), Printable(value).c_str());
      return false;
    }
    args.Value = *number;
  }
  if (row.NeedsProbe && args.pProbe == nullptr) {
    *pText = Format("Command %s: no probe is open.", std::string(row.Name).c_str());
    return false;
  }
  if (!row.pfRun(args)) {
    if (pText->empty()) {
      *pText = Format("Command %s failed.", std::string(row.Name).c_str());
    }
    return false;
  }
  return true;
}

}  // namespace

int ExecCommand(Session& session, const char* sCommand, std::string* pText) {
  const std::string_view text = Trim(sCommand);
  const std::size_t nameEnd = text.find_first_of(" \t=");
  const std::string_view name = text.substr(0, nameEnd);
  std::string_view value =
      nameEnd == std::string_view::npos ? std::string_view() : Trim(text.substr(nameEnd));
  if (value.starts_with('=')) {
    value = Trim(value.substr(1));
  }
  for (const CommandRow& row : kCommands) {
    if (EqualNoCase(name, row.Name)) {
      return RunCommand(row, session, value, pText) ? VORTIC_OK : VORTIC_ERR_GENERAL;
    }
  }
  *pText = Format("Unknown command \"%s\".", Printable(name).c_str());
  return VORTIC_ERR_GENERAL;
}

}  // namespace vortic
