#pragma once

#include <map>
#include <string>

#include "app/engine/app_state.h"
#include "flash/connect.h"
#include "flash/driver.h"
#include "tests/programmer/file_reader.h"

// A simulated programmer behind the driver library, its file system in the folder fs of the test's
// own directory, and a project for it that stands in p.korvane there.
struct DeviceScope : ProgrammerScope {
  using Keys = std::map<std::string, std::string>;

  explicit DeviceScope(const Keys& keys = {}) {
    setenv("VORTIC_CONFIG", Dir.file("Vortic.ini").c_str(), 1);
    DRIVER_SetLibraryPath(KORVANE_DRIVER);
    SetDevice(keys);
    APP_State().SuppressGUI = 1;
    FLASH_ResetConnection();
  }
  ~DeviceScope() {
    PROBE_Close();
    FLASH_ResetConnection();
    unsetenv("VORTIC_CONFIG");
  }
  // Keys add to or replace those of a programmer of hardware version 5; counts from the next
  // opening.
  void SetDevice(const Keys& keys) {
    Keys all = {{"Backend", "sim"},
                {"Chip", "W25Q128FV"},
                {"FileSystem", "fs"},
                {"HardwareVersion", "50000"}};
    for (const auto& [key, value] : keys) {
      all[key] = value;
    }
    std::string text = "[Probe0]\n";
    for (const auto& [key, value] : all) {
      text += key + " = " + value + "\n";
    }
    WriteFile(Dir.file("Vortic.ini"), text);
  }
  // A file on the programmer, by its name in the host's folder.
  std::string OnDevice(const std::string& name) const { return Dir.file("fs/" + name); }
};
