#include <algorithm>

#include "driver/abi/vortic.h"
#include "driver/core/config.h"
#include "driver/core/text.h"

namespace vortic {

namespace {

constexpr u64 kMaxLatencyUs = 1000000;
constexpr u64 kMaxModules = 24;
constexpr u64 kMaxFileSystemKiB = u64{1} << 20;  // every size fits the calls' results
constexpr std::size_t kMaxNickname = 31;         // 32 bytes of the probe's memory with the NUL

// What a key's function gets. It returns false with Reason set.
struct KeyArgs {
  std::string_view Value;
  const std::string& BaseDir;
  ProbeConfig& Probe;
  std::string& Reason;
};

bool FailNumber(const KeyArgs& args, u64 max) {
  args.Reason = Format("\"%s\" is not a number from 0 to %llu", Printable(args.Value).c_str(),
                       static_cast<unsigned long long>(max));
  return false;
}

template <class T>
bool SetNumber(const KeyArgs& args, u64 max, T* pValue) {
  const std::optional<u64> value = ParseNumber(args.Value, max);
  if (!value) {
    return FailNumber(args, max);
  }
  *pValue = static_cast<T>(*value);
  return true;
}

bool SetNumbers(const KeyArgs& args, u64 max, std::vector<i32>* pValues) {
  for (std::string_view part : Split(args.Value, ',')) {
    const std::optional<u64> value = ParseNumber(part, max);
    if (!value) {
      args.Reason = Format("\"%s\" is not a number from 0 to %llu", Printable(part).c_str(),
                           static_cast<unsigned long long>(max));
      return false;
    }
    pValues->push_back(static_cast<i32>(*value));
  }
  return true;
}

bool SetName(const KeyArgs& args, std::string* pName) {
  if (args.Value.empty()) {
    args.Reason = "the value is missing";
    return false;
  }
  *pName = args.Value;
  return true;
}

bool SetPath(const KeyArgs& args, std::string* pName) {
  if (args.Value.empty()) {
    return true;  // the same as no such line
  }
  *pName =
      args.Value.front() == '/' ? std::string(args.Value) : args.BaseDir + std::string(args.Value);
  return true;
}

bool SetBackend(const KeyArgs& args) {
  if (!EqualNoCase(args.Value, "sim")) {
    args.Reason = Format("unknown or unsupported backend \"%s\"", Printable(args.Value).c_str());
    return false;
  }
  args.Probe.Backend = "sim";
  return true;
}

bool SetNickname(const KeyArgs& args) {
  if (args.Value.size() > kMaxNickname) {
    args.Reason = "a nickname has at most 31 bytes";
    return false;
  }
  return SetName(args, &args.Probe.Nickname);
}

// The n-th row of that name; some parts appear twice in the table.
bool FindRow(std::string_view name, u32 n, FLASH_DEVICE* pRow) {
  for (u32 i = 0; i < FLASH_NUM_DEVICES; ++i) {
    if (FLASH_GetDeviceRow(i, pRow) == 0 && pRow->sDevice != nullptr &&
        EqualNoCase(name, pRow->sDevice) && --n == 0) {
      return true;
    }
  }
  const std::string text(name);
  const i32 index = FLASH_FindEEPROMByName(text.c_str());
  return n == 1 && index >= 0 && FLASH_GetEEPROMRow(static_cast<u32>(index), pRow) == 0;
}

// A part's name, with "#2" behind it for the second row of that name.
bool SetChip(const KeyArgs& args) {
  std::string_view name = args.Value;
  u32 n = 1;
  if (const std::size_t pos = name.size() - 2;
      name.size() > 2 && name[pos] == '#' && name[pos + 1] >= '1' && name[pos + 1] <= '9') {
    n = static_cast<u32>(name[pos + 1] - '0');
    name.remove_suffix(2);
  }
  FLASH_DEVICE row = {};
  if (!FindRow(name, n, &row)) {
    args.Reason = Format("unknown chip \"%s\"", Printable(args.Value).c_str());
    return false;
  }
  args.Probe.Row = row;
  args.Probe.Chip = row.sDevice;
  return true;
}

bool SetTime(const KeyArgs& args) {
  args.Probe.RealTime = EqualNoCase(args.Value, "real");
  if (!args.Probe.RealTime && !EqualNoCase(args.Value, "virtual")) {
    args.Reason = Format("Time is virtual or real, not \"%s\"", Printable(args.Value).c_str());
    return false;
  }
  return true;
}

bool SetFloat(const KeyArgs& args) {
  constexpr std::pair<std::string_view, FloatLevel> levels[] = {
      {"0", FloatLevel::Zero}, {"1", FloatLevel::One}, {"last", FloatLevel::Last}};
  for (const auto& [name, level] : levels) {
    if (EqualNoCase(args.Value, name)) {
      args.Probe.Float = level;
      return true;
    }
  }
  args.Reason = Format("Float is 0, 1 or last, not \"%s\"", Printable(args.Value).c_str());
  return false;
}

bool SetLatency(const KeyArgs& args) {
  u64 microSeconds = 0;
  const bool isGood = SetNumber(args, kMaxLatencyUs, &microSeconds);
  args.Probe.CallLatencyNs = microSeconds * 1000;
  return isGood;
}

bool SetInterfaces(const KeyArgs& args) {
  std::vector<i32> interfaces;
  if (!SetNumbers(args, 31, &interfaces)) {
    return false;
  }
  args.Probe.InterfaceMask = 0;
  for (i32 interface : interfaces) {
    if (interface != VORTIC_TIF_SPI && interface != VORTIC_TIF_QSPI) {
      args.Reason = Format("interface %d is neither 5 (SPI) nor 14 (QSPI)", interface);
      return false;
    }
    args.Probe.InterfaceMask |= 1U << interface;
  }
  return true;
}

bool SetModules(const KeyArgs& args) {
  const std::optional<u64> value = ParseNumber(args.Value, kMaxModules);
  args.Probe.Modules = static_cast<u32>(value.value_or(0));
  if (args.Probe.Modules == 0) {
    args.Reason = Format("\"%s\" is not a number from 1 to 24", Printable(args.Value).c_str());
    return false;
  }
  return true;
}

// The bytes that a name of a listing shall have: \xNN is a byte, \\ a backslash. Commas, semicolons
// and blanks at the ends would be cut off as they stand.
bool Unescape(std::string_view text, std::string* pName) {
  while (!text.empty()) {
    std::size_t used = 1;
    char c = text[0];
    if (c == '\\') {
      if (text.size() >= 2 && text[1] == '\\') {
        used = 2;
      } else if (text.size() >= 4 && text[1] == 'x') {
        const std::optional<std::vector<u8>> byte = ParseHexBytes(text.substr(2, 2));
        if (!byte || byte->size() != 1 || Trim(text.substr(2, 2)).size() != 2) {
          return false;
        }
        c = static_cast<char>(byte->front());
        used = 4;
      } else {
        return false;
      }
    }
    pName->push_back(c);
    text.remove_prefix(used);
  }
  return !pName->empty() && pName->size() <= sizeof(VORTIC_DIR_ENTRY::acName);
}

bool SetListing(const KeyArgs& args, std::vector<std::string>* pNames) {
  for (std::string_view part : Split(args.Value, ',')) {
    if (!Unescape(part, &pNames->emplace_back())) {
      args.Reason = Format("\"%s\" is not a name of 1 to 256 bytes with \\xNN and \\\\ in it",
                           Printable(part).c_str());
      return false;
    }
  }
  return true;
}

struct KeyRow {
  std::string_view Name;
  bool (*pfSet)(const KeyArgs&);
};

// All keys. A key that is not here is refused, so that a misspelt one never passes for a default.
constexpr KeyRow kKeys[] = {
    {"Backend", SetBackend},
    {"SerialNumber",
     [](const KeyArgs& a) { return SetNumber(a, 0x7FFFFFFF, &a.Probe.SerialNumber); }},
    {"Nickname", SetNickname},
    {"Host", [](const KeyArgs& a) { return SetName(a, &a.Probe.Host); }},
    {"ProductId", [](const KeyArgs& a) { return SetNumber(a, 0x7FFFFFFF, &a.Probe.ProductId); }},
    {"HardwareVersion",
     [](const KeyArgs& a) { return SetNumber(a, 0xFFFFFFFF, &a.Probe.HardwareVersion); }},
    {"Capabilities", [](const KeyArgs& a) { return SetNumbers(a, 255, &a.Probe.Capabilities); }},
    {"TargetMilliVolts",
     [](const KeyArgs& a) { return SetNumber(a, 0xFFFF, &a.Probe.TargetMilliVolts); }},
    {"Chip", SetChip},
    {"ImageFile", [](const KeyArgs& a) { return SetPath(a, &a.Probe.ImageFile); }},
    {"FileSystem", [](const KeyArgs& a) { return SetPath(a, &a.Probe.FileSystem); }},
    {"Time", SetTime},
    {"CallLatencyUs", SetLatency},
    {"Fault", [](const KeyArgs& a) { return ParseFaultPlan(a.Value, &a.Probe.Faults, &a.Reason); }},
    {"Float", SetFloat},
    {"StrictClient", [](const KeyArgs& a) { return SetNumber(a, 1, &a.Probe.StrictClient); }},
    {"StatusRegister",
     [](const KeyArgs& a) { return SetNumber(a, 0xFF, &a.Probe.StatusRegister); }},
    {"DisableFunctions",
     [](const KeyArgs& a) { return SetNumbers(a, 255, &a.Probe.DisabledFunctions); }},
    {"Interfaces", SetInterfaces},
    {"FileSystemKiB",
     [](const KeyArgs& a) { return SetNumber(a, kMaxFileSystemKiB, &a.Probe.FileSystemKiB); }},
    {"ListingExtra", [](const KeyArgs& a) { return SetListing(a, &a.Probe.ListingExtra); }},
    {"ListingExtraFolders",
     [](const KeyArgs& a) { return SetListing(a, &a.Probe.ListingExtraFolders); }},
    {"Modules", SetModules},
    {"DeadModules",
     [](const KeyArgs& a) { return SetNumbers(a, kMaxModules, &a.Probe.DeadModules); }},
};

}  // namespace

bool SetConfigKey(std::string_view key, std::string_view value, const std::string& baseDir,
                  ProbeConfig* pProbe, std::string* pReason) {
  const auto* pRow = std::find_if(std::begin(kKeys), std::end(kKeys),
                                  [key](const KeyRow& row) { return EqualNoCase(row.Name, key); });
  if (pRow == std::end(kKeys)) {
    *pReason = Format("unknown key \"%s\"", Printable(key).c_str());
    return false;
  }
  return pRow->pfSet({value, baseDir, *pProbe, *pReason});
}

}  // namespace vortic
