#include "flash/auto.h"

#include <string>

#include "flash/custom.h"
#include "flash/erase.h"
#include "flash/geometry.h"
#include "flash/operation.h"
#include "flash/program.h"
#include "flash/serial_number.h"
#include "flash/spi.h"
#include "flash/verify.h"
#include "project/project.h"
#include "project/settings.h"
#include "sys/time.h"
#include "sys/util_format.h"

namespace {

// Values of EraseType; all others erase the sectors of the data.
constexpr u8 kEraseNotBlank = 2;
constexpr u8 kEraseChip = 3;

u32 GetElapsedMs(u64 StartTicks) {
  return static_cast<u32>(SYS_GetElapsedUs(StartTicks) / 1000);
}

std::string FormatTime(const char* sName, u32 Ms) {
  char acText[64];
  UTIL_snprintf(acText, sizeof(acText), "%s %d.%03ds", sName, Ms / 1000, Ms % 1000);
  return acText;
}

// A step that didn't run, or took no time, isn't mentioned.
std::string FormatStepTime(const char* sName, u32 Ms) {
  return Ms != 0 ? FormatTime(sName, Ms) : std::string();
}

// Runs the step and gives its time, unless an error was logged before.
template <class STEP>
u32 RunTimed(bool IsOn, STEP Step) {
  if (!IsOn || HasErrors()) {
    return 0;
  }
  const u64 start = SYS_GetPerfTicks();
  Step();
  return GetElapsedMs(start);
}

// What goes to the chip is decided before anything on it changes: the whole image, or the sectors
// that differ.
class AutoRun {
 public:
  AutoRun(const PROJ_PRODUCTION& production, u64 StartTicks)
      : m_Production(production), m_StartTicks(StartTicks) {}

  // pArea holds the serial number already.
  void Run(MEMAREA* pArea) {
    Copy(pArea);
    if (IsComparing() && !HasErrors()) {
      Compare();
    }
    const u32 eraseMs = RunTimed(m_Production.AutoPerformsErase != 0, [this] { Erase(); });
    const u32 programMs = RunTimed(m_Production.AutoPerformsProgram != 0,
                                   [this] { FLASH_Program(m_pWork.get(), true); });
    const u32 verifyMs =
        RunTimed(m_Production.AutoPerformsVerify != 0, [this] { FLASH_Verify(m_pWork.get()); });
    if (!HasErrors()) {
      RunExitSequence();
    }
    // The last thing that can go wrong: nothing may be told as done before it.
    FLASH_EndOperation();
    m_sTimes = FormatStepTime(", Erase", eraseMs) + FormatStepTime(", Prog", programMs) +
               FormatStepTime(", Verify", verifyMs);
    Report();
  }

 private:
  bool IsComparing() const {
    return m_Production.PerformCompare != 0 && m_Production.AutoPerformsErase != 0 &&
           m_Production.EraseType != kEraseChip;
  }

  // The image may be edited while the run goes on, and may have been since the number was stamped.
  void Copy(MEMAREA* pArea) {
    m_pWork.reset(MEMAREA_Create());
    const MEMAREA_LOCK_GUARD lock(pArea);
    if (!lock.Locked()) {
      APP_LogError("The data could not be copied.");
    } else if (MEMAREA_Merge(m_pWork.get(), pArea) != 0) {
      APP_LogErrorf("Failed to allocate %lu bytes of memory", MEMAREA_GetNumBytes(pArea));
    } else {
      SN_StampCopy(m_pWork.get());
    }
  }

  // The chip is read once. What it holds is kept only for the blank check.
  void Compare() {
    const MEMAREA_PTR pUnits(GEOMETRY_CreateUnitArea(m_pWork.get()));
    if (pUnits == nullptr) {
      APP_LogErrorf("Failed to allocate %lu bytes of memory", MEMAREA_GetNumBytes(m_pWork.get()));
      return;
    }
    const MEMAREA_PTR pRead(FLASH_ReadAffected(pUnits.get()));
    if (pRead == nullptr || HasErrors()) {
      return;
    }
    m_pWork.reset(FLASH_DiffSectors(m_pWork.get(), pRead.get()));
    if (m_Production.EraseType == kEraseNotBlank && !HasErrors()) {
      m_pCurrent.reset(FLASH_CurrentOfSectors(pRead.get(), m_pWork.get()));
    }
  }

