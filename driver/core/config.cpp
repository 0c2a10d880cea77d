#include "driver/core/config.h"

#include <dlfcn.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <set>

#include "driver/abi/vortic.h"
#include "driver/core/text.h"

namespace vortic {

namespace {

// A configuration is some lines; a name that leads to a disk image must not fill the memory.
constexpr std::size_t kMaxFileBytes = std::size_t{1} << 20;
constexpr u64 kMaxProbeIndex = 99;
constexpr u32 kMaxModules = 24;
constexpr const char* kFileName = "Vortic.ini";

std::string DirOf(const std::string& fileName) {
  const std::size_t slash = fileName.rfind('/');
  return slash == std::string::npos ? std::string() : fileName.substr(0, slash + 1);
}

// Reads the lines of one file into its sections.
// One pass, line by line. A section is checked as a whole when the next head or the end of the text
// shows that it is complete; the first flaw ends the reading.
class ConfigReader {
 public:
  ConfigReader(const std::string& fileName, Config* pConfig, std::string* pError)
      : m_FileName(fileName), m_BaseDir(DirOf(fileName)), m_Config(*pConfig), m_Error(*pError) {}

  bool Read(std::string_view text);

 private:
  bool Fail(u32 line, const std::string& reason) {
    m_Error = Format("%s:%u: %s.", m_FileName.c_str(), line, reason.c_str());
    return false;
  }
  bool ReadLine(std::string_view line);
  bool ReadHead(std::string_view head);
  bool ReadKey(std::string_view line);
  bool FinishSection();
  bool FinishModules(ProbeConfig* pProbe);
  bool CheckNames();

