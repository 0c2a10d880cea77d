#pragma once

#include "flash/driver.h"

// The names that are called, and their binding. Shared by the two files of the driver binding.

enum class DriverCall : u32 {
  SelectUSB,
  SelectBySN,
  SelectByNickname,
  SelectIP,
  OpenEx,
  Close,
  SetErrorOutHandler,
  SetLogFile,
  GetProductId,
  GetSN,
  GetHardwareVersion,
  HasCapEx,
  GetDLLVersion,
  GetCompileDateTime,
  ReadEmuConfigMem,
  GetAvailable,
  Select,
  SetSpeed,
  GetSpeed,
  GetHWStatus,
  ExecCommand,
  ClrRESET,
  SetRESET,
  ClrTMS,
  SetTMS,
  Transfer,
  FileWrite,
  FileRead,
  FileGetSize,
  FileDelete,
  GetpFunc,
  Count
};

// The function behind a name. Null when there is no library or no such name, which has been told
// and logged as an error by then.
void* DRIVER_Bind(DriverCall Call);

template <class F>
F* DRIVER_BindAs(DriverCall Call) {
  return reinterpret_cast<F*>(DRIVER_Bind(Call));
}
