#pragma once

#include <cstdlib>
#include <cstring>

#include "flash/driver.h"
#include "project/project.h"
#include "tests/operations/core_scope.h"
#include "tests/support/fake_time.h"

// A project that is ready for production, with a simulated chip of four sectors.

inline constexpr u32 kSNAddr = 0x20010;
inline constexpr char kPassed[] = "Target erased, programmed and verified successfully.";

inline PROJ_PRODUCTION Production() {
  PROJ_PRODUCTION production;
  PROJECT_GetProduction(&production);
  return production;
}

inline void SetProduction(const auto& change) {
  PROJ_PRODUCTION production = Production();
  change(production);
  PROJECT_SetProduction(&production);
}

// Everything on, sectors erased if not blank, number 5 of 8 bytes to be stamped.
struct AutoScope : CORE_SCOPE {
  AutoScope() {
    SetChip({});
    PROJECT_New(Path("p.korvane").c_str());
    SetProduction([](PROJ_PRODUCTION& p) {
      p.EraseType = 2;
      p.PerformCompare = p.ProgramSN = 1;
      p.SNAddr = kSNAddr;
      p.SNLen = 8;
      p.SNInc = 1;
    });
    SetSerial("5");
  }
  void SetChip(std::map<std::string, std::string> keys) {
    keys["Chip"] = "W25Q20EW";
    SetProbe(keys);
  }
  void SetSerial(const std::string& text) { WriteFile(Path("p_Serial.txt"), text); }
  std::string Serial() { return ReadFile(Path("p_Serial.txt")); }
  bool HasPassed() {
    return FrontEnd().HasLog("OK (Total") && FrontEnd().HasBox(kPassed) &&
           !FrontEnd().HasLog("ERROR");
  }
  // One of the simulator's figures since the connect.
  u64 Stat(const char* sName) {
    char acText[256] = "";
    VORTIC_ExecCommand("SimGetStats", acText, sizeof acText);
    const char* s = std::strstr(acText, (sName + std::string("=")).c_str());
    return s != nullptr ? std::strtoull(s + std::strlen(sName) + 1, nullptr, 10) : 0;
  }

  FakeTime Time{1000000};
};