  // Sectors that match were left out of the data, so what the setting AutoMode asks for, all
  // sectors, would leave them blank.
  void Erase() {
    if (m_Production.EraseType == kEraseChip) {
      FLASH_EraseChip();
      return;
    }
    if (!IsComparing() && SETUP_GetAutoMode() != 0) {
      FLASH_EraseForProgram(m_pWork.get());
      return;
    }
    SPI_RefreshInfo();
    if (m_Production.EraseType != kEraseNotBlank || SPI_Info().FlashType != FLASH_TYPE_NOR) {
      FLASH_EraseAffected(m_pWork.get());
      return;
    }
    if (m_pCurrent == nullptr) {
      m_pCurrent.reset(FLASH_ReadAffected(m_pWork.get()));
    }
    if (!HasErrors()) {
      const MEMAREA_PTR pNotBlank(FLASH_NotBlankSectors(m_pWork.get(), m_pCurrent.get()));
      FLASH_EraseAffected(pNotBlank.get());
    }
  }

  // With AutoDisconnect the steps before have ended the connection.
  static void RunExitSequence() {
    PROJ_CPU cpu{};
    PROJECT_GetCpu(&cpu);
    if (!cpu.aExitSteps.empty() && FLASH_Connect() != 0) {
      APP_LogError("Could not auto program target, not connected.");
      return;
    }
    if (CUSTOM_RunSteps(cpu.aExitSteps, "exit sequence") != 0) {
      APP_LogError("Could not perform custom exit sequence.");
    }
  }

  // Nothing is told as done before the next serial number is on disk: a unit that was reported
  // keeps its number for itself, whatever happens afterwards.
  void Report() const {
    if (HasErrors()) {
      APP_LogError("Failed to auto program target.");
      return;
    }
    if (SN_Advance() != 0) {
      APP_LogError("Failed to increment S/N.");
      return;
    }
    APP_LogCompleted("Target erased, programmed and verified successfully.");
    const std::string total = FormatTime("Total", GetElapsedMs(m_StartTicks));
    APP_LogInfof("OK (%s%s)", total.c_str(), m_sTimes.c_str());
  }

  const PROJ_PRODUCTION& m_Production;
  const u64 m_StartTicks;
  std::string m_sTimes;
  MEMAREA_PTR m_pWork;     // what goes to the chip
  MEMAREA_PTR m_pCurrent;  // what the chip holds in those sectors, once that is known
};

// False when the run ends without a further text.
bool PrepareAuto(MEMAREA* pArea) {
  if (pArea == nullptr) {
    APP_LogError("Could not auto program target, no data file opened.");
    return false;
  }
  if (FLASH_EnsureConnected() != 0) {
    APP_LogError("Could not auto program target, not connected.");
    return false;
  }
  if (FLASH_CheckFit(pArea) != 0) {
    return false;
  }
  if (FLASH_Connect() != 0) {
    APP_LogError("Could not auto program target, not connected.");
    return false;
  }
  if (SN_Prepare(pArea) != 0) {
    APP_LogError("Could not prepare data for serial number programming");
    return false;
  }
  return true;
}

}  // namespace

void FLASH_Auto(MEMAREA* pArea) {
  const u32 numRanges = MEMAREA_GetNumRanges(pArea);
  Operation op("Auto programming target (%lu bytes, %d range%s) ...", MEMAREA_GetNumBytes(pArea),
               numRanges, Plural(numRanges));
  const u64 startTicks = SYS_GetPerfTicks();
  if (PrepareAuto(pArea)) {
    PROJ_PRODUCTION production{};
    PROJECT_GetProduction(&production);
    AutoRun(production, startTicks).Run(pArea);
  }
  SN_Release();
}
