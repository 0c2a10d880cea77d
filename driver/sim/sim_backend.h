#pragma once

#include "driver/core/backend.h"
#include "driver/core/clock.h"
#include "driver/core/file_area.h"
#include "driver/core/link.h"
#include "driver/sim/array_store.h"
#include "driver/sim/chip.h"
#include "driver/sim/sim_bus.h"

namespace vortic {

// A simulated probe with a target board: a cable that may fail, a supply, and one chip on the bus.
// The parts, from the host to the cells: the link counts and fails calls, the bus moves the clock,
// the chip decodes frames, the store keeps the contents. Faults are put in where they belong in
// that chain.
class SimBackend : public Backend {
 public:
  SimBackend(const ProbeConfig& config, Reporter& reporter);

  std::string Open() override;
  void Close() override;
  void CountCall() override { ++m_Stats.Calls; }
  const ProbeConfig& Identity() const override { return m_Config; }
  bool HasFunction(i32 index) const override;

  bool GetInterfaces(u32* pMask) override;
  bool SelectInterface(i32 interface) override;
  i32 SelectedInterface() const override { return m_Interface; }
  void SetSpeed(u32 kHz) override;
  u32 GetSpeed() const override { return m_Bus.Speed(); }

  bool GetHwStatus(VORTIC_HW_STATUS* pStatus) override;
  bool SetSupply(bool isOn) override;
  bool SetFixedVTref(u32 milliVolts) override;
  void SetReset(bool isLow) override;
  void SetChipSelect(bool isActive) override;
  bool ReadConfigMem(u32 offset, std::span<u8> data) override;

  bool Transfer(const Phase& phase) override;
  int RunList(std::span<VORTIC_SPI_CMD> list) override;

  bool EnterFast(const FastPara& para) override;
  bool LeaveFast() override;
  bool FastProgram(u64 addr, std::span<const u8> data) override;
  bool FastVerify(u64 addr, std::span<const u8> data) override;
  bool FastErase(u64 addr, u64 numBytes) override;
  int FastWait(u32* pFailAddr) override;

  i32 FileWrite(const char* sFile, const u8* pData, u32 offset, u32 numBytes) override;
  i32 FileRead(const char* sFile, u8* pData, u32 offset, u32 numBytes) override;
  i32 FileGetSize(const char* sFile) override;
  i32 FileDelete(const char* sFile) override;
  int ListDir(const char* sPath, std::span<VORTIC_DIR_ENTRY> entries) override;
  int Rename(const char* sNewPath, const char* sOldPath) override;

  std::string Statistics() override;

  Chip& TheChip() { return m_Chip; }
  Clock& TheClock() { return m_Clock; }

 private:
  // Every call over the cable stands between these two. False: it failed, and was reported.
  bool BeginCall();
  bool EndCall();
  bool HasCapability(i32 capability) const;
  std::string Introduction() const;
  u32 MilliVolts() const;
  // Brings the target's power up to now; the clock at which it changes next by itself.
  u64 UpdatePower();
  void ReportClientFaults();
  void FillUnread(const Phase& phase) const;
  template <class F>
  bool QueueFast(u64 addr, F&& f);
  template <class F>
  i32 CallFile(F&& f);
  int FillListing(const std::vector<HostEntry>& files, std::span<VORTIC_DIR_ENTRY> entries) const;

  const ProbeConfig m_Config;
  Reporter& m_Reporter;
  Stats m_Stats;
  Clock m_Clock;
  Link m_Link;
  ArrayStore m_Store;
  Chip m_Chip;
  SimBus m_Bus;
  FastMode m_Fast;
  FileArea m_Files;
  i32 m_Interface = VORTIC_TIF_SPI;
  bool m_IsSupplied = false;
  Dips m_PowerDips;
  // What the client did wrong before the first injected fault struck.
  ClientFaults m_OwnFaults;
  bool m_HasPowerFault = false;
  bool m_WasCutAsked = false;
  bool m_IsInDip = false;
  bool m_IsResetLow = false;
  u32 m_FixedVTref = 0;  // 0: the voltage is measured
  u64 m_NumListRuns = 0;
  u64 m_NumListings = 0;
};

}  // namespace vortic
