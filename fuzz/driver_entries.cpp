#include <algorithm>
#include <cstdlib>

#include "driver/core/config.h"
#include "fuzz/entries.h"
#include "fuzz/promise.h"

// The probe configuration of the driver library.

namespace {

constexpr char kFileName[] = "/a/probes.ini";

void CheckProbe(const vortic::ProbeConfig& probe, u32 numLines) {
  Check(probe.Index <= 99 && probe.Line >= 1 && probe.Line <= numLines, "a section has a place");
  Check(!probe.Backend.empty() && !probe.Chip.empty() && probe.Row.sDevice == probe.Chip,
        "a probe has a backend and a chip");
  Check(probe.SerialNumber <= 0x7FFFFFFF && probe.TargetMilliVolts <= 0xFFFF &&
            probe.CallLatencyNs <= 1000000000 && probe.Nickname.size() <= 31 &&
            probe.FileSystemKiB <= 1 << 20 && probe.Modules <= 24,
        "values are within their limits");
  for (const std::string* pName : {&probe.ImageFile, &probe.FileSystem}) {
    Check(pName->empty() || pName->front() == '/', "names of files are complete");
  }
  for (const auto* pCells : {&probe.Faults.Flipped, &probe.Faults.Stuck}) {
    for (const auto& cell : *pCells) {
      Check(cell.Addr < u64{1} << probe.Row.TotalSizeShift() && cell.Bit < 8,
            "faults hit the chip");
    }
  }
  Check(probe.Faults.Slow > 0 && probe.Faults.Slow < 1e12, "a factor is a factor");
  for (const i32 module : probe.DeadModules) {
    Check(module >= 1 && static_cast<u32>(module) <= probe.Modules, "dead modules exist");
  }
}

// "file:line: reason."
void CheckError(const std::string& Error, u32 numLines) {
  const std::size_t size = sizeof(kFileName) - 1;
  Check(Error.starts_with(kFileName) && Error.size() > size + 6, "an error names the file");
  const unsigned long line = std::strtoul(Error.c_str() + size + 1, nullptr, 10);
  Check(line >= 1 && line <= numLines, "an error names a line");
  Check(Error.back() == '.' && Error.size() < 2000 &&
            std::none_of(Error.begin(), Error.end(), [](char c) { return c >= 0 && c < ' '; }),
        "an error can be read");
}

}  // namespace

int FUZZ_Config(const u8* pData, std::size_t NumBytes) {
  const std::string text(AsText(pData, NumBytes));
  const u32 numLines = static_cast<u32>(std::count(text.begin(), text.end(), '\n')) + 1;
  vortic::Config config;
  std::string error;
  if (!vortic::ParseConfig(text, kFileName, &config, &error)) {
    CheckError(error, numLines);
    return 0;
  }
  Check(error.empty() && config.FileName == kFileName, "a good text has no error");
  for (std::size_t i = 0; i < config.Probes.size(); ++i) {
    CheckProbe(config.Probes[i], numLines);
    for (std::size_t k = 0; k < i; ++k) {
      const vortic::ProbeConfig& other = config.Probes[k];
      Check(other.Index != config.Probes[i].Index &&
                (other.SerialNumber == 0 || other.SerialNumber != config.Probes[i].SerialNumber),
            "probes can be told apart");
    }
  }
  vortic::Config again;
  Check(vortic::ParseConfig(text + "\r\n ; end\n", kFileName, &again, &error) &&
            again.Probes.size() == config.Probes.size(),
        "a comment changes nothing");
  return 0;
}
