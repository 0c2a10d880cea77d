#pragma once

#include <gtest/gtest.h>

#include <filesystem>
#include <string>
#include <vector>

#include "driver/abi/vortic.h"
#include "sys/types.h"

// A temporary folder with a configuration file in it, and the library's calls on the probe that it
// describes. Texts that the handlers get are kept.
class ProbeFixture : public testing::Test {
 protected:
  void SetUp() override;
  void TearDown() override;

  std::string Path(const std::string& name) const { return (m_Dir / name).string(); }
  void WriteFile(const std::string& name, const std::string& text) const;
  std::string ReadFile(const std::string& name) const;

  // One section [Probe0] with the chip and further lines. The text that opening gave, or "".
  std::string TryOpen(const std::string& chip, const std::string& lines = "");
  void Open(const std::string& chip, const std::string& lines = "");
  // Closes; what was counted against the client, as "3 x protected; 1 x page wrap".
  std::string CloseFaults();

  // Runs frames on the bus and gives the bytes read, in hexadecimal. Frames are separated by '|',
  // their parts by blanks: hexadecimal bytes are sent; ">N" reads N bytes; "dN" clocks N dummy
  // cycles; "bN" sends N bits of 0; "qXX.." sends, "q>N" reads on four lanes. A frame "~05" waits
  // until status register 05 is 0 in bit 0; "~70" and "~D7" until it is 1 in bit 7.
  std::string Run(const std::string& frames);
  // Number of status reads that the last wait needed.
  u32 NumPolls() const { return m_NumPolls; }
  // One figure of SimGetStats.
  u64 Figure(const std::string& name) const;

  template <class F>
  static F* Lookup(i32 index) {
    return reinterpret_cast<F*>(VORTIC_GetpFunc(index));
  }

  static std::vector<std::string> s_Errors;
  static std::vector<std::string> s_Log;

 private:
  std::string RunFrame(const std::string& frame);
  void WaitReady(u8 cmd);

  std::filesystem::path m_Dir;
  u32 m_NumPolls = 0;
};
