#pragma once

#include <csignal>
#include <map>
#include <string>
#include <vector>

#include "tests/support/temp_dir.h"

// Runs the console program as its user would: as a process, in a folder of its own, with a
// simulated probe.

struct PROGRAM_RESULT {
  int Status = -1;  // exit status; 128 + the signal when one ended it
  std::string Out;  // standard output
  std::string Err;  // standard error
};

// Text of the driver library's configuration for one probe. Lines are added to or replace the
// default ones: a W25Q128FV in virtual time, its contents in chip.bin.
std::string MakeProbeConfig(const std::map<std::string, std::string>& keys = {});

class BENCH {
 public:
  BENCH();
  std::string Path(const std::string& name) const;
  // Writes Vortic.ini with one probe.
  void SetProbe(const std::map<std::string, std::string>& keys);
  void Write(const std::string& name, const std::string& content);
  std::string Read(const std::string& name) const;
  // Runs the program with these arguments in the bench's folder. SignalAt: sends the signal once
  // the output holds that text.
  PROGRAM_RESULT Run(const std::vector<std::string>& args, const std::string& signalAt = {},
                     int signalNumber = SIGINT);
  // Any other command; found through PATH.
  PROGRAM_RESULT RunTool(const std::vector<std::string>& args);
  std::map<std::string, std::string> Environment;

 private:
  TempDir m_Dir;
};

// True when a command of that name can be run.
bool HasTool(const std::string& name);
