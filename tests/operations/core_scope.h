#pragma once

#include <map>
#include <string>

#include "tests/support/engine_scope.h"
#include "tests/support/temp_dir.h"

// The whole core for one test, without its application thread: layers connected, a scripted front
// end, settings in a folder of its own, and the driver library with one simulated probe.
class CORE_SCOPE {
 public:
  CORE_SCOPE();
  ~CORE_SCOPE();
  CORE_SCOPE(const CORE_SCOPE&) = delete;
  CORE_SCOPE& operator=(const CORE_SCOPE&) = delete;

  SCRIPTED_FRONTEND& FrontEnd() { return m_Engine.FrontEnd; }
  std::string Path(const std::string& name) const { return m_Dir.file(name); }
  // Keys add to or replace those of a W25Q128FV in virtual time with its contents in chip.bin.
  void SetProbe(const std::map<std::string, std::string>& keys);

 private:
  TempDir m_Dir;
  EngineScope m_Engine;
};
