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
  if (!IsOn || Operation::HasFailed()) {
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
  AutoRun(const FLASH_CHIP& chip, const PROJ_PRODUCTION& production, u64 StartTicks)
      : m_Chip(chip), m_Production(production), m_StartTicks(StartTicks) {}

  // pArea holds the serial number already.
  void Run(MEMAREA* pArea) {
    Copy(pArea);
    if (IsComparing() && !Operation::HasFailed()) {
      Compare();
    }
    const u32 eraseMs = RunTimed(m_Production.AutoPerformsErase != 0, [this] { Erase(); });
    const u32 programMs = RunTimed(m_Production.AutoPerformsProgram != 0,
                                   [this] { FLASH_Program(m_pWork.get(), true); });
    const u32 verifyMs =
        RunTimed(m_Production.AutoPerformsVerify != 0, [this] { FLASH_Verify(m_pWork.get()); });
    if (!Operation::HasFailed()) {
      RunExitSequence();
    }
    // The last thing that can go wrong: nothing may be told as done before it.
    if (!Operation::HasFailed() && SETUP_GetAutoDisconnect() != 0) {
      FLASH_Disconnect();
    }
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
      APP_LogError(APP_CAUSE::Internal, "The data could not be copied.");
    } else if (MEMAREA_Merge(m_pWork.get(), pArea) != 0) {
      APP_LogErrorf(APP_CAUSE::OutOfMemory, "Failed to allocate %lu bytes of memory",
                    MEMAREA_GetNumBytes(pArea));
    } else {
      SN_StampCopy(m_pWork.get());
    }
  }

  // The chip is read once. What it holds is kept only for the blank check.
  void Compare() {
    const MEMAREA_PTR pUnits(GEOMETRY_CreateArea(m_Chip.Units, m_pWork.get(), nullptr));
    if (pUnits == nullptr) {
      APP_LogErrorf(APP_CAUSE::OutOfMemory, "Failed to allocate %lu bytes of memory",
                    MEMAREA_GetNumBytes(m_pWork.get()));
      return;
    }
    const MEMAREA_PTR pRead(FLASH_ReadAffected(pUnits.get()));
    if (pRead == nullptr || Operation::HasFailed()) {
      return;
    }
    m_pWork.reset(FLASH_DiffSectors(m_Chip, m_pWork.get(), pRead.get()));
    if (m_Production.EraseType == kEraseNotBlank && !Operation::HasFailed()) {
      m_pCurrent.reset(FLASH_CurrentOfSectors(m_Chip, pRead.get(), m_pWork.get()));
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
    // What the run programs and verifies is read anyway.
    MEMAREA* pProved = m_Production.AutoPerformsProgram != 0 && m_Production.AutoPerformsVerify != 0
                           ? m_pWork.get()
                           : nullptr;
    if (m_Production.EraseType != kEraseNotBlank || !m_Chip.IsNor()) {
      FLASH_EraseAffected(m_pWork.get(), pProved);
      return;
    }
    if (m_pCurrent == nullptr) {
      m_pCurrent.reset(FLASH_ReadAffected(m_pWork.get()));
    }
    if (!Operation::HasFailed()) {
      const MEMAREA_PTR pNotBlank(FLASH_NotBlankSectors(m_Chip, m_pWork.get(), m_pCurrent.get()));
      FLASH_EraseAffected(pNotBlank.get(), pProved);
    }
  }

  // In a progress of its own, so that it can be cancelled, which fails the unit.
  static void RunExitSequence() {
    PROJ_CPU cpu{};
    PROJECT_GetCpu(&cpu);
    const APP_PROGRESS progress("Executing exit sequence ...");
    if (CUSTOM_RunSteps(cpu.aExitSteps, "exit sequence") != 0 || APP_IsOperationCanceled()) {
      APP_LogError(APP_IsOperationCanceled() ? APP_CAUSE::Canceled : APP_CAUSE::Project,
                   "Could not perform custom exit sequence.");
    }
  }

  // Nothing is told as done before the next serial number is on disk: a unit that was reported
  // keeps its number for itself, whatever happens afterwards.
  void Report() const {
    if (Operation::HasFailed()) {
      APP_LogError(Operation::IsCanceled() ? APP_CAUSE::Canceled : APP_CAUSE::ProgramFailed,
                   "Failed to auto program target.");
      return;
    }
    if (SN_Advance() != 0) {
      APP_LogError(APP_CAUSE::SerialNumber, "Failed to increment S/N.");
      return;
    }
    APP_LogCompleted("Target erased, programmed and verified successfully.");
    const std::string total = FormatTime("Total", GetElapsedMs(m_StartTicks));
    APP_LogInfof("OK (%s%s)", total.c_str(), m_sTimes.c_str());
  }

  const FLASH_CHIP& m_Chip;
  const PROJ_PRODUCTION& m_Production;
  const u64 m_StartTicks;
  std::string m_sTimes;
  MEMAREA_PTR m_pWork;     // what goes to the chip
  MEMAREA_PTR m_pCurrent;  // what the chip holds in those sectors, once that is known
};

// The chip, or null when the run ends without a further text.
const FLASH_CHIP* PrepareAuto(Operation* pOp, MEMAREA* pArea) {
  if (pArea == nullptr) {
    APP_LogError(APP_CAUSE::NoData, "Could not auto program target, no data file opened.");
    return nullptr;
  }
  const FLASH_CHIP* pChip = pOp->Connect("Could not auto program target, not connected.");
  if (pChip == nullptr || FLASH_CheckFit(pArea) != 0) {
    return nullptr;
  }
  if (SN_Prepare(pArea) != 0) {
    APP_LogError(APP_CAUSE::SerialNumber, "Could not prepare data for serial number programming");
    return nullptr;
  }
  return pChip;
}

}  // namespace

void FLASH_Auto(MEMAREA* pArea) {
  const u32 numRanges = MEMAREA_GetNumRanges(pArea);
  Operation op("Auto programming target (%lu bytes, %u range%s) ...", MEMAREA_GetNumBytes(pArea),
               numRanges, Plural(numRanges));
  const u64 startTicks = SYS_GetPerfTicks();
  if (const FLASH_CHIP* pChip = PrepareAuto(&op, pArea)) {
    PROJ_PRODUCTION production{};
    PROJECT_GetProduction(&production);
    AutoRun(*pChip, production, startTicks).Run(pArea);
  }
  SN_Release();
}
