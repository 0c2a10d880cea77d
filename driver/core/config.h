#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "catalogue/devices/device_table.h"
#include "driver/core/fault_plan.h"
#include "sys/types.h"

namespace vortic {

// What the data line of the probe reads while nobody drives it: a pull-up, a pull-down, or the bit
// that the line had last.
enum class FloatLevel : u8 { Zero, One, Last };

// One section [ProbeN] of the configuration file. Every value has been checked; names of files are
// complete.
struct ProbeConfig {
  u32 Index = 0;
  u32 Line = 0;  // of the section's head
  std::string Backend;
  u32 SerialNumber = 0;
  std::string Nickname;
  std::string Host;
  i32 ProductId = 1;
  u32 HardwareVersion = 10000;
  std::vector<i32> Capabilities;
  u32 TargetMilliVolts = 3300;
  std::string Chip;
  FLASH_DEVICE Row = {};
  std::string ImageFile;   // empty: the contents live in memory only
  std::string FileSystem;  // empty: no files
  bool RealTime = false;
  u64 CallLatencyNs = 0;
  FaultPlan Faults;
  u32 FaultLine = 0;
  FloatLevel Float = FloatLevel::One;
  bool StrictClient = false;
  u8 StatusRegister = 0;  // non-volatile bits at power-up
  std::vector<i32> DisabledFunctions;
  u32 InterfaceMask = 0;
  u32 FileSystemKiB = 2048;
  // Made-up entries of every listing, their names as raw bytes.
  std::vector<std::string> ListingExtra;
  std::vector<std::string> ListingExtraFolders;
  u32 Modules = 0;  // 0: no gang programmer
  std::vector<i32> DeadModules;
  u32 Module = 0;  // the one that is opened; not in the file

  // The part of a gang programmer that holds its modules. It has no target.
  bool IsHub() const { return Modules != 0 && Module == 0; }
};

// Products that hold several programmer modules.
bool IsGangProduct(i32 productId);

// What is opened when that module of the probe is selected, 0 being the hub: each has files and a
// chip of its own. A probe without modules is left as it is.
ProbeConfig ForModule(const ProbeConfig& probe, u32 module);

// The sections in the order of the file.
struct Config {
  std::string FileName;
  std::vector<ProbeConfig> Probes;
};

// Absent is not an error by itself: a machine without probes has no file.
enum class ConfigState { Loaded, Absent, Broken };

// Reads a configuration text. False: pError has file, line and reason.
bool ParseConfig(std::string_view text, const std::string& fileName, Config* pConfig,
                 std::string* pError);

// Finds and reads the configuration file. Absent: pError lists the places that were looked at.
ConfigState LoadConfig(Config* pConfig, std::string* pError);

// Sets one key of a section. False: pReason tells what is wrong with key or value. baseDir is the
// folder that relative names start from, with its slash.
bool SetConfigKey(std::string_view key, std::string_view value, const std::string& baseDir,
                  ProbeConfig* pProbe, std::string* pReason);

}  // namespace vortic