  const std::string& m_FileName;
  std::string m_BaseDir;
  Config& m_Config;
  std::string& m_Error;
  u32 m_Line = 0;
  std::set<std::string> m_KeysSeen;  // of the section being read, in lower case
};

bool ConfigReader::Read(std::string_view text) {
  if (text.starts_with("\xEF\xBB\xBF")) {
    text.remove_prefix(3);
  }
  while (!text.empty()) {
    const std::size_t end = text.find('\n');
    ++m_Line;
    if (!ReadLine(text.substr(0, end))) {
      return false;
    }
    text.remove_prefix(end == std::string_view::npos ? text.size() : end + 1);
  }
  return FinishSection() && CheckNames();
}

// Order of looking: NUL first, as it would hide the rest of a line from whoever reads the message.
bool ConfigReader::ReadLine(std::string_view line) {
  if (line.find('\0') != std::string_view::npos) {
    return Fail(m_Line, "the line holds a NUL byte");
  }
  line = Trim(line.substr(0, line.find(';')));
  if (line.empty()) {
    return true;
  }
  return line.front() == '[' ? ReadHead(line) : ReadKey(line);
}

// A head also ends the section before it, whose own flaws come first.
bool ConfigReader::ReadHead(std::string_view head) {
  constexpr std::string_view prefix = "[Probe";
  const bool hasForm = head.size() > prefix.size() + 1 && head.back() == ']' &&
                       EqualNoCase(head.substr(0, prefix.size()), prefix);
  const std::optional<u64> index =
      hasForm
          ? ParseNumber(head.substr(prefix.size(), head.size() - prefix.size() - 1), kMaxProbeIndex)
          : std::nullopt;
  if (!index) {
    return Fail(m_Line,
                Format("\"%s\" is not a section [Probe0] to [Probe99]", Printable(head).c_str()));
  }
  if (!FinishSection()) {
    return false;
  }
  for (const ProbeConfig& probe : m_Config.Probes) {
    if (probe.Index == *index) {
      return Fail(m_Line,
                  Format("section [Probe%u] stands in line %u already", probe.Index, probe.Line));
    }
  }
  ProbeConfig& probe = m_Config.Probes.emplace_back();
  probe.Index = static_cast<u32>(*index);
  probe.Line = m_Line;
  probe.InterfaceMask = 1U << VORTIC_TIF_SPI | 1U << VORTIC_TIF_QSPI;
  m_KeysSeen.clear();
  return true;
}

bool ConfigReader::ReadKey(std::string_view line) {
  const std::size_t sign = line.find('=');
  if (sign == std::string_view::npos) {
    return Fail(m_Line, Format("expected KEY = VALUE, found \"%s\"", Printable(line).c_str()));
  }
  if (m_Config.Probes.empty()) {
    return Fail(m_Line, "a key stands before the first section");
  }
  const std::string_view key = Trim(line.substr(0, sign));
  ProbeConfig& probe = m_Config.Probes.back();
  std::string reason;
  if (!SetConfigKey(key, Trim(line.substr(sign + 1)), m_BaseDir, &probe, &reason)) {
    return Fail(m_Line, reason);
  }
  std::string seen(key);
  for (char& c : seen) {
    c = c >= 'A' && c <= 'Z' ? static_cast<char>(c + ('a' - 'A')) : c;
  }
  if (!m_KeysSeen.insert(seen).second) {
    return Fail(m_Line,
                Format("key \"%s\" stands twice in section [Probe%u]", seen.c_str(), probe.Index));
  }
  if (seen == "fault") {
    probe.FaultLine = m_Line;
  }
  return true;
}

// What a section must have, and what can be judged only when all of it is known.
bool ConfigReader::FinishSection() {
  if (m_Config.Probes.empty()) {
    return true;
  }
  ProbeConfig& probe = m_Config.Probes.back();
  if (probe.Backend.empty()) {
    return Fail(probe.Line, Format("section [Probe%u] names no Backend", probe.Index));
  }
  if (probe.Chip.empty()) {
    return Fail(probe.Line, Format("section [Probe%u] names no Chip", probe.Index));
  }
  const u64 size = u64{1} << probe.Row.TotalSizeShift();
  for (const auto* pCells : {&probe.Faults.Flipped, &probe.Faults.Stuck}) {
    for (const FaultPlan::Cell& cell : *pCells) {
      if (cell.Addr >= size) {
        return Fail(probe.FaultLine, Format("fault address 0x%llX lies beyond the chip",
                                            static_cast<unsigned long long>(cell.Addr)));
      }
    }
  }
  // Whoever gives a probe a file system wants it used.
  if (!probe.FileSystem.empty() && !m_KeysSeen.contains("capabilities")) {
    probe.Capabilities = {VORTIC_CAP_FILE_IO, VORTIC_CAP_RENAME, VORTIC_CAP_STANDALONE_SPI};
  }
  return FinishModules(&probe);
}

bool ConfigReader::FinishModules(ProbeConfig* pProbe) {
  if (IsGangProduct(pProbe->ProductId)) {
    pProbe->Modules = pProbe->Modules != 0 ? pProbe->Modules : kMaxModules;
  } else if (pProbe->Modules != 0) {
    return Fail(pProbe->Line, Format("section [Probe%u] has Modules, but ProductId %d is not that "
                                     "of a gang programmer",
                                     pProbe->Index, pProbe->ProductId));
  }
  for (i32 module : pProbe->DeadModules) {
    if (module < 1 || module > static_cast<i32>(pProbe->Modules)) {
      return Fail(pProbe->Line, Format("section [Probe%u] has no module %d that could be dead",
                                       pProbe->Index, module));
    }
  }
  return true;
}

// Two probes that answer to the same name could not be told apart.
bool ConfigReader::CheckNames() {
  for (std::size_t i = 0; i < m_Config.Probes.size(); ++i) {
    const ProbeConfig& later = m_Config.Probes[i];
    for (std::size_t k = 0; k < i; ++k) {
      const ProbeConfig& probe = m_Config.Probes[k];
      const char* sWhat = nullptr;
      if (later.SerialNumber != 0 && later.SerialNumber == probe.SerialNumber) {
        sWhat = "serial number";
      } else if (!later.Nickname.empty() && later.Nickname == probe.Nickname) {
        sWhat = "nickname";
      } else if (!later.Host.empty() && EqualNoCase(later.Host, probe.Host)) {
        sWhat = "host";
      }
      if (sWhat != nullptr) {
        return Fail(later.Line,
                    Format("[Probe%u] has the %s of [Probe%u]", later.Index, sWhat, probe.Index));
      }
    }
  }
  return true;
}

// The text of a file, up to the limit. False: pReason.
bool ReadWholeFile(const std::string& fileName, std::string* pText, std::string* pReason) {
  // Not blocking: the name may be that of a pipe that nobody writes to.
  const int fd = open(fileName.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK);
  if (fd < 0) {
    *pReason = std::strerror(errno);
    return false;
  }
  pText->clear();
  char buffer[16384];
  ssize_t numRead = 0;
  while (pText->size() <= kMaxFileBytes) {
    numRead = read(fd, buffer, sizeof(buffer));
    if (numRead < 0 && errno == EINTR) {
      continue;
    }
    if (numRead <= 0) {
      break;
    }
    pText->append(buffer, static_cast<std::size_t>(numRead));
  }
  const int error = errno;
  close(fd);
  if (pText->size() > kMaxFileBytes) {
    *pReason = "the file is larger than 1 MiB";
    return false;
  }
  if (numRead < 0) {
    *pReason = std::strerror(error);
    return false;
  }
  return true;
}

std::string BesideLibrary() {
  Dl_info info = {};
  // Any object of this library does; a plain address keeps clear of function pointer casts.
  if (dladdr(&kFileName, &info) == 0 || info.dli_fname == nullptr) {
    return kFileName;
  }
  return DirOf(info.dli_fname) + kFileName;
}

// Empty when neither variable says where that is.
std::string InApplicationData() {
  const char* sBase = std::getenv("XDG_CONFIG_HOME");
  if (sBase != nullptr && *sBase == '/') {
    return std::string(sBase) + "/TARVEX/" + kFileName;
  }
  const char* sHome = std::getenv("HOME");
  return sHome == nullptr || *sHome == '\0' ? std::string()
                                            : std::string(sHome) + "/.config/TARVEX/" + kFileName;
}

}  // namespace

bool IsGangProduct(i32 productId) {
  constexpr i32 products[] = {27, 30, 41, 42, 48, 49};
  return std::find(std::begin(products), std::end(products), productId) != std::end(products);
}

ProbeConfig ForModule(const ProbeConfig& probe, u32 module) {
  ProbeConfig part = probe;
  if (part.Modules == 0) {
    return part;
  }
  part.Module = module;
  if (!part.FileSystem.empty()) {
    part.FileSystem += Format("/module%u", module);
  }
  if (module == 0) {
    part.ImageFile.clear();
    part.InterfaceMask = 0;
  } else if (!part.ImageFile.empty()) {
    part.ImageFile += Format(".%u", module);
  }
  return part;
}

bool ParseConfig(std::string_view text, const std::string& fileName, Config* pConfig,
                 std::string* pError) {
  pConfig->FileName = fileName;
  pConfig->Probes.clear();
  return ConfigReader(pConfig->FileName, pConfig, pError).Read(text);
}

ConfigState LoadConfig(Config* pConfig, std::string* pError) {
  std::vector<std::string> places;
  const char* sNamed = std::getenv("VORTIC_CONFIG");
  const bool isNamed = sNamed != nullptr && *sNamed != '\0';
  if (isNamed) {
    places.emplace_back(sNamed);
  } else {
    places = {BesideLibrary(), InApplicationData()};
  }
  std::string list;
  for (const std::string& place : places) {
    if (place.empty()) {
      continue;
    }
    // Only a file that isn't there lets the next place have its turn.
    if (!isNamed && access(place.c_str(), F_OK) != 0 && (errno == ENOENT || errno == ENOTDIR)) {
      list += (list.empty() ? "\"" : ", \"") + place + "\"";
      continue;
    }
    std::string text;
    std::string reason;
    if (!ReadWholeFile(place, &text, &reason)) {
      *pError = Format("Could not read the probe configuration \"%s\": %s.", place.c_str(),
                       reason.c_str());
      return ConfigState::Broken;
    }
    return ParseConfig(text, place, pConfig, pError) ? ConfigState::Loaded : ConfigState::Broken;
  }
  *pError = Format(
      "No probe is configured: VORTIC_CONFIG is not set, and there is no configuration file at %s.",
      list.c_str());
  return ConfigState::Absent;
}

}  // namespace vortic
