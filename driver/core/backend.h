#pragma once

#include <memory>
#include <span>
#include <string>

#include "driver/abi/vortic.h"
#include "driver/core/bus.h"
#include "driver/core/config.h"
#include "driver/core/fast_mode.h"
#include "driver/core/reporter.h"

namespace vortic {

// A probe that has been opened, at the level of the library's calls. Each kind of probe is one
// backend; what a kind lacks it says through HasFunction and Interfaces. A call that fails has told
// the reporter why before it returns.
// Where another kind of probe comes in: it derives from this, MakeBackend learns its name, and its
// keys go into the table of the configuration. If it offers its SPI lines as a Bus, lists and the
// fast mode come with what is here already.
class Backend {
 public:
  virtual ~Backend() = default;

  // Empty: open; else a text that tells why not.
  virtual std::string Open() = 0;
  virtual void Close() = 0;
  // Before every call of the library that concerns this probe.
  virtual void CountCall() {}

  virtual const ProbeConfig& Identity() const = 0;
  // Whether the lookup of that index gives a function.
  virtual bool HasFunction(i32 index) const = 0;

  virtual bool GetInterfaces(u32* pMask) = 0;
  virtual bool SelectInterface(i32 interface) = 0;
  virtual i32 SelectedInterface() const = 0;
  virtual void SetSpeed(u32 kHz) = 0;
  virtual u32 GetSpeed() const = 0;

  virtual bool GetHwStatus(VORTIC_HW_STATUS* pStatus) = 0;
  virtual bool SetSupply(bool isOn) = 0;
  virtual bool SetFixedVTref(u32 milliVolts) = 0;
  virtual void SetReset(bool isLow) = 0;
  virtual void SetChipSelect(bool isActive) = 0;
  virtual bool ReadConfigMem(u32 offset, std::span<u8> data) = 0;

  virtual bool Transfer(const Phase& phase) = 0;
  // VORTIC_OK or one of VORTIC_ERR_.
  virtual int RunList(std::span<VORTIC_SPI_CMD> list) = 0;

  // Fast mode; called only where HasFunction says so.
  virtual bool EnterFast(const FastPara& para) = 0;
  virtual bool LeaveFast() = 0;
  virtual bool FastProgram(u64 addr, std::span<const u8> data) = 0;
  virtual bool FastVerify(u64 addr, std::span<const u8> data) = 0;
  virtual bool FastErase(u64 addr, u64 numBytes) = 0;
  virtual int FastWait(u32* pFailAddr) = 0;

  // Files: bytes moved or size, negative on failure.
  virtual i32 FileWrite(const char* sFile, const u8* pData, u32 offset, u32 numBytes) = 0;
  virtual i32 FileRead(const char* sFile, u8* pData, u32 offset, u32 numBytes) = 0;
  virtual i32 FileGetSize(const char* sFile) = 0;
  virtual i32 FileDelete(const char* sFile) = 0;
  // Number of entries, however many fit, or one of VORTIC_ERR_; 0 or one of VORTIC_ERR_.
  virtual int ListDir(const char* sPath, std::span<VORTIC_DIR_ENTRY> entries) = 0;
  virtual int Rename(const char* sNewPath, const char* sOldPath) = 0;

  // What the job cost so far; empty on probes that don't count.
  virtual std::string Statistics() { return {}; }
};

// Null for a kind that there is none of; the configuration has refused those.
std::unique_ptr<Backend> MakeBackend(const ProbeConfig& config, Reporter& reporter);

}  // namespace vortic
